#include "platform/machine/ReadingCodec.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <string_view>

namespace halvarin::platform {

namespace {

using Bytes = std::vector<std::uint8_t>;

bool begins(const FourBytes& type, std::string_view prefix) {
  return std::string_view(type.data(), type.size()).substr(0, prefix.size()) == prefix;
}

bool isIntegerSize(std::uint32_t size) {
  return size == 1 || size == 2 || size == 4 || size == 8;
}

// Fixed point carries at most 32 bits.
bool isFixedPointSize(std::size_t size) {
  return size == 1 || size == 2 || size == 4;
}

Bytes bigEndian(std::uint64_t raw, std::uint32_t size) {
  Bytes bytes(size);
  for (std::uint32_t i = 0; i < size; ++i) {
    bytes[i] = static_cast<std::uint8_t>(raw >> (8U * (size - 1 - i)));
  }
  return bytes;
}

Bytes littleEndian(std::uint64_t raw, std::uint32_t size) {
  Bytes bytes = bigEndian(raw, size);
  std::reverse(bytes.begin(), bytes.end());
  return bytes;
}

std::uint64_t fromBigEndian(const Bytes& bytes) {
  std::uint64_t raw = 0;
  for (const std::uint8_t byte : bytes) {
    raw = (raw << 8U) | byte;
  }
  return raw;
}

/// Rounds into the signed range of `bits`; not-a-number becomes 0.
std::int64_t roundSigned(double number, std::uint32_t bits) {
  const double limit = std::ldexp(1.0, static_cast<int>(bits) - 1);
  const auto most = static_cast<std::int64_t>((std::uint64_t{1} << (bits - 1)) - 1);
  const double rounded = std::isnan(number) ? 0 : std::round(number);
  if (rounded >= limit) {
    return most;
  }
  return rounded <= -limit ? -most - 1 : static_cast<std::int64_t>(rounded);
}

std::uint64_t roundUnsigned(double number, std::uint32_t bits) {
  const std::uint64_t most = std::numeric_limits<std::uint64_t>::max() >> (64 - bits);
  const double rounded = std::isnan(number) ? 0 : std::max(0.0, std::round(number));
  return rounded >= std::ldexp(1.0, static_cast<int>(bits)) ? most
                                                            : static_cast<std::uint64_t>(rounded);
}

/// The number of fraction bits: the type's last character in the controller's digits, which run on
/// past hexadecimal. Absent when the type has only three characters.
std::optional<int> fractionBits(const FourBytes& type) {
  constexpr std::string_view kDigits = "0123456789abcdefgh";
  if (type[3] == '\0') {
    return std::nullopt;
  }
  const char lower = type[3] >= 'A' && type[3] <= 'Z' ? static_cast<char>(type[3] + 32) : type[3];
  const std::size_t digit = kDigits.find(lower);
  return digit == std::string_view::npos ? 0 : static_cast<int>(digit);
}

std::uint64_t reversed(std::uint64_t raw, std::uint32_t size) {
  return fromBigEndian(littleEndian(raw, size));
}

/// These three types are delivered in either byte order, so a reader takes the smaller of the two
/// readings; a number whose reverse is smaller cannot be shown.
bool readsBack(std::uint64_t raw, const FourBytes& type, std::uint32_t size) {
  const bool eitherOrder = begins(type, "ui16") || begins(type, "ui32") || begins(type, "ui64");
  const auto magnitude = [](std::uint64_t number) {
    const bool negative = (number >> 63U) != 0;
    return negative ? ~number + 1 : number;
  };
  return !eitherOrder || magnitude(raw) <= magnitude(reversed(raw, size));
}

Bytes encodeUnsigned(double number, const FourBytes& type, std::uint32_t size) {
  const std::uint64_t wanted = roundUnsigned(number, 8 * size);
  // Between two numbers that end in FF there is always one that reads back.
  for (std::uint64_t distance = 0; distance <= 0x200; ++distance) {
    if (distance <= wanted && readsBack(wanted - distance, type, size)) {
      return bigEndian(wanted - distance, size);
    }
    if (readsBack(wanted + distance, type, size)) {
      return bigEndian(wanted + distance, size);
    }
  }
  return bigEndian(wanted, size);
}

std::optional<Bytes> encodeFixedPoint(double number, const FourBytes& type, std::uint32_t size) {
  const auto fraction = fractionBits(type);
  if (!fraction || !isFixedPointSize(size)) {
    return std::nullopt;
  }
  const double scaled = std::ldexp(number, *fraction);
  const std::uint64_t raw = begins(type, "sp")
                                ? static_cast<std::uint64_t>(roundSigned(scaled, 8 * size))
                                : roundUnsigned(scaled, 8 * size);
  return bigEndian(raw, size);
}

std::optional<Bytes> encodeInteger(double number, const FourBytes& type, std::uint32_t size) {
  if (!isIntegerSize(size)) {
    return std::nullopt;
  }
  if (begins(type, "ui")) {
    return encodeUnsigned(number, type, size);
  }
  if (begins(type, "si")) {
    return littleEndian(static_cast<std::uint64_t>(roundSigned(number, 8 * size)), size);
  }
  if (!begins(type, "ioft")) {
    return std::nullopt;
  }
  // Small sizes are plain integers, unsigned below four bytes; eight bytes have 16 fraction bits.
  return littleEndian(size < 4 ? roundUnsigned(number, 8 * size)
                               : static_cast<std::uint64_t>(roundSigned(
                                     size == 8 ? std::ldexp(number, 16) : number, 8 * size)),
                      size);
}

}  // namespace

std::optional<Bytes> encodeReading(const FourBytes& type, std::uint32_t sizeBytes, double number) {
  if (begins(type, "flt")) {
    constexpr double kMost = std::numeric_limits<float>::max();
    const double held = std::isfinite(number) ? std::clamp(number, -kMost, kMost) : number;
    const auto raw = std::bit_cast<std::uint32_t>(static_cast<float>(held));
    return sizeBytes == 4 ? std::optional(littleEndian(raw, 4)) : std::nullopt;
  }
  if (begins(type, "sp") || begins(type, "fp")) {
    return encodeFixedPoint(number, type, sizeBytes);
  }
  if (begins(type, "flag") && sizeBytes > 0 && sizeBytes <= 32) {
    Bytes bytes(sizeBytes);
    bytes.front() = static_cast<std::uint8_t>(roundUnsigned(number, 8));
    return bytes;
  }
  return encodeInteger(number, type, sizeBytes);
}

std::optional<double> decodeReal(const FourBytes& type, const Bytes& bytes) {
  if (begins(type, "flt") && bytes.size() == 4) {
    const auto raw = static_cast<std::uint32_t>(reversed(fromBigEndian(bytes), 4));
    return std::bit_cast<float>(raw);
  }
  const auto fraction = fractionBits(type);
  if (!fraction || !isFixedPointSize(bytes.size()) || !(begins(type, "sp") || begins(type, "fp"))) {
    return std::nullopt;
  }
  const auto bits = static_cast<int>(8 * bytes.size());
  auto raw = static_cast<double>(fromBigEndian(bytes));
  if (begins(type, "sp") && raw >= std::ldexp(1.0, bits - 1)) {
    raw -= std::ldexp(1.0, bits);
  }
  return std::ldexp(raw, -*fraction);
}

}  // namespace halvarin::platform
