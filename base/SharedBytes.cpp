#include "base/SharedBytes.h"

#include <algorithm>
#include <array>
#include <string>

namespace halvarin {

namespace {

// The controller delivers 32 bytes per reading, and no number's text is longer.
constexpr std::size_t kInlineBytes = 32;

std::shared_ptr<const char> store(std::string_view bytes) {
  if (bytes.empty()) {
    return nullptr;
  }
  if (bytes.size() > kInlineBytes) {
    const auto owner = std::make_shared<const std::string>(bytes);
    return {owner, owner->data()};
  }
  const auto owner = std::make_shared<std::array<char, kInlineBytes>>();
  std::copy(bytes.begin(), bytes.end(), owner->begin());
  return {owner, owner->data()};
}

}  // namespace

SharedBytes::SharedBytes(std::string_view bytes) : start_(store(bytes)), size_(bytes.size()) {}

}  // namespace halvarin
