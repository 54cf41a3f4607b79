#include "platform/machine/MachineFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <unordered_set>
#include <utility>

#include "base/FileBytes.h"
#include "base/NumberText.h"
#include "base/Text.h"
#include "platform/machine/MachineFileLine.h"

namespace halvarin::platform {

namespace {

constexpr const char* kDefaultProcessor = "Intel(R) Core(TM) i7-8750H CPU @ 2.20GHz";
constexpr std::uint32_t kDefaultLogicalProcessors = 4;
constexpr std::uint32_t kMostLogicalProcessors = 4096;
// Recorded controllers list up to a few thousand keys; a count far beyond that is a damaged file,
// and walking it would take hours.
constexpr std::uint64_t kMostListedKeys = 65536;

/// Reads the lines of one file; ends at the first fault.
class Reader {
 public:
  explicit Reader(std::string name) : error_{std::move(name), 0, {}} {}

  std::variant<RecordedMachine, MachineFileError> read(std::string_view text) {
    while (!text.empty() && error_.what.empty() && !pastList_) {
      ++error_.line;
      const std::size_t end = std::min(text.find('\n'), text.size());
      takeLine(withoutLineEnd(text.substr(0, end)));
      text.remove_prefix(std::min(end + 1, text.size()));
    }
    if (error_.what.empty()) {
      finish();
    }
    if (!error_.what.empty()) {
      return error_;
    }
    return std::move(machine_);
  }

 private:
  static std::string_view withoutLineEnd(std::string_view line) {
    const std::size_t last = line.find_last_not_of("\r \t");
    return line.substr(0, last == std::string_view::npos ? 0 : last + 1);
  }

  void fail(std::string what) { error_.what = std::move(what); }

  void takeLine(std::string_view line) {
    if (!expected_) {
      takeHeading(line);
    } else if (line.empty()) {
      return;
    } else if (line.front() == '[') {
      takeKey(line);
    } else if (line.substr(0, kStatusLine.size()) == kStatusLine) {
      takeStatus(line.substr(kStatusLine.size()));
    } else if (machine_.keys.size() >= *expected_ || line.substr(0, 6) == "Hidden") {
      pastList_ = true;
    } else {
      fail("this is not a key line: \"" + std::string(line.substr(0, 40)) + "\"");
    }
  }

  void takeHeading(std::string_view line) {
    if (const auto value = valueOf(line, "Model:")) {
      machine_.model = *value;
    } else if (const auto processor = valueOf(line, "Processor:")) {
      machine_.processor = *processor;
    } else if (const auto source = valueOf(line, "PowerSource:")) {
      machine_.powerSource = *source;
    } else if (const auto number = valueOf(line, "LogicalProcessors:")) {
      takeLogicalProcessors(*number);
    } else if (line.substr(0, 11) == "Public keys") {
      takeListHeading(line);
    }
  }

  static std::optional<std::string_view> valueOf(std::string_view line, std::string_view label) {
    if (line.substr(0, label.size()) != label) {
      return std::nullopt;
    }
    return trimmed(line.substr(label.size()));
  }

  void takeLogicalProcessors(std::string_view text) {
    const auto number = wholeNumber(text);
    if (!number || *number == 0 || *number > kMostLogicalProcessors) {
      return fail("\"LogicalProcessors:\" takes a number from 1 to " +
                  std::to_string(kMostLogicalProcessors));
    }
    machine_.logicalProcessors = static_cast<std::uint32_t>(*number);
  }

  void takeListHeading(std::string_view line) {
    const std::size_t open = line.find('(');
    const std::size_t close = line.find(')');
    if (open == std::string_view::npos || close == std::string_view::npos || close < open) {
      return fail("the list begins with \"Public keys (N):\", N being its number of keys");
    }
    expected_ = wholeNumber(line.substr(open + 1, close - open - 1));
    if (!expected_ || *expected_ > kMostListedKeys) {
      expected_.reset();
      return fail("\"Public keys (N):\" takes a number from 0 to " +
                  std::to_string(kMostListedKeys));
    }
    listLine_ = error_.line;
  }

  void takeStatus(std::string_view text) {
    const auto status = hexNumber(trimmed(text), 8);
    if (!status || *status == 0) {
      return fail("a status of eight hexadecimal digits is missing here");
    }
    status_ = static_cast<std::int32_t>(*status);
  }

  void takeKey(std::string_view line) {
    auto parsed = parseKeyLine(line);
    if (const auto* fault = std::get_if<std::string>(&parsed)) {
      return fail(*fault);
    }
    auto key = std::get<RecordedKey>(std::move(parsed));
    if (const std::int32_t status = std::exchange(status_, 0); status != 0) {
      // Without a reply there was no result byte and there were no bytes.
      key.status = status;
      key.result = 0;
      key.bytes.clear();
    }
    if (machine_.keys.size() >= *expected_) {
      return fail("more key lines than the " + std::to_string(*expected_) + " that line " +
                  std::to_string(listLine_) + " announces");
    }
    const std::string code(key.code.begin(), key.code.end());
    if (!seen_.insert(code).second) {
      return fail("the key [" + code + "] is in the list twice");
    }
    checkCount(key);
    machine_.keys.push_back(std::move(key));
  }

  void checkCount(const RecordedKey& key) {
    std::uint64_t count = 0;
    for (const std::uint8_t byte : key.bytes) {
      count = (count << 8U) | byte;
    }
    if (key.code == fourBytes("#KEY") && key.bytes.size() <= 4 && count > kMostListedKeys) {
      fail("#KEY says " + std::to_string(count) + " keys; no controller has more than " +
           std::to_string(kMostListedKeys));
    }
  }

  void finish() {
    if (!expected_) {
      error_.line = 0;
      return fail("this is no machine file: it has no line \"Public keys (N):\"");
    }
    if (machine_.keys.size() < *expected_) {
      return fail("the file ends after " + std::to_string(machine_.keys.size()) + " of the " +
                  std::to_string(*expected_) + " keys that line " + std::to_string(listLine_) +
                  " announces");
    }
    fillDefaults();
  }

  void fillDefaults() {
    if (machine_.model.empty()) {
      machine_.model = std::filesystem::path(error_.file).stem().string();
    }
    if (machine_.processor.empty()) {
      machine_.processor = kDefaultProcessor;
    }
    if (machine_.logicalProcessors == 0) {
      machine_.logicalProcessors = kDefaultLogicalProcessors;
    }
    if (machine_.powerSource.empty()) {
      machine_.powerSource = runsOnBattery() ? "Battery Power" : "AC Power";
    }
  }

  [[nodiscard]] bool runsOnBattery() const {
    const auto& keys = machine_.keys;
    return std::any_of(keys.begin(), keys.end(), [](const RecordedKey& key) {
      return key.code == fourBytes("BATP") && key.bytes == std::vector<std::uint8_t>{1};
    });
  }

  static constexpr std::string_view kStatusLine = "Unable to read smc value";

  MachineFileError error_;
  RecordedMachine machine_;
  std::optional<std::uint64_t> expected_;
  std::size_t listLine_ = 0;
  std::int32_t status_ = 0;
  bool pastList_ = false;
  std::unordered_set<std::string> seen_;
};

}  // namespace

FourBytes fourBytes(std::string_view text) {
  FourBytes four{};
  std::copy_n(text.begin(), std::min(text.size(), four.size()), four.begin());
  return four;
}

std::string MachineFileError::message() const {
  return file + (line == 0 ? "" : ":" + std::to_string(line)) + ": " + what;
}

std::variant<RecordedMachine, MachineFileError> parseMachineFile(std::string_view text,
                                                                 const std::string& name) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    text.remove_prefix(kByteOrderMark.size());
  }
  if (text.empty()) {
    return MachineFileError{name, 0, "the file is empty"};
  }
  return Reader(name).read(text);
}

std::variant<RecordedMachine, MachineFileError> readMachineFile(const std::string& path) {
  const auto text = fileBytes(path);
  if (!text) {
    return MachineFileError{path, 0, "cannot be read: " + std::string(std::strerror(errno))};
  }
  return parseMachineFile(*text, path);
}

std::string writeMachineFile(const RecordedMachine& machine) {
  std::string text = "Model: " + machine.model + "\nProcessor: " + machine.processor +
                     "\nLogicalProcessors: " + std::to_string(machine.logicalProcessors) +
                     "\nPowerSource: " + machine.powerSource + "\nPublic keys (" +
                     std::to_string(machine.keys.size()) + "):\n";
  for (const RecordedKey& key : machine.keys) {
    text += writeKeyLines(key);
  }
  return text;
}

}  // namespace halvarin::platform
