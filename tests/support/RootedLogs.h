#pragma once

#include <stdlib.h>

#include "tests/support/TemporaryFolder.h"

namespace halvarin::test {

/// The folder under which the program's twin that tests may run keeps the logs of its fan tests,
/// for all that this process starts while the object lives.
class RootedLogs : public TemporaryFolder {
 public:
  RootedLogs() { setenv("HALVARIN_TEST_LOG_ROOT", path().c_str(), 1); }
  ~RootedLogs() { unsetenv("HALVARIN_TEST_LOG_ROOT"); }
  RootedLogs(const RootedLogs&) = delete;
  RootedLogs& operator=(const RootedLogs&) = delete;
};

}  // namespace halvarin::test
