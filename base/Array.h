#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "base/Export.h"
#include "base/Mutex.h"
#include "base/Value.h"

namespace halvarin {

/// A mutable array of values, shared by reference. Walk `elements()`: it is the array of one moment
/// and stays as it is while others change the array. Any thread.
class HALVARIN_EXPORT Array {
 public:
  using Elements = std::vector<Value>;

  explicit Array(Elements elements = {})
      : elements_(std::make_shared<const Elements>(std::move(elements))) {}
  Array(const Array&) = delete;
  Array& operator=(const Array&) = delete;

  [[nodiscard]] static ArrayRef make(Elements elements = {}) {
    return std::make_shared<Array>(std::move(elements));
  }

  [[nodiscard]] std::shared_ptr<const Elements> elements() const;
  [[nodiscard]] std::size_t count() const { return elements()->size(); }
  /// The element at a place; nothing beyond the end.
  [[nodiscard]] Value at(std::size_t place) const;

  /// Adds an element at the end. Copies the array: to build a long one, build its elements first.
  void append(Value value);

 private:
  mutable Mutex mutex_;
  std::shared_ptr<const Elements> elements_ HALVARIN_GUARDED_BY(mutex_);
};

}  // namespace halvarin
