// Text: numbers and words as the file formats write them, independent of any locale.
#pragma once

#include <string>
#include <string_view>

namespace tso::io {

// Reads all of `text` as a number: digits with point and exponent (E or, as old files have it, D), a sign, or
// "inf"/"infinity" in any case. Too great a number is an infinity, too small a one the nearest that there is. False if
// it is no number; NaN is none.
bool parse_number(std::string_view text, double& value);
// The same with the full width of long double: for sums that must give exact doubles.
bool parse_number(std::string_view text, long double& value);
// Decimal digits with an optional sign, within int.
bool parse_int(std::string_view text, int& value);

// The shortest decimal form that reads back as the same double. `out` has room for kNumberRoom bytes; returns the end.
inline constexpr int kNumberRoom = 32;
char* format_number(char* out, double value);
std::string number_text(double value);

bool valid_utf8(std::string_view text);

// Whether two words are the same, ASCII letters of either case alike.
bool same_word(std::string_view a, std::string_view lower);

} // namespace tso::io
