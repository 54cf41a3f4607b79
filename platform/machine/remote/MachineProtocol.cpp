#include "platform/machine/remote/MachineProtocol.h"

#include <string_view>
#include <utility>

namespace halvarin::platform {

namespace {

/// The first byte of a message. Requests and replies share no number, so that neither side takes
/// its own words for an answer.
enum class Kind : std::uint8_t {
  serviceRequest = 0x01,
  openRequest = 0x02,
  callRequest = 0x03,
  closeRequest = 0x04,
  settingRequest = 0x05,
  powerSourceRequest = 0x06,
  serviceReply = 0x81,
  openReply = 0x82,
  callReply = 0x83,
  closeReply = 0x84,
  settingReply = 0x85,
  powerSourceReply = 0x86,
};

/// What a setting is, before its value.
enum class SettingKind : std::uint8_t { nothing = 0, text = 1, integer = 2 };

class MessageWriter {
 public:
  explicit MessageWriter(Kind kind) { byte(static_cast<std::uint8_t>(kind)); }

  MessageWriter& byte(std::uint8_t value) {
    bytes_.push_back(value);
    return *this;
  }
  MessageWriter& word(std::uint32_t value) {
    for (unsigned shift = 32; shift > 0;) {
      shift -= 8;
      byte(static_cast<std::uint8_t>(value >> shift));
    }
    return *this;
  }
  MessageWriter& status(MachineStatus value) { return word(static_cast<std::uint32_t>(value)); }
  MessageWriter& integer(std::int64_t value) {
    const auto bits = static_cast<std::uint64_t>(value);
    return word(static_cast<std::uint32_t>(bits >> 32U)).word(static_cast<std::uint32_t>(bits));
  }
  template <typename Sequence>
  MessageWriter& counted(const Sequence& sequence) {
    word(static_cast<std::uint32_t>(sequence.size()));
    bytes_.insert(bytes_.end(), sequence.begin(), sequence.end());
    return *this;
  }
  MessageWriter& setting(const Value& value) {
    if (value.isText()) {
      return byte(static_cast<std::uint8_t>(SettingKind::text)).counted(value.textView());
    }
    if (value.isInteger()) {
      return byte(static_cast<std::uint8_t>(SettingKind::integer)).integer(value.longLongValue());
    }
    return byte(static_cast<std::uint8_t>(SettingKind::nothing));
  }
  [[nodiscard]] MessageBytes take() { return std::move(bytes_); }

 private:
  MessageBytes bytes_;
};

/// Takes fields from the front. What is missing or wrong reads as zero or empty and makes the whole
/// message broken.
class MessageReader {
 public:
  explicit MessageReader(std::span<const std::uint8_t> rest) : rest_(rest) {}

  std::uint8_t byte() {
    const auto taken = take(1);
    return taken.empty() ? std::uint8_t{0} : taken.front();
  }
  bool truth() {
    const std::uint8_t value = byte();
    broken_ |= value > 1;
    return value == 1;
  }
  std::uint32_t word() {
    std::uint32_t value = 0;
    for (const std::uint8_t each : take(4)) {
      value = (value << 8U) | each;
    }
    return value;
  }
  MachineStatus status() { return static_cast<MachineStatus>(word()); }
  std::int64_t integer() {
    const std::uint64_t high = word();
    return static_cast<std::int64_t>((high << 32U) | word());
  }
  std::uint32_t structBytes() {
    const std::uint32_t value = word();
    broken_ |= value > kMostStructBytes;
    return value;
  }
  std::string text() {
    const auto taken = take(word());
    return {taken.begin(), taken.end()};
  }
  MessageBytes structure() {
    const auto taken = take(structBytes());
    return {taken.begin(), taken.end()};
  }
  Value setting() {
    switch (static_cast<SettingKind>(byte())) {
      case SettingKind::nothing:
        return {};
      case SettingKind::text:
        return text();
      case SettingKind::integer:
        return integer();
    }
    broken_ = true;
    return {};
  }
  /// Whether every field was there and right and nothing is left over.
  [[nodiscard]] bool isWhole() const { return !broken_ && rest_.empty(); }

 private:
  std::span<const std::uint8_t> take(std::size_t count) {
    if (broken_ || count > rest_.size()) {
      broken_ = true;
      return {};
    }
    const auto taken = rest_.first(count);
    rest_ = rest_.subspan(count);
    return taken;
  }

  std::span<const std::uint8_t> rest_;
  bool broken_ = false;
};

MessageBytes encoded(const ServiceRequest& request) {
  return MessageWriter(Kind::serviceRequest).counted(request.serviceClass).take();
}
MessageBytes encoded(const OpenRequest& request) {
  return MessageWriter(Kind::openRequest).word(request.type).take();
}
MessageBytes encoded(const CallRequest& request) {
  MessageWriter writer(Kind::callRequest);
  writer.word(request.connection).word(request.selector).word(request.replyCapacityBytes);
  return writer.counted(request.bytes).take();
}
MessageBytes encoded(const CloseRequest& request) {
  return MessageWriter(Kind::closeRequest).word(request.connection).take();
}
MessageBytes encoded(const SettingRequest& request) {
  return MessageWriter(Kind::settingRequest).counted(request.name).take();
}
MessageBytes encoded(const PowerSourceRequest& /*request*/) {
  return MessageWriter(Kind::powerSourceRequest).take();
}
MessageBytes encoded(const ServiceReply& reply) {
  return MessageWriter(Kind::serviceReply).byte(reply.exists ? 1 : 0).take();
}
MessageBytes encoded(const OpenReply& reply) {
  return MessageWriter(Kind::openReply).status(reply.status).word(reply.connection).take();
}
MessageBytes encoded(const CallReply& reply) {
  return MessageWriter(Kind::callReply).status(reply.status).counted(reply.bytes).take();
}
MessageBytes encoded(const CloseReply& reply) {
  return MessageWriter(Kind::closeReply).status(reply.status).take();
}
MessageBytes encoded(const SettingReply& reply) {
  return MessageWriter(Kind::settingReply).setting(reply.value).take();
}
MessageBytes encoded(const PowerSourceReply& reply) {
  return MessageWriter(Kind::powerSourceReply).counted(reply.name).take();
}

// In braces the fields are read in the order in which they stand.

std::optional<MachineRequest> requestFields(MessageReader& reader) {
  switch (static_cast<Kind>(reader.byte())) {
    case Kind::serviceRequest:
      return ServiceRequest{reader.text()};
    case Kind::openRequest:
      return OpenRequest{reader.word()};
    case Kind::callRequest:
      return CallRequest{reader.word(), reader.word(), reader.structBytes(), reader.structure()};
    case Kind::closeRequest:
      return CloseRequest{reader.word()};
    case Kind::settingRequest:
      return SettingRequest{reader.text()};
    case Kind::powerSourceRequest:
      return PowerSourceRequest{};
    default:
      return std::nullopt;
  }
}

std::optional<MachineReply> replyFields(MessageReader& reader) {
  switch (static_cast<Kind>(reader.byte())) {
    case Kind::serviceReply:
      return ServiceReply{reader.truth()};
    case Kind::openReply:
      return OpenReply{reader.status(), reader.word()};
    case Kind::callReply:
      return CallReply{reader.status(), reader.structure()};
    case Kind::closeReply:
      return CloseReply{reader.status()};
    case Kind::settingReply:
      return SettingReply{reader.setting()};
    case Kind::powerSourceReply:
      return PowerSourceReply{reader.text()};
    default:
      return std::nullopt;
  }
}

}  // namespace

MessageBytes encodeMessage(const MachineRequest& request) {
  return std::visit([](const auto& each) { return encoded(each); }, request);
}

MessageBytes encodeMessage(const MachineReply& reply) {
  return std::visit([](const auto& each) { return encoded(each); }, reply);
}

std::optional<MachineRequest> decodeRequestMessage(std::span<const std::uint8_t> message) {
  MessageReader reader(message);
  auto request = requestFields(reader);
  return reader.isWhole() ? request : std::nullopt;
}

std::optional<MachineReply> decodeReplyMessage(std::span<const std::uint8_t> message) {
  MessageReader reader(message);
  auto reply = replyFields(reader);
  return reader.isWhole() ? reply : std::nullopt;
}

}  // namespace halvarin::platform
