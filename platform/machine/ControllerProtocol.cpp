#include "platform/machine/ControllerProtocol.h"

#include <algorithm>

namespace halvarin::platform {

namespace {

// Byte positions in the 80 bytes.
constexpr std::size_t kKeyAt = 0;
constexpr std::size_t kSizeAt = 28;
constexpr std::size_t kTypeAt = 32;
constexpr std::size_t kAttributesAt = 36;
constexpr std::size_t kResultAt = 40;
constexpr std::size_t kCommandAt = 42;
constexpr std::size_t kIndexAt = 44;
constexpr std::size_t kBytesAt = 48;

std::uint32_t word(std::span<const std::uint8_t, kCallBytes> wire, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t i = 4; i-- > 0;) {
    value = (value << 8U) | wire[at + i];
  }
  return value;
}

void putWord(std::span<std::uint8_t, kCallBytes> wire, std::size_t at, std::uint32_t value) {
  for (std::size_t i = 0; i < 4; ++i) {
    wire[at + i] = static_cast<std::uint8_t>(value >> (8U * i));
  }
}

// A code travels as a number whose most significant byte is the first character.
FourBytes code(std::uint32_t number) {
  FourBytes four{};
  for (std::size_t i = 0; i < four.size(); ++i) {
    four[i] = static_cast<char>((number >> (24U - 8U * i)) & 0xFFU);
  }
  return four;
}

std::uint32_t number(const FourBytes& code) {
  std::uint32_t value = 0;
  for (const char character : code) {
    value = (value << 8U) | static_cast<unsigned char>(character);
  }
  return value;
}

}  // namespace

ControllerRequest decodeRequest(std::span<const std::uint8_t, kCallBytes> wire) {
  ControllerRequest request;
  request.key = code(word(wire, kKeyAt));
  request.sizeBytes = word(wire, kSizeAt);
  request.command = wire[kCommandAt];
  request.index = word(wire, kIndexAt);
  std::copy_n(wire.begin() + kBytesAt, kValueBytes, request.bytes.begin());
  return request;
}

void encodeReply(const ControllerReply& reply, std::span<std::uint8_t, kCallBytes> wire) {
  std::fill(wire.begin(), wire.end(), std::uint8_t{0});
  putWord(wire, kKeyAt, number(reply.key));
  putWord(wire, kSizeAt, reply.sizeBytes);
  putWord(wire, kTypeAt, number(reply.type));
  wire[kAttributesAt] = reply.attributes;
  wire[kResultAt] = reply.result;
  std::copy(reply.bytes.begin(), reply.bytes.end(), wire.begin() + kBytesAt);
}

}  // namespace halvarin::platform
