#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "database/packer/SensorResolver.h"
#include "tests/support/TemporaryFolder.h"

namespace halvarin::test {

/// The smallest sensor tables in which everything that tables can say is said: three models with a
/// list and one that shares the first's, parts of three kinds, a key with a row for every machine,
/// a platform and a chip. Change the texts, then `write` them.
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
       "Gamma1,1\tGamma (2022)\tChip C\tsilicon\tlisted\n"
       "Delta1,1\tDelta (2023)\tCore D9 (Fourth)\tintel\tfamily\n"},
      {"models/Alpha1,1.txt", "# the first\nMSLD TA0P\nTC0P VP0R\n"},
      {"models/Beta1,1.txt", "TC0P\n"},
      {"models/Gamma1,1.txt", "TC0P\n"},
      {"families.tsv", "model\tlike\twithout\treason\nDelta1,1\tAlpha1,1\tbus TA?P\tno battery\n"},
      {"exceptions.tsv", "key\tmodels\tpart\tdescription\treason\n"},
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

using TableChange = std::function<void(TableFolder&)>;

inline void nothing(TableFolder& /*tables*/) {}

/// The sensors of every model of the changed tables.
inline std::vector<std::vector<packer::Sensor>> sensorsOf(const TableChange& change) {
  TableFolder tables;
  change(tables);
  const TemporaryFolder folder;
  tables.write(folder);
  try {
    return resolveAll(packer::SensorTables(folder.path()));
  } catch (const packer::TableError& error) {
    ADD_FAILURE() << error.what();
    return std::vector<std::vector<packer::Sensor>>(4);
  }
}

/// The error of the changed tables, without the folder before the file's name.
inline std::string faultOf(const TableChange& change) {
  TableFolder tables;
  change(tables);
  const TemporaryFolder folder;
  tables.write(folder);
  try {
    static_cast<void>(resolveAll(packer::SensorTables(folder.path())));
  } catch (const packer::TableError& error) {
    const std::string text = error.what();
    const std::string before = folder.path().string() + "/";
    return text.rfind(before, 0) == 0 ? text.substr(before.size()) : text;
  }
  return "(no fault)";
}

/// The tables with another row.
inline TableChange withRow(const std::string& file, const std::string& row) {
  return [=](TableFolder& tables) { tables.append(file, row); };
}

struct TableFault {
  const char* name;
  TableChange change;
  const char* fault;

  friend void PrintTo(const TableFault& row, std::ostream* stream) { *stream << row.name; }
};

}  // namespace halvarin::test
