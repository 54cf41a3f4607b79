#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "sensors/QXHalvarin.h"
#include "tests/support/Machines.h"
#include "tests/support/TestDatabase.h"

namespace halvarin::test {

/// How many transfers a facade's start takes on a machine with that many keys beside "#KEY": two to
/// ask for their number, two to list and one to read each.
inline std::uint64_t transfersOfStart(std::size_t keys) {
  return 2 + 3 * (keys + 1);
}

/// The record of a key; null when there is none.
inline DictionaryRef recordOf(const QXHalvarin& facade, std::string_view key) {
  for (const Value& each : facade.smcKeys()->elements()) {
    if (each.dictionary()->get("key").textView() == key) {
      return each.dictionary();
    }
  }
  return nullptr;
}

/// The keys of an array of records, in its order.
inline std::vector<std::string> keysOf(const ArrayRef& records) {
  std::vector<std::string> keys;
  for (const Value& each : records->elements()) {
    keys.push_back(each.dictionary()->get("key").text().string());
  }
  return keys;
}

/// A facade on a small machine whose model, "Test1,1", the database describes.
class FacadeTest : public testing::Test {
 protected:
  void startOn(platform::RecordedMachine machine, std::initializer_list<Descriptor> sensors,
               platform::Simulation simulation = {}) {
    embedDatabase(databaseOf("Test1,1", sensors));
    installed_ = install(std::move(machine), std::move(simulation));
    facade_ = QXHalvarin::init();
    ASSERT_TRUE(facade_);
    installed_.journal->clear();
    transfersAtStart_ = installed_.machine->transferCount();
  }
  void start(std::vector<platform::RecordedKey> keys, std::initializer_list<Descriptor> sensors,
             platform::Simulation simulation = {}) {
    startOn(machineWith(std::move(keys)), sensors, std::move(simulation));
  }

  [[nodiscard]] DictionaryRef record(std::string_view key) { return recordOf(*facade_, key); }
  /// The transfers since the start.
  [[nodiscard]] std::uint64_t transfers() {
    return installed_.machine->transferCount() - transfersAtStart_;
  }

  InstalledMachine installed_;
  std::shared_ptr<QXHalvarin> facade_;

 private:
  std::uint64_t transfersAtStart_ = 0;
};

}  // namespace halvarin::test
