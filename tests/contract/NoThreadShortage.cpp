// Where threads are the system's business nobody can make them run short: the tests that ask for it
// are not among those that are run there.

#include <gtest/gtest.h>

#include "tests/contract/ThreadShortage.h"

namespace halvarin::test {

ThreadShortage::ThreadShortage() {
  ADD_FAILURE() << "threads cannot be made to run short here";
}

ThreadShortage::~ThreadShortage() = default;

}  // namespace halvarin::test
