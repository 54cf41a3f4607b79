#include "platform/machine/remote/MachineServer.h"

#include <IOKit/IOKitLib.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <iterator>
#include <list>
#include <map>
#include <span>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "base/Mutex.h"
#include "platform/Clock.h"
#include "platform/machine/remote/ListeningSocket.h"
#include "platform/machine/remote/MachineProtocol.h"
#include "platform/machine/remote/MachineSocket.h"

namespace halvarin::platform {

namespace {

/// Between two tries to take a client while the system lacks descriptors or threads: short enough
/// for a person who waits, long enough to leave the processor to those who will free some.
constexpr std::chrono::milliseconds kPauseWithoutMeans{100};

struct Client {
  explicit Client(std::unique_ptr<MachineSocket> end) : socket(std::move(end)) {}

  const std::unique_ptr<MachineSocket> socket;
  std::thread thread;
  std::atomic<bool> isGone{false};
};

/// Which client has opened which connection. Any thread.
class Owners {
 public:
  void add(std::uint32_t connection, const Client& client) {
    const MutexLock lock(mutex_);
    owners_[connection] = &client;
  }
  [[nodiscard]] bool belongsToAnother(std::uint32_t connection, const Client& client) {
    const MutexLock lock(mutex_);
    const auto found = owners_.find(connection);
    return found != owners_.end() && found->second != &client;
  }
  /// Whether it was the client's.
  bool remove(std::uint32_t connection, const Client& client) {
    const MutexLock lock(mutex_);
    const auto found = owners_.find(connection);
    const bool isOwn = found != owners_.end() && found->second == &client;
    if (isOwn) {
      owners_.erase(found);
    }
    return isOwn;
  }
  [[nodiscard]] std::vector<std::uint32_t> removeAll(const Client& client) {
    const MutexLock lock(mutex_);
    std::vector<std::uint32_t> removed;
    for (auto each = owners_.begin(); each != owners_.end();) {
      const bool isOwn = each->second == &client;
      if (isOwn) {
        removed.push_back(each->first);
      }
      each = isOwn ? owners_.erase(each) : std::next(each);
    }
    return removed;
  }

 private:
  Mutex mutex_;
  std::map<std::uint32_t, const Client*> owners_ HALVARIN_GUARDED_BY(mutex_);
};

/// Answers the requests of one client by asking the machine.
class Answerer {
 public:
  Answerer(Machine& machine, Owners& owners, const Client& client)
      : machine_(machine), owners_(owners), client_(client) {}

  MachineReply operator()(const ServiceRequest& request) const {
    return ServiceReply{machine_.hasService(request.serviceClass)};
  }
  MachineReply operator()(const OpenRequest& request) const {
    OpenReply reply;
    reply.status = machine_.open(request.type, reply.connection);
    if (reply.status == KERN_SUCCESS) {
      owners_.add(reply.connection, client_);
    }
    return reply;
  }
  MachineReply operator()(const CallRequest& request) const {
    if (owners_.belongsToAnother(request.connection, client_)) {
      return CallReply{MACH_SEND_INVALID_DEST, {}};
    }
    CallReply reply;
    reply.bytes.resize(request.replyCapacityBytes);
    std::size_t size = reply.bytes.size();
    reply.status =
        machine_.call(request.connection, request.selector, request.bytes, reply.bytes, size);
    reply.bytes.resize(reply.status == KERN_SUCCESS ? std::min(size, reply.bytes.size()) : 0);
    return reply;
  }
  MachineReply operator()(const CloseRequest& request) const {
    if (owners_.belongsToAnother(request.connection, client_)) {
      return CloseReply{MACH_SEND_INVALID_DEST};
    }
    // Given up before it is closed: from then on the machine may give its number to another.
    const bool wasOwn = owners_.remove(request.connection, client_);
    const CloseReply reply{machine_.close(request.connection)};
    if (wasOwn && reply.status != KERN_SUCCESS) {
      owners_.add(request.connection, client_);
    }
    return reply;
  }
  MachineReply operator()(const SettingRequest& request) const {
    return SettingReply{machine_.setting(request.name)};
  }
  MachineReply operator()(const PowerSourceRequest& /*request*/) const {
    return PowerSourceReply{machine_.powerSource()};
  }

 private:
  Machine& machine_;
  Owners& owners_;
  const Client& client_;
};

}  // namespace

class MachineServer::Body {
 public:
  Body(std::shared_ptr<Machine> machine, std::unique_ptr<ListeningSocket> listening)
      : machine_(std::move(machine)),
        listening_(std::move(listening)),
        accepting_([this] { acceptClients(); }) {}

  ~Body() {
    isStopping_ = true;
    listening_->stop();
    accepting_.join();
    for (Client& client : clients_) {
      client.socket->shutDown();
    }
    for (Client& client : clients_) {
      client.thread.join();
    }
  }
  Body(const Body&) = delete;
  Body& operator=(const Body&) = delete;

 private:
  void acceptClients() {
    while (!isStopping_) {
      std::unique_ptr<MachineSocket> socket = listening_->accept();
      forgetGoneClients();
      if (!isStopping_ && (!socket || !admit(std::move(socket)))) {
        ScaledClock().sleepFor(kPauseWithoutMeans);
      }
    }
  }

  /// False, and the client sent away, when the system gives no thread for it.
  [[nodiscard]] bool admit(std::unique_ptr<MachineSocket> socket) {
    Client& client = clients_.emplace_back(std::move(socket));
    try {
      client.thread = std::thread([this, &client] { attend(client); });
    } catch (const std::system_error&) {
      clients_.pop_back();
      return false;
    }
    return true;
  }

  void forgetGoneClients() {
    clients_.remove_if([](Client& client) {
      if (client.isGone) {
        client.thread.join();
      }
      return client.isGone.load();
    });
  }

  /// The life of a client's thread.
  void attend(Client& client) {
    const std::string_view greeting = kMachineGreeting;
    bool isThere = client.socket->send(MessageBytes(greeting.begin(), greeting.end()));
    while (isThere) {
      isThere = answerNext(client);
    }
    client.socket->shutDown();
    for (const std::uint32_t connection : owners_.removeAll(client)) {
      static_cast<void>(machine_->close(connection));
    }
    client.isGone = true;
  }

  /// False when the client is gone or speaks no request.
  [[nodiscard]] bool answerNext(const Client& client) {
    const auto message = client.socket->receive();
    const auto request = message ? decodeRequestMessage(*message) : std::nullopt;
    return request && client.socket->send(encodeMessage(
                          std::visit(Answerer(*machine_, owners_, client), *request)));
  }

  const std::shared_ptr<Machine> machine_;
  const std::unique_ptr<ListeningSocket> listening_;
  std::atomic<bool> isStopping_{false};
  Owners owners_;
  std::list<Client> clients_;  // the accepting thread's; once that has ended, the destructor's
  std::thread accepting_;      // last: it uses all of the above
};

std::variant<std::unique_ptr<MachineServer>, std::string> MachineServer::serve(
    std::shared_ptr<Machine> machine, const std::string& path) {
  auto listening = ListeningSocket::at(path);
  if (auto* fault = std::get_if<std::string>(&listening)) {
    return std::move(*fault);
  }
  return std::unique_ptr<MachineServer>(new MachineServer(std::make_unique<Body>(
      std::move(machine), std::get<std::unique_ptr<ListeningSocket>>(std::move(listening)))));
}

MachineServer::MachineServer(std::unique_ptr<Body> body) : body_(std::move(body)) {}

MachineServer::~MachineServer() = default;

}  // namespace halvarin::platform
