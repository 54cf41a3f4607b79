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

// Others hold the cursor for a millisecond or two: as long as the controller takes for a key. The
// pauses grow, so that two who meet do not go on in step; all of them take 0.1 s together, and the
// waits for the lock as much again at most.
constexpr int kMostLooks = 20;
constexpr microseconds kPauseStep(500);
// A key that the controller refuses takes a quarter of a second and leaves a line in the kernel's
// log, so a rival must not have it asked for 20 times. No look begins after this time.
constexpr milliseconds kMostTime(500);
constexpr int kMostRefusals = 3;
// Whoever does not let the lock go within this time has stopped. A look shows when it was
// disturbed, so the lock is a courtesy that it can do without.
constexpr int kMostLockTries = 10;
constexpr microseconds kLockPause(500);

constexpr std::size_t kMostBytes = 256;  // one more than any of these files holds

std::string_view withoutLineEnd(std::string_view text) {
  return !text.empty() && text.back() == '\n' ? text.substr(0, text.size() - 1) : text;
}

/// The driver writes a code up to its first zero byte.
std::optional<FourBytes> codeOf(const FileContent& content) {
  const std::string_view text = withoutLineEnd(content.bytes);
  return text.empty() || text.size() > 4 ? std::nullopt : std::optional(fourBytes(text));
}

/// A type may be nothing but zeros.
std::optional<FourBytes> typeOf(const FileContent& content) {
  return content.bytes == "\n" ? FourBytes() : codeOf(content);
}

}  // namespace

KeyCursor::KeyCursor(std::shared_ptr<FileTree> files, std::string path,
                     std::shared_ptr<Clock> clock)
    : files_(std::move(files)), path_(std::move(path)), clock_(std::move(clock)) {}

int KeyCursor::mayMove() {
  const MutexLock lock(mutex_);
  return openFile();
}

int KeyCursor::name(std::uint32_t index, FourBytes& code) {
  Sight sight;
  if (const int error = visit(index, {}, sight)) {
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
  if (const int error = visit(index, {"_type", "_data_length"}, sight)) {
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
  const auto type = typeOf(sight.facts[0]);
  const auto size = wholeNumber(withoutLineEnd(sight.facts[1].bytes));
  if (!code || !type || !size || *size >= kMostBytes) {
    return EBADMSG;
  }
  facts = {*code, *type, static_cast<std::uint32_t>(*size)};
  return 0;
}

int KeyCursor::readValue(std::uint32_t index, const FourBytes& code, std::string& bytes) {
  Sight sight;
  if (const int error = visit(index, {"_data"}, sight)) {
    return error;
  }
  if (sight.name.error != 0 || codeOf(sight.name) != code) {
    return EBADMSG;  // another driver than the one that was asked before
  }
  FileContent& data = sight.facts[0];
  bytes = std::move(data.bytes);
  return data.error;
}

int KeyCursor::visit(std::uint32_t index, const std::vector<std::string_view>& facts,
                     Sight& sight) {
  const MutexLock lock(mutex_);
  const Clock::Duration begin = clock_->now();
  int refusals = 0;
  int error = EBUSY;
  for (int looks = 0; error == EBUSY && looks < kMostLooks && refusals < kMostRefusals; ++looks) {
    if (looks > 0) {
      clock_->sleepFor(looks * kPauseStep);
    }
    if (clock_->now() - begin >= kMostTime) {
      break;
    }
    sight = {};
    error = openFile();
    if (error == 0) {
      error = lookOnce(index, facts, sight);
    }
    refusals += showsRefusal(sight) ? 1 : 0;
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

bool KeyCursor::lockFile() {
  for (int tries = 0; tries < kMostLockTries; ++tries) {
    if (file_->tryLock()) {
      return true;
    }
    clock_->sleepFor(kLockPause);
  }
  return false;
}

/// A look through the open file; EBUSY when it may have been at another key.
int KeyCursor::lookOnce(std::uint32_t index, const std::vector<std::string_view>& facts,
                        Sight& sight) {
  const bool isLocked = lockFile();
  const int error = look(index, facts, sight);
  const bool isBlind = file_->witness() == CursorFile::Witness::blind;
  if (isLocked) {
    file_->unlock();
  }
  // A driver that is loaded again has another file under this name, and a file that is opened anew
  // may have the witness that this one lacks.
  if (isBlind || (error != 0 && error != EBUSY && error != EINVAL)) {
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
