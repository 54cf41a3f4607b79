// Packs the reviewable sensor tables into the enciphered container that the library carries:
//   halvarin-pack DATA_FOLDER CONTAINER

#include <cstdio>
#include <exception>

#include "database/QXEDManager.h"
#include "database/packer/DatabaseValue.h"
#include "platform/PropertyList.h"

namespace {

bool pack(const char* folder, const char* container) {
  using halvarin::platform::PropertyListFormat;
  const halvarin::packer::SensorTables tables(folder);
  const auto list = halvarin::platform::writePropertyList(halvarin::packer::databaseFrom(tables),
                                                          PropertyListFormat::binary);
  return halvarin::QXEDManager().enDataToFile(list, container);
}

}  // namespace

int main(int argumentCount, char** arguments) {
  if (argumentCount != 3) {
    std::fprintf(stderr, "usage: halvarin-pack DATA_FOLDER CONTAINER\n");
    return 2;
  }
  try {
    return pack(arguments[1], arguments[2]) ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
