#include "io/lp_lexer.h"

#include "io/text.h"

#include <array>
#include <charconv>
#include <cstring>

namespace tso::io {

namespace {

enum Class : unsigned char { kBad, kBlank, kNewline, kLetter, kDigit, kMark };

constexpr std::array<unsigned char, 256> make_classes() {
    std::array<unsigned char, 256> c{};
    for (int i = 0x21; i < 256; ++i)
        c[i] = kLetter;
    c[0x7f] = kBad;
    c['|'] = kBad;
    for (const char m : std::string_view("+-*/^<>=:[]\\"))
        c[static_cast<unsigned char>(m)] = kMark;
    for (int d = '0'; d <= '9'; ++d)
        c[d] = kDigit;
    for (const char b : std::string_view(" \t\r\f\v"))
        c[static_cast<unsigned char>(b)] = kBlank;
    c['\n'] = kNewline;
    return c;
}
constexpr auto kClasses = make_classes();
unsigned char class_of(char c) { return kClasses[static_cast<unsigned char>(c)]; }
bool in_name(char c) { return class_of(c) == kLetter || class_of(c) == kDigit; }

} // namespace

LpLexer::LpLexer(const std::string& path, Compression compression) : reader_(path, compression) {
    scan(next_);
    advance();
}

void LpLexer::advance() {
    current_ = next_;
    scan(next_);
}

void LpLexer::fail(const char* expected) const {
    if (current_.kind == Tok::End)
        reader_.fail(current_.line, std::string("expected ") + expected + ", found the end of the file");
    reader_.fail(current_.line, expected, current_.text);
}

// Reads on from reader_.at, where the token begins that is being scanned. The block may go: what the current token
// shows of it is copied first.
bool LpLexer::refill() {
    if (!current_.text.empty() && current_.text.data() != kept_.data()) {
        kept_.assign(current_.text);
        current_.text = kept_;
    }
    return reader_.more();
}

// Byte n of the token that begins at reader_.at; 0 at the end of the file.
char LpLexer::byte_at(size_t n) {
    while (n >= static_cast<size_t>(reader_.end - reader_.at))
        if (!refill())
            return '\0';
    return reader_.at[n];
}

void LpLexer::skip_comment() {
    if (!started_) {
        // Read the line as far as the block holds it, which at the beginning of a file is all of it.
        constexpr std::string_view kKey = "Problem name:";
        const char* const p = reader_.at + 1;
        const void* stop = std::memchr(p, '\n', static_cast<size_t>(reader_.end - p));
        std::string_view text(p, static_cast<size_t>((stop ? static_cast<const char*>(stop) : reader_.end) - p));
        text = trim(text);
        if (text.starts_with(kKey))
            problem_name_ = trim(text.substr(kKey.size()));
    }
    for (;;) {
        const size_t rest = static_cast<size_t>(reader_.end - reader_.at);
        if (const void* stop = rest > 0 ? std::memchr(reader_.at, '\n', rest) : nullptr) {
            reader_.at = static_cast<const char*>(stop);
            return;
        }
        reader_.at = reader_.end;
        if (!refill())
            return;
    }
}

// False at the end of the file.
bool LpLexer::skip_blanks(bool& newline) {
    for (;;) {
        const char* p = reader_.at;
        for (;; ++p) {
            const unsigned char c = class_of(*p);
            if (c == kNewline) {
                newline = true;
                ++reader_.line;
            } else if (c != kBlank) {
                break;
            }
        }
        reader_.at = p;
        if (*p == '\\') {
            skip_comment();
        } else if (p != reader_.end) {
            return true;
        } else if (!refill()) {
            return false;
        }
    }
}

void LpLexer::scan(Token& token) {
    token = Token();
    bool newline = !started_;
    const bool more = skip_blanks(newline);
    started_ = true;
    token.first_on_line = newline;
    token.line = reader_.line;
    if (!more)
        return;
    const char c = *reader_.at;
    switch (class_of(c)) {
    case kDigit:
        scan_number(token);
        return;
    case kLetter:
        if (c == '.')
            scan_number(token);
        else
            scan_name(token);
        return;
    case kBad:
        reader_.fail(token.line, "a word of the LP format", std::string_view(reader_.at, 1));
    }
    size_t length = 1;
    const auto followed_by = [&](char wanted) {
        const bool yes = byte_at(1) == wanted;
        length += yes;
        return yes;
    };
    switch (c) {
    case '+':
        token.kind = Tok::Plus;
        break;
    case '-':
        token.kind = followed_by('>') ? Tok::Arrow : Tok::Minus;
        break;
    case '*':
        token.kind = Tok::Star;
        break;
    case '/':
        token.kind = Tok::Slash;
        break;
    case '^':
        token.kind = Tok::Caret;
        break;
    case '[':
        token.kind = Tok::Open;
        break;
    case ']':
        token.kind = Tok::Close;
        break;
    case ':':
        token.kind = followed_by(':') ? Tok::DoubleColon : Tok::Colon;
        break;
    case '<':
        token.kind = Tok::LessEqual;
        followed_by('=');
        break;
    case '>':
        token.kind = Tok::GreaterEqual;
        followed_by('=');
        break;
    case '=':
        token.kind = followed_by('<') ? Tok::LessEqual : followed_by('>') ? Tok::GreaterEqual : Tok::Equal;
        if (token.kind == Tok::Equal)
            followed_by('=');
        break;
    }
    token.text = {reader_.at, length};
    reader_.at += length;
}

void LpLexer::scan_number(Token& token) {
    for (;;) {
        const char* const begin = reader_.at;
        const auto [stop, error] = std::from_chars(begin, reader_.end, token.number);
        // Near the end of the block the number may go on, and so may an exponent that is only begun there.
        if (reader_.end - stop < 4) {
            const auto had = reader_.end - begin;
            if (refill() || reader_.end - reader_.at != had)
                continue;
            if (reader_.at != begin) // the same bytes, elsewhere
                continue;
        }
        if (error == std::errc::invalid_argument)
            reader_.fail(token.line, "a number or a name", std::string_view(begin, 1)); // a point without digits
        token.kind = Tok::Number;
        token.text = {begin, static_cast<size_t>(stop - begin)};
        if (error == std::errc::result_out_of_range)
            parse_number(token.text, token.number);
        reader_.at = stop;
        return;
    }
}

void LpLexer::scan_name(Token& token) {
    size_t n = 1;
    for (;;) {
        const char* p = reader_.at + n;
        while (in_name(*p)) // stops at the NUL behind the block
            ++p;
        n = static_cast<size_t>(p - reader_.at);
        const char c = byte_at(n);
        if (in_name(c))
            continue;
        const size_t past = c == '[' ? bracketed(n) : n;
        if (past == n)
            break;
        n = past;
    }
    if (n == 4)
        n = semi_word(n);
    token.kind = Tok::Name;
    token.text = {reader_.at, n};
    reader_.at += n;
}

// Many write names such as x[1,2]: a bracket that opens right behind a letter and closes before any blank is part of
// the name. Returns what follows it, or n.
size_t LpLexer::bracketed(size_t n) {
    for (size_t k = n + 1;; ++k) {
        const char c = byte_at(k);
        if (c == ']')
            return k + 1;
        if (static_cast<unsigned char>(c) <= ' ' || c == 0x7f || k - n > TSO_MAX_NAMELEN)
            return n;
    }
}

// "semi-continuous" and "semi-integer" are one word in spite of the sign in it.
size_t LpLexer::semi_word(size_t n) {
    if (!same_word({reader_.at, n}, "semi") || byte_at(n) != '-')
        return n;
    for (const std::string_view tail : {"-continuous", "-integers", "-integer"}) {
        byte_at(n + tail.size()); // so that all of it is there if the file has it
        if (static_cast<size_t>(reader_.end - reader_.at) >= n + tail.size() &&
            same_word({reader_.at + n, tail.size()}, tail) && !in_name(byte_at(n + tail.size())))
            return n + tail.size();
    }
    return n;
}

} // namespace tso::io
