#include "tests/support/ProgramRun.h"

namespace halvarin::test {

ProgramRun halvarinRun(const std::vector<std::string>& words) {
  return runProgram(HALVARIN_PROGRAM, words);
}

}  // namespace halvarin::test
