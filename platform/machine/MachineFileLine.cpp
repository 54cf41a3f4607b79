#include "platform/machine/MachineFileLine.h"

#include <algorithm>
#include <span>

#include "base/NumberText.h"

namespace halvarin::platform {

namespace {

constexpr std::size_t kMostBytes = 32;  // what one transfer carries
constexpr std::uint32_t kMostSize = 65535;
constexpr std::string_view kNotReadable = "NOT READABLE";

/// Takes a line apart from its beginning; the first fault is kept.
class Cursor {
 public:
  explicit Cursor(std::string_view line) : rest_(line) {}

  void expect(std::string_view text) {
    if (fault_.empty() && rest_.substr(0, text.size()) != text) {
      fail("\"" + std::string(text) + "\" is missing");
    }
    advance(text.size());
  }

  std::string_view take(std::size_t count, const char* what) {
    if (fault_.empty() && rest_.size() < count) {
      fail(std::string("the line ends within ") + what);
    }
    const std::string_view taken = rest_.substr(0, count);
    advance(count);
    return taken;
  }

  std::string_view takeUntil(char end, const char* what) {
    const std::size_t at = rest_.find(end);
    return take(at == std::string_view::npos ? rest_.size() + 1 : at, what);
  }

  [[nodiscard]] std::string_view rest() const { return rest_; }

  void fail(std::string what) {
    if (fault_.empty()) {
      fault_ = std::move(what);
    }
  }
  [[nodiscard]] const std::string& fault() const { return fault_; }

 private:
  void advance(std::size_t count) { rest_.remove_prefix(std::min(count, rest_.size())); }

  std::string_view rest_;
  std::string fault_;
};

std::uint64_t takeHex(Cursor& cursor, std::size_t digits, const char* what) {
  const std::string_view text = cursor.take(digits, what);
  const auto number = hexNumber(text, digits);
  if (!number) {
    cursor.fail("\"" + std::string(text) + "\" is no hexadecimal " + what);
  }
  return number.value_or(0);
}

FourBytes typeFromHex(std::uint64_t hex) {
  FourBytes type{};
  for (std::size_t i = 0; i < type.size(); ++i) {
    type[i] = static_cast<char>((hex >> (8 * (type.size() - 1 - i))) & 0xFFU);
  }
  return type;
}

void takeCode(Cursor& cursor, RecordedKey& key) {
  constexpr std::size_t kCharacters = 4;
  cursor.expect("[");
  const std::size_t length = cursor.rest().find("] type [");
  if (length != kCharacters && length != std::string_view::npos) {
    cursor.fail("a key has four characters, \"" + std::string(cursor.rest().substr(0, length)) +
                "\" has not (blanks at its end count)");
  }
  key.code = fourBytes(cursor.take(kCharacters, "the key"));
}

void takeSize(Cursor& cursor, RecordedKey& key) {
  std::string_view text = cursor.takeUntil(']', "the size");
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  const auto size = wholeNumber(text);
  if (!size || *size > kMostSize) {
    cursor.fail("the size \"" + std::string(text) + "\" is no number from 0 to " +
                std::to_string(kMostSize));
  }
  key.sizeBytes = static_cast<std::uint32_t>(size.value_or(0));
}

void takeRefusal(Cursor& cursor, std::string_view code, RecordedKey& key) {
  key.result = kResultNotReadable;
  if (code.empty()) {
    return;
  }
  constexpr std::string_view kCode = ", code ";
  const auto number = code.substr(0, kCode.size()) == kCode
                          ? hexNumber(code.substr(kCode.size()), 2)
                          : std::nullopt;
  if (!number || *number == 0) {  // 0 would be a reading
    cursor.fail("\"NOT READABLE\" is followed by nothing or by \", code xx\"");
  }
  key.result = static_cast<std::uint8_t>(number.value_or(0));
}

void takeBytes(Cursor& cursor, std::string_view hex, RecordedKey& key) {
  for (std::size_t at = 0; at < hex.size(); at += 2) {
    const auto byte = hexNumber(hex.substr(at, 2), 2);
    if (!byte) {
      return cursor.fail("bad hexadecimal digits \"" + std::string(hex.substr(at, 2)) +
                         "\" in the value");
    }
    key.bytes.push_back(static_cast<std::uint8_t>(*byte));
  }
  const bool whole = key.bytes.size() == key.sizeBytes;
  if (!whole && !(key.sizeBytes > kMostBytes && key.bytes.size() == kMostBytes)) {
    cursor.fail("the value has " + std::to_string(key.bytes.size()) + " bytes, its size says " +
                std::to_string(key.sizeBytes));
  }
  key.bytes.resize(std::min(key.bytes.size(), kMostBytes));
}

void takeValue(Cursor& cursor, RecordedKey& key) {
  const std::string_view value = cursor.rest();
  if (value.substr(0, kNotReadable.size()) == kNotReadable) {
    takeRefusal(cursor, value.substr(kNotReadable.size()), key);
  } else if (cursor.fault().empty()) {
    takeBytes(cursor, value, key);
  }
}

std::string hexOf(std::uint64_t number, std::size_t bytes) {
  std::vector<std::uint8_t> all(bytes);
  for (std::size_t i = 0; i < bytes; ++i) {
    all[i] = static_cast<std::uint8_t>(number >> (8 * (bytes - 1 - i)));
  }
  return hexBytes(all);
}

}  // namespace

std::optional<std::uint64_t> hexNumber(std::string_view text, std::size_t digits) {
  return text.size() == digits ? wholeNumber(text, 16) : std::nullopt;
}

std::variant<RecordedKey, std::string> parseKeyLine(std::string_view line) {
  RecordedKey key;
  Cursor cursor(line);
  takeCode(cursor, key);
  cursor.expect("] type [");
  cursor.take(4, "the type");  // for people: a zero byte shows as "?", the digits after it count
  cursor.expect("] ");
  key.type = typeFromHex(takeHex(cursor, 8, "type"));
  cursor.expect(" len [");
  takeSize(cursor, key);
  cursor.expect("] attr [");
  key.attributes = static_cast<std::uint8_t>(takeHex(cursor, 2, "attribute"));
  cursor.expect("] ->");
  if (!cursor.rest().empty()) {
    cursor.expect(" ");
  }
  takeValue(cursor, key);
  if (!cursor.fault().empty()) {
    return cursor.fault();
  }
  return key;
}

std::string writeKeyLines(const RecordedKey& key) {
  std::string lines;
  if (key.status != 0) {
    lines = "Unable to read smc value " + hexOf(static_cast<std::uint32_t>(key.status), 4) + "\n";
  }
  const auto* typeBytes = reinterpret_cast<const std::uint8_t*>(key.type.data());
  std::string type(key.type.begin(), key.type.end());
  std::replace_if(
      type.begin(), type.end(), [](unsigned char c) { return c < ' ' || c == '\x7F'; }, '?');
  std::string size = std::to_string(key.sizeBytes);
  size.insert(0, size.size() < 2 ? 1 : 0, ' ');
  lines += "[" + std::string(key.code.begin(), key.code.end()) + "] type [" + type + "] " +
           hexBytes(std::span(typeBytes, key.type.size())) + " len [" + size + "] attr [" +
           hexOf(key.attributes, 1) + "] -> ";
  if (key.status != 0) {
    return lines + std::string(kNotReadable) + "\n";
  }
  if (key.result != 0) {
    return lines + std::string(kNotReadable) + ", code " + hexOf(key.result, 1) + "\n";
  }
  return lines + hexBytes(key.bytes) + "\n";
}

}  // namespace halvarin::platform
