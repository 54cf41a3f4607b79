// The one option of sockets that this computer lacks: it tells by each call whether sending may end
// in a signal.

#include <dlfcn.h>
#include <sys/socket.h>
#include <sys/types.h>

#include <mutex>
#include <unordered_set>

namespace {

class QuietSockets {
 public:
  void add(int socket) {
    const std::lock_guard lock(mutex_);
    sockets_.insert(socket);
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

}  // namespace

extern "C" {

int setsockopt(int socket, int level, int option, const void* value, socklen_t size) noexcept {
  using Call = int (*)(int, int, int, const void*, socklen_t);
  static const auto systems = reinterpret_cast<Call>(dlsym(RTLD_NEXT, "setsockopt"));
  if (level == SOL_SOCKET && option == SO_NOSIGPIPE) {
    quietSockets().add(socket);
    return 0;
  }
  return systems(socket, level, option, value, size);
}

ssize_t send(int socket, const void* bytes, size_t size, int flags) {
  using Call = ssize_t (*)(int, const void*, size_t, int);
  static const auto systems = reinterpret_cast<Call>(dlsym(RTLD_NEXT, "send"));
  return systems(socket, bytes, size, quietSockets().has(socket) ? flags | MSG_NOSIGNAL : flags);
}

}  // extern "C"
