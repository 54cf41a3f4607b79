#include "platform/machine/KeyTable.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace halvarin::platform {

namespace {

RecordedKey countKey(std::size_t count) {
  RecordedKey key{fourBytes("#KEY"), fourBytes("ui32"), 4, 0x80, {}, kResultOk, 0};
  for (std::uint32_t shift = 32; shift > 0; shift -= 8) {
    key.bytes.push_back(static_cast<std::uint8_t>(count >> (shift - 8)));
  }
  return key;
}

ControllerReply refusal(std::uint8_t result) {
  ControllerReply reply;
  reply.result = result;
  return reply;
}

}  // namespace

KeyTable::KeyTable(std::vector<RecordedKey> keys)
    : keys_(std::move(keys)), countKey_(countKey(keys_.size())) {
  for (std::size_t place = 0; place < keys_.size(); ++place) {
    places_[std::bit_cast<std::uint32_t>(keys_[place].code)] = place;
  }
}

ControllerReply KeyTable::answer(const ControllerRequest& request) {
  switch (static_cast<Command>(request.command)) {
    case Command::read:
      return read(request);
    case Command::write:
      return write(request);
    case Command::keyByIndex:
      return keyByIndex(request.index);
    case Command::keyInfo:
      return keyInfo(request.key);
  }
  return refusal(kResultBadCommand);
}

RecordedKey* KeyTable::find(const FourBytes& code) {
  const auto found = places_.find(std::bit_cast<std::uint32_t>(code));
  if (found != places_.end()) {
    return &keys_[found->second];
  }
  return code == countKey_.code ? &countKey_ : nullptr;
}

void KeyTable::hold(const FourBytes& code) {
  held_.insert(std::bit_cast<std::uint32_t>(code));
}

bool KeyTable::isHeld(const FourBytes& code) const {
  return held_.contains(std::bit_cast<std::uint32_t>(code));
}

ControllerReply KeyTable::read(const ControllerRequest& request) {
  const RecordedKey* key = find(request.key);
  if (key == nullptr) {
    return refusal(kResultKeyNotFound);
  }
  if (key->result != kResultOk) {
    return refusal(key->result);
  }
  if (request.sizeBytes != key->sizeBytes) {
    return refusal(kResultSizeMismatch);
  }
  ControllerReply reply;
  std::copy_n(key->bytes.begin(), std::min(key->bytes.size(), reply.bytes.size()),
              reply.bytes.begin());
  return reply;
}

ControllerReply KeyTable::write(const ControllerRequest& request) {
  RecordedKey* key = find(request.key);
  if (key == nullptr) {
    return refusal(kResultKeyNotFound);
  }
  if (request.sizeBytes != key->sizeBytes) {
    return refusal(kResultSizeMismatch);
  }
  const auto size = static_cast<std::ptrdiff_t>(std::min<std::size_t>(key->sizeBytes, kValueBytes));
  key->bytes.assign(request.bytes.begin(), request.bytes.begin() + size);
  return {};
}

ControllerReply KeyTable::keyByIndex(std::uint32_t index) const {
  if (index >= keys_.size()) {
    return refusal(kResultIndexOutOfRange);
  }
  ControllerReply reply;
  reply.key = keys_[index].code;
  return reply;
}

ControllerReply KeyTable::keyInfo(const FourBytes& code) {
  const RecordedKey* key = find(code);
  if (key == nullptr) {
    return refusal(kResultKeyNotFound);
  }
  ControllerReply reply;
  reply.sizeBytes = key->sizeBytes;
  reply.type = key->type;
  reply.attributes = key->attributes;
  return reply;
}

}  // namespace halvarin::platform
