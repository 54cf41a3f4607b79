// What the packaged udev rule opens, by running its commands on plain trees.

#include <grp.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <set>
#include <string>

#include "tests/support/AppleSiliconTree.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/SharedData.h"
#include "tests/support/TemporaryFolder.h"

namespace halvarin::test {
namespace {

namespace fs = std::filesystem;

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos;
       at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

std::string ownGroup() {
  const struct group* own = getgrgid(getegid());
  return own == nullptr ? std::to_string(getegid()) : own->gr_name;
}

/// The shell's commands in the rule for a driver, as udev would run them for a device in sysfs,
/// with another group in place of the rule's.
std::string commandsFor(const std::string& driver, const fs::path& device,
                        const std::string& group = ownGroup()) {
  const std::string rules =
      fileText(fs::path(HALVARIN_SOURCE_DIR) / "packaging/70-halvarin-smc.rules");
  const std::string begin = "/bin/sh -c '";
  const std::size_t rule = rules.find("ATTRS{name}==\"" + driver + "\"");
  const std::size_t from = rules.find(begin, rule) + begin.size();
  const std::string commands = rules.substr(from, rules.find('\'', from) - from);
  const std::string forGroup = replaced(commands, "chgrp halvarin", "chgrp " + group);
  const std::string forShell = replaced(replaced(forGroup, "$$", "$"), "%%", "%");
  return replaced(forShell, "%S%p", device.string());
}

/// The files below a folder that the group may write, without those of links.
std::set<std::string> openedBelow(const fs::path& folder) {
  std::set<std::string> opened;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    const bool isOpen = (entry.status().permissions() & fs::perms::group_write) != fs::perms::none;
    if (entry.is_regular_file() && isOpen) {
      opened.insert(fs::relative(entry.path(), folder).string());
    }
  }
  return opened;
}

void writeClosed(const TemporaryFolder& folder, const std::string& name, mode_t mode) {
  folder.write(name, "0\n");
  ASSERT_EQ(chmod(folder.file(name).c_str(), mode), 0);
}

TEST(UdevRule, OpensTheCursorAndTheFansOfAnIntelMacAlone) {
  const TemporaryFolder folder;
  for (const std::string place : {"smc/", "smc/hwmon/hwmon3/"}) {
    for (const char* name :
         {"key_at_index", "fan1_manual", "fan2_output", "fan1_target", "fan1_min", "pwm1_enable"}) {
      writeClosed(folder, place + name, 0644);
    }
    writeClosed(folder, place + "fan9_target", 0444);
    for (const char* name : {"key_at_index_data", "key_count", "fan1_max", "light", "name"}) {
      writeClosed(folder, place + name, 0644);
    }
  }
  fs::create_directory_symlink("../..", folder.path() / "smc/hwmon/hwmon3/device");
  const ProgramRun run =
      runProgram("/bin/sh", {"-c", commandsFor("applesmc", folder.path() / "smc/hwmon/hwmon3")});
  EXPECT_EQ(run.exit, 0) << run.err;
  EXPECT_EQ(
      openedBelow(folder.path() / "smc"),
      (std::set<std::string>{
          "fan1_manual", "fan1_min", "fan1_target", "fan2_output", "hwmon/hwmon3/fan1_manual",
          "hwmon/hwmon3/fan1_min", "hwmon/hwmon3/fan1_target", "hwmon/hwmon3/fan2_output",
          "hwmon/hwmon3/key_at_index", "hwmon/hwmon3/pwm1_enable", "key_at_index", "pwm1_enable"}));
}

TEST(UdevRule, OpensTheTargetOfAppleSiliconAlone) {
  const TemporaryFolder folder;
  layOutAppleSilicon(folder);
  for (const auto& entry : fs::recursive_directory_iterator(folder.path())) {
    fs::permissions(entry, fs::perms::group_write, fs::perm_options::remove);
  }
  const fs::path monitor = folder.path() / kAppleSiliconMonitor;
  const ProgramRun run = runProgram("/bin/sh", {"-c", commandsFor("macsmc_hwmon", monitor)});
  EXPECT_EQ(run.exit, 0) << run.err;
  EXPECT_EQ(openedBelow(folder.path() / "sys"),
            (std::set<std::string>{"class/hwmon/hwmon1/fan1_target"}));
}

TEST(UdevRule, OpensNothingToTheGroupThatAFileHasWhereItsOwnIsMissing) {
  const TemporaryFolder folder;
  for (const std::string driver : {"applesmc", "macsmc_hwmon"}) {
    writeClosed(folder, "smc/fan1_target", 0644);
    static_cast<void>(
        runProgram("/bin/sh", {"-c", commandsFor(driver, folder.path() / "smc", "no-such-group")}));
    EXPECT_EQ(openedBelow(folder.path() / "smc"), std::set<std::string>()) << driver;
  }
}

}  // namespace
}  // namespace halvarin::test
