#pragma once

#include <array>
#include <ostream>
#include <string>
#include <vector>

#include "tests/support/Machines.h"

namespace halvarin::test {

/// How a machine lets a program force its fans.
enum class FanStyle { forceBits, modeKeys, testFlag };

inline void PrintTo(FanStyle style, std::ostream* out) {
  constexpr std::array<const char*, 3> kNames{"force bits", "mode keys", "test flag"};
  *out << kNames[static_cast<std::size_t>(style)];
}

/// Two fans at 2000 RPM of 1200 to 6000, forced in that style.
inline platform::RecordedMachine fanMachine(FanStyle style) {
  std::vector<platform::RecordedKey> keys;
  for (const std::string fan : {"F0", "F1"}) {
    keys.push_back(key(fan + "Ac", "fpe2", {0x1F, 0x40}));
    if (style != FanStyle::forceBits) {
      // The spellings of both kinds of machine.
      keys.push_back(key(fan + (fan == "F0" ? "Md" : "md"), "ui8 ", {0}));
    }
    keys.push_back(key(fan + "Mn", "fpe2", {0x12, 0xC0}));
    keys.push_back(key(fan + "Mx", "fpe2", {0x5D, 0xC0}));
    keys.push_back(key(fan + "Tg", "fpe2", {0x1F, 0x40}));
  }
  keys.push_back(key("FNum", "ui8 ", {2}));
  if (style == FanStyle::forceBits) {
    keys.push_back(key("FS! ", "ui16", {0, 0}));
  }
  if (style == FanStyle::testFlag) {
    keys.push_back(key("Ftst", "ui8 ", {0}));
  }
  keys.push_back(key("TC0P", "sp78", {0x2D, 0}));
  return machineWith(std::move(keys), "MacBookPro16,1");
}

}  // namespace halvarin::test
