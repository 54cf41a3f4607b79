#pragma once

#include <initializer_list>

#include "base/Dictionary.h"

namespace halvarin::test {

/// Puts a sensor database into the section of this test program's image where the library looks for
/// one, enciphered as it travels in the library. Before the first call the section holds bytes that
/// cannot be deciphered. The database is small: its XML text has at most 7104 bytes.
void embedDatabase(const DictionaryRef& database);

/// A payload in the same place that is no property list.
void embedPayload(const char* payload);

/// A sensor descriptor; empty texts are left out.
struct Descriptor {
  const char* key;
  const char* description;
  const char* low = "";
  const char* high = "";
  const char* unit = "";
  bool mainsOnly = false;
};

/// A database of one model.
[[nodiscard]] DictionaryRef databaseOf(const char* model,
                                       std::initializer_list<Descriptor> sensors);

}  // namespace halvarin::test
