#include <sys/sysctl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>

#include "platform/machine/CurrentMachine.h"

namespace {

int fail(int error) {
  errno = error;
  return -1;
}

/// The setting as the bytes that the call copies: a text with its zero, or four bytes.
std::string bytesOf(const halvarin::Value& setting) {
  if (setting.isText()) {
    return setting.text().string() + '\0';
  }
  const std::int32_t number = setting.intValue();
  std::string bytes(sizeof number, '\0');
  std::memcpy(bytes.data(), &number, sizeof number);
  return bytes;
}

}  // namespace

int sysctlbyname(const char* name, void* oldValue, size_t* oldSize, void* newValue,
                 size_t /*newSize*/) {
  if (newValue != nullptr) {
    return fail(EPERM);
  }
  const halvarin::Value setting = halvarin::platform::currentMachine()->setting(name);
  if (setting.isNothing()) {
    return fail(ENOENT);
  }
  const std::string bytes = bytesOf(setting);
  if (oldSize == nullptr) {
    return 0;
  }
  const size_t capacity = *oldSize;
  if (oldValue == nullptr) {
    *oldSize = bytes.size();
    return 0;
  }
  *oldSize = std::min(capacity, bytes.size());
  std::copy_n(bytes.begin(), *oldSize, static_cast<char*>(oldValue));
  return capacity < bytes.size() ? fail(ENOMEM) : 0;
}
