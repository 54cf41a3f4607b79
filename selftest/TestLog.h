#pragma once

#include <string>
#include <string_view>

#include "base/Export.h"
#include "platform/LocalTime.h"

// Where the self-tests leave their files. The library makes the folders when it first writes there;
// without the rights to do so the files are missing and nothing else happens.

namespace halvarin {

/// Holds the logs: a file NAME.log for each, a line for each event.
inline constexpr std::string_view kTestLogFolder = "/Library/Logs/QRB";

/// Holds the data of fans that hosts saved.
inline constexpr std::string_view kFanCsvFolder = "/Library/Logs/QRB/fantest_csv";

/// The path of the file that a fan's data goes to when it is saved at a time: in kFanCsvFolder, for
/// example "left side_iMac9,1_ann_2403070805.csv", with the location in small letters and the rest
/// as it is. "" when one of the texts holds "/" or a zero byte: such data is not saved. Any thread.
[[nodiscard]] HALVARIN_EXPORT std::string csvPath(std::string_view location, std::string_view model,
                                                  std::string_view user,
                                                  const platform::LocalTime& time);

}  // namespace halvarin
