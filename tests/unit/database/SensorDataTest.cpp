#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "base/NumberText.h"
#include "base/Text.h"
#include "database/packer/DatabaseValue.h"
#include "database/packer/SensorResolver.h"
#include "platform/machine/BuiltInMachine.h"
#include "platform/machine/MachineFile.h"
#include "platform/machine/ReadingCodec.h"
#include "tests/generated/TestPaths.h"
#include "tests/support/SharedData.h"
#include "tests/unit/database/ShippedTables.h"

// The sensor tables that the library ships, read by the program that packs them.

namespace halvarin::test {

namespace {

using packer::Model;
using packer::Sensor;
using packer::SensorTables;
using packer::TableError;
using packer::TableRow;

const std::vector<Sensor>* sensorsOf(const std::string& model) {
  const auto& models = shipped().tables.models();
  for (std::size_t i = 0; i < models.size(); ++i) {
    if (models[i].identifier == model) {
      return &shipped().sensors[i];
    }
  }
  return nullptr;
}

template <typename Check>
void forEverySensor(const Check& check) {
  const auto& models = shipped().tables.models();
  for (std::size_t i = 0; i < models.size(); ++i) {
    for (const Sensor& sensor : shipped().sensors[i]) {
      SCOPED_TRACE(models[i].identifier + " " + sensor.key);
      check(models[i], sensor);
    }
  }
}

TEST(SensorData, IsSoundAndUsedToTheLastRow) {
  try {
    const SensorTables tables(kData);
    EXPECT_EQ(resolveAll(tables).size(), tables.models().size());
    EXPECT_NE(packer::databaseFrom(tables).dictionary(), nullptr);
  } catch (const TableError& error) {
    ADD_FAILURE() << error.what();
  }
}

TEST(SensorData, DescribesEverySensorByAKeyOfFourCharactersAKindAndAShortText) {
  forEverySensor([](const Model& /*model*/, const Sensor& sensor) {
    EXPECT_EQ(sensor.key.size(), 4U);
    EXPECT_FALSE(sensor.part.kind.empty());
    EXPECT_FALSE(sensor.description.empty());
    EXPECT_NE(sensor.description, "-");
    const auto characters = utf16(sensor.description);
    ASSERT_TRUE(characters);
    EXPECT_LE(characters->size(), 40U) << sensor.description;
  });
}

TEST(SensorData, GivesEverySensorTheKindOfItsCategory) {
  const std::map<char, std::string> kinds{
      {'T', "Temperature"}, {'V', "Voltage"}, {'I', "Current"}, {'P', "Power"}, {'F', "Fan"}};
  forEverySensor([&](const Model& /*model*/, const Sensor& sensor) {
    const auto kind = kinds.find(sensor.key.front());
    if (kind != kinds.end()) {
      EXPECT_EQ(sensor.part.kind, kind->second);
    } else if (sensor.key == "ALSL") {
      EXPECT_EQ(sensor.part.kind, "Photometer");
    } else if (sensor.key == "MSLD") {
      EXPECT_EQ(sensor.part.kind, "Magnetometer");
    } else if (sensor.key.rfind("MO_", 0) == 0) {
      EXPECT_EQ(sensor.part.kind, "Accelerometer");
    } else {
      EXPECT_EQ(sensor.key.rfind("MSC", 0), 0U) << "a key of no category";
      EXPECT_EQ(sensor.part.kind, "Calibration");
    }
  });
}

TEST(SensorData, HasLimitsThatAreNumbersInOrderWithAUnit) {
  std::size_t judged = 0;
  forEverySensor([&](const Model& /*model*/, const Sensor& sensor) {
    EXPECT_EQ(sensor.part.low.empty(), sensor.part.high.empty());
    if (sensor.part.low.empty()) {
      return;
    }
    ++judged;
    for (const std::string& limit : {sensor.part.low, sensor.part.high}) {
      EXPECT_EQ(limit.find_first_not_of("-.0123456789"), std::string::npos) << limit;
      EXPECT_NE(limit.find_first_of("0123456789"), std::string::npos) << limit;
    }
    EXPECT_LT(decimalReading(sensor.part.low), decimalReading(sensor.part.high));
    EXPECT_FALSE(sensor.part.unit.empty());
  });
  EXPECT_GT(judged, 1000U);
}

TEST(SensorData, KnowsEveryRecordedModel) {
  const std::vector<std::string> recorded = recordedModels();
  if (recorded.empty()) {
    GTEST_SKIP() << "there are no recorded machines in " << sharedData();
  }
  EXPECT_GE(recorded.size(), 28U);
  for (const std::string& model : recorded) {
    const auto* sensors = sensorsOf(model);
    ASSERT_NE(sensors, nullptr) << model;
    EXPECT_GT(sensors->size(), 20U) << model;
  }
}

TEST(SensorData, DescribesOnlyKeysThatARecordedMachineHas) {
  if (recordedModels().empty()) {
    GTEST_SKIP() << "there are no recorded machines in " << sharedData();
  }
  for (const std::string& model : recordedModels()) {
    const auto read = platform::readMachineFile(dumpPath(model));
    ASSERT_TRUE(std::holds_alternative<platform::RecordedMachine>(read)) << model;
    std::set<std::string> keys;
    for (const auto& each : std::get<platform::RecordedMachine>(read).keys) {
      keys.insert(std::string(each.code.begin(), each.code.end()));
    }
    const auto* sensors = sensorsOf(model);
    ASSERT_NE(sensors, nullptr) << model;
    for (const Sensor& sensor : *sensors) {
      EXPECT_EQ(keys.count(sensor.key), 1U) << model << " " << sensor.key;
    }
  }
}

// ---- the machines that are ours
// ------------------------------------------------------------------

/// What is outside its limits on a machine: its float and fixed-point readings against the tables.
std::vector<std::string> outsideLimits(const platform::RecordedMachine& machine) {
  std::vector<std::string> outside;
  const auto* sensors = sensorsOf(machine.model);
  EXPECT_NE(sensors, nullptr) << machine.model;
  std::size_t judged = 0;
  for (const auto& each : machine.keys) {
    const std::string code(each.code.begin(), each.code.end());
    const auto reading = platform::decodeReal(each.type, each.bytes);
    const auto sensor = std::find_if(sensors->begin(), sensors->end(),
                                     [&](const Sensor& s) { return s.key == code; });
    if (sensor == sensors->end() || !reading || sensor->part.low.empty()) {
      continue;
    }
    ++judged;
    const bool belowZero = sensor->part.kind == "Temperature" && *reading < 0;  // not fitted
    if (!belowZero && (*reading < decimalReading(sensor->part.low) ||
                       *reading > decimalReading(sensor->part.high))) {
      outside.push_back(code + " = " + fixedText(*reading, 2));
    }
  }
  EXPECT_GT(judged, 5U) << machine.model;
  return outside;
}

TEST(SensorData, FindsNothingWrongWithTheBuiltInMachine) {
  EXPECT_EQ(outsideLimits(platform::builtInLaptop()), std::vector<std::string>{});
}

TEST(SensorData, FindsNothingWrongWithTheHealthyMachine) {
  const auto read = platform::readMachineFile(HALVARIN_SOURCE_DIR "/tests/machines/healthy.txt");
  ASSERT_TRUE(std::holds_alternative<platform::RecordedMachine>(read));
  EXPECT_EQ(outsideLimits(std::get<platform::RecordedMachine>(read)), std::vector<std::string>{});
}

// ---- the order that a reviewer looks rows up in
// --------------------------------------------------

TEST(SensorData, ListsPartsByKindThenByName) {
  const std::vector<std::string> kinds{"Temperature",  "Voltage",     "Current",
                                       "Power",        "Photometer",  "Accelerometer",
                                       "Magnetometer", "Calibration", "Fan"};
  std::vector<std::pair<std::ptrdiff_t, std::string>> order;
  for (const TableRow& row : packer::readTable(kData / "parts.tsv", kPartColumns)) {
    const auto kind = std::find(kinds.begin(), kinds.end(), row.fields[1]);
    order.emplace_back(kind - kinds.begin(), row.fields[0]);
  }
  EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(SensorData, ListsSensorsByTheBytesOfTheirKeys) {
  for (const auto& table : sensorTables()) {
    std::vector<std::string> keys;
    for (const TableRow& row : packer::readTable(kData / table, kSensorColumns)) {
      keys.push_back(row.fields[0]);
    }
    EXPECT_TRUE(std::is_sorted(keys.begin(), keys.end())) << table;
  }
}

TEST(SensorData, ListsTheKeysOfAModelByTheirBytes15ALine) {
  for (const Model& model : shipped().tables.models()) {
    if (!model.relative.model.empty()) {
      continue;
    }
    std::vector<std::string> keys;
    std::map<std::size_t, std::size_t> lines;
    for (const TableRow& key : model.keys) {
      keys.push_back(key.fields[0]);
      ++lines[key.line];
    }
    EXPECT_TRUE(std::is_sorted(keys.begin(), keys.end())) << model.identifier;
    for (const auto& [line, count] : lines) {
      EXPECT_TRUE(count == 15 || line == lines.rbegin()->first)
          << model.identifier << " line " << line;
    }
    const std::string text = fileText(kData / "models" / (model.identifier + ".txt"));
    EXPECT_EQ(text.rfind("# " + model.identifier + "  ", 0), 0U) << model.identifier;
  }
}

/// Where each model stands in models.tsv.
std::map<std::string, std::size_t> placesOfModels() {
  std::map<std::string, std::size_t> places;
  for (const Model& model : shipped().tables.models()) {
    places.emplace(model.identifier, places.size());
  }
  return places;
}

TEST(SensorData, ListsExceptionsByKeyThenByTheirModels) {
  const auto places = placesOfModels();
  std::vector<std::pair<std::string, std::size_t>> order;
  for (const TableRow& row : packer::readTable(kData / "exceptions.tsv", kExceptionColumns)) {
    std::vector<std::size_t> models;
    std::istringstream words(row.fields[1]);
    for (std::string word; words >> word;) {
      models.push_back(places.at(word));
    }
    EXPECT_TRUE(std::is_sorted(models.begin(), models.end())) << row.line;
    order.emplace_back(row.fields[0], models.front());
  }
  EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(SensorData, ListsFamiliesByTheirModels) {
  const auto places = placesOfModels();
  std::vector<std::size_t> order;
  for (const TableRow& row : packer::readTable(kData / "families.tsv", kFamilyColumns)) {
    order.push_back(places.at(row.fields[0]));
  }
  EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

}  // namespace

}  // namespace halvarin::test
