#include <exception>
#include <iostream>

#include "base/PrintableText.h"
#include "host/DescriptorsCommand.h"
#include "host/Exit.h"
#include "host/KeysCommand.h"
#include "host/ModelsCommand.h"
#include "host/Options.h"
#include "host/OverviewCommand.h"
#include "host/SensorsCommand.h"
#include "host/Terminal.h"
#include "host/TestSensorsCommand.h"
#include "host/fans/FanCommand.h"
#include "host/fans/FansCommand.h"
#include "host/fans/GuardianCommand.h"
#include "host/fantest/TestFansCommand.h"

namespace {

using halvarin::host::Command;
using halvarin::host::Exit;
using halvarin::host::Options;

Exit run(const Options& options) {
  switch (options.command) {
    case Command::overview:
      return halvarin::host::runOverview(options);
    case Command::fans:
      return halvarin::host::runFans(options);
    case Command::fan:
      return halvarin::host::runFan(options);
    case Command::testSensors:
      return halvarin::host::runTestSensors(options);
    case Command::testFans:
      return halvarin::host::runTestFans(options);
    case Command::guardian:
      return halvarin::host::runGuardian(options);
    case Command::sensors:
      return halvarin::host::runSensors(options);
    case Command::keys:
      return halvarin::host::runKeys(options);
    case Command::models:
      return halvarin::host::runModels(options);
    case Command::descriptors:
      return halvarin::host::runDescriptors(options);
  }
  return Exit::usage;
}

Exit runReported(int argumentCount, const char* const* arguments) {
  try {
    const auto options = halvarin::host::parseOptions(argumentCount, arguments);
    return options ? run(*options) : Exit::fine;
  } catch (const halvarin::host::ExitError& error) {
    std::cerr << "halvarin: " << halvarin::printable(error.what()) << "\n";
    return error.exit();
  } catch (const std::exception& error) {
    std::cerr << "halvarin: internal fault: " << halvarin::printable(error.what()) << "\n";
    return Exit::ownFailure;
  }
}

}  // namespace

int main(int argumentCount, char** arguments) {
  halvarin::host::occupyStandardDescriptors();
  Exit exit = runReported(argumentCount, arguments);
  std::cout.flush();
  // A shortened list or dump must not look like a whole one.
  if (!std::cout) {
    std::cerr << "halvarin: the output could not be written\n";
    exit = exit == Exit::fine ? Exit::ownFailure : exit;
  }
  return static_cast<int>(exit);
}
