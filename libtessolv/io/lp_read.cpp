#include "core/log.h"
#include "io/lp_reader.h"
#include "io/model_files.h"
#include "io/text.h"

#include <cmath>

namespace tso::io {

struct LpReader::SectionWord {
    std::string_view word, second; // lower case; second: the word that must follow
    Section section;
};

// clang-format off
const LpReader::SectionWord LpReader::kSectionWords[kSectionWordCount] = {
    {"minimize", "", Section::Minimize}, {"minimise", "", Section::Minimize}, {"minimum", "", Section::Minimize},
    {"min", "", Section::Minimize},
    {"maximize", "", Section::Maximize}, {"maximise", "", Section::Maximize}, {"maximum", "", Section::Maximize},
    {"max", "", Section::Maximize},
    {"subject", "to", Section::Rows}, {"such", "that", Section::Rows}, {"st", "", Section::Rows},
    {"s.t.", "", Section::Rows}, {"st.", "", Section::Rows}, {"s.t", "", Section::Rows},
    {"bounds", "", Section::Bounds}, {"bound", "", Section::Bounds},
    {"general", "", Section::General}, {"generals", "", Section::General}, {"gen", "", Section::General},
    {"integer", "", Section::General}, {"integers", "", Section::General}, {"int", "", Section::General},
    {"binary", "", Section::Binary}, {"binaries", "", Section::Binary}, {"bin", "", Section::Binary},
    {"semi-continuous", "", Section::Semi}, {"semicontinuous", "", Section::Semi}, {"semis", "", Section::Semi},
    {"semi", "", Section::Semi}, {"sec", "", Section::Semi},
    {"semi-integer", "", Section::SemiInteger}, {"semi-integers", "", Section::SemiInteger},
    {"semiinteger", "", Section::SemiInteger},
    {"sos", "", Section::Sos}, {"sos1", "", Section::Sos1}, {"sos2", "", Section::Sos2},
    {"end", "", Section::End},
};
// clang-format on

bool is_infinity(std::string_view word) {
    return (word.size() == 3 || word.size() == 8) && (same_word(word, "inf") || same_word(word, "infinity"));
}

// ---- Words ---------------------------------------------------------------------------------------------------------

LpReader::Section LpReader::section_of(const Token& word, const Token& next) const {
    if (word.kind != Tok::Name || next.kind == Tok::Colon || next.kind == Tok::DoubleColon || !is_lp_keyword(word.text))
        return Section::None;
    for (const SectionWord& w : kSectionWords)
        if (same_word(word.text, w.word) &&
            (w.second.empty() || (next.kind == Tok::Name && same_word(next.text, w.second))))
            return w.section;
    return Section::None;
}

// Whether the name at which a sum has arrived is no variable but ends the sum. At the beginning of a line a word of a
// section always is one; within a line where no variable can stand, or where another name follows, as in "subject to".
bool LpReader::keyword_in_sum(bool after_number, Side side) const {
    const bool possible = lex_.current().first_on_line || (after_number && side == Side::Right) ||
                          (lex_.next().kind == Tok::Name && !lex_.next().first_on_line) || lex_.next().kind == Tok::End;
    return possible && section_here() != Section::None;
}

void LpReader::check_name(std::string_view word, int64_t line) const {
    std::string scratch;
    try {
        decode_name(word, scratch);
    } catch (const Failure& f) {
        lex_.fail(line, f.what());
    }
}

int LpReader::column(std::string_view word) {
    const int before = problem_.cols.size();
    const int j = problem_.add_col(word);
    if (j == before) {
        check_name(problem_.cols.name(j), lex_.current().line);
        place_.push_back(0);
        flags_.push_back(0);
    }
    return j;
}

double LpReader::checked(double value, const char* what, int64_t line) const {
    if (!(std::fabs(value) < TSO_INFINITY))
        lex_.fail(line, std::string("expected a finite ") + what + ", found " + number_text(value));
    return value;
}

// A name in front of a colon, or "".
std::string LpReader::label() {
    if (!lex_.at(Tok::Name) || lex_.next().kind != Tok::Colon)
        return {};
    std::string name(lex_.current().text);
    check_name(name.starts_with(kSecondSide) ? std::string_view(name).substr(kSecondSide.size()) : name,
               lex_.current().line);
    lex_.advance();
    lex_.advance();
    return name;
}

// ---- Sums ----------------------------------------------------------------------------------------------------------

void LpReader::add_linear(Sum& s, int col, double value) {
    s.any = true;
    const size_t at = place_[col];
    if (at < s.col.size() && s.col[at] == col) {
        s.value[at] = checked(s.value[at] + value, "sum of coefficients", lex_.current().line);
        return;
    }
    place_[col] = s.col.size();
    s.col.push_back(col);
    s.value.push_back(checked(value, "coefficient", lex_.current().line));
}

void LpReader::add_constant(Sum& s, double value) {
    s.constant = s.any ? s.constant + value : value;
    s.any = true;
    if (std::isnan(s.constant))
        lex_.fail(lex_.current().line, "expected a sum, found infinities that cancel out");
}

// "[ 2 x^2 + 3 x * y ]", and "/ 2" behind it.
void LpReader::quadratic(Sum& s, double factor) {
    lex_.advance();
    const size_t begin = s.quadratic.size();
    for (bool first = true; !lex_.at(Tok::Close); first = false) {
        double value = factor;
        bool sign = false;
        for (; lex_.at(Tok::Plus) || lex_.at(Tok::Minus); lex_.advance()) {
            sign = true;
            value = lex_.at(Tok::Minus) ? -value : value;
        }
        if (!sign && !first)
            lex_.fail("+, - or ]");
        if (lex_.at(Tok::Number)) {
            value *= lex_.current().number;
            lex_.advance();
            if (lex_.at(Tok::Star))
                lex_.advance();
        }
        if (!lex_.at(Tok::Name))
            lex_.fail("the name of a variable");
        const int row = column(lex_.current().text);
        int col = row;
        lex_.advance();
        if (lex_.at(Tok::Caret)) {
            lex_.advance();
            if (!lex_.at(Tok::Number) || lex_.current().number != 2)
                lex_.fail("the power 2");
        } else {
            if (!lex_.at(Tok::Star))
                lex_.fail("^ 2 or * and a variable");
            lex_.advance();
            if (!lex_.at(Tok::Name))
                lex_.fail("the name of a variable");
            col = column(lex_.current().text);
        }
        lex_.advance();
        s.quadratic.push_back({row, col, value});
    }
    lex_.advance();
    double divisor = 1;
    if (lex_.at(Tok::Slash)) {
        lex_.advance();
        if (!lex_.at(Tok::Number) || lex_.current().number != 2)
            lex_.fail("2");
        divisor = 2;
        lex_.advance();
    }
    for (size_t k = begin; k < s.quadratic.size(); ++k)
        s.quadratic[k].value = checked(s.quadratic[k].value / divisor, "coefficient", lex_.current().line);
    s.any = true;
}

// Reads terms for as long as there are any.
void LpReader::sum(Sum& s, Side side) {
    s.clear();
    for (;;) {
        const bool sign_first = lex_.at(Tok::Plus) || lex_.at(Tok::Minus);
        if (s.any && (!sign_first || (side == Side::Right && lex_.current().first_on_line)))
            return;
        double sign = 1;
        for (; lex_.at(Tok::Plus) || lex_.at(Tok::Minus); lex_.advance())
            sign = lex_.at(Tok::Minus) ? -sign : sign;
        const bool operand =
            lex_.at(Tok::Number) || lex_.at(Tok::Open) ||
            (lex_.at(Tok::Name) && lex_.next().kind != Tok::Colon && (sign_first || !keyword_in_sum(false, side)));
        if (!operand) {
            if (sign_first)
                lex_.fail("a number or a variable");
            return;
        }
        term(s, sign, side);
    }
}

void LpReader::term(Sum& s, double sign, Side side) {
    if (lex_.at(Tok::Number)) {
        const double number = sign * lex_.current().number;
        lex_.advance();
        const bool times = lex_.at(Tok::Star);
        if (times)
            lex_.advance();
        const bool same_line = side == Side::Open || !lex_.current().first_on_line;
        if (lex_.at(Tok::Open) && (times || same_line)) {
            quadratic(s, number);
        } else if (lex_.at(Tok::Name) &&
                   (times || (same_line && lex_.next().kind != Tok::Colon && !is_infinity(lex_.current().text) &&
                              !keyword_in_sum(true, side)))) {
            add_linear(s, column(lex_.current().text), number);
            lex_.advance();
        } else if (times) {
            lex_.fail("the name of a variable");
        } else {
            add_constant(s, number);
        }
        return;
    }
    if (lex_.at(Tok::Open)) {
        quadratic(s, sign);
        return;
    }
    if (is_infinity(lex_.current().text)) {
        lex_.advance();
        add_constant(s, sign * HUGE_VAL);
        return;
    }
    const int col = column(lex_.current().text);
    lex_.advance();
    if (lex_.at(Tok::Star)) { // "x * 3"
        lex_.advance();
        if (!lex_.at(Tok::Number))
            lex_.fail("a number");
        sign *= lex_.current().number;
        lex_.advance();
    }
    add_linear(s, col, sign);
}

// ---- The file ------------------------------------------------------------------------------------------------------

LpReader::Section LpReader::enter_section() {
    const Section s = section_here();
    if (s == Section::None)
        lex_.fail("a section (Subject To, Bounds, General, Binary, Semi-continuous, SOS or End)");
    if (s == Section::Rows && lex_.next().kind == Tok::Name &&
        (same_word(lex_.current().text, "subject") || same_word(lex_.current().text, "such")))
        lex_.advance();
    lex_.advance();
    if (lex_.at(Tok::Colon)) // "Subject To:"
        lex_.advance();
    return s;
}

std::unique_ptr<Model> LpReader::read() {
    section_ = section_here();
    if (section_ != Section::Minimize && section_ != Section::Maximize)
        lex_.fail("Minimize or Maximize");
    problem_.sense = section_ == Section::Maximize ? TSO_MAXIMIZE : TSO_MINIMIZE;
    enter_section();
    objective();
    for (bool ended = false; !ended;) {
        if (lex_.at(Tok::End))
            lex_.fail("End");
        switch (enter_section()) {
        case Section::Rows:
            rows();
            break;
        case Section::Bounds:
            bounds();
            break;
        case Section::General:
            types(kGeneral);
            break;
        case Section::Binary:
            types(kBinary);
            break;
        case Section::Semi:
            types(kSemi);
            break;
        case Section::SemiInteger:
            types(kSemiInteger);
            break;
        case Section::Sos:
            sets(0);
            break;
        case Section::Sos1:
            sets(TSO_SOS_TYPE1);
            break;
        case Section::Sos2:
            sets(TSO_SOS_TYPE2);
            break;
        case Section::End:
            ended = true;
            break;
        default:
            lex_.fail(lex_.current().line, "expected one objective, found another");
        }
    }
    finish_types();
    std::string scratch;
    check_name(lex_.problem_name(), 1);
    problem_.name = decode_name(lex_.problem_name(), scratch);
    auto model = problem_.finish(env_, lex_.path());
    if (negative_uppers_ > 0)
        model->env.log().line(
            "Warning: " + negative_upper_ +
            (negative_uppers_ > 1 ? " (" + std::to_string(negative_uppers_) + " times in this file)" : ""));
    return model;
}

std::unique_ptr<Model> read_lp(const Env& env, const std::string& path, Compression compression) {
    return LpReader(env, path, compression).read();
}

} // namespace tso::io
