#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/Options.h"
#include "smc/QXSMCInterface.h"

namespace halvarin::host {

/// What the controller has and the library did not list at its start, since the controller did not
/// answer then. It looks like what the machine does not have.
struct LostKeys {
  std::vector<std::string> names;  // "" for one whose name is not known even now
  std::uint32_t count = 0;         // of keys that the controller says it has
  bool isAll = false;              // nothing was listed
  bool isCut = false;              // there may be more of them

  /// Whether a key may be among them that belongs to the fans, whose names begin with "F".
  [[nodiscard]] bool mayConcernFans() const;
  /// Puts the first that may belong to the fans before all others, so that `text` names it.
  void add(std::string name);
  /// "2 of the controller's 13 keys were not listed (FNum, F0Md)".
  [[nodiscard]] std::string text() const;
};

/// Asks the controller again for what is missing in the list, and nothing when it is whole. Not
/// lost are keys that cannot be listed: without a name that is text, or beyond the list's end. Of
/// many it names a few, one of the fans' among them if there is one and the options' command needs
/// it. Throws ExitError when the controller does not say how many there are.
[[nodiscard]] LostKeys lostKeys(const QXSMCInterface& smc, const Options& options);

/// Throws ExitError when keys were lost without which the options' command would say what is not
/// true: all of them, those of fans for what is about fans, any for a self-test, and to hand a fan
/// back only those that it takes, asked for by name. Says otherwise on standard error that some
/// were.
void requireListedKeys(const QXSMCInterface& smc, const Options& options);

}  // namespace halvarin::host
