#pragma once

#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "base/Export.h"
#include "base/Mutex.h"
#include "platform/machine/Machine.h"

namespace halvarin::platform {

class MachineSocket;

/// A machine that another process of this computer serves (MachineServer). Any thread; one call at
/// a time is on its way, the others wait. For one process only: a copy of the process that fork()
/// makes connects anew.
///
/// When the server is gone, or says what no server says, every method answers from then on as a
/// machine does whose service went away: no service, kIOReturnNoDevice, no setting, "" as power
/// source. A server that lives and is silent is waited for, as a slow machine is.
class HALVARIN_EXPORT RemoteMachine : public Machine {
 public:
  /// Connects to the server that listens at a path. Else one line that names the path and the
  /// reason; a server that does not greet is given up after ten seconds.
  [[nodiscard]] static std::variant<std::shared_ptr<RemoteMachine>, std::string> connect(
      const std::string& path);

  /// Speaks through a socket whose server has greeted.
  explicit RemoteMachine(std::unique_ptr<MachineSocket> socket);
  ~RemoteMachine() override;
  RemoteMachine(const RemoteMachine&) = delete;
  RemoteMachine& operator=(const RemoteMachine&) = delete;

  [[nodiscard]] bool hasService(std::string_view serviceClass) override;
  [[nodiscard]] MachineStatus open(std::uint32_t type, std::uint32_t& connection) override;
  /// Structures of more than 4096 bytes are kIOReturnBadArgument, and larger room for a reply
  /// counts as 4096 bytes.
  [[nodiscard]] MachineStatus call(std::uint32_t connection, std::uint32_t selector,
                                   std::span<const std::uint8_t> request,
                                   std::span<std::uint8_t> reply, std::size_t& replySize) override;
  [[nodiscard]] MachineStatus close(std::uint32_t connection) override;
  [[nodiscard]] Value setting(std::string_view name) override;
  [[nodiscard]] std::string powerSource() override;

 private:
  template <typename Reply, typename Request>
  std::optional<Reply> exchange(const Request& request);

  Mutex mutex_;
  std::unique_ptr<MachineSocket> socket_ HALVARIN_GUARDED_BY(mutex_);  // null: the server is gone
};

}  // namespace halvarin::platform
