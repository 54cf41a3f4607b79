// The process's shared instance; each test has a process of its own.

#include <gtest/gtest.h>

#include <thread>

#include "platform/machine/BareComputer.h"
#include "smc/QXSMCInterface.h"
#include "tests/support/Machines.h"
#include "tests/support/WireTap.h"

namespace halvarin::test {
namespace {

TEST(SharedSMC, IsNullForEverWithoutAServiceAndDoesNotTryAgain) {
  const auto tap = std::make_shared<WireTap>(std::make_shared<platform::BareComputer>());
  platform::setMachine(tap);
  EXPECT_EQ(QXSMCInterface::sharedSMC(), nullptr);
  EXPECT_EQ(tap->serviceLookups(), 1);
  install(machineWith({}));
  EXPECT_EQ(QXSMCInterface::sharedSMC(), nullptr);
  EXPECT_EQ(tap->serviceLookups(), 1);
  EXPECT_EQ(platform::handleCounts().servicesFound, 0U);
}

TEST(SharedSMC, IsOneInstanceForAllThreads) {
  install(machineWith({key("TC0P", "sp78", {1, 2})}));
  std::vector<std::shared_ptr<QXSMCInterface>> seen(8);
  std::vector<std::thread> callers;
  for (auto& slot : seen) {
    callers.emplace_back([&slot] { slot = QXSMCInterface::sharedSMC(); });
  }
  for (std::thread& caller : callers) {
    caller.join();
  }
  ASSERT_TRUE(seen[0]);
  for (const auto& each : seen) {
    EXPECT_EQ(each, seen[0]);
  }
  EXPECT_EQ(platform::handleCounts().connectionsOpened, 1U);
}

}  // namespace
}  // namespace halvarin::test
