#include "base/Array.h"

#include <utility>

namespace halvarin {

std::shared_ptr<const Array::Elements> Array::elements() const {
  const MutexLock lock(mutex_);
  return elements_;
}

Value Array::at(std::size_t place) const {
  const auto all = elements();
  return place < all->size() ? (*all)[place] : Value();
}

void Array::append(Value value) {
  const MutexLock lock(mutex_);
  auto longer = std::make_shared<Elements>(*elements_);
  longer->push_back(std::move(value));
  elements_ = std::move(longer);
}

}  // namespace halvarin
