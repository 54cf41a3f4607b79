#include "platform/PropertyList.h"

#include <plist/plist.h>

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string_view>
#include <utility>

#include "base/Array.h"
#include "base/Dictionary.h"
#include "platform/posix/BinaryListCheck.h"

namespace halvarin::platform {

namespace {

/// The library's tree, kept alive by every dictionary that has not been built from it yet.
using Tree = std::shared_ptr<void>;

// Arrays are built at once, one inside the other; deeper than this is no list of ours.
constexpr int kDeepestArray = 200;

Value toValue(const Tree& tree, plist_t node, int depth = 0);

Text keyOf(char* key) {
  Text text(key);
  std::free(key);
  return text;
}

Dictionary::Entries entriesOf(const Tree& tree, plist_t node) {
  Dictionary::Entries entries;
  entries.reserve(plist_dict_get_size(node));
  plist_dict_iter rawIterator = nullptr;
  plist_dict_new_iter(node, &rawIterator);
  const std::unique_ptr<void, decltype(&std::free)> iterator(rawIterator, &std::free);
  char* key = nullptr;
  plist_t item = nullptr;
  for (plist_dict_next_item(node, rawIterator, &key, &item); item != nullptr;
       plist_dict_next_item(node, rawIterator, &key, &item)) {
    Text name = keyOf(std::exchange(key, nullptr));
    if (Value value = toValue(tree, item); !value.isNothing()) {
      entries.emplace_back(std::move(name), std::move(value));
    }
  }
  return entries;
}

Value arrayOf(const Tree& tree, plist_t node, int depth) {
  std::vector<Value> elements;
  const std::uint32_t count = plist_array_get_size(node);
  elements.reserve(count);
  for (std::uint32_t i = 0; i < count; ++i) {
    if (Value element = toValue(tree, plist_array_get_item(node, i), depth + 1);
        !element.isNothing()) {
      elements.push_back(std::move(element));
    }
  }
  return Array::make(std::move(elements));
}

std::string_view bytesOf(plist_t node, const char* (*pointer)(plist_t, std::uint64_t*)) {
  std::uint64_t length = 0;
  const char* start = pointer(node, &length);
  return {start, static_cast<std::size_t>(start == nullptr ? 0 : length)};
}

Value toValue(const Tree& tree, plist_t node, int depth) {
  switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN:
      return plist_bool_val_is_true(node) != 0;
    case PLIST_UINT: {
      std::uint64_t number = 0;
      plist_get_uint_val(node, &number);
      return number;
    }
    case PLIST_REAL: {
      double number = 0;
      plist_get_real_val(node, &number);
      return number;
    }
    case PLIST_STRING:
      return Text(bytesOf(node, &plist_get_string_ptr));
    case PLIST_DATA:
      return Data(bytesOf(node, &plist_get_data_ptr));
    case PLIST_ARRAY:
      return depth < kDeepestArray ? arrayOf(tree, node, depth) : Value();
    case PLIST_DICT:
      return Dictionary::makeDeferred([tree, node] { return entriesOf(tree, node); });
    default:
      return {};
  }
}

plist_t fromValue(const Value& value);

plist_t fromDictionary(const Dictionary& dictionary) {
  plist_t node = plist_new_dict();
  for (const auto& [name, value] : dictionary.entries()) {
    plist_dict_set_item(node, name.string().c_str(), fromValue(value));
  }
  return node;
}

plist_t fromArray(const Array& array) {
  plist_t node = plist_new_array();
  for (const Value& element : array.elements()) {
    if (!element.isNothing()) {
      plist_array_append_item(node, fromValue(element));
    }
  }
  return node;
}

plist_t fromValue(const Value& value) {
  if (const DictionaryRef dictionary = value.dictionary()) {
    return fromDictionary(*dictionary);
  }
  if (const ArrayRef array = value.array()) {
    return fromArray(*array);
  }
  if (value.isData()) {
    const Data data = value.data();
    return plist_new_data(data.view().data(), data.size());
  }
  if (value.isBoolean()) {
    return plist_new_bool(value.boolValue() ? 1 : 0);
  }
  if (value.isInteger()) {
    return plist_new_uint(static_cast<std::uint64_t>(value.longLongValue()));
  }
  return value.isReal() ? plist_new_real(value.doubleValue())
                        : plist_new_string(value.text().string().c_str());
}

}  // namespace

Value parsePropertyList(const Data& bytes) {
  if (bytes.empty() || bytes.size() > std::numeric_limits<std::uint32_t>::max()) {
    return {};
  }
  if (holdsZeroCharacter(bytes.view())) {
    return {};
  }
  plist_t root = nullptr;
  plist_from_memory(bytes.view().data(), static_cast<std::uint32_t>(bytes.size()), &root);
  if (root == nullptr) {
    return {};
  }
  const Tree tree(root, &plist_free);
  return toValue(tree, root);
}

std::optional<Data> writePropertyList(const Value& value, PropertyListFormat format) {
  if (value.isNothing()) {
    return std::nullopt;
  }
  const Tree tree(fromValue(value), &plist_free);
  char* bytes = nullptr;
  std::uint32_t length = 0;
  const auto write = format == PropertyListFormat::xml ? &plist_to_xml : &plist_to_bin;
  write(tree.get(), &bytes, &length);
  if (bytes == nullptr) {
    return std::nullopt;
  }
  const std::unique_ptr<char, decltype(&std::free)> owner(bytes, &std::free);
  return Data(std::string_view(bytes, length));
}

}  // namespace halvarin::platform
