#include "host/RecordJson.h"

#include <cmath>
#include <iostream>

#include "base/Array.h"
#include "base/NumberText.h"

namespace halvarin::host {

namespace {

Json realToJson(double number) {
  // JSON has no word for these; their text says more than null.
  return std::isfinite(number) ? Json(number) : Json(fixedText(number, 2));
}

}  // namespace

Json toJson(const Value& value) {
  if (const DictionaryRef dictionary = value.dictionary()) {
    Json object = Json::object();
    for (const auto& [name, entry] : dictionary->entries()) {
      object[name.string()] = toJson(entry);
    }
    return object;
  }
  if (const ArrayRef array = value.array()) {
    Json list = Json::array();
    for (const Value& element : array->elements()) {
      list.push_back(toJson(element));
    }
    return list;
  }
  if (value.isBoolean()) {
    return value.boolValue();
  }
  if (value.isInteger()) {
    return value.longLongValue();
  }
  if (value.isReal()) {
    return realToJson(value.doubleValue());
  }
  if (value.isData()) {
    return hexBytes(value.data().bytes());
  }
  return value.isText() ? Json(value.text().string()) : Json(nullptr);
}

Json toJson(const MachineHeading& heading) {
  return {{"kind", heading.kind}, {"model", heading.model}, {"powerSource", heading.powerSource}};
}

void printJson(const Json& json) {
  std::cout << json.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
}

}  // namespace halvarin::host
