// The process's shared facade; each test has a process of its own.

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <atomic>
#include <thread>

#include "sensors/QXHalvarin.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Machines.h"
#include "tests/support/TestDatabase.h"

namespace {

std::atomic<int> transformsStarted{0};

}  // namespace

// Stands before the cipher library's own, to count how often something is deciphered.
extern "C" int EVP_CipherInit_ex(EVP_CIPHER_CTX* context, const EVP_CIPHER* type, ENGINE* engine,
                                 const unsigned char* key, const unsigned char* vector,
                                 int encipher) {
  using Original = decltype(&EVP_CipherInit_ex);
  static const auto original = reinterpret_cast<Original>(dlsym(RTLD_NEXT, "EVP_CipherInit_ex"));
  ++transformsStarted;
  return original(context, type, engine, key, vector, encipher);
}

namespace halvarin::test {
namespace {

using testing::ElementsAre;

TEST(SharedHalvarin, ManyFirstCallersGetOneObjectFromOneDeciphering) {
  embedDatabase(databaseOf("Test1,1", {{"TC0P", "CPU proximity"}}));
  const auto installed = install(machineWith({key("TC0P", "sp78", {0x2D, 0})}));
  transformsStarted = 0;
  std::vector<std::shared_ptr<QXHalvarin>> seen(8);
  std::vector<std::thread> callers;
  for (auto& slot : seen) {
    callers.emplace_back([&slot] { slot = QXHalvarin::sharedHalvarin(); });
  }
  for (std::thread& caller : callers) {
    caller.join();
  }
  ASSERT_TRUE(seen[0]);
  for (const auto& each : seen) {
    EXPECT_EQ(each, seen[0]);
  }
  EXPECT_EQ(transformsStarted, 2);  // the outer and the inner layer
  EXPECT_EQ(installed.machine->transferCount(), 8U);
}

TEST(SharedHalvarin, IsNullForEverWhenTheDatabaseCannotBeDeciphered) {
  CapturedLog log;
  install(machineWith({}));
  EXPECT_EQ(QXHalvarin::sharedHalvarin(), nullptr);
  EXPECT_EQ(log.lines().back(), "QXEDManager:dataFromSerializedData: failed");
  const std::size_t lines = log.lines().size();
  embedDatabase(databaseOf("Test1,1", {}));
  EXPECT_EQ(QXHalvarin::sharedHalvarin(), nullptr);
  EXPECT_EQ(log.lines().size(), lines);
  EXPECT_EQ(platform::handleCounts().connectionsOpened, 0U);
}

TEST(SharedHalvarin, IsNullWithoutAMessageWhenThePayloadIsNoPropertyList) {
  CapturedLog log;
  embedPayload("this is no property list");
  install(machineWith({}));
  EXPECT_EQ(QXHalvarin::sharedHalvarin(), nullptr);
  EXPECT_THAT(log.lines(), ElementsAre());
}

TEST(SharedHalvarin, IsNullWhenThePropertyListIsNoDictionary) {
  embedPayload("<plist version=\"1.0\"><string>text</string></plist>");
  install(machineWith({}));
  EXPECT_EQ(QXHalvarin::sharedHalvarin(), nullptr);
}

}  // namespace
}  // namespace halvarin::test
