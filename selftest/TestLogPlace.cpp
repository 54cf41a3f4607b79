#include "selftest/TestLogPlace.h"

#include <utility>

#include "base/AtomicProperty.h"

namespace halvarin {

namespace {

AtomicProperty<std::string>& theRoot() {
  static auto* const root = new AtomicProperty<std::string>;  // tests may log after main has ended
  return *root;
}

bool isFileName(std::string_view name) {
  constexpr std::string_view kNeverInNames("/\0", 2);
  return name.find_first_of(kNeverInNames) == std::string_view::npos;
}

}  // namespace

void placeTestLogsUnder(std::string root) {
  theRoot().set(std::move(root));
}

std::string pathOfTestFolder(std::string_view folder) {
  return theRoot().get().append(folder);
}

std::string pathOfTestFile(std::string_view folder, std::string_view name) {
  return isFileName(name) ? pathOfTestFolder(folder).append("/").append(name) : "";
}

}  // namespace halvarin
