#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "tests/support/ScriptedDriver.h"
#include "tests/unit/platform/OtherTree.h"

namespace halvarin::test {

/// A driver whose cursor another moves at chosen moments.
class MeddledDriver : public OtherTree {
 public:
  /// Called when a file is read, with its name without "key_at_index", before or after that.
  using Meddling = std::function<void(ScriptedDriver& driver, const std::string& file, bool after)>;

  MeddledDriver(std::shared_ptr<ScriptedDriver> driver, Meddling meddling)
      : OtherTree(driver), driver_(std::move(driver)), meddling_(std::move(meddling)) {}

  platform::FileContent read(const std::string& path, std::size_t most) override {
    const std::string file = path.substr(path.find("key_at_index") + 12);
    meddling_(*driver_, file, false);
    platform::FileContent content = OtherTree::read(path, most);
    meddling_(*driver_, file, true);
    return content;
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
