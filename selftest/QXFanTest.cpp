#include "selftest/QXFanTest.h"

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "base/Exception.h"
#include "base/ScopeGuard.h"
#include "base/Text.h"
#include "platform/HostServices.h"
#include "selftest/FanTestVerdict.h"
#include "selftest/LinearRegression.h"
#include "selftest/TestLogWriter.h"
#include "sensors/FanRecord.h"

namespace halvarin {

namespace {

constexpr std::chrono::milliseconds kSampleInterval(250);
constexpr std::string_view kLogName = "fantest";

constexpr std::uint32_t kMostSelectable = 14;  // the last index that can be selected
constexpr std::string_view kSpecialModel = "iMac9,1";
constexpr std::string_view kSpecialLocation = "ODD";

platform::Queue readQueueOf(const std::weak_ptr<FanTestOwner>& delegate) {
  const auto owner = delegate.lock();
  return owner ? owner->read_queue()
               : platform::Queue(std::string(kFanReadQueueLabel), platform::Queue::Kind::serial);
}

/// The text as a format ("%@", "%%") whose one argument is the empty string.
std::string formattedWithNothing(std::string_view format) {
  std::string text;
  for (std::size_t place = 0; place < format.size(); ++place) {
    const std::string_view two = format.substr(place, 2);
    if (two != "%@") {
      text.push_back(format[place]);
    }
    place += two == "%@" || two == "%%" ? 1U : 0U;
  }
  return text;
}

void warnOfSpecialFan() {
  platform::showAlert({platform::localizedText("Warning!"), platform::localizedText("OK"),
                       formattedWithNothing(platform::localizedText("ODD Warning"))});
}

}  // namespace

/// One run, from its start to its verdict.
struct QXFanTest::Run {
  FanTestRun at;
  FanReading last;
  platform::Semaphore ready{0};
  std::shared_ptr<const void> progress;  // kept alive
  // Deliberate: complete for the length of the run, and read by nobody.
  std::vector<DictionaryRef> samples;
};

std::shared_ptr<QXFanTest> QXFanTest::fanTestWithAttribs(const Dictionary& attribs,
                                                         std::weak_ptr<FanTestOwner> delegate) {
  return initWithAttribs(attribs, std::move(delegate));
}

std::shared_ptr<QXFanTest> QXFanTest::initWithAttribs(const Dictionary& attribs,
                                                      std::weak_ptr<FanTestOwner> delegate) {
  return std::shared_ptr<QXFanTest>(new QXFanTest(attribs, std::move(delegate)));
}

QXFanTest::QXFanTest(const Dictionary& attribs, std::weak_ptr<FanTestOwner> delegate)
    : saf_(QXHalvarin::sharedHalvarin()),
      rdq_(readQueueOf(delegate)),
      fanIndex_(attribs.get(fan::kIndex).unsignedIntValue()) {
  const std::string location = attribs.get(fan::kLocation).text().string();
  setDelegate(std::move(delegate));
  setFanSpeed(attribs.get(fan::kSpeed));
  setFanLocation(location);
  setFanLocationLocalized(platform::localizedText(trimmed(location)));
  setEnabled(attribs.get(fan::kEnabled).boolValue());
  isSpecial_ = saf_ && saf_->machineModel() == kSpecialModel && location == kSpecialLocation;
  selected_ = !isSpecial_ && fanIndex_ <= kMostSelectable;
  const FanTestRun begin;
  progress_.set({fanTestStateName(begin.state), begin.sample, mostFanTestSamplesLeft(begin)});
}

QXFanTest::~QXFanTest() {
  handBack();
}

void QXFanTest::setSelected(bool value) {
  if (value && isSpecial_) {
    warnOfSpecialFan();
  }
  if (fanIndex_ > kMostSelectable) {
    return;
  }
  const auto owner = delegate();
  if (owner) {
    owner->willChangeValueForKey(kSelectedFanTests);
  }
  selected_ = value;
  if (owner) {
    owner->didChangeValueForKey(kSelectedFanTests);
  }
}

// ---- a run -------------------------------------------------------------------------------------

void QXFanTest::startTestWithProgress(const std::shared_ptr<const void>& progress,
                                      const ReadingHandler& handler) {
  log(kLogName, "fantest: " + fanLocation() + " start");
  isCancel_ = false;
  Run run;
  run.progress = progress;
  if (saf_) {
    static_cast<void>(saf_->setFanEnable(true));
  }
  do {
    progress_.set({fanTestStateName(run.at.state), run.at.sample, mostFanTestSamplesLeft(run.at)});
    static_cast<void>(platform::Semaphore(0).wait(kSampleInterval));
  } while (takeSample(run, handler));
  end(run);
}

/// False when the run has ended.
bool QXFanTest::takeSample(Run& run, const ReadingHandler& handler) {
  const DictionaryRef fan = readFan(run.ready);
  if (!fan) {
    logReadFault(run, "the fan cannot be read");
    if (isCancel_) {
      // Nothing says that there will ever be a sample again, so this one is as good as any.
      handBack();
      run.at.exitState = run.at.state;
      return false;
    }
    return true;
  }
  try {
    if (handler) {
      handler(fan);
    }
    run.last = fanReading(*fan);
  } catch (const Exception& fault) {
    logReadFault(run, fault.reason());
    return true;
  }
  const FanTestStep step = takeFanTestSample(run.at, run.last);
  run.samples.push_back(step.sample);
  run.at = step.run;
  command(step.commands);
  if (isCancel_) {
    handBack();
    run.at.exitState = run.at.state;
    return false;
  }
  return run.at.state != FanTestState::done;
}

/// The fan's dictionary of a fresh reading; null when there is none.
DictionaryRef QXFanTest::readFan(const platform::Semaphore& ready) const {
  const auto fan = std::make_shared<DictionaryRef>();
  rdq_.async([facade = saf_, index = fanIndex_, fan, ready] {
    const ScopeGuard tell([&ready] { ready.signal(); });
    if (facade) {
      *fan = facade->readFans()->at(index).dictionary();
    }
  });
  ready.wait();
  return *fan;
}

void QXFanTest::command(const FanTestCommands& commands) const {
  if (saf_ && commands.forceToRpm) {
    static_cast<void>(saf_->setFanMode(1, fanIndex_));
    static_cast<void>(
        saf_->setFanSpeed(static_cast<std::uint16_t>(*commands.forceToRpm), fanIndex_));
  }
  if (commands.handBack) {
    handBack();
  }
  if (const auto owner = delegate(); owner && commands.reportRunning) {
    owner->fan_is_running();
  }
}

void QXFanTest::handBack() const {
  if (saf_) {
    static_cast<void>(saf_->setFanMode(0, fanIndex_));
  }
}

void QXFanTest::logReadFault(const Run& run, std::string_view reason) const {
  log(kLogName, "fantest " + fanLocation() + "  read-fans  state: (" +
                    std::to_string(static_cast<std::uint32_t>(run.at.state)) + ")" +
                    std::string(fanTestStateName(run.at.state)) +
                    "  exception: " + std::string(reason));
}

void QXFanTest::end(const Run& run) {
  if (saf_) {
    static_cast<void>(saf_->setFanEnable(false));
  }
  const double covered = coveredRange(run.at, run.last);
  const std::string verdict(fanVerdict(run.at, covered, isCancel_));
  setStatus(verdict);
  log(kLogName, fanSummaryLine(fanLocation(), verdict, run.at, run.last, covered));
  progress_.set({fanTestStateName(FanTestState::done), run.at.sample, 0});
}

// ---- logs, files, lines ------------------------------------------------------------------------

void QXFanTest::log(std::optional<std::string_view> name, std::optional<std::string_view> entry) {
  appendTestLog(name.value_or(""), entry.value_or(""));
}

void QXFanTest::saveFanAsCSV(const Array& lines, std::string_view user) const {
  saveCsv(lines, fanLocation(), saf_ ? saf_->machineModel() : std::string(), user);
}

std::int32_t QXFanTest::linearRegression(const Array& values, double& slope, double& intercept,
                                         double& sdx, double& sdy, double& r2) const {
  const LineFit fit = fitLine(values);
  r2 = fit.r2;
  slope = fit.slope;
  intercept = fit.intercept;
  sdx = fit.sdx;
  sdy = fit.sdy;
  return 0;
}

}  // namespace halvarin
