#include "host/fans/FanRelease.h"

#include <algorithm>
#include <chrono>

#include "base/NotificationCenter.h"
#include "host/Exit.h"
#include "host/fans/FanView.h"
#include "platform/HostServices.h"
#include "platform/Queue.h"
#include "sensors/FanKey.h"
#include "smc/KeyRecord.h"
#include "smc/QXSMCInterface.h"

namespace halvarin::host {

namespace {

DictionaryRef readKey(std::string_view key) {
  const auto smc = QXSMCInterface::sharedSMC();
  return smc ? smc->SMCReadKey(key) : nullptr;
}

/// The key by which the machine lets a fan be forced, read afresh.
struct FanControlKey {
  std::string name;
  DictionaryRef record;  // null when the machine has none
  bool isForceBits = false;

  /// Whether it was listed whole: without a size nothing can be read from it or written to it, and
  /// the controller takes both for done.
  [[nodiscard]] bool isKnown() const { return sizeBytes() != 0; }
  /// Another thread's reading of the same key may have failed since and have left its text.
  [[nodiscard]] bool isRead() const {
    return isKnown() && record->get(record::kError).intValue() == 0 &&
           !record->get(record::kValue).textView().starts_with("error");
  }
  [[nodiscard]] std::uint32_t number() const {
    return record->get(record::kValue).unsignedIntValue();
  }
  [[nodiscard]] std::uint32_t sizeBytes() const {
    return record ? record->get(record::kDataSize).unsignedIntValue() : 0;
  }
};

FanControlKey readControlKey(std::uint32_t fan) {
  for (const std::string_view suffix : {fan::kModeSuffix, fan::kLowerModeSuffix}) {
    const std::string key = fan::key(fan, suffix);
    if (const DictionaryRef record = readKey(key)) {
      return {key, record};
    }
  }
  return {std::string(fan::kForceBitsKey), readKey(fan::kForceBitsKey), true};
}

std::uint32_t forceBit(std::uint32_t fan) {
  return std::uint32_t{1} << (fan % 32);
}

constexpr std::uint32_t kForcedMode = 1;

/// Whether the machine shows that nobody forces the fan; false when it does not say.
bool isSeenAutomatic(std::uint32_t fan) {
  const FanControlKey key = readControlKey(fan);
  return key.isRead() &&
         (key.isForceBits ? (key.number() & forceBit(fan)) == 0 : key.number() != kForcedMode);
}

/// The bytes of a record as the number whose writing puts them back as they are; absent for sizes
/// that are not written whole.
std::optional<std::uint32_t> heldNumber(const Dictionary& record) {
  const std::uint32_t size = record.get(record::kDataSize).unsignedIntValue();
  const Data data = record.get(record::kDataBytes).data();
  if ((size != 1 && size != 2 && size != 4) || data.size() < size) {
    return std::nullopt;
  }
  std::uint32_t number = 0;
  for (std::uint32_t i = 0; i < size; ++i) {
    number = (number << 8U) | data.bytes()[i];
  }
  return number;
}

/// What may be written to a key, given what it holds; absent for nothing.
using Harmless = std::optional<std::uint32_t> (*)(std::uint32_t held, std::uint32_t fan);

/// The status of reading a key or else of writing to it what does no harm; 0 when both work and for
/// keys that the machine does not have.
std::int32_t keyStatus(const std::string& key, std::uint32_t fan, Harmless harmless) {
  const DictionaryRef record = readKey(key);
  const std::int32_t readStatus = record ? record->get(record::kError).intValue() : 0;
  if (!record || readStatus != 0) {
    return readStatus;
  }
  const auto held = heldNumber(*record);
  const auto written = held ? harmless(*held, fan) : std::nullopt;
  const std::uint32_t size = record->get(record::kDataSize).unsignedIntValue();
  return written ? QXSMCInterface::sharedSMC()->SMCWriteKey(key, *written, size) : 0;
}

// Whoever holds the fan or the flag may hand it back between the look and the write. To write back
// that it is forced would force it again, and nobody would answer for that.

std::int32_t testFlagStatus() {
  return keyStatus(std::string(fan::kTestFlagKey), 0, [](std::uint32_t held, std::uint32_t) {
    return held == 0 ? std::optional(held) : std::nullopt;
  });
}

std::optional<std::uint32_t> withoutBit(std::uint32_t held, std::uint32_t fan) {
  return held & ~forceBit(fan);
}

std::optional<std::uint32_t> withoutForce(std::uint32_t held, std::uint32_t /*fan*/) {
  return held == kForcedMode ? 0 : held;
}

// A fan that is being tested must not be handed back by the question whether it may be forced.

std::optional<std::uint32_t> bitsOfNoForcedFan(std::uint32_t held, std::uint32_t /*fan*/) {
  return held == 0 ? std::optional(held) : std::nullopt;
}

std::optional<std::uint32_t> modeOfNoForcedFan(std::uint32_t held, std::uint32_t /*fan*/) {
  return held == kForcedMode ? std::nullopt : std::optional(held);
}

std::int32_t targetStatus(std::uint32_t fan) {
  return keyStatus(fan::key(fan, fan::kTargetSuffix), fan,
                   [](std::uint32_t held, std::uint32_t) { return std::optional(held); });
}

/// Clears the fan's mode key or force bit without asking how many fans there are: the fan is known,
/// for it was forced.
bool releaseByKey(std::uint32_t fan) {
  const FanControlKey key = readControlKey(fan);
  if (!key.isKnown() || (key.isForceBits && !key.isRead())) {
    return false;
  }
  const std::uint32_t released = key.isForceBits ? key.number() & ~forceBit(fan) : 0;
  return QXSMCInterface::sharedSMC()->SMCWriteKey(key.name, released, key.sizeBytes()) == 0;
}

bool handBackFan(QXHalvarin& facade, std::uint32_t fan) {
  return isControlRead(fan) && (facade.setFanMode(0, fan) || releaseByKey(fan));
}

/// Whether anybody holds a fan that is not in the list.
enum class Others { hold, holdNone, unknown };

Others othersBeside(QXHalvarin& facade, const std::vector<std::uint32_t>& own) {
  const FansView view = readFansView(facade);
  Others others = fanCountStatus() ? Others::unknown : Others::holdNone;
  for (const FanView& fan : view.fans) {
    if (std::find(own.begin(), own.end(), fan.index) != own.end()) {
      continue;
    }
    if (fan.isForced) {
      return Others::hold;
    }
    others = fan.controlStatus != 0 ? Others::unknown : others;
  }
  return others;
}

/// Switches the flag off unless another's fan would drop with it. False when that did not work, or
/// when nobody can say.
bool releaseTestFlag(QXHalvarin& facade, const std::vector<std::uint32_t>& own) {
  if (!testFlagMayBeOn()) {
    return true;
  }
  const Others others = othersBeside(facade, own);
  return others == Others::hold || (others == Others::holdNone && facade.setFanEnable(false));
}

/// Whether no further try can help: the system does not let this user write, or the process that
/// served the machine is gone. A driver that is not there may come back, with the fan as it was.
bool isHopeless(std::optional<std::int32_t> status, MachineOption::Kind machine) {
  const Exit exit = status ? exitFor(*status) : Exit::fine;
  return exit == Exit::notPermitted ||
         (exit == Exit::noMachine && machine == MachineOption::Kind::socket);
}

/// Whether that holds for all that is left: a user may be allowed one fan and not another.
bool isAllHopeless(const GuardedFans& forced, MachineOption::Kind machine) {
  const auto isLost = [machine](std::uint32_t fan) {
    return isSeenAutomatic(fan) || isHopeless(fanCommandStatus(fan), machine);
  };
  const bool isAnyLeft = !areSeenAutomatic(forced.fans);
  return isAnyLeft ? std::all_of(forced.fans.begin(), forced.fans.end(), isLost)
                   : isHopeless(releaseStatus(forced), machine);
}

}  // namespace

bool areSeenAutomatic(const std::vector<std::uint32_t>& fans) {
  return std::all_of(fans.begin(), fans.end(), isSeenAutomatic);
}

bool handBackFans(QXHalvarin& facade, const GuardedFans& forced) {
  bool done = true;
  for (const std::uint32_t fan : forced.fans) {
    done = handBackFan(facade, fan) && done;
  }
  if (forced.testFlag) {
    done = releaseTestFlag(facade, forced.fans) && done;
  }
  return done && areSeenAutomatic(forced.fans);
}

bool handBackPersistently(QXHalvarin& facade, const GuardedFans& forced,
                          MachineOption::Kind machine) {
  constexpr int kQuickTries = 15;
  constexpr int kAllTries = 315;
  constexpr std::chrono::milliseconds kQuickPause(100);
  constexpr std::chrono::milliseconds kSlowPause(1000);
  const platform::Semaphore never;
  for (int i = 0; i < kAllTries; ++i) {
    if (handBackFans(facade, forced)) {
      return true;
    }
    if (i >= kQuickTries && isAllHopeless(forced, machine)) {
      return false;
    }
    static_cast<void>(never.wait(i < kQuickTries ? kQuickPause : kSlowPause));
  }
  return false;
}

bool isControlRead(std::uint32_t fan) {
  const FanControlKey key = readControlKey(fan);
  return !key.isForceBits || key.isRead();
}

bool canHandBack(std::uint32_t fan) {
  return readControlKey(fan).isKnown();
}

void endFanUse(QXHalvarin& facade) {
  if (othersBeside(facade, {}) == Others::holdNone) {
    NotificationCenter::defaultCenter().post(
        {std::string(platform::kApplicationWillTerminate), nullptr, nullptr});
  }
}

bool hasTestFlag() {
  return readKey(fan::kTestFlagKey) != nullptr;
}

bool testFlagMayBeOn() {
  const DictionaryRef flag = readKey(fan::kTestFlagKey);
  return flag && (flag->get(record::kError).intValue() != 0 ||
                  flag->get(record::kValue).unsignedIntValue() != 0);
}

std::int32_t controlStatus(std::uint32_t fan, Probe probe) {
  const FanControlKey key = readControlKey(fan);
  if (probe == Probe::leavesForced) {
    return keyStatus(key.name, fan, key.isForceBits ? bitsOfNoForcedFan : modeOfNoForcedFan);
  }
  return keyStatus(key.name, fan, key.isForceBits ? withoutBit : withoutForce);
}

std::optional<std::int32_t> fanCommandStatus(std::uint32_t fan, Probe probe) {
  if (const auto status = fanCountStatus()) {
    return status;
  }
  std::int32_t status = testFlagStatus();
  status = status != 0 ? status : controlStatus(fan, probe);
  status = status != 0 ? status : targetStatus(fan);
  return status != 0 ? std::optional(status) : std::nullopt;
}

std::optional<std::int32_t> releaseStatus(const GuardedFans& forced) {
  if (!forced.fans.empty()) {
    return fanCommandStatus(forced.fans.front());
  }
  const std::int32_t status = testFlagStatus();
  return status != 0 ? std::optional(status) : std::nullopt;
}

}  // namespace halvarin::host
