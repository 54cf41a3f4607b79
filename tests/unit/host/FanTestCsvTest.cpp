#include "host/fantest/FanTestCsv.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace halvarin::test
