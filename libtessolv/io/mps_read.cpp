#include "core/log.h"
#include "io/model_files.h"
#include "io/mps_reader.h"
#include "io/text.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace tso::io {

// clang-format off
const MpsReader::Section MpsReader::kSections[] = {
    {"name",       &MpsReader::enter_name,           nullptr},
    {"objsense",   &MpsReader::enter_sense,          &MpsReader::line_sense},
    {"objname",    &MpsReader::enter_objective_name, &MpsReader::line_objective_name},
    {"rows",       &MpsReader::enter_plain,          &MpsReader::line_rows},
    {"columns",    &MpsReader::enter_plain,          &MpsReader::line_columns},
    {"rhs",        &MpsReader::enter_plain,          &MpsReader::line_rhs},
    {"ranges",     &MpsReader::enter_plain,          &MpsReader::line_ranges},
    {"bounds",     &MpsReader::enter_plain,          &MpsReader::line_bounds},
    {"quadobj",    &MpsReader::enter_quadobj,        &MpsReader::line_quadratic},
    {"qmatrix",    &MpsReader::enter_qmatrix,        &MpsReader::line_quadratic},
    {"qsection",   &MpsReader::enter_qsection,       &MpsReader::line_quadratic},
    {"qcmatrix",   &MpsReader::enter_quadratic_row,  &MpsReader::line_quadratic},
    {"sos",        &MpsReader::enter_sos,            &MpsReader::line_sos},
    {"sos1",       &MpsReader::enter_sos,            &MpsReader::line_sos},
    {"sos2",       &MpsReader::enter_sos,            &MpsReader::line_sos},
    {"indicators", &MpsReader::enter_plain,          &MpsReader::line_indicators},
    {"endata",     &MpsReader::enter_plain,          nullptr},
};
// clang-format on

const MpsReader::Section* MpsReader::find_section(std::string_view keyword) {
    for (const Section& s : kSections)
        if (same_word(keyword, s.keyword))
            return &s;
    return nullptr;
}

std::unique_ptr<Model> MpsReader::read() {
    std::string_view line;
    bool ended = false;
    while (!ended && lines_.next(line)) {
        if (line.empty() || line[0] == '*')
            continue;
        const bool indented = is_blank(line[0]);
        if (indented && trim(line).empty())
            continue;
        if (!indented) {
            std::string_view keyword;
            split(line, &keyword, 1);
            const std::string_view rest = trim(line.substr(keyword.size()));
            const Section* next = find_section(keyword);
            // "RHS c1 5" within RHS: a line of data that is not indented, of a set with the section's name.
            const bool data = next && next == section_ && !rest.empty() && next->enter == &MpsReader::enter_plain;
            if (next && !data) {
                section_ = next;
                (this->*section_->enter)(rest);
                ended = section_->keyword == "endata";
                continue;
            }
            if (!section_ || !section_->line)
                lines_.fail("a section (NAME, ROWS, COLUMNS, RHS, RANGES, BOUNDS, ..., ENDATA)", keyword);
        }
        // Data lines that are not indented are read as well: many writers of the free form do so.
        if (!section_ || !section_->line)
            lines_.fail("a section (NAME, ROWS, COLUMNS, RHS, RANGES, BOUNDS, ..., ENDATA)", trim(line));
        (this->*section_->line)(line);
    }
    if (!ended)
        lines_.fail("expected ENDATA, found the end of the file");
    finish_columns();
    finish_rows();
    auto model = problem_.finish(env_, lines_.path());
    for (const Warning* w : {&negative_upper_, &repeated_, &other_set_, &ignored_})
        if (w->count > 0)
            model->env.log().line("Warning: " + w->text +
                                  (w->count > 1 ? " (" + std::to_string(w->count) + " times in this file)" : ""));
    return model;
}

void MpsReader::check_name(std::string_view word) const {
    std::string scratch;
    try {
        decode_name(word, scratch);
    } catch (const Failure& f) {
        lines_.fail(std::string(f.what()));
    }
}

// ---- Fields --------------------------------------------------------------------------------------------------------

MpsReader::Fields MpsReader::free_fields(std::string_view line) {
    Fields f;
    f.count = split(line, f.at, Fields::kMost);
    return f;
}

// The fields of the fixed form: columns 2-3, 5-12, 15-22, 25-36, 40-47, 50-61. The first may be empty; trailing ones
// that are empty do not count.
MpsReader::Fields MpsReader::fixed_fields(std::string_view line) {
    struct Span {
        size_t from, to;
    };
    static constexpr Span kSpans[Fields::kMost] = {{1, 3}, {4, 12}, {14, 22}, {24, 36}, {39, 47}, {49, 61}};
    Fields f;
    size_t previous = 0;
    for (int k = 0; k < Fields::kMost; ++k) {
        const auto [from, to] = kSpans[k];
        // What stands between the fields must be blank: otherwise the line has another form.
        if (!trim(line.substr(std::min(previous, line.size()), from - previous)).empty()) {
            f.count = Fields::kMost + 1;
            return f;
        }
        if (from < line.size())
            f.at[k] = trim(line.substr(from, to - from));
        if (!f.at[k].empty())
            f.count = k + 1;
        previous = to;
    }
    return f;
}

int MpsReader::find_row(std::string_view word) const {
    const int row = rows_.find(word);
    return row < 0 ? kNone : row == objective_ ? kObjective : row;
}

// Pairs of row and number from field `first` on.
bool MpsReader::resolve_pairs(const Fields& f, int first, Pair* pairs, int& count, Complaint& complaint) const {
    count = 0;
    for (int k = first; k < f.count; k += 2) {
        Pair& p = pairs[count];
        p.row = find_row(f.at[k]);
        if (p.row == kNone) {
            complaint = {"the name of a row", f.at[k]};
            return false;
        }
        p.number = k + 1 < f.count ? f.at[k + 1] : std::string_view();
        if (!parse_number(p.number, p.value)) {
            complaint = {"a number", p.number};
            return false;
        }
        ++count;
    }
    return true;
}

// ---- Sections of one line ------------------------------------------------------------------------------------------

void MpsReader::enter_name(std::string_view rest) {
    // "FREE" behind the name is a remark on the form, which shows by itself.
    if (rest.size() > 5 && is_blank(rest[rest.size() - 5]) && same_word(rest.substr(rest.size() - 4), "free"))
        rest = trim(rest.substr(0, rest.size() - 4));
    std::string scratch;
    check_name(rest);
    problem_.name = decode_name(rest, scratch);
}

void MpsReader::set_sense(std::string_view word) {
    for (const char* max : {"max", "maximize", "maximise", "maximum"})
        if (same_word(word, max)) {
            problem_.sense = TSO_MAXIMIZE;
            return;
        }
    for (const char* min : {"min", "minimize", "minimise", "minimum"})
        if (same_word(word, min)) {
            problem_.sense = TSO_MINIMIZE;
            return;
        }
    lines_.fail("MIN or MAX", word);
}

void MpsReader::enter_sense(std::string_view rest) {
    if (!rest.empty())
        set_sense(rest);
}

void MpsReader::enter_objective_name(std::string_view rest) { objective_name_ = rest; }

void MpsReader::line_rows(std::string_view line) {
    resolve(line, [&](const Fields& f, bool, Complaint& complaint) {
        if (f.at[0].size() != 1 || !std::strchr("NELGnelg", f.at[0][0])) {
            complaint = {"a type of row (N, E, L or G)", f.at[0]};
            return false;
        }
        if (f.count != 2) {
            complaint = {"the name of a row", f.count < 2 ? std::string_view() : trim(line)};
            return false;
        }
        const char type = static_cast<char>(f.at[0][0] & ~0x20);
        check_name(f.at[1]);
        const auto [row, added] = rows_.insert(f.at[1]);
        if (!added)
            lines_.fail("a name that no other row has", f.at[1]);
        row_type_.push_back(type);
        rhs_.push_back(0);
        last_entry_.push_back(-1);
        if (!range_.empty())
            range_.push_back(std::numeric_limits<long double>::quiet_NaN());
        if (!indicator_of_.empty())
            indicator_of_.push_back(-1);
        if (type == 'N' && (objective_name_.empty() ? objective_ == kNone : f.at[1] == objective_name_))
            objective_ = row;
        return true;
    });
}

// ---- COLUMNS -------------------------------------------------------------------------------------------------------

void MpsReader::begin_column(std::string_view word) {
    check_name(word);
    const int before = problem_.cols.size();
    col_ = problem_.add_col(word);
    if (col_ != before)
        lines_.fail("all lines of a column together, and a name that no other column has", word);
    problem_.type[col_] = in_integers_ ? TSO_INTEGER : TSO_CONTINUOUS;
    col_flags_.push_back(in_integers_ ? kMarker : 0);
    col_begin_.push_back(static_cast<int>(entry_row_.size()));
}

void MpsReader::add_entry(int row, double value) {
    if (!(std::fabs(value) < TSO_INFINITY))
        lines_.fail("a finite number", number_text(value));
    if (row == kObjective) {
        problem_.cost[col_] += value;
        if (!(std::fabs(problem_.cost[col_]) < TSO_INFINITY))
            lines_.fail("a finite sum of costs", number_text(problem_.cost[col_]));
        return;
    }
    if (last_entry_[row] >= col_begin_.back()) { // an entry of this column
        warn(repeated_, [&] { return "row " + show(rows_.name(row)) + " stands twice in a column, which adds up"; });
        const int k = last_entry_[row];
        entry_value_[k] += value;
        if (!(std::fabs(entry_value_[k]) < TSO_INFINITY))
            lines_.fail("a finite sum of values", number_text(entry_value_[k]));
        return;
    }
    if (entry_row_.size() == INT32_MAX)
        lines_.fail("expected at most 2147483647 entries, found more");
    last_entry_[row] = static_cast<int>(entry_row_.size());
    entry_row_.push_back(row);
    entry_value_.push_back(value);
}

void MpsReader::line_columns(std::string_view line) {
    Fields f = free_fields(line);
    if (f.count >= 3 && f.count <= Fields::kMost && f.at[1] == "'MARKER'") {
        const std::string_view kind = f.at[f.count - 1];
        if (kind != "'INTORG'" && kind != "'INTEND'")
            lines_.fail("'INTORG' or 'INTEND'", kind);
        in_integers_ = kind == "'INTORG'";
        return;
    }
    Pair pairs[2];
    int count = 0;
    const std::string_view word = [&] {
        std::string_view found;
        resolve(line, [&](const Fields& fields, bool fixed, Complaint& complaint) {
            const int first = fixed ? 1 : 0;
            if (fields.count - first == 1) { // a column without entries: not of the format, but clear
                found = fields.at[first];
                return true;
            }
            if (fields.count > first + 5 || fields.count - first < 3 || (fields.count - first) % 2 == 0) {
                complaint = {"a column's name and one or two pairs of row and number", trim(line)};
                return false;
            }
            found = fields.at[first];
            return resolve_pairs(fields, first + 1, pairs, count, complaint);
        });
        return found;
    }();
    if (col_ < 0 || word != problem_.cols.name(col_))
        begin_column(word);
    for (int k = 0; k < count; ++k)
        add_entry(pairs[k].row, pairs[k].value);
}

// ---- RHS and RANGES ------------------------------------------------------------------------------------------------

MpsReader::Vector MpsReader::read_vector(std::string_view line) {
    Vector v;
    resolve(line, [&](const Fields& f, bool fixed, Complaint& complaint) {
        constexpr const char* kExpected = "a set's name and one or two pairs of row and number";
        if (fixed) {
            if (f.count < 4 || !f.at[0].empty()) {
                complaint = {kExpected, trim(line)};
                return false;
            }
            v.set = f.at[1];
            return resolve_pairs(f, 2, v.pairs, v.count, complaint);
        }
        if (f.count < 2 || f.count > 5) {
            complaint = {kExpected, f.count < 2 ? f.at[0] : f.at[5]};
            return false;
        }
        // The set's name may be missing: then the number of fields is even.
        const int first = f.count % 2;
        v.set = first ? f.at[0] : std::string_view();
        return resolve_pairs(f, first, v.pairs, v.count, complaint);
    });
    return v;
}

// A file may hold several sets of right-hand sides, ranges and bounds, of which the first counts.
bool MpsReader::in_set(std::string_view set, std::string& used, const char* what) {
    bool& seen = &used == &rhs_set_ ? seen_rhs_set_ : &used == &ranges_set_ ? seen_ranges_set_ : seen_bounds_set_;
    if (!seen) {
        used = set;
        seen = true;
    }
    if (set == used || set.empty())
        return true;
    warn(other_set_, [&] {
        return std::string("the ") + what + " of the set " + show(set) + " are left out; those of " +
               (used.empty() ? "the set without a name" : show(used)) + " count";
    });
    return false;
}

void MpsReader::line_rhs(std::string_view line) {
    const Vector v = read_vector(line);
    if (!in_set(v.set, rhs_set_, "right-hand sides"))
        return;
    for (int k = 0; k < v.count; ++k)
        set_row(v.pairs[k].row, v.pairs[k].value);
}

void MpsReader::set_row(int row, double value) {
    if (row == kObjective) {
        if (!(std::fabs(value) < TSO_INFINITY))
            lines_.fail("a finite constant of the objective", number_text(value));
        problem_.constant = value == 0 ? 0 : -value;
        return;
    }
    const char type = row_type_[row];
    if ((type != 'L' && type != 'N' && !(value < TSO_INFINITY)) ||
        (type != 'G' && type != 'N' && !(value > -TSO_INFINITY)))
        lines_.fail("a right-hand side that can be met", number_text(value));
    rhs_[row] = value;
}

void MpsReader::line_ranges(std::string_view line) {
    const Vector v = read_vector(line);
    if (!in_set(v.set, ranges_set_, "ranges"))
        return;
    if (range_.empty())
        range_.assign(row_type_.size(), std::numeric_limits<long double>::quiet_NaN());
    for (int k = 0; k < v.count; ++k) {
        if (v.pairs[k].row == kObjective || row_type_[v.pairs[k].row] == 'N') {
            warn(ignored_, [] { return "the range of a row of type N means nothing and is left out"; });
            continue;
        }
        // In full width: the far end of the range, which is a sum, then is the very double that was written.
        parse_number(v.pairs[k].number, range_[v.pairs[k].row]);
    }
}

std::unique_ptr<Model> read_mps(const Env& env, const std::string& path, Compression compression) {
    return MpsReader(env, path, compression).read();
}

} // namespace tso::io
