// RowMatrix: the linear coefficients, by row, with room to grow at every row.
#pragma once

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

    int rows() const { return static_cast<int>(begin_.size()); }
    int64_t entries() const { return entries_; }

    std::span<const int> columns_of(int i) const { return {col_.data() + begin_[i], static_cast<size_t>(len_[i])}; }
    std::span<const double> values_of(int i) const { return {val_.data() + begin_[i], static_cast<size_t>(len_[i])}; }
    double get(int i, int j) const;           // binary search
    const Columns& by_column(int cols) const; // built on demand, kept until the next change

    // Entries must be sorted by column without repetition (see Entries in entries.h).
    void append_row(const int* col, const double* val, int count);
    void append_empty_rows(int count);
    void append_entry(int i, int j, double v); // j above every column of row i
    void set(int i, int j, double v);          // 0 takes the entry out
    void erase_rows(const std::vector<char>& gone);
    void erase_columns(const std::vector<char>& gone, const std::vector<int>& new_index);
    void truncate_rows(int rows);
    void truncate_columns(int cols); // takes out the entries of columns `cols` and above
    void reserve_more(int rows, int64_t entries);
    void clear();

private:
    void widen(int i);
    void compact() noexcept;

    std::vector<int64_t> begin_;
    std::vector<int> len_, room_;
    std::vector<int> col_;
    std::vector<double> val_;
    int64_t entries_ = 0, abandoned_ = 0;
    mutable Columns columns_;
    mutable bool columns_valid_ = false;
};

} // namespace tso
