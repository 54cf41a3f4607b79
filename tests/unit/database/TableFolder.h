#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <string>

#include "tests/support/TemporaryFolder.h"

namespace halvarin::test {

/// The smallest sensor tables in which everything that tables can say is said: three models, parts
/// of three kinds, a key with a row for every machine, a platform and a chip. Change the texts,
/// then `write` them.
struct TableFolder {
  std::map<std::string, std::string> files{
      {"parts.tsv",
       "part\tkind\tunit\tlow\thigh\tmains\treason\n"
       "air\tTemperature\toC\t0\t50\tno\troom air\n"
       "die\tTemperature\toC\t0\t110\tno\tsilicon\n"
       "bus\tVoltage\tV\t8.2\t14\tyes\tthree cells\n"
       "state\tMagnetometer\t-\t-\t-\tno\ta state\n"},
      {"sensors/temperature.tsv",
       "key\ton\tpart\tdescription\n"
       "TA0P\t*\tair\tRoom air\n"
       "TC0P\t*\tdie\tDie of any machine\n"
       "TC0P\tintel\tdie\tDie of the platform\n"
       "TC0P\tChip B\tdie\tDie of the chip\n"},
      {"sensors/voltage.tsv", "key\ton\tpart\tdescription\nVP0R\tintel\tbus\tMain bus\n"},
      {"sensors/current.tsv", "key\ton\tpart\tdescription\n"},
      {"sensors/power.tsv", "key\ton\tpart\tdescription\n"},
      {"sensors/other.tsv", "key\ton\tpart\tdescription\nMSLD\t*\tstate\tLid magnet\n"},
      {"models.tsv",
       "model\tname\tchip\tplatform\tlist\n"
       "Alpha1,1\tAlpha (2020)\tChip A\tintel\tdump\n"
       "Beta1,1\tBeta (2021)\tChip B\tintel\treport\n"
       "Gamma1,1\tGamma (2022)\tChip C\tsilicon\tfamily\n"},
      {"models/Alpha1,1.txt", "# the first\nMSLD TA0P\nTC0P VP0R\n"},
      {"models/Beta1,1.txt", "TC0P\n"},
      {"models/Gamma1,1.txt", "TC0P\n"},
      {"exceptions.tsv", "model\tkey\tfield\tvalue\treason\n"},
  };

  void append(const std::string& file, const std::string& line) { files[file] += line + "\n"; }
  /// Replaces a text that must be there, once.
  void replace(const std::string& file, const std::string& from, const std::string& to) {
    std::string& text = files[file];
    const std::size_t at = text.find(from);
    ASSERT_NE(at, std::string::npos) << file << " has no \"" << from << "\"";
    text.replace(at, from.size(), to);
  }
  void write(const TemporaryFolder& folder) const {
    for (const auto& [name, text] : files) {
      folder.write(name, text);
    }
  }
};

}  // namespace halvarin::test
