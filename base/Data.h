#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "base/SharedBytes.h"

namespace halvarin {

/// Immutable bytes. Any thread.
class HALVARIN_EXPORT Data {
 public:
  Data() = default;
  explicit Data(std::span<const std::uint8_t> bytes)
      : bytes_({reinterpret_cast<const char*>(bytes.data()), bytes.size()}) {}
  /// The bytes of a text or of a file read as text.
  explicit Data(std::string_view bytes) : bytes_(bytes) {}

  [[nodiscard]] std::size_t size() const { return bytes_.size(); }
  [[nodiscard]] bool empty() const { return size() == 0; }
  [[nodiscard]] std::string_view view() const { return bytes_.view(); }
  [[nodiscard]] std::span<const std::uint8_t> bytes() const {
    return {reinterpret_cast<const std::uint8_t*>(view().data()), size()};
  }

  friend bool operator==(const Data& a, const Data& b) { return a.view() == b.view(); }

 private:
  SharedBytes bytes_;
};

}  // namespace halvarin
