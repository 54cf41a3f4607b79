#pragma once

#include <cstddef>
#include <vector>

#include "base/Dictionary.h"

// What a person wants to know first of an update pass.

namespace halvarin::host {

/// Of an array of temperature records those that read a number, hottest first, no more than so
/// many.
[[nodiscard]] std::vector<DictionaryRef> hottestOf(const Value& temperatures, std::size_t most);

/// Every record whose latest judgement is "outside its limits", in the order of the pass.
[[nodiscard]] std::vector<DictionaryRef> outsideOf(const Dictionary& pass);

/// What makes the sensor self-test fail: outside its limits or never judged, and not passed over.
[[nodiscard]] std::vector<DictionaryRef> failedOf(const Dictionary& pass);

/// How many of its sensors the pass could not read.
[[nodiscard]] std::size_t unreadIn(const Dictionary& pass);

}  // namespace halvarin::host
