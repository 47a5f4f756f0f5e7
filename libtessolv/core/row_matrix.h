// RowMatrix: the linear coefficients, by row, with room to grow at every row.
#pragma once

#include "core/pool.h"

#include <cstdint>
#include <span>
#include <vector>

namespace tso {

// Each row is a run in one pool of entries, sorted by column without repetition. A row that outgrows its room moves to
// the end of the pool; the pool is compacted when more than half of it is abandoned. Appending a row, and appending an
// entry of a new column to a row, take amortised constant time.
class RowMatrix {
public:
    struct Columns { // the same entries by column: entries of column j at begin[j] .. begin[j+1]-1, rows rising
        std::vector<int64_t> begin;
        std::vector<int> row;
        std::vector<double> value;
    };

    int rows() const { return static_cast<int>(rows_.size()); }
    int64_t entries() const { return entries_; }

    std::span<const int> columns_of(int i) const {
        return {col_.data() + run(i).begin, static_cast<size_t>(run(i).len)};
    }
    std::span<const double> values_of(int i) const {
        return {val_.data() + run(i).begin, static_cast<size_t>(run(i).len)};
    }
    double get(int i, int j) const;           // binary search
    const Columns& by_column(int cols) const; // built on demand, kept until the next change

    // Entries must be sorted by column without repetition (see Entries in entries.h).
    void append_row(const int* col, const double* val, int count) {
        rows_.reserve_more(1);
        col_.reserve_more(static_cast<size_t>(count));
        val_.reserve_more(static_cast<size_t>(count));
        rows_.append({static_cast<int64_t>(col_.size()), count, count});
        col_.append(col, static_cast<size_t>(count));
        val_.append(val, static_cast<size_t>(count));
        entries_ += count;
        columns_valid_ = false;
    }
    void append_empty_rows(int count);
    void append_entry(int i, int j, double v); // j above every column of row i
    void set(int i, int j, double v);          // 0 takes the entry out
    void erase_rows(const std::vector<char>& gone);
    void erase_columns(const std::vector<int>& new_index); // -1 for those that go
    void truncate_rows(int rows);
    void truncate_columns(int cols); // takes out the entries of columns `cols` and above
    void reserve_more(int rows, int64_t entries);
    void clear();

private:
    struct Run {
        int64_t begin;
        int len, room;
    };
    Run& run(int i) { return rows_[static_cast<size_t>(i)]; }
    const Run& run(int i) const { return rows_[static_cast<size_t>(i)]; }
    int* columns_at(int64_t k) { return col_.data() + k; }
    double* values_at(int64_t k) { return val_.data() + k; }
    void widen(int i);
    void compact() noexcept;

    Pool<Run> rows_;
    Pool<int> col_;
    Pool<double> val_;
    int64_t entries_ = 0, abandoned_ = 0;
    mutable Columns columns_;
    mutable bool columns_valid_ = false;
};

} // namespace tso
