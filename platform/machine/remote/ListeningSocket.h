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
  /// Listens at a path; a socket there that nobody listens at any more is replaced. Else a line
  /// that names the path and the reason, and what lies at the path is untouched.
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
  ListeningSocket(ScopedDescriptor descriptor, const std::string& path);

  const ScopedDescriptor descriptor_;
  const std::string path_;
  struct stat file_ {};  // so that the file of a later server is not removed
};

}  // namespace halvarin::platform
