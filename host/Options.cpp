#include "host/Options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cmath>
#include <iostream>
#include <string_view>

#include "base/HalvarinVersion.h"
#include "base/LikePattern.h"
#include "base/NumberText.h"
#include "host/Exit.h"
#include "platform/machine/BuiltInMachine.h"
#include "sensors/SensorCategory.h"

namespace halvarin::host {

namespace {

/// The texts of the command line, before they are understood.
struct RawOptions {
  std::string machine = "this";
  std::optional<std::string> latency;
  double clockFactor = 1;
  std::vector<std::string> faults;
  std::optional<std::string> category;
  std::optional<std::string> keyPattern;
  std::optional<std::string> journal;
};

[[noreturn]] void refuse(const std::string& line) {
  throw ExitError(Exit::usage, line);
}

std::string listedCategories() {
  std::string text;
  for (const SensorCategory& category : kSensorCategories) {
    text += (text.empty() ? "" : ", ") + std::string(category.name);
  }
  return text;
}

std::string listedModels() {
  std::string text;
  for (const std::string& model : platform::builtInModels()) {
    text += (text.empty() ? "" : ", ") + model;
  }
  return text;
}

std::string builtInModel(const std::string& text) {
  const std::vector<std::string> models = platform::builtInModels();
  if (std::find(models.begin(), models.end(), text) == models.end()) {
    refuse("there is no built-in machine \"" + text + "\"; there are: " + listedModels());
  }
  return text;
}

MachineOption machineOption(const std::string& text) {
  constexpr std::string_view kFile = "file:";
  constexpr std::string_view kSocket = "socket:";
  constexpr std::string_view kSimulated = "simulated:";
  if (text == "this") {
    return {};
  }
  if (text.rfind(kFile, 0) == 0 && text.size() > kFile.size()) {
    return {MachineOption::Kind::file, text.substr(kFile.size()), {}};
  }
  if (text.rfind(kSocket, 0) == 0 && text.size() > kSocket.size()) {
    return {MachineOption::Kind::socket, text.substr(kSocket.size()), {}};
  }
  if (text == "simulated") {
    return {MachineOption::Kind::simulated, {}, platform::builtInModels().front()};
  }
  if (text.rfind(kSimulated, 0) == 0) {
    return {MachineOption::Kind::simulated, {}, builtInModel(text.substr(kSimulated.size()))};
  }
  refuse("--machine takes this, simulated, simulated:MODEL (" + listedModels() +
         "), file:PATH or socket:PATH, not \"" + text + "\"");
}

std::chrono::nanoseconds latencyOption(const std::string& text) {
  struct Unit {
    std::string_view name;
    double nanoseconds;
  };
  constexpr std::array<Unit, 4> kUnits{{{"ns", 1}, {"us", 1e3}, {"ms", 1e6}, {"s", 1e9}}};
  constexpr double kMostNanoseconds = 60e9;
  const std::size_t unitAt = std::min(text.find_first_not_of("0123456789."), text.size());
  const auto number = wholeDecimal(std::string_view(text).substr(0, unitAt));
  for (const Unit& unit : kUnits) {
    const bool fits = number && unit.name == std::string_view(text).substr(unitAt);
    if (fits && *number * unit.nanoseconds <= kMostNanoseconds) {
      return std::chrono::nanoseconds(std::llround(*number * unit.nanoseconds));
    }
  }
  refuse("--latency takes a time up to 60s with its unit, as in 100us, 2ms or 0.5s, not \"" + text +
         "\"");
}

void checkCategory(const std::string& text) {
  const bool known =
      std::any_of(kSensorCategories.begin(), kSensorCategories.end(),
                  [&](const SensorCategory& category) { return category.name == text; });
  if (!known) {
    refuse("there is no category \"" + text + "\"; there are: " + listedCategories());
  }
}

void checkPattern(const std::string& text) {
  if (!likeCanMatchLength(text, 4)) {
    refuse("no key can match \"" + text +
           "\": keys have four characters; ? stands for one, * for any number of them");
  }
}

void checkTogether(const Options& options) {
  const bool simulates = options.latency.count() > 0 || options.clockFactor != 1 ||
                         !options.faults.empty() || !options.journalPath.empty();
  if (simulates && options.machine.kind == MachineOption::Kind::thisComputer) {
    refuse("--latency, --clock, --fault and --journal need --machine simulated or file:PATH");
  }
  if (simulates && options.machine.kind == MachineOption::Kind::socket) {
    refuse(
        "--latency, --clock, --fault and --journal belong to the process that serves the machine: "
        "they go without --machine socket:PATH");
  }
  constexpr double kSlowest = 0.001;
  constexpr double kFastest = 1e6;
  if (options.clockFactor != 0 &&
      !(options.clockFactor >= kSlowest && options.clockFactor <= kFastest)) {
    refuse("--clock takes 0 or a factor from 0.001 to 1000000");
  }
  if (options.allKeys && options.category) {
    refuse("--all-keys reads every key: it goes without a category");
  }
  if (options.dump && (options.json || options.keyPattern)) {
    refuse("--dump writes the whole machine in its own format: it goes without --json and PATTERN");
  }
}

Options understood(Options options, const RawOptions& raw) {
  options.machine = machineOption(raw.machine);
  if (raw.latency) {
    options.latency = latencyOption(*raw.latency);
  }
  if (raw.journal && raw.journal->empty()) {
    refuse("--journal takes the path of a file");
  }
  options.journalPath = raw.journal.value_or("");
  options.clockFactor = raw.clockFactor;
  for (const std::string& fault : raw.faults) {
    options.faults.push_back(parseFault(fault));
  }
  if (raw.category) {
    checkCategory(*raw.category);
  }
  if (raw.keyPattern) {
    checkPattern(*raw.keyPattern);
  }
  options.category = raw.category;
  options.keyPattern = raw.keyPattern;
  checkTogether(options);
  return options;
}

void addGlobalOptions(CLI::App& app, Options& options, RawOptions& raw) {
  app.add_option("--machine", raw.machine,
                 "this (default), simulated[:MODEL], file:PATH (a recorded machine) or socket:PATH "
                 "(a machine that another process serves)");
  app.add_option("--latency", raw.latency,
                 "simulated machines: time a transfer takes, as in 100us");
  app.add_option("--clock", raw.clockFactor,
                 "simulated machines: how much faster time runs; 0 stops it");
  app.add_option("--fault", raw.faults,
                 "simulated machines: KEY=VALUE, KEY=error:STATUS, "
                 "fan:N=stalled|slow|weak|deaf or vanish:N; may be repeated")
      ->allow_extra_args(false);
  app.add_option("--journal", raw.journal,
                 "simulated machines: write every call that the machine gets to a file");
  app.add_flag("--verbose", options.verbose, "show all log lines");
  app.add_flag_callback(
      "--version",
      [] {
        std::cout << "halvarin " << fixedText(HalvarinVersionNumber, 1) << "\n";
        throw CLI::Success();
      },
      "show the version");
}

void addCommands(CLI::App& app, Options& options, RawOptions& raw) {
  auto* sensors = app.add_subcommand("sensors", "every sensor with value, unit, limits, verdict");
  sensors->add_option("CATEGORY", raw.category, listedCategories());
  sensors->add_flag("--all-keys", options.allKeys, "every key of the controller, described or not");
  sensors->add_flag("--json", options.json, "one JSON value instead of a table");
  sensors->callback([&options] { options.command = Command::sensors; });

  auto* keys = app.add_subcommand("keys", "raw keys with type, size, bytes and integer value");
  keys->add_option("PATTERN", raw.keyPattern, "keys to show: ? is one character, * any number");
  keys->add_flag("--json", options.json, "one JSON value instead of a table");
  keys->add_flag("--dump", options.dump, "a machine file that --machine file:PATH takes");
  keys->callback([&options] { options.command = Command::keys; });

  auto* models = app.add_subcommand("models", "the models that the sensor database knows");
  models->add_flag("--json", options.json, "one JSON value instead of a table");
  models->callback([&options] { options.command = Command::models; });
}

std::string oneLine(std::string text) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text;
}

}  // namespace

std::optional<Options> parseOptions(int argumentCount, const char* const* arguments) {
  Options options;
  RawOptions raw;
  CLI::App app("Reads, judges and shows the sensors of a Macintosh computer.", "halvarin");
  app.fallthrough();
  app.require_subcommand(0, 1);
  app.footer(
      "Exits: 0 fine, 1 a test failed, 2 wrong usage, 3 no SMC, machine file unreadable or\n"
      "nobody serves the machine, 6 the output could not be written.");
  addGlobalOptions(app, options, raw);
  addCommands(app, options, raw);
  try {
    app.parse(argumentCount, arguments);
  } catch (const CLI::CallForHelp&) {
    std::cout << app.help();
    return std::nullopt;
  } catch (const CLI::Success&) {
    return std::nullopt;
  } catch (const CLI::ExtrasError& error) {
    const bool hasCommand = !app.get_subcommands().empty();
    refuse(oneLine(error.what()) + (hasCommand ? "; see 'halvarin --help'"
                                               : "; the commands are sensors, keys and models"));
  } catch (const CLI::ParseError& error) {
    refuse(oneLine(error.what()) + "; see 'halvarin --help'");
  }
  if (app.get_subcommands().empty()) {
    refuse("a command is missing: sensors, keys or models; see 'halvarin --help'");
  }
  return understood(std::move(options), raw);
}

}  // namespace halvarin::host
