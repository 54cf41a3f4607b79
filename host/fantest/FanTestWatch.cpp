#include "host/fantest/FanTestWatch.h"

#include <algorithm>
#include <chrono>
#include <string_view>
#include <utility>

#include "base/Exception.h"
#include "host/fantest/FanTestCsv.h"
#include "selftest/TestStatus.h"
#include "sensors/FanKey.h"
#include "sensors/FanRecord.h"

namespace halvarin::host {

namespace {

double doneShare(const FanTestProgress& progress) {
  const int expected = progress.sample + progress.mostSamplesLeft;
  return expected > 0 ? static_cast<double>(progress.sample) / expected : 1;
}

void showProgress(const QXFanTest& test, FanTestView& view) {
  const FanTestProgress progress = test.progress();
  const bool hasEnded = progress.state == fanTestStateName(FanTestState::done);
  view.state = hasEnded ? test.status() : std::string(progress.state);
  if (view.state != status::kCanceled) {  // one that was canceled stays where it was
    view.doneShare = doneShare(progress);
  }
}

void take(FanSeen& seen, double speedRpm) {
  seen.lowestRpm = std::min(seen.lowestRpm.value_or(speedRpm), speedRpm);
  seen.highestRpm = std::max(seen.highestRpm.value_or(speedRpm), speedRpm);
}

/// The limit that a reading lost without a status: only fans with a highest speed are tested, and
/// one that had a least speed still has it.
std::optional<UnreadKey> lostLimitOf(const Dictionary& fan, const DictionaryRef& lastGood) {
  const auto lost = [&fan](std::string_view suffix) {
    return UnreadKey{fan::key(fan.get(fan::kIndex).unsignedIntValue(), suffix), 0};
  };
  if (!(fan.get(fan::kMax).doubleValue() > 0)) {
    return lost(fan::kMaximumSuffix);
  }
  const bool hadMinimum = lastGood && lastGood->get(fan::kMin).doubleValue() > 0;
  if (hadMinimum && !(fan.get(fan::kMin).doubleValue() > 0)) {
    return lost(fan::kMinimumSuffix);
  }
  return std::nullopt;
}

}  // namespace

FanTestWatch::FanTestWatch(std::vector<Fan> fans,
                           std::function<void(const std::string& line)> onStateChange)
    : fans_(std::move(fans)), onStateChange_(std::move(onStateChange)) {
  const MutexLock lock(mutex_);
  for (const Fan& fan : fans_) {
    Entry& entry = entries_[fan.index];
    entry.view.name = fan.name;
    entry.view.state = "waiting";
  }
}

void FanTestWatch::updateFanProgress(const DictionaryRef& fan) {
  const std::uint32_t index = fan->get(fan::kIndex).unsignedIntValue();
  const auto found = std::find_if(fans_.begin(), fans_.end(),
                                  [index](const Fan& each) { return each.index == index; });
  const auto test = found != fans_.end() ? found->test.lock() : nullptr;
  if (!test) {
    return;
  }
  const FanTestProgress progress = test->progress();
  auto unread = unreadKeyOf(*fan);
  const MutexLock lock(mutex_);
  Entry& entry = entries_[index];
  unread = unread ? unread : lostLimitOf(*fan, entry.lastGood);
  if (unread) {
    refuse(entry, *unread, *fan);
    return;
  }
  entry.lastGood = fan;
  entry.refusals = 0;
  FanTestView& view = entry.view;
  view.speedRpm = fan->get(fan::kSpeed).doubleValue();
  view.targetRpm = fan->get(fan::kTarget).doubleValue();
  view.hasReading = true;
  view.doneShare = doneShare(progress);
  take(entry.seen, view.speedRpm);
  entry.seen.csvLines.push_back(csvLine(progress, *fan));
  if (view.state != progress.state) {
    view.state = progress.state;
    onStateChange_(stateLine(view));
  }
}

void FanTestWatch::refuse(Entry& entry, const UnreadKey& unread, Dictionary& fan) {
  if (entry.refusals == 0) {
    entry.refusedSince = platform::currentClock()->now();
  }
  ++entry.refusals;
  entry.unread = unread;
  if (refuses_) {
    throw Exception("UnreadKey", unread.key + " cannot be read" + unread.statusText());
  }
  if (entry.lastGood) {
    fan.addEntriesFrom(*entry.lastGood);  // a highest speed of 0 RPM must not be commanded
  }
}

std::optional<UnreadFan> FanTestWatch::unreadFan() const {
  constexpr std::chrono::seconds kLongest(10);
  constexpr int kFewest = 8;  // a reading is due every 250 ms; one or two fail at any time
  const platform::Clock::Duration now = platform::currentClock()->now();
  const MutexLock lock(mutex_);
  for (const auto& [index, entry] : entries_) {
    if (entry.refusals >= kFewest && now - entry.refusedSince >= kLongest) {
      return UnreadFan{entry.view.name, entry.unread};
    }
  }
  return std::nullopt;
}

std::vector<FanTestView> FanTestWatch::views() const {
  std::vector<FanTestView> views;
  views.reserve(fans_.size());
  for (const Fan& fan : fans_) {
    const auto test = fan.test.lock();
    const MutexLock lock(mutex_);
    FanTestView view = entries_.at(fan.index).view;
    if (test && view.hasReading) {
      showProgress(*test, view);
    }
    views.push_back(std::move(view));
  }
  return views;
}

std::int64_t FanTestWatch::samples() const {
  std::int64_t samples = 0;
  for (const Fan& fan : fans_) {
    if (const auto test = fan.test.lock()) {
      samples += test->progress().sample;
    }
  }
  return samples;
}

FanSeen FanTestWatch::seen(std::uint32_t index) const {
  const MutexLock lock(mutex_);
  const auto found = entries_.find(index);
  return found != entries_.end() ? found->second.seen : FanSeen();
}

}  // namespace halvarin::host
