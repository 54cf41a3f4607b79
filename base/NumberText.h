#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/Export.h"

namespace halvarin {

// Texts to numbers, as Foundation reads them: white space before the number is skipped, what
// follows the number is ignored, a text without a number reads as 0. Never fails.

/// The leading decimal number ("1.5", "-.5e3 V"). Out of range gives infinity. Deliberate: exactly
/// "nan", "inf" and "-inf", which fixedText writes for floats that are no numbers, read back as
/// such, so that a broken float reading is judged outside its limits and not taken for 0.
[[nodiscard]] HALVARIN_EXPORT double decimalReading(std::string_view text);

/// The decimal number that is the whole text; absent for any other text.
[[nodiscard]] HALVARIN_EXPORT std::optional<double> wholeDecimal(std::string_view text);

/// The leading integer, held at the ends of the 64-bit range.
[[nodiscard]] HALVARIN_EXPORT std::int64_t integerReading(std::string_view text);

/// True for a text that begins with Y, y, T, t or a digit 1 to 9, after white space, one sign and
/// zeros.
[[nodiscard]] HALVARIN_EXPORT bool truthReading(std::string_view text);

/// The number that a text of digits of this base (10 or 16) and nothing else stands for; absent for
/// any other text and for numbers above 64 bits. No sign, no prefix, no blanks.
[[nodiscard]] HALVARIN_EXPORT std::optional<std::uint64_t> wholeNumber(std::string_view text,
                                                                       int base = 10);

// Numbers to texts, the same in every locale.

/// "%.*f" with 0 to 9 digits. Not-a-number is "nan" whatever its sign.
[[nodiscard]] HALVARIN_EXPORT std::string fixedText(double value, int digits);

/// "%.16g": a number in as few of 16 digits as it takes, "45.5", "1e+20". Not-a-number is "nan".
[[nodiscard]] HALVARIN_EXPORT std::string realText(double value);

/// Lower-case hexadecimal without prefix or leading zeros ("%x").
[[nodiscard]] HALVARIN_EXPORT std::string hexText(std::uint32_t value);

/// Two upper-case hexadecimal digits a byte.
[[nodiscard]] HALVARIN_EXPORT std::string hexBytes(std::span<const std::uint8_t> bytes);

}  // namespace halvarin
