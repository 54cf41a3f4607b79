#include "sensors/DescriptorList.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "base/Array.h"
#include "base/MergeSort.h"
#include "base/Text.h"
#include "database/SensorDatabase.h"
#include "platform/LocaleOrder.h"

namespace halvarin {

namespace {

std::string_view shownCategory(std::string_view type) {
  if (type == "Accelerometer") {
    return "Motion";
  }
  return type == "Photometer" ? "Light" : type;
}

/// Texts in the order of their first insertion, each once.
class OrderedSet {
 public:
  void add(std::string_view text) {
    if (known_.insert(std::string(text)).second) {
      texts_.emplace_back(text);
    }
  }
  [[nodiscard]] std::vector<std::string> take() { return std::move(texts_); }

 private:
  std::unordered_set<std::string> known_;
  std::vector<std::string> texts_;
};

class Categories {
 public:
  void add(const Dictionary& descriptor) {
    const auto [type, description] =
        descriptor.getEach(std::array{database::kType, database::kDescription});
    const std::string_view text = trimmed(description.textView());
    if (text.empty() || !type.isText()) {
      return;
    }
    const std::string_view category = shownCategory(type.textView());
    const auto [found, isNew] = places_.try_emplace(std::string(category), sets_.size());
    if (isNew) {
      sets_.emplace_back(category, OrderedSet());
    }
    sets_[found->second].second.add(text);
  }
  [[nodiscard]] std::vector<std::pair<std::string, OrderedSet>>& sets() { return sets_; }

 private:
  std::unordered_map<std::string, std::size_t> places_;
  std::vector<std::pair<std::string, OrderedSet>> sets_;  // in the order of their first descriptor
};

struct Described {
  Value text;
  std::u16string characters;
};

int compareDescriptions(const platform::LocaleOrder& order, std::u16string_view a,
                        std::u16string_view b) {
  return order.compare(a.substr(0, std::min(a.size(), b.size())), b);
}

ArrayRef sortedForPeople(const std::vector<std::string>& texts,
                         const platform::LocaleOrder& order) {
  std::vector<Described> descriptions;
  descriptions.reserve(texts.size());
  for (const std::string& text : texts) {
    descriptions.push_back({text, utf16(text).value_or(std::u16string())});
  }
  mergeSort(descriptions, [&order](const Described& a, const Described& b) {
    return compareDescriptions(order, a.characters, b.characters);
  });
  std::vector<Value> sorted;
  sorted.reserve(descriptions.size());
  for (Described& description : descriptions) {
    sorted.push_back(std::move(description.text));
  }
  return Array::make(std::move(sorted));
}

}  // namespace

DictionaryRef categorizedDescriptors(const Dictionary& sensorDatabase) {
  Categories categories;
  for (const auto& [model, entry] : sensorDatabase.entries()) {
    const DictionaryRef modelEntry = entry.dictionary();
    const DictionaryRef sensors =
        modelEntry ? modelEntry->get(database::kSensors).dictionary() : nullptr;
    for (const auto& [key, descriptor] : sensors ? sensors->entries() : Dictionary::Entries()) {
      if (const DictionaryRef each = descriptor.dictionary()) {
        categories.add(*each);
      }
    }
  }
  const platform::LocaleOrder order;
  auto result = Dictionary::make();
  for (auto& [category, set] : categories.sets()) {
    result->set(category, sortedForPeople(set.take(), order));
  }
  return result;
}

}  // namespace halvarin
