#include "host/fans/FanView.h"

#include <array>
#include <memory>
#include <string_view>
#include <utility>

#include "base/NumberText.h"
#include "base/PrintableText.h"
#include "base/Text.h"
#include "host/Exit.h"
#include "host/PassView.h"
#include "sensors/FanKey.h"
#include "sensors/FanRecord.h"
#include "smc/KeyRecord.h"
#include "smc/QXSMCInterface.h"

namespace halvarin::host {

namespace {

DictionaryRef keyRecord(std::string_view key) {
  const auto smc = QXSMCInterface::sharedSMC();
  const DictionaryRef table = smc ? smc->keyDict() : nullptr;
  return table ? table->get(key).dictionary() : nullptr;
}

/// The key that says whether a fan is forced.
struct ControlKey {
  ForcedBy kind = ForcedBy::nothing;
  DictionaryRef record;  // null for nothing
};

ControlKey controlKey(std::uint32_t fan) {
  for (const std::string_view suffix : {fan::kModeSuffix, fan::kLowerModeSuffix}) {
    if (const DictionaryRef mode = keyRecord(fan::key(fan, suffix))) {
      return {ForcedBy::modeKey, mode};
    }
  }
  const DictionaryRef bits = keyRecord(fan::kForceBitsKey);
  return {bits ? ForcedBy::forceBits : ForcedBy::nothing, bits};
}

bool hasForceBit(std::uint32_t fan) {
  const DictionaryRef record = keyRecord(fan::kForceBitsKey);
  const std::uint32_t bits = record ? record->get(record::kValue).unsignedIntValue() : 0;
  return ((bits >> (fan % 32)) & 1U) != 0;
}

// What a program writes to force a fan.
constexpr std::int32_t kForcedMode = 1;

std::string controlText(std::int32_t mode) {
  if (mode == 0) {
    return "automatic";
  }
  return mode == kForcedMode ? "forced" : "mode " + std::to_string(mode);
}

FanView fanView(const Dictionary& fan) {
  FanView view;
  view.index = fan.get(fan::kIndex).unsignedIntValue();
  view.location = std::string(trimmed(printable(fan.get(fan::kLocation).text().view())));
  view.speedRpm = fan.get(fan::kSpeed).doubleValue();
  view.targetRpm = fan.get(fan::kTarget).doubleValue();
  view.minimumRpm = fan.get(fan::kMin).doubleValue();
  view.maximumRpm = fan.get(fan::kMax).doubleValue();
  const DictionaryRef target = keyRecord(fan::key(view.index, fan::kTargetSuffix));
  view.targetType = target ? target->get(record::kDataType).text().string() : "";
  for (const std::string_view suffix : {fan::kMinimumSuffix, fan::kMaximumSuffix}) {
    const DictionaryRef limit = keyRecord(fan::key(view.index, suffix));
    if (limit && view.rangeStatus == 0) {
      view.rangeStatus = limit->get(record::kError).intValue();
    }
  }
  const ControlKey control = controlKey(view.index);
  view.forcedBy = control.kind;
  view.controlStatus = control.record ? control.record->get(record::kError).intValue() : 0;
  view.mode = view.forcedBy == ForcedBy::forceBits
                  ? static_cast<std::int32_t>(hasForceBit(view.index))
                  : fan.get(fan::kMode).intValue();
  view.isForced = view.mode == kForcedMode;
  view.control = view.controlStatus != 0 ? "not read" : controlText(view.mode);
  return view;
}

/// The "temp" of a fan dictionary may be a reading that failed; a person wants a temperature.
std::string hottestText(const QXHalvarin& facade) {
  const DictionaryRef categories = facade.sensorKeys();
  const auto hottest = hottestOf(categories->get("temperature"), 1);
  return hottest.empty() ? "none"
                         : printable(hottest[0]->get(record::kValue).text().view()) + " °C";
}

}  // namespace

FansView fansView(const QXHalvarin& facade, const Array& fans) {
  FansView view;
  view.hottest = hottestText(facade);
  for (const Value& each : fans.elements()) {
    const DictionaryRef fan = each.dictionary();
    view.fans.push_back(fanView(*fan));
  }
  return view;
}

FansView readFansView(QXHalvarin& facade) {
  const ArrayRef fans = facade.readFans();
  return fansView(facade, *fans);
}

std::optional<std::int32_t> fanCountStatus() {
  const DictionaryRef record = keyRecord(fan::kCountKey);
  const std::int32_t status = record ? record->get(record::kError).intValue() : 0;
  return status != 0 ? std::optional(status) : std::nullopt;
}

void requireFanCount() {
  if (const auto status = fanCountStatus()) {
    refuseUnread("the number of fans", *status);
  }
}

void refuseUnread(const std::string& what, std::int32_t status) {
  throw ExitError(exitFor(status), what + " cannot be read (status " +
                                       hexText(static_cast<std::uint32_t>(status)) + ")");
}

void requireRange(const FanView& fan) {
  if (fan.rangeStatus != 0) {
    refuseUnread("the range of " + fanName(fan), fan.rangeStatus);
  }
}

std::string UnreadKey::statusText() const {
  return status != 0 ? " (status " + hexText(static_cast<std::uint32_t>(status)) + ")" : "";
}

std::optional<UnreadKey> unreadKeyOf(const Dictionary& fan) {
  struct Judged {
    std::string_view suffix;
    std::string_view entry;
  };
  constexpr std::array<Judged, 4> kJudged{{{fan::kActualSuffix, fan::kSpeed},
                                           {fan::kTargetSuffix, fan::kTarget},
                                           {fan::kMinimumSuffix, fan::kMin},
                                           {fan::kMaximumSuffix, fan::kMax}}};
  for (const auto& [suffix, entry] : kJudged) {
    const std::string key = fan::key(fan.get(fan::kIndex).unsignedIntValue(), suffix);
    const DictionaryRef record = keyRecord(key);
    if (!record) {
      continue;  // the machine has none
    }
    const auto [value, error] = record->getEach(std::array{record::kValue, record::kError});
    // Another reading may have got the key since; the 0 of this one is left.
    const bool isReadSince = fan.get(entry).doubleValue() == 0 && value.doubleValue() != 0;
    if (error.intValue() != 0 || isReadSince) {
      return UnreadKey{key, error.intValue()};
    }
  }
  return std::nullopt;
}

std::string fanName(const FanView& fan) {
  const bool isNamed = !fan.location.empty() && fan.location.rfind("Fan", 0) != 0;
  return "Fan " + std::to_string(fan.index) + (isNamed ? " (" + fan.location + ")" : "");
}

std::string rpmText(double rpm) {
  return fixedText(rpm, 0) + " RPM";
}

Table fansTable(const FansView& view) {
  Table table({{"Fan", Align::right},
               {"Location"},
               {"Speed", Align::right},
               {"Target", Align::right},
               {"Minimum", Align::right},
               {"Maximum", Align::right},
               {"Control"}});
  for (const FanView& fan : view.fans) {
    table.addRow({{std::to_string(fan.index)},
                  {fan.location},
                  {rpmText(fan.speedRpm)},
                  {fixedText(fan.targetRpm, 0)},
                  {fixedText(fan.minimumRpm, 0)},
                  {fixedText(fan.maximumRpm, 0)},
                  {fan.control}});
  }
  return table;
}

}  // namespace halvarin::host
