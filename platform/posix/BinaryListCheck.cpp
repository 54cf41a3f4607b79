#include "platform/posix/BinaryListCheck.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace halvarin::platform {

namespace {

constexpr std::string_view kHead = "bplist00";
constexpr std::size_t kTrailerBytes = 32;

// Where the trailer's fields stand in it.
constexpr std::size_t kOffsetSizeAt = 6;
constexpr std::size_t kObjectCountAt = 8;
constexpr std::size_t kOffsetTableAt = 24;

// An object's marker: its kind in the upper half, its length or 15 ("a number follows") in the
// lower.
constexpr unsigned kInteger = 0x1;
constexpr unsigned kTwoByteText = 0x6;
constexpr unsigned kLengthFollows = 0xF;

unsigned byteAt(std::string_view bytes, std::size_t at) {
  return static_cast<unsigned char>(bytes[at]);
}

/// A big-endian number; absent when it does not lie within the bytes.
std::optional<std::uint64_t> numberAt(std::string_view bytes, std::uint64_t at, std::size_t size) {
  if (size > sizeof(std::uint64_t) || at > bytes.size() || bytes.size() - at < size) {
    return std::nullopt;
  }
  std::uint64_t number = 0;
  for (std::size_t i = 0; i < size; ++i) {
    number = (number << 8U) | byteAt(bytes, static_cast<std::size_t>(at) + i);
  }
  return number;
}

/// The characters of a text in two-byte characters, as bytes; empty for objects of other kinds.
std::string_view charactersOf(std::string_view list, std::uint64_t object) {
  if (object >= list.size() || byteAt(list, object) >> 4U != kTwoByteText) {
    return {};
  }
  std::uint64_t length = byteAt(list, object) & 0xFU;
  std::uint64_t begin = object + 1;
  if (length == kLengthFollows) {
    const unsigned marker = begin < list.size() ? byteAt(list, begin) : 0;
    const std::size_t size = std::size_t{1} << (marker & 0x7U);
    const auto stated = marker >> 4U == kInteger ? numberAt(list, begin + 1, size) : std::nullopt;
    if (!stated) {
      return {};
    }
    length = *stated;
    begin += 1 + size;
  }
  if (begin > list.size()) {
    return {};
  }
  const std::uint64_t most = (list.size() - begin) / 2;
  return list.substr(begin, 2 * std::min(length, most));
}

bool hasZeroUnit(std::string_view characters) {
  for (std::size_t i = 0; i + 1 < characters.size(); i += 2) {
    if (characters[i] == '\0' && characters[i + 1] == '\0') {
      return true;
    }
  }
  return false;
}

}  // namespace

bool holdsZeroCharacter(std::string_view list) {
  if (list.substr(0, kHead.size()) != kHead || list.size() < kHead.size() + kTrailerBytes) {
    return false;
  }
  const std::string_view trailer = list.substr(list.size() - kTrailerBytes);
  const std::size_t offsetSize = byteAt(trailer, kOffsetSizeAt);
  const std::uint64_t count = *numberAt(trailer, kObjectCountAt, 8);
  const std::uint64_t table = *numberAt(trailer, kOffsetTableAt, 8);
  for (std::uint64_t i = 0; offsetSize > 0 && i < std::min<std::uint64_t>(count, list.size());
       ++i) {
    const auto object = numberAt(list, table + i * offsetSize, offsetSize);
    if (object && hasZeroUnit(charactersOf(list, *object))) {
      return true;
    }
  }
  return false;
}

}  // namespace halvarin::platform
