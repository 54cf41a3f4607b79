#include "smc/KeyListing.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "base/Text.h"
#include "smc/KeyCode.h"
#include "smc/KeyRecord.h"
#include "smc/SMCTransfer.h"

namespace halvarin {

namespace {

constexpr std::string_view kCountKey = "#KEY";
constexpr std::size_t kKeyCharacters = 4;

bool hasKeyLength(std::string_view key) {
  const auto characters = utf16(key);
  return characters && characters->size() == kKeyCharacters;
}

std::optional<std::uint32_t> countFrom(const SMCCallRecord& reply, std::uint32_t size) {
  if (size != 1 && size != 2 && size != 4) {
    return std::nullopt;
  }
  std::uint32_t count = 0;
  for (std::uint32_t i = 0; i < size; ++i) {
    count = (count << 8U) | reply.bytes[i];
  }
  return count;
}

/// The number of keys, by a request that keeps the count key's code, size and type afterwards.
std::optional<std::uint32_t> readCount(SMCCallRecord& request) {
  SMCCallRecord reply;
  request.key = recordInteger(kCountKey);
  request.command = kSMCCmdGetKeyInfo;
  if (callSMC(request, reply) != 0) {
    return std::nullopt;
  }
  request.keyInfo.dataSize = reply.keyInfo.dataSize;
  request.keyInfo.dataType = reply.keyInfo.dataType;
  request.command = kSMCCmdReadBytes;
  if (callSMC(request, reply) != 0) {
    return std::nullopt;
  }
  return countFrom(reply, request.keyInfo.dataSize);
}

DictionaryRef describedRecord(std::uint32_t index, std::string_view key) {
  auto record = Dictionary::make();
  // "%d": an index beyond the signed range, which no controller has, would show as negative.
  record->set(record::kIndex, std::to_string(static_cast<std::int32_t>(index)));
  record->addEntriesFrom(*readKeyInfo(key));
  return record;
}

}  // namespace

DictionaryRef readKeyInfo(std::string_view key) {
  auto record = Dictionary::make();
  if (!hasKeyLength(key)) {
    return record;
  }
  SMCCallRecord request;
  SMCCallRecord reply;
  request.key = recordInteger(key);
  request.command = kSMCCmdGetKeyInfo;
  if (callSMC(request, reply) != 0) {
    return record;
  }
  const auto type = codeText(reply.keyInfo.dataType);
  record->setEach(std::array<Dictionary::Update, 5>{{
      {record::kKey, key},
      {record::kKey32, request.key},
      {record::kType32, reply.keyInfo.dataType},
      {record::kDataType, type ? Value(*type) : Value()},
      {record::kDataSize, reply.keyInfo.dataSize},
  }});
  return record;
}

DictionaryRef listKeyRecords() {
  auto table = Dictionary::make();
  SMCCallRecord request;
  const std::uint32_t count = readCount(request).value_or(0);
  request.command = kSMCCmdReadKeyByIndex;
  for (std::uint32_t index = 0; index < count; ++index) {
    SMCCallRecord reply;
    request.data32 = index;
    if (callSMC(request, reply) != 0) {
      continue;
    }
    // A name that is no UTF-8 has no text to be looked up by, so it cannot be listed.
    if (const auto key = codeText(reply.key)) {
      table->set(*key, describedRecord(index, *key));
    }
  }
  return table;
}

}  // namespace halvarin
