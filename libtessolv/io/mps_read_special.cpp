#include "io/mps_reader.h"
#include "io/text.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tso::io {

// ---- BOUNDS --------------------------------------------------------------------------------------------------------

namespace {

enum BoundKind { kLo, kUp, kFx, kFr, kMi, kPl, kBv, kLi, kUi, kSc, kSi, kBoundKinds };

struct BoundRow {
    std::string_view word;
    enum : unsigned char { Never, Always, Optional } value;
};

constexpr BoundRow kBounds[kBoundKinds] = {
    {"lo", BoundRow::Always}, {"up", BoundRow::Always},   {"fx", BoundRow::Always},   {"fr", BoundRow::Never},
    {"mi", BoundRow::Never},  {"pl", BoundRow::Never},    {"bv", BoundRow::Never},    {"li", BoundRow::Always},
    {"ui", BoundRow::Always}, {"sc", BoundRow::Optional}, {"si", BoundRow::Optional},
};

} // namespace

void MpsReader::line_bounds(std::string_view line) {
    int kind = kBoundKinds, col = -1;
    double value = 0;
    bool has_value = false;
    std::string_view set;
    resolve(line, [&](const Fields& f, bool fixed, Complaint& complaint) {
        for (kind = 0; kind < kBoundKinds && !same_word(f.at[0], kBounds[kind].word); ++kind) {
        }
        if (kind == kBoundKinds) {
            complaint = {"a type of bound (LO, UP, FX, FR, MI, PL, BV, LI, UI, SC or SI)", f.at[0]};
            return false;
        }
        const auto need = kBounds[kind].value;
        // The set's name may be missing, and so may the value: whose place is whose tells the column's name.
        int col_field = 2;
        if (f.count == 2 || (f.count == 3 && !fixed && (need == BoundRow::Always || problem_.cols.find(f.at[2]) < 0)))
            col_field = fixed ? 2 : 1;
        if (f.count > 4 || f.count <= col_field) {
            complaint = {"type, set, column and value of a bound", f.count > 4 ? f.at[4] : std::string_view()};
            return false;
        }
        set = col_field == 2 ? f.at[1] : std::string_view();
        col = problem_.cols.find(f.at[col_field]);
        if (col < 0) {
            complaint = {"the name of a column", f.at[col_field]};
            return false;
        }
        has_value = f.count > col_field + 1 && need != BoundRow::Never;
        const std::string_view text = has_value ? f.at[col_field + 1] : std::string_view();
        if (has_value ? !parse_number(text, value) : need == BoundRow::Always) {
            complaint = {"a number", text};
            return false;
        }
        return true;
    });
    if (in_set(set, bounds_set_, "bounds"))
        apply_bound(kind, col, value, has_value);
}

void MpsReader::apply_bound(int kind, int j, double value, bool has_value) {
    double& lower = problem_.lower[j];
    double& upper = problem_.upper[j];
    char& type = problem_.type[j];
    col_flags_[j] |= kBound;
    if ((kind == kLo || kind == kLi || kind == kFx) && !(value < TSO_INFINITY))
        lines_.fail("a lower bound below infinity", number_text(value));
    if ((kind == kUp || kind == kUi || kind == kFx || kind == kSc || kind == kSi) && !(value > -TSO_INFINITY))
        lines_.fail("an upper bound above -infinity", number_text(value));
    switch (kind) {
    case kLi:
        type = type == TSO_SEMICONT || type == TSO_SEMIINT ? TSO_SEMIINT : TSO_INTEGER;
        [[fallthrough]];
    case kLo:
        lower = value;
        col_flags_[j] |= kLowerGiven;
        break;
    case kUi:
        type = type == TSO_SEMICONT || type == TSO_SEMIINT ? TSO_SEMIINT : TSO_INTEGER;
        [[fallthrough]];
    case kUp:
        if (value < 0 && lower == 0 && !(col_flags_[j] & kLowerGiven)) {
            // What the format's first readers did, and most since: nobody means an empty range.
            warn(negative_upper_, "the upper bound " + number_text(value) + " of " + show(problem_.cols.name(j)) +
                                      " is negative and no lower bound stands before it: that is -infinity");
            lower = -TSO_INFINITY;
        }
        upper = value;
        break;
    case kFx:
        lower = upper = value;
        col_flags_[j] |= kLowerGiven;
        break;
    case kFr:
        lower = -TSO_INFINITY;
        upper = TSO_INFINITY;
        col_flags_[j] |= kLowerGiven;
        break;
    case kMi:
        lower = -TSO_INFINITY;
        col_flags_[j] |= kLowerGiven;
        break;
    case kPl:
        upper = TSO_INFINITY;
        break;
    case kBv:
        type = TSO_BINARY;
        lower = 0;
        upper = 1;
        col_flags_[j] |= kLowerGiven;
        break;
    case kSc:
    case kSi:
        type = kind == kSi || type == TSO_INTEGER || type == TSO_SEMIINT ? TSO_SEMIINT : TSO_SEMICONT;
        upper = has_value && value != 0 ? value : TSO_INFINITY; // 0 and nothing both stand for none
        break;
    }
}

// ---- Quadratic terms -----------------------------------------------------------------------------------------------

void MpsReader::enter_quadobj(std::string_view) {
    terms_row_ = kObjective;
    terms_ = &problem_.quadratic;
    half_ = true;
    both_triangles_ = false;
}

void MpsReader::enter_qmatrix(std::string_view) {
    enter_quadobj({});
    both_triangles_ = true;
}

void MpsReader::enter_qsection(std::string_view rest) {
    enter_quadobj({});
    const int row = rest.empty() ? kObjective : find_row(rest);
    if (row == kNone)
        lines_.fail("the name of a row", rest);
    terms_row_ = row;
    if (row != kObjective)
        terms_ = &quadratic_rows_[row];
}

void MpsReader::enter_quadratic_row(std::string_view rest) {
    const int row = find_row(rest);
    if (row == kNone)
        lines_.fail("the name of a row", rest);
    terms_row_ = row;
    terms_ = row == kObjective ? &problem_.quadratic : &quadratic_rows_[row];
    half_ = false;
    both_triangles_ = true;
}

void MpsReader::line_quadratic(std::string_view line) {
    int row = -1, col = -1;
    double value = 0;
    resolve(line, [&](const Fields& f, bool fixed, Complaint& complaint) {
        const int first = fixed ? 1 : 0;
        if (f.count != first + 3) {
            complaint = {"two columns and a number", trim(line)};
            return false;
        }
        for (int k = first; k < first + 2; ++k) {
            const int j = problem_.cols.find(f.at[k]);
            if (j < 0) {
                complaint = {"the name of a column", f.at[k]};
                return false;
            }
            (k == first ? row : col) = j;
        }
        if (!parse_number(f.at[first + 2], value)) {
            complaint = {"a number", f.at[first + 2]};
            return false;
        }
        return true;
    });
    if (half_ && (row == col || both_triangles_))
        value /= 2;
    const auto add = [&](double& sum, double v) {
        sum += v;
        if (!(std::fabs(sum) < TSO_INFINITY))
            lines_.fail("a finite number", number_text(sum));
    };
    if (both_triangles_) {
        // An entry and its mirror are one term.
        const auto [low, high] = std::minmax(row, col);
        const auto key = static_cast<uint64_t>(low) << 32 | static_cast<uint32_t>(high);
        const auto [at, added] = mirrored_[terms_row_].try_emplace(key, terms_->size());
        if (!added) {
            add((*terms_)[at->second].value, value);
            return;
        }
    }
    double sum = 0;
    add(sum, value);
    terms_->push_back({row, col, sum});
}

// ---- SOS and INDICATORS --------------------------------------------------------------------------------------------

void MpsReader::enter_sos(std::string_view) {
    sos_type_ = same_word(section_->keyword, "sos1")   ? TSO_SOS_TYPE1
                : same_word(section_->keyword, "sos2") ? TSO_SOS_TYPE2
                                                       : 0;
}

// Two layouts: " S1 set" and lines "    column weight" below, or " S1 set name priority" and lines that repeat the
// first fields, " S1 set column weight".
void MpsReader::line_sos(std::string_view line) {
    std::string_view f[Fields::kMost];
    const int count = split(line, f, Fields::kMost);
    const size_t indent = static_cast<size_t>(f[0].data() - line.data());
    const bool typed = (f[0] == "S1" || f[0] == "S2") && indent < 4;
    if (typed) {
        const int type = f[0] == "S1" ? TSO_SOS_TYPE1 : TSO_SOS_TYPE2;
        const int member = count == 4 && !problem_.sos.empty() ? problem_.cols.find(f[2]) : -1;
        double weight;
        if (member >= 0 && parse_number(f[3], weight)) {
            add_member(member, f[3]);
            return;
        }
        if (sos_type_ != 0 && type != sos_type_)
            lines_.fail("a set of the section's type", f[0]);
        problem_.sos.push_back({type, {}, {}});
        return;
    }
    if (problem_.sos.empty())
        lines_.fail("S1 or S2", f[0]);
    // The weight is the last field; before it the column, whose name may hold blanks, or the set and the column.
    const std::string_view all = trim(line);
    size_t split_at = all.size();
    while (split_at > 0 && !is_blank(all[split_at - 1]))
        --split_at;
    std::string_view word = trim(all.substr(0, split_at));
    int member = problem_.cols.find(word);
    if (member < 0 && count == 3)
        member = problem_.cols.find(word = f[1]);
    if (member < 0)
        lines_.fail("the name of a column", word);
    add_member(member, all.substr(split_at));
}

void MpsReader::add_member(int col, std::string_view weight) {
    double value;
    if (!parse_number(weight, value) || !(std::fabs(value) < TSO_INFINITY))
        lines_.fail("a finite weight", weight);
    if (!problem_.add_member(col, value))
        lines_.fail("a column that is not yet in the set", problem_.cols.name(col));
}

void MpsReader::line_indicators(std::string_view line) {
    std::string_view f[4];
    const int count = split(line, f, 4);
    if (count != 4 || !same_word(f[0], "if"))
        lines_.fail("IF, a row, a column and 0 or 1", trim(line));
    const int row = find_row(f[1]);
    if (row < 0 || row_type_[row] == 'N')
        lines_.fail("the name of a row of type E, L or G", f[1]);
    const int col = problem_.cols.find(f[2]);
    if (col < 0)
        lines_.fail("the name of a column", f[2]);
    if (f[3] != "0" && f[3] != "1")
        lines_.fail("0 or 1", f[3]);
    if (indicator_of_.empty())
        indicator_of_.assign(row_type_.size(), -1);
    if (indicator_of_[row] >= 0)
        lines_.fail("a row that no other line indicates", f[1]);
    indicator_of_[row] = static_cast<int>(indicators_.size());
    indicators_.push_back({row, col, f[3] == "1", lines_.number()});
}

// ---- The end -------------------------------------------------------------------------------------------------------

void MpsReader::finish_columns() {
    for (int j = 0; j < problem_.cols.size(); ++j)
        if ((col_flags_[j] & (kMarker | kBound)) == kMarker)
            problem_.upper[j] = 1; // what an integer between markers has as long as nobody gives it a bound
}

void MpsReader::finish_rows() {
    if (objective_ == kNone && !objective_name_.empty())
        lines_.fail("expected a row of type N with the name that OBJNAME tells, found none");
    const int file_rows = rows_.size();
    // Where each row of the file goes: a row of the model, an indicator, or nowhere.
    std::vector<int> target(static_cast<size_t>(file_rows), kNone);
    for (int i = 0; i < file_rows; ++i) {
        if (i == objective_ || (!indicator_of_.empty() && indicator_of_[i] >= 0))
            continue;
        target[i] = problem_.rows.append(rows_.name(i));
        double lower = -TSO_INFINITY, upper = TSO_INFINITY;
        const long double range = range_.empty() ? std::numeric_limits<long double>::quiet_NaN() : range_[i];
        const bool ranged = !std::isnan(range);
        const auto sum = [&](long double by) { return static_cast<double>(static_cast<long double>(rhs_[i]) + by); };
        switch (row_type_[i]) {
        case 'E':
            lower = ranged && range < 0 ? sum(range) : rhs_[i];
            upper = ranged && range > 0 ? sum(range) : rhs_[i];
            break;
        case 'L':
            upper = rhs_[i];
            lower = ranged && upper < TSO_INFINITY ? sum(-std::fabs(range)) : lower;
            break;
        case 'G':
            lower = rhs_[i];
            upper = ranged && lower > -TSO_INFINITY ? sum(std::fabs(range)) : upper;
            break;
        }
        problem_.row_lower.push_back(lower);
        problem_.row_upper.push_back(upper);
    }

    // Columns to rows: count, then place column by column, which leaves each row sorted.
    problem_.begin.assign(static_cast<size_t>(problem_.rows.size()) + 1, 0);
    for (const int i : entry_row_)
        if (target[i] >= 0)
            ++problem_.begin[target[i] + 1];
    for (size_t i = 1; i < problem_.begin.size(); ++i)
        problem_.begin[i] += problem_.begin[i - 1];
    problem_.index.resize(static_cast<size_t>(problem_.begin.back()));
    problem_.value.resize(problem_.index.size());
    problem_.indicators.resize(indicators_.size());
    std::vector<int> next(problem_.begin.begin(), problem_.begin.end() - 1);
    problem_.begin.pop_back();
    const int cols = problem_.cols.size();
    for (int j = 0; j < cols; ++j) {
        const int stop = j + 1 < cols ? col_begin_[j + 1] : static_cast<int>(entry_row_.size());
        for (int k = col_begin_[j]; k < stop; ++k) {
            const int row = entry_row_[k];
            if (target[row] >= 0) {
                const int at = next[target[row]]++;
                problem_.index[at] = j;
                problem_.value[at] = entry_value_[k];
            } else if (entry_value_[k] != 0) {
                Indicator& g = problem_.indicators[indicator_of_[row]].indicator;
                g.ind.push_back(j);
                g.val.push_back(entry_value_[k]);
            }
        }
    }

    for (size_t k = 0; k < indicators_.size(); ++k) {
        const auto [row, col, value, line] = indicators_[k];
        const bool special = quadratic_rows_.count(row) || (!range_.empty() && !std::isnan(range_[row]));
        if (special || !(std::fabs(rhs_[row]) < TSO_INFINITY))
            throw Failure(TSO_FORMAT_ERROR, lines_.path() + ":" + std::to_string(line) +
                                                ": expected a linear row with one finite right-hand side behind IF, " +
                                                "row " + show(rows_.name(row)) + " is none");
        auto& out = problem_.indicators[k];
        out.indicator.binvar = col;
        out.indicator.binval = value;
        out.indicator.sense = row_type_[row] == 'E'   ? TSO_EQUAL
                              : row_type_[row] == 'L' ? TSO_LESS_EQUAL
                                                      : TSO_GREATER_EQUAL;
        out.indicator.rhs = rhs_[row];
        out.name = rows_.name(row);
        out.line = line;
    }

    for (int i = 0; i < file_rows; ++i)
        if (const auto at = quadratic_rows_.find(i); at != quadratic_rows_.end() && target[i] >= 0)
            problem_.quadratic_rows.push_back({target[i], std::move(at->second)});
}

} // namespace tso::io
