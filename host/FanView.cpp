#include "host/FanView.h"

#include <memory>
#include <string_view>
#include <utility>

#include "base/NumberText.h"
#include "base/Text.h"
#include "host/Terminal.h"
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

ForcedBy forcedBy(std::uint32_t fan) {
  if (keyRecord(fan::key(fan, fan::kModeSuffix)) ||
      keyRecord(fan::key(fan, fan::kLowerModeSuffix))) {
    return ForcedBy::modeKey;
  }
  return keyRecord(fan::kForceBitsKey) ? ForcedBy::forceBits : ForcedBy::nothing;
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
  view.forcedBy = forcedBy(view.index);
  view.mode = view.forcedBy == ForcedBy::forceBits
                  ? static_cast<std::int32_t>(hasForceBit(view.index))
                  : fan.get(fan::kMode).intValue();
  view.isForced = view.mode == kForcedMode;
  view.control = controlText(view.mode);
  return view;
}

}  // namespace

FansView fansView(const Array& fans) {
  FansView view;
  for (const Value& each : fans.elements()) {
    const DictionaryRef fan = each.dictionary();
    view.fans.push_back(fanView(*fan));
    view.hottest = printable(fan->get(fan::kTemp).description());
  }
  return view;
}

FansView readFansView(QXHalvarin& facade) {
  return fansView(*facade.readFans());
}

std::optional<std::int32_t> fanCountStatus() {
  const DictionaryRef record = keyRecord(fan::kCountKey);
  const std::int32_t status = record ? record->get(record::kError).intValue() : 0;
  return status != 0 ? std::optional(status) : std::nullopt;
}

std::string fanName(const FanView& fan) {
  const bool isNamed = !fan.location.empty() && fan.location.rfind("Fan", 0) != 0;
  return "Fan " + std::to_string(fan.index) + (isNamed ? " (" + fan.location + ")" : "");
}

std::string hottestLine(const FansView& view) {
  const bool isReading = wholeDecimal(view.hottest).has_value();
  return "Hottest reading: " + view.hottest + (isReading ? " °C" : "");
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
