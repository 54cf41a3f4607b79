#include "base/Dictionary.h"

#include <algorithm>
#include <iterator>

namespace halvarin {

namespace {

/// Names that differ mostly differ in their length or in a character at an end.
char tagOf(std::string_view name) {
  constexpr unsigned kSpread = 16;  // of a length among characters
  unsigned tag = static_cast<unsigned>(name.size()) * kSpread;
  if (!name.empty()) {
    tag += static_cast<unsigned char>(name.front());
    tag += static_cast<unsigned char>(name.back());
  }
  return static_cast<char>(tag);
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

void Dictionary::pointToEach(std::span<const std::string_view> names,
                             std::span<const Value*> values) const {
  static const Value nothing;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const std::size_t place = find(names[i]);
    values[i] = place < entries_.size() ? &entries_[place].second : &nothing;
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
    const Entry* const entries = entries_.data();
    const std::size_t place =
        index_.find(name, [&](std::size_t each) { return entries[each].first.view() == name; });
    return std::min(place, entries_.size());
  }
  const std::string_view tags(tags_.data(), entries_.size());
  const char tag = tagOf(name);
  std::size_t place = tags.find(tag);
  while (place != std::string_view::npos && entries_[place].first.view() != name) {
    place = tags.find(tag, place + 1);
  }
  return std::min(place, entries_.size());
}

void Dictionary::store(std::string_view name, Value&& value) const {
  const std::size_t place = find(name);
  if (value.isNothing()) {
    erase(place);
  } else if (place < entries_.size()) {
    entries_[place].second = std::move(value);
  } else {
    entries_.emplace_back(Text(name), std::move(value));
    if (place < kMostWalked) {
      tags_[place] = tagOf(name);
    }
    indexFrom(place);
  }
}

void Dictionary::erase(std::size_t place) const {
  if (place < entries_.size()) {
    entries_.erase(std::next(entries_.begin(), static_cast<std::ptrdiff_t>(place)));
    for (std::size_t i = place; i < std::min(kMostWalked, entries_.size()); ++i) {
      tags_[i] = tagOf(entries_[i].first.view());
    }
    index_.clear();
    indexFrom(0);
  }
}

void Dictionary::indexFrom(std::size_t place) const {
  if (entries_.size() <= kMostWalked) {
    return;
  }
  if (index_.empty()) {
    place = 0;
  }
  for (; place < entries_.size(); ++place) {
    index_.add(entries_[place].first.view(), place);
  }
}

}  // namespace halvarin
