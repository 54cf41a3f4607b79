#pragma once

#include <array>
#include <cstdint>

#include "base/Export.h"

// The fixed numbers of the enciphered container. Those with C linkage are exported to hosts under
// their plain names.

namespace halvarin {

extern "C" {

/// What the writer puts at the head of every container. A reader takes the block from the
/// container.
HALVARIN_EXPORT extern const std::uint8_t kSaltBlock[1063];
HALVARIN_EXPORT extern const std::int64_t kSaltBlockLength;

/// Writer's table: the positions in the salt block whose bytes make the inner key, in key order.
HALVARIN_EXPORT extern const std::uint64_t kSaltBlockSecKeyIndices[16];
HALVARIN_EXPORT extern const std::int64_t kSaltBlockSecKeyIndicesLength;

/// Reader's table: holds the same positions, or written containers could not be read back.
HALVARIN_EXPORT extern const std::uint64_t kSBSKIndices[16];
HALVARIN_EXPORT extern const std::int64_t kSBSKIndicesLength;
HALVARIN_EXPORT extern const std::int64_t kSBlockLength;

}  // extern "C"

/// The fixed key of the outer layer.
extern const std::array<std::uint8_t, 16> kLocalKeyBytes;

}  // namespace halvarin
