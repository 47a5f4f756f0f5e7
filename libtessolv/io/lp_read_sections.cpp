#include "io/lp_reader.h"
#include "io/text.h"

#include <algorithm>
#include <cmath>

namespace tso::io {

namespace {

// The sense as it reads from the other side.
Tok mirrored(Tok s) { return s == Tok::LessEqual ? Tok::GreaterEqual : s == Tok::GreaterEqual ? Tok::LessEqual : s; }

} // namespace

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

// Whether the row before has this name, a lower side alone, and the same terms.
bool LpReader::is_last_row(std::string_view name, const Sum& body) const {
    const int last = problem_.rows.size() - 1;
    if (last < 0 || problem_.rows.name(last) != name || problem_.row_upper[last] < TSO_INFINITY ||
        problem_.row_lower[last] <= -TSO_INFINITY)
        return false;
    size_t at = static_cast<size_t>(problem_.begin[last]);
    for (size_t k = 0; k < body.col.size(); ++k)
        if (body.value[k] != 0) {
            if (at == problem_.index.size() || problem_.index[at] != body.col[k] || problem_.value[at] != body.value[k])
                return false;
            ++at;
        }
    const auto& quadratic = problem_.quadratic_rows;
    const bool has_terms = !quadratic.empty() && quadratic.back().row == last;
    return at == problem_.index.size() &&
           std::ranges::equal(body.quadratic, has_terms ? quadratic.back().terms : std::vector<QuadTerm>(),
                              [](const QuadTerm& a, const QuadTerm& b) {
                                  return a.row == b.row && a.col == b.col && a.value == b.value;
                              });
}

void LpReader::add_row(std::string_view name, Sum& body, double lower, double upper, int64_t line) {
    if (!(lower < TSO_INFINITY) || !(upper > -TSO_INFINITY))
        lex_.fail(line, "expected a row that can be met, found one between " + number_text(lower) + " and " +
                            number_text(upper));
    if (problem_.index.size() + body.col.size() > INT32_MAX)
        lex_.fail(line, "expected at most 2147483647 entries, found more");
    if (name.starts_with(kSecondSide) && lower <= -TSO_INFINITY && upper < TSO_INFINITY &&
        is_last_row(name.substr(kSecondSide.size()), body)) {
        problem_.row_upper.back() = upper;
        return;
    }
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

} // namespace tso::io
