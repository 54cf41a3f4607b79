#include "host/fantest/FanBatch.h"

#include <algorithm>
#include <chrono>
#include <iostream>
#include <utility>

#include "base/NumberText.h"
#include "host/fans/FanRelease.h"
#include "host/fans/FanView.h"
#include "selftest/TestStatus.h"

namespace halvarin::host {

namespace {

std::string statusText(std::int32_t status) {
  return "(status " + hexText(static_cast<std::uint32_t>(status)) + ")";
}

/// Whether a fan must show by now that it was forced, and was not told anything else yet.
bool isCommanding(const QXFanTest& test) {
  constexpr std::int32_t kFewSamples = 4;
  const FanTestProgress progress = test.progress();
  const auto is = [&](FanTestState state) { return progress.state == fanTestStateName(state); };
  return progress.sample >= kFewSamples &&
         (is(FanTestState::setMax) || is(FanTestState::waitSpeed) || is(FanTestState::rahMax));
}

}  // namespace

FanBatch::FanBatch(const Options& options, std::shared_ptr<QXHalvarin> facade,
                   std::vector<FanTestWatch::Fan> fans, std::shared_ptr<FanTestWatch> watch)
    : options_(options),
      facade_(std::move(facade)),
      manager_(QXFanTestManager::sharedFTM()),
      fans_(std::move(fans)),
      watch_(std::move(watch)) {}

FanBatchEnd FanBatch::run(const std::function<void(const FanTestWatch& watch)>& show) {
  requireObedience();
  if (!guardFans()) {
    return canceledEnd();
  }
  manager_->setDelegate(watch_);
  starter_.async([this] {
    manager_->startTesting(nullptr);
    isStarted_ = true;
  });
  attend(show);
  FanBatchEnd end{manager_->fanTestResults(), release()};
  if (trouble_.exit != Exit::fine) {
    throw ExitError(trouble_.exit,
                    trouble_.line + (end.unreleased ? std::string("; ") + end.unreleased->what()
                                                    : std::string()));
  }
  return end;
}

void FanBatch::askForEnd() {
  isAsked_ = true;
  cancel();  // here too: the thread that runs the batch may wait for a terminal that takes nothing
  told_.signal();
}

/// A fan that was forced before would not show whether it obeys, so it is asked before the guardian
/// and the tests touch it, by writing what it holds already.
void FanBatch::requireObedience() {
  for (const FanTestWatch::Fan& fan : fans_) {
    const Trouble trouble = fan.wasForced ? refusalOf(fan) : Trouble();
    if (trouble.exit != Exit::fine) {
      throw ExitError(trouble.exit, trouble.line);
    }
  }
}

/// That the system does not let this user command the fan; no trouble when it does.
FanBatch::Trouble FanBatch::refusalOf(const FanTestWatch::Fan& fan) {
  const auto status = fanCommandStatus(fan.index, Probe::leavesForced);
  if (!status || exitFor(*status) != Exit::notPermitted) {
    return {};
  }
  return {Exit::notPermitted, fan.name + " could not be forced " + statusText(*status) +
                                  ": not permitted; run it as root"};
}

/// What is left of a batch whose end was asked for before its first command.
FanBatchEnd FanBatch::canceledEnd() {
  std::cerr << "halvarin: ended before a fan was tested\n";
  for (const auto& test : manager_->fanTests()) {
    test->setStatus(std::string(status::kCanceled));
  }
  return {manager_->fanTestResults(), std::nullopt};
}

/// The guardian is told of every fan before the first command, for the tests give none a chance to
/// tell it in time. False when the end was asked for meanwhile.
bool FanBatch::guardFans() {
  std::vector<std::uint32_t> fans;
  for (const FanTestWatch::Fan& fan : fans_) {
    if (canHandBack(fan.index)) {  // nothing can force another
      fans.push_back(fan.index);
    }
  }
  if (!fans.empty()) {
    guard_ = FanGuard::start(options_, fans, [this] { return isAsked_.load(); });
  }
  if (isAsked_) {
    return false;
  }
  if (!guard_) {
    return true;
  }
  bool isTold = !hasTestFlag() || guard_->testFlagIsOn();
  for (const std::uint32_t fan : fans) {
    isTold = isTold && guard_->fanIsForced(fan);
  }
  if (!isTold) {
    throw ExitError(Exit::ownFailure, "the guardian has ended, so no fan was tested");
  }
  return true;
}

void FanBatch::attend(const std::function<void(const FanTestWatch& watch)>& show) {
  constexpr std::chrono::milliseconds kLook(250);
  while (!hasEnded()) {
    show(*watch_);
    lookForTrouble();
    if (isAsked_ || trouble_.exit != Exit::fine) {
      cancel();  // again and again: a test that is just beginning forgets it
    }
    static_cast<void>(told_.wait(kLook));
  }
  show(*watch_);
}

void FanBatch::cancel() {
  watch_->endRefusals();
  manager_->cancel();
}

bool FanBatch::hasEnded() const {
  if (!isStarted_ || !manager_->activeFanTests().empty()) {
    return false;
  }
  const auto tests = manager_->fanTests();
  return std::all_of(tests.begin(), tests.end(), [](const auto& test) { return test->enabled(); });
}

void FanBatch::lookForTrouble() {
  if (trouble_.exit != Exit::fine) {
    return;
  }
  if (guard_ && guard_->hasEnded()) {
    trouble_ = {Exit::ownFailure, "the guardian has ended, so the fan self-test was canceled"};
    return;
  }
  lookWhetherFansAreRead();
  if (trouble_.exit == Exit::fine) {
    lookWhetherFansObey();
  }
}

void FanBatch::lookWhetherFansAreRead() {
  const auto unread = watch_->unreadFan();
  if (!unread && !isWithoutSamples()) {
    return;
  }
  // A controller that is gone is said to be so, whichever key was the first to miss it.
  if (const auto status = fanCountStatus()) {
    trouble_ = {exitFor(*status), "the fans cannot be read any more " + statusText(*status) +
                                      ", so the fan self-test was canceled"};
  } else if (unread) {
    trouble_ = {exitFor(unread->key.status),
                unread->key.key + " of " + unread->name + " cannot be read any more" +
                    unread->key.statusText() + ", so the fan self-test was canceled"};
  }
}

/// Whether the tests have taken no sample for ten seconds; asked at each look.
bool FanBatch::isWithoutSamples() {
  constexpr int kMostLooks = 40;
  const std::int64_t samples = watch_->samples();
  looksWithoutSample_ = samples != samplesSeen_ ? 0 : looksWithoutSample_ + 1;
  samplesSeen_ = samples;
  if (looksWithoutSample_ < kMostLooks) {
    return false;
  }
  looksWithoutSample_ = 0;
  return true;
}

/// A verdict over fans that the system does not let this user command would be one over the user.
void FanBatch::lookWhetherFansObey() {
  if (isObedienceKnown_) {
    return;
  }
  for (const FanTestWatch::Fan& fan : fans_) {
    const auto test = fan.wasForced ? nullptr : fan.test.lock();
    if (!test || !isCommanding(*test)) {
      continue;
    }
    const FansView view = readFansView(*facade_);
    const bool isForced = isAnyForcedHere(view);
    // The test's own commands may be under way at the first look. To ask for the reason writes what
    // keys held a moment before, and must not undo them.
    if (!isForced && std::exchange(seenUnforced_, fan.index) != fan.index) {
      return;
    }
    isObedienceKnown_ = isAllShown(view);
    if (!isForced && isCommanding(*test)) {
      trouble_ = refusalOf(fan);
    }
    return;
  }
}

bool FanBatch::isAllShown(const FansView& view) const {
  return std::all_of(fans_.begin(), fans_.end(), [&view](const FanTestWatch::Fan& fan) {
    return fan.index < view.fans.size() && view.fans[fan.index].controlStatus == 0;
  });
}

bool FanBatch::isAnyForcedHere(const FansView& view) const {
  return std::any_of(fans_.begin(), fans_.end(), [&view](const FanTestWatch::Fan& fan) {
    return fan.index >= view.fans.size() || (view.fans[fan.index].isForced && !fan.wasForced);
  });
}

/// Those of the fans that are forced now, or may be for all that can be read.
std::vector<std::uint32_t> FanBatch::stillForced() {
  const FansView view = readFansView(*facade_);
  std::vector<std::uint32_t> forced;
  for (const FanTestWatch::Fan& fan : fans_) {
    if (fan.index >= view.fans.size() || view.fans[fan.index].isForced ||
        view.fans[fan.index].controlStatus != 0) {
      forced.push_back(fan.index);
    }
  }
  return forced;
}

/// Dropping the tests hands their fans back; what that could not do is done here, and what this
/// cannot do is left to the guardian.
std::optional<ExitError> FanBatch::release() {
  manager_->reInitFanTests();
  const GuardedFans left{stillForced(), testFlagMayBeOn()};
  if ((!left.fans.empty() || left.testFlag) && !handBack(left)) {
    return whyUnreleased();
  }
  if (guard_) {
    guard_->forget();
  }
  endFanUse(*facade_);
  return std::nullopt;
}

bool FanBatch::handBack(const GuardedFans& left) {
  return handBackFans(*facade_, left) ||
         (guard_ && guard_->hasEnded() &&
          handBackPersistently(*facade_, left, options_.machine.kind));
}

ExitError FanBatch::whyUnreleased() {
  const std::vector<std::uint32_t> forced = stillForced();
  const auto status = releaseStatus({forced, true});
  std::string line = forced.empty()
                         ? "the fans' test flag could not be switched off"
                         : "fan " + std::to_string(forced.front()) + " could not be handed back";
  line += status ? " " + statusText(*status) : "";
  const bool isTriedOn = guard_ && !guard_->hasEnded();
  line += isTriedOn ? "; the guardian goes on trying for five minutes" : "";
  return {status ? exitFor(*status) : Exit::ownFailure, line};
}

}  // namespace halvarin::host
