#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <variant>

#include "platform/Clock.h"
#include "tests/support/Machines.h"
#include "tests/support/SharedData.h"

namespace halvarin::test {

/// Makes the recorded machine of a model the current one.
inline InstalledMachine installRecorded(const std::string& model) {
  auto read = platform::readMachineFile(dumpPath(model));
  if (const auto* error = std::get_if<platform::MachineFileError>(&read)) {
    ADD_FAILURE() << error->message();
    return {};
  }
  platform::Simulation simulation;
  simulation.clock = std::make_shared<platform::ScaledClock>(0);  // a forced fan would move
  return install(std::get<platform::RecordedMachine>(std::move(read)), std::move(simulation));
}

/// A model as a part of a test's name.
inline std::string modelAsName(const testing::TestParamInfo<std::string>& model) {
  std::string name = model.param;
  std::replace(name.begin(), name.end(), ',', '_');
  return name;
}

}  // namespace halvarin::test
