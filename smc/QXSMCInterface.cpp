#include "smc/QXSMCInterface.h"

#include <IOKit/IOKitLib.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "base/Array.h"
#include "base/MergeSort.h"
#include "base/ScopeGuard.h"
#include "platform/HostServices.h"
#include "platform/TextOrder.h"
#include "smc/IntegerReading.h"
#include "smc/KeyCode.h"
#include "smc/KeyListing.h"
#include "smc/KeyRecord.h"
#include "smc/SMCTransfer.h"

namespace halvarin {

namespace {

constexpr const char* kServiceClass = "AppleSMC";
constexpr std::string_view kForceBitsKey = "FS! ";
constexpr std::string_view kFanCountKey = "FNum";

/// What a key's record says about reading the key.
struct ReadRequest {
  SMCCallRecord call;
  std::string dataType;
  std::int64_t dataSize = 0;
};

ReadRequest readRequestOf(const Dictionary& record) {
  return record.lookAtEach(
      std::array{record::kKey32, record::kType32, record::kDataType, record::kDataSize},
      [](const auto& found) {
        const auto& [key32, type32, dataType, dataSize] = found;
        ReadRequest request;
        request.call.key = key32->unsignedIntValue();
        request.call.keyInfo.dataType = type32->unsignedIntValue();
        request.call.keyInfo.dataSize = dataSize->unsignedIntValue();
        request.call.command = kSMCCmdReadBytes;
        request.dataType = dataType->textView();
        request.dataSize = dataSize->longLongValue();
        return request;
      });
}

/// Fills in a write's value bytes: two or four of them, or the lowest alone.
void encodeValue(std::uint32_t data, std::uint32_t size, SMCCallRecord& request) {
  const std::uint32_t carried = size == 2 || size == 4 ? size : 1;
  for (std::uint32_t i = 0; i < carried; ++i) {
    request.bytes[i] = static_cast<std::uint8_t>(data >> (8U * (carried - 1 - i)));
  }
}

std::int32_t writeOn(io_connect_t connection, std::string_view key, std::uint32_t data,
                     std::uint32_t size) {
  SMCCallRecord request;
  SMCCallRecord reply;
  request.command = kSMCCmdWriteBytes;
  request.key = swappedCode(recordInteger(key));
  request.keyInfo.dataSize = size;
  encodeValue(data, size, request);
  std::size_t replySize = sizeof reply;
  return IOConnectCallStructMethod(connection, kSMCUserClientMethod, &request, sizeof request,
                                   &reply, &replySize);
}

/// Finds the service, opens a private connection, writes and gives both back.
std::int32_t writeOnce(std::string_view key, std::uint32_t data, std::uint32_t size) {
  // Deliberate: the newer name of the default port here, the older one where the shared connection
  // is opened.
  const io_service_t service =
      IOServiceGetMatchingService(kIOMainPortDefault, IOServiceMatching(kServiceClass));
  if (service == IO_OBJECT_NULL) {
    return KERN_FAILURE;
  }
  const ScopeGuard releaseService([service] { IOObjectRelease(service); });
  io_connect_t connection = 0;
  if (IOServiceOpen(service, mach_task_self(), 0, &connection) != KERN_SUCCESS) {
    return KERN_FAILURE;
  }
  const ScopeGuard closeConnection([connection] { IOServiceClose(connection); });
  return writeOn(connection, key, data, size);
}

}  // namespace

std::shared_ptr<QXSMCInterface> QXSMCInterface::sharedSMC() {
  static const auto* const shared = new std::shared_ptr<QXSMCInterface>(init());
  return *shared;
}

std::shared_ptr<QXSMCInterface> QXSMCInterface::init() {
  const std::shared_ptr<QXSMCInterface> instance(new QXSMCInterface);
  return instance->start() ? instance : nullptr;
}

bool QXSMCInterface::start() {
  setSharedConnection(0);
  const io_service_t service =
      IOServiceGetMatchingService(kIOMasterPortDefault, IOServiceMatching(kServiceClass));
  if (service == IO_OBJECT_NULL) {
    return false;
  }
  io_connect_t connection = 0;
  IOServiceOpen(service, mach_task_self(), 0, &connection);  // a failure leaves 0: no keys
  setSharedConnection(connection);
  IOObjectRelease(service);
  setKeyDict(listSMCKeys());
  setSmcWriteLock(std::make_shared<Mutex>());
  setWriteTaskPath(platform::auxiliaryExecutablePath("com.quorvane.writeSMC"));
  distObj_ = Value();
  platform::forwardApplicationEnd();
  observeTermination();
  return true;
}

void QXSMCInterface::observeTermination() {
  terminationToken_ = NotificationCenter::defaultCenter().addObserver(
      platform::kApplicationWillTerminate, nullptr, [weak = weak_from_this()](const Notification&) {
        if (const auto instance = weak.lock()) {
          instance->close_service();
        }
      });
}

QXSMCInterface::~QXSMCInterface() {
  NotificationCenter::defaultCenter().removeObserver(terminationToken_);
}

DictionaryRef QXSMCInterface::getInfoSMCKey(std::string_view key) {
  return readKeyInfo(key);
}

DictionaryRef QXSMCInterface::SMCReadKey(std::string_view key) {
  const DictionaryRef table = keyDict();
  const DictionaryRef record = table ? table->get(key).dictionary() : nullptr;
  if (!record) {
    return nullptr;
  }
  ReadRequest request = readRequestOf(*record);
  SMCCallRecord reply;
  const std::int32_t status = callSMC(request.call, reply);
  if (status != 0) {
    record->set(record::kError, status);
    return record;
  }
  record->setEach(std::array<Dictionary::Update, 3>{{
      {record::kDataBytes, Data(reply.bytes)},
      {record::kValue, smcIntegerReading(request.dataType, request.dataSize, reply.bytes)},
      {record::kError, status},
  }});
  return record;
}

std::int32_t QXSMCInterface::SMCWriteKey(std::string_view key, std::uint32_t data,
                                         std::uint32_t size) {
  const std::shared_ptr<Mutex> writeLock = smcWriteLock();
  if (!writeLock) {
    return writeOnce(key, data, size);
  }
  const MutexLock lock(*writeLock);
  return writeOnce(key, data, size);
}

DictionaryRef QXSMCInterface::listSMCKeys() {
  return listKeyRecords();
}

Dictionary::Entries QXSMCInterface::tableEntries() const {
  const DictionaryRef table = keyDict();
  return table ? table->entries() : Dictionary::Entries();
}

ArrayRef QXSMCInterface::listKeys() const {
  std::vector<Value> records;
  for (const auto& [key, record] : tableEntries()) {
    records.push_back(record);
  }
  return Array::make(std::move(records));
}

ArrayRef QXSMCInterface::listKeysWithData() {
  struct Indexed {
    Text index;
    Value record;
  };
  std::vector<Indexed> records;
  for (const auto& [key, listed] : tableEntries()) {
    const DictionaryRef record = listed.dictionary();
    // What comes back is the record itself, unless the table was exchanged meanwhile.
    const DictionaryRef read = SMCReadKey(key.view());
    if (read && read != record) {
      record->addEntriesFrom(*read);
    }
    records.push_back({record->get(record::kIndex).text(), record});
  }
  mergeSort(records, [](const Indexed& a, const Indexed& b) {
    return platform::compareNumericCaseInsensitive(a.index.view(), b.index.view());
  });
  std::vector<Value> sorted;
  sorted.reserve(records.size());
  for (Indexed& each : records) {
    sorted.push_back(std::move(each.record));
  }
  return Array::make(std::move(sorted));
}

std::uint32_t QXSMCInterface::readUnsigned(std::string_view key) {
  const DictionaryRef record = SMCReadKey(key);
  return record ? record->get(record::kValue).unsignedIntValue() : 0;
}

void QXSMCInterface::close_service() {
  const std::uint32_t forceBits = readUnsigned(kForceBitsKey);
  const std::uint32_t fanCount = readUnsigned(kFanCountKey);
  // The bits repeat after 32 fans, so looking at the first 32 is looking at all.
  for (std::uint32_t fan = 0; fan < std::min(fanCount, std::uint32_t{32}); ++fan) {
    if (((forceBits >> fan) & 1U) != 0) {
      static_cast<void>(SMCWriteKey(kForceBitsKey, 0, 2));
      break;
    }
  }
  NotificationCenter::defaultCenter().removeObserver(terminationToken_);
  IOServiceClose(sharedConnection());
}

}  // namespace halvarin
