#pragma once

#include <string>

#include "platform/machine/linux/FanFiles.h"
#include "platform/machine/linux/KeyCursor.h"

namespace halvarin::platform {

/// The value of a fan's key, in that key's own type and length, from the fans' files: they show
/// what the controller says of the same key, and need no cursor. A speed is without what it has
/// beyond whole revolutions. ENOTSUP for keys that no file shows, and for those whose type holds
/// nothing of the kind; EIO when the file shows nothing now.
[[nodiscard]] int readFanKey(const FanFiles& fans, const KeyFacts& facts, std::string& bytes);

}  // namespace halvarin::platform
