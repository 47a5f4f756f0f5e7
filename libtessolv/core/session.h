// Session: what an engine keeps of a model between runs, so that solving again starts warm.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace tso {

// The base of what an engine keeps; the engine layer derives from it.
struct Session {
    virtual ~Session() = default;
};

// What has changed in the model since an engine was last given it. The model keeps this up to date; an engine reads it
// at the next run, sends just these edits and calls settle. Engine columns are in the model's order always, since
// elements are only ever appended or taken out. All indices are the model's of today: deletions renumber what stands
// here. So an engine first deletes its columns and rows that no origin names, and then its indices are the model's.
struct Changes {
    enum : unsigned char { kBounds = 1, kCost = 2, kType = 4 };

    bool everything = true; // no engine has the model, or edits were too many: send it whole
    std::vector<int> col_origin,
        row_origin; // model column j < size() is engine column col_origin[j]; further ones are new
    int engine_cols = 0, engine_rows = 0;          // how many the engine has
    std::vector<unsigned char> col, row;           // parallel to the origins: what changed of each (kBounds, ...)
    std::vector<std::pair<int, int>> coefficients; // (row, column), both known to the engine; may repeat
    bool any_col = false, any_row = false;         // whether col, row hold a non-zero mark
    bool quadratic = false, sense = false, constant = false;

    // The engine now has cols columns and rows rows, equal to the model.
    void settle(int cols, int rows);
    void drop() { *this = Changes(); }

    // What the model's edits call. While everything is true they cost nothing.
    void mark_col(int j, unsigned char what) {
        if (!everything && static_cast<size_t>(j) < col.size()) {
            col[j] |= what;
            any_col = true;
        }
    }
    void mark_row(int i, unsigned char what) {
        if (!everything && static_cast<size_t>(i) < row.size()) {
            row[i] |= what;
            any_row = true;
        }
    }
    void mark_coefficient(int i, int j);
    // Elements go: gone and new_index (-1 for those that go) have an entry for every element of the model.
    void erase_cols(const std::vector<char>& gone, const std::vector<int>& new_index);
    void erase_rows(const std::vector<char>& gone, const std::vector<int>& new_index);
};

} // namespace tso
