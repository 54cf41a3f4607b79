#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "base/Export.h"
#include "base/Mutex.h"
#include "base/Value.h"

namespace halvarin {

/// The elements that an array had at one moment. Keeps them alive by itself, so that a loop may run
/// over the result of a call: `for (const Value& each : array->elements())`.
class HALVARIN_EXPORT ArrayElements {
 public:
  explicit ArrayElements(std::shared_ptr<const std::vector<Value>> elements)
      : elements_(std::move(elements)) {}

  [[nodiscard]] auto begin() const { return elements_->begin(); }
  [[nodiscard]] auto end() const { return elements_->end(); }
  [[nodiscard]] std::size_t size() const { return elements_->size(); }
  [[nodiscard]] const Value& operator[](std::size_t place) const { return (*elements_)[place]; }

 private:
  std::shared_ptr<const std::vector<Value>> elements_;
};

/// A mutable array of values, shared by reference. Any thread.
class HALVARIN_EXPORT Array {
 public:
  explicit Array(std::vector<Value> elements = {})
      : elements_(std::make_shared<const std::vector<Value>>(std::move(elements))) {}
  Array(const Array&) = delete;
  Array& operator=(const Array&) = delete;

  [[nodiscard]] static ArrayRef make(std::vector<Value> elements = {}) {
    return std::make_shared<Array>(std::move(elements));
  }
  /// A new array of the same elements.
  [[nodiscard]] ArrayRef copy() const;

  /// The elements of this moment; they stay as they are while others change the array.
  [[nodiscard]] ArrayElements elements() const;
  [[nodiscard]] std::size_t count() const { return elements().size(); }
  /// The element at a place; nothing beyond the end.
  [[nodiscard]] Value at(std::size_t place) const;

  /// Adds an element at the end. Copies the array: to build a long one, build its elements first.
  void append(Value value);

 private:
  mutable Mutex mutex_;
  std::shared_ptr<const std::vector<Value>> elements_ HALVARIN_GUARDED_BY(mutex_);
};

}  // namespace halvarin
