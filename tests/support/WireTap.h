#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Mutex.h"
#include "platform/machine/Machine.h"

namespace halvarin::test {

/// Stands between the platform's calls and another machine: keeps the raw requests, counts, and can
/// refuse to open.
class WireTap : public platform::Machine {
 public:
  using RawRecord = std::vector<std::uint8_t>;

  explicit WireTap(std::shared_ptr<platform::Machine> behind) : behind_(std::move(behind)) {}

  /// The status of every open from now on; absent: whatever the machine behind says.
  void refuseOpens(std::optional<platform::MachineStatus> status) {
    const MutexLock lock(mutex_);
    openStatus_ = status;
  }
  /// Whether a service is found from now on.
  void hideService(bool hidden) {
    const MutexLock lock(mutex_);
    hidden_ = hidden;
  }
  [[nodiscard]] std::vector<RawRecord> requests() {
    const MutexLock lock(mutex_);
    return requests_;
  }
  void forgetRequests() {
    const MutexLock lock(mutex_);
    requests_.clear();
  }
  [[nodiscard]] int serviceLookups() {
    const MutexLock lock(mutex_);
    return lookups_;
  }
  /// The connections that are open now, and the most that ever were at once.
  [[nodiscard]] int mostOpen() {
    const MutexLock lock(mutex_);
    return mostOpen_;
  }

  [[nodiscard]] bool hasService(std::string_view serviceClass) override {
    const MutexLock lock(mutex_);
    ++lookups_;
    return !hidden_ && behind_->hasService(serviceClass);
  }
  [[nodiscard]] platform::MachineStatus open(std::uint32_t type,
                                             std::uint32_t& connection) override {
    const MutexLock lock(mutex_);
    if (openStatus_) {
      return *openStatus_;
    }
    mostOpen_ = std::max(mostOpen_, ++open_);
    return behind_->open(type, connection);
  }
  [[nodiscard]] platform::MachineStatus call(std::uint32_t connection, std::uint32_t selector,
                                             std::span<const std::uint8_t> request,
                                             std::span<std::uint8_t> reply,
                                             std::size_t& replySize) override {
    {
      const MutexLock lock(mutex_);
      requests_.emplace_back(request.begin(), request.end());
    }
    return behind_->call(connection, selector, request, reply, replySize);
  }
  [[nodiscard]] platform::MachineStatus close(std::uint32_t connection) override {
    const MutexLock lock(mutex_);
    --open_;
    return behind_->close(connection);
  }
  [[nodiscard]] Value setting(std::string_view name) override { return behind_->setting(name); }
  [[nodiscard]] std::string powerSource() override { return behind_->powerSource(); }

 private:
  const std::shared_ptr<platform::Machine> behind_;
  Mutex mutex_;
  std::vector<RawRecord> requests_ HALVARIN_GUARDED_BY(mutex_);
  std::optional<platform::MachineStatus> openStatus_ HALVARIN_GUARDED_BY(mutex_);
  bool hidden_ HALVARIN_GUARDED_BY(mutex_) = false;
  int lookups_ HALVARIN_GUARDED_BY(mutex_) = 0;
  int open_ HALVARIN_GUARDED_BY(mutex_) = 0;
  int mostOpen_ HALVARIN_GUARDED_BY(mutex_) = 0;
};

}  // namespace halvarin::test
