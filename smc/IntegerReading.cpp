#include "smc/IntegerReading.h"

#include <algorithm>
#include <cstddef>

namespace halvarin {

namespace {

constexpr std::array<std::string_view, 3> kEitherOrderTypes{"ui64", "ui32", "ui16"};

bool comesInEitherOrder(std::string_view dataType) {
  return std::find(kEitherOrderTypes.begin(), kEitherOrderTypes.end(), dataType) !=
         kEitherOrderTypes.end();
}

std::uint64_t bigEndian(const std::uint8_t* bytes, std::size_t size) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < size; ++i) {
    value = (value << 8U) | bytes[i];
  }
  return value;
}

std::uint64_t littleEndian(const std::uint8_t* bytes, std::size_t size) {
  std::uint64_t value = 0;
  for (std::size_t i = size; i-- > 0;) {
    value = (value << 8U) | bytes[i];
  }
  return value;
}

// Of the 64-bit reading taken as signed; the most negative one keeps its unsigned magnitude.
std::uint64_t magnitude(std::uint64_t reading) {
  return (reading >> 63U) != 0 ? ~reading + 1 : reading;
}

}  // namespace

std::int64_t smcIntegerReading(std::string_view dataType, std::int64_t dataSize,
                               const std::array<std::uint8_t, 32>& bytes) {
  if (dataSize != 1 && dataSize != 2 && dataSize != 4 && dataSize != 8) {
    return 0;
  }
  const auto size = static_cast<std::size_t>(dataSize);
  const std::uint64_t big = bigEndian(bytes.data(), size);
  if (comesInEitherOrder(dataType)) {
    const std::uint64_t little = littleEndian(bytes.data(), size);
    if (magnitude(big) > magnitude(little)) {
      return static_cast<std::int64_t>(little);
    }
  }
  return static_cast<std::int64_t>(big);
}

}  // namespace halvarin
