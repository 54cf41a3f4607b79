#include "host/LostKeys.h"

#include <algorithm>
#include <iostream>
#include <optional>
#include <set>

#include "base/NumberText.h"
#include "base/PrintableText.h"
#include "base/Text.h"
#include "host/Controller.h"
#include "host/Exit.h"
#include "host/MachineChoice.h"
#include "smc/KeyCode.h"
#include "smc/KeyRecord.h"

namespace halvarin::host {

namespace {

constexpr std::string_view kCountKey = "#KEY";
constexpr const char* kAdvice =
    "; try again: the controller was busy, and another program may be reading it at the same time";

bool isWhole(const DictionaryRef& record) {
  return record && record->has(record::kDataSize);
}

/// The places of the controller's list whose keys were listed whole.
std::set<std::string> listedPlaces(const Dictionary& table) {
  std::set<std::string> places;
  for (const auto& [name, value] : table.entries()) {
    if (const DictionaryRef record = value.dictionary(); isWhole(record)) {
      places.insert(record->get(record::kIndex).text().string());
    }
  }
  return places;
}

/// The number of keys as the library has read it; absent when it has not.
std::optional<std::uint32_t> countRead(const Dictionary& table) {
  const DictionaryRef record = table.get(kCountKey).dictionary();
  const bool isRead =
      isWhole(record) && record->has(record::kValue) && record->get(record::kError).intValue() == 0;
  return isRead ? std::optional(record->get(record::kValue).unsignedIntValue()) : std::nullopt;
}

std::uint32_t countAsked(const Controller& controller, const Options& options) {
  const platform::RecordedKey key = controller.key(swappedCode(recordInteger(kCountKey)));
  if (exitFor(key.status) == Exit::noMachine) {
    refuseWithoutController(options);
  }
  if (key.status != 0) {
    throw ExitError(exitFor(key.status),
                    "the number of the controller's keys cannot be read (status " +
                        hexText(static_cast<std::uint32_t>(key.status)) + ")" + kAdvice);
  }
  std::uint32_t count = 0;
  for (const std::uint8_t byte : key.bytes) {
    count = (count << 8U) | byte;
  }
  return key.bytes.size() <= sizeof count ? count : 0;
}

/// The name of the key at a place that was not listed whole, "" when the controller does not tell
/// it; absent for a key that cannot be listed.
std::optional<std::string> lostAt(std::uint32_t index, const Controller& controller,
                                  const Dictionary& table) {
  SMCCallRecord request;
  SMCCallRecord reply;
  request.command = kSMCCmdReadKeyByIndex;
  request.data32 = index;
  if (controller.call(request, reply) != 0) {
    return "";
  }
  const auto name = reply.result == 0 ? codeText(swappedCode(reply.key)) : std::nullopt;
  const auto characters = name ? utf16(*name) : std::nullopt;
  const bool canBeListed = characters && characters->size() == 4;
  return canBeListed && !isWhole(table.get(*name).dictionary()) ? name : std::nullopt;
}

bool isAboutFans(Command command) {
  return command == Command::overview || command == Command::fans || command == Command::fan ||
         command == Command::testFans || command == Command::guardian;
}

bool isTest(Command command) {
  return command == Command::testSensors || command == Command::testFans;
}

}  // namespace

bool LostKeys::mayConcernFans() const {
  return std::any_of(names.begin(), names.end(),
                     [](const std::string& name) { return name.empty() || name.front() == 'F'; });
}

std::string LostKeys::text() const {
  if (isAll) {
    return "none of the controller's " + std::to_string(count) + " keys could be listed";
  }
  constexpr std::size_t kMostNamed = 5;
  std::string named;
  for (std::size_t i = 0; i < std::min(names.size(), kMostNamed); ++i) {
    named += (i > 0 ? ", " : "") + (names[i].empty() ? "one without a name" : names[i]);
  }
  named += names.size() > kMostNamed ? ", ..." : "";
  return std::to_string(names.size()) + " of the controller's " + std::to_string(count) + " keys " +
         (names.size() == 1 ? "was" : "were") + " not listed (" + named + ")";
}

LostKeys lostKeys(const QXSMCInterface& smc, const Options& options) {
  const DictionaryRef held = smc.keyDict();
  const DictionaryRef table = held ? held : Dictionary::make();
  const std::set<std::string> listed = listedPlaces(*table);
  LostKeys lost;
  const auto known = countRead(*table);
  if (known && listed.size() >= *known) {
    return lost;
  }
  const Controller controller(options);
  lost.count = known ? *known : countAsked(controller, options);
  for (std::uint32_t i = 0; i < lost.count; ++i) {
    if (listed.contains(std::to_string(i))) {
      continue;
    }
    if (auto name = lostAt(i, controller, *table)) {
      lost.names.push_back(std::move(*name));
    }
  }
  lost.isAll = listed.empty() && !lost.names.empty();
  return lost;
}

void requireListedKeys(const QXSMCInterface& smc, const Options& options) {
  const LostKeys lost = lostKeys(smc, options);
  if (lost.names.empty()) {
    return;
  }
  if (lost.isAll || isTest(options.command) ||
      (isAboutFans(options.command) && lost.mayConcernFans())) {
    throw ExitError(Exit::ownFailure, lost.text() + kAdvice);
  }
  std::cerr << "halvarin: " << printable(lost.text()) << kAdvice << "\n";
}

}  // namespace halvarin::host
