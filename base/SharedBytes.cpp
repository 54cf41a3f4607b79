#include "base/SharedBytes.h"

#include <algorithm>
#include <string>

namespace halvarin {

namespace {

// The controller delivers 32 bytes per reading: these take one allocation.
constexpr std::size_t kReadingBytes = 32;

std::shared_ptr<const char> shared(std::string_view bytes) {
  if (bytes.size() > kReadingBytes) {
    const auto owner = std::make_shared<const std::string>(bytes);
    return {owner, owner->data()};
  }
  const auto owner = std::make_shared<std::array<char, kReadingBytes>>();
  std::copy(bytes.begin(), bytes.end(), owner->begin());
  return {owner, owner->data()};
}

}  // namespace

SharedBytes::SharedBytes(std::string_view bytes) : held_(store(bytes)) {}

std::variant<SharedBytes::Few, SharedBytes::Many> SharedBytes::store(std::string_view bytes) {
  if (bytes.size() > shared_bytes_detail::kFewBytes) {
    return Many{shared(bytes), bytes.size()};
  }
  Few few;
  std::copy(bytes.begin(), bytes.end(), few.bytes.begin());
  few.size = static_cast<std::uint8_t>(bytes.size());
  return few;
}

}  // namespace halvarin
