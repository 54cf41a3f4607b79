#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <variant>

#include "base/Export.h"

namespace halvarin {

namespace shared_bytes_detail {

// The longest name of a record's entries has 14 bytes; with its count this fills three words.
inline constexpr std::size_t kFewBytes = 23;

struct Few {
  std::array<char, kFewBytes> bytes{};
  std::uint8_t size = 0;
};

struct Many {
  std::shared_ptr<const char> start;
  std::size_t size = 0;
};

}  // namespace shared_bytes_detail

/// An immutable run of bytes. Few of them (a name, a key, a number's text) lie in the object
/// itself, beside what it is part of; more are shared by reference, so that a copy costs a counter.
/// Any thread.
class HALVARIN_EXPORT SharedBytes {
 public:
  SharedBytes() = default;
  explicit SharedBytes(std::string_view bytes);

  /// Valid while this object lives and is neither moved from nor assigned to.
  [[nodiscard]] std::string_view view() const;
  [[nodiscard]] std::size_t size() const { return view().size(); }

 private:
  using Few = shared_bytes_detail::Few;
  using Many = shared_bytes_detail::Many;
  [[nodiscard]] static std::variant<Few, Many> store(std::string_view bytes);

  std::variant<Few, Many> held_;
};

inline std::string_view SharedBytes::view() const {
  if (const auto* few = std::get_if<Few>(&held_)) {
    return {few->bytes.data(), few->size};
  }
  const auto* many = std::get_if<Many>(&held_);
  return {many->start.get(), many->size};
}

}  // namespace halvarin
