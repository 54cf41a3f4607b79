/* A program as others write them against the platform's own header: it finds the controller in
 * either of the usual ways and knows nothing of this system. Only the compat headers are in its
 * include path, and only libhalvarin_machine.a is linked to it.
 *
 *   model            what the computer says it is
 *   services CLASS   walks an iterator to its end, and on
 *   keys             all keys as lines of a machine file; the controller found by one call
 * or several of these, with the controller found through an iterator:
 *   read KEY         its bytes
 *   write KEY BYTES
 *   rises KEY        waits until the big-endian number of a key is above what it was
 *   misuse           selectors and connections that nobody has
 *
 * Exits: 0 done, 1 no controller, 2 refused or wrong usage. */

#include <IOKit/IOKitLib.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/sysctl.h>

#define STRUCT_CALL 2

enum { kReadBytes = 5, kWriteBytes = 6, kReadIndex = 8, kReadKeyInfo = 9 };

typedef struct {
  UInt8 major;
  UInt8 minor;
  UInt8 build;
  UInt8 reserved[1];
  UInt16 release;
} Version;

typedef struct {
  UInt16 version;
  UInt16 length;
  UInt32 limits[3];
} Limits;

typedef struct {
  UInt32 dataSize;
  UInt32 dataType;
  UInt8 dataAttributes;
} KeyInfo;

typedef struct {
  UInt32 key;
  Version version;
  Limits limits;
  KeyInfo keyInfo;
  UInt8 result;
  UInt8 status;
  UInt8 data8;
  UInt32 data32;
  UInt8 bytes[32];
} KeyData;

_Static_assert(sizeof(KeyData) == 80, "what the controller's client takes");

static io_connect_t connection;

static UInt32 codeOf(const char* text) {
  UInt32 code = 0;
  for (int i = 0; i < 4; ++i) {
    code = code << 8 | (UInt8)text[i];
  }
  return code;
}

static void printCode(UInt32 code) {
  for (int shift = 24; shift >= 0; shift -= 8) {
    putchar((int)(code >> shift & 0xFF));
  }
}

/* As older programs do: the port, an iterator, its first service. */
static io_object_t firstService(void) {
  mach_port_t port = MACH_PORT_NULL;
  CFMutableDictionaryRef matching = IOServiceMatching("AppleSMC");
  io_iterator_t iterator = 0;
  io_object_t device = 0;
  IOMasterPort(MACH_PORT_NULL, &port);
  if (IOServiceGetMatchingServices(port, matching, &iterator) != kIOReturnSuccess) {
    return 0;
  }
  device = IOIteratorNext(iterator);
  IOObjectRelease(iterator);
  return device;
}

static int openThrough(io_object_t device) {
  if (device == 0) {
    fprintf(stderr, "client: no controller found\n");
    return 0;
  }
  const kern_return_t status = IOServiceOpen(device, mach_task_self(), 0, &connection);
  IOObjectRelease(device);
  return status == kIOReturnSuccess;
}

static kern_return_t call(const KeyData* request, KeyData* reply) {
  size_t replySize = sizeof *reply;
  memset(reply, 0, sizeof *reply);
#if MAC_OS_X_VERSION_10_5
  return IOConnectCallStructMethod(connection, STRUCT_CALL, request, sizeof *request, reply,
                                   &replySize);
#else
  return IOConnectMethodStructureIStructureO(connection, STRUCT_CALL, sizeof *request, &replySize,
                                             request, reply);
#endif
}

static kern_return_t keyInfo(UInt32 key, KeyData* info) {
  KeyData request = {0};
  request.key = key;
  request.data8 = kReadKeyInfo;
  return call(&request, info);
}

static kern_return_t readBytes(UInt32 key, UInt32 size, KeyData* value) {
  KeyData request = {0};
  request.key = key;
  request.keyInfo.dataSize = size;
  request.data8 = kReadBytes;
  return call(&request, value);
}

static void printBytes(const UInt8* bytes, UInt32 size) {
  for (UInt32 i = 0; i < size && i < sizeof(((KeyData*)0)->bytes); ++i) {
    printf("%02X", (unsigned)bytes[i]);
  }
}

static UInt32 numberOf(const KeyData* value, UInt32 size) {
  UInt32 number = 0;
  for (UInt32 i = 0; i < size && i < sizeof number; ++i) {
    number = number << 8 | value->bytes[i];
  }
  return number;
}

/* A line of a machine file; before it a line with the status of a transfer that failed. */
static void printKey(UInt32 key) {
  KeyData info;
  KeyData value;
  keyInfo(key, &info);
  const kern_return_t status = readBytes(key, info.keyInfo.dataSize, &value);
  if (status != kIOReturnSuccess) {
    printf("Unable to read smc value %08X\n", (unsigned)status);
  }
  printf("[");
  printCode(key);
  printf("] type [");
  printCode(info.keyInfo.dataType);
  printf("] %08X len [%2u] attr [%02X] -> ", (unsigned)info.keyInfo.dataType,
         (unsigned)info.keyInfo.dataSize, (unsigned)info.keyInfo.dataAttributes);
  if (status != kIOReturnSuccess) {
    printf("NOT READABLE");
  } else if (value.result != 0) {
    printf("NOT READABLE, code %02X", (unsigned)value.result);
  } else {
    printBytes(value.bytes, info.keyInfo.dataSize);
  }
  printf("\n");
}

static int printKeys(void) {
  KeyData info;
  KeyData value;
  const UInt32 countKey = codeOf("#KEY");
  keyInfo(countKey, &info);
  if (readBytes(countKey, info.keyInfo.dataSize, &value) != kIOReturnSuccess) {
    return 2;
  }
  const UInt32 count = numberOf(&value, info.keyInfo.dataSize);
  printf("Public keys (%u):\n", (unsigned)count);
  for (UInt32 i = 0; i < count; ++i) {
    KeyData request = {0};
    KeyData reply;
    request.data8 = kReadIndex;
    request.data32 = i;
    if (call(&request, &reply) != kIOReturnSuccess || reply.result != 0) {
      return 2;
    }
    printKey(reply.key);
  }
  return 0;
}

static int printServices(const char* class) {
  io_iterator_t iterator = 77;
  const kern_return_t status =
      IOServiceGetMatchingServices(kIOMasterPortDefault, IOServiceMatching(class), &iterator);
  printf("status %d, iterator %s\n", status, iterator != 0 ? "given" : "none");
  const io_object_t device = IOIteratorNext(iterator);
  printf("service %s\n", device != 0 ? "given" : "none");
  printf("next %u, next %u\n", IOIteratorNext(iterator), IOIteratorNext(iterator));
  printf("released %d %d\n", IOObjectRelease(device) == 0, IOObjectRelease(iterator) == 0);
  printf("released again %d %d\n", IOObjectRelease(device) == 0, IOObjectRelease(iterator) == 0);
  printf("next %u\n", IOIteratorNext(iterator));
  return 0;
}

/* Exits with the controller's refusal, so that scripts see it. */
static int refused(const char* what, const KeyData* reply, kern_return_t status) {
  fprintf(stderr, "client: not %s: status %08X, result %02X\n", what, (unsigned)status,
          (unsigned)reply->result);
  return 2;
}

static int printValue(const char* key) {
  KeyData info;
  KeyData value;
  kern_return_t status = keyInfo(codeOf(key), &info);
  if (status != kIOReturnSuccess || info.result != 0) {
    return refused("known", &info, status);
  }
  status = readBytes(codeOf(key), info.keyInfo.dataSize, &value);
  if (status != kIOReturnSuccess || value.result != 0) {
    return refused("read", &value, status);
  }
  printBytes(value.bytes, info.keyInfo.dataSize);
  printf("\n");
  return 0;
}

static int writeValue(const char* key, const char* digits) {
  KeyData request = {0};
  KeyData reply;
  request.key = codeOf(key);
  request.data8 = kWriteBytes;
  request.keyInfo.dataSize = (UInt32)strlen(digits) / 2;
  for (UInt32 i = 0; i < request.keyInfo.dataSize && i < sizeof request.bytes; ++i) {
    const char pair[3] = {digits[2 * i], digits[2 * i + 1], '\0'};
    request.bytes[i] = (UInt8)strtoul(pair, NULL, 16);
  }
  const kern_return_t status = call(&request, &reply);
  return status == kIOReturnSuccess && reply.result == 0 ? 0 : refused("written", &reply, status);
}

static int waitUntilAbove(const char* key) {
  KeyData info;
  KeyData value;
  keyInfo(codeOf(key), &info);
  readBytes(codeOf(key), info.keyInfo.dataSize, &value);
  const UInt32 begin = numberOf(&value, info.keyInfo.dataSize);
  do {
    readBytes(codeOf(key), info.keyInfo.dataSize, &value);
  } while (numberOf(&value, info.keyInfo.dataSize) <= begin);
  return 0;
}

static int misuse(void) {
  KeyData request = {0};
  KeyData reply = {0};
  size_t size = sizeof reply;
  const io_connect_t none = connection + 1000;
  printf("selector 0: %08X\n",
         (unsigned)IOConnectCallStructMethod(connection, 0, NULL, 0, NULL, NULL));
  printf("no output: %08X\n",
         (unsigned)IOConnectCallStructMethod(connection, 2, &request, sizeof request, NULL, NULL));
  printf("unknown connection: %08X\n",
         (unsigned)IOConnectCallStructMethod(none, 2, &request, sizeof request, &reply, &size));
  printf("closed: %08X\n", (unsigned)IOServiceClose(none));
  return 0;
}

static int printModel(void) {
  char model[64] = "";
  size_t size = sizeof model;
  if (sysctlbyname("hw.model", model, &size, NULL, 0) != 0) {
    return 2;
  }
  printf("%s\n", model);
  return 0;
}

/* Does the words one after another until one is refused. */
static int doWords(char** words) {
  int result = 0;
  while (*words != NULL && result == 0) {
    if (strcmp(words[0], "keys") == 0) {
      result = printKeys();
      words += 1;
    } else if (strcmp(words[0], "misuse") == 0) {
      result = misuse();
      words += 1;
    } else if (strcmp(words[0], "read") == 0 && words[1] != NULL) {
      result = printValue(words[1]);
      words += 2;
    } else if (strcmp(words[0], "rises") == 0 && words[1] != NULL) {
      result = waitUntilAbove(words[1]);
      words += 2;
    } else if (strcmp(words[0], "write") == 0 && words[1] != NULL && words[2] != NULL) {
      result = writeValue(words[1], words[2]);
      words += 3;
    } else {
      result = 2;
    }
  }
  return result;
}

static int onController(io_object_t device, char** words) {
  if (!openThrough(device)) {
    return 1;
  }
  const int result = doWords(words);
  IOServiceClose(connection);
  return result;
}

int main(int count, char** words) {
  if (count < 2) {
    return 2;
  }
  if (strcmp(words[1], "model") == 0) {
    return printModel();
  }
  if (strcmp(words[1], "services") == 0 && count == 3) {
    return printServices(words[2]);
  }
  if (strcmp(words[1], "keys") == 0) {
    return onController(
        IOServiceGetMatchingService(kIOMainPortDefault, IOServiceMatching("AppleSMC")), words + 1);
  }
  return onController(firstService(), words + 1);
}
