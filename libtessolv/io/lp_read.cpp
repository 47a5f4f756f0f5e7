// LP files. The grammar is read generously, since writers of the format agree on its core only; see docs/formats.md.
#include "core/log.h"
#include "io/lp_lexer.h"
#include "io/model_files.h"
#include "io/problem.h"
#include "io/text.h"

#include <cmath>

namespace tso::io {

namespace {

enum class Section : unsigned char {
    None,
    Minimize,
    Maximize,
    Rows,
    Bounds,
    General,
    Binary,
    Semi,
    SemiInteger,
    Sos,
    Sos1,
    Sos2,
    End
};

struct SectionWord {
    std::string_view word, second; // lower case; second: the word that must follow
    Section section;
};

// clang-format off
constexpr SectionWord kSectionWords[] = {
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

// A sum of terms: linear ones by column without repetition, a constant, quadratic ones as they stand.
struct Sum {
    std::vector<int> col;
    std::vector<double> value;
    std::vector<QuadTerm> quadratic;
    double constant = 0;
    bool any = false; // something was read, be it a zero
    bool has_columns() const { return !col.empty() || !quadratic.empty(); }
    void clear() {
        col.clear();
        value.clear();
        quadratic.clear();
        constant = 0;
        any = false;
    }
};

// Where a sum stands: the right-hand side ends with its line, since the next row may have no name in front; all others
// go on over lines.
enum class Side : unsigned char { Open, Right };

class LpReader {
public:
    LpReader(const Env& env, const std::string& path, Compression compression) : env_(env), lex_(path, compression) {}

    std::unique_ptr<Model> read();

private:
    Section section_of(const Token& word, const Token& next) const;
    Section section_here() const { return section_of(lex_.current(), lex_.next()); }
    bool keyword_in_sum(bool after_number, Side side) const;
    Section enter_section();

    void objective();
    void rows();
    void bounds();
    void types(unsigned char flag);
    void sets(int type);
    void finish_types();

    void sum(Sum& s, Side side);
    void term(Sum& s, double sign, Side side);
    void quadratic(Sum& s, double factor);
    void add_linear(Sum& s, int col, double value);
    void add_constant(Sum& s, double value);
    std::string label();
    void row();
    void indicator(const std::string& name, const Sum& condition, double value, int64_t line);
    void add_row(std::string_view name, Sum& body, double lower, double upper, int64_t line);
    double bound_value();
    void set_bound(int col, Tok sense, double value);
    int column(std::string_view word);
    void check_name(std::string_view word, int64_t line) const;
    double checked(double value, const char* what, int64_t line) const;

    const Env& env_;
    LpLexer lex_;
    Problem problem_;
    Section section_ = Section::None;
    Sum left_, middle_, right_;
    std::vector<size_t> place_; // of each column: where in the sum that is being read it may stand
    enum : unsigned char {
        kGeneral = 1,
        kBinary = 2,
        kSemi = 4,
        kSemiInteger = 8,
        kLowerGiven = 16,
        kUpperGiven = 32,
    };
    std::vector<unsigned char> flags_;
    std::string negative_upper_; // the first warning of its kind, and how many
    int64_t negative_uppers_ = 0;
};

// ---- Words ---------------------------------------------------------------------------------------------------------

Section LpReader::section_of(const Token& word, const Token& next) const {
    if (word.kind != Tok::Name || next.kind == Tok::Colon || next.kind == Tok::DoubleColon || !is_lp_keyword(word.text))
        return Section::None;
    for (const SectionWord& w : kSectionWords)
        if (same_word(word.text, w.word) &&
            (w.second.empty() || (next.kind == Tok::Name && same_word(next.text, w.second))))
            return w.section;
    return Section::None;
}

// Whether the name at which a sum has arrived is no variable but ends the sum. At the beginning of a line a word of a
// section always is one; within a line where no variable can stand.
bool LpReader::keyword_in_sum(bool after_number, Side side) const {
    const bool possible = lex_.current().first_on_line || !after_number || side == Side::Right;
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
    check_name(name, lex_.current().line);
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

// ---- Objective and rows --------------------------------------------------------------------------------------------

void LpReader::objective() {
    label();
    const int64_t line = lex_.current().line;
    sum(left_, Side::Open);
    for (size_t k = 0; k < left_.col.size(); ++k)
        problem_.cost[left_.col[k]] = left_.value[k];
    problem_.quadratic = std::move(left_.quadratic);
    problem_.constant = checked(left_.constant, "constant of the objective", line);
    if (section_here() == Section::None)
        lex_.fail("+, - or a section (Subject To, Bounds, ..., End)");
}

void LpReader::add_row(std::string_view name, Sum& body, double lower, double upper, int64_t line) {
    if (!(lower < TSO_INFINITY) || !(upper > -TSO_INFINITY))
        lex_.fail(line, "expected a row that can be met, found one between " + number_text(lower) + " and " +
                            number_text(upper));
    if (problem_.index.size() + body.col.size() > INT32_MAX)
        lex_.fail(line, "expected at most 2147483647 entries, found more");
    const int i = problem_.rows.append(name);
    problem_.row_lower.push_back(lower);
    problem_.row_upper.push_back(upper);
    problem_.begin.push_back(static_cast<int>(problem_.index.size()));
    for (size_t k = 0; k < body.col.size(); ++k)
        if (body.value[k] != 0) {
            problem_.index.push_back(body.col[k]);
            problem_.value.push_back(body.value[k]);
        }
    if (!body.quadratic.empty())
        problem_.quadratic_rows.push_back({i, std::move(body.quadratic)});
}

void LpReader::row() {
    const std::string name = label();
    const int64_t line = lex_.current().line;
    sum(left_, Side::Open);
    const bool empty = !left_.any && !name.empty() && lex_.at_sense(); // "c1: <= 5", a row without entries
    if (!empty && (!left_.any || !lex_.at_sense()))
        lex_.fail(left_.any ? "<=, >= or =" : "a row");
    const Tok sense = lex_.current().kind;
    lex_.advance();
    // Behind a constant stands the row itself, which may go over lines.
    sum(middle_, left_.has_columns() || empty ? Side::Right : Side::Open);
    if (!middle_.any)
        lex_.fail("a number");
    if (lex_.at(Tok::Arrow)) {
        if (sense != Tok::Equal || middle_.has_columns())
            lex_.fail(line, "expected a binary, = and 0 or 1 in front of ->");
        indicator(name, left_, middle_.constant, line);
        return;
    }

    double lower = -TSO_INFINITY, upper = TSO_INFINITY;
    const auto limit = [&](Tok s, double value) {
        if (std::isnan(value))
            lex_.fail(line, "expected a right-hand side, found infinities that cancel out");
        if (s != Tok::LessEqual)
            lower = value <= -TSO_INFINITY ? -TSO_INFINITY : value;
        if (s != Tok::GreaterEqual)
            upper = value >= TSO_INFINITY ? TSO_INFINITY : value;
    };
    const auto mirrored = [](Tok s) {
        return s == Tok::LessEqual ? Tok::GreaterEqual : s == Tok::GreaterEqual ? Tok::LessEqual : s;
    };
    if (lex_.at_sense()) { // two-sided
        if (left_.has_columns())
            lex_.fail("the end of the row");
        if (sense == Tok::Equal || lex_.current().kind != sense)
            lex_.fail(sense == Tok::LessEqual ? "<=" : sense == Tok::Equal ? "the end of the row" : ">=");
        lex_.advance();
        sum(right_, Side::Right);
        if (!right_.any || right_.has_columns())
            lex_.fail(line, "expected a number on either side of a row with two");
        checked(middle_.constant, "constant", line);
        limit(mirrored(sense), left_.constant - middle_.constant);
        limit(sense, right_.constant - middle_.constant);
        add_row(name, middle_, lower, upper, line);
    } else if (!left_.has_columns() && middle_.has_columns()) {
        checked(middle_.constant, "constant", line);
        limit(mirrored(sense), left_.constant - middle_.constant);
        add_row(name, middle_, lower, upper, line);
    } else {
        checked(left_.constant, "constant", line);
        // What stands on the right goes over to the left. The places are those of the sum read last.
        for (size_t k = 0; k < left_.col.size() && !middle_.col.empty(); ++k)
            place_[left_.col[k]] = k;
        for (size_t k = 0; k < middle_.col.size(); ++k)
            add_linear(left_, middle_.col[k], -middle_.value[k]);
        for (const QuadTerm& t : middle_.quadratic)
            left_.quadratic.push_back({t.row, t.col, -t.value});
        limit(sense, middle_.constant - left_.constant);
        add_row(name, left_, lower, upper, line);
    }
}

// Behind the arrow of "b = 1 -> x + y <= 3".
void LpReader::indicator(const std::string& name, const Sum& condition, double value, int64_t line) {
    if (condition.col.size() != 1 || condition.value[0] != 1 || condition.constant != 0 ||
        !condition.quadratic.empty() || (value != 0 && value != 1))
        lex_.fail(line, "expected a binary, = and 0 or 1 in front of ->");
    Problem::NamedIndicator out;
    out.name = name;
    out.line = line;
    out.indicator.binvar = condition.col[0];
    out.indicator.binval = value == 1;
    lex_.advance();
    sum(left_, Side::Open);
    if (!left_.any || !lex_.at_sense())
        lex_.fail(left_.any ? "<=, >= or =" : "a row");
    const Tok sense = lex_.current().kind;
    lex_.advance();
    sum(middle_, Side::Right);
    if (!middle_.any || middle_.has_columns() || !left_.quadratic.empty() || lex_.at_sense())
        lex_.fail(line, "expected a linear row with a number on its right behind ->");
    out.indicator.sense = sense == Tok::Equal       ? TSO_EQUAL
                          : sense == Tok::LessEqual ? TSO_LESS_EQUAL
                                                    : TSO_GREATER_EQUAL;
    out.indicator.rhs = checked(middle_.constant - left_.constant, "right-hand side", line);
    out.indicator.ind = left_.col;
    out.indicator.val = left_.value;
    problem_.indicators.push_back(std::move(out));
}

void LpReader::rows() {
    while (!lex_.at(Tok::End) && section_here() == Section::None)
        row();
}

// ---- Bounds, types, sets -------------------------------------------------------------------------------------------

double LpReader::bound_value() {
    double sign = 1;
    for (; lex_.at(Tok::Plus) || lex_.at(Tok::Minus); lex_.advance())
        sign = lex_.at(Tok::Minus) ? -sign : sign;
    double value = HUGE_VAL;
    if (lex_.at(Tok::Number))
        value = lex_.current().number;
    else if (!lex_.at(Tok::Name) || !is_infinity(lex_.current().text))
        lex_.fail("a number");
    lex_.advance();
    return sign * value;
}

void LpReader::set_bound(int col, Tok sense, double value) {
    const int64_t line = lex_.current().line;
    double& lower = problem_.lower[col];
    double& upper = problem_.upper[col];
    if (sense != Tok::LessEqual) {
        if (!(value < TSO_INFINITY))
            lex_.fail(line, "expected a lower bound below infinity, found " + number_text(value));
        lower = value;
        flags_[col] |= kLowerGiven;
    }
    if (sense != Tok::GreaterEqual) {
        if (!(value > -TSO_INFINITY))
            lex_.fail(line, "expected an upper bound above -infinity, found " + number_text(value));
        upper = value;
        flags_[col] |= kUpperGiven;
    }
}

void LpReader::bounds() {
    const auto mirrored = [](Tok s) {
        return s == Tok::LessEqual ? Tok::GreaterEqual : s == Tok::GreaterEqual ? Tok::LessEqual : s;
    };
    while (!lex_.at(Tok::End) && (section_here() == Section::None || LpLexer::is_sense(lex_.next().kind))) {
        const bool value_first =
            !lex_.at(Tok::Name) || (is_infinity(lex_.current().text) && LpLexer::is_sense(lex_.next().kind));
        double value = 0;
        Tok sense = Tok::Equal;
        if (value_first) {
            value = bound_value();
            if (!lex_.at_sense())
                lex_.fail("<=, >= or =");
            sense = lex_.current().kind;
            lex_.advance();
        }
        if (!lex_.at(Tok::Name))
            lex_.fail("the name of a variable");
        const int64_t line = lex_.current().line;
        const int col = column(lex_.current().text);
        lex_.advance();
        if (value_first)
            set_bound(col, mirrored(sense), value);
        if (lex_.at_sense()) {
            const Tok second = lex_.current().kind;
            if (value_first && (sense == Tok::Equal || second != sense))
                lex_.fail("one direction of both bounds");
            lex_.advance();
            set_bound(col, second, bound_value());
        } else if (!value_first) {
            if (!lex_.at(Tok::Name) || !same_word(lex_.current().text, "free"))
                lex_.fail("<=, >=, = or free");
            lex_.advance();
            problem_.lower[col] = -TSO_INFINITY;
            problem_.upper[col] = TSO_INFINITY;
            flags_[col] |= kLowerGiven | kUpperGiven;
        }
        if (problem_.upper[col] < 0 && !(flags_[col] & kLowerGiven) && negative_uppers_++ == 0)
            negative_upper_ = lex_.path() + ":" + std::to_string(line) + ": the upper bound of " +
                              show(problem_.cols.name(col)) +
                              " is negative and its lower bound, which is not given, stays 0";
    }
}

void LpReader::types(unsigned char flag) {
    for (; lex_.at(Tok::Name) && section_here() == Section::None; lex_.advance())
        flags_[column(lex_.current().text)] |= flag;
}

// "name: S1:: x:1 y:2", or "S1:: x:1 y:2", or within a section of one type "name: x:1 y:2".
void LpReader::sets(int type) {
    const auto type_word = [&] {
        const bool is_header = lex_.at(Tok::Name) && lex_.next().kind == Tok::DoubleColon;
        if (!is_header)
            return 0;
        const std::string_view word = lex_.current().text;
        const int found = same_word(word, "s1") || same_word(word, "sos1")   ? TSO_SOS_TYPE1
                          : same_word(word, "s2") || same_word(word, "sos2") ? TSO_SOS_TYPE2
                                                                             : 0;
        if (found == 0)
            lex_.fail("S1 or S2");
        lex_.advance();
        lex_.advance();
        return found;
    };
    while (!lex_.at(Tok::End) && section_here() == Section::None) {
        if (const int own = type_word()) {
            problem_.sos.push_back({own, {}, {}});
            continue;
        }
        const int64_t line = lex_.current().line;
        const std::string name = label();
        if (name.empty())
            lex_.fail("a set or a variable, with a colon behind it");
        if (const int own = type_word()) {
            problem_.sos.push_back({own, {}, {}});
        } else if (lex_.at(Tok::Number) || lex_.at(Tok::Plus) || lex_.at(Tok::Minus)) {
            if (problem_.sos.empty())
                lex_.fail(line, "expected S1 or S2, found a member without a set");
            const double weight = checked(bound_value(), "weight", line);
            if (!problem_.add_member(column(name), weight))
                lex_.fail(line, "expected a variable that is not yet in the set, found " + show(name));
        } else if (type != 0) {
            problem_.sos.push_back({type, {}, {}});
        } else {
            lex_.fail("S1, S2 or a weight");
        }
    }
}

void LpReader::finish_types() {
    for (int j = 0; j < problem_.cols.size(); ++j) {
        const unsigned char f = flags_[j];
        if ((f & kBinary) && !(f & kUpperGiven))
            problem_.upper[j] = 1;
        const bool whole = f & (kGeneral | kBinary | kSemiInteger);
        if (f & (kSemi | kSemiInteger))
            problem_.type[j] = whole ? TSO_SEMIINT : TSO_SEMICONT;
        else if (whole)
            problem_.type[j] = f & kBinary ? TSO_BINARY : TSO_INTEGER;
    }
}

// ---- The file ------------------------------------------------------------------------------------------------------

Section LpReader::enter_section() {
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

} // namespace

std::unique_ptr<Model> read_lp(const Env& env, const std::string& path, Compression compression) {
    return LpReader(env, path, compression).read();
}

} // namespace tso::io
