#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <variant>

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
  return install(std::get<platform::RecordedMachine>(std::move(read)));
}

/// A model as a part of a test's name.
inline std::string modelAsName(const testing::TestParamInfo<std::string>& model) {
  std::string name = model.param;
  std::replace(name.begin(), name.end(), ',', '_');
  return name;
}

}  // namespace halvarin::test
