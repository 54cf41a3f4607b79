#include "host/fantest/FanTestCsv.h"

#include <gtest/gtest.h>

#include <fstream>

#include "tests/unit/selftest/FanTests.h"

namespace halvarin::test {
namespace {

TEST(FanTestCsv, HeaderNamesTheColumns) {
  EXPECT_EQ(host::csvHeader(), "sample,state,mode,target,speed,min,max,temp");
}

TEST(FanTestCsv, LineSaysWhereTheRunStoodAndWhatTheFanShowed) {
  const Dictionary fan(Dictionary::Entries{{"index", 1},
                                           {"mode", 1},
                                           {"speed", 5411.75},
                                           {"target", 5616.0},
                                           {"min", 1200.0},
                                           {"max", 5616.5},
                                           {"temp", "58.25"},
                                           {"location", "Left, side"}});
  EXPECT_EQ(host::csvLine({"rah_max", 17, 100}, fan),
            "17,rah_max,1,5616,5411.75,1200,5616.5,58.25");
}

TEST(FanTestCsv, WhatTheFanDoesNotShowIsEmpty) {
  EXPECT_EQ(host::csvLine({"init", 0, 0}, Dictionary()), "0,init,,,,,,");
}

class SavedCsv : public FanTestCase {};

TEST_F(SavedCsv, IsFoundWhereTheLibraryWroteIt) {
  startOn(fanMachine(FanStyle::modeKeys));
  const std::string path = host::savedCsv(*testOf(1), "MacBookPro16,1", "me", {"a", "b"});
  EXPECT_EQ(path.rfind(logs_.csvs() + "/fan1_MacBookPro16,1_me_", 0), 0U) << path;
  EXPECT_EQ(fileBytes(path), host::csvHeader() + "\na\nb\n");
}

TEST_F(SavedCsv, HasNoPathWhenItCouldNotBeWritten) {
  startOn(fanMachine(FanStyle::modeKeys));
  EXPECT_EQ(host::savedCsv(*testOf(1), "MacBookPro16,1", "a/b", {"a"}), "");
  std::filesystem::create_directories(logs_.logs());
  std::ofstream(logs_.csvs()) << "a file in the folder's place";
  EXPECT_EQ(host::savedCsv(*testOf(1), "MacBookPro16,1", "me", {"a"}), "");
}

}  // namespace
}  // namespace halvarin::test
