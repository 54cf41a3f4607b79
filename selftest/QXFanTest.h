#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/Array.h"
#include "base/AtomicProperty.h"
#include "base/Dictionary.h"
#include "base/Export.h"
#include "platform/Queue.h"
#include "selftest/FanTestMachine.h"
#include "selftest/FanTestOwner.h"
#include "sensors/QXHalvarin.h"

namespace halvarin {

/// How far a run has come.
struct FanTestProgress {
  std::string_view state;            // "rah_max"; "init" before the first run, "done" after one
  std::int32_t sample = 0;           // sequence number of the next sample, from 0
  std::int32_t mostSamplesLeft = 0;  // one each 250 ms
};

/// The self-test of one fan: forces it to its highest and least speed, hands it back and judges
/// what it did (selftest/FanTestMachine.h, FanTestVerdict.h). Properties may be used by any thread.
///
/// A run does not always hand its fan back. On machines that force fans by bits "mode" always reads
/// 0, so that a run takes its fan for handed back; and a run that ends in "Timeout" hands nothing
/// back on any machine. Destroying the test does: drop it, or let the manager make new ones
/// (`reInitFanTests`), once the results are read. On machines with a fan test flag the first test
/// to end switches it off for all, so that a healthy fan that is tested longer may fail.
class HALVARIN_EXPORT QXFanTest {
 public:
  /// Receives a fan's dictionary (sensors/FanRecord.h) at every reading.
  using ReadingHandler = std::function<void(const DictionaryRef& fan)>;

  /// A test of the fan that a dictionary of `readFans` describes. The fan is selected unless it is
  /// the special one or its index is 15 or above. The delegate is not kept alive; without one the
  /// test reads on a queue of its own.
  [[nodiscard]] static std::shared_ptr<QXFanTest> fanTestWithAttribs(
      const Dictionary& attribs, std::weak_ptr<FanTestOwner> delegate);
  [[nodiscard]] static std::shared_ptr<QXFanTest> initWithAttribs(
      const Dictionary& attribs, std::weak_ptr<FanTestOwner> delegate);

  /// Hands the fan back to automatic control.
  ~QXFanTest();
  QXFanTest(const QXFanTest&) = delete;
  QXFanTest& operator=(const QXFanTest&) = delete;

  /// Runs the whole test on the calling thread: 250 ms a sample on the machine's clock, 680 samples
  /// at most (FanTestMachine.h names the one exception), about 110 for a healthy fan. `handler`
  /// runs on this thread; an `Exception` from it is logged and the sample taken again, without
  /// limit; any other leaves the run at once, with the fan as it is. A fan that cannot be read is
  /// treated likewise, only that a run without readings can be canceled. `progress` is kept alive
  /// for the run. Sets `status` at the end. One run at a time.
  void startTestWithProgress(const std::shared_ptr<const void>& progress,
                             const ReadingHandler& handler);

  /// Ends the run at its current sample, with the fan handed back and "Canceled". Deliberate: a run
  /// that starts afterwards does not know of it.
  void cancel() { isCancel_ = true; }

  /// Selects the fan for the manager's next batch or not, with notices to the delegate before and
  /// after. A fan whose index is above 14 stays as it is. Selecting the special fan shows a warning
  /// first and does not wait for it.
  void setSelected(bool value);
  [[nodiscard]] bool selected() const { return selected_; }

  /// Fits a line to numbers over their places, 0 for the first. Always returns 0: a series that
  /// has no line shows as not-a-number. An element that is no number throws `Exception`.
  std::int32_t linearRegression(const Array& values, double& slope, double& intercept, double& sdx,
                                double& sdy, double& r2) const;

  /// Appends a line with its time to a file of the log folder (selftest/TestLog.h); without a name
  /// to "qrb.log". A line that cannot be written is lost.
  static void log(std::optional<std::string_view> name, std::optional<std::string_view> entry);

  /// Writes lines to a new file of the log folder (`csvPath` names it). Each line is complete as it
  /// is given. A file that cannot be written is lost; an element that is no text throws
  /// `Exception`.
  void saveFanAsCSV(const Array& lines, std::string_view user) const;

  /// Where the run is.
  [[nodiscard]] FanTestProgress progress() const { return progress_.get(); }

  /// The verdict of the last run: "Passed", "Failed", "Timeout" or "Canceled"; "" before any.
  [[nodiscard]] std::string status() const { return status_.get(); }
  void setStatus(std::string value) { status_.set(std::move(value)); }

  /// The fan's name as the controller has it, blanks at its end included.
  [[nodiscard]] std::string fanLocation() const { return fanLocation_.get(); }
  void setFanLocation(std::string value) { fanLocation_.set(std::move(value)); }

  /// The name for people: trimmed, and translated where the host has a translation.
  [[nodiscard]] std::string fanLocationLocalized() const { return fanLocationLocalized_.get(); }
  void setFanLocationLocalized(std::string value) { fanLocationLocalized_.set(std::move(value)); }

  [[nodiscard]] std::shared_ptr<FanTestOwner> delegate() const { return delegate_.get().lock(); }
  void setDelegate(std::weak_ptr<FanTestOwner> value) { delegate_.set(std::move(value)); }

  /// Whether the fan may be selected now; the manager clears it while a batch runs.
  [[nodiscard]] bool enabled() const { return enabled_; }
  void setEnabled(bool value) { enabled_ = value; }

  /// The fan's "speed" when the test was made.
  [[nodiscard]] Value fanSpeed() const { return fanSpeed_.get(); }
  void setFanSpeed(Value value) { fanSpeed_.set(std::move(value)); }

 private:
  struct Run;

  QXFanTest(const Dictionary& attribs, std::weak_ptr<FanTestOwner> delegate);
  [[nodiscard]] DictionaryRef readFan(const platform::Semaphore& ready) const;
  [[nodiscard]] bool takeSample(Run& run, const ReadingHandler& handler);
  void command(const FanTestCommands& commands) const;
  void handBack() const;
  void logReadFault(const Run& run, std::string_view reason) const;
  void end(const Run& run);

  const std::shared_ptr<QXHalvarin> saf_;  // null when it could not be had
  const platform::Queue rdq_;
  const std::uint32_t fanIndex_;
  bool isSpecial_ = false;
  std::atomic<bool> isCancel_ = false;
  std::atomic<bool> selected_ = false;
  std::atomic<bool> enabled_ = false;
  AtomicProperty<std::string> status_;
  AtomicProperty<std::string> fanLocation_;
  AtomicProperty<std::string> fanLocationLocalized_;
  AtomicProperty<std::weak_ptr<FanTestOwner>> delegate_;
  AtomicProperty<Value> fanSpeed_;
  AtomicProperty<FanTestProgress> progress_;
};

}  // namespace halvarin
