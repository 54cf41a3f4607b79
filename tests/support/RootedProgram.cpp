// Linked to the program's own objects: the program, but for the folder that its logs lie under.

#include <cstdlib>

#include "selftest/TestLogPlace.h"

namespace {

[[maybe_unused]] const bool kIsPlaced = [] {
  const char* root = std::getenv("HALVARIN_TEST_LOG_ROOT");
  // Never the computer's own logs, also when a test forgets to say where.
  halvarin::placeTestLogsUnder(root != nullptr ? root : "/nowhere");
  return true;
}();

}  // namespace
