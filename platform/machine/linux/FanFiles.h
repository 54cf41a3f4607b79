#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/machine/linux/FileTree.h"
#include "platform/machine/linux/SmcDriver.h"

namespace halvarin::platform {

/// The files by which the driver lets fans be commanded: the only ones of it, beside the cursor,
/// that are ever written. Fans count from 0, their files from 1. Every write is read back. Results
/// are the system's errors:
///   0        written, and the fan's file shows it
///   EINVAL   the driver, or already this class, takes no such value
///   ENOTSUP  not written: there is no such file, or it is not certain what writing it would do
///   EROFS    nobody may write the file
///   EREMOTEIO  written, but the file shows something else
class FanFiles {
 public:
  FanFiles(std::shared_ptr<FileTree> files, SmcDriver driver);

  /// The speed that a fan is to turn at while it is forced, below 16384.
  [[nodiscard]] int setTarget(std::uint32_t fan, double rpm);
  [[nodiscard]] int setMinimum(std::uint32_t fan, double rpm);

  /// Forces a fan, or hands it back to automatic control.
  [[nodiscard]] int setForced(std::uint32_t fan, bool forced);

  /// Forces the fans whose bits are set, hands the others back, and writes to none that is so
  /// already. ENOTSUP, and nothing is written, when a bit is set for a fan that is not there.
  [[nodiscard]] int setForceBits(std::uint32_t bits);

 private:
  /// How the driver of this kernel names the files and what their values mean. The same "2" has
  /// opposite meanings in the two, so a driver that shows files of both is not written to.
  enum class Family { none, older, newer, both };
  struct ModeFile {
    std::string path;  // "" for none
    std::string_view forced;
    std::string_view automatic;
  };

  [[nodiscard]] Family family() const;
  [[nodiscard]] ModeFile modeFile(Family family, std::uint32_t fan) const;
  [[nodiscard]] std::string fanFile(std::uint32_t fan, std::string_view ending) const;
  [[nodiscard]] int setSpeed(const std::string& path, double rpm) const;
  [[nodiscard]] int writeMode(const ModeFile& file, bool forced) const;
  [[nodiscard]] int writeAndRead(const std::string& path, std::string_view text) const;

  const std::shared_ptr<FileTree> files_;
  const SmcDriver driver_;
};

}  // namespace halvarin::platform
