#include "host/OverviewCommand.h"

#include <iostream>
#include <memory>
#include <vector>

#include "base/PrintableText.h"
#include "host/Facade.h"
#include "host/MachineChoice.h"
#include "host/PassView.h"
#include "host/RecordJson.h"
#include "host/SensorRows.h"
#include "host/Terminal.h"
#include "host/UpdatePass.h"
#include "host/fans/FanView.h"
#include "sensors/SensorUpdate.h"

namespace halvarin::host {

namespace {

constexpr std::size_t kHottest = 5;

Json toJson(const std::vector<DictionaryRef>& records) {
  Json list = Json::array();
  for (const DictionaryRef& record : records) {
    list.push_back(halvarin::host::toJson(Value(record)));
  }
  return list;
}

void printOverviewJson(const MachineHeading& heading, const Dictionary& pass) {
  printJson({{"machine", halvarin::host::toJson(heading)},
             {"hottest", toJson(hottestOf(pass.get(update::kTemps), kHottest))},
             {"fans", halvarin::host::toJson(pass.get(update::kFans))},
             {"outside", toJson(outsideOf(pass))}});
}

void printSensors(const std::vector<DictionaryRef>& records, bool onMains) {
  Table table = sensorTable();
  for (const DictionaryRef& record : records) {
    table.addRow(sensorRow(*record, onMains));
  }
  table.print(std::cout, mayColour());
}

void printOverview(const QXHalvarin& facade, const MachineHeading& heading,
                   const Dictionary& pass) {
  const bool onMains = isMainsPower(pass.get(update::kPowerSource).textView());
  std::cout << printable(headingLine(heading)) << "\n\nhottest\n";
  printSensors(hottestOf(pass.get(update::kTemps), kHottest), onMains);
  const FansView fans = fansView(facade, *pass.get(update::kFans).array());
  std::cout << "\nfans\n";
  if (fans.fans.empty()) {
    std::cout << "This machine has no fans.\n";
  } else {
    fansTable(fans).print(std::cout, mayColour());
  }
  const auto outside = outsideOf(pass);
  std::cout << "\noutside limits\n";
  if (outside.empty()) {
    std::cout << "none\n";
  } else {
    printSensors(outside, onMains);
  }
  if (const std::size_t unread = unreadIn(pass); unread > 0) {
    std::cout << "\n" << unread << (unread == 1 ? " sensor was" : " sensors were") << " not read\n";
  }
}

}  // namespace

Exit runOverview(const Options& options) {
  const std::shared_ptr<QXHalvarin> facade = openFacade(options);
  const MachineHeading heading = machineHeading(options, facade->machineModel());
  const DictionaryRef pass = nextUpdatePass(*facade);
  if (options.json) {
    printOverviewJson(heading, *pass);
  } else {
    printOverview(*facade, heading, *pass);
  }
  return Exit::fine;
}

}  // namespace halvarin::host
