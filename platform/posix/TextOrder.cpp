#include "platform/TextOrder.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <cstdint>

namespace halvarin::platform {

namespace {

/// Walks a text by folded characters and whole numbers.
class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {}

  [[nodiscard]] bool atEnd() const { return at_ >= text_.size(); }
  [[nodiscard]] bool atDigit() const { return !atEnd() && text_[at_] >= '0' && text_[at_] <= '9'; }

  /// The digits of the number here, without leading zeros.
  std::string_view takeNumber() {
    const std::size_t begin = text_.find_first_not_of('0', at_);
    at_ = text_.find_first_not_of("0123456789", at_);
    at_ = at_ == std::string_view::npos ? text_.size() : at_;
    return begin < at_ ? text_.substr(begin, at_ - begin) : std::string_view{};
  }

  /// The next character without its case; bytes that are not UTF-8 come one by one, negative.
  std::int32_t takeFolded() {
    const auto first = static_cast<unsigned char>(text_[at_]);
    if (first < 0x80) {
      ++at_;
      return first >= 'A' && first <= 'Z' ? first + ('a' - 'A') : first;
    }
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text_.data());
    const auto length = static_cast<std::int64_t>(text_.size());
    auto at = static_cast<std::int64_t>(at_);
    UChar32 character = 0;
    U8_NEXT(bytes, at, length, character);
    if (character < 0) {
      ++at_;
      return -static_cast<std::int32_t>(first);
    }
    at_ = static_cast<std::size_t>(at);
    return u_foldCase(character, U_FOLD_CASE_DEFAULT);
  }

 private:
  std::string_view text_;
  std::size_t at_ = 0;
};

int sign(bool less, bool greater) {
  return static_cast<int>(greater) - static_cast<int>(less);
}

// Without leading zeros the longer number is the larger one.
int compareNumbers(std::string_view a, std::string_view b) {
  return a.size() != b.size() ? sign(a.size() < b.size(), a.size() > b.size()) : sign(a < b, b < a);
}

}  // namespace

int compareNumericCaseInsensitive(std::string_view a, std::string_view b) {
  Reader left(a);
  Reader right(b);
  while (!left.atEnd() && !right.atEnd()) {
    int order = 0;
    if (left.atDigit() && right.atDigit()) {
      order = compareNumbers(left.takeNumber(), right.takeNumber());
    } else {
      const std::int32_t ours = left.takeFolded();
      const std::int32_t theirs = right.takeFolded();
      order = sign(ours < theirs, theirs < ours);
    }
    if (order != 0) {
      return order;
    }
  }
  return sign(left.atEnd() && !right.atEnd(), !left.atEnd() && right.atEnd());
}

}  // namespace halvarin::platform
