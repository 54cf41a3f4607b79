#include "platform/BackgroundThread.h"

#include <memory>
#include <utility>

#include "platform/posix/DetachedThread.h"

namespace halvarin::platform {

void performInBackground(std::function<void()> work) {
  const auto kept = std::make_shared<const std::function<void()>>(std::move(work));
  if (!startDetachedThread([kept] { (*kept)(); })) {
    performAsThread(*kept);
  }
}

}  // namespace halvarin::platform
