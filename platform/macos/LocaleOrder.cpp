#include "platform/LocaleOrder.h"

#include "platform/macos/CFObjects.h"

namespace halvarin::platform {

namespace {

Owned<CFStringRef> borrowedText(std::u16string_view text) {
  return Owned<CFStringRef>(CFStringCreateWithCharactersNoCopy(
      kCFAllocatorDefault, reinterpret_cast<const UniChar*>(text.data()),
      static_cast<CFIndex>(text.size()), kCFAllocatorNull));
}

}  // namespace

struct LocaleOrder::Body {
  Owned<CFLocaleRef> locale{CFLocaleCopyCurrent()};
};

LocaleOrder::LocaleOrder() : body_(std::make_unique<const Body>()) {}

LocaleOrder::~LocaleOrder() = default;

int LocaleOrder::compare(std::u16string_view a, std::u16string_view b) const {
  constexpr CFStringCompareFlags kOptions = kCFCompareCaseInsensitive | kCFCompareNumerically |
                                            kCFCompareForcedOrdering | kCFCompareNonliteral;
  return static_cast<int>(CFStringCompareWithOptionsAndLocale(
      borrowedText(a).get(), borrowedText(b).get(), CFRangeMake(0, static_cast<CFIndex>(a.size())),
      kOptions, body_->locale.get()));
}

}  // namespace halvarin::platform
