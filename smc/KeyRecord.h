#pragma once

#include <string_view>

// The entries of a key record: the one mutable dictionary that exists for each key of the
// controller, shared by everything that names the key.

namespace halvarin::record {

// Set when the keys are listed.
inline constexpr std::string_view kIndex = "index";        // text, decimal: place in the key list
inline constexpr std::string_view kKey = "key";            // text, four characters
inline constexpr std::string_view kKey32 = "key32";        // number, record integer
inline constexpr std::string_view kType32 = "type32";      // number, record integer
inline constexpr std::string_view kDataType = "dataType";  // text: "ui16", "flt "
inline constexpr std::string_view kDataSize = "dataSize";  // number, bytes

// Set by each read.
inline constexpr std::string_view kDataBytes = "dataBytes";  // data, 32 bytes
inline constexpr std::string_view kValue = "value";  // number, then, once decoded, display text
inline constexpr std::string_view kError = "error";  // number, signed status of the transfer

}  // namespace halvarin::record
