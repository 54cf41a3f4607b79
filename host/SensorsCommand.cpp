#include "host/SensorsCommand.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "base/PrintableText.h"
#include "host/Facade.h"
#include "host/RecordJson.h"
#include "host/SensorRows.h"
#include "host/Table.h"
#include "host/Terminal.h"
#include "host/VerdictText.h"
#include "host/Watch.h"
#include "platform/SystemLog.h"
#include "sensors/QXHalvarin.h"
#include "sensors/SensorCategory.h"
#include "sensors/SensorUpdate.h"
#include "smc/KeyRecord.h"

namespace halvarin::host {

namespace {

/// A freshly read record and the category that it belongs to ("" for none).
struct Reading {
  DictionaryRef record;
  std::string category;
};

struct Readings {
  MachineHeading heading;
  bool onMains = false;
  std::vector<Reading> all;
};

void appendAll(const ArrayRef& records, const std::string& category, std::vector<Reading>& all) {
  for (const Value& each : records->elements()) {
    all.push_back({each.dictionary(), category});
  }
}

std::string categoryOf(const QXHalvarin& facade, const DictionaryRef& record) {
  for (const auto& [category, pattern, described] : kSensorCategories) {
    for (const Value& each : facade.sensorKeys()->get(category).array()->elements()) {
      if (each.dictionary() == record) {
        return std::string(category);
      }
    }
  }
  return {};
}

/// A reading of all keys logs each key of type "ui32", which says nothing to most people.
void quietAllKeysLog() {
  platform::setSystemLogSink([](std::string_view line) {
    if (line.substr(0, 5) != "ui32 ") {
      std::cerr << line << "\n";
    }
  });
}

void readAllKeys(QXHalvarin& facade, const Options& options, Readings& readings) {
  if (!options.verbose) {
    quietAllKeysLog();
  }
  for (const Value& each : facade.readSensorsOfType(std::nullopt, readings.onMains)->elements()) {
    readings.all.push_back({each.dictionary(), categoryOf(facade, each.dictionary())});
  }
  readings.onMains = false;  // that reading never applies limits that hold on mains only
}

Readings takeReadings(QXHalvarin& facade, const Options& options) {
  Readings readings;
  readings.heading = machineHeading(options, facade.machineModel());
  readings.onMains = isMainsPower(facade.powerSource());
  if (options.allKeys) {
    readAllKeys(facade, options, readings);
    return readings;
  }
  for (const auto& [category, pattern, described] : kSensorCategories) {
    if (!options.category || *options.category == category) {
      appendAll(facade.readSensorsOfType(category, readings.onMains), std::string(category),
                readings.all);
    }
  }
  return readings;
}

void printReadingsJson(const Readings& readings) {
  Json sensors = Json::array();
  for (const auto& [record, category] : readings.all) {
    Json json = toJson(record);
    if (!category.empty()) {
      json["category"] = category;
    }
    sensors.push_back(std::move(json));
  }
  printJson({{"machine", toJson(readings.heading)}, {"sensors", std::move(sensors)}});
}

std::size_t countOf(const Readings& readings, Finding finding) {
  return static_cast<std::size_t>(
      std::count_if(readings.all.begin(), readings.all.end(), [&](const Reading& each) {
        return verdictOf(*each.record, readings.onMains).finding == finding;
      }));
}

void printSummary(const Readings& readings) {
  const std::size_t outside = countOf(readings, Finding::outside);
  const std::size_t notRead = countOf(readings, Finding::notRead);
  std::cout << "\n"
            << readings.all.size() << (readings.all.size() == 1 ? " sensor, " : " sensors, ")
            << (outside == 0 ? "none" : std::to_string(outside)) << " outside "
            << (outside == 1 ? "its" : "their") << " limits"
            << (notRead == 0 ? "" : ", " + std::to_string(notRead) + " not read") << "\n";
}

void printReadingsTables(const Readings& readings, bool allKeys) {
  std::cout << printable(headingLine(readings.heading)) << "\n";
  for (std::size_t begin = 0; begin < readings.all.size();) {
    Table table = sensorTable();
    std::size_t end = begin;
    for (; end < readings.all.size() &&
           (allKeys || readings.all[end].category == readings.all[begin].category);
         ++end) {
      table.addRow(sensorRow(*readings.all[end].record, readings.onMains));
    }
    std::cout << "\n" << (allKeys ? "all keys" : readings.all[begin].category) << "\n";
    table.print(std::cout, mayColour());
    begin = end;
  }
  printSummary(readings);
}

/// All sensors in one table, so that a watch keeps its columns.
WatchFrame sensorsFrame(QXHalvarin& facade, const Options& options) {
  const Readings readings = takeReadings(facade, options);
  Table table = sensorTable();
  for (const Reading& reading : readings.all) {
    table.addRow(sensorRow(*reading.record, readings.onMains));
  }
  return {printable(headingLine(readings.heading)) + "\n\n", std::move(table)};
}

}  // namespace

Exit runSensors(const Options& options) {
  const std::shared_ptr<QXHalvarin> facade = openFacade(options);
  if (options.watchInterval) {
    watch(*options.watchInterval, [&] { return sensorsFrame(*facade, options); });
    return Exit::fine;
  }
  const Readings readings = takeReadings(*facade, options);
  if (options.json) {
    printReadingsJson(readings);
  } else {
    printReadingsTables(readings, options.allKeys);
  }
  return Exit::fine;
}

}  // namespace halvarin::host
