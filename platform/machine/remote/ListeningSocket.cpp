#include "platform/machine/remote/ListeningSocket.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace halvarin::platform {

namespace {

constexpr int kWaitingClients = 16;  // more than the programs that one person starts at once

/// Removes a socket that nobody listens at; the text says what else lies there, "" for nothing.
std::string cleared(const SocketAddress& address, const std::string& path) {
  struct stat file {};
  if (::lstat(path.c_str(), &file) != 0) {
    return errno == ENOENT ? "" : systemReason(errno);
  }
  if (!S_ISSOCK(file.st_mode)) {
    return "something that is no socket is there";
  }
  const ScopedDescriptor probe = newStreamSocket(SOCK_NONBLOCK);
  if (!probe.isOpen()) {
    return systemReason(errno);
  }
  const int error = address.connect(probe);
  if (error == 0 || error == EAGAIN) {
    return "another process listens there";
  }
  if (error != ECONNREFUSED || ::unlink(path.c_str()) != 0) {
    return systemReason(errno);
  }
  return "";
}

/// Makes the file; the text says why that failed, "" when it did not.
std::string bound(const SocketAddress& address, const ScopedDescriptor& socket,
                  const std::string& path) {
  if (!socket.isOpen()) {
    return systemReason(errno);
  }
  if (const int error = address.bind(socket); error != 0) {
    return systemReason(error);
  }
  // Nobody can connect before listen(), so that the first mode of the file lets nobody in.
  if (::chmod(path.c_str(), S_IRUSR | S_IWUSR) != 0 ||
      ::listen(socket.number(), kWaitingClients) != 0) {
    const int error = errno;
    ::unlink(path.c_str());
    return systemReason(error);
  }
  return "";
}

}  // namespace

std::variant<std::unique_ptr<ListeningSocket>, std::string> ListeningSocket::at(
    const std::string& path) {
  const auto address = SocketAddress::of(path);
  if (const auto* fault = std::get_if<std::string>(&address)) {
    return path + ": " + *fault;
  }
  std::string fault = cleared(std::get<SocketAddress>(address), path);
  ScopedDescriptor socket = newStreamSocket();
  if (fault.empty()) {
    fault = bound(std::get<SocketAddress>(address), socket, path);
  }
  if (!fault.empty()) {
    return path + ": cannot listen: " + fault;
  }
  return std::unique_ptr<ListeningSocket>(new ListeningSocket(std::move(socket), path));
}

ListeningSocket::ListeningSocket(ScopedDescriptor descriptor, const std::string& path)
    : descriptor_(std::move(descriptor)), path_(path) {
  ::lstat(path.c_str(), &file_);
}

ListeningSocket::~ListeningSocket() {
  struct stat now {};
  if (::lstat(path_.c_str(), &now) == 0 && now.st_dev == file_.st_dev &&
      now.st_ino == file_.st_ino) {
    ::unlink(path_.c_str());
  }
}

std::unique_ptr<MachineSocket> ListeningSocket::accept() const {
  int client = -1;
  do {
    client = ::accept4(descriptor_.number(), nullptr, nullptr, SOCK_CLOEXEC);
  } while (client < 0 && (errno == EINTR || errno == ECONNABORTED));
  return client < 0 ? nullptr : std::make_unique<MachineSocket>(ScopedDescriptor(client));
}

void ListeningSocket::stop() const {
  ::shutdown(descriptor_.number(), SHUT_RDWR);
}

}  // namespace halvarin::platform
