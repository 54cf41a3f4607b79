/* Lists a controller's keys with their bytes, in plain C against the platform's own header.
 * After `cmake --install build/release --prefix PREFIX`:
 *   cc -std=c11 -I PREFIX/include/halvarin examples/list_keys.c
 *      -L PREFIX/lib -lhalvarin_machine -lstdc++ -lm -pthread -o list_keys
 *   HALVARIN_MACHINE=simulated ./list_keys */

#include <IOKit/IOKitLib.h>
#include <stdio.h>
#include <string.h>

typedef struct {
  UInt32 key;
  UInt8 versionAndLimits[24];
  UInt32 dataSize;
  UInt32 dataType;
  UInt8 dataAttributes;
  UInt8 padding[3];
  UInt8 result;
  UInt8 status;
  UInt8 command;
  UInt8 morePadding;
  UInt32 data32;
  UInt8 bytes[32];
} Call;

enum { kReadBytes = 5, kReadKeyByIndex = 8, kGetKeyInfo = 9 };

static io_connect_t openController(void) {
  io_connect_t connection = 0;
  io_service_t service =
      IOServiceGetMatchingService(kIOMasterPortDefault, IOServiceMatching("AppleSMC"));
  if (service != 0) {
    IOServiceOpen(service, mach_task_self(), 0, &connection);
    IOObjectRelease(service);
  }
  return connection;
}

static int call(io_connect_t connection, UInt8 command, Call* record) {
  Call reply;
  size_t size = sizeof reply;
  record->command = command;
  if (IOConnectCallStructMethod(connection, 2, record, sizeof *record, &reply, &size) !=
          kIOReturnSuccess ||
      reply.result != 0) {
    return 0;
  }
  *record = reply;
  return 1;
}

/* Reads the key that the record names: its size and type, then its bytes. */
static int readKey(io_connect_t connection, Call* record) {
  Call value = *record;
  if (!call(connection, kGetKeyInfo, record)) {
    return 0;
  }
  value.dataSize = record->dataSize;
  if (!call(connection, kReadBytes, &value)) {
    return 0;
  }
  memcpy(record->bytes, value.bytes, sizeof record->bytes);
  return 1;
}

static void printKey(UInt32 key, const Call* record) {
  printf("%c%c%c%c ", (int)(key >> 24), (int)(key >> 16 & 255), (int)(key >> 8 & 255),
         (int)(key & 255));
  for (UInt32 i = 0; i < record->dataSize && i < sizeof record->bytes; ++i) {
    printf(" %02x", record->bytes[i]);
  }
  printf("\n");
}

int main(void) {
  io_connect_t connection = openController();
  if (connection == 0) {
    fprintf(stderr, "no controller\n");
    return 1;
  }
  Call record = {.key = 0x234B4559}; /* "#KEY" */
  UInt32 count = 0;
  if (readKey(connection, &record)) {
    count = (UInt32)record.bytes[0] << 24 | (UInt32)record.bytes[1] << 16 |
            (UInt32)record.bytes[2] << 8 | record.bytes[3];
  }
  for (UInt32 index = 0; index < count; ++index) {
    record = (Call){.data32 = index};
    if (call(connection, kReadKeyByIndex, &record)) {
      UInt32 key = record.key;
      record = (Call){.key = key};
      if (readKey(connection, &record)) {
        printKey(key, &record);
      }
    }
  }
  IOServiceClose(connection);
  return 0;
}
