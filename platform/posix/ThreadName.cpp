#include "platform/posix/ThreadName.h"

#include <pthread.h>

#include <cstddef>
#include <string>

namespace halvarin::platform {

namespace {

// The kernel keeps 16 bytes with the closing zero and refuses longer names.
constexpr std::size_t kLongestName = 15;

bool continuesCharacter(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

std::string_view shortened(std::string_view name) {
  if (name.size() <= kLongestName) {
    return name;
  }
  std::size_t length = kLongestName;
  while (length > 0 && continuesCharacter(name[length])) {
    --length;
  }
  return name.substr(0, length);
}

}  // namespace

void nameThisThread(std::string_view name) {
  static_cast<void>(pthread_setname_np(pthread_self(), std::string(shortened(name)).c_str()));
}

}  // namespace halvarin::platform
