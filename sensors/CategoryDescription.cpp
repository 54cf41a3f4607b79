#include "sensors/CategoryDescription.h"

#include <array>

#include "base/LikePattern.h"
#include "database/SensorDatabase.h"
#include "sensors/SensorRecord.h"
#include "smc/KeyRecord.h"

namespace halvarin {

namespace {

Value orEmpty(const DictionaryRef& descriptor, std::string_view entry) {
  Value value = descriptor ? descriptor->get(entry) : Value();
  return value.isNothing() ? Value("") : value;
}

void describe(Dictionary& record, const DictionaryRef& descriptor) {
  record.setEach(std::array<Dictionary::Update, 4>{{
      {record::kDescription, orEmpty(descriptor, database::kDescription)},
      {record::kUnit, orEmpty(descriptor, database::kUnit)},
      {record::kHighLimit, orEmpty(descriptor, database::kHighLimit)},
      {record::kLowLimit, orEmpty(descriptor, database::kLowLimit)},
  }});
  // Deliberate: an earlier "ACqualified" stays when the descriptor states none.
  if (descriptor && descriptor->has(database::kACqualified)) {
    record.set(record::kACqualified, descriptor->get(database::kACqualified));
  }
}

ArrayElements elementsOf(const ArrayRef& records) {
  return (records ? records : Array::make())->elements();
}

}  // namespace

ArrayRef describeMatching(const ArrayRef& records, const DictionaryRef& sensorTable,
                          std::string_view pattern, bool describedOnly) {
  std::vector<Value> matching;
  for (const Value& each : elementsOf(records)) {
    const DictionaryRef record = each.dictionary();
    const Value key = record ? record->get(record::kKey) : Value();
    if (key.isNothing() || !matchesLike(key.textView(), pattern)) {
      continue;
    }
    describe(*record, sensorTable ? sensorTable->get(key.textView()).dictionary() : nullptr);
    if (!describedOnly || !record->get(record::kDescription).textView().empty()) {
      matching.push_back(each);
    }
  }
  return Array::make(std::move(matching));
}

}  // namespace halvarin
