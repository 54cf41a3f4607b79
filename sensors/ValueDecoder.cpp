#include "sensors/ValueDecoder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <optional>

#include "base/ByteOrder.h"
#include "base/Exception.h"
#include "base/NumberText.h"
#include "base/Text.h"

namespace halvarin {

namespace {

constexpr std::size_t kScratchBytes = 128;
using Scratch = std::array<std::uint8_t, kScratchBytes>;

std::int32_t sizeOf(const RawReading& reading) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(reading.dataSize));
}

std::uint32_t lowWord(const RawReading& reading) {
  return static_cast<std::uint32_t>(reading.value);
}

// ---- numbers in "value" ------------------------------------------------------------------------

std::string decodeFloat(const RawReading& reading) {
  return fixedText(std::bit_cast<float>(byteSwapped(lowWord(reading))), 2);
}

char fractionDigit(std::string_view dataType) {
  const auto character = utf16Unit(dataType, 3);
  if (!character) {
    throw Exception(Exception::kRange,
                    "the data type \"" + std::string(dataType) + "\" has no fourth character");
  }
  return static_cast<char>(*character);
}

float fixedPointDivisor(std::string_view dataType) {
  const auto bits = static_cast<unsigned>(valueHex(fractionDigit(dataType)));
  return static_cast<float>(std::uint32_t{1} << bits);
}

std::string decodeSignedFixedPoint(const RawReading& reading) {
  const float divisor = fixedPointDivisor(reading.dataType);
  const std::uint32_t word = lowWord(reading);
  float raw = static_cast<std::int8_t>(word);  // deliberate: every size but 4 and 2 is one byte
  if (sizeOf(reading) == 4) {
    raw = static_cast<float>(static_cast<std::int32_t>(word));
  } else if (sizeOf(reading) == 2) {
    raw = static_cast<std::int16_t>(word);
  }
  return fixedText(raw / divisor, 2);
}

std::string decodeUnsignedFixedPoint(const RawReading& reading) {
  return fixedText(static_cast<float>(lowWord(reading)) / fixedPointDivisor(reading.dataType), 2);
}

std::string decodeUnsigned(const RawReading& reading) {
  return sizeOf(reading) == 8 ? std::to_string(static_cast<std::uint64_t>(reading.value))
                              : std::to_string(lowWord(reading));
}

// ---- bytes -------------------------------------------------------------------------------------

/// The first `wanted` delivered bytes; what lies beyond them reads as zero.
Scratch scratchOf(const RawReading& reading, std::size_t wanted) {
  Scratch scratch{};
  const auto bytes = reading.dataBytes;
  std::copy_n(bytes.begin(), std::min({bytes.size(), wanted, scratch.size()}), scratch.begin());
  return scratch;
}

std::size_t shownBytes(const RawReading& reading) {
  return static_cast<std::size_t>(
      std::clamp(sizeOf(reading), 0, static_cast<std::int32_t>(kScratchBytes)));
}

/// The bytes as a little-endian number of 1, 2, 4 or 8 bytes; absent for any other size.
std::optional<std::uint64_t> littleEndian(const RawReading& reading) {
  const std::int32_t size = sizeOf(reading);
  if (size != 1 && size != 2 && size != 4 && size != 8) {
    return std::nullopt;
  }
  const Scratch scratch = scratchOf(reading, shownBytes(reading));
  std::uint64_t number = 0;
  for (auto i = static_cast<std::size_t>(size); i-- > 0;) {
    number = (number << 8U) | scratch[i];
  }
  return number;
}

// Deliberate: the bytes are taken little-endian, unlike those of every other number.
std::string decodeSigned(const RawReading& reading) {
  const auto number = littleEndian(reading);
  if (!number) {
    return {};
  }
  switch (sizeOf(reading)) {
    case 1:
      return std::to_string(static_cast<std::int8_t>(*number));
    case 2:
      return std::to_string(static_cast<std::int16_t>(*number));
    case 4:
      return std::to_string(static_cast<std::int32_t>(*number));
    default:
      return std::to_string(static_cast<std::int64_t>(*number));
  }
}

std::string decodeOffset(const RawReading& reading) {
  const auto number = littleEndian(reading);
  if (!number) {
    return {};
  }
  switch (sizeOf(reading)) {
    case 1:
    case 2:
      return std::to_string(*number);
    case 4:  // deliberate: words of 2^31 and above show as negative
      return std::to_string(static_cast<std::int32_t>(*number));
    default:
      constexpr double kUnit = 1.52587890625e-05;  // 2^-16
      return fixedText(static_cast<double>(static_cast<std::int64_t>(*number)) * kUnit, 4);
  }
}

std::string decodeFlag(const RawReading& reading) {
  return std::to_string(scratchOf(reading, kScratchBytes).front());
}

std::string decodeHex(const RawReading& reading) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  const std::size_t count = shownBytes(reading);
  const Scratch scratch = scratchOf(reading, count);
  std::string text = "0x";
  text.reserve(2 + 2 * count);
  for (std::size_t i = 0; i < count; ++i) {
    text.push_back(kDigits[scratch[i] >> 4U]);
    text.push_back(kDigits[scratch[i] & 0x0FU]);
  }
  return text;
}

// ---- the table of types ------------------------------------------------------------------------

struct TypeRule {
  std::string_view prefix;
  std::string (*decode)(const RawReading&);
};

constexpr std::array<TypeRule, 10> kTypeRules{{
    {"flt", &decodeFloat},
    {"sp", &decodeSignedFixedPoint},
    {"fp", &decodeUnsignedFixedPoint},
    {"si", &decodeSigned},
    {"ui", &decodeUnsigned},
    {"flag", &decodeFlag},
    {"hex_", &decodeHex},
    {"{jst", &decodeHex},
    {"ch8*", &decodeHex},  // deliberate: characters are shown as bytes
    {"ioft", &decodeOffset},
}};

}  // namespace

int valueHex(signed char character) {
  constexpr std::string_view kAlphabet = "0123456789abcdefgh";
  const bool upper = character >= 'A' && character <= 'Z';
  const char lower = static_cast<char>(upper ? character - 'A' + 'a' : character);
  const std::size_t place = kAlphabet.find(lower);
  return place == std::string_view::npos ? 0 : static_cast<int>(place);
}

std::string decodeReading(const RawReading& reading) {
  for (const TypeRule& rule : kTypeRules) {
    if (reading.dataType.substr(0, rule.prefix.size()) == rule.prefix) {
      return rule.decode(reading);
    }
  }
  return {};
}

std::string errorText(std::int32_t status) {
  return "error " + hexText(static_cast<std::uint32_t>(status));
}

}  // namespace halvarin
