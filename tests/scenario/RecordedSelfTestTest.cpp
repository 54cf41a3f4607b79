// The sensor self-test on every recorded machine beside the checkout.

#include <gtest/gtest.h>

#include "selftest/QXSensorsTestManager.h"
#include "tests/support/RecordedMachines.h"
#include "tests/support/Updates.h"

namespace halvarin::test {
namespace {

class Kept : public SensorsTestDelegate {
 public:
  void updateSensorProgress(const std::vector<std::string>& lines) override {
    delivered.push_back(lines);
  }
  std::vector<std::vector<std::string>> delivered;
};

/// How many of a category's records the self-test takes.
std::size_t testedRecords(const QXHalvarin& facade, const std::string& category) {
  std::size_t tested = 0;
  for (const Value& each : facade.sensorKeys()->get(category).array()->elements()) {
    const DictionaryRef record = each.dictionary();
    const bool negative = category == "temperature" &&
                          record->get("value").textView().substr(0, 1) == "-" &&
                          record->get("value").textView() != "-0.00";
    const bool passedOver = record->get("description").textView() == "CPU AXG";
    tested += negative || passedOver ? 0U : 1U;
  }
  return tested;
}

class RecordedSelfTest : public testing::TestWithParam<std::string> {};

TEST_P(RecordedSelfTest, IsPassedWithALineForEachTestedRecord) {
  const auto installed = installRecorded(GetParam());
  const auto manager = QXSensorsTestManager::sensorTestManager();
  ASSERT_TRUE(manager->smcsensors());
  const auto delegate = std::make_shared<Kept>();
  manager->setDelegate(delegate);
  Updates updates;
  manager->startTesting();
  updates.await(1);
  ASSERT_TRUE(manager->doneTesting());
  ASSERT_EQ(delegate->delivered.size(), 1U);
  std::size_t tested = 0;
  for (const char* category : {"temperature", "voltage", "current", "power", "light"}) {
    tested += testedRecords(*manager->smcsensors(), category);
  }
  EXPECT_GT(tested, 20U);
  EXPECT_EQ(delegate->delivered[0].size(), tested);
  EXPECT_EQ(manager->status(), "Passed");
}

INSTANTIATE_TEST_SUITE_P(All, RecordedSelfTest, testing::ValuesIn(recordedModels()), modelAsName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(RecordedSelfTest);

}  // namespace
}  // namespace halvarin::test
