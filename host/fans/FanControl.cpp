#include "host/fans/FanControl.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/NotificationCenter.h"
#include "host/Exit.h"
#include "host/fans/FanView.h"
#include "platform/HostServices.h"
#include "sensors/FanKey.h"
#include "smc/KeyRecord.h"
#include "smc/QXSMCInterface.h"

namespace halvarin::host {

namespace {

DictionaryRef readKey(std::string_view key) {
  const auto smc = QXSMCInterface::sharedSMC();
  return smc ? smc->SMCReadKey(key) : nullptr;
}

/// The bytes of a record as the number whose writing puts them back as they are; absent for sizes
/// that are not written whole.
std::optional<std::uint32_t> heldNumber(const Dictionary& record, std::uint32_t size) {
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

/// The status of reading a key or else of writing back what it holds; 0 when both work and for keys
/// that the machine does not have.
std::int32_t keyStatus(const std::string& key) {
  const DictionaryRef record = readKey(key);
  const std::int32_t readStatus = record ? record->get(record::kError).intValue() : 0;
  if (!record || readStatus != 0) {
    return readStatus;
  }
  const std::uint32_t size = record->get(record::kDataSize).unsignedIntValue();
  const auto held = heldNumber(*record, size);
  return held ? QXSMCInterface::sharedSMC()->SMCWriteKey(key, *held, size) : 0;
}

/// The key by which the machine lets a fan be forced, read afresh.
struct FanControlKey {
  std::string name;
  DictionaryRef record;  // null when the machine has none
  bool isForceBits = false;

  [[nodiscard]] bool isRead() const {
    return record && record->get(record::kError).intValue() == 0;
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

/// Whether the machine shows that nobody forces the fan; false when it does not say.
bool isSeenAutomatic(std::uint32_t fan) {
  constexpr std::uint32_t kForcedMode = 1;
  const FanControlKey key = readControlKey(fan);
  return key.isRead() &&
         (key.isForceBits ? (key.number() & forceBit(fan)) == 0 : key.number() != kForcedMode);
}

bool areSeenAutomatic(const std::vector<std::uint32_t>& fans) {
  return std::all_of(fans.begin(), fans.end(), isSeenAutomatic);
}

/// The keys that forcing a fan writes on a machine of this kind.
std::vector<std::string> keysOfForcing(std::uint32_t fan) {
  return {std::string(fan::kTestFlagKey), readControlKey(fan).name,
          fan::key(fan, fan::kTargetSuffix)};
}

/// Clears the fan's mode key or force bit without asking how many fans there are: the fan is known,
/// for it was forced.
bool releaseByKey(std::uint32_t fan) {
  const FanControlKey key = readControlKey(fan);
  if (!key.record || (key.isForceBits && !key.isRead())) {
    return false;
  }
  const std::uint32_t released = key.isForceBits ? key.number() & ~forceBit(fan) : 0;
  return QXSMCInterface::sharedSMC()->SMCWriteKey(key.name, released, key.sizeBytes()) == 0;
}

}  // namespace

bool anotherIsForced(QXHalvarin& facade, const std::vector<std::uint32_t>& own) {
  const FansView view = readFansView(facade);
  return std::any_of(view.fans.begin(), view.fans.end(), [&](const FanView& fan) {
    return fan.isForced && std::find(own.begin(), own.end(), fan.index) == own.end();
  });
}

bool handBackFans(QXHalvarin& facade, const GuardedFans& forced) {
  bool done = true;
  for (const std::uint32_t fan : forced.fans) {
    done = (facade.setFanMode(0, fan) || releaseByKey(fan)) && done;
  }
  if (forced.testFlag && !anotherIsForced(facade, forced.fans)) {
    done = facade.setFanEnable(false) && done;
  }
  return done && areSeenAutomatic(forced.fans);
}

bool canHandBack(std::uint32_t fan) {
  return readControlKey(fan).sizeBytes() != 0;
}

void endFanUse(QXHalvarin& facade) {
  if (!anotherIsForced(facade, {})) {
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

std::optional<std::int32_t> fanCommandStatus(std::uint32_t fan) {
  if (const auto status = fanCountStatus()) {
    return status;
  }
  for (const std::string& key : keysOfForcing(fan)) {
    if (const std::int32_t status = keyStatus(key); status != 0) {
      return status;
    }
  }
  return std::nullopt;
}

FanControl::FanControl(std::shared_ptr<QXHalvarin> facade, std::unique_ptr<FanGuard> guard)
    : facade_(std::move(facade)), guard_(std::move(guard)) {}

FanControl::~FanControl() {
  try {
    handBack();
  } catch (...) {
    // The guardian, which has not been told to forget the fan, hands it back.
    return;
  }
}

bool FanControl::force(std::uint32_t fan, std::uint16_t speedRpm) {
  const MutexLock lock(mutex_);
  if (ended_) {
    return false;
  }
  if (!command(fan, speedRpm)) {
    undo(fan);
    return false;
  }
  return true;
}

// The guardian is told before the machine, so that there is no moment at which a fan is forced and
// nobody but this program knows. A write that failed may have been done all the same.
bool FanControl::command(std::uint32_t fan, std::uint16_t speedRpm) {
  if (hasTestFlag()) {
    if (guard_ && !guard_->testFlagIsOn()) {
      return false;
    }
    forced_.testFlag = true;
    if (!facade_->setFanEnable(true)) {
      return false;
    }
  }
  if (guard_ && !guard_->fanIsForced(fan)) {
    return false;
  }
  forced_.fans.push_back(fan);
  return facade_->setFanMode(1, fan) && facade_->setFanSpeed(speedRpm, fan);
}

void FanControl::undo(std::uint32_t fan) {
  if (handBackNow()) {
    return;
  }
  // Of the target's key it says nothing that it may not be written: the fan may be forced all the
  // same.
  if (exitFor(keyStatus(readControlKey(fan).name)) == Exit::notPermitted) {
    forgetAll();  // the system stops such writes before they reach the machine
  }
}

bool FanControl::handBack() {
  const MutexLock lock(mutex_);
  ended_ = true;
  return handBackNow();
}

/// A hand-back that was refused is none the less done where this process sees that no fan is
/// forced: the command that was to force it was refused, too.
bool FanControl::handBackNow() {
  const bool isDone = handBackFans(*facade_, forced_) ||
                      (areSeenAutomatic(forced_.fans) && !(forced_.testFlag && testFlagMayBeOn()));
  if (!isDone) {
    return false;
  }
  forgetAll();
  return true;
}

void FanControl::forgetAll() {
  forced_ = {};
  if (guard_) {
    guard_->forget();
  }
}

bool FanControl::leave() {
  const MutexLock lock(mutex_);
  if (ended_) {
    return false;
  }
  ended_ = true;
  forgetAll();
  return true;
}

bool FanControl::isGuarded() {
  const MutexLock lock(mutex_);
  return !guard_ || !guard_->hasEnded();
}

}  // namespace halvarin::host
