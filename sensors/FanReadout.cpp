#include "sensors/FanReadout.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/Dictionary.h"
#include "base/MergeSort.h"
#include "base/NumberText.h"
#include "base/Text.h"
#include "platform/TextOrder.h"
#include "sensors/FanKey.h"
#include "sensors/FanRecord.h"
#include "smc/KeyRecord.h"

namespace halvarin {

namespace {

/// A fan record at one moment.
struct Reading {
  Value key;
  Value value;
  Value dataType;
  Value dataBytes;
};

std::vector<Reading> readingsOf(const Array& records) {
  std::vector<Reading> readings;
  for (const Value& each : records.elements()) {
    if (const DictionaryRef record = each.dictionary()) {
      auto [key, value, type, bytes] = record->getEach(
          std::array{record::kKey, record::kValue, record::kDataType, record::kDataBytes});
      readings.push_back({std::move(key), std::move(value), std::move(type), std::move(bytes)});
    }
  }
  return readings;
}

/// What the suffixes of one fan say, in this order; nothing for a key that the machine lacks.
constexpr std::array<std::string_view, 7> kSuffixes{
    fan::kActualSuffix, fan::kTargetSuffix,    fan::kMinimumSuffix,       fan::kMaximumSuffix,
    fan::kModeSuffix,   fan::kLowerModeSuffix, fan::kIdentificationSuffix};
enum Suffix : std::size_t { kActual, kTarget, kMinimum, kMaximum, kMode, kLowerMode, kName };
using SuffixTable = std::array<Value, kSuffixes.size()>;

/// The name in an identification record: from its fifth byte to the first zero byte. Nothing when
/// the record is shorter or the name is no UTF-8.
Value locationOf(const Data& identification) {
  constexpr std::size_t kNamePlace = 4;
  const auto& bytes = identification.bytes();
  if (bytes.size() <= kNamePlace) {
    return {};
  }
  const std::string name(bytes.begin() + kNamePlace,
                         std::find(bytes.begin() + kNamePlace, bytes.end(), std::uint8_t{0}));
  return utf16(name) ? Value(name) : Value();
}

/// "ui16" fan keys count in quarters and the decoder does not know that.
Value speedOf(const Reading& reading) {
  return reading.dataType.textView() == "ui16" ? Value(std::to_string(reading.value.intValue() / 4))
                                               : reading.value;
}

SuffixTable suffixTable(const std::vector<Reading>& readings, std::uint32_t index) {
  const std::string prefix = fan::key(index, "");
  SuffixTable table;
  for (const Reading& reading : readings) {
    const std::string_view key = reading.key.textView();
    if (key.substr(0, prefix.size()) != prefix) {
      continue;
    }
    const auto suffix = std::find(kSuffixes.begin(), kSuffixes.end(), key.substr(prefix.size()));
    if (suffix != kSuffixes.end()) {
      const auto place = static_cast<std::size_t>(suffix - kSuffixes.begin());
      table[place] = place == kName ? locationOf(reading.dataBytes.data()) : speedOf(reading);
    }
  }
  return table;
}

DictionaryRef fanDictionary(std::uint32_t index, const SuffixTable& table, const Value& hottest) {
  // Deliberate: by its index alone, whatever the machine says.
  constexpr std::uint32_t kEnabledFans = 15;
  const Value& mode = table[kMode].isNothing() ? table[kLowerMode] : table[kMode];
  return std::make_shared<Dictionary>(Dictionary::Entries{
      {fan::kIndex, index},
      {fan::kEnabled, index < kEnabledFans ? 1 : 0},
      {fan::kMode, mode.intValue()},
      {fan::kSpeed, table[kActual].floatValue()},
      {fan::kTarget, table[kTarget].floatValue()},
      {fan::kMin, table[kMinimum].floatValue()},
      {fan::kMax, table[kMaximum].floatValue()},
      {fan::kTemp, hottest},
      {fan::kLocation, table[kName].isNothing() ? Value("Fan" + hexText(index)) : table[kName]}});
}

/// The last "FNum" of the records, widened with its sign: a count below zero is a very large one.
std::uint64_t fanCount(const std::vector<Reading>& readings) {
  // More fans than a two-byte count can name are a broken count, not fans: a dictionary for each of
  // them would take the host's memory.
  constexpr std::uint64_t kMostFans = 65536;
  std::uint64_t count = 0;
  for (const Reading& reading : readings) {
    if (reading.key.textView() == fan::kCountKey) {
      count = static_cast<std::uint64_t>(std::int64_t{reading.value.intValue()});
    }
  }
  return std::min(count, kMostFans);
}

}  // namespace

ArrayRef hottestFirst(const Array& records) {
  struct Valued {
    std::string value;
    Value record;
  };
  std::vector<Valued> sorted;
  for (const Value& each : records.elements()) {
    const DictionaryRef record = each.dictionary();
    sorted.push_back({record ? record->get(record::kValue).description() : "", each});
  }
  mergeSort(sorted, [](const Valued& a, const Valued& b) {
    return platform::compareNumericCaseInsensitive(b.value, a.value);
  });
  std::vector<Value> elements;
  elements.reserve(sorted.size());
  for (Valued& each : sorted) {
    elements.push_back(std::move(each.record));
  }
  return Array::make(std::move(elements));
}

Value hottestValue(const Array& hottestFirst) {
  const DictionaryRef first = hottestFirst.at(0).dictionary();
  const Value value = first ? first->get(record::kValue) : Value();
  return value.isNothing() ? Value("0") : value;
}

ArrayRef fanDictionaries(const Array& records, const Value& hottest) {
  const std::vector<Reading> readings = readingsOf(records);
  const auto count = static_cast<std::uint32_t>(fanCount(readings));
  std::vector<Value> fans;
  fans.reserve(count);
  for (std::uint32_t i = 0; i < count; ++i) {
    fans.emplace_back(fanDictionary(i, suffixTable(readings, i), hottest));
  }
  return Array::make(std::move(fans));
}

}  // namespace halvarin
