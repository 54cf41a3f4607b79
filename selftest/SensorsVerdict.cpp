#include "selftest/SensorsVerdict.h"

#include <array>

#include "base/Array.h"
#include "base/NumberText.h"
#include "selftest/QXSensorsTestManager.h"
#include "sensors/SensorRecord.h"
#include "sensors/SensorUpdate.h"
#include "smc/KeyRecord.h"

namespace halvarin {

namespace {

std::string lineOf(const Value& description, const Value& value, const Value& unit) {
  const std::string line = description.description() + ": " + value.description();
  if (unit.textView() != "oC") {
    return line + " " + unit.description();
  }
  const float fahrenheit = value.floatValue() * 9.0F / 5.0F + 32.0F;
  return line + " °C, " + fixedText(static_cast<double>(fahrenheit), 2) + " °F";
}

void testRecord(const Dictionary& record, SensorsVerdict& result) {
  const auto [description, inside] =
      record.getEach(std::array{record::kDescription, record::kIsInsideLimits});
  if (description.textView() == kUntestedSensor) {
    return;
  }
  result.passed = result.passed && inside.boolValue();
  result.lines.push_back(sensorLine(record));
}

}  // namespace

std::string sensorLine(const Dictionary& record) {
  const auto [description, value, unit] =
      record.getEach(std::array{record::kDescription, record::kValue, record::kUnit});
  return lineOf(description, value, unit);
}

SensorsVerdict judgeSensors(const Dictionary& pass) {
  SensorsVerdict result;
  for (const auto& [category, records] : pass.entries()) {
    const ArrayRef array = records.array();
    if (category.view() == update::kFans || category.view() == update::kPowerSource || !array) {
      continue;
    }
    for (const Value& each : array->elements()) {
      if (const DictionaryRef record = each.dictionary()) {
        testRecord(*record, result);
      }
    }
  }
  return result;
}

}  // namespace halvarin
