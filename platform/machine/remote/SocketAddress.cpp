#include "platform/machine/remote/SocketAddress.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <iterator>
#include <system_error>

#include "platform/posix/PrivateDescriptors.h"

namespace halvarin::platform {

ScopedDescriptor::~ScopedDescriptor() {
  if (isOpen()) {
    ::close(number_);
  }
}

std::variant<SocketAddress, std::string> SocketAddress::of(const std::string& path) {
  SocketAddress address;
  // The end is marked by a zero.
  constexpr std::size_t kMostPathBytes = sizeof address.name_.sun_path - 1;
  // A zero at the front would name a socket outside the file system, which has no permissions.
  if (path.empty() || path.find('\0') != std::string::npos) {
    return "a socket needs a path";
  }
  if (path.size() > kMostPathBytes) {
    return "the path of a socket has at most " + std::to_string(kMostPathBytes) +
           " bytes, this one has " + std::to_string(path.size());
  }
  address.name_.sun_family = AF_UNIX;
  std::copy(path.begin(), path.end(), std::begin(address.name_.sun_path));
  return address;
}

int SocketAddress::bind(const ScopedDescriptor& socket) const {
  return ::bind(socket.number(), name(), sizeof name_) == 0 ? 0 : errno;
}

int SocketAddress::connect(const ScopedDescriptor& socket) const {
  int result = 0;
  do {
    result = ::connect(socket.number(), name(), sizeof name_);
  } while (result != 0 && errno == EINTR);
  return result == 0 ? 0 : errno;
}

const sockaddr* SocketAddress::name() const {
  return static_cast<const sockaddr*>(static_cast<const void*>(&name_));
}

ScopedDescriptor newStreamSocket() {
  return ScopedDescriptor(openPrivateSocket());
}

std::string systemReason(int error) {
  return std::system_category().message(error);
}

}  // namespace halvarin::platform
