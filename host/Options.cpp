#include "host/Options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <iostream>
#include <limits>
#include <string_view>

#include "base/HalvarinVersion.h"
#include "base/LikePattern.h"
#include "base/NumberText.h"
#include "host/Exit.h"
#include "platform/machine/CurrentMachine.h"
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
  std::optional<std::string> watch;
  std::optional<std::string> fan;
  std::optional<std::string> speed;
  std::vector<std::string> testedFans;
  std::optional<std::string> csvUser;
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

std::chrono::nanoseconds watchInterval(const std::string& text) {
  constexpr double kShortest = 0.1;
  constexpr double kLongest = 3600;
  const auto seconds = wholeDecimal(text);
  if (!seconds || *seconds < kShortest || *seconds > kLongest) {
    refuse("--watch takes seconds from 0.1 to 3600, as in --watch=2, not \"" + text + "\"");
  }
  return std::chrono::nanoseconds(std::llround(*seconds * 1e9));
}

std::uint32_t fanNumber(const std::string& text) {
  const auto fan = wholeNumber(text);
  if (!fan || *fan > std::numeric_limits<std::uint32_t>::max()) {
    refuse("\"" + text + "\" is not the number of a fan; fans are numbered from 0");
  }
  return static_cast<std::uint32_t>(*fan);
}

void understandFan(const RawOptions& raw, Options& options) {
  constexpr std::uint32_t kMostRpm = 65535;  // what the command takes
  if (!raw.fan || !raw.speed) {
    refuse("fan takes the number of a fan and auto or a speed, as in fan 0 3000 or fan 0 auto");
  }
  options.fan = fanNumber(*raw.fan);
  options.handsFanBack = *raw.speed == "auto";
  const auto speed = wholeNumber(*raw.speed);
  if (!options.handsFanBack && (!speed || *speed > kMostRpm)) {
    refuse("a fan takes auto or a speed from 0 to 65535 RPM, not \"" + *raw.speed + "\"");
  }
  options.speedRpm = static_cast<std::uint32_t>(speed.value_or(0));
}

void understandTestFans(const RawOptions& raw, Options& options) {
  constexpr std::size_t kLongestUser = 64;
  for (const std::string& fan : raw.testedFans) {
    options.testedFans.push_back(fanNumber(fan));
  }
  options.csvUser = raw.csvUser;
  if (raw.csvUser && (raw.csvUser->empty() || raw.csvUser->size() > kLongestUser ||
                      raw.csvUser->find('/') != std::string::npos)) {
    refuse("--csv takes a name for the files, of 1 to 64 characters without \"/\"");
  }
}

void checkFan(const Options& options) {
  if (options.handsFanBack && (options.force || options.leave)) {
    refuse("--force and --leave go with a speed, not with auto");
  }
  const auto kind = options.machine.kind;
  if (options.leave &&
      (kind == MachineOption::Kind::simulated || kind == MachineOption::Kind::file)) {
    refuse(
        "--leave leaves a fan forced, and a simulated or recorded machine ends with the program");
  }
  if (options.json) {
    refuse("fan goes without --json; fans --json lists the fans");
  }
}

void checkSimulation(const Options& options) {
  const bool simulates =
      options.latency.count() > 0 || !options.faults.empty() || !options.journalPath.empty();
  if ((simulates || options.clockFactor != 1) &&
      options.machine.kind == MachineOption::Kind::thisComputer) {
    refuse(std::string("--latency, --clock, --fault and --journal need ") +
           (platform::machineMayBeChosen() ? "--machine simulated or file:PATH"
                                           : "a simulated machine, and here the program works on "
                                             "this computer alone"));
  }
  if (simulates && options.machine.kind == MachineOption::Kind::socket) {
    refuse(
        "--latency, --fault and --journal belong to the process that serves the machine: they go "
        "without --machine socket:PATH");
  }
  checkClockFactor(options.clockFactor);
}

void checkWatch(const Options& options) {
  if (options.watchInterval && options.json) {
    refuse("--watch shows tables again and again: it goes without --json");
  }
  if (options.watchInterval && options.clockFactor == 0) {
    refuse("--watch never ends its first wait with --clock 0");
  }
}

void checkTogether(const Options& options) {
  checkSimulation(options);
  checkWatch(options);
  if (options.command == Command::testFans && options.clockFactor == 0) {
    refuse("test fans waits for fans, and none turns with --clock 0");
  }
  if (options.command == Command::fan) {
    checkFan(options);
  }
  if (options.allKeys && options.category) {
    refuse("--all-keys reads every key: it goes without a category");
  }
  if (options.dump && (options.json || options.keyPattern)) {
    refuse("--dump writes the whole machine in its own format: it goes without --json and PATTERN");
  }
}

Options understood(Options options, const RawOptions& raw) {
  options.machine = parseMachine(raw.machine);
  if (raw.latency) {
    options.latency = parseLatency(*raw.latency);
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
  if (raw.watch) {
    options.watchInterval = watchInterval(*raw.watch);
  }
  if (options.command == Command::fan) {
    understandFan(raw, options);
  }
  if (options.command == Command::testFans) {
    understandTestFans(raw, options);
  }
  options.category = raw.category;
  options.keyPattern = raw.keyPattern;
  checkTogether(options);
  return options;
}

/// Every option that goes with another machine than this computer is understood everywhere and
/// named to people where there can be one.
void addMachineOptions(CLI::App& app, RawOptions& raw) {
  const bool mayBeChosen = platform::machineMayBeChosen();
  app.add_option("--machine", raw.machine,
                 mayBeChosen ? "this (default), simulated[:MODEL], file:PATH (a recorded machine) "
                               "or socket:PATH (a machine that another process serves)"
                             : "this (default): here the program works on this computer alone");
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
  for (const char* name : {"--latency", "--clock", "--fault", "--journal"}) {
    CLI::Option* const option = app.get_option(name);
    option->group(mayBeChosen ? option->get_group() : "");  // none: not shown
  }
}

void addGlobalOptions(CLI::App& app, Options& options, RawOptions& raw) {
  addMachineOptions(app, raw);
  app.add_flag("--json", options.json, "the overview as one JSON value");
  app.add_flag("--verbose", options.verbose, "show all log lines");
  app.add_flag_callback(
      "--version",
      [] {
        std::cout << "halvarin " << fixedText(HalvarinVersionNumber, 1) << "\n";
        throw CLI::Success();
      },
      "show the version");
}

constexpr const char* kJsonHelp = "one JSON value instead of a table";
constexpr const char* kWatchHelp = "again and again, every S seconds (1 without =S), until Ctrl-C";

CLI::App* addCommand(CLI::App& app, Options& options, Command command, const char* name,
                     const char* help) {
  auto* added = app.add_subcommand(name, help);
  added->callback([&options, command] { options.command = command; });
  return added;
}

void addFanCommands(CLI::App& app, Options& options, RawOptions& raw) {
  auto* fans = addCommand(app, options, Command::fans, "fans", "every fan");
  fans->add_option("--watch", raw.watch, kWatchHelp)->type_name("[=S]");
  fans->add_flag("--json", options.json, kJsonHelp);

  auto* fan = addCommand(app, options, Command::fan, "fan",
                         "force a fan until Ctrl-C, or hand it back: fan 0 3000, fan 0 auto");
  fan->add_option("N", raw.fan, "the number of the fan");
  fan->add_option("SPEED", raw.speed, "auto, or RPM");
  fan->add_flag("--force", options.force, "also outside the fan's own range");
  fan->add_flag("--leave", options.leave, "leave the fan forced and return at once");
}

void addTests(CLI::App& app, Options& options, RawOptions& raw) {
  auto* test = app.add_subcommand("test", "self-tests: sensors, fans");
  auto* sensors = addCommand(*test, options, Command::testSensors, "sensors",
                             "judges every temperature, voltage, current, power and light");
  sensors->add_flag("--json", options.json, kJsonHelp);
  auto* fans = addCommand(*test, options, Command::testFans, "fans",
                          "takes every fan to its highest and its least speed");
  fans->add_option("--fan", raw.testedFans, "the number of a fan to test; may be repeated")
      ->allow_extra_args(false);
  fans->add_option("--csv", raw.csvUser, "write each fan's samples to a file of that name's")
      ->type_name("USER");
  fans->add_flag("--json", options.json, kJsonHelp);
}

void addCommands(CLI::App& app, Options& options, RawOptions& raw) {
  auto* sensors = addCommand(app, options, Command::sensors, "sensors",
                             "every sensor with value, unit, limits, verdict");
  sensors->add_option("CATEGORY", raw.category, listedCategories());
  sensors->add_flag("--all-keys", options.allKeys, "every key of the controller, described or not");
  sensors->add_option("--watch", raw.watch, kWatchHelp)->type_name("[=S]");
  sensors->add_flag("--json", options.json, kJsonHelp);
  addFanCommands(app, options, raw);
  addTests(app, options, raw);

  auto* keys = addCommand(app, options, Command::keys, "keys",
                          "raw keys with type, size, bytes and integer value");
  keys->add_option("PATTERN", raw.keyPattern, "keys to show: ? is one character, * any number");
  keys->add_flag("--json", options.json, kJsonHelp);
  keys->add_flag("--dump", options.dump, "a machine file that --machine file:PATH takes");

  auto* models = addCommand(app, options, Command::models, "models",
                            "the models that the sensor database knows");
  models->add_flag("--json", options.json, kJsonHelp);
  auto* descriptors = addCommand(app, options, Command::descriptors, "descriptors",
                                 "the names of all sensors that the database knows, by kind");
  descriptors->add_flag("--json", options.json, kJsonHelp);
  auto* guardian = addCommand(app, options, Command::guardian, kGuardianCommand, "");
  guardian->add_option("N", options.guardedFans, "the fans that may be forced")->required();
  guardian->group("");
}

/// The command line with an interval in every --watch: a word after it is never its interval.
std::vector<std::string> withWatchIntervals(int argumentCount, const char* const* arguments) {
  std::vector<std::string> words;
  for (int i = argumentCount - 1; i > 0; --i) {  // last first, as the parser takes them
    const std::string word = arguments[i];
    words.push_back(word == "--watch" ? "--watch=1" : word);
  }
  return words;
}

std::string oneLine(std::string text) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text;
}

/// The words that may stand where an unknown one stood.
std::string whatThereIs(const CLI::App& app) {
  if (app.got_subcommand("test")) {
    return "; the tests are: sensors, fans";
  }
  return app.get_subcommands().empty()
             ? "; the commands are sensors, fans, fan, test, keys, models and descriptors"
             : "; see 'halvarin --help'";
}

}  // namespace

std::optional<Options> parseOptions(int argumentCount, const char* const* arguments) {
  Options options;
  RawOptions raw;
  CLI::App app(
      "Reads, judges and shows the sensors of a Macintosh computer, and commands its fans.",
      "halvarin");
  app.fallthrough();
  app.require_subcommand(0, 1);
  app.footer(
      "Without a command: the machine, its hottest sensors, its fans, what is outside its limits.\n"
      "Exits: 0 fine, 1 a test failed, 2 wrong usage, 3 no SMC, machine file unreadable or\n"
      "nobody serves the machine, 4 canceled, 5 not permitted, 6 not done, or the output could "
      "not\n"
      "be written.\n");
  addGlobalOptions(app, options, raw);
  addCommands(app, options, raw);
  try {
    app.parse(withWatchIntervals(argumentCount, arguments));
  } catch (const CLI::CallForHelp&) {
    std::cout << app.help();
    return std::nullopt;
  } catch (const CLI::Success&) {
    return std::nullopt;
  } catch (const CLI::ExtrasError& error) {
    refuse(oneLine(error.what()) + whatThereIs(app));
  } catch (const CLI::ParseError& error) {
    refuse(oneLine(error.what()) + "; see 'halvarin --help'");
  }
  if (app.got_subcommand("test") && options.command != Command::testSensors &&
      options.command != Command::testFans) {
    refuse("test takes what to test" + whatThereIs(app));
  }
  return understood(std::move(options), raw);
}

}  // namespace halvarin::host
