#include "host/Table.h"

#include <gtest/gtest.h>

#include <sstream>

namespace halvarin::test {
namespace {

using host::Align;
using host::Table;
using host::Tone;

std::string printed(const Table& table, bool colour) {
  std::ostringstream out;
  table.print(out, colour);
  return out.str();
}

TEST(Table, ColumnsAreAsWideAsTheirWidestText) {
  Table table({{"Key"}, {"Value", Align::right}, {"Unit"}});
  table.addRow({{"TC0P"}, {"44.63"}, {"oC"}});
  table.addRow({{"F0"}, {"1840.00"}, {"RPM"}});
  EXPECT_EQ(printed(table, false),
            "  Key     Value  Unit\n"
            "  TC0P    44.63  oC\n"
            "  F0    1840.00  RPM\n");
}

TEST(Table, NoLineEndsInBlanks) {
  Table table({{"A"}, {"B"}});
  table.addRow({{"long text"}, {""}});
  table.addRow({{""}, {""}});
  EXPECT_EQ(printed(table, false), "  A          B\n  long text\n\n");
}

TEST(Table, CharactersBeyondAsciiCountOnce) {
  Table table({{"A"}, {"B"}});
  table.addRow({{"\xC3\xA9\xC3\xA9"}, {"x"}});
  EXPECT_EQ(printed(table, false), "  A   B\n  \xC3\xA9\xC3\xA9  x\n");
}

TEST(Table, ColourSurroundsTheTextAndChangesNoWidth) {
  Table table({{"A"}, {"B"}});
  table.addRow({{"bad", Tone::bad}, {"x"}});
  table.addRow({{"good", Tone::good}, {"y"}});
  EXPECT_EQ(printed(table, true),
            "  A     B\n"
            "  \033[1;31mbad\033[0m   x\n"
            "  \033[32mgood\033[0m  y\n");
}

}  // namespace
}  // namespace halvarin::test
