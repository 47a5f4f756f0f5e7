#include "io/text.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <locale.h>
#include <stdlib.h>

namespace tso::io {

namespace {

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

bool is_digit(char c) { return c >= '0' && c <= '9'; }

locale_t c_locale() {
    static const locale_t locale = ::newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    return locale;
}

template <typename Real> Real string_to_real(const char* text);
template <> double string_to_real(const char* text) { return ::strtod_l(text, nullptr, c_locale()); }
template <> long double string_to_real(const char* text) { return ::strtold_l(text, nullptr, c_locale()); }

// A number that is out of range or has a D for its exponent: rare, so this may copy.
template <typename Real> bool parse_rare(const char* p, const char* end, Real& value) {
    std::string copy(p, end);
    for (char& c : copy)
        if (c == 'd' || c == 'D')
            c = 'e';
    Real parsed;
    const auto [stop, error] = std::from_chars(copy.data(), copy.data() + copy.size(), parsed);
    if (stop != copy.data() + copy.size() || error == std::errc::invalid_argument)
        return false;
    value = error == std::errc::result_out_of_range ? string_to_real<Real>(copy.c_str()) : parsed;
    return true;
}

template <typename Real> bool parse(std::string_view text, Real& value) {
    const char* p = text.data();
    const char* const end = p + text.size();
    bool negative = false;
    if (p != end && (*p == '+' || *p == '-'))
        negative = *p++ == '-';
    if (p == end)
        return false;
    Real parsed;
    if (is_digit(*p) || *p == '.') {
        const auto [stop, error] = std::from_chars(p, end, parsed);
        if ((stop != end || error != std::errc()) && !parse_rare(p, end, parsed))
            return false;
    } else if (same_word({p, static_cast<size_t>(end - p)}, "inf") ||
               same_word({p, static_cast<size_t>(end - p)}, "infinity")) {
        parsed = std::numeric_limits<Real>::infinity();
    } else {
        return false;
    }
    value = negative ? -parsed : parsed;
    return true;
}

} // namespace

bool parse_number(std::string_view text, double& value) { return parse(text, value); }
bool parse_number(std::string_view text, long double& value) { return parse(text, value); }

bool parse_int(std::string_view text, int& value) {
    const char* p = text.data();
    const char* const end = p + text.size();
    if (end - p > 1 && *p == '+' && is_digit(p[1]))
        ++p;
    const auto [stop, error] = std::from_chars(p, end, value);
    return stop == end && error == std::errc();
}

char* format_number(char* out, double value) {
    // Whole numbers of moderate size are written as such: "100000" and not "1e+05".
    if (value == std::floor(value) && std::fabs(value) < 1e15 && !(value == 0 && std::signbit(value)))
        return std::to_chars(out, out + kNumberRoom, static_cast<int64_t>(value)).ptr;
    return std::to_chars(out, out + kNumberRoom, value).ptr;
}

std::string number_text(double value) {
    char room[kNumberRoom];
    return {room, format_number(room, value)};
}

bool valid_utf8(std::string_view text) {
    const unsigned char* p = reinterpret_cast<const unsigned char*>(text.data());
    const unsigned char* const end = p + text.size();
    while (p < end) {
        if (*p < 0x80) {
            ++p;
            continue;
        }
        const int more = *p >= 0xc2 && *p <= 0xdf ? 1 : *p >= 0xe0 && *p <= 0xef ? 2 : *p >= 0xf0 && *p <= 0xf4 ? 3 : 0;
        if (more == 0 || end - p <= more)
            return false;
        // Overlong forms, surrogates and what is above the last code point show in the second byte.
        const unsigned char least = *p == 0xe0 ? 0xa0 : *p == 0xf0 ? 0x90 : 0x80;
        const unsigned char greatest = *p == 0xed ? 0x9f : *p == 0xf4 ? 0x8f : 0xbf;
        if (p[1] < least || p[1] > greatest)
            return false;
        for (int i = 2; i <= more; ++i)
            if ((p[i] & 0xc0) != 0x80)
                return false;
        p += more + 1;
    }
    return true;
}

bool same_word(std::string_view a, std::string_view lower_word) {
    if (a.size() != lower_word.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (lower(a[i]) != lower_word[i])
            return false;
    return true;
}

} // namespace tso::io
