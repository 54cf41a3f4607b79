#include "platform/machine/linux/AppleSmcKeys.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <utility>
#include <vector>

#include "platform/machine/fans/FanKeys.h"
#include "platform/machine/linux/FanFileKeys.h"

namespace halvarin::platform {

namespace {

// The driver does not tell attributes; this one says no more than that a key can be read.
constexpr std::uint8_t kReadable = 0x80;
constexpr std::uint32_t kCountBytes = 4;
constexpr std::uint32_t kForceBitsBytes = 2;

const FourBytes kCountKey = fourBytes("#KEY");
const FourBytes kForceBitsKey = fourBytes("FS! ");

std::string cursorPath(FileTree& files, const SmcDriver& driver) {
  return driverFile(files, driver, "key_at_index");
}

std::uint32_t number(const FourBytes& code) {
  return std::bit_cast<std::uint32_t>(code);
}

DriverAnswer described(const KeyFacts& facts) {
  DriverAnswer answer;
  answer.reply.sizeBytes = facts.sizeBytes;
  answer.reply.type = facts.type;
  answer.reply.attributes = kReadable;
  return answer;
}

DriverAnswer afterFind(int error) {
  return error == ENOKEY ? refusal(kResultKeyNotFound) : failure(error);
}

/// The speed that a request writes into a key of this kind.
std::optional<double> writtenSpeed(const KeyFacts& facts, const ControllerRequest& request) {
  RecordedKey key;
  key.type = facts.type;
  key.sizeBytes = facts.sizeBytes;
  key.bytes.assign(request.bytes.begin(),
                   request.bytes.begin() + std::min<std::uint32_t>(facts.sizeBytes, kValueBytes));
  return heldSpeed(key);
}

bool canHoldSpeed(const KeyFacts& facts) {
  RecordedKey key;
  key.type = facts.type;
  key.sizeBytes = facts.sizeBytes;
  return holdsSpeed(key);
}

}  // namespace

AppleSmcKeys::AppleSmcKeys(std::shared_ptr<FileTree> files, const SmcDriver& driver,
                           std::shared_ptr<Clock> clock)
    : files_(std::move(files)),
      driver_(driver),
      cursor_(files_, cursorPath(*files_, driver), std::move(clock)),
      directory_(files_, driverFile(*files_, driver, "key_count"), cursor_) {}

bool AppleSmcKeys::isPresent() {
  std::uint32_t count = 0;
  const MachineStatus status = statusOf(directory_.count(count));
  return status != statusOf(ENODEV) && isStillThere(*files_, driver_);
}

/// Without sight of others' writes nobody gets to know a key. Who knows them already can still hand
/// fans back by their files.
MachineStatus AppleSmcKeys::access() {
  return statusOf(directory_.isEmpty() ? cursor_.mayRead() : cursor_.mayMove());
}

DriverAnswer AppleSmcKeys::keyByIndex(std::uint32_t index) {
  DriverAnswer answer;
  if (const int error = directory_.nameAt(index, answer.reply.key)) {
    return error == EINVAL ? refusal(kResultIndexOutOfRange) : failure(error);
  }
  return answer;
}

DriverAnswer AppleSmcKeys::keyInfo(const FourBytes& code) {
  if (code == kCountKey) {
    return described({code, fourBytes("ui32"), kCountBytes});
  }
  KeyDirectory::Entry entry;
  const int error = directory_.find(code, entry);
  return error == 0 ? described(entry.facts) : afterFind(error);
}

DriverAnswer AppleSmcKeys::read(const ControllerRequest& request) {
  const DriverAnswer answer = readKey(request);
  if (request.key == kForceBitsKey) {
    keepForceBits(answer);
  }
  return answer;
}

DriverAnswer AppleSmcKeys::readKey(const ControllerRequest& request) {
  if (request.key == kCountKey) {
    return readCount(request.sizeBytes);
  }
  KeyDirectory::Entry entry;
  if (const int error = directory_.find(request.key, entry)) {
    return afterFind(error);
  }
  if (isRefused(request.key)) {
    return refusal(kResultNotReadable);
  }
  const bool fits =
      request.sizeBytes == entry.facts.sizeBytes && entry.facts.sizeBytes <= kValueBytes;
  return fits ? readEntry(entry) : refusal(kResultSizeMismatch);
}

/// The number of keys as the driver counts them: its indices end there.
DriverAnswer AppleSmcKeys::readCount(std::uint32_t sizeBytes) {
  std::uint32_t count = 0;
  if (const int error = directory_.count(count)) {
    return failure(error);
  }
  if (sizeBytes != kCountBytes) {
    return refusal(kResultSizeMismatch);
  }
  DriverAnswer answer;
  for (std::uint32_t i = 0; i < kCountBytes; ++i) {
    answer.reply.bytes[i] = static_cast<std::uint8_t>(count >> (8 * (kCountBytes - 1 - i)));
  }
  return answer;
}

DriverAnswer AppleSmcKeys::readEntry(const KeyDirectory::Entry& entry) {
  std::string bytes;
  int error = cursor_.readValue(entry.index, entry.facts.code, bytes);
  const bool isFromCursor = error == 0;
  if (error == EBUSY || error == EIO) {
    error = readFromFanFiles(entry.facts, bytes) == 0 ? 0 : error;
  }
  if (error == EIO) {
    return afterNoValue(entry);
  }
  if (error != 0 || bytes.size() != entry.facts.sizeBytes) {
    return failure(error != 0 ? error : EBADMSG);
  }
  {
    const MutexLock lock(mutex_);
    answered_.insert(number(entry.facts.code));
    last_ = isFromCursor ? entry : last_;
  }
  DriverAnswer answer;
  std::copy(bytes.begin(), bytes.end(), answer.reply.bytes.begin());
  return answer;
}

/// The fans' files need no cursor: whoever keeps it moving hides no fan by that.
int AppleSmcKeys::readFromFanFiles(const KeyFacts& facts, std::string& bytes) const {
  SmcDriver now;
  const int error = locate(*files_, driver_, now);
  return error == 0 ? readFanKey(FanFiles(files_, now), facts, bytes) : error;
}

/// A key that has never given a value, while another does, is one that the controller does not let
/// be read. Each further try would hold up everybody for a quarter of a second.
DriverAnswer AppleSmcKeys::afterNoValue(const KeyDirectory::Entry& entry) {
  const FourBytes& code = entry.facts.code;
  {
    const MutexLock lock(mutex_);
    if (answered_.contains(number(code))) {
      return failure(EIO);
    }
  }
  if (!anotherAnswers(code)) {
    return failure(EIO);
  }
  const MutexLock lock(mutex_);
  refused_.insert(number(code));
  return refusal(kResultNotReadable);
}

bool AppleSmcKeys::anotherAnswers(const FourBytes& code) {
  std::optional<KeyDirectory::Entry> other;
  {
    const MutexLock lock(mutex_);
    other = last_;
  }
  KeyDirectory::Entry count;
  if (!other && code != kCountKey && directory_.find(kCountKey, count) == 0) {
    other = count;
  }
  std::string bytes;
  return other && cursor_.readValue(other->index, other->facts.code, bytes) == 0;
}

bool AppleSmcKeys::isRefused(const FourBytes& code) {
  const MutexLock lock(mutex_);
  return refused_.contains(number(code));
}

DriverAnswer AppleSmcKeys::write(const ControllerRequest& request) {
  const auto name = fanKeyName(request.key);
  if (!name && request.key != kForceBitsKey) {
    return refusal(kResultNotWritable);
  }
  KeyDirectory::Entry entry;
  if (const int error = directory_.find(request.key, entry)) {
    return afterFind(error);
  }
  if (request.sizeBytes != entry.facts.sizeBytes) {
    return refusal(kResultSizeMismatch);
  }
  SmcDriver now;
  if (const int error = locate(*files_, driver_, now)) {
    return failure(error);  // what is no longer the driver's is not written
  }
  FanFiles fans(files_, now);
  if (name) {
    return writeFan(fans, *name, entry.facts, request);
  }
  return request.sizeBytes == kForceBitsBytes
             ? writeForceBits(fans, request.bytes[0] * 256U + request.bytes[1])
             : refusal(kResultNotWritable);
}

void AppleSmcKeys::keepForceBits(const DriverAnswer& answer) {
  const MutexLock lock(mutex_);
  if (answer.status == 0 && answer.reply.result == 0) {
    forceBits_.read(answer.reply.bytes[0] * 256U + answer.reply.bytes[1]);
  } else {
    forceBits_.readFailed();
  }
}

/// Whoever sets one bit writes all, the others as they were when it read them. Another process may
/// have handed its fan back since: that fan must not be forced again. The driver does the same with
/// every mode file that is written, so two programs must not write theirs at the same instant.
DriverAnswer AppleSmcKeys::writeForceBits(FanFiles& fans, std::uint32_t bits) {
  return modeAnswer(cursor_.whileLocked([&] {
    const MutexLock lock(mutex_);
    const int error = fans.setForceBits(bits, forceBits_.before());
    forceBits_.written(bits);
    return error;
  }));
}

DriverAnswer AppleSmcKeys::writeFan(FanFiles& fans, const FanKeyName& name, const KeyFacts& facts,
                                    const ControllerRequest& request) {
  if (name.isOf("Tg") || name.isOf("Mn")) {
    return writeSpeed(fans, name, facts, request);
  }
  if (!name.isOf("Md") || facts.sizeBytes != 1) {
    return refusal(kResultNotWritable);
  }
  constexpr std::uint8_t kForced = 1;
  const std::uint8_t mode = request.bytes[0];
  if (mode > kForced) {
    return refusal(kResultBadArgument);
  }
  return modeAnswer(cursor_.whileLocked([&] { return fans.setForced(name.fan, mode == kForced); }));
}

DriverAnswer AppleSmcKeys::writeSpeed(FanFiles& fans, const FanKeyName& name, const KeyFacts& facts,
                                      const ControllerRequest& request) {
  if (!canHoldSpeed(facts)) {
    return refusal(kResultNotWritable);
  }
  const auto rpm = writtenSpeed(facts, request);
  if (!rpm) {
    return refusal(kResultBadArgument);
  }
  return writeAnswer(name.isOf("Tg") ? fans.setTarget(name.fan, *rpm)
                                     : fans.setMinimum(name.fan, *rpm));
}

}  // namespace halvarin::platform
