#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Mutex.h"
#include "platform/machine/Machine.h"

namespace halvarin::test {

/// Another machine, whose transfers of some keys can be made to fail for a while.
class BreakableMachine : public platform::Machine {
 public:
  explicit BreakableMachine(std::shared_ptr<platform::Machine> behind)
      : behind_(std::move(behind)) {}

  /// From now on this command (5 reads, 6 writes) fails for the key.
  void breakKey(std::string_view key, std::uint8_t command, platform::MachineStatus status) {
    const MutexLock lock(mutex_);
    broken_.push_back({std::string(key.rbegin(), key.rend()), command, status});
  }
  /// From now on nobody is told the name of the key at this place, below 256.
  void breakPlace(std::uint8_t index, platform::MachineStatus status) {
    const MutexLock lock(mutex_);
    brokenPlaces_.emplace(index, status);
  }
  /// From now on no connection can be opened.
  void breakOpening(platform::MachineStatus status) {
    const MutexLock lock(mutex_);
    openStatus_ = status;
  }
  void mend() {
    const MutexLock lock(mutex_);
    broken_.clear();
    brokenPlaces_.clear();
    openStatus_ = 0;
  }

  [[nodiscard]] bool hasService(std::string_view serviceClass) override {
    return behind_->hasService(serviceClass);
  }
  [[nodiscard]] platform::MachineStatus open(std::uint32_t type,
                                             std::uint32_t& connection) override {
    {
      const MutexLock lock(mutex_);
      if (openStatus_ != 0) {
        return openStatus_;
      }
    }
    return behind_->open(type, connection);
  }
  [[nodiscard]] platform::MachineStatus call(std::uint32_t connection, std::uint32_t selector,
                                             std::span<const std::uint8_t> request,
                                             std::span<std::uint8_t> reply,
                                             std::size_t& replySize) override {
    constexpr std::size_t kCommandPlace = 42;
    constexpr std::uint8_t kKeyByIndex = 8;
    constexpr std::size_t kIndexPlace = 44;  // the low byte of four
    {
      const MutexLock lock(mutex_);
      const auto broken = std::find_if(broken_.begin(), broken_.end(), [&](const Broken& each) {
        return request.size() > kCommandPlace && request[kCommandPlace] == each.command &&
               std::equal(each.code.begin(), each.code.end(), request.begin());
      });
      if (broken != broken_.end()) {
        return broken->status;
      }
      if (request.size() > kIndexPlace && request[kCommandPlace] == kKeyByIndex) {
        const auto place = brokenPlaces_.find(request[kIndexPlace]);
        if (place != brokenPlaces_.end()) {
          return place->second;
        }
      }
    }
    return behind_->call(connection, selector, request, reply, replySize);
  }
  [[nodiscard]] platform::MachineStatus close(std::uint32_t connection) override {
    return behind_->close(connection);
  }
  [[nodiscard]] Value setting(std::string_view name) override { return behind_->setting(name); }
  [[nodiscard]] std::string powerSource() override { return behind_->powerSource(); }

 private:
  struct Broken {
    std::string code;  // as the request carries it, last character first
    std::uint8_t command;
    platform::MachineStatus status;
  };

  const std::shared_ptr<platform::Machine> behind_;
  Mutex mutex_;
  std::vector<Broken> broken_ HALVARIN_GUARDED_BY(mutex_);
  std::map<std::uint8_t, platform::MachineStatus> brokenPlaces_ HALVARIN_GUARDED_BY(mutex_);
  platform::MachineStatus openStatus_ HALVARIN_GUARDED_BY(mutex_) = 0;
};

}  // namespace halvarin::test
