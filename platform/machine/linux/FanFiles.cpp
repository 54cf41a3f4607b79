#include "platform/machine/linux/FanFiles.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <set>
#include <vector>

#include "base/NumberText.h"
#include "platform/machine/linux/AttributeName.h"

namespace halvarin::platform {

namespace {

constexpr std::uint32_t kMostForceBits = 16;
constexpr std::uint32_t kFirstSpeedTooHigh = 16384;  // the controller's fans count in 14 bits

bool isOlder(std::string_view name) {
  return attributeNumber(name, "fan", "_output").has_value() ||
         attributeNumber(name, "fan", "_manual").has_value();
}

bool isNewer(std::string_view name) {
  return attributeNumber(name, "fan", "_target").has_value() ||
         attributeNumber(name, "pwm", "_enable").has_value();
}

bool hasBit(std::uint32_t bits, std::uint32_t fan) {
  return ((bits >> fan) & 1U) != 0;
}

/// Does the same with all of them, also after an error: one fan that cannot be written keeps none
/// of the others forced. Returns the first error.
template <typename Item, typename Action>
int firstError(const std::vector<Item>& items, Action action) {
  int first = 0;
  for (const Item& item : items) {
    const int error = action(item);
    first = first == 0 ? error : first;
  }
  return first;
}

}  // namespace

FanFiles::FanFiles(std::shared_ptr<FileTree> files, SmcDriver driver)
    : files_(std::move(files)), driver_(std::move(driver)) {}

int FanFiles::setTarget(std::uint32_t fan, double rpm) {
  return setSpeed(targetFile(fan), rpm);
}

int FanFiles::setMinimum(std::uint32_t fan, double rpm) {
  const bool isKnown = family() == Family::older || family() == Family::newer;
  return isKnown ? setSpeed(fanFile(fan, "_min"), rpm) : ENOTSUP;
}

int FanFiles::setForced(std::uint32_t fan, bool forced) {
  const ModeFile file = modeFile(family(), fan);
  return file.path.empty() ? ENOTSUP : writeMode(file, forced);
}

int FanFiles::readForced(std::uint32_t fan, bool& forced) const {
  const ModeFile file = modeFile(family(), fan);
  return file.path.empty() ? ENOTSUP : readMode(file, forced);
}

int FanFiles::readForceBits(std::uint32_t& bits) const {
  const Family known = family();
  int found = ENOTSUP;
  bits = 0;
  for (std::uint32_t fan = 0; fan < kMostForceBits; ++fan) {
    const ModeFile file = modeFile(known, fan);
    if (file.path.empty()) {
      continue;
    }
    bool forced = false;
    found = readMode(file, forced);
    if (found != 0) {
      return found;
    }
    bits |= forced ? 1U << fan : 0U;
  }
  return found;
}

int FanFiles::readSpeed(std::uint32_t fan, Speed which, std::uint32_t& rpm) const {
  const std::string path = speedFile(fan, which);
  if (path.empty()) {
    return ENOTSUP;
  }
  const auto line = lineOf(*files_, path);
  const auto shown = line ? wholeNumber(*line) : std::nullopt;
  if (!shown || *shown >= kFirstSpeedTooHigh) {
    return EIO;
  }
  rpm = static_cast<std::uint32_t>(*shown);
  return 0;
}

int FanFiles::countFans(std::uint32_t& fans) const {
  std::set<std::uint32_t> numbers;
  const std::vector<std::string> listed = names();
  for (const std::string& name : listed) {
    if (const auto number = attributeNumber(name, "fan", "_input")) {
      numbers.insert(*number);
    }
  }
  // They count from 1: without a gap the last is as high as there are many.
  if (numbers.empty() || *numbers.begin() != 1 || *numbers.rbegin() != numbers.size()) {
    return ENOTSUP;
  }
  fans = *numbers.rbegin();
  return 0;
}

int FanFiles::setForceBits(std::uint32_t bits, std::optional<std::uint32_t> before) {
  const Family known = family();
  if (known != Family::older && known != Family::newer) {
    return ENOTSUP;
  }
  const Changes changes = changesFor(known, bits, before);
  if (changes.toForce.empty() && changes.toHandBack.empty() && !changes.isMissing) {
    return keep(changes);
  }
  const int handedBack = firstError(
      changes.toHandBack, [this](const ModeFile& file) { return writeMode(file, false); });
  if (changes.isMissing) {
    return handedBack != 0 ? handedBack : ENOTSUP;
  }
  if (!changes.toHandBack.empty()) {
    const bool areForced =
        std::all_of(changes.toForce.begin(), changes.toForce.end(),
                    [this](const ModeFile& file) { return isShown(file, true); });
    return handedBack != 0 || areForced ? handedBack : EREMOTEIO;
  }
  return firstError(changes.toForce,
                    [this](const ModeFile& file) { return writeMode(file, true); });
}

FanFiles::Changes FanFiles::changesFor(Family family, std::uint32_t bits,
                                       std::optional<std::uint32_t> before) const {
  Changes changes;
  for (std::uint32_t fan = 0; fan < kMostForceBits; ++fan) {
    const bool forced = hasBit(bits, fan);
    const ModeFile file = modeFile(family, fan);
    const bool hasFile = !file.path.empty();
    const bool isSo = hasFile ? isShown(file, forced) : !forced;
    const bool differs = before ? hasBit(*before, fan) != forced : !isSo;
    if (hasFile) {
      (!differs ? changes.toKeep : forced ? changes.toForce : changes.toHandBack).push_back(file);
    }
    changes.isMissing = changes.isMissing || (differs && !hasFile);
    changes.areShown = changes.areShown && (differs || !hasFile || isSo);
  }
  return changes;
}

/// Nobody can tell which fan is meant by a write that changes none: one that may be written is
/// enough.
int FanFiles::keep(const Changes& changes) const {
  if (!changes.areShown) {
    return EREMOTEIO;
  }
  int first = 0;
  for (const ModeFile& file : changes.toKeep) {
    const int error = files_->mayWrite(file.path);
    if (error == 0) {
      return 0;
    }
    first = first == 0 ? error : first;
  }
  return first;
}

/// Of the files in both of the driver's folders.
std::vector<std::string> FanFiles::names() const {
  std::vector<std::string> names;
  for (const std::string& folder : {driver_.hwmonFolder, driver_.deviceFolder}) {
    const std::vector<std::string> listed =
        folder.empty() ? std::vector<std::string>() : files_->list(folder);
    names.insert(names.end(), listed.begin(), listed.end());
  }
  return names;
}

FanFiles::Family FanFiles::family() const {
  const std::vector<std::string> listed = names();
  const bool older = std::any_of(listed.begin(), listed.end(), isOlder);
  const bool newer = std::any_of(listed.begin(), listed.end(), isNewer);
  if (older && newer) {
    return Family::both;
  }
  return older ? Family::older : newer ? Family::newer : Family::none;
}

FanFiles::ModeFile FanFiles::modeFile(Family family, std::uint32_t fan) const {
  switch (family) {
    case Family::older:
      return {fanFile(fan, "_manual"), "1", "0"};
    case Family::newer:
      return {driverFile(*files_, driver_, "pwm" + std::to_string(fan + 1) + "_enable"), "1", "2"};
    default:
      return {};
  }
}

std::string FanFiles::fanFile(std::uint32_t fan, std::string_view ending) const {
  return driverFile(*files_, driver_, "fan" + std::to_string(fan + 1) + std::string(ending));
}

std::string FanFiles::targetFile(std::uint32_t fan) const {
  switch (family()) {
    case Family::older:
      return fanFile(fan, "_output");
    case Family::newer:
      return fanFile(fan, "_target");
    default:
      return "";
  }
}

std::string FanFiles::speedFile(std::uint32_t fan, Speed which) const {
  switch (which) {
    case Speed::actual:
      return fanFile(fan, "_input");
    case Speed::target:
      return targetFile(fan);
    case Speed::least:
      return fanFile(fan, "_min");
    case Speed::most:
      break;
  }
  return fanFile(fan, "_max");
}

int FanFiles::setSpeed(const std::string& path, double rpm) const {
  if (path.empty()) {
    return ENOTSUP;
  }
  const double whole = std::trunc(rpm);
  const bool isSpeed = whole >= 0 && whole < kFirstSpeedTooHigh;  // false of what is no number
  return isSpeed ? writeAndRead(*files_, path, std::to_string(static_cast<int>(whole))) : EINVAL;
}

int FanFiles::readMode(const ModeFile& file, bool& forced) const {
  forced = isShown(file, true);
  return forced || isShown(file, false) ? 0 : EIO;
}

bool FanFiles::isShown(const ModeFile& file, bool forced) const {
  return lineOf(*files_, file.path) == file.text(forced);
}

int FanFiles::writeMode(const ModeFile& file, bool forced) const {
  return writeAndRead(*files_, file.path, file.text(forced));
}

}  // namespace halvarin::platform
