#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Export.h"
#include "base/Mutex.h"
#include "base/NameIndex.h"
#include "base/Value.h"

namespace halvarin {

/// A mutable dictionary from text to value, shared by reference: every holder sees every change.
/// Entries keep the order of their insertion. Any thread; each call is indivisible, a sequence of
/// calls is not, and the last write wins.
class HALVARIN_EXPORT Dictionary {
 public:
  using Entry = std::pair<Text, Value>;
  using Entries = std::vector<Entry>;
  using Update = std::pair<std::string_view, Value>;

  Dictionary() = default;
  /// Where a name occurs twice, its last value counts.
  explicit Dictionary(Entries entries);
  Dictionary(const Dictionary&) = delete;
  Dictionary& operator=(const Dictionary&) = delete;

  [[nodiscard]] static DictionaryRef make() { return std::make_shared<Dictionary>(); }

  /// A dictionary whose entries `fill` makes when they are first asked for, once, on the thread
  /// that asks. `fill` must not touch the dictionary that it fills.
  [[nodiscard]] static DictionaryRef makeDeferred(std::function<Entries()> fill);

  /// The value under a name; nothing when there is none.
  [[nodiscard]] Value get(std::string_view name) const;
  /// The values under several names, taken at one moment.
  template <std::size_t N>
  [[nodiscard]] std::array<Value, N> getEach(const std::array<std::string_view, N>& names) const {
    return lookAtEach(names, [](const auto& found) {
      std::array<Value, N> values;
      std::transform(found.begin(), found.end(), values.begin(),
                     [](const Value* value) { return *value; });
      return values;
    });
  }
  /// What `look` makes of the values under several names, all of one moment and none of them
  /// copied: it is given a pointer to each, to a nothing where there is none. It must not touch
  /// this dictionary.
  template <std::size_t N, typename Look>
  [[nodiscard]] auto lookAtEach(const std::array<std::string_view, N>& names, Look look) const {
    std::array<const Value*, N> values{};
    const MutexLock lock(mutex_);
    fillNow();
    pointToEach(names, values);
    return look(std::as_const(values));
  }
  [[nodiscard]] bool has(std::string_view name) const { return !get(name).isNothing(); }
  [[nodiscard]] std::size_t count() const;
  /// The entries of this moment, in the order of insertion.
  [[nodiscard]] Entries entries() const;

  /// Stores a value. Storing nothing removes the entry.
  void set(std::string_view name, Value value);
  /// Stores several values at one moment.
  template <std::size_t N>
  void setEach(std::array<Update, N> updates) {
    moveEach(updates);
  }
  /// Stores every entry of another dictionary here.
  void addEntriesFrom(const Dictionary& other);

 private:
  // A key record has about sixteen entries; comparing so few names beats hashing one.
  static constexpr std::size_t kMostWalked = 20;

  void pointToEach(std::span<const std::string_view> names, std::span<const Value*> values) const
      HALVARIN_REQUIRES(mutex_);
  void moveEach(std::span<Update> updates);
  void fillNow() const HALVARIN_REQUIRES(mutex_);
  /// The place of a name; the count of entries when there is none.
  [[nodiscard]] std::size_t find(std::string_view name) const HALVARIN_REQUIRES(mutex_);
  void storeAll(Entries&& entries) const HALVARIN_REQUIRES(mutex_);
  void store(std::string_view name, Value&& value) const HALVARIN_REQUIRES(mutex_);
  void erase(std::size_t place) const HALVARIN_REQUIRES(mutex_);
  void indexFrom(std::size_t place) const HALVARIN_REQUIRES(mutex_);

  mutable Mutex mutex_;
  mutable std::function<Entries()> fill_ HALVARIN_GUARDED_BY(mutex_);
  mutable Entries entries_ HALVARIN_GUARDED_BY(mutex_);
  // What most names differ in, one byte for each entry in turn: a walk over a record searches these
  // and touches hardly a name but the one that it looks for.
  mutable std::array<char, kMostWalked> tags_ HALVARIN_GUARDED_BY(mutex_){};
  // Used only once there are more entries than a walk finds quickly.
  mutable NameIndex index_ HALVARIN_GUARDED_BY(mutex_);
};

}  // namespace halvarin
