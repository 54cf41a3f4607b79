#include "host/fantest/FanTestView.h"

#include <gtest/gtest.h>

#include <array>

namespace halvarin::test {
namespace {

using host::FanTestView;
using host::progressFrame;
using host::stateLine;

FanTestView view(const std::string& name, const std::string& state, double share) {
  return {name, state, 5411.6, 5616, share, true};
}

TEST(FanTestFrame, HasALineWithABarForEachFan) {
  EXPECT_EQ(progressFrame(std::array{view("Fan 0 (Left side)", "rah_max", 0.5),
                                     view("Fan 1", "animate_done", 0.999)}),
            "Fan 0 (Left side)  [##########..........]  50 %  rah_max       5412 RPM, target 5616 "
            "RPM\n"
            "Fan 1              [####################]  99 %  animate_done  5412 RPM, target 5616 "
            "RPM\n");
}

TEST(FanTestFrame, BarIsEmptyBeforeTheTestAndFullAfterIt) {
  EXPECT_EQ(progressFrame(std::array{FanTestView{"Fan 0", "waiting", 0, 0, 0, false}}),
            "Fan 0  [....................]   0 %  waiting       \n");
  EXPECT_EQ(progressFrame(std::array{view("Fan 0", "Passed", 1)}),
            "Fan 0  [####################] 100 %  Passed        5412 RPM, target 5616 RPM\n");
}

TEST(FanTestFrame, ShareOutsideItsRangeStaysInTheBar) {
  EXPECT_NE(progressFrame(std::array{view("Fan 0", "done", 7)}).find("[####################] 100"),
            std::string::npos);
  EXPECT_NE(progressFrame(std::array{view("Fan 0", "done", -1)}).find("[....................]   0"),
            std::string::npos);
}

TEST(FanTestFrame, NamesAreAsWideAsTheyLook) {
  const std::string frame =
      progressFrame(std::array{view("Lüfter", "init", 0), view("Fan 11", "init", 0)});
  EXPECT_EQ(frame.find("  ["), std::string("Lüfter").size());
  EXPECT_EQ(frame.rfind("  [") - frame.find('\n') - 1, 6U);
}

TEST(FanTestFrame, IsEmptyWithoutFans) {
  EXPECT_EQ(progressFrame({}), "");
}

TEST(FanTestStateLine, SaysFanStateAndSpeeds) {
  EXPECT_EQ(stateLine(view("Fan 0 (Left side)", "rah_max", 0.5)),
            "Fan 0 (Left side): rah_max, 5412 RPM, target 5616 RPM");
  EXPECT_EQ(stateLine({"Fan 1", "waiting", 0, 0, 0, false}), "Fan 1: waiting");
}

}  // namespace
}  // namespace halvarin::test
