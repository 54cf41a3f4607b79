#include "platform/HostServices.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "base/AtomicProperty.h"
#include "platform/MainThread.h"
#include "platform/posix/HostBundle.h"

namespace halvarin::platform {

namespace {

// What the host has set, shared so that a call is made without a lock and may outlast a change;
// null when there is none.
template <typename Function>
class HostFunction {
 public:
  [[nodiscard]] std::shared_ptr<const Function> get() const { return function_.get(); }
  void set(Function function) {
    function_.set(function ? std::make_shared<const Function>(std::move(function)) : nullptr);
  }

 private:
  AtomicProperty<std::shared_ptr<const Function>> function_;
};

// Neither is ever destroyed: other threads may go on after main has ended.
HostFunction<TextTranslator>& theTranslator() {
  static auto* const translator = new HostFunction<TextTranslator>;
  return *translator;
}

HostFunction<AlertPresenter>& thePresenter() {
  static auto* const presenter = new HostFunction<AlertPresenter>;
  return *presenter;
}

}  // namespace

std::string alertLine(const Alert& alert) {
  std::string line = alert.messageText + " " + alert.informativeText;
  std::replace(line.begin(), line.end(), '\n', ' ');
  return line;
}

std::string localizedText(std::string_view text) {
  const auto translator = theTranslator().get();
  std::optional<std::string> translation = translator ? (*translator)(text) : std::nullopt;
  return translation ? *std::move(translation) : bundleText(text);
}

void setTextTranslator(TextTranslator translator) {
  theTranslator().set(std::move(translator));
}

void showAlert(Alert alert) {
  const auto presenter = thePresenter().get();
  if (!presenter) {
    showAlertOfApplication(alert);
    return;
  }
  MainThread::perform([presenter, alert = std::move(alert)] { (*presenter)(alert); });
}

void setAlertPresenter(AlertPresenter presenter) {
  thePresenter().set(std::move(presenter));
}

}  // namespace halvarin::platform
