#include "platform/machine/linux/KeyDirectory.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <utility>

#include "base/NumberText.h"
#include "platform/machine/linux/SmcDriver.h"

namespace halvarin::platform {

namespace {

// Controllers list up to a few thousand keys; a count far beyond that is none, and whoever lists
// the keys would be busy for hours.
constexpr std::uint64_t kMostKeys = 65536;

std::uint32_t number(const FourBytes& code) {
  return std::bit_cast<std::uint32_t>(code);
}

bool isBefore(const FourBytes& a, const FourBytes& b) {
  return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
    return static_cast<unsigned char>(x) < static_cast<unsigned char>(y);
  });
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

int KeyDirectory::at(std::uint32_t index, KeyFacts& facts) {
  if (const auto kept = known(index)) {
    facts = *kept;
    return 0;
  }
  const int error = cursor_.describe(index, facts);
  if (error == 0) {
    keep(index, facts);
  }
  return error;
}

int KeyDirectory::find(const FourBytes& code, Entry& entry) {
  if (isKnown(code, entry)) {
    return 0;
  }
  std::uint32_t low = 0;
  std::uint32_t high = 0;
  if (const int error = count(high)) {
    return error;
  }
  while (low < high) {
    const std::uint32_t middle = low + (high - low) / 2;
    KeyFacts facts;
    if (const int error = at(middle, facts)) {
      return error;
    }
    if (facts.code == code) {
      entry = {middle, facts};
      return 0;
    }
    (isBefore(facts.code, code) ? low : high) = isBefore(facts.code, code) ? middle + 1 : middle;
  }
  return ENOKEY;
}

std::optional<KeyFacts> KeyDirectory::known(std::uint32_t index) {
  const MutexLock lock(mutex_);
  const auto found = byIndex_.find(index);
  return found == byIndex_.end() ? std::nullopt : std::optional(found->second);
}

bool KeyDirectory::isKnown(const FourBytes& code, Entry& entry) {
  const MutexLock lock(mutex_);
  const auto found = indices_.find(number(code));
  if (found == indices_.end()) {
    return false;
  }
  entry = {found->second, byIndex_.at(found->second)};
  return true;
}

void KeyDirectory::keep(std::uint32_t index, const KeyFacts& facts) {
  const MutexLock lock(mutex_);
  byIndex_.emplace(index, facts);
  indices_.emplace(number(facts.code), index);
}

}  // namespace halvarin::platform
