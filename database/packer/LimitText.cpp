#include "database/packer/LimitText.h"

#include <cstddef>

#include "base/NumberText.h"

namespace halvarin::packer {

namespace {

// Plain decimal notation only: what a reviewer types and a reader of a report expects.
bool isDecimal(const std::string& text) {
  const std::size_t start = text.rfind('-', 0) == 0 ? 1 : 0;
  const std::size_t point = text.find('.', start);
  const std::string whole = text.substr(start, point == std::string::npos ? point : point - start);
  const std::string fraction = point == std::string::npos ? "0" : text.substr(point + 1);
  const auto digits = [](const std::string& part) {
    return !part.empty() && part.find_first_not_of("0123456789") == std::string::npos;
  };
  return digits(whole) && digits(fraction);
}

}  // namespace

void checkLimits(const TableRow& row, const std::string& low, const std::string& high) {
  if (low.empty() != high.empty()) {
    row.fail("a low limit without a high one, or the other way round, judges nothing");
  }
  if (low.empty()) {
    return;
  }
  for (const std::string& limit : {low, high}) {
    if (!isDecimal(limit)) {
      row.fail("the limit \"" + limit + "\" is no decimal number");
    }
  }
  if (decimalReading(low) > decimalReading(high)) {
    row.fail("the low limit " + low + " is above the high limit " + high);
  }
}

}  // namespace halvarin::packer
