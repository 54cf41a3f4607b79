#include "base/LikePattern.h"

#include <algorithm>
#include <string>

#include "base/Text.h"

namespace halvarin {

namespace {

std::u16string characters(std::string_view text) {
  if (auto units = utf16(text)) {
    return *std::move(units);
  }
  std::u16string bytes;
  for (const char byte : text) {
    bytes.push_back(static_cast<unsigned char>(byte));
  }
  return bytes;
}

// Greedy match with one point to return to: the latest "*" and the text position it has eaten to.
bool matches(std::u16string_view text, std::u16string_view pattern) {
  constexpr std::size_t kNone = std::u16string_view::npos;
  std::size_t t = 0;
  std::size_t p = 0;
  std::size_t star = kNone;
  std::size_t eaten = 0;
  while (t < text.size()) {
    if (p < pattern.size() && pattern[p] == u'*') {
      star = p++;
      eaten = t;
    } else if (p < pattern.size() && (pattern[p] == u'?' || pattern[p] == text[t])) {
      ++t;
      ++p;
    } else if (star != kNone) {
      p = star + 1;
      t = ++eaten;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of(u'*', p) == kNone;
}

}  // namespace

bool matchesLike(std::string_view text, std::string_view pattern) {
  return matches(characters(text), characters(pattern));
}

bool likeCanMatchLength(std::string_view pattern, std::size_t length) {
  const std::u16string units = characters(pattern);
  const auto stars = static_cast<std::size_t>(std::count(units.begin(), units.end(), u'*'));
  const std::size_t fixed = units.size() - stars;
  return stars == 0 ? fixed == length : fixed <= length;
}

}  // namespace halvarin
