#pragma once

#include <string>
#include <string_view>

// Writing to plain files. Both calls make a file that is missing (its folder must be there) and
// give it to its owner, readable for all. They refuse what is no plain file, without waiting for
// anyone: a symbolic link at the path's end, a pipe, a device, a folder. A path with a zero byte
// inside is no path. Any thread.

namespace halvarin {

/// Puts bytes behind what the file holds, by one write: what several threads and processes append
/// never mixes. False when not all of them were written; what did not fit on the disk is lost.
[[nodiscard]] bool appendToFile(const std::string& path, std::string_view bytes) noexcept;

/// Makes bytes the whole content of the file. False when it could not be opened, which changes
/// nothing, or when not all of them were written: the file holds those that were.
[[nodiscard]] bool replaceFile(const std::string& path, std::string_view bytes) noexcept;

}  // namespace halvarin
