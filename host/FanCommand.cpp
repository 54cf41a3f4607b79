#include "host/FanCommand.h"

#include <atomic>
#include <csignal>
#include <iostream>
#include <memory>
#include <string>

#include "base/AtomicProperty.h"
#include "base/NotificationCenter.h"
#include "base/NumberText.h"
#include "host/EndSignals.h"
#include "host/Facade.h"
#include "host/FanControl.h"
#include "host/FanGuard.h"
#include "host/FanRequest.h"
#include "host/FanView.h"
#include "host/MachineChoice.h"
#include "host/Terminal.h"
#include "platform/Clock.h"
#include "platform/HostServices.h"
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

/// A fan as the machine shows it now.
FanView currentFan(QXHalvarin& facade, const Options& options) {
  const FansView view = readFansView(facade);
  if (const auto status = fanCountStatus()) {
    throw ExitError(exitFor(*status), "the number of fans cannot be read (status " +
                                          hexText(static_cast<std::uint32_t>(*status)) + ")");
  }
  if (options.fan >= view.fans.size()) {
    throw ExitError(Exit::usage, noSuchFan(options.fan, view.fans.size()));
  }
  return view.fans[options.fan];
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
  explicit ForcedFan(const Options& options) : options_(options), signals_([this] { endNow(); }) {}

  Exit run() {
    facade_ = openFacade(options_);
    const FanView fan = currentFan(*facade_, options_);
    const std::string refusal = refusalOf({options_.speedRpm, options_.force}, fan);
    if (!refusal.empty()) {
      throw ExitError(Exit::usage, refusal);
    }
    say(printable(headingLine(machineHeading(options_, facade_->machineModel()))));
    control_.set(std::make_shared<FanControl>(facade_, FanGuard::start(options_)));
    if (!force(fan)) {
      return Exit::fine;
    }
    return options_.leave ? leave(fan) : hold(fan);
  }

 private:
  /// On the thread that takes the signals.
  void endNow() {
    isAsked_ = true;
    if (const auto control = control_.get()) {
      control->handBack();
    }
    told_.signal();
  }

  /// False when the end was asked for before anything was forced.
  bool force(const FanView& fan) {
    if (isAsked_ ||
        !control_.get()->force(fan.index, static_cast<std::uint16_t>(options_.speedRpm))) {
      if (!isAsked_) {
        refuseCommand(fanName(fan) + " could not be forced", fan.index);
      }
      say("Ended before " + fanName(fan) + " was forced.");
      return false;
    }
    say(fanName(fan) + ": asked for " + rpmText(options_.speedRpm) + ", at " +
        rpmText(fan.speedRpm) + " before");
    return true;
  }

  Exit leave(const FanView& fan) {
    control_.get()->leave();
    say(fanName(fan) + " is left forced. halvarin fan " + std::to_string(fan.index) +
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

  /// Holds the fan until the end is asked for. False when the fan is forced no longer.
  bool holdOn() {
    constexpr seconds kLook(2);
    while (goesOnFor(kLook)) {
      if (!currentFan(*facade_, options_).isForced) {
        return false;
      }
    }
    return true;
  }

  Exit hold(const FanView& fan) {
    constexpr seconds kMoment(3);  // a fan has done most of its way by then
    say("Ctrl-C hands it back.");
    const bool isTaken = !goesOnFor(kMoment) || report();
    const bool isHeld = isTaken && holdOn();
    if (!control_.get()->handBack()) {
      refuseCommand(fanName(fan) + " could not be handed back", fan.index);
    }
    if (!isTaken) {
      throw ExitError(Exit::ownFailure, fanName(fan) + " did not take the command: it stayed " +
                                            "under automatic control");
    }
    say(fanName(fan) +
        (isHeld ? " is under automatic control again." : " was handed back by something else."));
    // What a host owes the library at its end once it has forced fans.
    NotificationCenter::defaultCenter().post(
        {std::string(platform::kApplicationWillTerminate), nullptr, nullptr});
    return Exit::fine;
  }

  /// Says what the fan does now; false when it is not forced.
  bool report() {
    const FanView fan = currentFan(*facade_, options_);
    if (fan.isForced) {
      say(fanName(fan) + " turns at " + rpmText(fan.speedRpm) + ", target " +
          rpmText(fan.targetRpm) + " (" + proofOfForce(fan) + ")");
    }
    return fan.isForced;
  }

  const Options& options_;
  std::atomic<bool> isAsked_ = false;
  platform::Semaphore told_{0};
  AtomicProperty<std::shared_ptr<FanControl>> control_;
  std::shared_ptr<QXHalvarin> facade_;
  EndSignals signals_;  // last: its thread uses the others
};

Exit handBack(const Options& options) {
  const auto facade = openFacade(options);
  const FanView fan = currentFan(*facade, options);
  if (fan.forcedBy == ForcedBy::nothing) {
    throw ExitError(Exit::usage, fanName(fan) + " is always under automatic control here");
  }
  if (!handBackFans(*facade, {{fan.index}, hasTestFlag()})) {
    refuseCommand(fanName(fan) + " could not be handed back", fan.index);
  }
  const FanView now = currentFan(*facade, options);
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
