#pragma once

#include <string>

#include "base/Dictionary.h"
#include "host/Table.h"

namespace halvarin::host {

/// What became of a key in the latest reading, for a person.
enum class Finding { inside, outside, notJudged, notRead };

struct Verdict {
  Finding finding = Finding::notJudged;
  /// "ok"; "too low", "too high", "not a number"; "no limits", "no value", "no reading" (a sensor
  /// that is not fitted), "on mains only" (limits not applied now); "not read".
  std::string text;
};

[[nodiscard]] Verdict verdictOf(const Dictionary& record, bool onMains);

/// The verdict as a place of a table.
[[nodiscard]] Cell verdictCell(const Verdict& verdict);

/// "0 to 50", "" without limits.
[[nodiscard]] std::string limitsOf(const Dictionary& record);

}  // namespace halvarin::host
