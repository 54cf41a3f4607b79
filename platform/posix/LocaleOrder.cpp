#include "platform/LocaleOrder.h"

#include <unicode/ucol.h>
#include <unicode/uloc.h>

#include <cstdint>
#include <string_view>

namespace halvarin::platform {

namespace {

struct CloseCollator {
  void operator()(UCollator* collator) const { ucol_close(collator); }
};
using Collator = std::unique_ptr<UCollator, CloseCollator>;

/// The locale of programs that were not told one orders by character codes, capitals before all
/// small letters, which is no order for people.
const char* localeForPeople() {
  const char* locale = uloc_getDefault();
  return std::string_view(locale) == "en_US_POSIX" ? "" : locale;
}

Collator openCollator(UCollationStrength strength) {
  UErrorCode status = U_ZERO_ERROR;
  Collator collator(ucol_open(localeForPeople(), &status));
  if (collator) {
    ucol_setStrength(collator.get(), strength);
    ucol_setAttribute(collator.get(), UCOL_NUMERIC_COLLATION, UCOL_ON, &status);
  }
  return U_SUCCESS(status) != 0 ? std::move(collator) : nullptr;
}

int compareBy(const Collator& collator, std::u16string_view a, std::u16string_view b) {
  return collator ? ucol_strcoll(collator.get(), a.data(), static_cast<std::int32_t>(a.size()),
                                 b.data(), static_cast<std::int32_t>(b.size()))
                  : 0;
}

}  // namespace

struct LocaleOrder::Body {
  // Null where the computer has no data for collation: then the characters decide.
  Collator withoutCase = openCollator(UCOL_SECONDARY);
  Collator withCase = openCollator(UCOL_TERTIARY);
};

LocaleOrder::LocaleOrder() : body_(std::make_unique<const Body>()) {}

LocaleOrder::~LocaleOrder() = default;

int LocaleOrder::compare(std::u16string_view a, std::u16string_view b) const {
  for (const Collator* collator : {&body_->withoutCase, &body_->withCase}) {
    if (const int order = compareBy(*collator, a, b); order != 0) {
      return order;
    }
  }
  return a.compare(b);
}

}  // namespace halvarin::platform
