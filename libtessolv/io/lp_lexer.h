// LpLexer: the words of an LP file, one ahead of the parser.
#pragma once

#include "io/reader.h"

#include <string>
#include <string_view>

namespace tso::io {

enum class Tok : unsigned char {
    End, // of the file
    Number,
    Name,
    Plus,
    Minus,
    Star,
    Slash,
    Caret,
    LessEqual,
    GreaterEqual,
    Equal,
    Colon,
    DoubleColon,
    Open, // "[" and "]"
    Close,
    Arrow,
};

struct Token {
    Tok kind = Tok::End;
    bool first_on_line = false;
    double number = 0;
    std::string_view text;
    int64_t line = 1;
};

class LpLexer {
public:
    LpLexer(const std::string& path, Compression compression);

    // Both hold until the next call of advance.
    const Token& current() const { return current_; }
    const Token& next() const { return next_; }
    void advance();

    bool at(Tok kind) const { return current_.kind == kind; }
    bool at_sense() const { return is_sense(current_.kind); }
    static bool is_sense(Tok k) { return k == Tok::LessEqual || k == Tok::GreaterEqual || k == Tok::Equal; }

    // Of the comment "\Problem name: ..." before the first word; "" if there is none.
    const std::string& problem_name() const { return problem_name_; }

    [[noreturn]] void fail(const char* expected) const; // at the current token
    [[noreturn]] void fail(int64_t line, const std::string& text) const { reader_.fail(line, text); }
    const std::string& path() const { return reader_.path(); }

private:
    void scan(Token& token);
    bool skip_blanks(bool& newline);
    void skip_comment();
    bool refill();
    char byte_at(size_t n);
    void scan_number(Token& token);
    void scan_name(Token& token);
    size_t bracketed(size_t n);
    size_t semi_word(size_t n);

    Reader reader_;
    Token current_, next_;
    std::string kept_; // the text of the current token when its block is gone
    std::string problem_name_;
    bool started_ = false;
};

} // namespace tso::io
