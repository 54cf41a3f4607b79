#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

namespace halvarin::test {

/// While one lives, this process may write nothing in a folder: the folder is closed, and a process
/// of the superuser, whom that does not stop, acts as nobody.
class WithoutRights {
 public:
  explicit WithoutRights(const std::filesystem::path& folder)
      : folder_(folder), before_(std::filesystem::status(folder).permissions()), user_(geteuid()) {
    std::filesystem::permissions(
        folder_, std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    if (user_ == 0) {
      constexpr uid_t kNobody = 65534;
      EXPECT_EQ(seteuid(kNobody), 0);
    }
  }
  ~WithoutRights() {
    EXPECT_EQ(seteuid(user_), 0);
    std::filesystem::permissions(folder_, before_);
  }
  WithoutRights(const WithoutRights&) = delete;
  WithoutRights& operator=(const WithoutRights&) = delete;

 private:
  std::filesystem::path folder_;
  std::filesystem::perms before_;
  uid_t user_;
};

}  // namespace halvarin::test
