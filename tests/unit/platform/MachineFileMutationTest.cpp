#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <string>
#include <string_view>
#include <variant>

#include "platform/machine/MachineFile.h"
#include "tests/unit/platform/ParsedMachine.h"

namespace halvarin::test {

namespace {

using platform::MachineFileError;
using platform::parseMachineFile;
using platform::RecordedMachine;
using platform::writeMachineFile;

/// Changes a text at random places, the same ones in every run.
class Mutator {
 public:
  std::string mutate(std::string text) {
    const std::size_t changes = 1 + upTo(3);
    for (std::size_t i = 0; i < changes && !text.empty(); ++i) {
      change(text);
    }
    return text;
  }

 private:
  std::size_t upTo(std::size_t most) { return static_cast<std::size_t>(random_() % (most + 1)); }

  char anyByte() {
    // Digits and brackets come often: they reach the checks behind the first one.
    constexpr std::string_view kLikely = "0123456789ABCDEF[]() \r\n\t-?";
    return upTo(1) == 0 ? kLikely[upTo(kLikely.size() - 1)] : static_cast<char>(upTo(255));
  }

  void change(std::string& text) {
    const std::size_t at = upTo(text.size() - 1);
    switch (upTo(5)) {
      case 0:
        text[at] = static_cast<char>(static_cast<unsigned char>(text[at]) ^ (1U << upTo(7)));
        break;
      case 1:
      case 2:
        text[at] = anyByte();
        break;
      case 3:
        text.erase(at, 1 + upTo(4));
        break;
      case 4:
        text.insert(at, 1, anyByte());
        break;
      default:
        text.resize(upTo(9) == 0 ? at : text.size() - upTo(2));
    }
  }

  std::mt19937 random_{20240607};
};

TEST(MachineFile, TakesOrRefusesAnyTextAndWritesBackWhatItTakes) {
  const std::string whole =
      "Model: M1,1\nProcessor: P 1\nLogicalProcessors: 2\nPowerSource: AC Power\n" +
      listOf(6, {"[#KEY] type [ui32] 75693332 len [ 4] attr [80] -> 00000006\n",
                 "[AC-E] type [flag] 666C6167 len [ 1] attr [50] -> NOT READABLE, code 89\n",
                 "[BATP] type [flag] 666C6167 len [ 1] attr [80] -> 01\n",
                 "Unable to read smc value E00002C2\n",
                 "[SBIG] type [ui8?] 75693800 len [40] attr [C0] -> NOT READABLE\n",
                 "[TC0P] type [sp78] 73703738 len [ 2] attr [80] -> 2800\n",
                 "[ZERO] type [hex_] 6865785F len [ 0] attr [80] -> \n"});
  ASSERT_EQ(errorIn(whole), "(no error)");
  Mutator mutator;
  std::size_t taken = 0;
  constexpr std::size_t kRounds = 6000;
  for (std::size_t round = 0; round < kRounds; ++round) {
    const std::string text = mutator.mutate(whole);
    const Parsed parsed = parseMachineFile(text, "small.txt");
    if (const auto* error = std::get_if<MachineFileError>(&parsed)) {
      const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
      ASSERT_EQ(error->file, "small.txt") << round;
      ASSERT_FALSE(error->what.empty()) << round;
      ASSERT_LE(error->line, lines) << round;
      continue;
    }
    ++taken;
    const auto& machine = std::get<RecordedMachine>(parsed);
    const Parsed again = parseMachineFile(writeMachineFile(machine), "small.txt");
    ASSERT_TRUE(std::holds_alternative<RecordedMachine>(again))
        << "round " << round << ": " << errorOf(again) << "\n"
        << text;
    ASSERT_EQ(std::get<RecordedMachine>(again), machine) << "round " << round << "\n" << text;
  }
  EXPECT_GT(taken, kRounds / 20);  // both ways out were taken often
  EXPECT_LT(taken, kRounds - kRounds / 20);
}

}  // namespace

}  // namespace halvarin::test
