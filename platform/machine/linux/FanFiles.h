#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/machine/linux/FileTree.h"
#include "platform/machine/linux/SmcDriver.h"

namespace halvarin::platform {

/// The files by which the driver lets fans be commanded: the only ones of it, beside the cursor,
/// that are ever written. Fans count from 0, their files from 1. Every write is read back. Results
/// are the system's errors:
/// - 0: written, and the fan's file shows it; or read
/// - EINVAL: the driver, or already this class, takes no such value
/// - ENOTSUP: there is no such file, or it is not certain what it shows and what writing it does
/// - EROFS: nobody may write the file
/// - EREMOTEIO: written, but the file shows something else
class FanFiles {
 public:
  FanFiles(std::shared_ptr<FileTree> files, SmcDriver driver);

  /// The speed that a fan is to turn at while it is forced, below 16384.
  [[nodiscard]] int setTarget(std::uint32_t fan, double rpm);
  [[nodiscard]] int setMinimum(std::uint32_t fan, double rpm);

  /// Forces a fan, or hands it back to automatic control.
  [[nodiscard]] int setForced(std::uint32_t fan, bool forced);

  /// What the files show of one fan, or of all as force bits; ENOTSUP and EIO when they do not.
  [[nodiscard]] int readForced(std::uint32_t fan, bool& forced) const;
  [[nodiscard]] int readForceBits(std::uint32_t& bits) const;

  /// A speed in whole RPM, as a fan's file shows it.
  enum class Speed { actual, target, least, most };
  [[nodiscard]] int readSpeed(std::uint32_t fan, Speed which, std::uint32_t& rpm) const;

  /// How many fans have a file of their speed; ENOTSUP when none, or not all from the first on.
  [[nodiscard]] int countFans(std::uint32_t& fans) const;

  /// Forces or hands back the fans whose bits are others than `before`, which is what the writer
  /// has read: the rest is somebody else's by now, or never was the writer's. Absent: whose bits
  /// the files do not show. Deliberate: a write that hands a fan back forces none. Whoever changes
  /// one fan and seems to change another in the other sense writes what is out of date.
  ///
  /// EREMOTEIO also when such a fan is not forced already, and when no bit differs and yet the
  /// files show others; ENOTSUP when a bit that differs has no file: fans are handed back all the
  /// same, and none is forced. An error of the system also when no bit differs and no fan could be
  /// written to.
  [[nodiscard]] int setForceBits(std::uint32_t bits, std::optional<std::uint32_t> before);

 private:
  /// How the driver of this kernel names the files and what their values mean. The same "2" has
  /// opposite meanings in the two, so a driver that shows files of both is not written to.
  enum class Family { none, older, newer, both };
  struct ModeFile {
    std::string path;  // "" for none
    std::string_view forced;
    std::string_view automatic;
    [[nodiscard]] std::string_view text(bool isForced) const {
      return isForced ? forced : automatic;
    }
  };
  /// What becomes of the fans when force bits are written.
  struct Changes {
    std::vector<ModeFile> toForce;
    std::vector<ModeFile> toHandBack;
    std::vector<ModeFile> toKeep;
    bool areShown = true;    // the files of those to keep show what is asked for
    bool isMissing = false;  // a fan that would have to be written to has no file
  };

  [[nodiscard]] std::vector<std::string> names() const;
  [[nodiscard]] Family family() const;
  [[nodiscard]] std::string targetFile(std::uint32_t fan) const;
  [[nodiscard]] std::string speedFile(std::uint32_t fan, Speed which) const;
  [[nodiscard]] ModeFile modeFile(Family family, std::uint32_t fan) const;
  [[nodiscard]] std::string fanFile(std::uint32_t fan, std::string_view ending) const;
  [[nodiscard]] int readMode(const ModeFile& file, bool& forced) const;
  [[nodiscard]] Changes changesFor(Family family, std::uint32_t bits,
                                   std::optional<std::uint32_t> before) const;
  [[nodiscard]] int keep(const Changes& changes) const;
  [[nodiscard]] bool isShown(const ModeFile& file, bool forced) const;
  [[nodiscard]] int setSpeed(const std::string& path, double rpm) const;
  [[nodiscard]] int writeMode(const ModeFile& file, bool forced) const;

  const std::shared_ptr<FileTree> files_;
  const SmcDriver driver_;
};

}  // namespace halvarin::platform
