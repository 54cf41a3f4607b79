#include "database/QXEDManager.h"

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <vector>

#include "base/Exception.h"
#include "base/FileBytes.h"
#include "base/Text.h"
#include "database/CipherMessages.h"
#include "database/SaltTables.h"
#include "platform/SystemLog.h"

namespace halvarin {

namespace {

constexpr std::size_t kSaltBytes = 1063;
constexpr std::size_t kKeyBytes = 16;

using platform::systemLog;

/// The bytes of a block at the positions of a table.
Data pick(const Data& block, const std::uint64_t (&positions)[kKeyBytes]) {
  std::vector<std::uint8_t> picked;
  for (const std::uint64_t position : positions) {
    if (position >= block.size()) {
      throw Exception(Exception::kRange, "the salt block has " + std::to_string(block.size()) +
                                             " bytes, position " + std::to_string(position) +
                                             " is asked for");
    }
    picked.push_back(block.bytes()[position]);
  }
  return Data(picked);
}

Data joined(const Data& head, const Data& tail) {
  std::string bytes(head.view());
  return Data(bytes.append(tail.view()));
}

bool writeFile(const std::string& path, const Data& bytes) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(bytes.view().data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  return !file.fail();
}

}  // namespace

QXEDManager::KeyRef QXEDManager::localSK() const {
  return skFromData(Data(kLocalKeyBytes));
}

QXEDManager::KeyRef QXEDManager::skFromData(const Data& data) const {
  std::string error;
  KeyRef key = platform::makeCipherKey(data, error);
  if (!key) {
    systemLog("QXEDManager::skFromData: failed: " + error);
  }
  return key;
}

std::optional<Data> QXEDManager::enData(const std::optional<Data>& data,
                                        const KeyRef& withSK) const {
  if (!withSK || !data) {
    return std::nullopt;
  }
  platform::CipherFailure failure;
  auto ciphered = platform::encipher(*withSK, *data, failure);
  if (!ciphered) {
    systemLog(encipherFailureLine(failure));
  }
  return ciphered;
}

std::optional<Data> QXEDManager::deData(const std::optional<Data>& data,
                                        const KeyRef& withSK) const {
  if (!withSK || !data) {
    return std::nullopt;
  }
  platform::CipherFailure failure;
  auto plain = platform::decipher(*withSK, *data, failure);
  if (!plain) {
    systemLog(decipherFailureLine(failure));
  }
  return plain;
}

std::optional<Data> QXEDManager::enData(const std::optional<Data>& data) const {
  return enData(data, localSK());
}

std::optional<Data> QXEDManager::deData(const std::optional<Data>& data) const {
  return deData(data, localSK());
}

std::optional<Data> QXEDManager::dataFromSerializedData(const std::optional<Data>& data) const {
  const std::optional<Data> outer = deData(data);
  if (!outer || outer->size() < kSaltBytes) {
    systemLog("QXEDManager:dataFromSerializedData: failed");
    return std::nullopt;
  }
  const KeyRef key = skFromData(pick(*outer, kSBSKIndices));
  if (!key || outer->size() == kSaltBytes) {
    return std::nullopt;
  }
  auto payload = deData(Data(outer->bytes().subspan(kSaltBytes)), key);
  if (!payload) {
    systemLog("QXEDManager:dataFromSerializedData: failed");
  }
  return payload;
}

std::optional<Data> QXEDManager::dataFromSerializedFile(const std::string& path) const {
  const std::optional<std::string> container = fileBytes(path);
  if (!container) {
    systemLog("QXEDManager:dataFromSerializedFile: failed to read context");
    return std::nullopt;
  }
  auto payload = dataFromSerializedData(Data(*container));
  if (!payload) {
    systemLog("QXEDManager:dataFromSerializedFile: failed");
  }
  return payload;
}

Data QXEDManager::saltBlockData() const {
  return Data(kSaltBlock);
}

Data QXEDManager::secKeyDataFromSaltBlockData(const Data& saltBlock) const {
  return pick(saltBlock, kSaltBlockSecKeyIndices);
}

bool QXEDManager::enDataToFile(const std::optional<Data>& data, const std::string& path) const {
  const Data salt = saltBlockData();
  const auto inner = enData(data, skFromData(secKeyDataFromSaltBlockData(salt)));
  const auto outer = inner ? enData(joined(salt, *inner)) : std::nullopt;
  if (!outer) {
    systemLog("QXEDManager+Salt:enData:toFile: failed");
    return false;
  }
  if (!writeFile(path, *outer)) {
    systemLog("QXEDManager+Salt:enData:toFile: failed to write");
    return false;
  }
  return true;
}

std::optional<Data> QXEDManager::enUTF8String(std::string_view text) const {
  return enData(Data(text));
}

std::optional<std::string> QXEDManager::deUTF8StringData(const std::optional<Data>& data) const {
  const auto plain = deData(data);
  if (!plain || !utf16(plain->view())) {
    return std::nullopt;
  }
  return std::string(plain->view());
}

}  // namespace halvarin
