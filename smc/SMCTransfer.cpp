#include "smc/SMCTransfer.h"

#include <IOKit/IOKitLib.h>

#include <atomic>

#include "smc/KeyCode.h"

namespace halvarin {

namespace {

std::atomic<io_connect_t> conn{0};

}  // namespace

std::int32_t callSMC(SMCCallRecord& request, SMCCallRecord& reply) {
  std::size_t replySize = sizeof reply;
  request.key = swappedCode(request.key);
  const kern_return_t status = IOConnectCallStructMethod(conn, kSMCUserClientMethod, &request,
                                                         sizeof request, &reply, &replySize);
  request.key = swappedCode(request.key);
  reply.key = swappedCode(reply.key);
  reply.keyInfo.dataType = swappedCode(reply.keyInfo.dataType);
  return status;
}

void setSharedConnection(std::uint32_t connection) {
  conn = connection;
}

std::uint32_t sharedConnection() {
  return conn;
}

}  // namespace halvarin
