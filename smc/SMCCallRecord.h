#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace halvarin {

/// The command byte of a call record.
inline constexpr std::uint8_t kSMCCmdReadBytes = 5;
inline constexpr std::uint8_t kSMCCmdWriteBytes = 6;
inline constexpr std::uint8_t kSMCCmdReadKeyByIndex = 8;
inline constexpr std::uint8_t kSMCCmdGetKeyInfo = 9;

/// The method of the user client that takes a call record and fills another.
inline constexpr std::uint32_t kSMCUserClientMethod = 2;

/// What the `AppleSMC` user client takes and returns: 80 bytes, little-endian. A request starts
/// zero-filled.
struct SMCCallRecord {
  struct KeyInfo {
    std::uint32_t dataSize = 0;       // bytes of the key's value
    std::uint32_t dataType = 0;       // code; a wire integer in a key-info reply
    std::uint8_t dataAttributes = 0;  // zero in requests
    std::array<std::uint8_t, 3> padding{};
  };

  std::uint32_t key = 0;                            // wire integer
  std::array<std::uint8_t, 24> versionAndLimits{};  // zero in requests, never read
  KeyInfo keyInfo;
  std::uint8_t result = 0;  // the controller's result byte; zero in requests
  std::uint8_t status = 0;
  std::uint8_t command = 0;
  std::uint8_t padding = 0;
  std::uint32_t data32 = 0;  // the index for kSMCCmdReadKeyByIndex
  std::array<std::uint8_t, 32> bytes{};
};

static_assert(sizeof(SMCCallRecord) == 80);
static_assert(offsetof(SMCCallRecord, key) == 0);
static_assert(offsetof(SMCCallRecord, versionAndLimits) == 4);
static_assert(offsetof(SMCCallRecord, keyInfo) == 28);
static_assert(offsetof(SMCCallRecord::KeyInfo, dataSize) == 0);
static_assert(offsetof(SMCCallRecord::KeyInfo, dataType) == 4);
static_assert(offsetof(SMCCallRecord::KeyInfo, dataAttributes) == 8);
static_assert(sizeof(SMCCallRecord::KeyInfo) == 12);
static_assert(offsetof(SMCCallRecord, result) == 40);
static_assert(offsetof(SMCCallRecord, status) == 41);
static_assert(offsetof(SMCCallRecord, command) == 42);
static_assert(offsetof(SMCCallRecord, data32) == 44);
static_assert(offsetof(SMCCallRecord, bytes) == 48);

}  // namespace halvarin
