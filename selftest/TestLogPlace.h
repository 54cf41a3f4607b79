#pragma once

#include <string>
#include <string_view>

// Where the folders of the self-tests' files lie. Any thread.

namespace halvarin {

/// For tests: puts a root in front of those folders, for all that is written from now on. ""
/// takes it away.
void placeTestLogsUnder(std::string root);

/// The path of a folder of test files, with the root.
[[nodiscard]] std::string pathOfTestFolder(std::string_view folder);

/// The path of a file in such a folder; "" when the name holds "/", which would lead out of the
/// folder, or a zero byte, which would end it.
[[nodiscard]] std::string pathOfTestFile(std::string_view folder, std::string_view name);

}  // namespace halvarin
