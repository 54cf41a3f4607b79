#pragma once

#include <memory>
#include <string>
#include <variant>

#include "base/Export.h"
#include "platform/machine/Machine.h"

namespace halvarin::platform {

/// Serves a machine to other processes of the same person: each takes it as a RemoteMachine, the
/// program `halvarin` by --machine socket:PATH. Every client has a thread here, so the machine is
/// asked from many threads at once.
///
/// A client's connections are its own, as a process's are: nobody else can call or close them, and
/// those that it leaves open are closed when it is gone.
class HALVARIN_EXPORT MachineServer {
 public:
  /// Listens at a path, with a socket for its owner only (mode 0600); one that nobody listens at
  /// any more is replaced. Else one line that names the path and the reason, and what lies at the
  /// path is untouched. A socket's path has at most 107 bytes.
  [[nodiscard]] static std::variant<std::unique_ptr<MachineServer>, std::string> serve(
      std::shared_ptr<Machine> machine, const std::string& path);

  /// Sends the clients away, closes what they left open and removes the path. Waits for the calls
  /// that the machine is answering.
  ~MachineServer();
  MachineServer(const MachineServer&) = delete;
  MachineServer& operator=(const MachineServer&) = delete;

 private:
  class Body;
  explicit MachineServer(std::unique_ptr<Body> body);

  const std::unique_ptr<Body> body_;
};

}  // namespace halvarin::platform
