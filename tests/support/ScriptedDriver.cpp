#include "tests/support/ScriptedDriver.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <variant>

#include "base/NumberText.h"
#include "platform/machine/fans/FanKeys.h"
#include "platform/machine/linux/FanKeyName.h"

namespace halvarin::test {

namespace {

namespace fs = std::filesystem;
using platform::FileContent;
using platform::RecordedKey;

void putFile(const fs::path& path, const std::string& text) {
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << text;
}

int opened(const fs::path& path, int flags) {
  const int descriptor = open(path.c_str(), flags | O_CLOEXEC, 0666);
  if (descriptor < 0) {
    throw std::system_error(errno, std::system_category(), path.string());
  }
  return descriptor;
}

std::string lineText(long number) {
  return std::to_string(number) + "\n";
}

/// The kernel prints a code up to its first zero byte.
std::string printed(const platform::FourBytes& code) {
  return std::string(code.begin(), std::find(code.begin(), code.end(), '\0')) + "\n";
}

platform::RecordedMachine machineIn(const fs::path& folder) {
  auto read = platform::readMachineFile((folder / "machine.txt").string());
  if (const auto* error = std::get_if<platform::MachineFileError>(&read)) {
    throw std::runtime_error(error->message());
  }
  return std::get<platform::RecordedMachine>(std::move(read));
}

/// The name of the driver's file for keys at this path.
std::optional<std::string_view> keyFileName(const std::string& path) {
  constexpr std::array<std::string_view, 6> kNames{"key_count",
                                                   "key_at_index",
                                                   "key_at_index_name",
                                                   "key_at_index_type",
                                                   "key_at_index_data_length",
                                                   "key_at_index_data"};
  const std::string_view device = ScriptedDriver::kDevice;
  if (path.compare(0, device.size(), device) != 0 || path.size() <= device.size()) {
    return std::nullopt;
  }
  const auto* const found =
      std::find(kNames.begin(), kNames.end(), std::string_view(path).substr(device.size() + 1));
  return found == kNames.end() ? std::nullopt : std::optional(*found);
}

}  // namespace

/// What the driver and the controller remember, in memory that processes share.
struct ScriptedDriver::State {
  std::atomic<std::uint32_t> cursor;
  std::atomic<std::uint64_t> cursorWrites;
  std::atomic<std::uint64_t> valuesRead;
  std::atomic<bool> isSilent;
  std::array<std::atomic<bool>, 16> forced;
  std::array<std::atomic<std::uint32_t>, 16> targets;   // RPM
  std::array<std::atomic<std::uint32_t>, 16> minimums;  // RPM
};

/// Like one on a disk: a notice of each write, given once the write is done.
class ScriptedDriver::Cursor : public platform::CursorFile {
 public:
  explicit Cursor(ScriptedDriver& driver)
      : driver_(driver), lock_(opened(driver.folder_ / "lock", O_RDWR)) {}
  ~Cursor() override { close(lock_); }

  [[nodiscard]] bool tryLock() override { return flock(lock_, LOCK_EX | LOCK_NB) == 0; }
  void unlock() override { flock(lock_, LOCK_UN); }

  [[nodiscard]] int set(std::string_view text) override {
    const auto index = wholeNumber(text);
    if (!index || *index >= driver_.machine_.keys.size()) {
      return EINVAL;
    }
    driver_.moveCursor(static_cast<std::uint32_t>(*index));
    seen_ = driver_.state_->cursorWrites;
    return 0;
  }

  [[nodiscard]] Witness witness() override {
    if (driver_.script_.isBlind) {
      return Witness::blind;
    }
    return driver_.state_->cursorWrites == seen_ ? Witness::alone : Witness::disturbed;
  }

 private:
  ScriptedDriver& driver_;
  const int lock_;
  std::uint64_t seen_ = 0;
};

void ScriptedDriver::layOut(const fs::path& folder, platform::RecordedMachine machine,
                            const DriverScript& script) {
  // As every controller lists them.
  std::sort(machine.keys.begin(), machine.keys.end(),
            [](const RecordedKey& a, const RecordedKey& b) { return a.code < b.code; });
  putFile(folder / "machine.txt", platform::writeMachineFile(machine));
  writeScript(folder, script);
  putFile(folder / "lock", "");
  putFile(folder / "writes", "");
  putFile(folder / "state", std::string(sizeof(State), '\0'));
  const fs::path root = folder / "root";
  const fs::path device = root / fs::path(kDevice).relative_path();
  const fs::path monitor = root / fs::path(kMonitor).relative_path();
  const bool isOlder = script.names == DriverScript::Names::older;
  putFile((isOlder ? device : monitor) / "name", "applesmc\n");
  fs::create_directories(monitor);
  fs::create_directory_symlink("../../../applesmc.768", monitor / "device");
  putFile(root / "sys/class/hwmon/hwmon0/name", "coretemp\n");
  fs::create_directory_symlink("../../devices/platform/applesmc.768/hwmon/hwmon3",
                               root / "sys/class/hwmon/hwmon3");
  putFile(root / "sys/class/dmi/id/product_name", machine.model + "\n");
  putFile(root / "proc/cpuinfo", "processor\t: 0\nmodel name\t: " + machine.processor + "\n");
  const bool isOnMains = machine.powerSource != "Battery Power";
  putFile(root / "sys/class/power_supply/ADP1/type", "Mains\n");
  putFile(root / "sys/class/power_supply/ADP1/online", isOnMains ? "1\n" : "0\n");
  const ScriptedDriver driver(folder);
  for (const std::uint32_t fan : platform::simulatedFans(machine.keys)) {
    driver.state_->targets[fan] = static_cast<std::uint32_t>(driver.speedOf(fan, "Tg"));
    driver.state_->minimums[fan] = static_cast<std::uint32_t>(driver.speedOf(fan, "Mn"));
  }
}

bool ScriptedDriver::isIn(const fs::path& folder) {
  return fs::exists(folder / "state");
}

ScriptedDriver::ScriptedDriver(const fs::path& folder)
    : folder_(folder),
      machine_(machineIn(folder)),
      script_(scriptIn(folder)),
      disk_((folder / "root").string()) {
  const int file = opened(folder / "state", O_RDWR);
  void* memory = mmap(nullptr, sizeof(State), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  close(file);
  if (memory == MAP_FAILED) {
    throw std::system_error(errno, std::system_category(), "the driver's state");
  }
  state_ = static_cast<State*>(memory);
  addFanFiles();
}

ScriptedDriver::~ScriptedDriver() {
  munmap(state_, sizeof(State));
}

std::vector<std::string> ScriptedDriver::writes() const {
  std::vector<std::string> lines;
  std::ifstream file(folder_ / "writes");
  for (std::string line; std::getline(file, line);) {
    lines.push_back(line);
  }
  return lines;
}

std::uint64_t ScriptedDriver::valuesRead() const {
  return state_->valuesRead;
}

void ScriptedDriver::moveCursor(std::uint32_t index) {
  state_->cursor = index;
  ++state_->cursorWrites;
}

std::uint32_t ScriptedDriver::cursor() const {
  return state_->cursor;
}

void ScriptedDriver::setSilent(bool silent) {
  state_->isSilent = silent;
}

void ScriptedDriver::setForced(std::uint32_t fan, bool forced) {
  state_->forced[fan] = forced;
}

FileContent ScriptedDriver::read(const std::string& path, std::size_t most) {
  FileContent content;
  if (const FanFile* file = fanFileAt(path)) {
    content = fanFile(*file);
  } else if (const auto name = keyFileName(path)) {
    content = most == 0 ? FileContent() : keyFile(*name);
  } else {
    return disk_.read(path, most);
  }
  content.bytes.resize(std::min(content.bytes.size(), most));
  return content;
}

int ScriptedDriver::write(const std::string& path, std::string_view text) {
  if (const int error = mayWrite(path)) {
    return error;
  }
  const auto number = wholeNumber(text);
  if (!number) {
    return EINVAL;
  }
  const FanFile& file = *fanFileAt(path);
  const auto value = static_cast<std::uint32_t>(*number);
  if (file.what == "_manual") {
    state_->forced[file.fan] = value != 0;
  } else if (file.what == "_enable") {
    state_->forced[file.fan] = value == 1;
  } else if (value >= 0x4000) {
    return EINVAL;
  } else {
    (file.what == "_min" ? state_->minimums : state_->targets)[file.fan] = value;
  }
  const std::string line = file.name + " " + std::string(text) + "\n";
  const int log = opened(folder_ / "writes", O_WRONLY | O_APPEND);
  const bool isLogged = ::write(log, line.data(), line.size()) > 0;
  close(log);
  return isLogged ? 0 : EIO;
}

int ScriptedDriver::mayWrite(const std::string& path) {
  const FanFile* file = fanFileAt(path);
  if (file == nullptr) {
    return disk_.read(path, 0).error == 0 ? EACCES : ENOENT;
  }
  if (file->what == "_input" || file->what == "_max" || file->what == "_label") {
    return EROFS;
  }
  return script_.denied.contains(file->name) ? EACCES : 0;
}

std::vector<std::string> ScriptedDriver::list(const std::string& path) {
  std::vector<std::string> names = disk_.list(path);
  for (const auto& [file, facts] : fanFiles_) {
    if (file == path + "/" + facts.name) {
      names.push_back(facts.name);
    }
  }
  if (path == kDevice) {
    for (const char* ending : {"", "_data", "_data_length", "_name", "_type"}) {
      names.push_back(std::string("key_at_index") + ending);
    }
    names.emplace_back("key_count");
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string ScriptedDriver::resolve(const std::string& path) {
  return disk_.resolve(path);
}

std::unique_ptr<platform::CursorFile> ScriptedDriver::openCursor(const std::string& path,
                                                                 int& error) {
  if (keyFileName(path) != "key_at_index") {
    error = ENOENT;
  } else {
    error = script_.denied.contains("key_at_index") ? EACCES : 0;
  }
  return error == 0 ? std::make_unique<Cursor>(*this) : nullptr;
}

void ScriptedDriver::addFanFile(std::uint32_t fan, const std::string& begin,
                                const std::string& what) {
  const bool isOlder = script_.names == DriverScript::Names::older;
  const std::string name = begin + std::to_string(fan + 1) + what;
  const std::string path = std::string(isOlder ? kDevice : kMonitor) + "/" + name;
  fanFiles_[path] = {fan, what, name};
}

void ScriptedDriver::addFanFiles() {
  for (const std::uint32_t fan : platform::simulatedFans(machine_.keys)) {
    for (const char* what : {"_input", "_label", "_max", "_min"}) {
      addFanFile(fan, "fan", what);
    }
    if (script_.names != DriverScript::Names::newer) {
      addFanFile(fan, "fan", "_manual");
      addFanFile(fan, "fan", "_output");
    }
    if (script_.names != DriverScript::Names::older) {
      addFanFile(fan, "fan", "_target");
      addFanFile(fan, "pwm", "_enable");
    }
  }
}

const ScriptedDriver::FanFile* ScriptedDriver::fanFileAt(const std::string& path) const {
  const auto found = fanFiles_.find(path);
  return found == fanFiles_.end() ? nullptr : &found->second;
}

FileContent ScriptedDriver::keyFile(std::string_view name) const {
  if (name == "key_count") {
    return {0, lineText(static_cast<long>(machine_.keys.size()))};
  }
  const std::uint32_t cursor = state_->cursor;
  const RecordedKey& key = machine_.keys[cursor];
  if (name == "key_at_index") {
    return {0, lineText(cursor)};
  }
  if (name == "key_at_index_name") {
    return {0, printed(key.code)};
  }
  if (name == "key_at_index_type") {
    return {0, printed(key.type)};
  }
  if (name == "key_at_index_data_length") {
    return {0, lineText(key.sizeBytes)};
  }
  ++state_->valuesRead;
  if (script_.latency.count() > 0) {
    std::this_thread::sleep_for(script_.latency);  // as the kernel does: others have their turn
  }
  if (key.result != 0 || key.status != 0 || state_->isSilent) {
    return {EIO, {}};
  }
  const std::vector<std::uint8_t> value = valueOf(key);
  return {0, std::string(value.begin(), value.end())};
}

FileContent ScriptedDriver::fanFile(const FanFile& file) const {
  const bool isForced = state_->forced[file.fan];
  if (file.what == "_manual") {
    return {0, lineText(isForced ? 1 : 0)};
  }
  if (file.what == "_enable") {
    return {0, lineText(isForced ? 1 : 2)};
  }
  if (file.what == "_output" || file.what == "_target") {
    return {0, lineText(state_->targets[file.fan])};
  }
  if (file.what == "_min") {
    return {0, lineText(state_->minimums[file.fan])};
  }
  if (file.what == "_label") {
    return {0, "Fan\n"};
  }
  return {0, lineText(std::lround(speedOf(file.fan, file.what == "_max" ? "Mx" : "Ac")))};
}

std::vector<std::uint8_t> ScriptedDriver::valueOf(const RecordedKey& key) const {
  if (key.code == platform::fourBytes("FS! ")) {
    unsigned bits = 0;
    for (unsigned fan = 0; fan < 16; ++fan) {
      bits |= state_->forced[fan] ? 1U << fan : 0U;
    }
    return {static_cast<std::uint8_t>(bits >> 8U), static_cast<std::uint8_t>(bits)};
  }
  const auto name = platform::fanKeyName(key.code);
  if (!name) {
    return key.bytes;
  }
  const bool isForced = state_->forced[name->fan];
  if (name->isOf("Md")) {
    return {static_cast<std::uint8_t>(isForced)};
  }
  if (name->isOf("Tg") || (name->isOf("Ac") && isForced)) {
    return platform::speedBytes(key, state_->targets[name->fan]);
  }
  return name->isOf("Mn") ? platform::speedBytes(key, state_->minimums[name->fan]) : key.bytes;
}

double ScriptedDriver::speedOf(std::uint32_t fan, std::string_view what) const {
  const auto code = platform::fanKey(fan, what);
  const auto found = std::find_if(machine_.keys.begin(), machine_.keys.end(),
                                  [&](const RecordedKey& key) { return key.code == code; });
  return found == machine_.keys.end() ? 0 : platform::heldSpeed(*found).value_or(0);
}

}  // namespace halvarin::test
