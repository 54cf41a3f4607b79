// What macOS's sockets do and this computer's do not: an option says whether sending may end in a
// signal, which is told by each call here; and a socket that was accepted never waits when the
// listening one does not.

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/types.h>
#include <unistd.h>

#include <mutex>
#include <unordered_set>

namespace {

class QuietSockets {
 public:
  void add(int socket) {
    const std::lock_guard lock(mutex_);
    sockets_.insert(socket);
  }
  void remove(int socket) {
    const std::lock_guard lock(mutex_);
    sockets_.erase(socket);
  }
  bool has(int socket) {
    const std::lock_guard lock(mutex_);
    return sockets_.count(socket) != 0;
  }

 private:
  std::mutex mutex_;
  std::unordered_set<int> sockets_;
};

QuietSockets& quietSockets() {
  static auto* const sockets = new QuietSockets;
  return *sockets;
}

template <typename Call>
Call systemsOwn(const char* name) {
  return reinterpret_cast<Call>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

// The number is free for another socket from the call on.
int close(int descriptor) {
  static const auto systems = systemsOwn<int (*)(int)>("close");
  quietSockets().remove(descriptor);
  return systems(descriptor);
}

int accept(int socket, sockaddr* address, socklen_t* size) {
  static const auto systems = systemsOwn<int (*)(int, sockaddr*, socklen_t*)>("accept");
  const int accepted = systems(socket, address, size);
  if (accepted >= 0 && (::fcntl(socket, F_GETFL) & O_NONBLOCK) != 0) {
    ::fcntl(accepted, F_SETFL, ::fcntl(accepted, F_GETFL) | O_NONBLOCK);
  }
  return accepted;
}

int setsockopt(int socket, int level, int option, const void* value, socklen_t size) noexcept {
  using Call = int (*)(int, int, int, const void*, socklen_t);
  static const auto systems = systemsOwn<Call>("setsockopt");
  if (level == SOL_SOCKET && option == SO_NOSIGPIPE) {
    quietSockets().add(socket);
    return 0;
  }
  return systems(socket, level, option, value, size);
}

ssize_t send(int socket, const void* bytes, size_t size, int flags) {
  static const auto systems = systemsOwn<ssize_t (*)(int, const void*, size_t, int)>("send");
  return systems(socket, bytes, size, quietSockets().has(socket) ? flags | MSG_NOSIGNAL : flags);
}

}  // extern "C"
