#include "platform/TextCase.h"

#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/utf8.h>

#include <cstddef>
#include <cstdint>

namespace halvarin::platform {

namespace {

/// The UTF-8 that the bytes begin with.
std::string_view leadingUtf8(std::string_view text) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  const auto length = static_cast<std::int64_t>(text.size());
  std::int64_t valid = 0;
  for (std::int64_t at = 0; at < length;) {
    UChar32 character = 0;
    U8_NEXT(bytes, at, length, character);
    if (character < 0) {
      break;
    }
    valid = at;
  }
  return text.substr(0, static_cast<std::size_t>(valid));
}

/// In one piece: what a sigma becomes depends on the letters around it.
std::string mapped(std::string_view utf8) {
  constexpr const char* kNoLocale = "";
  std::string lower;
  icu::StringByteSink<std::string> sink(&lower);
  UErrorCode status = U_ZERO_ERROR;
  icu::CaseMap::utf8ToLower(kNoLocale, 0, utf8, sink, nullptr, status);
  return U_SUCCESS(status) != 0 ? lower : std::string(utf8);
}

}  // namespace

std::string lowercased(std::string_view utf8) {
  std::string lower;
  while (!utf8.empty()) {
    const std::string_view valid = leadingUtf8(utf8);
    lower += mapped(valid);
    utf8.remove_prefix(valid.size());
    if (!utf8.empty()) {
      lower += utf8.front();
      utf8.remove_prefix(1);
    }
  }
  return lower;
}

}  // namespace halvarin::platform
