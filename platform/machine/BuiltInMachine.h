#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Export.h"
#include "platform/machine/MachineFile.h"

// The machines for those who have none, each from its file in builtin/: healthy ones, on mains
// power under light load.

namespace halvarin::platform {

/// The models of the built-in machines; the first is the one that is meant where none is named.
[[nodiscard]] HALVARIN_EXPORT std::vector<std::string> builtInModels();

/// The built-in machine of a model; absent when there is none.
///   MacBookPro16,1: an Intel laptop with the T2 chip; its two fans turn, a mode key commands each.
///   MacBookPro18,1: an Apple-silicon laptop; its two fans stand still, the mode keys have two
///                   spellings and count only while the test flag is set.
[[nodiscard]] HALVARIN_EXPORT std::optional<RecordedMachine> builtInMachine(std::string_view model);

/// The first of them.
[[nodiscard]] HALVARIN_EXPORT RecordedMachine builtInLaptop();

}  // namespace halvarin::platform
