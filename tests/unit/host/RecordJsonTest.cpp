#include "host/RecordJson.h"

#include <gtest/gtest.h>

#include <limits>

#include "base/Array.h"

namespace halvarin::test {
namespace {

using host::toJson;

TEST(RecordJson, EachKindHasItsForm) {
  EXPECT_EQ(toJson(Value(true)).dump(), "true");
  EXPECT_EQ(toJson(Value(-7)).dump(), "-7");
  EXPECT_EQ(toJson(Value(0.5)).dump(), "0.5");
  EXPECT_EQ(toJson(Value("text")).dump(), "\"text\"");
  EXPECT_EQ(toJson(Value(Data(std::string_view("\x01\xAB", 2)))).dump(), "\"01AB\"");
  EXPECT_EQ(toJson(Value()).dump(), "null");
  EXPECT_EQ(toJson(Value(Array::make({1, "a"}))).dump(), "[1,\"a\"]");
}

TEST(RecordJson, EntriesKeepTheirOrderOfInsertion) {
  const auto record = Dictionary::make();
  record->set("z", 1);
  record->set("a", 2);
  record->set("m", 3);
  EXPECT_EQ(toJson(Value(record)).dump(), R"({"z":1,"a":2,"m":3})");
}

TEST(RecordJson, NumbersThatJsonLacksAreTexts) {
  EXPECT_EQ(toJson(Value(std::numeric_limits<double>::quiet_NaN())).dump(), "\"nan\"");
  EXPECT_EQ(toJson(Value(-std::numeric_limits<double>::infinity())).dump(), "\"-inf\"");
}

TEST(RecordJson, MachineIsKindModelAndPowerSource) {
  EXPECT_EQ(toJson(host::MachineHeading{"file", "Test1,1", "AC Power"}).dump(),
            R"({"kind":"file","model":"Test1,1","powerSource":"AC Power"})");
}

}  // namespace
}  // namespace halvarin::test
