#pragma once

#include <memory>
#include <string_view>

#include "base/Export.h"

// How texts are ordered for the person at the computer. Bodies: posix/LocaleOrder.cpp,
// macos/LocaleOrder.cpp.

namespace halvarin::platform {

/// The order of the user's language, as it was when the object was made. Any thread may compare.
class HALVARIN_EXPORT LocaleOrder {
 public:
  LocaleOrder();
  ~LocaleOrder();
  LocaleOrder(const LocaleOrder&) = delete;
  LocaleOrder& operator=(const LocaleOrder&) = delete;

  /// Three-way order: letters without their case, runs of digits by their number; texts that are
  /// the same so far, by their case, then by their characters. Negative: a comes first. 0 only for
  /// the same texts.
  [[nodiscard]] int compare(std::u16string_view a, std::u16string_view b) const;

 private:
  struct Body;
  const std::unique_ptr<const Body> body_;
};

}  // namespace halvarin::platform
