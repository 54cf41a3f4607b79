// Whether update passes leave the process's memory where it was.

#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <iostream>

#include "tests/support/Facades.h"
#include "tests/support/Updates.h"

namespace halvarin::test {
namespace {

struct Memory {
  std::int64_t heapBytes = 0;      // taken from the allocator and not given back
  std::int64_t residentBytes = 0;  // of the whole process
};

Memory memoryNow() {
  std::int64_t pages = 0;
  std::int64_t residentPages = 0;
  std::ifstream("/proc/self/statm") >> pages >> residentPages;
  return {static_cast<std::int64_t>(mallinfo2().uordblks), residentPages * sysconf(_SC_PAGESIZE)};
}

/// Ten keys: two fans' worth and a sensor of each category.
std::vector<platform::RecordedKey> smallMachine() {
  return {key("ALSL", "ui16", {0, 9}),
          key("F0Ac", "fpe2", {0x1F, 0x40}),
          key("F1Ac", "fpe2", {0x1F, 0x40}),
          key("FNum", "ui8 ", {2}),
          key("IC0C", "sp78", {1, 0}),
          key("PC0C", "sp78", {2, 0}),
          key("TC0P", "sp78", {0x2D, 0}),
          key("TC1P", "sp78", {0x2E, 0}),
          key("TC2P", "flt ", {0, 0, 0x34, 0x42}),
          key("VC0C", "sp78", {3, 0})};
}

class UpdateMemory : public testing::Test {
 protected:
  UpdateMemory() {
    // In arenas of their own, the passes' threads would move memory about at random.
    mallopt(M_ARENA_MAX, 1);
    embedDatabase(databaseOf("Test1,1", {{"ALSL", "Ambient light"},
                                         {"IC0C", "CPU current"},
                                         {"PC0C", "CPU power"},
                                         {"TC0P", "CPU proximity"},
                                         {"TC1P", "CPU proximity 2"},
                                         {"TC2P", "CPU proximity 3"},
                                         {"VC0C", "CPU voltage"}}));
    // Without a journal, whose lines would be a leak of the test's own.
    machine_ = std::make_shared<platform::SimulatedMachine>(machineWith(smallMachine()));
    platform::setMachine(machine_);
    facade_ = QXHalvarin::init();
    transfersAtStart_ = machine_->transferCount();
  }

  /// Every pass on a thread of its own, and its notification delivered.
  void update(int passes) {
    for (int i = 0; i < passes; ++i) {
      facade_->requestSensorUpdate();
      awaitWaitingWork();
      notified_ += platform::MainThread::performPending();
    }
  }
  [[nodiscard]] std::uint64_t transfers() { return machine_->transferCount() - transfersAtStart_; }

  std::shared_ptr<platform::SimulatedMachine> machine_;
  std::shared_ptr<QXHalvarin> facade_;
  std::uint64_t transfersAtStart_ = 0;
  std::size_t notified_ = 0;
};

TEST_F(UpdateMemory, After10000PassesIsWhereItWasAfter100) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer's allocator tells nothing of the memory that is used without it";
#endif
  ASSERT_TRUE(facade_);
  std::size_t observed = 0;
  const auto token = NotificationCenter::defaultCenter().addObserver(
      kSensorUpdateNotify, facade_.get(), [&](const Notification&) { ++observed; });
  update(100);
  const Memory before = memoryNow();
  update(9900);
  const Memory after = memoryNow();
  NotificationCenter::defaultCenter().removeObserver(token);
  EXPECT_EQ(notified_, 10000U);
  EXPECT_EQ(observed, 10000U);
  EXPECT_EQ(transfers(), 10000U * (3 + 2 * 3 + 4));
  EXPECT_EQ(recordOf(*facade_, "TC0P")->get("value"), Value("45.00"));
  // One record, text or notification lost in each pass would be 9900 of at least 32 bytes: 316,800.
  // Threads that are just ending still hold their caches of freed memory, some ten thousand bytes
  // each.
  EXPECT_LT(after.heapBytes - before.heapBytes, 128 * 1024);
  // The same loss would take as many pages; the heap and the stacks that the system keeps for the
  // threads to come find their shape in the first passes, give or take a few pages.
  EXPECT_LT(after.residentBytes - before.residentBytes, 256 * 1024);
  std::cout << "heap grew by " << after.heapBytes - before.heapBytes << " bytes, resident set by "
            << after.residentBytes - before.residentBytes << '\n';
}

}  // namespace
}  // namespace halvarin::test
