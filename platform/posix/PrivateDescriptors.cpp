#include "platform/posix/PrivateDescriptors.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace halvarin::platform {

int openPrivatePipe(std::array<int, 2>& ends) {
  return ::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK);
}

int openPrivateSocket() {
  return ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

int acceptPrivateSocket(int listening) {
  return ::accept4(listening, nullptr, nullptr, SOCK_CLOEXEC);
}

std::ptrdiff_t sendWithoutSignal(int socket, const void* bytes, std::size_t size) {
  return ::send(socket, bytes, size, MSG_NOSIGNAL);
}

}  // namespace halvarin::platform
