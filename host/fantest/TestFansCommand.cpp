#include "host/fantest/TestFansCommand.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/Array.h"
#include "base/PrintableText.h"
#include "host/Controller.h"
#include "host/Exit.h"
#include "host/Facade.h"
#include "host/MachineChoice.h"
#include "host/RecordJson.h"
#include "host/Table.h"
#include "host/Terminal.h"
#include "host/fans/EndSignals.h"
#include "host/fans/FanRequest.h"
#include "host/fans/FanView.h"
#include "host/fantest/FanBatch.h"
#include "host/fantest/FanTestCsv.h"
#include "host/fantest/FanTestView.h"
#include "host/fantest/FanTestWatch.h"
#include "host/fantest/TestDisplay.h"
#include "selftest/QXFanTestManager.h"
#include "selftest/TestLog.h"
#include "selftest/TestStatus.h"
#include "sensors/FanKey.h"
#include "smc/KeyCode.h"

namespace halvarin::host {

namespace {

using Fans = std::vector<FanTestWatch::Fan>;

/// Whether the controller answers for the fan's least speed at all: one of 0 RPM may be meant so.
bool statesLeastSpeed(const FanView& fan, const Options& options) {
  if (fan.minimumRpm > 0) {
    return true;
  }
  const std::string key = fan::key(fan.index, fan::kMinimumSuffix);
  const auto answer = Controller(options).key(swappedCode(recordInteger(key)));
  return answer.status == 0 && answer.result == 0;
}

/// Throws ExitError for a fan that would be told to stop and judged by how well it does: its range
/// cannot be read, or the machine states none. No more than that is left of a key that the
/// controller never described, or that it refuses in its answer.
void requireStatedRange(const FanView& fan, const Options& options) {
  requireRange(fan);
  if (!(fan.minimumRpm < fan.maximumRpm) || !statesLeastSpeed(fan, options)) {
    throw ExitError(Exit::ownFailure, fanName(fan) + " states no range, so it cannot be tested");
  }
}

/// Selects the fans that the options ask for, all that may be tested without any.
Fans selectFans(const Options& options, QXHalvarin& facade) {
  const FansView view = readFansView(facade);
  requireFanCount();
  const auto& wanted = options.testedFans;
  for (const std::uint32_t fan : wanted) {
    if (fan >= view.fans.size()) {
      throw ExitError(Exit::usage, noSuchFan(fan, view.fans.size()));
    }
  }
  const auto tests = QXFanTestManager::sharedFTM()->fanTests();
  requireFanCount();  // the tests come of a reading of their own
  Fans fans;
  for (std::size_t i = 0; i < std::min(tests.size(), view.fans.size()); ++i) {
    const bool isWanted = std::find(wanted.begin(), wanted.end(), i) != wanted.end();
    if (!wanted.empty() && isWanted != tests[i]->selected()) {
      tests[i]->setSelected(isWanted);
    }
    if (tests[i]->selected()) {
      requireStatedRange(view.fans[i], options);
      fans.push_back({view.fans[i].index, fanName(view.fans[i]), tests[i], view.fans[i].isForced});
      if (view.fans[i].isForced) {
        std::cerr << "halvarin: " << fanName(view.fans[i])
                  << " is forced already; the test takes it over and hands it back\n";
      }
    } else if (isWanted) {
      std::cerr << "halvarin: fan " << i << " is not tested: only fans 0 to 14 can be\n";
    }
  }
  return fans;
}

/// One run of the command, from the machine to what is printed.
class FanTestRunner {
 public:
  explicit FanTestRunner(const Options& options)
      : options_(options),
        facade_(openFacadeForTest(options)),
        heading_(machineHeading(options, facade_->machineModel())),
        fans_(selectFans(options, *facade_)),
        isDrawn_(!options.json && isatty(STDOUT_FILENO) == 1) {}

  Exit run() {
    if (!options_.json) {
      std::cout << printable(headingLine(heading_)) << "\n" << std::endl;
    }
    if (fans_.empty()) {
      std::cerr << "halvarin: there was nothing to test"
                << (options_.testedFans.empty() ? ": the machine has no fan that can be tested"
                                                : "")
                << "\n";
      results_ = QXFanTestManager::sharedFTM()->fanTestResults();
    } else {
      test();
      if (unreleased_) {
        batch_.reset();  // nobody need read what is printed before its guardian acts
      }
      display_.finish();
      saveSamples();
    }
    print();
    if (unreleased_) {
      throw ExitError(*unreleased_);
    }
    return exitForTest(results_->get("status").textView());
  }

 private:
  void test() {
    watch_ = std::make_shared<FanTestWatch>(fans_, [this](const std::string& line) {
      if (!isDrawn_) {
        display_.say(line);
      }
    });
    batch_ = std::make_unique<FanBatch>(options_, facade_, fans_, watch_);
    const EndSignals signals([this] { batch_->askForEnd(); });
    std::signal(SIGTSTP, SIG_IGN);  // a suspended program could not hand its fans back
    auto [results, unreleased] = batch_->run([this](const FanTestWatch& watch) {
      if (isDrawn_) {
        display_.draw(progressFrame(watch.views()));
      }
    });
    results_ = std::move(results);
    unreleased_ = std::move(unreleased);
  }

  /// The results' entries with what the program knows beside them.
  struct Result {
    std::uint32_t index = 0;
    std::string name;
    std::string location;
    std::string status;
    FanSeen seen;
  };

  [[nodiscard]] std::vector<Result> results() const {
    std::vector<Result> all;
    const ArrayRef entries = results_->get("fanTestResults").array();
    for (std::size_t i = 0; i < fans_.size(); ++i) {
      const DictionaryRef entry = entries->at(i).dictionary();
      all.push_back({fans_[i].index, fans_[i].name, entry->get("location").text().string(),
                     entry->get("status").text().string(), watch_->seen(fans_[i].index)});
    }
    return all;
  }

  // ---- files ---------------------------------------------------------------------------------

  void saveSamples() const {
    if (!options_.csvUser) {
      return;
    }
    std::vector<std::string> taken;
    const auto tests = QXFanTestManager::sharedFTM()->fanTests();
    for (const Result& result : results()) {
      // Two fans of one name would share one file, and the later would replace the earlier.
      std::string user = *options_.csvUser;
      const std::string file = csvPath(result.location, facade_->machineModel(), user, {});
      if (std::find(taken.begin(), taken.end(), file) != taken.end()) {
        user += "-fan" + std::to_string(result.index);
      }
      taken.push_back(file);
      const auto test = result.index < tests.size() ? tests[result.index] : nullptr;
      const std::string path =
          test ? savedCsv(*test, facade_->machineModel(), user, result.seen.csvLines) : "";
      if (path.empty()) {
        std::cerr << printable("halvarin: the samples of " + result.name +
                               " could not be written to " + std::string(kFanCsvFolder) + "\n");
      } else {
        (options_.json ? std::cerr : std::cout)
            << printable("The samples of " + result.name + " are in " + path) << std::endl;
      }
    }
  }

  // ---- output --------------------------------------------------------------------------------

  void print() const {
    if (options_.json) {
      printJson(json());
      return;
    }
    const std::string status = results_->get("status").text().string();
    if (!fans_.empty()) {
      std::cout << (isDrawn_ ? "\n" : "");
      table().print(std::cout, mayColour());
      std::cout << "\n";
    }
    std::cout << "Fan self-test: " << status << ", " << fans_.size()
              << (fans_.size() == 1 ? " fan" : " fans")
              << (fans_.empty() ? ": nothing was tested" : "") << "\n";
  }

  [[nodiscard]] Json json() const {
    Json entries = Json::array();
    for (const Result& result : results()) {
      Json entry{{"index", result.index}, {"location", result.location}, {"status", result.status}};
      if (result.seen.lowestRpm && result.seen.highestRpm) {
        entry["lowestSpeed"] = *result.seen.lowestRpm;
        entry["highestSpeed"] = *result.seen.highestRpm;
      }
      entries.push_back(std::move(entry));
    }
    return {{"machine", toJson(heading_)},
            {"status", results_->get("status").text().string()},
            {"fanTestResults", std::move(entries)}};
  }

  [[nodiscard]] Table table() const {
    Table table({{"Fan"}, {"Lowest", Align::right}, {"Highest", Align::right}, {"Verdict"}});
    for (const Result& result : results()) {
      const auto speed = [](const std::optional<double>& rpm) {
        return rpm ? rpmText(*rpm) : std::string("not read");
      };
      table.addRow({{result.name},
                    {speed(result.seen.lowestRpm)},
                    {speed(result.seen.highestRpm)},
                    {result.status, result.status == status::kPassed ? Tone::good : Tone::bad}});
    }
    return table;
  }

  const Options& options_;
  const std::shared_ptr<QXHalvarin> facade_;
  const MachineHeading heading_;
  const Fans fans_;
  const bool isDrawn_;
  TestDisplay display_;  // ends after the guardian is told to act: it may wait for a terminal
  std::shared_ptr<FanTestWatch> watch_;  // null without a fan to test
  DictionaryRef results_;
  std::optional<ExitError> unreleased_;
  std::unique_ptr<FanBatch> batch_;  // null without a fan to test; to the end: its guardian
};

}  // namespace

Exit runTestFans(const Options& options) {
  return FanTestRunner(options).run();
}

}  // namespace halvarin::host
