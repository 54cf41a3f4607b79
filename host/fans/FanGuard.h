#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/Options.h"

namespace halvarin::host {

/// The guardian: a small process of the program's own that hands back what the program forced when
/// the program is gone without having done so (killed, crashed). It waits on a pipe whose other end
/// only the program holds.
class FanGuard {
 public:
  /// Starts the guardian for these fans of the options' machine and waits until it is ready. Null
  /// for machines that end with the program, and when the program was asked to end meanwhile, which
  /// `isAsked` tells for good from then on: no fan may be forced any more. Throws ExitError when
  /// the guardian cannot be had: without it no fan may be forced.
  [[nodiscard]] static std::unique_ptr<FanGuard> start(const Options& options,
                                                       const std::vector<std::uint32_t>& fans,
                                                       const std::function<bool()>& isAsked);

  /// Lets the guardian go and waits until it has ended; ends one that is not ready.
  ~FanGuard();
  FanGuard(const FanGuard&) = delete;
  FanGuard& operator=(const FanGuard&) = delete;

  /// To be told before the machine is: a fan is forced, the test flag is switched on. False when
  /// the guardian has ended: then the machine must not be told.
  [[nodiscard]] bool fanIsForced(std::uint32_t fan);
  [[nodiscard]] bool testFlagIsOn();
  /// Whether the guardian has ended though it was not let go: nobody would hand back then.
  [[nodiscard]] bool hasEnded() const;
  /// Nothing is left to be handed back.
  void forget();

 private:
  FanGuard(pid_t process, int toGuardian, int fromGuardian)
      : process_(process), toGuardian_(toGuardian), fromGuardian_(fromGuardian) {}
  [[nodiscard]] bool tell(const std::string& line) const;
  void waitUntilReady(const std::function<bool()>& isAsked);

  const pid_t process_;
  const int toGuardian_;
  const int fromGuardian_;  // closed by the guardian's end
  bool isReady_ = false;
};

/// What the program has told its guardian.
struct GuardedFans {
  std::vector<std::uint32_t> fans;
  bool testFlag = false;

  /// Takes one line of the pipe; lines that say nothing change nothing.
  void take(const std::string& line);
};

}  // namespace halvarin::host
