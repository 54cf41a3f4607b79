#include <IOKit/IOKitLib.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "base/Mutex.h"
#include "platform/machine/BareComputer.h"
#include "platform/machine/CurrentMachine.h"

namespace halvarin::test {
namespace {

using platform::HandleCounts;
using platform::MachineStatus;

constexpr MachineStatus kRefused = kIOReturnNotPrivileged;

/// A machine with one service, which answers a call with its request backwards.
class EchoMachine : public platform::Machine {
 public:
  [[nodiscard]] bool hasService(std::string_view serviceClass) override {
    return serviceClass == "Echo";
  }
  [[nodiscard]] MachineStatus open(std::uint32_t type, std::uint32_t& connection) override {
    if (type != 7) {
      return kRefused;
    }
    const MutexLock lock(mutex_);
    connection = ++lastConnection_;
    open_.insert(connection);
    return KERN_SUCCESS;
  }
  [[nodiscard]] MachineStatus call(std::uint32_t connection, std::uint32_t selector,
                                   std::span<const std::uint8_t> request,
                                   std::span<std::uint8_t> reply, std::size_t& replySize) override {
    const MutexLock lock(mutex_);
    if (open_.count(connection) == 0) {
      return MACH_SEND_INVALID_DEST;
    }
    if (selector != 2 || replySize < request.size() || reply.size() != replySize) {
      return kIOReturnUnsupported;
    }
    std::reverse_copy(request.begin(), request.end(), reply.begin());
    replySize = request.size();
    return KERN_SUCCESS;
  }
  [[nodiscard]] MachineStatus close(std::uint32_t connection) override {
    const MutexLock lock(mutex_);
    return open_.erase(connection) > 0 ? KERN_SUCCESS : MACH_SEND_INVALID_DEST;
  }
  [[nodiscard]] Value setting(std::string_view /*name*/) override { return {}; }
  [[nodiscard]] std::string powerSource() override { return {}; }

  [[nodiscard]] std::size_t openConnections() {
    const MutexLock lock(mutex_);
    return open_.size();
  }

 private:
  Mutex mutex_;
  std::uint32_t lastConnection_ HALVARIN_GUARDED_BY(mutex_) = 40;
  std::set<std::uint32_t> open_ HALVARIN_GUARDED_BY(mutex_);
};

io_service_t find(const char* serviceClass) {
  return IOServiceGetMatchingService(kIOMasterPortDefault, IOServiceMatching(serviceClass));
}

/// What a test took and gave back, in one line.
std::string difference(const HandleCounts& before, const HandleCounts& after) {
  const auto part = [](const char* name, std::uint64_t taken, std::uint64_t given) {
    return std::string(name) + " " + std::to_string(taken) + "/" + std::to_string(given);
  };
  return part("matchings", after.matchingsMade - before.matchingsMade,
              after.matchingsTaken - before.matchingsTaken) +
         part(" services", after.servicesFound - before.servicesFound,
              after.servicesReleased - before.servicesReleased) +
         part(" connections", after.connectionsOpened - before.connectionsOpened,
              after.connectionsClosed - before.connectionsClosed);
}

class IOKitLibTest : public testing::Test {
 protected:
  IOKitLibTest() { platform::setMachine(machine_); }
  ~IOKitLibTest() override { platform::setMachine(nullptr); }

  [[nodiscard]] std::string sinceStart() const {
    return difference(before_, platform::handleCounts());
  }

  std::shared_ptr<EchoMachine> machine_ = std::make_shared<EchoMachine>();
  HandleCounts before_ = platform::handleCounts();
};

TEST_F(IOKitLibTest, TheTwoNamesOfTheDefaultPortAreOnePort) {
  EXPECT_EQ(kIOMasterPortDefault, kIOMainPortDefault);
  EXPECT_NE(mach_task_self(), MACH_PORT_NULL);
}

TEST_F(IOKitLibTest, BothWaysToTheMainPortGiveTheSameOne) {
  mach_port_t older = MACH_PORT_NULL;
  mach_port_t newer = MACH_PORT_NULL;
  EXPECT_EQ(IOMasterPort(MACH_PORT_NULL, &older), KERN_SUCCESS);
  EXPECT_EQ(IOMainPort(MACH_PORT_NULL, &newer), KERN_SUCCESS);
  EXPECT_NE(older, MACH_PORT_NULL);
  EXPECT_EQ(older, newer);
  const io_service_t service = IOServiceGetMatchingService(older, IOServiceMatching("Echo"));
  EXPECT_EQ(IOObjectRelease(service), KERN_SUCCESS);
  EXPECT_NE(IOObjectRelease(older), KERN_SUCCESS);
}

TEST_F(IOKitLibTest, FindsAServiceOfTheMachineAndReleasesItOnce) {
  const io_service_t service = find("Echo");
  ASSERT_NE(service, IO_OBJECT_NULL);
  EXPECT_EQ(sinceStart(), "matchings 1/1 services 1/0 connections 0/0");
  EXPECT_EQ(IOObjectRelease(service), KERN_SUCCESS);
  EXPECT_EQ(sinceStart(), "matchings 1/1 services 1/1 connections 0/0");
  EXPECT_NE(IOObjectRelease(service), KERN_SUCCESS);
  EXPECT_EQ(sinceStart(), "matchings 1/1 services 1/1 connections 0/0");
}

TEST_F(IOKitLibTest, AnUnknownClassGivesNoServiceAndStillTakesTheMatching) {
  for (const char* name : {"", "Ech", "Echoes", "echo"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(find(name), IO_OBJECT_NULL);
  }
  EXPECT_EQ(sinceStart(), "matchings 4/4 services 0/0 connections 0/0");
}

TEST_F(IOKitLibTest, NoMatchingGivesNoService) {
  EXPECT_EQ(IOServiceGetMatchingService(kIOMainPortDefault, nullptr), IO_OBJECT_NULL);
  EXPECT_EQ(sinceStart(), "matchings 0/0 services 0/0 connections 0/0");
}

TEST_F(IOKitLibTest, ABareComputerHasNoService) {
  platform::setMachine(std::make_shared<platform::BareComputer>());
  EXPECT_EQ(find("Echo"), IO_OBJECT_NULL);
  EXPECT_EQ(find("AppleSMC"), IO_OBJECT_NULL);
  EXPECT_EQ(sinceStart(), "matchings 2/2 services 0/0 connections 0/0");
}

TEST_F(IOKitLibTest, EachFindIsReleasedByItsOwnNumber) {
  const io_service_t first = find("Echo");
  const io_service_t second = find("Echo");
  EXPECT_NE(first, second);
  EXPECT_EQ(IOObjectRelease(second), KERN_SUCCESS);
  EXPECT_NE(IOObjectRelease(second), KERN_SUCCESS);
  EXPECT_EQ(IOObjectRelease(first), KERN_SUCCESS);
}

TEST_F(IOKitLibTest, NumbersThatAreNotOutCannotBeReleased) {
  EXPECT_NE(IOObjectRelease(IO_OBJECT_NULL), KERN_SUCCESS);
  EXPECT_NE(IOObjectRelease(0xFFFFFFFF), KERN_SUCCESS);
  EXPECT_EQ(sinceStart(), "matchings 0/0 services 0/0 connections 0/0");
}

TEST_F(IOKitLibTest, OpensCallsAndClosesAConnection) {
  const io_service_t service = find("Echo");
  io_connect_t connection = 0;
  ASSERT_EQ(IOServiceOpen(service, mach_task_self(), 7, &connection), KERN_SUCCESS);
  EXPECT_EQ(IOObjectRelease(service), KERN_SUCCESS);
  EXPECT_EQ(connection, 41U);
  const std::array<std::uint8_t, 3> request{1, 2, 3};
  std::array<std::uint8_t, 5> reply{9, 9, 9, 9, 9};
  std::size_t replySize = reply.size();
  EXPECT_EQ(IOConnectCallStructMethod(connection, 2, request.data(), request.size(), reply.data(),
                                      &replySize),
            KERN_SUCCESS);
  EXPECT_EQ(replySize, 3U);
  EXPECT_EQ(reply, (std::array<std::uint8_t, 5>{3, 2, 1, 9, 9}));
  EXPECT_EQ(machine_->openConnections(), 1U);
  EXPECT_EQ(IOServiceClose(connection), KERN_SUCCESS);
  EXPECT_EQ(machine_->openConnections(), 0U);
  EXPECT_EQ(sinceStart(), "matchings 1/1 services 1/1 connections 1/1");
}

TEST_F(IOKitLibTest, RefusesToOpenAServiceThatIsNotOut) {
  const io_service_t released = find("Echo");
  ASSERT_EQ(IOObjectRelease(released), KERN_SUCCESS);
  for (const io_service_t service : {IO_OBJECT_NULL, released, released + 1000}) {
    SCOPED_TRACE(service);
    io_connect_t connection = 77;
    EXPECT_NE(IOServiceOpen(service, mach_task_self(), 7, &connection), KERN_SUCCESS);
    EXPECT_EQ(connection, 77U);
  }
  EXPECT_EQ(machine_->openConnections(), 0U);
  EXPECT_EQ(sinceStart(), "matchings 1/1 services 1/1 connections 0/0");
}

TEST_F(IOKitLibTest, GivesTheMachinesOwnStatusWhenItRefusesToOpen) {
  const io_service_t service = find("Echo");
  io_connect_t connection = 77;
  EXPECT_EQ(IOServiceOpen(service, mach_task_self(), 0, &connection), kRefused);
  EXPECT_EQ(connection, 77U);
  EXPECT_EQ(IOObjectRelease(service), KERN_SUCCESS);
  EXPECT_EQ(sinceStart(), "matchings 1/1 services 1/1 connections 0/0");
}

TEST_F(IOKitLibTest, GivesTheMachinesOwnStatusOfACall) {
  const io_service_t service = find("Echo");
  io_connect_t connection = 0;
  ASSERT_EQ(IOServiceOpen(service, mach_task_self(), 7, &connection), KERN_SUCCESS);
  const std::array<std::uint8_t, 3> request{1, 2, 3};
  std::array<std::uint8_t, 2> reply{};
  std::size_t replySize = reply.size();
  EXPECT_EQ(IOConnectCallStructMethod(connection, 2, request.data(), request.size(), reply.data(),
                                      &replySize),
            kIOReturnUnsupported);
  EXPECT_EQ(IOConnectCallStructMethod(connection + 1, 2, request.data(), request.size(),
                                      reply.data(), &replySize),
            MACH_SEND_INVALID_DEST);
  EXPECT_EQ(replySize, reply.size());
  EXPECT_EQ(IOServiceClose(connection), KERN_SUCCESS);
  EXPECT_EQ(IOObjectRelease(service), KERN_SUCCESS);
}

TEST_F(IOKitLibTest, ACallMayHaveNeitherInputNorOutput) {
  const io_service_t service = find("Echo");
  io_connect_t connection = 0;
  ASSERT_EQ(IOServiceOpen(service, mach_task_self(), 7, &connection), KERN_SUCCESS);
  EXPECT_EQ(IOConnectCallStructMethod(connection, 2, nullptr, 0, nullptr, nullptr), KERN_SUCCESS);
  EXPECT_EQ(IOConnectCallStructMethod(connection, 0, nullptr, 0, nullptr, nullptr),
            kIOReturnUnsupported);
  EXPECT_EQ(IOServiceClose(connection), KERN_SUCCESS);
  EXPECT_EQ(IOObjectRelease(service), KERN_SUCCESS);
}

TEST_F(IOKitLibTest, ClosingTwiceOrAnUnknownConnectionIsRefused) {
  const io_service_t service = find("Echo");
  io_connect_t connection = 0;
  ASSERT_EQ(IOServiceOpen(service, mach_task_self(), 7, &connection), KERN_SUCCESS);
  EXPECT_NE(IOServiceClose(connection + 1), KERN_SUCCESS);
  EXPECT_EQ(IOServiceClose(connection), KERN_SUCCESS);
  EXPECT_NE(IOServiceClose(connection), KERN_SUCCESS);
  EXPECT_EQ(IOObjectRelease(service), KERN_SUCCESS);
  EXPECT_EQ(sinceStart(), "matchings 1/1 services 1/1 connections 1/1");
}

TEST_F(IOKitLibTest, EveryCallGoesToTheMachineThatIsCurrentThen) {
  const io_service_t service = find("Echo");
  platform::setMachine(std::make_shared<platform::BareComputer>());
  io_connect_t connection = 77;
  EXPECT_EQ(IOServiceOpen(service, mach_task_self(), 7, &connection), kIOReturnNoDevice);
  EXPECT_EQ(connection, 77U);
  EXPECT_EQ(machine_->openConnections(), 0U);
  EXPECT_EQ(IOObjectRelease(service), KERN_SUCCESS);
}

TEST_F(IOKitLibTest, TheCountsOfSeveralThreadsBalance) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 100;
  std::atomic<int> failures{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        const io_service_t service = find("Echo");
        io_connect_t connection = 0;
        failures += IOServiceOpen(service, mach_task_self(), 7, &connection) == 0 ? 0 : 1;
        failures += IOObjectRelease(service) == KERN_SUCCESS ? 0 : 1;
        failures += IOServiceClose(connection) == KERN_SUCCESS ? 0 : 1;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(sinceStart(), "matchings 400/400 services 400/400 connections 400/400");
}

}  // namespace
}  // namespace halvarin::test
