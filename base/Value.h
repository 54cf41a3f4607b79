#pragma once

#include <concepts>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "base/Data.h"
#include "base/Export.h"
#include "base/Text.h"

namespace halvarin {

class Array;
class Dictionary;
using ArrayRef = std::shared_ptr<Array>;
using DictionaryRef = std::shared_ptr<Dictionary>;

/// What an entry of a record holds: nothing, a truth value, a number, a text, bytes, or a reference
/// to a shared array or dictionary. A copy of an array or dictionary value names the same object.
///
/// The number readings follow Foundation: a text gives its leading number and holds at the ends of
/// the range, a number is truncated (a real is held at the ends of 64 bits, not-a-number is 0),
/// everything else is 0. They never fail.
class HALVARIN_EXPORT Value {
 public:
  Value() = default;
  Value(const Value& other);
  Value(Value&& other) noexcept;
  Value& operator=(const Value& other);
  Value& operator=(Value&& other) noexcept;
  ~Value();
  Value(bool truth) : held_(truth) {}
  template <std::integral Integer>
  Value(Integer number) : held_(static_cast<std::int64_t>(number)) {}
  Value(double number) : held_(number) {}
  Value(float number) : held_(static_cast<double>(number)) {}
  Value(Text text) : held_(std::move(text)) {}
  Value(const char* text) : held_(Text(text)) {}
  Value(std::string_view text) : held_(Text(text)) {}
  Value(const std::string& text) : held_(Text(text)) {}
  Value(const void* pointer) = delete;  // or every pointer would be a truth value
  Value(Data data) : held_(std::move(data)) {}
  Value(ArrayRef array);
  Value(DictionaryRef dictionary);

  [[nodiscard]] bool isNothing() const { return std::holds_alternative<std::monostate>(held_); }
  [[nodiscard]] bool isBoolean() const { return std::holds_alternative<bool>(held_); }
  [[nodiscard]] bool isInteger() const { return std::holds_alternative<std::int64_t>(held_); }
  [[nodiscard]] bool isReal() const { return std::holds_alternative<double>(held_); }
  [[nodiscard]] bool isText() const { return std::holds_alternative<Text>(held_); }
  [[nodiscard]] bool isData() const { return std::holds_alternative<Data>(held_); }

  // The held object, or an empty one (null for references) when it is of another kind.
  [[nodiscard]] Text text() const;
  [[nodiscard]] Data data() const;
  [[nodiscard]] ArrayRef array() const;
  [[nodiscard]] DictionaryRef dictionary() const;

  /// The held text without sharing it: valid while this value lives and is not assigned to.
  [[nodiscard]] std::string_view textView() const;
  /// The held bytes, likewise.
  [[nodiscard]] std::span<const std::uint8_t> bytesView() const;

  [[nodiscard]] std::int32_t intValue() const;
  /// A text below 0 gives 0.
  [[nodiscard]] std::uint32_t unsignedIntValue() const;
  [[nodiscard]] std::int64_t longLongValue() const;
  [[nodiscard]] float floatValue() const;
  [[nodiscard]] double doubleValue() const;
  [[nodiscard]] bool boolValue() const;

  /// The name of the kind, for log lines: "Boolean", "Number", "Text", "Data", "Array",
  /// "Dictionary"; "(null)" for nothing.
  [[nodiscard]] const char* className() const;
  /// The value as one text for log lines; "(null)" for nothing, "<..>" in hexadecimal for bytes.
  [[nodiscard]] std::string description() const;

  /// Values are equal when they are of one kind and hold the same; references when they name the
  /// same object.
  friend bool operator==(const Value& a, const Value& b) { return a.held_ == b.held_; }

 private:
  std::variant<std::monostate, bool, std::int64_t, double, Text, Data, ArrayRef, DictionaryRef>
      held_;
};

}  // namespace halvarin
