#pragma once

#include <sys/stat.h>

#include <memory>
#include <string>
#include <variant>

#include "platform/machine/remote/MachineSocket.h"
#include "platform/machine/remote/SocketAddress.h"

namespace halvarin::platform {

/// A socket in the file system that clients connect to: for its owner only (mode 0600), and gone
/// from the file system with this object.
class ListeningSocket {
 public:
  /// Listens at a path; a socket there that refuses everybody for a fifth of a second has nobody
  /// who listens any more, and is replaced. Else a line that names the path and the reason, and
  /// what lies at the path is untouched.
  [[nodiscard]] static std::variant<std::unique_ptr<ListeningSocket>, std::string> at(
      const std::string& path);
  ~ListeningSocket();
  ListeningSocket(const ListeningSocket&) = delete;
  ListeningSocket& operator=(const ListeningSocket&) = delete;

  /// Waits for the next client. Null after stop(), or when the system lacks something at the
  /// moment, descriptors for example.
  [[nodiscard]] std::unique_ptr<MachineSocket> accept() const;

  /// Makes accept() return null at once, now and from then on. Any thread.
  void stop() const;

 private:
  // A pipe that holds a byte once stop() was called: not every system ends an accept() that waits
  // when its socket is shut down.
  struct StopSign {
    ScopedDescriptor read;
    ScopedDescriptor write;
  };

  ListeningSocket(ScopedDescriptor descriptor, StopSign stopSign, const std::string& path);
  [[nodiscard]] bool awaitClient() const;

  const ScopedDescriptor descriptor_;
  const StopSign stopSign_;
  const std::string path_;
  struct stat file_ {};  // so that the file of a later server is not removed
};

}  // namespace halvarin::platform
