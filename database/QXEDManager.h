#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Data.h"
#include "base/Export.h"
#include "platform/Cipher.h"

namespace halvarin {

/// Enciphers and deciphers the container in which the sensor database travels: AES-128-CBC under a
/// fixed key around a salt block of 1063 bytes and a second layer whose key is picked from that
/// salt. Without state; any thread. Failures are absent results and, where a platform step failed,
/// one line in the system log; nothing throws or is retried.
class HALVARIN_EXPORT QXEDManager {
 public:
  using KeyRef = platform::CipherKeyRef;

  /// The key of the outer layer; null, logged, when the platform refuses.
  [[nodiscard]] KeyRef localSK() const;
  /// A key from its 16 bytes; null, logged, for any other number of bytes.
  [[nodiscard]] KeyRef skFromData(const Data& data) const;

  /// One layer under a key. A missing key or missing data gives nothing without a message.
  [[nodiscard]] std::optional<Data> enData(const std::optional<Data>& data,
                                           const KeyRef& withSK) const;
  [[nodiscard]] std::optional<Data> deData(const std::optional<Data>& data,
                                           const KeyRef& withSK) const;
  /// One layer under the local key.
  [[nodiscard]] std::optional<Data> enData(const std::optional<Data>& data) const;
  [[nodiscard]] std::optional<Data> deData(const std::optional<Data>& data) const;

  /// The payload of a container.
  [[nodiscard]] std::optional<Data> dataFromSerializedData(const std::optional<Data>& data) const;
  /// The payload of a container in a file.
  [[nodiscard]] std::optional<Data> dataFromSerializedFile(const std::string& path) const;

  // The writing side.

  /// A copy of the salt block of 1063 bytes.
  [[nodiscard]] Data saltBlockData() const;
  /// The 16 bytes of the inner key that a salt block yields. Throws Exception (range) for a block
  /// shorter than the positions used; the salt block itself never is.
  [[nodiscard]] Data secKeyDataFromSaltBlockData(const Data& saltBlock) const;
  /// Writes a payload as a container, in one piece. False, logged, on failure.
  [[nodiscard]] bool enDataToFile(const std::optional<Data>& data, const std::string& path) const;

  /// A text's UTF-8 bytes in one layer under the local key, without salt.
  [[nodiscard]] std::optional<Data> enUTF8String(std::string_view text) const;
  /// The text back; absent for missing data, a failed deciphering or bytes that are not UTF-8.
  [[nodiscard]] std::optional<std::string> deUTF8StringData(const std::optional<Data>& data) const;
};

}  // namespace halvarin
