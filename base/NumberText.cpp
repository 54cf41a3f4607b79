#include "base/NumberText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <iomanip>
#include <limits>
#include <locale>
#include <sstream>

namespace halvarin {

namespace {

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

std::string_view withoutLeadingSpace(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(kWhiteSpace);
  return begin == std::string_view::npos ? std::string_view{} : text.substr(begin);
}

/// A decimal number taken apart: (negative ? -1 : 1) * mantissa * 10^exponent.
struct DecimalParts {
  bool negative = false;
  bool exact = true;  // every digit is in the mantissa
  std::uint64_t mantissa = 0;
  int exponent = 0;
  std::size_t digits = 0;
  std::size_t length = 0;  // characters taken from the text
};

constexpr std::size_t kMostMantissaDigits = 19;  // 10^19 - 1 fits in 64 bits

void takeDigits(std::string_view text, bool fraction, DecimalParts& parts) {
  while (parts.length < text.size() && isDigit(text[parts.length])) {
    if (parts.digits < kMostMantissaDigits) {
      parts.mantissa = parts.mantissa * 10 + static_cast<std::uint64_t>(text[parts.length] - '0');
      parts.exponent -= fraction ? 1 : 0;
    } else {
      parts.exact = false;
    }
    ++parts.digits;
    ++parts.length;
  }
}

// The exponent counts only when a digit follows the "e" and its sign.
void takeExponent(std::string_view text, DecimalParts& parts) {
  std::size_t at = parts.length;
  if (at >= text.size() || (text[at] != 'e' && text[at] != 'E')) {
    return;
  }
  ++at;
  const bool negative = at < text.size() && text[at] == '-';
  at += at < text.size() && (text[at] == '-' || text[at] == '+') ? std::size_t{1} : 0;
  if (at >= text.size() || !isDigit(text[at])) {
    return;
  }
  int exponent = 0;
  for (; at < text.size() && isDigit(text[at]); ++at) {
    exponent = exponent < 100000 ? exponent * 10 + (text[at] - '0') : exponent;
  }
  parts.exponent += negative ? -exponent : exponent;
  parts.length = at;
}

DecimalParts takeDecimal(std::string_view text) {
  DecimalParts parts;
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
    parts.negative = text.front() == '-';
    parts.length = 1;
  }
  takeDigits(text, false, parts);
  if (parts.length < text.size() && text[parts.length] == '.') {
    ++parts.length;
    takeDigits(text, true, parts);
  }
  if (parts.digits > 0) {
    takeExponent(text, parts);
  }
  return parts;
}

// 10^0 to 10^22 are exact in double precision, so one operation on an exact mantissa rounds once.
constexpr std::array<double, 23> kExactPowersOfTen{1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                   1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                   1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr std::uint64_t kLargestExactMantissa = std::uint64_t{1} << 53U;

bool fastPathHolds(const DecimalParts& parts) {
  const auto powers = static_cast<int>(kExactPowersOfTen.size());
  return parts.exact && parts.mantissa <= kLargestExactMantissa && parts.exponent > -powers &&
         parts.exponent < powers;
}

// The standard library's own reading, in the classic locale: correct for every length, slow.
double slowDecimal(std::string_view text) {
  std::istringstream stream{std::string(text)};
  stream.imbue(std::locale::classic());
  double value = 0;
  stream >> value;
  const bool overflow = stream.fail() && std::abs(value) > 1;
  return overflow ? std::copysign(std::numeric_limits<double>::infinity(), value) : value;
}

double decimalOf(std::string_view text, const DecimalParts& parts) {
  if (!fastPathHolds(parts)) {
    return slowDecimal(text.substr(0, parts.length));
  }
  const auto mantissa = static_cast<double>(parts.mantissa);
  const double scale = kExactPowersOfTen[static_cast<std::size_t>(std::abs(parts.exponent))];
  const double magnitude = parts.exponent < 0 ? mantissa / scale : mantissa * scale;
  return parts.negative ? -magnitude : magnitude;
}

/// The reading of a text that does not begin with a number at once.
double unusualReading(std::string_view text) {
  if (text == "nan") {
    return std::numeric_limits<double>::quiet_NaN();
  }
  if (text == "inf" || text == "-inf") {
    return std::copysign(std::numeric_limits<double>::infinity(), text.front() == '-' ? -1 : 1);
  }
  text = withoutLeadingSpace(text);
  const DecimalParts parts = takeDecimal(text);
  return parts.digits == 0 ? 0 : decimalOf(text, parts);
}

// Written from the last digit on. "-0.00" keeps its sign, as printf does.
std::string placePoint(std::uint64_t scaled, int digits, bool negative) {
  std::array<char, 24> buffer{};  // 20 digits of 64 bits, a point and a sign
  char* begin = buffer.data() + buffer.size();
  char* const end = begin;
  for (int place = 0; scaled != 0 || place <= digits; ++place) {
    if (place == digits && place > 0) {
      *--begin = '.';
    }
    *--begin = static_cast<char>('0' + scaled % 10);
    scaled /= 10;
  }
  if (negative) {
    *--begin = '-';
  }
  return {begin, end};
}

std::string slowFixed(double value, int digits) {
  std::ostringstream stream;
  stream.imbue(std::locale::classic());
  stream.setf(std::ios::fixed);
  stream.precision(digits);
  stream << value;
  return stream.str();
}

}  // namespace

double decimalReading(std::string_view text) {
  const DecimalParts parts = takeDecimal(text);
  return parts.digits == 0 ? unusualReading(text) : decimalOf(text, parts);
}

std::optional<double> wholeDecimal(std::string_view text) {
  const DecimalParts parts = takeDecimal(text);
  const bool whole = parts.digits > 0 && parts.length == text.size();
  return whole ? std::optional(decimalOf(text, parts)) : std::nullopt;
}

std::int64_t integerReading(std::string_view text) {
  text = withoutLeadingSpace(text);
  const bool negative = !text.empty() && text.front() == '-';
  if (!text.empty() && text.front() == '+') {
    text.remove_prefix(1);
    if (text.empty() || !isDigit(text.front())) {
      return 0;
    }
  }
  std::int64_t value = 0;
  const auto error = std::from_chars(text.data(), text.data() + text.size(), value).ec;
  if (error == std::errc::result_out_of_range) {
    return negative ? std::numeric_limits<std::int64_t>::min()
                    : std::numeric_limits<std::int64_t>::max();
  }
  return value;
}

bool truthReading(std::string_view text) {
  text = withoutLeadingSpace(text);
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
    text.remove_prefix(1);
  }
  const std::size_t first = text.find_first_not_of('0');
  return first != std::string_view::npos &&
         std::string_view("YyTt123456789").find(text[first]) != std::string_view::npos;
}

std::optional<std::uint64_t> wholeNumber(std::string_view text, int base) {
  std::uint64_t number = 0;
  const char* const end = text.data() + text.size();
  const std::from_chars_result result = std::from_chars(text.data(), end, number, base);
  const bool whole = result.ec == std::errc() && result.ptr == end;
  return whole ? std::optional(number) : std::nullopt;
}

std::string fixedText(double value, int digits) {
  digits = std::clamp(digits, 0, 9);
  if (std::isnan(value)) {
    return "nan";
  }
  if (std::isinf(value)) {
    return value < 0 ? "-inf" : "inf";
  }
  // The product of a single-precision value (24 bits) with 100 or 10000 (7 or 14 bits) is exact in
  // double precision, so rounding it to even is what printf does with the exact value. Products
  // that may have been rounded take the long way.
  const double scale = kExactPowersOfTen[static_cast<std::size_t>(digits)];
  const double scaled = std::abs(value) * scale;
  constexpr double kNoFractions = 0x1p52;  // a sum with it is a whole number, of two the even one
  const bool mayBeExact = scaled < kNoFractions && digits <= 4;
  if (!mayBeExact || static_cast<double>(static_cast<float>(value)) != value) {
    return slowFixed(value, digits);
  }
  return placePoint(static_cast<std::uint64_t>((scaled + kNoFractions) - kNoFractions), digits,
                    std::signbit(value));
}

std::string realText(double value) {
  if (!std::isfinite(value)) {
    return fixedText(value, 0);
  }
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << std::setprecision(16) << value;
  return text.str();
}

std::string hexText(std::uint32_t value) {
  std::array<char, 8> buffer{};
  const auto* end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, 16).ptr;
  return {buffer.data(), static_cast<std::size_t>(end - buffer.data())};
}

std::string hexBytes(std::span<const std::uint8_t> bytes) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text;
  text.reserve(2 * bytes.size());
  for (const std::uint8_t byte : bytes) {
    text.push_back(kDigits[byte >> 4U]);
    text.push_back(kDigits[byte & 0x0FU]);
  }
  return text;
}

}  // namespace halvarin
