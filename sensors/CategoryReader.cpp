#include "sensors/CategoryReader.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

#include "base/Exception.h"
#include "base/NumberText.h"
#include "platform/SystemLog.h"
#include "sensors/LimitVerdict.h"
#include "sensors/SensorRecord.h"
#include "sensors/ValueDecoder.h"
#include "smc/IntegerReading.h"
#include "smc/KeyRecord.h"

namespace halvarin {

namespace {

/// The record that a walk has reached, for the log of a fault.
struct Reached {
  Value key;
  DictionaryRef read;  // null before it was read
};

void logFault(const Exception& fault, const Reached& reached) {
  const auto [value, error, bytes] =
      reached.read
          ? reached.read->getEach(std::array{record::kValue, record::kError, record::kDataBytes})
          : std::array<Value, 3>{};
  const std::size_t length = value.isText() ? value.textView().size() : value.data().size();
  platform::systemLog("exception  key: " + reached.key.description() + "  name: " + fault.name() +
                      "   reason: " + fault.reason() + "   class: " + value.className() +
                      "   length: " + std::to_string(length) + " value: " + value.description());
  platform::systemLog("exception error: 0x" + hexText(error.unsignedIntValue()) + "  databytes(" +
                      std::to_string(bytes.data().size()) + "):" + bytes.description());
  platform::systemLog(" ");
}

/// The integer reading. An overlapping walk may have replaced it by its text already; the bytes
/// that it was made from are still there.
std::int64_t integerOf(const Value& value, const Value& type, const Value& size,
                       const Value& bytes) {
  if (value.isInteger()) {
    return value.longLongValue();
  }
  std::array<std::uint8_t, 32> delivered{};
  const Data data = bytes.data();
  std::copy_n(data.bytes().begin(), std::min(data.size(), delivered.size()), delivered.begin());
  return smcIntegerReading(type.textView(), size.longLongValue(), delivered);
}

void decodeAndJudge(Dictionary& read, bool onMains) {
  const auto [type, size, bytes, value, high, low, mainsOnly] = read.getEach(
      std::array{record::kDataType, record::kDataSize, record::kDataBytes, record::kValue,
                 record::kHighLimit, record::kLowLimit, record::kACqualified});
  const std::string text = decodeReading(
      {type.textView(), size.longLongValue(), integerOf(value, type, size, bytes), bytes.data()});
  const bool inside =
      isInsideLimits(text, low.textView(), high.textView(), mainsOnly.boolValue(), onMains);
  read.setEach(std::array<Dictionary::Update, 2>{
      {{record::kValue, text}, {record::kIsInsideLimits, inside}}});
}

void readRecord(Dictionary& listed, const KeyReader& readKey, const CategoryPass& pass,
                Reached& reached) {
  const auto [key, dataType] = listed.getEach(std::array{record::kKey, record::kDataType});
  reached = {key, nullptr};
  if (pass.logUi32 && dataType.textView() == "ui32") {
    platform::systemLog("ui32 " + key.text().string());
  }
  // A record of a code that is cut short has no key to be read by.
  reached.read = key.isNothing() ? nullptr : readKey(key.textView());
  const std::int32_t status = reached.read ? reached.read->get(record::kError).intValue() : 0;
  if (!reached.read || status != 0) {
    listed.set(record::kValue, errorText(status));
    return;
  }
  decodeAndJudge(*reached.read, pass.onMains);
}

}  // namespace

void readCategory(const Array& records, const KeyReader& readKey, const CategoryPass& pass) {
  Reached reached;
  try {
    for (const Value& each : records.elements()) {
      if (const DictionaryRef listed = each.dictionary()) {
        readRecord(*listed, readKey, pass, reached);
      }
    }
  } catch (const Exception& fault) {
    logFault(fault, reached);
  }
}

}  // namespace halvarin
