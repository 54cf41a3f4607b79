#include "host/LostKeys.h"

#include <IOKit/IOKitLib.h>

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
#include "platform/machine/ControllerProtocol.h"
#include "sensors/FanKey.h"
#include "smc/KeyCode.h"
#include "smc/KeyRecord.h"

namespace halvarin::host {

namespace {

constexpr std::string_view kCountKey = "#KEY";
constexpr const char* kAdvice =
    "; try again: the controller was busy, and another program may be reading it at the same time";

DictionaryRef tableOf(const QXSMCInterface& smc) {
  const DictionaryRef held = smc.keyDict();
  return held ? held : Dictionary::make();
}

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

/// Whether a status that a single key gave is no property of that key: it may be answered in a
/// moment.
bool isPassing(std::int32_t status, const Controller& controller) {
  return status == kIOReturnBusy || status == kIOReturnNoResources ||
         controller.key(swappedCode(recordInteger(kCountKey))).status != 0;
}

/// Whether a named key was lost for a moment alone: it is answered for now, or in a moment.
bool isDescribedNow(std::uint32_t wireKey, const Controller& controller) {
  SMCCallRecord request;
  SMCCallRecord reply;
  request.key = wireKey;
  request.command = kSMCCmdGetKeyInfo;
  const std::int32_t status = controller.call(request, reply);
  return status == 0 || isPassing(status, controller);
}

/// Whether a key may belong to the fans, going by its name; "" is for one that is not known.
bool mayBeOfFans(const std::string& name) {
  return name.empty() || name.front() == 'F';
}

/// Which lost keys are looked for.
enum class Wanted { all, ofFans };

/// The name of the key at a place that was not listed whole, "" when the controller does not tell
/// it at the moment; absent for a key that is not wanted or cannot be listed: its name is no text,
/// or the controller never tells what it is.
std::optional<std::string> lostAt(std::uint32_t index, Wanted wanted, const Controller& controller,
                                  const Dictionary& table) {
  SMCCallRecord request;
  SMCCallRecord reply;
  request.command = kSMCCmdReadKeyByIndex;
  request.data32 = index;
  if (const std::int32_t status = controller.call(request, reply); status != 0) {
    return isPassing(status, controller) ? std::optional<std::string>("") : std::nullopt;
  }
  const auto name = reply.result == 0 ? codeText(swappedCode(reply.key)) : std::nullopt;
  const auto characters = name ? utf16(*name) : std::nullopt;
  const bool canBeListed = characters && characters->size() == 4;
  const bool isWanted = canBeListed && (wanted == Wanted::all || mayBeOfFans(*name));
  const bool isMissing = isWanted && !isWhole(table.get(*name).dictionary());
  return isMissing && isDescribedNow(reply.key, controller) ? name : std::nullopt;
}

bool isAboutFans(Command command) {
  return command == Command::overview || command == Command::fans || command == Command::fan ||
         command == Command::testFans || command == Command::guardian;
}

bool isTest(Command command) {
  return command == Command::testSensors || command == Command::testFans;
}

/// Whether any lost key of the fans makes what the command says or does untrue.
bool needsAllOfFans(const Options& options) {
  return isAboutFans(options.command) && !options.handsFanBack;
}

/// Whether the controller has a key of this name; absent when it does not answer.
std::optional<bool> hasKey(std::string_view name, const Controller& controller) {
  SMCCallRecord request;
  SMCCallRecord reply;
  request.key = swappedCode(recordInteger(name));
  request.command = kSMCCmdGetKeyInfo;
  const bool isAnswered = controller.call(request, reply) == 0 &&
                          (reply.result == 0 || reply.result == platform::kResultKeyNotFound);
  return isAnswered ? std::optional(reply.result == 0) : std::nullopt;
}

/// The first key that may be lost of those without which a fan cannot be handed back, or only
/// seemingly; "" for none. They are asked for by name: of the list's places not every name is
/// known.
std::string lostForHandBack(std::uint32_t fan, const Controller& controller,
                            const Dictionary& table) {
  const auto isListed = [&table](const std::string& name) {
    return isWhole(table.get(name).dictionary());
  };
  std::string count(fan::kCountKey);
  if (!isListed(count) && hasKey(count, controller).value_or(true)) {
    return count;
  }
  std::string unanswered;
  for (std::string name : {fan::key(fan, fan::kModeSuffix), fan::key(fan, fan::kLowerModeSuffix),
                           std::string(fan::kForceBitsKey)}) {
    if (isListed(name)) {
      return "";  // a machine has only one of the three
    }
    const auto isThere = hasKey(name, controller);
    if (isThere.value_or(false)) {
      return name;
    }
    if (!isThere && unanswered.empty()) {
      unanswered = std::move(name);
    }
  }
  return unanswered;
}

/// Refuses to hand a fan back where that would only seem to be done. It is never refused for a key
/// that it can do without.
void requireKeysToHandBack(const LostKeys& lost, const Dictionary& table, const Options& options) {
  const Controller controller(options);
  const std::string name = lostForHandBack(options.fan, controller, table);
  if (name.empty()) {
    return;
  }
  const bool isNamed = std::find(lost.names.begin(), lost.names.end(), name) != lost.names.end();
  throw ExitError(Exit::ownFailure,
                  lost.text() + (isNamed ? "" : ", and " + name + " may be among them") + kAdvice);
}

/// Whether what the command would say or do without the lost keys is not true or not done.
bool isNeeded(const LostKeys& lost, const Options& options) {
  return lost.isAll || isTest(options.command) ||
         (needsAllOfFans(options) && lost.mayConcernFans());
}

}  // namespace

bool LostKeys::mayConcernFans() const {
  return std::any_of(names.begin(), names.end(), mayBeOfFans);
}

void LostKeys::add(std::string name) {
  const bool isFirstOfFans = mayBeOfFans(name) && !mayConcernFans();
  names.insert(isFirstOfFans ? names.begin() : names.end(), std::move(name));
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
  return std::string(isCut ? "at least " : "") + std::to_string(names.size()) +
         " of the controller's " + std::to_string(count) + " keys " +
         (names.size() == 1 ? "was" : "were") + " not listed (" + named + ")";
}

LostKeys lostKeys(const QXSMCInterface& smc, const Options& options) {
  const DictionaryRef table = tableOf(smc);
  const std::set<std::string> listed = listedPlaces(*table);
  LostKeys lost;
  const auto known = countRead(*table);
  if (known && listed.size() >= *known) {
    return lost;
  }
  const Controller controller(options);
  lost.count = known ? *known : countAsked(controller, options);
  // Each key that is busy takes its time, and a few tell as much as all, except where one of the
  // fans' tells more. Controllers list keys by their names: a gap before the fans' may reach into
  // them. Names alone are quickly asked for, and one that is not told ends it.
  constexpr std::size_t kEnough = 8;
  for (std::uint32_t i = 0; i < lost.count; ++i) {
    if (listed.contains(std::to_string(i))) {
      continue;
    }
    lost.isCut = lost.names.size() >= kEnough;
    if (lost.isCut && (!needsAllOfFans(options) || lost.mayConcernFans())) {
      break;
    }
    const Wanted wanted = lost.isCut ? Wanted::ofFans : Wanted::all;
    if (auto name = lostAt(i, wanted, controller, *table)) {
      lost.add(std::move(*name));
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
  if (isNeeded(lost, options)) {
    throw ExitError(Exit::ownFailure, lost.text() + kAdvice);
  }
  if (options.handsFanBack) {
    const DictionaryRef table = tableOf(smc);
    requireKeysToHandBack(lost, *table, options);
  }
  std::cerr << "halvarin: " << printable(lost.text()) << kAdvice << "\n";
}

}  // namespace halvarin::host
