#pragma once

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "base/Dictionary.h"

namespace halvarin::test {

using Names = std::vector<std::string>;

inline Names namesOf(const Dictionary& dictionary) {
  Names names;
  for (const auto& [name, value] : dictionary.entries()) {
    names.push_back(name.string());
  }
  return names;
}

inline std::string numbered(int number) {
  return "name" + std::to_string(number);
}

/// Entries "name0" to "nameN-1" with their numbers.
inline Dictionary::Entries numberedEntries(int count) {
  Dictionary::Entries entries;
  for (int i = 0; i < count; ++i) {
    entries.emplace_back(numbered(i), i);
  }
  return entries;
}

inline void runTogether(int count, const std::function<void(int)>& work) {
  std::vector<std::thread> threads;
  for (int i = 0; i < count; ++i) {
    threads.emplace_back(work, i);
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

}  // namespace halvarin::test
