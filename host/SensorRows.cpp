#include "host/SensorRows.h"

#include <string_view>

#include "base/PrintableText.h"
#include "sensors/SensorRecord.h"
#include "smc/KeyRecord.h"

namespace halvarin::host {

namespace {

std::string shown(const Dictionary& record, std::string_view entry) {
  return printable(record.get(entry).text().view());
}

}  // namespace

Table sensorTable() {
  return Table(
      {{"Key"}, {"Description"}, {"Value", Align::right}, {"Unit"}, {"Limits"}, {"Verdict"}});
}

std::vector<Cell> sensorRow(const Dictionary& record, bool onMains) {
  const bool wasRead = record.get(record::kError).intValue() == 0;
  const std::string unit = wasRead ? shown(record, record::kUnit) : "";
  return {{shown(record, record::kKey)},
          {shown(record, record::kDescription)},
          {shown(record, record::kValue)},
          {unit},
          {limitsOf(record)},
          verdictCell(verdictOf(record, onMains))};
}

}  // namespace halvarin::host
