#include "tests/support/TestDatabase.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "database/QXEDManager.h"
#include "platform/PropertyList.h"

namespace halvarin::test {

namespace {

constexpr std::size_t kContainerBytes = 8192;
// What a payload must have so that its container has exactly that many bytes: 7104 to 7119 bytes
// become 7120 of inner cipher text, which with the salt fill all but the last 9 of 8192.
constexpr std::size_t kPayloadBytes = 7104;

__attribute__((section("__sensors_plist"), used)) char section[kContainerBytes] = {1};

void require(bool holds, const char* what) {
  if (!holds) {
    std::fprintf(stderr, "test database: not true that %s\n", what);
    std::abort();
  }
}

}  // namespace

void embedPayload(const char* payload) {
  std::string padded(payload);
  require(padded.size() <= kPayloadBytes, "the database is small enough");
  padded.resize(kPayloadBytes, '\n');
  const QXEDManager manager;
  const Data salt = manager.saltBlockData();
  const auto inner =
      manager.enData(Data(padded), manager.skFromData(manager.secKeyDataFromSaltBlockData(salt)));
  const auto outer = manager.enData(Data(std::string(salt.view()) + std::string(inner->view())));
  require(outer && outer->size() == kContainerBytes, "the container fills the section");
  std::copy_n(outer->view().begin(), kContainerBytes, section);
}

void embedDatabase(const DictionaryRef& database) {
  const auto xml = platform::writePropertyList(database, platform::PropertyListFormat::xml);
  embedPayload(std::string(xml->view()).c_str());
}

DictionaryRef databaseOf(const char* model, std::initializer_list<Descriptor> sensors) {
  auto table = Dictionary::make();
  for (const Descriptor& sensor : sensors) {
    auto descriptor = Dictionary::make();
    for (const auto& [name, text] : {std::pair{"description", sensor.description},
                                     {"low limit", sensor.low},
                                     {"high limit", sensor.high},
                                     {"unit", sensor.unit}}) {
      descriptor->set(name, *text != '\0' ? Value(text) : Value());
    }
    descriptor->set("ACqualified", sensor.mainsOnly ? Value(true) : Value());
    table->set(sensor.key, descriptor);
  }
  auto entry = Dictionary::make();
  entry->set("Sensors", table);
  auto database = Dictionary::make();
  database->set(model, entry);
  return database;
}

}  // namespace halvarin::test
