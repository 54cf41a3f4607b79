#include "base/Value.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "base/NumberText.h"

namespace halvarin {

namespace {

template <typename Integer>
Integer heldAtEnds(std::int64_t value) {
  return static_cast<Integer>(std::clamp<std::int64_t>(value, std::numeric_limits<Integer>::min(),
                                                       std::numeric_limits<Integer>::max()));
}

std::int64_t truncated(double number) {
  constexpr double kTwoTo63 = 9223372036854775808.0;
  if (std::isnan(number)) {
    return 0;
  }
  if (number >= kTwoTo63) {
    return std::numeric_limits<std::int64_t>::max();
  }
  return number < -kTwoTo63 ? std::numeric_limits<std::int64_t>::min()
                            : static_cast<std::int64_t>(number);
}

}  // namespace

// Here and not at every call: seven kinds make them long.
Value::Value(const Value& other) = default;
Value::Value(Value&& other) noexcept = default;
Value& Value::operator=(const Value& other) = default;
Value& Value::operator=(Value&& other) noexcept = default;
Value::~Value() = default;

Value::Value(ArrayRef array) {
  if (array) {
    held_ = std::move(array);
  }
}

Value::Value(DictionaryRef dictionary) {
  if (dictionary) {
    held_ = std::move(dictionary);
  }
}

Text Value::text() const {
  const auto* text = std::get_if<Text>(&held_);
  return text != nullptr ? *text : Text();
}

Data Value::data() const {
  const auto* data = std::get_if<Data>(&held_);
  return data != nullptr ? *data : Data();
}

ArrayRef Value::array() const {
  const auto* array = std::get_if<ArrayRef>(&held_);
  return array != nullptr ? *array : nullptr;
}

DictionaryRef Value::dictionary() const {
  const auto* dictionary = std::get_if<DictionaryRef>(&held_);
  return dictionary != nullptr ? *dictionary : nullptr;
}

std::string_view Value::textView() const {
  const auto* text = std::get_if<Text>(&held_);
  return text != nullptr ? text->view() : std::string_view{};
}

std::span<const std::uint8_t> Value::bytesView() const {
  const auto* data = std::get_if<Data>(&held_);
  return data != nullptr ? data->bytes() : std::span<const std::uint8_t>{};
}

std::int64_t Value::longLongValue() const {
  if (const auto* number = std::get_if<std::int64_t>(&held_)) {
    return *number;
  }
  if (const auto* number = std::get_if<double>(&held_)) {
    return truncated(*number);
  }
  if (const auto* truth = std::get_if<bool>(&held_)) {
    return *truth ? 1 : 0;
  }
  return integerReading(textView());
}

std::int32_t Value::intValue() const {
  const std::int64_t value = longLongValue();
  return isText() ? heldAtEnds<std::int32_t>(value) : static_cast<std::int32_t>(value);
}

std::uint32_t Value::unsignedIntValue() const {
  const std::int64_t value = longLongValue();
  return isText() ? heldAtEnds<std::uint32_t>(value) : static_cast<std::uint32_t>(value);
}

double Value::doubleValue() const {
  if (const auto* number = std::get_if<double>(&held_)) {
    return *number;
  }
  return isText() ? decimalReading(textView()) : static_cast<double>(longLongValue());
}

float Value::floatValue() const {
  return static_cast<float>(doubleValue());
}

bool Value::boolValue() const {
  if (const auto* number = std::get_if<double>(&held_)) {
    return *number != 0;
  }
  return isText() ? truthReading(textView()) : longLongValue() != 0;
}

const char* Value::className() const {
  constexpr std::array<const char*, std::variant_size_v<decltype(held_)>> kNames{
      "(null)", "Boolean", "Number", "Number", "Text", "Data", "Array", "Dictionary"};
  return kNames[held_.index()];
}

std::string Value::description() const {
  if (isText()) {
    return text().string();
  }
  if (isData()) {
    return "<" + hexBytes(data().bytes()) + ">";
  }
  if (isReal()) {
    return realText(doubleValue());
  }
  if (isBoolean() || isInteger()) {
    return std::to_string(longLongValue());
  }
  return className();
}

}  // namespace halvarin
