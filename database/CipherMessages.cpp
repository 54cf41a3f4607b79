#include "database/CipherMessages.h"

namespace halvarin {

std::string encipherFailureLine(const platform::CipherFailure& failure) {
  const bool atInput = failure.step == platform::CipherFailure::Step::setInput;
  return (atInput ? "QXEDManager::enData:  error: " : "QXEDManager::enData: error: ") +
         failure.description;
}

std::string decipherFailureLine(const platform::CipherFailure& failure) {
  return "QXEDManager::deData: error: " + failure.description;
}

}  // namespace halvarin
