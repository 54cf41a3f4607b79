#pragma once

#include <string>
#include <string_view>

#include "base/Array.h"
#include "platform/LocalTime.h"

// Writes the files of the self-tests (TestLog.h). What cannot be written is lost without a word: a
// computer that takes no logs can still be tested. Each call opens its file and closes it. Any
// thread, and any number of processes.

namespace halvarin {

/// The log that a line without a log's name goes to.
inline constexpr std::string_view kDefaultTestLog = "qrb";

/// "2024-03-07 08:05:09.004  ENTRY\n". Deliberate: the entry stands as it is, so that one with a
/// line feed inside makes two lines.
[[nodiscard]] std::string testLogLine(const platform::LocalTime& time, std::string_view entry);

/// Adds a line with the present time to the log of that name, "" being kDefaultTestLog. Lines that
/// are written at once never mix. Lost when the name holds "/" or a zero byte.
void appendTestLog(std::string_view name, std::string_view entry);

/// Writes each text and a line feed to the file that csvPath names for the present time, in place
/// of what it held. Throws Exception kInvalidArgument at the first element that is no text, whether
/// or not the file can be written; the lines before it stand in the file then.
void saveCsv(const Array& lines, std::string_view location, std::string_view model,
             std::string_view user);

}  // namespace halvarin
