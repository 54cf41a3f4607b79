#include "platform/machine/linux/KeyCursor.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <optional>
#include <utility>

#include "base/NumberText.h"

namespace halvarin::platform {

namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;

// A key that the controller refuses takes a quarter of a second and leaves a line in the kernel's
// log, so a rival must not have it asked for 20 times. Where the system tells of no writes a look
// shows nothing, and is repeated for a watch that another may just have given back.
constexpr int kMostPoorLooks = 3;
// A rival keeps it from being known as refused: whether the controller refuses it or the rival's
// key stays open, but it need not be asked at every pass.
// One that gave a value even once, though it may have been the rival's, is not taken for such a
// key.
constexpr milliseconds kTimeSpared(10000);
constexpr int kLeastRefusals = 2;  // half a second has no room for more
constexpr microseconds kPauseStep(500);
// An honest holder keeps the lock for a quarter of a second at a key that the controller refuses,
// and whoever moves the cursor meanwhile has it ask again. Whoever does not let go within this time
// has stopped, or is somebody who may do no more than lock. A look shows when it was disturbed, so
// the lock is a courtesy that can be done without, and is not waited for again for some seconds.
constexpr int kMostLockTries = 300;
constexpr milliseconds kLockPause(1);
constexpr milliseconds kTimeWithoutLock(5000);
// Those who wait try once in every pause, so a list of refused keys would leave them no moment.
constexpr milliseconds kOthersTurn(5);
// Beside a rival who never rests a list of hundreds of keys must not take minutes: all long waits
// together are worth so much, and no wait is worth its while after so many in vain. That is looked
// into again every few seconds: a key that is not listed is lost.
constexpr milliseconds kMostWaiting(10000);
constexpr int kMostInVain = 8;
constexpr milliseconds kTimeWithoutHope(5000);

constexpr std::size_t kMostBytes = 256;  // one more than any of these files holds

std::string_view withoutLineEnd(std::string_view text) {
  return !text.empty() && text.back() == '\n' ? text.substr(0, text.size() - 1) : text;
}

/// The driver writes a code up to its first zero byte: one that begins with it is an empty line.
std::optional<FourBytes> codeOf(const FileContent& content) {
  const std::string_view text = withoutLineEnd(content.bytes);
  const bool isCode = !content.bytes.empty() && text.size() <= 4;
  return isCode ? std::optional(text.empty() ? FourBytes() : fourBytes(text)) : std::nullopt;
}

}  // namespace

// Enough to see whether the system tells of writes, also those of a rival.
const KeyCursor::Patience KeyCursor::kForSight{kMostPoorLooks, milliseconds(500)};
// Others hold the cursor for a millisecond or two: as long as the controller takes for a key. The
// pauses grow, so that two who meet do not go on in step; all of these take 0.1 s together.
const KeyCursor::Patience KeyCursor::kForValue{20, milliseconds(500)};
// A key that cannot be listed is lost to the process for good.
const KeyCursor::Patience KeyCursor::kForWhatIsAskedOnce{60, milliseconds(3000)};
const KeyCursor::Patience KeyCursor::kForWhatIsHopeless{1, milliseconds(500)};

KeyCursor::KeyCursor(std::shared_ptr<FileTree> files, std::string path,
                     std::shared_ptr<Clock> clock)
    : files_(std::move(files)), path_(std::move(path)), clock_(std::move(clock)) {}

int KeyCursor::mayMove() {
  const MutexLock lock(mutex_);
  return openFile();
}

int KeyCursor::mayRead() {
  const MutexLock lock(mutex_);
  if (const int error = openFile()) {
    return error;
  }
  Sight sight;
  const int error = visit(0, {}, kForSight, sight);
  return error == EBUSY && sight.isBlind ? EMFILE : 0;
}

int KeyCursor::name(std::uint32_t index, FourBytes& code) {
  Sight sight;
  if (const int error = visitOnce(index, {}, sight)) {
    return error;
  }
  if (sight.name.error != 0) {
    return sight.name.error;
  }
  const auto named = codeOf(sight.name);
  code = named.value_or(code);
  return named ? 0 : EBADMSG;
}

int KeyCursor::describe(std::uint32_t index, KeyFacts& facts) {
  Sight sight;
  if (const int error = visitOnce(index, {"_type", "_data_length"}, sight)) {
    return error;
  }
  if (sight.name.error != 0) {
    return sight.name.error;
  }
  for (const FileContent& each : sight.facts) {
    if (each.error != 0) {
      return each.error;
    }
  }
  const auto code = codeOf(sight.name);
  const auto type = codeOf(sight.facts[0]);
  const auto size = wholeNumber(withoutLineEnd(sight.facts[1].bytes));
  if (!code || !type || !size || *size >= kMostBytes) {
    return EBADMSG;
  }
  facts = {*code, *type, static_cast<std::uint32_t>(*size)};
  return 0;
}

int KeyCursor::readValue(std::uint32_t index, const FourBytes& code, std::string& bytes) {
  const MutexLock lock(mutex_);
  const auto spared = sparedUntil_.find(index);
  if (spared != sparedUntil_.end() && clock_->now() < spared->second) {
    return EBUSY;
  }
  Sight sight;
  const int error = visit(index, {"_data"}, kForValue, sight);
  if (error == EBUSY && sight.all.refusals >= kLeastRefusals && sight.all.answers == 0) {
    sparedUntil_[index] = clock_->now() + kTimeSpared;
  }
  if (error != 0) {
    return error;
  }
  if (sight.name.error != 0 || codeOf(sight.name) != code) {
    return EBADMSG;  // another driver than the one that was asked before
  }
  FileContent& data = sight.facts[0];
  bytes = std::move(data.bytes);
  return data.error;
}

int KeyCursor::whileLocked(const std::function<int()>& action) {
  const MutexLock lock(mutex_);
  const bool isLocked = openFile() == 0 && lockFile(LockWait::always);
  const int error = action();
  if (isLocked) {
    file_->unlock();
  }
  return error;
}

int KeyCursor::visitOnce(std::uint32_t index, const std::vector<std::string_view>& facts,
                         Sight& sight) {
  const MutexLock lock(mutex_);
  const Clock::Duration begin = clock_->now();
  const int error = visit(index, facts, patienceForOnce(), sight);
  const Clock::Duration end = clock_->now();
  if (sight.all.looks > 1) {
    waited_ += end - begin;
  }
  inVain_ = error == EBUSY ? std::min(inVain_ + 1, kMostInVain) : 0;
  if (inVain_ == kMostInVain && end >= hopeBackAt_) {
    hopeBackAt_ = end + kTimeWithoutHope;
  }
  return error;
}

const KeyCursor::Patience& KeyCursor::patienceForOnce() const {
  if (inVain_ == kMostInVain && clock_->now() < hopeBackAt_) {
    return kForWhatIsHopeless;
  }
  return waited_ < kMostWaiting ? kForWhatIsAskedOnce : kForValue;
}

int KeyCursor::visit(std::uint32_t index, const std::vector<std::string_view>& facts,
                     const Patience& patience, Sight& sight) {
  const Clock::Duration begin = clock_->now();
  int poorLooks = 0;
  int error = EBUSY;
  for (int i = 0; error == EBUSY && i < patience.looks && poorLooks < kMostPoorLooks; ++i) {
    if (i > 0) {
      clock_->sleepFor(i * kPauseStep);
    }
    if (clock_->now() - begin >= patience.time) {
      break;
    }
    const Tally before = sight.all;
    sight = {};
    error = openFile();
    if (error == 0) {
      error = lookOnce(index, facts, sight);
    }
    const bool isRefused = showsRefusal(sight);
    const bool isAnswered = !isRefused && !sight.facts.empty();
    sight.all = {before.looks + 1, before.refusals + (isRefused ? 1 : 0),
                 before.answers + (isAnswered ? 1 : 0)};
    poorLooks += sight.isBlind || isRefused ? 1 : 0;
  }
  return error;
}

bool KeyCursor::showsRefusal(const Sight& sight) {
  const auto isRefused = [](const FileContent& content) { return content.error == EIO; };
  return isRefused(sight.name) || std::any_of(sight.facts.begin(), sight.facts.end(), isRefused);
}

int KeyCursor::openFile() {
  if (path_.empty()) {
    return ENODEV;
  }
  int error = 0;
  if (!file_) {
    file_ = files_->openCursor(path_, error);
  }
  return error;
}

bool KeyCursor::lockFile(LockWait wait) {
  bool isLocked = file_->tryLock();
  const bool isWorthWaiting = wait == LockWait::always || clock_->now() >= lockBackAt_;
  for (int i = 0; !isLocked && isWorthWaiting && i < kMostLockTries; ++i) {
    clock_->sleepFor(kLockPause);
    isLocked = file_->tryLock();
  }
  if (!isLocked && isWorthWaiting) {
    lockBackAt_ = clock_->now() + kTimeWithoutLock;
  }
  return isLocked;
}

/// A look through the open file; EBUSY when it may have been at another key.
int KeyCursor::lookOnce(std::uint32_t index, const std::vector<std::string_view>& facts,
                        Sight& sight) {
  const bool isLocked = lockFile(LockWait::unlessInVain);
  const int error = look(index, facts, sight);
  sight.isBlind = file_->witness() == CursorFile::Witness::blind;
  if (isLocked) {
    file_->unlock();
  }
  if (isLocked && showsRefusal(sight)) {
    clock_->sleepFor(kOthersTurn);
  }
  // A driver that is loaded again has another file under this name, and a file that is opened anew
  // may have the witness that this one lacks.
  if (sight.isBlind || (error != 0 && error != EBUSY && error != EINVAL)) {
    file_ = nullptr;
  }
  return error;
}

int KeyCursor::look(std::uint32_t index, const std::vector<std::string_view>& facts, Sight& sight) {
  const std::string place = std::to_string(index);
  if (const int error = file_->set(place)) {
    return error;
  }
  if (file_->witness() != CursorFile::Witness::alone) {
    return EBUSY;  // in vain from its beginning: the controller need not be asked
  }
  const auto isHere = [&] {
    return withoutLineEnd(files_->read(path_, kMostBytes).bytes) == place;
  };
  const bool wasHere = isHere();
  sight.name = beside("_name");
  if (sight.name.error == 0) {
    for (const std::string_view fact : facts) {
      sight.facts.push_back(beside(fact));
    }
  }
  const bool hasName = sight.name.error != 0 || beside("_name") == sight.name;
  const bool isStillHere = isHere();
  const bool wasAlone = file_->witness() == CursorFile::Witness::alone;
  return wasHere && hasName && isStillHere && wasAlone ? 0 : EBUSY;
}

FileContent KeyCursor::beside(std::string_view ending) const {
  return files_->read(path_ + std::string(ending), kMostBytes);
}

}  // namespace halvarin::platform
