#include "host/fans/FansCommand.h"

#include <iostream>
#include <memory>

#include "base/NumberText.h"
#include "base/PrintableText.h"
#include "host/Facade.h"
#include "host/MachineChoice.h"
#include "host/RecordJson.h"
#include "host/Terminal.h"
#include "host/Watch.h"
#include "host/fans/FanView.h"

namespace halvarin::host {

namespace {

WatchFrame fansFrame(QXHalvarin& facade, const std::string& heading) {
  const FansView view = readFansView(facade);
  requireFanCount();
  std::string text = heading + "\n";
  text += view.fans.empty() ? "This machine has no fans.\n"
                            : "Hottest reading: " + view.hottest + "\n\n";
  return {text, fansTable(view)};
}

void printFans(const WatchFrame& frame) {
  std::cout << frame.heading;
  if (!frame.table.isEmpty()) {
    frame.table.print(std::cout, mayColour());
  }
}

}  // namespace

Exit runFans(const Options& options) {
  const std::shared_ptr<QXHalvarin> facade = openFacade(options);
  if (options.json) {
    const ArrayRef fans = facade->readFans();
    requireFanCount();
    printJson(toJson(fans));
    return Exit::fine;
  }
  const std::string heading =
      printable(headingLine(machineHeading(options, facade->machineModel())));
  const auto frame = [&] { return fansFrame(*facade, heading); };
  if (options.watchInterval) {
    watch(*options.watchInterval, frame);
  } else {
    printFans(frame());
  }
  return Exit::fine;
}

}  // namespace halvarin::host
