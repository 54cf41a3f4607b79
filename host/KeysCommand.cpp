#include "host/KeysCommand.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "base/Array.h"
#include "base/LikePattern.h"
#include "base/NumberText.h"
#include "base/PrintableText.h"
#include "host/Facade.h"
#include "host/MachineChoice.h"
#include "host/MachineDump.h"
#include "host/RecordJson.h"
#include "host/Table.h"
#include "host/Terminal.h"
#include "smc/KeyRecord.h"
#include "smc/QXSMCInterface.h"

namespace halvarin::host {

namespace {

bool fits(const Dictionary& record, const Options& options) {
  const Value key = record.get(record::kKey);
  return !options.keyPattern ||
         (!key.isNothing() && matchesLike(key.textView(), *options.keyPattern));
}

/// The bytes of the value: those that one transfer carries, where the key is longer.
std::string bytesOf(const Dictionary& record) {
  const Data all = record.get(record::kDataBytes).data();
  const std::size_t size = record.get(record::kDataSize).unsignedIntValue();
  return hexBytes(all.bytes().first(std::min(size, all.size())));
}

Json keyJson(const Dictionary& record) {
  Json json = Json::object();
  for (const std::string_view entry : {record::kKey, record::kDataType, record::kDataSize}) {
    if (record.has(entry)) {
      json[std::string(entry)] = toJson(record.get(entry));
    }
  }
  if (record.has(record::kDataBytes)) {
    json["bytes"] = bytesOf(record);
  }
  for (const std::string_view entry : {record::kValue, record::kError}) {
    if (record.has(entry)) {
      json[std::string(entry)] = toJson(record.get(entry));
    }
  }
  return json;
}

std::vector<Cell> keyRow(const Dictionary& record) {
  const std::int32_t error = record.get(record::kError).intValue();
  const Value size = record.get(record::kDataSize);
  const bool wasRead = error == 0;
  return {{printable(record.get(record::kKey).text().view())},
          {printable(record.get(record::kDataType).text().view())},
          {size.isNothing() ? "" : std::to_string(size.longLongValue())},
          {wasRead ? std::to_string(record.get(record::kValue).longLongValue())
                   : "error " + hexText(static_cast<std::uint32_t>(error)),
           wasRead ? Tone::plain : Tone::bad},
          {wasRead ? bytesOf(record) : ""}};
}

void printKeys(const std::vector<DictionaryRef>& records, const MachineHeading& heading) {
  Table table({{"Key"}, {"Type"}, {"Size", Align::right}, {"Value", Align::right}, {"Bytes"}});
  for (const DictionaryRef& record : records) {
    table.addRow(keyRow(*record));
  }
  std::cout << printable(headingLine(heading)) << "\n\n";
  table.print(std::cout, mayColour());
  std::cout << "\n" << records.size() << (records.size() == 1 ? " key\n" : " keys\n");
}

void printKeysJson(const std::vector<DictionaryRef>& records) {
  Json list = Json::array();
  for (const DictionaryRef& record : records) {
    list.push_back(keyJson(*record));
  }
  printJson(list);
}

}  // namespace

Exit runKeys(const Options& options) {
  chooseMachine(options);
  if (options.dump) {
    std::cout << dumpMachine(options);
    return Exit::fine;
  }
  const auto smc = QXSMCInterface::sharedSMC();
  if (!smc) {
    refuseWithoutController(options);
  }
  requireAccess(*smc, options);
  std::vector<DictionaryRef> records;
  const ArrayRef all = smc->listKeysWithData();
  for (const Value& each : all->elements()) {
    if (fits(*each.dictionary(), options)) {
      records.push_back(each.dictionary());
    }
  }
  if (options.json) {
    printKeysJson(records);
  } else {
    printKeys(records, machineHeading(options, systemText("hw.model")));
  }
  return Exit::fine;
}

}  // namespace halvarin::host
