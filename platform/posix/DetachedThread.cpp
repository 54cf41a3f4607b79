#include "platform/posix/DetachedThread.h"

#include <exception>
#include <thread>

namespace halvarin::platform {

bool startDetachedThread(const std::function<void()>& work) {
  try {
    std::thread(work).detach();
    return true;
  } catch (const std::exception&) {  // no thread (std::system_error), or no memory for one
    return false;
  }
}

void performAsThread(const std::function<void()>& work) {
  try {
    work();
  } catch (...) {
    std::terminate();
  }
}

}  // namespace halvarin::platform
