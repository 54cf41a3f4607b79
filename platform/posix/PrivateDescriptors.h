#pragma once

#include <fcntl.h>

#include <array>
#include <cstddef>

// Pipes and sockets that programs started by this process do not inherit. Like the system's own
// calls: -1 on failure, with the reason in errno.

namespace halvarin::platform {

/// A pipe whose ends never wait; 0 on success, and the reading end is the first.
[[nodiscard]] int openPrivatePipe(std::array<int, 2>& ends);

/// A unix-domain stream socket.
[[nodiscard]] int openPrivateSocket();

/// The next client of a listening socket, itself a socket that waits.
[[nodiscard]] int acceptPrivateSocket(int listening);

/// From now on connecting, reading and writing never wait; 0 on success.
inline int neverWait(int descriptor) {
  return ::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) | O_NONBLOCK);
}

/// Sends what fits; how many bytes that were. A peer that is gone is EPIPE and no signal. For
/// sockets from here.
[[nodiscard]] std::ptrdiff_t sendWithoutSignal(int socket, const void* bytes, std::size_t size);

}  // namespace halvarin::platform
