#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Array.h"
#include "base/Data.h"
#include "base/Dictionary.h"
#include "base/Value.h"
#include "platform/PropertyList.h"

// Property lists to write and read in both formats, and lists told as texts to compare.

namespace halvarin::test {

inline constexpr std::array<platform::PropertyListFormat, 2> kFormats{
    platform::PropertyListFormat::xml, platform::PropertyListFormat::binary};

inline const char* nameOf(platform::PropertyListFormat format) {
  return format == platform::PropertyListFormat::xml ? "XML" : "binary";
}

inline std::string told(double number) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.17g", number);
  return std::string(text.data()) + "r";
}

/// A value with everything in it as one text; looks into every deferred dictionary. Entries stand
/// by their names: not every system keeps their order.
inline std::string told(const Value& value) {
  if (const DictionaryRef dictionary = value.dictionary()) {
    std::string text = "{";
    Dictionary::Entries entries = dictionary->entries();
    std::sort(entries.begin(), entries.end(),
              [](const auto& a, const auto& b) { return a.first.view() < b.first.view(); });
    for (const auto& [name, entry] : entries) {
      text += name.string() + "=" + told(entry) + ";";
    }
    return text + "}";
  }
  if (const ArrayRef array = value.array()) {
    std::string text = "[";
    for (const Value& element : array->elements()) {
      text += told(element) + ";";
    }
    return text + "]";
  }
  if (value.isReal()) {
    return told(value.doubleValue());
  }
  if (value.isBoolean()) {
    return value.boolValue() ? "true" : "false";
  }
  return value.isText() ? "'" + value.text().string() + "'" : value.description();
}

inline Data written(const Value& value, platform::PropertyListFormat format) {
  const auto bytes = platform::writePropertyList(value, format);
  EXPECT_TRUE(bytes.has_value());
  return bytes.value_or(Data());
}

inline Value parsed(std::string_view bytes) {
  return platform::parsePropertyList(Data(bytes));
}

inline DictionaryRef dictionaryOf(Dictionary::Entries entries) {
  return std::make_shared<Dictionary>(std::move(entries));
}

/// One of every kind, with containers in containers.
inline Value sample() {
  const std::vector<std::uint8_t> bytes{0x00, 0xFF, 0x10};
  return dictionaryOf({{"truth", true},
                       {"number", -42},
                       {"real", 1.5},
                       {"text", "caf\xC3\xA9 <&>"},
                       {"data", Data(bytes)},
                       {"array", Array::make({1, "two", Array::make({3.5, false})})},
                       {"dictionary", dictionaryOf({{"inner", Array::make()}})}});
}

}  // namespace halvarin::test
