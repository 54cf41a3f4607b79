#include "tests/support/ScriptedDriver.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <variant>

#include "base/NumberText.h"

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
  ScriptedFans::State fans;
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
  driver.fans_.begin(driver.state_->fans);
}

bool ScriptedDriver::isIn(const fs::path& folder) {
  return fs::exists(folder / "state");
}

ScriptedDriver::ScriptedDriver(const fs::path& folder)
    : folder_(folder),
      machine_(machineIn(folder)),
      script_(scriptIn(folder)),
      disk_((folder / "root").string()),
      fans_(machine_, script_, script_.names == DriverScript::Names::older ? kDevice : kMonitor) {
  const int file = opened(folder / "state", O_RDWR);
  void* memory = mmap(nullptr, sizeof(State), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  close(file);
  if (memory == MAP_FAILED) {
    throw std::system_error(errno, std::system_category(), "the driver's state");
  }
  state_ = static_cast<State*>(memory);
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
  ScriptedFans::setForced(state_->fans, fan, forced);
}

FileContent ScriptedDriver::read(const std::string& path, std::size_t most) {
  FileContent content;
  if (const ScriptedFans::File* file = fans_.at(path)) {
    content = fanFile(*file, most);
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
  if (state_->isSilent) {
    return EIO;  // the driver reads before it writes
  }
  const ScriptedFans::File& file = *fans_.at(path);
  if (const int error = fans_.write(file, *number, state_->fans)) {
    return error;
  }
  const std::string line = file.name + " " + std::string(text) + "\n";
  const int log = opened(folder_ / "writes", O_WRONLY | O_APPEND);
  const bool isLogged = ::write(log, line.data(), line.size()) > 0;
  close(log);
  return isLogged ? 0 : EIO;
}

int ScriptedDriver::mayWrite(const std::string& path) {
  const ScriptedFans::File* file = fans_.at(path);
  if (file == nullptr) {
    return disk_.read(path, 0).error == 0 ? EACCES : ENOENT;
  }
  if (!file->isWritable()) {
    return EROFS;
  }
  return script_.denied.contains(file->name) ? EACCES : 0;
}

std::vector<std::string> ScriptedDriver::list(const std::string& path) {
  std::vector<std::string> names = disk_.list(path);
  const std::vector<std::string> ofFans = fans_.namesIn(path);
  names.insert(names.end(), ofFans.begin(), ofFans.end());
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
  const std::vector<std::uint8_t> value = fans_.valueOf(key, state_->fans).value_or(key.bytes);
  return {0, std::string(value.begin(), value.end())};
}

/// Each of them shows what the controller says of a key at that moment.
FileContent ScriptedDriver::fanFile(const ScriptedFans::File& file, std::size_t most) const {
  if (most == 0) {
    return {};
  }
  return state_->isSilent ? FileContent{EIO, {}} : FileContent{0, fans_.textIn(file, state_->fans)};
}

}  // namespace halvarin::test
