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
  DictionaryRef listed;
  DictionaryRef read;  // null before it was read
};

void logFault(const Exception& fault, const Reached& reached) {
  const Value key = reached.listed ? reached.listed->get(record::kKey) : Value();
  const auto [value, error, bytes] =
      reached.read
          ? reached.read->getEach(std::array{record::kValue, record::kError, record::kDataBytes})
          : std::array<Value, 3>{};
  const std::size_t length = value.isText() ? value.textView().size() : value.data().size();
  platform::systemLog("exception  key: " + key.description() + "  name: " + fault.name() +
                      "   reason: " + fault.reason() + "   class: " + value.className() +
                      "   length: " + std::to_string(length) + " value: " + value.description());
  platform::systemLog("exception error: 0x" + hexText(error.unsignedIntValue()) + "  databytes(" +
                      std::to_string(bytes.data().size()) + "):" + bytes.description());
  platform::systemLog(" ");
}

/// The integer reading. An overlapping walk may have replaced it by its text already; the bytes
/// that it was made from are still there.
std::int64_t integerOf(const Value& value, const RawReading& reading) {
  if (value.isInteger()) {
    return value.longLongValue();
  }
  std::array<std::uint8_t, 32> delivered{};
  const auto bytes = reading.dataBytes;
  std::copy_n(bytes.begin(), std::min(bytes.size(), delivered.size()), delivered.begin());
  return smcIntegerReading(reading.dataType, reading.dataSize, delivered);
}

struct Judged {
  std::string text;
  bool isInside = true;
};

Judged decodedAndJudged(const Dictionary& read, bool onMains) {
  return read.lookAtEach(
      std::array{record::kDataType, record::kDataSize, record::kDataBytes, record::kValue,
                 record::kHighLimit, record::kLowLimit, record::kACqualified},
      [onMains](const auto& found) {
        const auto& [type, size, bytes, value, high, low, mainsOnly] = found;
        RawReading reading{type->textView(), size->longLongValue(), 0, bytes->bytesView()};
        reading.value = integerOf(*value, reading);
        const std::string text = decodeReading(reading);
        return Judged{text, isInsideLimits(text, low->textView(), high->textView(),
                                           mainsOnly->boolValue(), onMains)};
      });
}

void readRecord(Dictionary& listed, const KeyReader& readKey, const CategoryPass& pass,
                DictionaryRef& read) {
  const Value key = listed.get(record::kKey);
  if (pass.logUi32 && listed.get(record::kDataType).textView() == "ui32") {
    platform::systemLog("ui32 " + key.text().string());
  }
  // A record of a code that is cut short has no key to be read by.
  read = key.isNothing() ? nullptr : readKey(key.textView());
  const std::int32_t status = read ? read->get(record::kError).intValue() : 0;
  if (!read || status != 0) {
    listed.set(record::kValue, errorText(status));
    return;
  }
  const Judged judged = decodedAndJudged(*read, pass.onMains);
  read->setEach(std::array<Dictionary::Update, 2>{
      {{record::kValue, judged.text}, {record::kIsInsideLimits, judged.isInside}}});
}

}  // namespace

void readCategory(const Array& records, const KeyReader& readKey, const CategoryPass& pass) {
  Reached reached;
  try {
    for (const Value& each : records.elements()) {
      reached = {each.dictionary(), nullptr};
      if (reached.listed) {
        readRecord(*reached.listed, readKey, pass, reached.read);
      }
    }
  } catch (const Exception& fault) {
    logFault(fault, reached);
  }
}

}  // namespace halvarin
