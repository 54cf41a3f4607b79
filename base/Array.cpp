#include "base/Array.h"

#include <utility>

namespace halvarin {

ArrayRef Array::copy() const {
  const ArrayElements all = elements();
  return make({all.begin(), all.end()});
}

ArrayElements Array::elements() const {
  const MutexLock lock(mutex_);
  return ArrayElements(elements_);
}

Value Array::at(std::size_t place) const {
  const ArrayElements all = elements();
  return place < all.size() ? all[place] : Value();
}

void Array::append(Value value) {
  const MutexLock lock(mutex_);
  auto longer = std::make_shared<std::vector<Value>>(*elements_);
  longer->push_back(std::move(value));
  elements_ = std::move(longer);
}

}  // namespace halvarin
