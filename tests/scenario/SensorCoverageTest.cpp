// What the shipped sensor tables say of every model, against facts about real machines that lie
// beside the checkout, and the tables of it in docs/database.md.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/LikePattern.h"
#include "base/NumberText.h"
#include "sensors/LimitVerdict.h"
#include "tests/support/DocumentTables.h"
#include "tests/support/SharedData.h"
#include "tests/unit/database/ShippedTables.h"

namespace halvarin::test {
namespace {

using packer::Model;
using packer::Sensor;

const std::vector<Sensor>& sensorsOf(const std::string& identifier) {
  static const std::vector<Sensor> none;
  const auto& models = shipped().tables.models();
  for (std::size_t i = 0; i < models.size(); ++i) {
    if (models[i].identifier == identifier) {
      return shipped().sensors[i];
    }
  }
  ADD_FAILURE() << "no model " << identifier;
  return none;
}

std::string percent(std::size_t part, std::size_t whole) {
  return whole == 0
             ? "-"
             : fixedText(100.0 * static_cast<double>(part) / static_cast<double>(whole), 1) + " %";
}

// ---- what is described -------------------------------------------------------------------------

bool isInDescribedCategory(const std::string& key) {
  constexpr std::array<const char*, 7> kForms{"T???", "V???", "I???", "P???",
                                              "ALSL", "MO_?", "MSLD"};
  return std::any_of(kForms.begin(), kForms.end(),
                     [&](const char* form) { return matchesLike(key, form); });
}

/// What is known of a key on a recorded machine, all of which have Intel processors.
struct Fact {
  bool isMeasured = false;
  bool isFirm = false;  // more than a guess from its name
};

std::map<std::string, Fact> factsOfIntelKeys() {
  std::map<std::string, Fact> facts;
  for (auto& row : tableRows(sharedData() / "data" / "meanings.tsv")) {
    if (row["platforms"] == "intel" || row["platforms"] == "all") {
      facts[row["key"]] = {row["measured"] == "yes", row["confidence"] != "guess"};
    }
  }
  return facts;
}

std::set<std::string> describedKeysOf(const std::string& model) {
  std::set<std::string> keys;
  for (const Sensor& sensor : sensorsOf(model)) {
    keys.insert(sensor.key);
  }
  return keys;
}

TEST(SensorCoverage, DescribesNearlyAllThatARecordedMachineIsKnownToMeasure) {
  if (recordedModels().empty()) {
    GTEST_SKIP() << "no recorded machines in " << sharedData() / "dumps";
  }
  const auto facts = factsOfIntelKeys();
  ASSERT_GT(facts.size(), 1000U);
  for (const std::string& model : recordedModels()) {
    const std::set<std::string> described = describedKeysOf(model);
    std::size_t measured = 0;
    std::string missing;
    std::size_t missed = 0;
    for (const std::string& key : recordedKeys(model)) {
      const auto fact = facts.find(key);
      if (!isInDescribedCategory(key) || fact == facts.end() || !fact->second.isMeasured ||
          !fact->second.isFirm) {
        continue;
      }
      ++measured;
      if (!described.contains(key)) {
        ++missed;
        missing += " " + key;
      }
    }
    EXPECT_GT(measured, 25U) << model;
    EXPECT_LE(missed * 100, measured * 2) << model << " leaves out" << missing;
  }
}

TEST(SensorCoverage, DescribesNoSettingOfARecordedMachineButTheCalibrationNumbers) {
  if (recordedModels().empty()) {
    GTEST_SKIP() << "no recorded machines in " << sharedData() / "dumps";
  }
  const auto facts = factsOfIntelKeys();
  for (const std::string& model : recordedModels()) {
    for (const Sensor& sensor : sensorsOf(model)) {
      const auto fact = facts.find(sensor.key);
      EXPECT_TRUE(matchesLike(sensor.key, "MSC?") || fact == facts.end() || fact->second.isMeasured)
          << model << " " << sensor.key << " " << sensor.description;
    }
  }
}

TEST(SensorCoverage, KnowsEveryModelOfTheFacts) {
  const auto rows = tableRows(sharedData() / "data" / "models.tsv");
  if (rows.empty()) {
    GTEST_SKIP() << "no facts in " << sharedData() / "data";
  }
  EXPECT_EQ(rows.size(), 176U);
  EXPECT_EQ(shipped().tables.models().size(), rows.size());
  for (auto row : rows) {
    const Model* model = shipped().tables.model(row["model"]);
    ASSERT_NE(model, nullptr) << row["model"];
    EXPECT_EQ(model->name, row["name"]);
    EXPECT_EQ(model->chip, row["chip"]);
    EXPECT_EQ(model->platform, row["smc"] == "SoC" ? "silicon" : "intel") << row["model"];
  }
}

// ---- which faults are seen ---------------------------------------------------------------------

bool isSeen(const Sensor& sensor, double reading) {
  return !isInsideLimits(fixedText(reading, 2), sensor.part.low, sensor.part.high,
                         sensor.part.mains, true);
}

bool isJudged(const Sensor& sensor) {
  return !sensor.part.low.empty();
}

/// The voltage that a part's name gives a rail, "rail-1v05-switched" 1.05; absent for others.
std::optional<double> regulatedVoltageOf(const Sensor& sensor) {
  const std::string& part = sensor.part.row.fields[0];
  if (sensor.part.kind != "Voltage" || part.rfind("rail-", 0) != 0) {
    return std::nullopt;
  }
  std::string number = part.substr(5, part.find('-', 5) - 5);
  std::replace(number.begin(), number.end(), 'v', '.');
  return decimalReading(number);
}

bool isSwitched(const Sensor& sensor) {
  return sensor.part.row.fields[0].find("-switched") != std::string::npos;
}

/// How many faults there were, and how many were outside the limits.
struct Tally {
  std::size_t faults = 0;
  std::size_t seen = 0;

  void take(bool isOutside) {
    ++faults;
    seen += isOutside ? 1 : 0;
  }
  void take(const Tally& other) {
    faults += other.faults;
    seen += other.seen;
  }
};

struct FaultShare {
  Tally hot;   // temperatures at 125
  Tally dead;  // rails at 0
  Tally high;  // rails 20 % too high
  std::vector<std::string> unseen;

  [[nodiscard]] Tally all() const {
    Tally sum = hot;
    sum.take(dead);
    sum.take(high);
    return sum;
  }
};

FaultShare faultShareOf(const std::string& model) {
  FaultShare share;
  const auto force = [&](const Sensor& sensor, Tally& tally, double reading) {
    const bool isOutside = isSeen(sensor, reading);
    tally.take(isOutside);
    if (!isOutside) {
      share.unseen.push_back(sensor.key + " (" + sensor.description + ") at " +
                             fixedText(reading, 2));
    }
  };
  for (const Sensor& sensor : sensorsOf(model)) {
    if (!isJudged(sensor)) {
      continue;
    }
    if (sensor.part.kind == "Temperature") {
      force(sensor, share.hot, 125);
    }
    if (const auto volts = regulatedVoltageOf(sensor)) {
      force(sensor, share.dead, 0);
      force(sensor, share.high, *volts * 1.2);
    }
  }
  return share;
}

TEST(SensorCoverage, SeesNearlyAllFaultsOfTheRecordedMachines) {
  if (recordedModels().empty()) {
    GTEST_SKIP() << "no recorded machines in " << sharedData() / "dumps";
  }
  Tally all;
  for (const std::string& model : recordedModels()) {
    const FaultShare share = faultShareOf(model);
    EXPECT_GT(share.all().faults, 10U) << model;
    EXPECT_EQ(share.hot.seen, share.hot.faults) << model;
    EXPECT_EQ(share.high.seen, share.high.faults) << model;
    all.take(share.all());
  }
  EXPECT_GE(all.seen * 100, all.faults * 97);
}

TEST(SensorCoverage, SeesAShortedSensorAndARailOutOfRegulationOnEveryModel) {
  for (const Model& model : shipped().tables.models()) {
    for (const Sensor& sensor : sensorsOf(model.identifier)) {
      SCOPED_TRACE(model.identifier + " " + sensor.key);
      if (sensor.part.kind == "Temperature" && isJudged(sensor)) {
        EXPECT_TRUE(isSeen(sensor, 125));
      }
      if (const auto volts = regulatedVoltageOf(sensor)) {
        ASSERT_TRUE(isJudged(sensor));
        EXPECT_TRUE(isSeen(sensor, *volts * 1.1));
        EXPECT_FALSE(isSeen(sensor, *volts * 1.05));
        EXPECT_FALSE(isSeen(sensor, *volts * 0.95));
        EXPECT_EQ(isSeen(sensor, *volts * 0.9), !isSwitched(sensor));
        EXPECT_EQ(isSeen(sensor, 0), !isSwitched(sensor));
      }
    }
  }
}

TEST(SensorCoverage, LetsEverythingRestAtRoomTemperatureOrReadZeroOnEveryModel) {
  for (const Model& model : shipped().tables.models()) {
    for (const Sensor& sensor : sensorsOf(model.identifier)) {
      SCOPED_TRACE(model.identifier + " " + sensor.key);
      if (isJudged(sensor) && sensor.part.kind == "Temperature") {
        EXPECT_FALSE(isSeen(sensor, 0))
            << "several healthy machines read 0 where nothing is fitted";
        EXPECT_FALSE(isSeen(sensor, 10));
        EXPECT_FALSE(isSeen(sensor, 40));
      }
      if (isJudged(sensor) && (sensor.part.kind == "Current" || sensor.part.kind == "Power")) {
        EXPECT_FALSE(isSeen(sensor, 0)) << "a load may be off";
      }
    }
  }
}

// ---- the document ------------------------------------------------------------------------------

/// How the key list of a model is known, in the document's words.
std::string sourceOf(const Model& model) {
  return model.relative.model.empty() ? model.list : "as " + model.relative.model;
}

std::string tableOfModels() {
  std::string text =
      "| Model | Name | Chip | Sensors | With limits | Key list |\n|---|---|---|---|---|---|\n";
  std::size_t sensors = 0;
  std::size_t limits = 0;
  for (const Model& model : shipped().tables.models()) {
    const auto& own = sensorsOf(model.identifier);
    const auto judged = static_cast<std::size_t>(std::count_if(own.begin(), own.end(), isJudged));
    sensors += own.size();
    limits += judged;
    text += "| " + model.identifier + " | " + model.name + " | " + model.chip + " | " +
            std::to_string(own.size()) + " | " + std::to_string(judged) + " | " + sourceOf(model) +
            " |\n";
  }
  return std::to_string(shipped().tables.models().size()) + " models, " + std::to_string(sensors) +
         " sensors, " + std::to_string(limits) + " of them with limits.\n\n" + text;
}

std::string cellOf(const Tally& tally) {
  return std::to_string(tally.seen) + " of " + std::to_string(tally.faults);
}

std::string rowOf(const std::string& name, const FaultShare& share) {
  const Tally all = share.all();
  return "| " + name + " | " + cellOf(share.hot) + " | " + cellOf(share.dead) + " | " +
         cellOf(share.high) + " | " + percent(all.seen, all.faults) + " |\n";
}

std::string joined(const std::vector<std::string>& texts) {
  std::string line;
  for (const std::string& text : texts) {
    line += (line.empty() ? "" : ", ") + text;
  }
  return line;
}

std::string tableOfFaults(const std::vector<std::string>& models) {
  std::string text =
      "| Model | Temperature of 125 oC | Rail at 0 V | Rail 20 % too high | Seen |\n"
      "|---|---|---|---|---|\n";
  std::string unseen;
  FaultShare sum;
  for (const std::string& model : models) {
    const FaultShare share = faultShareOf(model);
    text += rowOf(model, share);
    sum.hot.take(share.hot);
    sum.dead.take(share.dead);
    sum.high.take(share.high);
    unseen += share.unseen.empty() ? "" : "- " + model + ": " + joined(share.unseen) + "\n";
  }
  return text + rowOf("together", sum) + "\nNot seen:\n\n" + unseen;
}

std::string tableOfParts() {
  std::string text = "| Part | Low | High | Reason |\n|---|---|---|---|\n";
  std::string kind;
  for (const packer::TableRow& row : packer::readTable(kData / "parts.tsv", kPartColumns)) {
    const auto& f = row.fields;
    if (f[1] != kind) {
      kind = f[1];
      text += "| **" + kind + (f[2] == "-" ? "" : ", " + f[2]) + "** | | | |\n";
    }
    text += "| " + f[0] + " | " + f[3] + " | " + f[4] + " | " + f[6] +
            (f[5] == "yes" ? " On mains power only." : "") + " |\n";
  }
  return text;
}

TEST(SensorCoverage, GoldenTableOfPartsIsThatOfTheDocument) {
  expectInDocument("sensor-limits.md", "SensorCoverageTest parts", tableOfParts());
}

TEST(SensorCoverage, GoldenTableOfModelsIsThatOfTheDocument) {
  expectInDocument("database.md", "SensorCoverageTest models", tableOfModels());
}

TEST(SensorCoverage, GoldenTableOfFaultsIsThatOfTheDocument) {
  if (recordedModels().empty()) {
    GTEST_SKIP() << "no recorded machines in " << sharedData() / "dumps";
  }
  expectInDocument("database.md", "SensorCoverageTest faults", tableOfFaults(recordedModels()));
}

}  // namespace
}  // namespace halvarin::test
