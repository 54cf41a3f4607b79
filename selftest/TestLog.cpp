#include "selftest/TestLog.h"

#include "platform/TextCase.h"
#include "selftest/TestLogPlace.h"
#include "selftest/TimeText.h"

namespace halvarin {

std::string csvPath(std::string_view location, std::string_view model, std::string_view user,
                    const platform::LocalTime& time) {
  std::string name = platform::lowercased(location);
  name.append("_").append(model).append("_").append(user);
  name.append("_").append(minuteText(time)).append(".csv");
  return pathOfTestFile(kFanCsvFolder, name);
}

}  // namespace halvarin
