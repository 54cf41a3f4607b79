#include "platform/machine/linux/MacIdentity.h"

#include <algorithm>
#include <optional>

#include "base/Text.h"
#include "platform/machine/linux/SmcDriver.h"

namespace halvarin::platform {

namespace {

constexpr std::string_view kMaker = "apple,";

/// The strings of the device tree's "compatible", the board first, then its chip.
std::vector<std::string> compatible(FileTree& files) {
  constexpr std::size_t kMostBytes = 1024;
  const FileContent content = files.read("/proc/device-tree/compatible", kMostBytes);
  std::vector<std::string> names;
  std::string_view rest = content.bytes;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find('\0'), rest.size());
    names.emplace_back(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return names;
}

bool isOfMaker(std::string_view name) {
  return name.substr(0, kMaker.size()) == kMaker;
}

/// The meaning of a name from the device tree, or the name.
std::string meaningOf(const std::string& name, const std::vector<DeviceTreeName>& known) {
  if (!isOfMaker(name)) {
    return name;
  }
  const std::string_view bare = std::string_view(name).substr(kMaker.size());
  const auto found = std::find_if(known.begin(), known.end(),
                                  [&](const DeviceTreeName& each) { return each.name == bare; });
  return found == known.end() ? name : std::string(found->meaning);
}

/// The first "model name" of the kernel's list of processors.
std::optional<std::string> namedProcessor(FileTree& files) {
  constexpr std::size_t kMostBytes = 4096;  // the first processor's lines are far fewer
  constexpr std::string_view kLabel = "model name";
  const FileContent content = files.read("/proc/cpuinfo", kMostBytes);
  std::string_view rest = content.bytes;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    const std::string_view line = rest.substr(0, end);
    const std::size_t colon = line.find(':');
    if (line.substr(0, kLabel.size()) == kLabel && colon != std::string_view::npos) {
      return std::string(trimmed(line.substr(colon + 1)));
    }
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return std::nullopt;
}

/// A text for people and tables; what is none counts as nothing.
std::string textOrNothing(const std::string& text) {
  return utf16(text) ? text : "";
}

}  // namespace

std::string modelIdentifier(FileTree& files) {
  const std::vector<std::string> names = compatible(files);
  const std::string board = names.empty() ? "" : meaningOf(names[0], knownBoards());
  if (!names.empty() && isOfMaker(names[0])) {
    return textOrNothing(board);  // its boot loader's tables need not know it
  }
  const auto product = lineOf(files, "/sys/class/dmi/id/product_name");
  const bool isTold = product && !trimmed(*product).empty();
  return textOrNothing(isTold ? std::string(trimmed(*product)) : board);
}

std::string processorName(FileTree& files) {
  if (const auto name = namedProcessor(files)) {
    return textOrNothing(*name);
  }
  const std::vector<std::string> names = compatible(files);
  return names.size() < 2 ? "" : textOrNothing(meaningOf(names[1], knownChips()));
}

const std::vector<DeviceTreeName>& knownBoards() {
  static const auto* const boards = new std::vector<DeviceTreeName>{
      {"j274", "Macmini9,1"},      {"j293", "MacBookPro17,1"},  {"j313", "MacBookAir10,1"},
      {"j456", "iMac21,1"},        {"j457", "iMac21,2"},        {"j314s", "MacBookPro18,3"},
      {"j314c", "MacBookPro18,4"}, {"j316s", "MacBookPro18,1"}, {"j316c", "MacBookPro18,2"},
      {"j375c", "Mac13,1"},        {"j375d", "Mac13,2"},        {"j413", "Mac14,2"},
      {"j415", "Mac14,15"},        {"j473", "Mac14,3"},         {"j493", "Mac14,7"},
      {"j414s", "Mac14,9"},        {"j414c", "Mac14,5"},        {"j416s", "Mac14,10"},
      {"j416c", "Mac14,6"},        {"j474s", "Mac14,12"},       {"j475c", "Mac14,13"},
      {"j475d", "Mac14,14"},       {"j180d", "Mac14,8"},        {"j504", "Mac15,3"},
      {"j613", "Mac15,12"},        {"j615", "Mac15,13"},
  };
  return *boards;
}

const std::vector<DeviceTreeName>& knownChips() {
  static const auto* const chips = new std::vector<DeviceTreeName>{
      {"t8103", "Apple M1"},       {"t6000", "Apple M1 Pro"},   {"t6001", "Apple M1 Max"},
      {"t6002", "Apple M1 Ultra"}, {"t8112", "Apple M2"},       {"t6020", "Apple M2 Pro"},
      {"t6021", "Apple M2 Max"},   {"t6022", "Apple M2 Ultra"}, {"t8122", "Apple M3"},
      {"t6030", "Apple M3 Pro"},   {"t6031", "Apple M3 Max"},   {"t8132", "Apple M4"},
  };
  return *chips;
}

}  // namespace halvarin::platform
