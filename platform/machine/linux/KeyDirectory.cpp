#include "platform/machine/linux/KeyDirectory.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <utility>
#include <vector>

#include "base/NumberText.h"
#include "platform/machine/linux/SmcDriver.h"

namespace halvarin::platform {

namespace {

// Controllers list up to a few thousand keys; a count far beyond that is none, and whoever lists
// the keys would be busy for hours.
constexpr std::uint64_t kMostKeys = 65536;

// Of the keys that are asked for a name in place of one that gives none. Where so many in a row
// give none, it is the controller that is silent, and each of them takes a quarter of a second.
constexpr std::size_t kMostNeighbours = 4;

std::uint32_t number(const FourBytes& code) {
  return std::bit_cast<std::uint32_t>(code);
}

bool isBefore(const FourBytes& a, const FourBytes& b) {
  return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
    return static_cast<unsigned char>(x) < static_cast<unsigned char>(y);
  });
}

/// Whether an error is that of the key that was looked at, and not of the driver.
bool isOfOneKey(int error) {
  return error == EIO || error == EBADMSG;
}

}  // namespace

KeyDirectory::KeyDirectory(std::shared_ptr<FileTree> files, std::string countPath,
                           KeyCursor& cursor)
    : files_(std::move(files)), countPath_(std::move(countPath)), cursor_(cursor) {}

int KeyDirectory::count(std::uint32_t& keys) {
  if (countPath_.empty()) {
    return ENODEV;
  }
  if (const int error = files_->read(countPath_, 0).error) {
    return error;
  }
  const auto line = lineOf(*files_, countPath_);
  const auto counted = line ? wholeNumber(*line) : std::nullopt;
  if (!counted || *counted > kMostKeys) {
    return EBADMSG;
  }
  keys = static_cast<std::uint32_t>(*counted);
  return 0;
}

int KeyDirectory::nameAt(std::uint32_t index, FourBytes& code) {
  {
    const MutexLock lock(mutex_);
    const auto kept = names_.find(index);
    if (kept != names_.end()) {
      code = kept->second;
      return 0;
    }
  }
  FourBytes shown{};
  if (const int error = cursor_.name(index, shown)) {
    return error;
  }
  const MutexLock lock(mutex_);
  // Codes are shown up to their first zero byte, so two keys may show the same: the later of them
  // would have the values of the earlier.
  if (named_.try_emplace(number(shown), index).first->second != index) {
    return EBADMSG;
  }
  names_.emplace(index, shown);
  nameless_.erase(index);
  code = shown;
  return 0;
}

int KeyDirectory::find(const FourBytes& code, Entry& entry) {
  if (isKnown(code, entry)) {
    return 0;
  }
  if (const auto index = namedIndex(code)) {
    return describe(*index, code, entry);
  }
  std::uint32_t low = 0;
  std::uint32_t high = 0;
  if (const int error = count(high)) {
    return error;
  }
  while (low < high) {
    std::uint32_t index = 0;
    FourBytes name{};
    if (const int error = nameNearMiddle(low, high, index, name)) {
      return error;
    }
    if (name == code) {
      return describe(index, code, entry);
    }
    (isBefore(name, code) ? low : high) = isBefore(name, code) ? index + 1 : index;
  }
  return ENOKEY;
}

bool KeyDirectory::isEmpty() {
  const MutexLock lock(mutex_);
  return found_.empty();
}

/// The key nearest to the middle, from there upwards and then downwards, that has a name. Of one
/// that begins with a zero byte nothing is shown, so it does not tell on which side of it others
/// are.
int KeyDirectory::nameNearMiddle(std::uint32_t low, std::uint32_t high, std::uint32_t& index,
                                 FourBytes& code) {
  const std::uint32_t middle = low + (high - low) / 2;
  std::vector<std::uint32_t> passed;
  int error = EIO;
  for (std::uint32_t i = 0; i < high - low && isOfOneKey(error) && passed.size() < kMostNeighbours;
       ++i) {
    index = middle + i < high ? middle + i : high - 1 - i;
    if (!isNameless(index)) {
      error = nameAt(index, code);
      error = error == 0 && code.front() == '\0' ? EBADMSG : error;
      passed.push_back(index);
    }
  }
  if (error == 0) {
    passed.pop_back();
    const MutexLock lock(mutex_);
    nameless_.insert(passed.begin(), passed.end());
  }
  return error;
}

int KeyDirectory::describe(std::uint32_t index, const FourBytes& code, Entry& entry) {
  KeyFacts facts;
  if (const int error = cursor_.describe(index, facts)) {
    return error;
  }
  if (facts.code != code) {
    return EBADMSG;  // another driver than the one that was asked before
  }
  entry = {index, facts};
  const MutexLock lock(mutex_);
  found_.emplace(number(code), entry);
  return 0;
}

bool KeyDirectory::isKnown(const FourBytes& code, Entry& entry) {
  const MutexLock lock(mutex_);
  const auto found = found_.find(number(code));
  if (found == found_.end()) {
    return false;
  }
  entry = found->second;
  return true;
}

std::optional<std::uint32_t> KeyDirectory::namedIndex(const FourBytes& code) {
  const MutexLock lock(mutex_);
  const auto named = named_.find(number(code));
  return named == named_.end() ? std::nullopt : std::optional(named->second);
}

bool KeyDirectory::isNameless(std::uint32_t index) {
  const MutexLock lock(mutex_);
  return nameless_.contains(index);
}

}  // namespace halvarin::platform
