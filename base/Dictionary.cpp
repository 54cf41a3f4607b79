#include "base/Dictionary.h"

#include <algorithm>
#include <iterator>

namespace halvarin {

namespace {

// A key record has about sixteen entries; comparing so few names beats hashing one.
constexpr std::size_t kMostWalked = 20;

/// Names that differ mostly differ in their length or their first character.
bool isName(std::string_view a, std::string_view b) {
  return a.size() == b.size() && (a.empty() || (a.front() == b.front() && a == b));
}

}  // namespace

Dictionary::Dictionary(Entries entries) {
  const MutexLock lock(mutex_);
  storeAll(std::move(entries));
}

DictionaryRef Dictionary::makeDeferred(std::function<Entries()> fill) {
  auto dictionary = make();
  const MutexLock lock(dictionary->mutex_);
  dictionary->fill_ = std::move(fill);
  return dictionary;
}

Value Dictionary::get(std::string_view name) const {
  const MutexLock lock(mutex_);
  fillNow();
  const std::size_t place = find(name);
  return place < entries_.size() ? entries_[place].second : Value();
}

void Dictionary::copyEach(std::span<const std::string_view> names, std::span<Value> values) const {
  const MutexLock lock(mutex_);
  fillNow();
  for (std::size_t i = 0; i < names.size(); ++i) {
    const std::size_t place = find(names[i]);
    if (place < entries_.size()) {
      values[i] = entries_[place].second;
    }
  }
}

std::size_t Dictionary::count() const {
  const MutexLock lock(mutex_);
  fillNow();
  return entries_.size();
}

Dictionary::Entries Dictionary::entries() const {
  const MutexLock lock(mutex_);
  fillNow();
  return entries_;
}

void Dictionary::set(std::string_view name, Value value) {
  const MutexLock lock(mutex_);
  fillNow();
  store(name, std::move(value));
}

void Dictionary::moveEach(std::span<Update> updates) {
  const MutexLock lock(mutex_);
  fillNow();
  for (auto& [name, value] : updates) {
    store(name, std::move(value));
  }
}

void Dictionary::addEntriesFrom(const Dictionary& other) {
  // Taken before this dictionary is locked, so that two dictionaries may be merged both ways at
  // once, and one with itself.
  Entries taken = other.entries();
  const MutexLock lock(mutex_);
  fillNow();
  storeAll(std::move(taken));
}

void Dictionary::fillNow() const {
  if (fill_) {
    Entries entries = fill_();
    fill_ = nullptr;
    storeAll(std::move(entries));
  }
}

void Dictionary::storeAll(Entries&& entries) const {
  entries_.reserve(entries.size());
  for (auto& [name, value] : entries) {
    store(name.view(), std::move(value));
  }
}

std::size_t Dictionary::find(std::string_view name) const {
  if (entries_.size() > kMostWalked) {
    const auto found = places_.find(name);
    return found != places_.end() ? found->second : entries_.size();
  }
  const auto found = std::find_if(entries_.begin(), entries_.end(), [name](const Entry& entry) {
    return isName(entry.first.view(), name);
  });
  return static_cast<std::size_t>(std::distance(entries_.begin(), found));
}

void Dictionary::store(std::string_view name, Value value) const {
  const std::size_t place = find(name);
  if (value.isNothing()) {
    erase(place);
  } else if (place < entries_.size()) {
    entries_[place].second = std::move(value);
  } else {
    entries_.emplace_back(Text(name), std::move(value));
    indexFrom(place);
  }
}

void Dictionary::erase(std::size_t place) const {
  if (place < entries_.size()) {
    entries_.erase(std::next(entries_.begin(), static_cast<std::ptrdiff_t>(place)));
    places_.clear();
    indexFrom(0);
  }
}

void Dictionary::indexFrom(std::size_t place) const {
  if (entries_.size() <= kMostWalked) {
    return;
  }
  if (places_.empty()) {
    place = 0;
  }
  for (; place < entries_.size(); ++place) {
    places_[entries_[place].first] = place;
  }
}

}  // namespace halvarin
