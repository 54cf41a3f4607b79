#include "host/fans/FanCommand.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "base/AtomicProperty.h"
#include "base/NumberText.h"
#include "base/PrintableText.h"
#include "host/Facade.h"
#include "host/MachineChoice.h"
#include "host/fans/EndSignals.h"
#include "host/fans/FanControl.h"
#include "host/fans/FanGuard.h"
#include "host/fans/FanRelease.h"
#include "host/fans/FanRequest.h"
#include "host/fans/FanView.h"
#include "platform/Clock.h"
#include "platform/Queue.h"

namespace halvarin::host {

namespace {

using std::chrono::seconds;

void say(const std::string& line) {
  std::cout << line << std::endl;  // seen at once, also through a pipe
}

/// Why a command did not work, as the end of the program.
[[noreturn]] void refuseCommand(const std::string& what, std::uint32_t fan) {
  const auto status = fanCommandStatus(fan);
  if (!status) {
    throw ExitError(Exit::ownFailure, what + ": the machine refused for a moment; try again");
  }
  const Exit exit = exitFor(*status);
  const std::string number = " (status " + hexText(static_cast<std::uint32_t>(*status)) + ")";
  throw ExitError(
      exit, what + number + (exit == Exit::notPermitted ? ": not permitted; run it as root" : ""));
}

/// Ends the program because not everything was handed back that belongs to a fan.
[[noreturn]] void refuseHandBack(const FanView& fan) {
  const bool isAutomatic = areSeenAutomatic({fan.index}) && testFlagMayBeOn();
  refuseCommand(
      fanName(fan) + (isAutomatic ? " is under automatic control, but the fans' test flag "
                                    "could not be switched off"
                                  : " could not be handed back"),
      fan.index);
}

/// A fan as the machine shows it now.
FanView currentFan(QXHalvarin& facade, const Options& options) {
  const FansView view = readFansView(facade);
  requireFanCount();
  if (options.fan >= view.fans.size()) {
    throw ExitError(Exit::usage, noSuchFan(options.fan, view.fans.size()));
  }
  return view.fans[options.fan];
}

/// Refuses what must not be asked of the fan, before anything is touched.
void checkRequest(const FanView& fan, const Options& options) {
  if (!options.force) {
    requireRange(fan);
  }
  const std::string refusal = refusalOf({options.speedRpm, options.force}, fan);
  if (!refusal.empty()) {
    throw ExitError(Exit::usage, refusal);
  }
}

/// What forces the fan, for a person who compares it with the keys.
std::string proofOfForce(const FanView& fan) {
  const std::string mode = std::to_string(fan.mode);
  return fan.forcedBy == ForcedBy::forceBits
             ? "bit " + std::to_string(fan.index) + " of \"FS! \" is " + mode
             : "mode " + mode;
}

/// `fan N RPM` from its first write to its last.
class ForcedFan {
 public:
  explicit ForcedFan(const Options& options)
      : options_(options),
        facade_(openFacade(options)),
        fan_(currentFan(*facade_, options)),
        name_(fanName(fan_)) {
    checkRequest(fan_, options_);
  }

  Exit run() {
    // Until here nothing is forced, and a signal may end the program as it ends any other.
    const EndSignals signals([this] { endNow(); });
    std::signal(SIGTSTP, SIG_IGN);  // a suspended program could not hand its fan back
    say(printable(headingLine(machineHeading(options_, facade_->machineModel()))));
    control_.set(std::make_shared<FanControl>(
        facade_, FanGuard::start(options_, {fan_.index}, [this] { return isAsked_.load(); }),
        options_.machine.kind));
    if (!force()) {
      handBack();
      say("Ended before " + name_ + " was forced.");
      return Exit::fine;
    }
    return options_.leave ? leave() : hold();
  }

 private:
  enum class Hold { asked, taken, untaken, unguarded, unread };

  /// On the thread that takes the signals.
  void endNow() {
    isAsked_ = true;
    if (const auto control = control_.get()) {
      control->handBack();
    }
    told_.signal();
  }

  /// False when the end was asked for before.
  bool force() {
    const bool isForced =
        !isAsked_ &&
        control_.get()->force(fan_.index, static_cast<std::uint16_t>(options_.speedRpm));
    if (!isForced && !isAsked_) {
      refuseCommand(name_ + " could not be forced", fan_.index);
    }
    if (isForced) {
      say(name_ + ": asked for " + rpmText(options_.speedRpm) + ", at " + rpmText(fan_.speedRpm) +
          " before");
    }
    return isForced;
  }

  Exit leave() {
    const FanView fan = currentFan(*facade_, options_);
    if (!isAsked_ && (!fan.isForced || fan.controlStatus != 0)) {
      handBack();
      if (fan.controlStatus != 0) {
        refuseUnread("who controls " + name_, fan.controlStatus);
      }
      refuseUntaken();
    }
    if (!control_.get()->leave()) {
      handBack();  // the one who takes the signals may have failed
      say(name_ + " is under automatic control again.");
      return Exit::fine;
    }
    say(name_ + " is left forced. halvarin fan " + std::to_string(fan_.index) +
        " auto hands it back.");
    return Exit::fine;
  }

  /// Waits so long, or for ever on a clock that stands still. False when the end was asked for.
  bool goesOnFor(seconds time) {
    if (isAsked_) {
      return false;
    }
    if (platform::currentClock()->realTime(time).count() > 0) {
      return !told_.wait(time);
    }
    told_.wait();
    return false;
  }

  /// The fan as the machine shows it now; absent when it does not show who controls it.
  [[nodiscard]] std::optional<FanView> shownFan() {
    const FansView view = readFansView(*facade_);
    const bool isShown = fan_.index < view.fans.size() && view.fans[fan_.index].controlStatus == 0;
    return isShown ? std::optional(view.fans[fan_.index]) : std::nullopt;
  }

  /// Holds the fan until something ends that, and says what it does once that can be seen.
  Hold holdOn() {
    constexpr seconds kMoment(3);  // a fan has done most of its way by then
    constexpr seconds kLook(2);
    constexpr int kMostMisses = 5;  // a busy controller may not answer every time
    bool isReported = false;
    for (int misses = 0; misses < kMostMisses;) {
      if (!goesOnFor(isReported ? kLook : kMoment) || !std::cout) {
        return Hold::asked;
      }
      if (!control_.get()->isGuarded()) {
        return Hold::unguarded;
      }
      const std::optional<FanView> fan = shownFan();
      if (isAsked_) {
        return Hold::asked;  // it may have been handed back during the look
      }
      misses = fan ? 0 : misses + 1;
      if (fan && !fan->isForced) {
        return isReported ? Hold::taken : Hold::untaken;
      }
      if (fan && !isReported) {
        report(*fan);
        isReported = true;
      }
    }
    return Hold::unread;
  }

  Exit hold() {
    say("Ctrl-C hands it back.");
    const Hold ending = holdOn();
    handBack();
    endHold(ending);
    return Exit::fine;
  }

  void handBack() {
    const auto control = control_.get();
    if (control->handBack()) {
      return;
    }
    if (!control->isGuarded()) {
      std::cerr << "halvarin: " << name_
                << " could not be handed back yet, and the guardian has ended; trying for five "
                   "minutes\n";
    }
    if (!control->handBackAtLast()) {
      refuseHandBack(fan_);
    }
  }

  /// The library's yes to a command says that it was sent, not that the machine has taken it.
  [[noreturn]] void refuseUntaken() const {
    throw ExitError(Exit::ownFailure,
                    name_ + " did not take the command: it stayed under automatic control");
  }

  /// Says how the hold has ended, of a fan that has been handed back.
  void endHold(Hold ending) {
    if (ending == Hold::untaken) {
      refuseUntaken();
    }
    if (ending == Hold::unguarded) {
      throw ExitError(Exit::ownFailure, "the guardian has ended, so " + name_ + " was handed back");
    }
    if (ending == Hold::unread) {
      throw ExitError(Exit::ownFailure, name_ + " could not be read any more and was handed back");
    }
    say(name_ + (ending == Hold::taken ? " was handed back by something else."
                                       : " is under automatic control again."));
    endFanUse(*facade_);
  }

  void report(const FanView& fan) const {
    say(name_ + " turns at " + rpmText(fan.speedRpm) + ", target " + rpmText(fan.targetRpm) + " (" +
        proofOfForce(fan) + ")");
  }

  const Options& options_;
  const std::shared_ptr<QXHalvarin> facade_;
  const FanView fan_;  // before anything was asked
  const std::string name_;
  std::atomic<bool> isAsked_ = false;
  platform::Semaphore told_{0};
  AtomicProperty<std::shared_ptr<FanControl>> control_;
};

/// With a few tries: a busy controller may not answer every time.
bool handBackSoon(QXHalvarin& facade, const GuardedFans& forced) {
  constexpr int kTries = 5;
  constexpr std::chrono::milliseconds kPause(100);
  const platform::Semaphore never;
  bool isDone = handBackFans(facade, forced);
  for (int i = 1; !isDone && i < kTries; ++i) {
    static_cast<void>(never.wait(kPause));
    isDone = handBackFans(facade, forced);
  }
  return isDone;
}

Exit handBack(const Options& options) {
  const auto facade = openFacade(options);
  const FanView fan = currentFan(*facade, options);
  if (fan.forcedBy == ForcedBy::nothing) {
    throw ExitError(Exit::usage, fanName(fan) + " is always under automatic control here");
  }
  if (!handBackSoon(*facade, {{fan.index}, hasTestFlag()})) {
    refuseHandBack(fan);
  }
  const FanView now = currentFan(*facade, options);
  if (now.controlStatus != 0) {
    refuseUnread("who controls " + fanName(now), now.controlStatus);
  }
  if (now.isForced) {
    throw ExitError(Exit::ownFailure,
                    fanName(now) + " did not take the command: " + proofOfForce(now));
  }
  say(printable(headingLine(machineHeading(options, facade->machineModel()))));
  say(fanName(now) + " is under automatic control.");
  return Exit::fine;
}

}  // namespace

Exit runFan(const Options& options) {
  return options.handsFanBack ? handBack(options) : ForcedFan(options).run();
}

}  // namespace halvarin::host
