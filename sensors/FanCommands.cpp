#include "sensors/FanCommands.h"

#include <array>
#include <bit>
#include <optional>
#include <string_view>

#include "base/ByteOrder.h"
#include "base/Dictionary.h"
#include "sensors/FanKey.h"
#include "smc/KeyRecord.h"

namespace halvarin {

namespace {

/// Whether the machine says now that it has this fan. A failed read leaves the last count in the
/// record; it says nothing of the machine as it is.
bool hasFan(QXSMCInterface& smc, std::uint32_t fan) {
  const DictionaryRef record = smc.SMCReadKey(fan::kCountKey);
  if (!record) {
    return false;
  }
  const auto [count, error] = record->getEach(std::array{record::kValue, record::kError});
  return error.intValue() == 0 && count.unsignedIntValue() > fan;
}

std::uint32_t sizeOf(const Dictionary& record) {
  return static_cast<std::uint32_t>(record.get(record::kDataSize).intValue());
}

bool writeWholeKey(QXSMCInterface& smc, std::string_view key, const Dictionary& record,
                   std::uint32_t data) {
  return smc.SMCWriteKey(key, data, sizeOf(record)) == 0;
}

bool writeForceBit(QXSMCInterface& smc, bool force, std::uint32_t fan) {
  const DictionaryRef record = smc.SMCReadKey(fan::kForceBitsKey);
  if (!record) {
    return false;
  }
  const std::uint32_t bits = record->get(record::kValue).unsignedIntValue();
  const std::uint32_t mask = std::uint32_t{1} << (fan % 32);
  return writeWholeKey(smc, fan::kForceBitsKey, *record, force ? bits | mask : bits & ~mask);
}

/// A speed as a key of a type carries it; absent for types that carry none.
std::optional<std::uint32_t> encodedSpeed(std::string_view type, std::uint16_t speed) {
  if (type == "flt ") {
    // A write sends its high byte first, and the controller takes floats with the low byte first.
    return byteSwapped(std::bit_cast<std::uint32_t>(static_cast<float>(speed)));
  }
  if (type == "fpe2" || type == "ui16") {
    return std::uint32_t{speed} << 2U;  // quarters, also where the type does not say so
  }
  return std::nullopt;
}

}  // namespace

bool switchFanTestFlag(QXSMCInterface& smc, bool enable) {
  const DictionaryRef record = smc.SMCReadKey(fan::kTestFlagKey);
  return record && writeWholeKey(smc, fan::kTestFlagKey, *record, enable ? 1 : 0);
}

bool writeFanMode(QXSMCInterface& smc, signed char mode, std::uint32_t fan) {
  if (!hasFan(smc, fan)) {
    return false;
  }
  for (const std::string_view suffix : {fan::kModeSuffix, fan::kLowerModeSuffix}) {
    const std::string key = fan::key(fan, suffix);
    if (const DictionaryRef record = smc.SMCReadKey(key)) {
      return writeWholeKey(smc, key, *record, static_cast<std::uint32_t>(std::int32_t{mode}));
    }
  }
  return writeForceBit(smc, mode != 0, fan);
}

bool writeFanTarget(QXSMCInterface& smc, std::uint16_t speed, std::uint32_t fan) {
  if (!hasFan(smc, fan)) {
    return false;
  }
  const std::string key = fan::key(fan, fan::kTargetSuffix);
  const DictionaryRef record = smc.SMCReadKey(key);
  const auto data =
      record ? encodedSpeed(record->get(record::kDataType).textView(), speed) : std::nullopt;
  return data && writeWholeKey(smc, key, *record, *data);
}

}  // namespace halvarin
