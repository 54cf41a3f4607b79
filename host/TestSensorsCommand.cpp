#include "host/TestSensorsCommand.h"

#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "base/PrintableText.h"
#include "host/Facade.h"
#include "host/MachineChoice.h"
#include "host/PassView.h"
#include "host/RecordJson.h"
#include "host/SensorRows.h"
#include "host/Terminal.h"
#include "host/fans/EndSignals.h"
#include "platform/MainThread.h"
#include "selftest/QXSensorsTestManager.h"
#include "sensors/SensorUpdate.h"

namespace halvarin::host {

namespace {

/// Keeps the lines of the test and ends the waiting for them.
class Lines : public SensorsTestDelegate {
 public:
  void updateSensorProgress(const std::vector<std::string>& lines) override {
    lines_ = lines;
    platform::MainThread::stop();
  }
  [[nodiscard]] const std::vector<std::string>& all() const { return lines_; }

 private:
  std::vector<std::string> lines_;
};

struct TestRun {
  std::string status;
  std::vector<std::string> lines;
  DictionaryRef samples;
};

TestRun runTest() {
  const auto manager = QXSensorsTestManager::sensorTestManager();
  const auto delegate = std::make_shared<Lines>();
  manager->setDelegate(delegate);
  {
    const EndSignals signals([&manager] {
      manager->cancel();
      platform::MainThread::stop();
    });
    manager->startTesting();
    platform::MainThread::run();
  }
  return {manager->status(), delegate->all(), manager->samples()};
}

void printTest(const MachineHeading& heading, const TestRun& run) {
  std::cout << printable(headingLine(heading)) << "\n\n";
  for (const std::string& line : run.lines) {
    std::cout << printable(line) << "\n";
  }
  const bool onMains = isMainsPower(run.samples->get(update::kPowerSource).textView());
  Table table = sensorTable();
  for (const DictionaryRef& record : failedOf(*run.samples)) {
    table.addRow(sensorRow(*record, onMains));
  }
  if (!table.isEmpty()) {
    std::cout << "\nfailed\n";
    table.print(std::cout, mayColour());
  }
  std::cout << "\nSensor self-test: " << run.status << ", " << run.lines.size()
            << (run.lines.size() == 1 ? " reading" : " readings")
            << (run.lines.empty() ? ": nothing was tested" : "") << "\n";
}

}  // namespace

Exit runTestSensors(const Options& options) {
  const std::shared_ptr<QXHalvarin> facade = openFacadeForTest(options);
  const MachineHeading heading = machineHeading(options, facade->machineModel());
  const TestRun run = runTest();
  if (options.json) {
    printJson({{"machine", toJson(heading)}, {"status", run.status}, {"lines", run.lines}});
  } else {
    printTest(heading, run);
  }
  return exitForTest(run.status);
}

}  // namespace halvarin::host
