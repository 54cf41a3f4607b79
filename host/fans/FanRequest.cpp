#include "host/fans/FanRequest.h"

#include "base/NumberText.h"

namespace halvarin::host {

TargetRange targetRange(std::string_view targetType) {
  constexpr std::uint32_t kMostQuarters = 16383;  // of the 16 bits, two are fraction
  constexpr std::uint32_t kMostFloat = 65535;     // what the command itself takes
  if (targetType == "fpe2" || targetType == "ui16") {
    return {true, kMostQuarters};
  }
  return targetType == "flt " ? TargetRange{true, kMostFloat} : TargetRange{};
}

std::string refusalOf(const SpeedRequest& request, const FanView& fan) {
  const TargetRange range = targetRange(fan.targetType);
  const std::string name = fanName(fan);
  if (fan.forcedBy == ForcedBy::nothing || !range.canBeSet) {
    return name + " cannot be forced: the machine has no key for it";
  }
  if (request.rpm > range.mostRpm) {
    return name + " takes " + std::to_string(range.mostRpm) + " RPM at most";
  }
  const std::string most = std::to_string(range.mostRpm);
  if (!request.isForced && !(fan.minimumRpm < fan.maximumRpm)) {
    return name + " states no range; --force sets any speed, up to " + most;
  }
  const bool isInside = request.rpm >= fan.minimumRpm && request.rpm <= fan.maximumRpm;
  if (isInside || request.isForced) {
    return "";
  }
  return name + " turns at " + fixedText(fan.minimumRpm, 0) + " to " +
         fixedText(fan.maximumRpm, 0) + " RPM; --force sets other speeds, up to " + most;
}

std::string noSuchFan(std::uint32_t fan, std::size_t count) {
  const std::string there = count == 0   ? "this machine has no fans"
                            : count == 1 ? "there is fan 0 only"
                                         : "there are fans 0 to " + std::to_string(count - 1);
  return "there is no fan " + std::to_string(fan) + "; " + there;
}

}  // namespace halvarin::host
