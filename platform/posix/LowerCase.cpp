#include "platform/posix/LowerCase.h"

#include <unicode/bytestream.h>
#include <unicode/casemap.h>

namespace halvarin::platform {

std::string lowercasedUtf8(std::string_view utf8) {
  constexpr const char* kNoLocale = "";
  std::string lower;
  icu::StringByteSink<std::string> sink(&lower);
  UErrorCode status = U_ZERO_ERROR;
  icu::CaseMap::utf8ToLower(kNoLocale, 0, utf8, sink, nullptr, status);
  return U_SUCCESS(status) != 0 ? lower : std::string(utf8);
}

}  // namespace halvarin::platform
