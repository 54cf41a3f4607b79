#include "platform/machine/linux/DriverAnswer.h"

#include <IOKit/IOKitLib.h>

#include <cerrno>

namespace halvarin::platform {

MachineStatus statusOf(int error) {
  switch (error) {
    case 0:
      return KERN_SUCCESS;
    case EACCES:
    case EPERM:
    case EROFS:
      return kIOReturnNotPrivileged;
    case ENOENT:
    case ENODEV:
    case ENXIO:
      return kIOReturnNoDevice;
    case EMFILE:
    case ENFILE:
      return kIOReturnNoResources;
    case EBUSY:
    case EAGAIN:
      return kStatusBusy;
    default:
      return kStatusTransferFailed;
  }
}

DriverAnswer failure(int error) {
  return {statusOf(error), {}};
}

DriverAnswer refusal(std::uint8_t result) {
  DriverAnswer answer;
  answer.reply.result = result;
  return answer;
}

DriverAnswer modeAnswer(int error) {
  return error == EREMOTEIO ? failure(error) : writeAnswer(error);
}

DriverAnswer writeAnswer(int error) {
  switch (error) {
    case EINVAL:
    case ERANGE:
      return refusal(kResultBadArgument);
    case ENOTSUP:
    case EROFS:
    case EREMOTEIO:
      return refusal(kResultNotWritable);
    default:
      return failure(error);
  }
}

}  // namespace halvarin::platform
