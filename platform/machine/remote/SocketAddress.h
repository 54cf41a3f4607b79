#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <string>
#include <utility>
#include <variant>

namespace halvarin::platform {

/// A file descriptor of the process, closed at the end of its owner; -1 for none.
class ScopedDescriptor {
 public:
  explicit ScopedDescriptor(int number) : number_(number) {}
  ScopedDescriptor(ScopedDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  ScopedDescriptor& operator=(ScopedDescriptor&&) = delete;
  ~ScopedDescriptor();

  [[nodiscard]] int number() const { return number_; }
  [[nodiscard]] bool isOpen() const { return number_ >= 0; }

 private:
  int number_;
};

/// A path as the name of a unix-domain socket.
class SocketAddress {
 public:
  /// Else why the path cannot be one: it is empty, has a zero in it or is too long, never cut.
  [[nodiscard]] static std::variant<SocketAddress, std::string> of(const std::string& path);

  /// The error number of binding the socket to this path, 0 on success.
  [[nodiscard]] int bind(const ScopedDescriptor& socket) const;
  /// The error number of connecting the socket to the one of this path, 0 on success.
  [[nodiscard]] int connect(const ScopedDescriptor& socket) const;

 private:
  SocketAddress() = default;
  [[nodiscard]] const sockaddr* name() const;

  sockaddr_un name_{};
};

/// A stream socket that programs started later do not inherit.
[[nodiscard]] ScopedDescriptor newStreamSocket();

/// What an error number of the system means, for a person.
[[nodiscard]] std::string systemReason(int error);

}  // namespace halvarin::platform
