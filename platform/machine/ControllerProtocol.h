#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/machine/MachineFile.h"

// The controller's side of its user client: 80 bytes in, 80 bytes out, little-endian. Written from
// the controller's point of view and apart from smc/SMCCallRecord.h, so that each checks the other.

namespace halvarin::platform {

inline constexpr std::size_t kCallBytes = 80;
inline constexpr std::uint32_t kCallSelector = 2;
inline constexpr std::size_t kValueBytes = 32;

enum class Command : std::uint8_t { read = 5, write = 6, keyByIndex = 8, keyInfo = 9 };

/// The controller's result bytes.
inline constexpr std::uint8_t kResultOk = 0x00;
inline constexpr std::uint8_t kResultBadCommand = 0x82;
inline constexpr std::uint8_t kResultKeyNotFound = 0x84;
inline constexpr std::uint8_t kResultSizeMismatch = 0x87;
inline constexpr std::uint8_t kResultIndexOutOfRange = 0xB8;

using ValueBytes = std::array<std::uint8_t, kValueBytes>;

/// What a request says, in the controller's terms.
struct ControllerRequest {
  FourBytes key{};
  std::uint32_t sizeBytes = 0;
  std::uint8_t command = 0;
  std::uint32_t index = 0;
  ValueBytes bytes{};
};

/// What a reply says.
struct ControllerReply {
  FourBytes key{};
  std::uint32_t sizeBytes = 0;
  FourBytes type{};
  std::uint8_t attributes = 0;
  std::uint8_t result = kResultOk;
  ValueBytes bytes{};
};

[[nodiscard]] ControllerRequest decodeRequest(std::span<const std::uint8_t, kCallBytes> wire);
void encodeReply(const ControllerReply& reply, std::span<std::uint8_t, kCallBytes> wire);

}  // namespace halvarin::platform
