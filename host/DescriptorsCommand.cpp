#include "host/DescriptorsCommand.h"

#include <iostream>
#include <string>

#include "base/Array.h"
#include "base/PrintableText.h"
#include "host/Facade.h"
#include "host/RecordJson.h"

namespace halvarin::host {

Exit runDescriptors(const Options& options) {
  const DictionaryRef categories = openDatabase()->categorizedListOfDescriptors();
  if (options.json) {
    printJson(toJson(categories));
    return Exit::fine;
  }
  bool isFirst = true;
  for (const auto& [category, descriptions] : categories->entries()) {
    const ArrayRef all = descriptions.array();
    std::cout << (isFirst ? "" : "\n") << printable(category.view()) << " (" << all->count()
              << ")\n";
    for (const Value& description : all->elements()) {
      std::cout << "  " << printable(description.textView()) << "\n";
    }
    isFirst = false;
  }
  return Exit::fine;
}

}  // namespace halvarin::host
