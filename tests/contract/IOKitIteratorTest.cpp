#include <IOKit/IOKitLib.h>
#include <gtest/gtest.h>

#include <string>

#include "platform/machine/CurrentMachine.h"
#include "tests/support/Machines.h"

namespace halvarin::test {
namespace {

class IOKitIterator : public testing::Test {
 protected:
  IOKitIterator() { install(machineWith({})); }
  ~IOKitIterator() override { platform::setMachine(nullptr); }

  static io_iterator_t find(const char* serviceClass) {
    io_iterator_t iterator = 77;
    EXPECT_EQ(IOServiceGetMatchingServices(kIOMasterPortDefault, IOServiceMatching(serviceClass),
                                           &iterator),
              KERN_SUCCESS);
    return iterator;
  }

  /// "iterators 1/0 services 1/0": made or found, and released, since the test began.
  [[nodiscard]] std::string sinceStart() const {
    const platform::HandleCounts now = platform::handleCounts();
    return "iterators " + std::to_string(now.iteratorsMade - before_.iteratorsMade) + "/" +
           std::to_string(now.iteratorsReleased - before_.iteratorsReleased) + " services " +
           std::to_string(now.servicesFound - before_.servicesFound) + "/" +
           std::to_string(now.servicesReleased - before_.servicesReleased);
  }

  platform::HandleCounts before_ = platform::handleCounts();
};

TEST_F(IOKitIterator, GivesTheServiceAndThenNothing) {
  const io_iterator_t iterator = find("AppleSMC");
  ASSERT_NE(iterator, IO_OBJECT_NULL);
  EXPECT_EQ(sinceStart(), "iterators 1/0 services 0/0");
  const io_object_t service = IOIteratorNext(iterator);
  ASSERT_NE(service, IO_OBJECT_NULL);
  EXPECT_EQ(IOIteratorNext(iterator), IO_OBJECT_NULL);
  EXPECT_EQ(IOIteratorNext(iterator), IO_OBJECT_NULL);
  EXPECT_EQ(sinceStart(), "iterators 1/0 services 1/0");
  EXPECT_EQ(IOObjectRelease(iterator), KERN_SUCCESS);
  EXPECT_EQ(IOObjectRelease(service), KERN_SUCCESS);
  EXPECT_EQ(sinceStart(), "iterators 1/1 services 1/1");
}

TEST_F(IOKitIterator, ItsServiceOpensAfterItIsReleased) {
  const io_iterator_t iterator = find("AppleSMC");
  const io_object_t service = IOIteratorNext(iterator);
  EXPECT_EQ(IOObjectRelease(iterator), KERN_SUCCESS);
  io_connect_t connection = 0;
  EXPECT_EQ(IOServiceOpen(service, mach_task_self(), 0, &connection), KERN_SUCCESS);
  EXPECT_EQ(IOObjectRelease(service), KERN_SUCCESS);
  EXPECT_EQ(IOServiceClose(connection), KERN_SUCCESS);
}

TEST_F(IOKitIterator, IsNoService) {
  const io_iterator_t iterator = find("AppleSMC");
  io_connect_t connection = 77;
  EXPECT_NE(IOServiceOpen(iterator, mach_task_self(), 0, &connection), KERN_SUCCESS);
  EXPECT_EQ(connection, 77U);
  EXPECT_EQ(IOObjectRelease(iterator), KERN_SUCCESS);
}

TEST_F(IOKitIterator, IsReleasedOnceAndGivesNothingAfterwards) {
  const io_iterator_t iterator = find("AppleSMC");
  EXPECT_EQ(IOObjectRelease(iterator), KERN_SUCCESS);
  EXPECT_NE(IOObjectRelease(iterator), KERN_SUCCESS);
  EXPECT_EQ(IOIteratorNext(iterator), IO_OBJECT_NULL);
  EXPECT_EQ(IOIteratorNext(IO_OBJECT_NULL), IO_OBJECT_NULL);
  EXPECT_EQ(sinceStart(), "iterators 1/1 services 0/0");
}

TEST_F(IOKitIterator, AnUnknownClassSucceedsWithoutOne) {
  for (const char* name : {"", "AppleSM", "AppleSMCs", "IOPlatformExpertDevice"}) {
    EXPECT_EQ(find(name), IO_OBJECT_NULL) << name;
  }
  EXPECT_EQ(sinceStart(), "iterators 0/0 services 0/0");
}

TEST_F(IOKitIterator, ABareComputerSucceedsWithoutOne) {
  platform::setMachine(nullptr);
  EXPECT_EQ(find("AppleSMC"), IO_OBJECT_NULL);
}

TEST_F(IOKitIterator, NoMatchingIsABadArgumentAndLeavesTheIteratorAlone) {
  io_iterator_t iterator = 77;
  EXPECT_EQ(IOServiceGetMatchingServices(kIOMasterPortDefault, nullptr, &iterator),
            kIOReturnBadArgument);
  EXPECT_EQ(iterator, 77U);
}

TEST_F(IOKitIterator, TakesTheMatchingWhetherItIsMetOrNot) {
  IOObjectRelease(find("AppleSMC"));
  find("SomethingElse");
  const platform::HandleCounts now = platform::handleCounts();
  EXPECT_EQ(now.matchingsMade - before_.matchingsMade, 2U);
  EXPECT_EQ(now.matchingsTaken - before_.matchingsTaken, 2U);
}

}  // namespace
}  // namespace halvarin::test
