#include "sensors/QXHalvarin.h"

#include <sys/sysctl.h>

#include <array>
#include <functional>
#include <utility>

#include "base/NotificationCenter.h"
#include "base/Text.h"
#include "database/QXEDManager.h"
#include "database/SensorDatabase.h"
#include "platform/BackgroundThread.h"
#include "platform/MainThread.h"
#include "platform/OwnImage.h"
#include "platform/PowerSource.h"
#include "platform/PropertyList.h"
#include "platform/Queue.h"
#include "sensors/CategoryDescription.h"
#include "sensors/CategoryReader.h"
#include "sensors/DescriptorList.h"
#include "sensors/FanCommands.h"
#include "sensors/FanKey.h"
#include "sensors/FanReadout.h"
#include "sensors/LoadGenerator.h"
#include "sensors/SensorCategory.h"
#include "sensors/SensorUpdate.h"
#include "sensors/UpdateCycle.h"
#include "sensors/ValueDecoder.h"

namespace halvarin {

namespace {

// 24 characters and the terminating zero: what a model text may take.
constexpr std::size_t kModelBytes = 25;

/// The deciphered database; null when the section is missing or holds none.
DictionaryRef loadDatabase() {
  const Data section = platform::ownImageSection("__TEXT", "__sensors_plist");
  const auto payload = QXEDManager().dataFromSerializedData(section);
  return payload ? platform::parsePropertyList(*payload).dictionary() : nullptr;
}

DictionaryRef sensorTableOf(const DictionaryRef& database, std::string_view model) {
  const DictionaryRef entry = database ? database->get(model).dictionary() : nullptr;
  return entry ? entry->get(database::kSensors).dictionary() : nullptr;
}

ArrayRef categoryArray(const DictionaryRef& categories, std::string_view name) {
  return categories ? categories->get(name).array() : nullptr;
}

ArrayRef copyOf(const ArrayRef& records) {
  return records ? records->copy() : Array::make();
}

}  // namespace

std::shared_ptr<QXHalvarin> QXHalvarin::sharedHalvarin() {
  static const auto* const shared = new std::shared_ptr<QXHalvarin>(init());
  return *shared;
}

std::shared_ptr<QXHalvarin> QXHalvarin::init() {
  const std::shared_ptr<QXHalvarin> facade(new QXHalvarin);
  facade->setMainSensorDict(loadDatabase());
  if (!facade->mainSensorDict()) {
    return nullptr;
  }
  facade->smc_ = QXSMCInterface::sharedSMC();
  facade->initializeSensorKeys();
  return facade;
}

void QXHalvarin::initializeSensorKeys() {
  setMachineModel(readMachineModel());
  setSensorDict(sensorTableOf(mainSensorDict(), machineModel()));
  setSmcKeys(smc_ ? smc_->listKeysWithData() : Array::make());
  auto categories = Dictionary::make();
  for (const SensorCategory& category : kSensorCategories) {
    categories->set(category.name, getSMCKeysLike(category.pattern, category.describedOnly));
  }
  setSensorKeys(std::move(categories));
}

ArrayRef QXHalvarin::getSMCKeysLike(std::string_view pattern, bool withDescription) {
  return describeMatching(smcKeys(), sensorDict(), pattern, withDescription);
}

ArrayRef QXHalvarin::readSensorsOfType(std::optional<std::string_view> type, bool ACpwr) {
  const ArrayRef records = type ? categoryArray(sensorKeys(), *type) : copyOf(smcKeys());
  if (!records) {
    return nullptr;
  }
  const auto readKey = [this](std::string_view key) {
    return smc_ ? smc_->SMCReadKey(key) : nullptr;
  };
  readCategory(*records, readKey, {.onMains = type && ACpwr, .logUi32 = !type});
  return records;
}

std::string QXHalvarin::readMachineModel() const {
  std::array<char, kModelBytes> buffer{};
  std::size_t length = buffer.size();
  if (sysctlbyname("hw.model", buffer.data(), &length, nullptr, 0) != 0) {
    return "";
  }
  const std::string_view all(buffer.data(), buffer.size());
  const std::string_view text = all.substr(0, all.find('\0'));
  return utf16(text) ? std::string(trimmed(text)) : "";
}

std::int32_t QXHalvarin::numberLogicalCPUs() const {
  std::int32_t count = 0;
  std::size_t length = sizeof count;
  return sysctlbyname("hw.logicalcpu", &count, &length, nullptr, 0) == 0 ? count : 0;
}

DictionaryRef QXHalvarin::categorizedListOfDescriptors() const {
  const DictionaryRef database = mainSensorDict();
  return database ? categorizedDescriptors(*database) : Dictionary::make();
}

void QXHalvarin::requestSensorUpdate() {
  platform::performInBackground([self = shared_from_this()] { self->readSensors(); });
}

void QXHalvarin::readSensors() {
  const DictionaryRef pass =
      takeUpdatePass(powerSource(), {[this] { return readFans(); },
                                     [this](std::string_view category, bool onMains) {
                                       return readSensorsOfType(category, onMains);
                                     }});
  platform::MainThread::perform(
      [self = shared_from_this(), pass] { self->updateNotifications(pass); });
}

void QXHalvarin::updateNotifications(DictionaryRef userInfo) {
  NotificationCenter::defaultCenter().post({kSensorUpdateNotify, this, std::move(userInfo)});
}

std::string QXHalvarin::powerSource() const {
  std::string name = platform::providingPowerSourceType();
  return name.empty() ? "AC Power" : name;
}

std::string QXHalvarin::fanNum(std::uint32_t fan) const {
  return fan::digit(fan);
}

ArrayRef QXHalvarin::readTemps() {
  const ArrayRef records = readSensorsOfType("temperature", false);
  return records ? hottestFirst(*records) : Array::make();
}

ArrayRef QXHalvarin::readFans() {
  const Value hottest = hottestValue(*readTemps());
  const ArrayRef records = readSensorsOfType("fans", false);
  return records ? fanDictionaries(*records, hottest) : Array::make();
}

bool QXHalvarin::setFanEnable(bool enable) {
  return smc_ && switchFanTestFlag(*smc_, enable);
}

bool QXHalvarin::setFanMode(signed char mode, std::uint32_t fan) {
  return smc_ && writeFanMode(*smc_, mode, fan);
}

bool QXHalvarin::setFanSpeed(std::uint16_t speed, std::uint32_t fan) {
  return smc_ && writeFanTarget(*smc_, speed, fan);
}

void QXHalvarin::loadCPUcores(bool start) {
  if (!start) {
    return;
  }
  std::uint32_t count = 1;  // what a failed reading leaves: no items
  std::size_t length = sizeof count;
  sysctlbyname("hw.logicalcpu", &count, &length, nullptr, 0);
  platform::Queue queue(std::string(kLoadQueueLabel), platform::Queue::Kind::concurrent);
  dispatchLoad(count, [&queue](std::function<void()> item) { queue.async(std::move(item)); });
}

int QXHalvarin::valueHex(signed char character) const {
  return halvarin::valueHex(character);
}

}  // namespace halvarin
