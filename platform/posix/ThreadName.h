#pragma once

#include <string_view>

namespace halvarin::platform {

/// Gives the calling thread a name that debuggers and process lists show: the first 15 bytes, less
/// those of a UTF-8 character that would be cut in two. A name that the system refuses is left out.
void nameThisThread(std::string_view name);

}  // namespace halvarin::platform
