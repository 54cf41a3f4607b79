#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "smc/QXSMCInterface.h"
#include "tests/support/Machines.h"

namespace halvarin::test {

/// The controller's door on a small machine; the journal holds what came after the start.
class SmallController : public testing::Test {
 protected:
  void start(std::vector<platform::RecordedKey> keys, platform::Simulation simulation = {}) {
    installed_ = install(machineWith(std::move(keys)), std::move(simulation));
    smc_ = QXSMCInterface::init();
    ASSERT_TRUE(smc_);
    installed_.journal->clear();
    transfersAtStart_ = installed_.machine->transferCount();
  }

  std::vector<std::string> writes() { return writeLines(installed_.journal); }
  /// The transfers since the start.
  std::uint64_t transfers() { return installed_.machine->transferCount() - transfersAtStart_; }

  InstalledMachine installed_;
  std::shared_ptr<QXSMCInterface> smc_;

 private:
  std::uint64_t transfersAtStart_ = 0;
};

}  // namespace halvarin::test
