#include "host/PassView.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "base/Array.h"
#include "selftest/QXSensorsTestManager.h"
#include "sensors/SensorRecord.h"
#include "sensors/SensorUpdate.h"
#include "smc/KeyRecord.h"

namespace halvarin::host {

namespace {

std::vector<DictionaryRef> recordsOf(const Value& array) {
  std::vector<DictionaryRef> records;
  if (const ArrayRef held = array.array()) {
    for (const Value& each : held->elements()) {
      if (const DictionaryRef record = each.dictionary()) {
        records.push_back(record);
      }
    }
  }
  return records;
}

std::vector<DictionaryRef> sensorsOf(const Dictionary& pass) {
  std::vector<DictionaryRef> all;
  for (const auto& [name, value] : pass.entries()) {
    if (name.view() != update::kFans) {
      const auto records = recordsOf(value);
      all.insert(all.end(), records.begin(), records.end());
    }
  }
  return all;
}

bool wasRead(const DictionaryRef& record) {
  return record->get(record::kError).intValue() == 0;
}

}  // namespace

std::vector<DictionaryRef> hottestOf(const Value& temperatures, std::size_t most) {
  struct Temperature {
    double degrees;
    DictionaryRef record;
  };
  std::vector<Temperature> sorted;
  for (const DictionaryRef& record : recordsOf(temperatures)) {
    const double degrees = record->get(record::kValue).doubleValue();
    if (wasRead(record) && !std::isnan(degrees)) {
      sorted.push_back({degrees, record});
    }
  }
  std::stable_sort(sorted.begin(), sorted.end(), [](const Temperature& a, const Temperature& b) {
    return a.degrees > b.degrees;
  });
  std::vector<DictionaryRef> hottest;
  for (std::size_t i = 0; i < std::min(most, sorted.size()); ++i) {
    hottest.push_back(sorted[i].record);
  }
  return hottest;
}

std::vector<DictionaryRef> outsideOf(const Dictionary& pass) {
  std::vector<DictionaryRef> outside;
  for (const DictionaryRef& record : sensorsOf(pass)) {
    if (record->has(record::kIsInsideLimits) && !record->get(record::kIsInsideLimits).boolValue()) {
      outside.push_back(record);
    }
  }
  return outside;
}

std::vector<DictionaryRef> failedOf(const Dictionary& pass) {
  std::vector<DictionaryRef> failed;
  for (const DictionaryRef& record : sensorsOf(pass)) {
    if (record->get(record::kDescription).textView() != kUntestedSensor &&
        !record->get(record::kIsInsideLimits).boolValue()) {
      failed.push_back(record);
    }
  }
  return failed;
}

std::size_t unreadIn(const Dictionary& pass) {
  const auto all = sensorsOf(pass);
  return static_cast<std::size_t>(
      std::count_if(all.begin(), all.end(), [](const auto& record) { return !wasRead(record); }));
}

}  // namespace halvarin::host
