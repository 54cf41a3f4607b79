#include "platform/machine/remote/ListeningSocket.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <utility>

#include "platform/Clock.h"
#include "platform/posix/PrivateDescriptors.h"

namespace halvarin::platform {

namespace {

constexpr int kWaitingClients = 16;  // more than the programs that one person starts at once

// Some systems refuse a client also while the queue of waiting ones is full, and a server refuses
// everybody before it listens: both pass in moments.
constexpr int kAttempts = 10;
constexpr std::chrono::milliseconds kBetweenAttempts{20};

/// What connecting without waiting ends with: 0, or the system's number of the error.
int answerOf(const SocketAddress& address) {
  const ScopedDescriptor probe = newStreamSocket();
  if (!probe.isOpen() || neverWait(probe.number()) != 0) {
    return errno;
  }
  return address.connect(probe);
}

/// The same, but a refusal has lasted.
int lastingAnswerOf(const SocketAddress& address) {
  ScaledClock clock;
  int error = answerOf(address);
  for (int i = 1; i < kAttempts && error == ECONNREFUSED; ++i) {
    clock.sleepFor(kBetweenAttempts);
    error = answerOf(address);
  }
  return error;
}

/// Removes a socket that nobody listens at; the text says what else lies there, "" for nothing.
std::string cleared(const SocketAddress& address, const std::string& path) {
  struct stat file {};
  if (::lstat(path.c_str(), &file) != 0) {
    return errno == ENOENT ? "" : systemReason(errno);
  }
  if (!S_ISSOCK(file.st_mode)) {
    return "something that is no socket is there";
  }
  const int error = lastingAnswerOf(address);
  if (error == 0 || error == EAGAIN) {
    return "another process listens there";
  }
  if (error != ECONNREFUSED) {
    return systemReason(error);
  }
  return ::unlink(path.c_str()) == 0 ? "" : systemReason(errno);
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
  std::array<int, 2> stopEnds{-1, -1};
  if (fault.empty() && openPrivatePipe(stopEnds) != 0) {
    fault = systemReason(errno);
  }
  StopSign stopSign{ScopedDescriptor(stopEnds[0]), ScopedDescriptor(stopEnds[1])};
  if (fault.empty()) {
    fault = bound(std::get<SocketAddress>(address), socket, path);
  }
  if (!fault.empty()) {
    return path + ": cannot listen: " + fault;
  }
  return std::unique_ptr<ListeningSocket>(
      new ListeningSocket(std::move(socket), std::move(stopSign), path));
}

ListeningSocket::ListeningSocket(ScopedDescriptor descriptor, StopSign stopSign,
                                 const std::string& path)
    : descriptor_(std::move(descriptor)), stopSign_(std::move(stopSign)), path_(path) {
  ::lstat(path.c_str(), &file_);
}

ListeningSocket::~ListeningSocket() {
  struct stat now {};
  if (::lstat(path_.c_str(), &now) == 0 && now.st_dev == file_.st_dev &&
      now.st_ino == file_.st_ino) {
    ::unlink(path_.c_str());
  }
}

// False once stop() was called.
bool ListeningSocket::awaitClient() const {
  std::array<pollfd, 2> asked{
      {{descriptor_.number(), POLLIN, 0}, {stopSign_.read.number(), POLLIN, 0}}};
  int found = 0;
  do {
    found = ::poll(asked.data(), asked.size(), -1);
  } while (found < 0 && errno == EINTR);
  return found > 0 && asked[1].revents == 0;
}

std::unique_ptr<MachineSocket> ListeningSocket::accept() const {
  int client = -1;
  do {
    if (!awaitClient()) {
      return nullptr;
    }
    client = acceptPrivateSocket(descriptor_.number());
  } while (client < 0 && (errno == EINTR || errno == ECONNABORTED));
  return client < 0 ? nullptr : std::make_unique<MachineSocket>(ScopedDescriptor(client));
}

void ListeningSocket::stop() const {
  [[maybe_unused]] const ssize_t written = ::write(stopSign_.write.number(), "", 1);
}

}  // namespace halvarin::platform
