#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include "base/Export.h"

namespace halvarin {

/// An immutable run of bytes, shared by reference: a copy costs a counter, not the bytes. Up to 32
/// bytes (a key's value, a number's text) take one allocation, an empty run takes none. Any thread.
class HALVARIN_EXPORT SharedBytes {
 public:
  SharedBytes() = default;
  explicit SharedBytes(std::string_view bytes);

  [[nodiscard]] std::string_view view() const { return {start_.get(), size_}; }
  [[nodiscard]] std::size_t size() const { return size_; }

 private:
  std::shared_ptr<const char> start_;
  std::size_t size_ = 0;
};

}  // namespace halvarin
