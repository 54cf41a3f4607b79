#include "platform/posix/PrivateDescriptors.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace halvarin::platform {

namespace {

// A program that another thread starts just before this may inherit the descriptor: the system has
// no call that does both at once.
int madePrivate(int descriptor) {
  if (descriptor >= 0) {
    ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
  }
  return descriptor;
}

/// Sending to a peer that is gone is no signal from now on.
int madeQuiet(int socket) {
  if (socket >= 0) {
    const int yes = 1;
    ::setsockopt(socket, SOL_SOCKET, SO_NOSIGPIPE, &yes, sizeof yes);
  }
  return socket;
}

}  // namespace

int openPrivatePipe(std::array<int, 2>& ends) {
  const int result = ::pipe(ends.data());
  for (const int end : ends) {
    if (result == 0) {
      neverWait(madePrivate(end));
    }
  }
  return result;
}

int openPrivateSocket() {
  return madeQuiet(madePrivate(::socket(AF_UNIX, SOCK_STREAM, 0)));
}

int acceptPrivateSocket(int listening) {
  const int client = madeQuiet(madePrivate(::accept(listening, nullptr, nullptr)));
  if (client >= 0) {  // whether it waits is inherited from the listening socket here
    ::fcntl(client, F_SETFL, ::fcntl(client, F_GETFL) & ~O_NONBLOCK);
  }
  return client;
}

std::ptrdiff_t sendWithoutSignal(int socket, const void* bytes, std::size_t size) {
  return ::send(socket, bytes, size, 0);
}

}  // namespace halvarin::platform
