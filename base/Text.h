#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "base/SharedBytes.h"

namespace halvarin {

/// Immutable UTF-8 text. Any thread.
class HALVARIN_EXPORT Text {
 public:
  Text() = default;
  Text(std::string_view text) : bytes_(text) {}
  Text(const char* text) : Text(std::string_view(text)) {}
  Text(const std::string& text) : Text(std::string_view(text)) {}

  [[nodiscard]] std::string_view view() const { return bytes_.view(); }
  [[nodiscard]] std::string string() const { return std::string(view()); }
  [[nodiscard]] bool empty() const { return bytes_.size() == 0; }

  friend bool operator==(const Text& a, const Text& b) { return a.view() == b.view(); }

 private:
  SharedBytes bytes_;
};

/// The text as UTF-16 units, which is what the platform counts as characters. Absent when the bytes
/// are not valid UTF-8.
[[nodiscard]] HALVARIN_EXPORT std::optional<std::u16string> utf16(std::string_view utf8);

/// One of these units. Absent beyond the last and when the bytes are not valid UTF-8.
[[nodiscard]] HALVARIN_EXPORT std::optional<char16_t> utf16Unit(std::string_view utf8,
                                                                std::size_t place);

/// The UTF-8 that the bytes begin with: all of them, or those before the first that is none.
[[nodiscard]] HALVARIN_EXPORT std::string_view leadingUtf8(std::string_view bytes);

/// The text without blanks and tabs at both ends.
[[nodiscard]] HALVARIN_EXPORT std::string_view trimmed(std::string_view text);

}  // namespace halvarin
