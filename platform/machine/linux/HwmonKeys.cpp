#include "platform/machine/linux/HwmonKeys.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

#include "base/NumberText.h"
#include "platform/machine/ReadingCodec.h"
#include "platform/machine/linux/AttributeName.h"

namespace halvarin::platform {

namespace {

constexpr std::uint8_t kReadable = 0x80;
constexpr std::size_t kMostKeys = 4096;  // far more readings than any device tree describes
constexpr double kFirstSpeedTooHigh = 16384;
constexpr const char* kAutomatic = "0";  // a target of 0 is none

const FourBytes kFloat = fourBytes("flt ");
constexpr std::uint32_t kFloatBytes = 4;

/// How the hardware monitor names readings of a kind, and the unit of a key of that kind.
struct Quantity {
  char letter;
  std::string_view files;
  double unitsPerStep;
};
constexpr std::array<Quantity, 4> kQuantities{{
    {'T', "temp", 1e-3},   // thousandths of a degree
    {'V', "in", 1e-3},     // millivolts
    {'I', "curr", 1e-3},   // milliamperes
    {'P', "power", 1e-6},  // microwatts
}};

/// A text of the device tree ends with a zero byte.
std::optional<std::string> treeText(FileTree& files, const std::string& path) {
  constexpr std::size_t kMostBytes = 256;
  FileContent content = files.read(path, kMostBytes);
  if (content.error != 0 || content.bytes.empty() || content.bytes.back() != '\0') {
    return std::nullopt;
  }
  content.bytes.pop_back();
  return std::move(content.bytes);
}

/// The number of the one reading of this kind that has this label; absent when several have it,
/// for then it is not certain which is meant.
std::optional<std::uint32_t> labelled(FileTree& files, const std::string& folder,
                                      std::string_view kind, const std::string& label) {
  std::optional<std::uint32_t> found;
  const std::vector<std::string> names = files.list(folder);
  for (const std::string& name : names) {
    const auto number = attributeNumber(name, kind, "_label");
    if (!number || lineOf(files, std::string(folder).append("/").append(name)) != label) {
      continue;
    }
    if (found) {
      return std::nullopt;
    }
    found = number;
  }
  return found;
}

/// The decimal number that a reading's file holds.
std::optional<double> stepsIn(const std::string& line) {
  const bool isNegative = !line.empty() && line.front() == '-';
  const auto number = wholeNumber(std::string_view(line).substr(isNegative ? 1 : 0));
  if (!number) {
    return std::nullopt;
  }
  const auto steps = static_cast<double>(*number);
  return isNegative ? -steps : steps;
}

DriverAnswer withBytes(const std::vector<std::uint8_t>& bytes) {
  DriverAnswer answer;
  std::copy(bytes.begin(), bytes.end(), answer.reply.bytes.begin());
  return answer;
}

}  // namespace

std::uint32_t HwmonKeys::Key::sizeBytes() const {
  return kind == Kind::count || kind == Kind::reading ? 4 : 1;
}

FourBytes HwmonKeys::Key::type() const {
  if (kind == Kind::reading) {
    return kFloat;
  }
  return fourBytes(kind == Kind::count ? "ui32" : "ui8 ");
}

HwmonKeys::HwmonKeys(std::shared_ptr<FileTree> files, SmcDriver driver)
    : files_(std::move(files)), driver_(std::move(driver)) {
  addReadings(driverFile(*files_, driver_, "of_node"));
  keys_[fourBytes("FNum")] = {Key::Kind::fanCount, {}, 1};
  keys_[fourBytes("#KEY")] = {Key::Kind::count, {}, 1};
}

void HwmonKeys::addReadings(const std::string& nodes) {
  const std::vector<std::string> names =
      nodes.empty() ? std::vector<std::string>() : files_->list(nodes);
  for (const std::string& name : names) {
    if (keys_.size() < kMostKeys) {
      addReading(std::string(nodes).append("/").append(name));
    }
  }
}

void HwmonKeys::addReading(const std::string& nodeFolder) {
  const auto id = treeText(*files_, nodeFolder + "/apple,key-id");
  if (!id || id->size() != 4) {
    return;
  }
  const FourBytes code = fourBytes(*id);
  // The driver calls a reading without a label by its key.
  const std::string label = treeText(*files_, nodeFolder + "/label").value_or(*id);
  const auto fan = fanKeyName(code);
  if (fan && fan->isOf("Ac")) {
    if (const auto number = labelled(*files_, driver_.hwmonFolder, "fan", label)) {
      addFan(*fan, *number);
    }
    return;
  }
  const auto* const quantity =
      std::find_if(kQuantities.begin(), kQuantities.end(),
                   [&](const Quantity& each) { return each.letter == code[0]; });
  if (quantity == kQuantities.end()) {
    return;
  }
  if (const auto number = labelled(*files_, driver_.hwmonFolder, quantity->files, label)) {
    addFile(code, std::string(quantity->files) + std::to_string(*number) + "_input",
            quantity->unitsPerStep);
  }
}

void HwmonKeys::addFan(const FanKeyName& name, std::uint32_t number) {
  const std::string fan = "fan" + std::to_string(number);
  addFile(name.code, fan + "_input", 1);
  addFile(fanKeyOf(name, "Mn"), fan + "_min", 1);
  addFile(fanKeyOf(name, "Mx"), fan + "_max", 1);
  addFile(fanKeyOf(name, "Tg"), fan + "_target", 1);
  if (const Key* target = find(fanKeyOf(name, "Tg"))) {
    keys_[fanKeyOf(name, "Md")] = {Key::Kind::mode, target->file, 1};
  }
}

void HwmonKeys::addFile(const FourBytes& code, const std::string& file, double unitsPerStep) {
  if (!driverFile(*files_, driver_, file).empty()) {
    keys_.emplace(code, Key{Key::Kind::reading, file, unitsPerStep});
  }
}

bool HwmonKeys::isPresent() {
  return isStillThere(*files_, driver_);
}

MachineStatus HwmonKeys::access() {
  return 0;  // everybody may read a hardware monitor
}

DriverAnswer HwmonKeys::keyByIndex(std::uint32_t index) {
  if (index >= keys_.size()) {
    return refusal(kResultIndexOutOfRange);
  }
  DriverAnswer answer;
  answer.reply.key = std::next(keys_.begin(), static_cast<std::ptrdiff_t>(index))->first;
  return answer;
}

DriverAnswer HwmonKeys::keyInfo(const FourBytes& code) {
  const Key* key = find(code);
  if (key == nullptr) {
    return refusal(kResultKeyNotFound);
  }
  DriverAnswer answer;
  answer.reply.sizeBytes = key->sizeBytes();
  answer.reply.type = key->type();
  answer.reply.attributes = kReadable;
  return answer;
}

DriverAnswer HwmonKeys::read(const ControllerRequest& request) {
  const Key* key = find(request.key);
  if (key == nullptr) {
    return refusal(kResultKeyNotFound);
  }
  if (request.sizeBytes != key->sizeBytes()) {
    return refusal(kResultSizeMismatch);
  }
  switch (key->kind) {
    case Key::Kind::count:
      return withBytes({0, 0, static_cast<std::uint8_t>(keys_.size() >> 8U),
                        static_cast<std::uint8_t>(keys_.size())});
    case Key::Kind::fanCount:
      return withBytes({fanCount()});
    case Key::Kind::reading:
      return readFile(*key);
    case Key::Kind::mode:
      break;
  }
  const MutexLock lock(mutex_);
  const bool isForced = orders_[fanKeyName(request.key)->fan] == Order::given;
  return withBytes({static_cast<std::uint8_t>(isForced)});
}

/// Where a key's file lies now. What is no longer the driver's is neither read nor written.
int HwmonKeys::findFile(const Key& key, std::string& path) const {
  SmcDriver now;
  if (const int error = locate(*files_, driver_, now)) {
    return error;
  }
  path = driverFile(*files_, now, key.file);
  return path.empty() ? ENOENT : 0;
}

DriverAnswer HwmonKeys::readFile(const Key& key) const {
  std::string path;
  if (const int error = findFile(key, path)) {
    return failure(error);
  }
  if (const int error = files_->read(path, 0).error) {
    return failure(error);
  }
  const auto line = lineOf(*files_, path);
  const auto steps = line ? stepsIn(*line) : std::nullopt;
  const auto bytes =
      steps ? encodeReading(kFloat, kFloatBytes, *steps * key.unitsPerStep) : std::nullopt;
  return bytes ? withBytes(*bytes) : failure(EIO);
}

DriverAnswer HwmonKeys::write(const ControllerRequest& request) {
  const auto name = fanKeyName(request.key);
  const Key* key = find(request.key);
  if (key == nullptr) {
    return refusal(kResultKeyNotFound);
  }
  if (request.sizeBytes != key->sizeBytes()) {
    return refusal(kResultSizeMismatch);
  }
  const bool isMode = key->kind == Key::Kind::mode;
  if (!isMode && !(name && name->isOf("Tg"))) {
    return refusal(kResultNotWritable);
  }
  std::string target;
  if (const int error = findFile(*key, target)) {
    return failure(error);
  }
  return isMode ? writeMode(*name, target, request.bytes[0]) : writeTarget(*name, target, request);
}

DriverAnswer HwmonKeys::writeMode(const FanKeyName& name, const std::string& target,
                                  std::uint8_t mode) {
  if (mode > 1) {
    return refusal(kResultBadArgument);
  }
  if (mode == 0) {
    return handBack(name, target);
  }
  const MutexLock lock(mutex_);
  const int error = files_->mayWrite(target);
  if (error == 0) {
    orders_[name.fan] = std::max(orders_[name.fan], Order::announced);
  }
  return writeAnswer(error);
}

/// A driver that refuses this while there is a target may keep the fan forced, whoever has set it.
DriverAnswer HwmonKeys::handBack(const FanKeyName& name, const std::string& target) {
  const MutexLock lock(mutex_);
  const int error = files_->write(target, kAutomatic);
  if (error == 0) {
    orders_[name.fan] = Order::none;
    return {};
  }
  const DriverAnswer answer = writeAnswer(error);
  return answer.status == 0 && !hasNoTarget(target) ? modeAnswer(EREMOTEIO) : answer;
}

bool HwmonKeys::hasNoTarget(const std::string& target) const {
  const auto line = lineOf(*files_, target);
  return line && stepsIn(*line) == 0.0;
}

/// A target that nobody has announced would take the fan out of automatic control by surprise; one
/// that is written back as it was read, to see whether that is allowed, even unnoticed.
DriverAnswer HwmonKeys::writeTarget(const FanKeyName& name, const std::string& target,
                                    const ControllerRequest& request) {
  const auto rpm = decodeReal(kFloat, {request.bytes.begin(), request.bytes.begin() + kFloatBytes});
  if (!rpm || !(*rpm >= 0 && *rpm < kFirstSpeedTooHigh)) {
    return refusal(kResultBadArgument);
  }
  const MutexLock lock(mutex_);
  Order& order = orders_[name.fan];
  if (order == Order::none) {
    const int error = files_->mayWrite(target);
    return error == 0 ? refusal(kResultNotWritable) : writeAnswer(error);
  }
  const int whole = static_cast<int>(*rpm);
  const int error = setTarget(target, whole);
  const DriverAnswer answer = modeAnswer(error);
  if (whole == 0) {
    order = error == 0 ? Order::announced : order;
  } else if (answer.reply.result == 0) {
    order = Order::given;  // also when it failed, for it may have been done
  }
  return answer;
}

/// After 0 the file may show the speed that automatic control wants.
int HwmonKeys::setTarget(const std::string& target, int rpm) const {
  const std::string text = std::to_string(rpm);
  return rpm == 0 ? files_->write(target, text) : writeAndRead(*files_, target, text);
}

const HwmonKeys::Key* HwmonKeys::find(const FourBytes& code) const {
  const auto found = keys_.find(code);
  return found == keys_.end() ? nullptr : &found->second;
}

/// One more than the last fan, so that every fan's digit is below it.
std::uint8_t HwmonKeys::fanCount() const {
  std::uint32_t count = 0;
  for (const auto& [code, key] : keys_) {
    const auto name = fanKeyName(code);
    if (name && name->isOf("Ac")) {
      count = std::max(count, name->fan + 1);
    }
  }
  return static_cast<std::uint8_t>(count);
}

}  // namespace halvarin::platform
