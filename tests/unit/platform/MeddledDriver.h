#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/ScriptedDriver.h"

namespace halvarin::test {

/// A driver whose cursor another moves at chosen moments.
class MeddledDriver : public platform::FileTree {
 public:
  /// Called when a file is read, with its name without "key_at_index", before or after that.
  using Meddling = std::function<void(ScriptedDriver& driver, const std::string& file, bool after)>;

  MeddledDriver(std::shared_ptr<ScriptedDriver> driver, Meddling meddling)
      : driver_(std::move(driver)), meddling_(std::move(meddling)) {}

  platform::FileContent read(const std::string& path, std::size_t most) override {
    const std::string file = path.substr(path.find("key_at_index") + 12);
    meddling_(*driver_, file, false);
    const platform::FileContent content = driver_->read(path, most);
    meddling_(*driver_, file, true);
    return content;
  }
  int write(const std::string& path, std::string_view text) override {
    return driver_->write(path, text);
  }
  int mayWrite(const std::string& path) override { return driver_->mayWrite(path); }
  std::vector<std::string> list(const std::string& path) override { return driver_->list(path); }
  std::string resolve(const std::string& path) override { return driver_->resolve(path); }
  std::unique_ptr<platform::CursorFile> openCursor(const std::string& path, int& error) override {
    return driver_->openCursor(path, error);
  }

 private:
  const std::shared_ptr<ScriptedDriver> driver_;
  const Meddling meddling_;
};

/// Away before the value is read, back at once: the names before and after are the right ones.
inline void moveAwayAndBack(ScriptedDriver& driver, const std::string& file, bool after) {
  if (file == "_data") {
    driver.moveCursor(after ? 7 : 150);
  }
}

}  // namespace halvarin::test
