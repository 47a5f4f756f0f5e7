// MPS files, free and fixed form.
#include "core/log.h"
#include "io/model_files.h"
#include "io/problem.h"
#include "io/text.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <unordered_map>

namespace tso::io {

namespace {

constexpr int kObjective = -1; // in place of a row's index
constexpr int kNone = -2;

struct Fields {
    static constexpr int kMost = 6;
    std::string_view at[kMost];
    int count = 0; // kMost + 1 if there are more
};

// What a line lacks, for the message.
struct Complaint {
    const char* expected = nullptr;
    std::string_view found;
};

struct Pair { // of a row and a number, as lines of COLUMNS, RHS and RANGES hold one or two
    int row;
    std::string_view number;
    double value;
};

struct Warning { // the first of its kind, and how many there were
    std::string text;
    int64_t count = 0;
};

class MpsReader {
public:
    MpsReader(const Env& env, const std::string& path, Compression compression)
        : env_(env), lines_(path, compression) {}

    std::unique_ptr<Model> read();

private:
    using Handler = void (MpsReader::*)(std::string_view line);
    struct Section {
        std::string_view keyword; // lower case
        void (MpsReader::*enter)(std::string_view rest);
        Handler line; // null: no data lines
    };
    static const Section kSections[];
    static const Section* find_section(std::string_view keyword);

    void enter_plain(std::string_view) {}
    void enter_name(std::string_view rest);
    void enter_sense(std::string_view rest);
    void enter_objective_name(std::string_view rest);
    void enter_quadratic_row(std::string_view rest);
    void enter_qsection(std::string_view rest);
    void enter_quadobj(std::string_view rest);
    void enter_qmatrix(std::string_view rest);
    void enter_sos(std::string_view rest);

    void line_sense(std::string_view line) { set_sense(trim(line)); }
    void line_objective_name(std::string_view line) { objective_name_ = trim(line); }
    void line_rows(std::string_view line);
    void line_columns(std::string_view line);
    void line_rhs(std::string_view line);
    void line_ranges(std::string_view line);
    void line_bounds(std::string_view line);
    void line_quadratic(std::string_view line);
    void line_sos(std::string_view line);
    void line_indicators(std::string_view line);

    [[noreturn]] void fail(const Complaint& c) const { lines_.fail(c.expected, c.found); }
    void warn(Warning& warning, const std::string& text);
    void check_name(std::string_view word) const;
    void set_sense(std::string_view word);
    void add_member(int col, std::string_view weight);
    void set_row(int row, double value);

    // The fields of a line by blanks or by columns; see resolve.
    static Fields free_fields(std::string_view line);
    static Fields fixed_fields(std::string_view line);
    template <class Resolve> auto resolve(std::string_view line, Resolve&& try_fields);
    bool resolve_pairs(const Fields& f, int first, Pair* pairs, int& count, Complaint& complaint) const;
    bool resolve_vector(const Fields& f, std::string_view& set, Pair* pairs, int& count, Complaint& complaint) const;
    bool in_set(std::string_view set, std::string& used, const char* what);
    int find_row(std::string_view word) const;

    void begin_column(std::string_view word);
    void add_entry(int row, double value);
    void apply_bound(int kind, int j, double value, bool has_value);

    void finish_columns();
    void finish_rows();

    const Env& env_;
    Lines lines_;
    Problem problem_;
    const Section* section_ = nullptr;
    bool fixed_ = false; // a line was met that only the fixed form explains: from there on fields are columns

    // Rows as the file has them; of these the objective and the indicated rows are none of the model.
    NameTable rows_;
    std::vector<char> row_type_;
    std::vector<double> rhs_;
    std::vector<long double> range_; // NaN where there is none; empty while there are none at all
    std::vector<int> last_col_;      // the last column with an entry in the row
    std::vector<int> indicator_of_;  // index into indicators_, -1; empty while there are none
    struct IndicatorRow {
        int row, col, value;
        int64_t line;
    };
    std::vector<IndicatorRow> indicators_;
    int objective_ = kNone;
    std::string objective_name_, rhs_set_, ranges_set_, bounds_set_;
    bool seen_rhs_set_ = false, seen_ranges_set_ = false, seen_bounds_set_ = false;

    // Linear entries by column.
    std::vector<int> col_begin_, entry_row_;
    std::vector<double> entry_value_;
    int col_ = -1;
    std::string_view col_word_;
    bool in_integers_ = false;
    enum : unsigned char { kMarker = 1, kBound = 2, kLowerGiven = 4 };
    std::vector<unsigned char> col_flags_;

    // Where quadratic lines go.
    std::vector<QuadTerm>* terms_ = nullptr;
    bool half_ = false, both_triangles_ = false;
    int terms_row_ = kObjective;
    std::unordered_map<int, std::vector<QuadTerm>> quadratic_rows_;
    std::unordered_map<int, std::unordered_map<uint64_t, size_t>> mirrored_; // position of each pair in its list

    int sos_type_ = 0; // of the section, 0 if each set tells its own

    Warning negative_upper_, repeated_, other_set_, ignored_;
};

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

void MpsReader::warn(Warning& warning, const std::string& text) {
    if (warning.count++ == 0)
        warning.text = lines_.path() + ":" + std::to_string(lines_.number()) + ": " + text;
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

Fields MpsReader::free_fields(std::string_view line) {
    Fields f;
    f.count = split(line, f.at, Fields::kMost);
    return f;
}

// The fields of the fixed form: columns 2-3, 5-12, 15-22, 25-36, 40-47, 50-61. The first may be empty; trailing ones
// that are empty do not count.
Fields MpsReader::fixed_fields(std::string_view line) {
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

// Calls try_fields(fields, fixed, complaint) with the fields of the form that the file has shown so far. A line that
// the free form cannot explain, since names hold blanks, may turn out to have the fixed form: then so have all lines
// that follow. Those before it read the same either way, or they would not have been accepted.
template <class Resolve> auto MpsReader::resolve(std::string_view line, Resolve&& try_fields) {
    Complaint complaint;
    if (!fixed_) {
        auto result = try_fields(free_fields(line), false, complaint);
        if (result)
            return result;
    }
    Complaint of_fixed;
    const Fields f = fixed_fields(line);
    auto result = f.count <= Fields::kMost ? try_fields(f, true, of_fixed) : decltype(try_fields(f, true, of_fixed))();
    if (!result) {
        if (fixed_ && !of_fixed.expected)
            of_fixed = {"fields in columns 2, 5, 15, 25, 40 and 50", trim(line)};
        fail(fixed_ ? of_fixed : complaint);
    }
    fixed_ = true;
    return result;
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
        last_col_.push_back(-1);
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
    if (last_col_[row] == col_) {
        warn(repeated_, "row " + show(rows_.name(row)) + " stands twice in a column; its values are added up");
        size_t k = entry_row_.size();
        while (entry_row_[--k] != row) {
        }
        entry_value_[k] += value;
        if (!(std::fabs(entry_value_[k]) < TSO_INFINITY))
            lines_.fail("a finite sum of values", number_text(entry_value_[k]));
        return;
    }
    if (entry_row_.size() == INT32_MAX)
        lines_.fail("expected at most 2147483647 entries, found more");
    last_col_[row] = col_;
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

bool MpsReader::resolve_vector(const Fields& f, std::string_view& set, Pair* pairs, int& count,
                               Complaint& complaint) const {
    // The set's name may be missing: then the number of fields is even.
    if (f.count < 2 || f.count > 5) {
        complaint = {"a set's name and one or two pairs of row and number", f.count < 2 ? f.at[0] : f.at[5]};
        return false;
    }
    const int first = f.count % 2;
    set = first ? f.at[0] : std::string_view();
    return resolve_pairs(f, first, pairs, count, complaint);
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
    warn(other_set_, std::string("the ") + what + " of the set " + show(set) + " are left out; those of " +
                         (used.empty() ? "the set without a name" : show(used)) + " count");
    return false;
}

void MpsReader::line_rhs(std::string_view line) {
    std::string_view set;
    Pair pairs[2];
    int count = 0;
    resolve(line, [&](const Fields& f, bool fixed, Complaint& complaint) {
        if (!fixed)
            return resolve_vector(f, set, pairs, count, complaint);
        set = f.at[1];
        if (f.count < 4 || !f.at[0].empty()) {
            complaint = {"a set's name and one or two pairs of row and number", trim(line)};
            return false;
        }
        return resolve_pairs(f, 2, pairs, count, complaint);
    });
    if (!in_set(set, rhs_set_, "right-hand sides"))
        return;
    for (int k = 0; k < count; ++k)
        set_row(pairs[k].row, pairs[k].value);
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
    std::string_view set;
    Pair pairs[2];
    int count = 0;
    resolve(line, [&](const Fields& f, bool fixed, Complaint& complaint) {
        if (!fixed)
            return resolve_vector(f, set, pairs, count, complaint);
        set = f.at[1];
        if (f.count < 4 || !f.at[0].empty()) {
            complaint = {"a set's name and one or two pairs of row and number", trim(line)};
            return false;
        }
        return resolve_pairs(f, 2, pairs, count, complaint);
    });
    if (!in_set(set, ranges_set_, "ranges"))
        return;
    if (range_.empty())
        range_.assign(row_type_.size(), std::numeric_limits<long double>::quiet_NaN());
    for (int k = 0; k < count; ++k) {
        if (pairs[k].row == kObjective || row_type_[pairs[k].row] == 'N') {
            warn(ignored_, "the range of a row of type N means nothing and is left out");
            continue;
        }
        // In full width: the far end of the range, which is a sum, then is the very double that was written.
        parse_number(pairs[k].number, range_[pairs[k].row]);
    }
}

// ---- BOUNDS --------------------------------------------------------------------------------------------------------

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

} // namespace

std::unique_ptr<Model> read_mps(const Env& env, const std::string& path, Compression compression) {
    return MpsReader(env, path, compression).read();
}

} // namespace tso::io
