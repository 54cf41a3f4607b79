#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Dictionary.h"
#include "host/Exit.h"
#include "host/Options.h"
#include "host/fans/FanGuard.h"
#include "host/fantest/FanTestWatch.h"
#include "platform/Queue.h"
#include "selftest/QXFanTestManager.h"
#include "sensors/QXHalvarin.h"

namespace halvarin::host {

/// How a batch ended.
struct FanBatchEnd {
  DictionaryRef results;                // the manager's
  std::optional<ExitError> unreleased;  // why a fan or the test flag could not be handed back
};

/// Runs the fan self-test of some fans for the program: answers for their release, notices what
/// makes the test senseless, and ends it when it is asked to.
class FanBatch {
 public:
  /// `watch` is one over the same fans.
  FanBatch(const Options& options, std::shared_ptr<QXHalvarin> facade,
           std::vector<FanTestWatch::Fan> fans, std::shared_ptr<FanTestWatch> watch);

  /// The whole test with the hand-back of all fans, on the calling thread; `show` gets the watch
  /// four times a second of the machine's time. What could not be handed back is left to the
  /// guardian, who has the last word when this object ends. Throws ExitError when the fans could
  /// not be tested.
  [[nodiscard]] FanBatchEnd run(const std::function<void(const FanTestWatch& watch)>& show);

  /// Ends the test soon. Any thread.
  void askForEnd();

 private:
  struct Trouble {
    Exit exit = Exit::fine;  // fine: none
    std::string line;
  };

  void requireObedience();
  [[nodiscard]] static Trouble refusalOf(const FanTestWatch::Fan& fan);
  [[nodiscard]] bool guardFans();
  [[nodiscard]] FanBatchEnd canceledEnd();
  void attend(const std::function<void(const FanTestWatch& watch)>& show);
  void cancel();
  [[nodiscard]] bool hasEnded() const;
  void lookForTrouble();
  void lookWhetherFansAreRead();
  [[nodiscard]] bool isWithoutSamples();
  void lookWhetherFansObey();
  [[nodiscard]] std::optional<ExitError> release();
  [[nodiscard]] bool handBack(const GuardedFans& left);
  [[nodiscard]] ExitError whyUnreleased();
  /// Whether it is shown of all the fans who controls them.
  [[nodiscard]] bool isAllShown(const FansView& view) const;
  /// Whether one of the fans is seen forced that was not before, or one is not seen at all.
  [[nodiscard]] bool isAnyForcedHere(const FansView& view) const;
  [[nodiscard]] std::vector<std::uint32_t> stillForced();

  const Options& options_;
  const std::shared_ptr<QXHalvarin> facade_;
  const std::shared_ptr<QXFanTestManager> manager_;
  const std::vector<FanTestWatch::Fan> fans_;
  const std::shared_ptr<FanTestWatch> watch_;
  const platform::Queue starter_{"halvarin fan test", platform::Queue::Kind::serial};
  platform::Semaphore told_{0};
  std::unique_ptr<FanGuard> guard_;  // null on machines that end with the program
  std::atomic<bool> isAsked_ = false;
  std::atomic<bool> isStarted_ = false;
  Trouble trouble_;
  bool isObedienceKnown_ = false;
  std::optional<std::uint32_t> seenUnforced_;  // a fan that did not obey at the latest look
  std::int64_t samplesSeen_ = 0;
  int looksWithoutSample_ = 0;
};

}  // namespace halvarin::host
