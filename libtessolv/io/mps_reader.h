// MpsReader: reads MPS files, free and fixed form. mps_read.cpp has the lines, rows and columns, mps_read_special.cpp
// bounds, quadratic terms, sets and indicators and what is done at the end.
#pragma once

#include "io/problem.h"
#include "io/reader.h"

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tso::io {

class MpsReader {
public:
    MpsReader(const Env& env, const std::string& path, Compression compression)
        : env_(env), lines_(path, compression) {}

    std::unique_ptr<Model> read();

private:
    static constexpr int kObjective = -1; // in place of a row's index
    static constexpr int kNone = -2;

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

    struct Vector { // a line of RHS or RANGES
        std::string_view set;
        Pair pairs[2];
        int count = 0;
    };

    struct Warning { // the first of its kind, and how many there were
        std::string text;
        int64_t count = 0;
    };

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
    template <class Text> void warn(Warning& warning, Text&& text); // text() is called for the first of its kind only
    void check_name(std::string_view word) const;
    void set_sense(std::string_view word);
    void add_member(int col, std::string_view weight);
    void set_row(int row, double value);

    // The fields of a line by blanks or by columns; see resolve.
    static Fields free_fields(std::string_view line);
    static Fields fixed_fields(std::string_view line);
    template <class Resolve> auto resolve(std::string_view line, Resolve&& try_fields);
    bool resolve_pairs(const Fields& f, int first, Pair* pairs, int& count, Complaint& complaint) const;
    Vector read_vector(std::string_view line);
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
    std::vector<int> last_entry_;    // position of the row's last entry, -1
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

template <class Text> void MpsReader::warn(Warning& warning, Text&& text) {
    if (warning.count++ == 0)
        warning.text = lines_.path() + ":" + std::to_string(lines_.number()) + ": " + text();
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

} // namespace tso::io
