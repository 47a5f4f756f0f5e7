#include "core/row_matrix.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace tso {

double RowMatrix::get(int i, int j) const {
    const auto columns = columns_of(i);
    const auto at = std::lower_bound(columns.begin(), columns.end(), j);
    return at == columns.end() || *at != j ? 0 : values_of(i)[static_cast<size_t>(at - columns.begin())];
}

const RowMatrix::Columns& RowMatrix::by_column(int cols) const {
    if (columns_valid_ && columns_.begin.size() == static_cast<size_t>(cols) + 1)
        return columns_;
    columns_valid_ = false;
    columns_.begin.assign(static_cast<size_t>(cols) + 1, 0);
    columns_.row.resize(static_cast<size_t>(entries_));
    columns_.value.resize(static_cast<size_t>(entries_));
    for (int i = 0; i < rows(); ++i)
        for (int j : columns_of(i))
            ++columns_.begin[static_cast<size_t>(j) + 1];
    for (size_t j = 0; j < static_cast<size_t>(cols); ++j)
        columns_.begin[j + 1] += columns_.begin[j];
    std::vector<int64_t> next(columns_.begin.begin(), columns_.begin.end() - 1);
    for (int i = 0; i < rows(); ++i) {
        const auto columns = columns_of(i);
        const auto values = values_of(i);
        for (size_t k = 0; k < columns.size(); ++k) {
            const auto at = static_cast<size_t>(next[static_cast<size_t>(columns[k])]++);
            columns_.row[at] = i;
            columns_.value[at] = values[k];
        }
    }
    columns_valid_ = true;
    return columns_;
}

void RowMatrix::append_empty_rows(int count) {
    rows_.reserve_more(static_cast<size_t>(count));
    for (int k = 0; k < count; ++k)
        rows_.append({static_cast<int64_t>(col_.size()), 0, 0});
    columns_valid_ = false;
}

void RowMatrix::append_entry(int i, int j, double v) {
    if (run(i).len == run(i).room)
        widen(i);
    Run& r = run(i);
    *columns_at(r.begin + r.len) = j;
    *values_at(r.begin + r.len) = v;
    ++r.len;
    ++entries_;
    columns_valid_ = false;
}

void RowMatrix::set(int i, int j, double v) {
    const auto columns = columns_of(i);
    const auto at = std::lower_bound(columns.begin(), columns.end(), j) - columns.begin();
    const bool there = at < run(i).len && columns[static_cast<size_t>(at)] == j;
    if (!there && v == 0)
        return;
    if (!there && run(i).len == run(i).room)
        widen(i);
    Run& r = run(i);
    int* const col = columns_at(r.begin + at);
    double* const val = values_at(r.begin + at);
    const auto behind = static_cast<size_t>(r.len - at);
    if (there && v != 0) {
        *val = v;
    } else if (there) {
        std::memmove(col, col + 1, (behind - 1) * sizeof(int));
        std::memmove(val, val + 1, (behind - 1) * sizeof(double));
        --r.len;
        --entries_;
    } else {
        std::memmove(col + 1, col, behind * sizeof(int));
        std::memmove(val + 1, val, behind * sizeof(double));
        *col = j;
        *val = v;
        ++r.len;
        ++entries_;
    }
    columns_valid_ = false;
}

// Gives row i room for one entry more at least, doubling it so that entries come in amortised constant time.
void RowMatrix::widen(int i) {
    const int64_t room = std::min<int64_t>(std::max<int64_t>(4, 2 * static_cast<int64_t>(run(i).len)), INT32_MAX);
    Run& r = run(i);
    const auto end = static_cast<int64_t>(col_.size());
    const bool last = r.begin + r.room == end;
    const auto extra = static_cast<size_t>(last ? room - r.room : room);
    col_.reserve_more(extra);
    val_.reserve_more(extra);
    col_.grow(extra);
    val_.grow(extra);
    if (!last) {
        std::copy_n(columns_at(r.begin), r.len, columns_at(end));
        std::copy_n(values_at(r.begin), r.len, values_at(end));
        abandoned_ += r.room;
        r.begin = end;
    }
    r.room = static_cast<int>(room);
    compact();
}

void RowMatrix::erase_rows(const std::vector<char>& gone) {
    size_t kept = 0;
    for (size_t i = 0; i < rows_.size(); ++i) {
        if (gone[i]) {
            entries_ -= rows_[i].len;
            abandoned_ += rows_[i].room;
        } else {
            rows_[kept++] = rows_[i];
        }
    }
    rows_.shrink(kept);
    columns_valid_ = false;
    compact();
}

void RowMatrix::erase_columns(const std::vector<int>& new_index) {
    for (int i = 0; i < rows(); ++i) {
        Run& r = run(i);
        int* const col = columns_at(r.begin);
        double* const val = values_at(r.begin);
        int kept = 0;
        for (int k = 0; k < r.len; ++k) {
            const int j = new_index[static_cast<size_t>(col[k])];
            col[kept] = j; // written in any case: that costs less than a branch that nobody can foresee
            val[kept] = val[k];
            kept += j >= 0;
        }
        entries_ -= r.len - kept;
        r.len = kept;
    }
    columns_valid_ = false;
}

void RowMatrix::truncate_rows(int rows) {
    for (int i = rows; i < this->rows(); ++i) {
        entries_ -= run(i).len;
        abandoned_ += run(i).room;
    }
    rows_.shrink(static_cast<size_t>(rows));
    columns_valid_ = false;
    compact();
}

void RowMatrix::truncate_columns(int cols) {
    for (int i = 0; i < rows(); ++i)
        while (run(i).len > 0 && columns_of(i).back() >= cols) {
            --run(i).len;
            --entries_;
        }
    columns_valid_ = false;
}

void RowMatrix::reserve_more(int rows, int64_t entries) {
    rows_.reserve_more(static_cast<size_t>(rows));
    col_.reserve_more(static_cast<size_t>(entries));
    val_.reserve_more(static_cast<size_t>(entries));
}

void RowMatrix::clear() { *this = RowMatrix(); }

// Rewrites the pool when more than half of it is abandoned. Every row keeps its room, so that what was about to be
// written still fits. Without memory for a new pool the old one stays.
void RowMatrix::compact() noexcept {
    const auto used = static_cast<int64_t>(col_.size()) - abandoned_;
    if (abandoned_ < 1024 || abandoned_ <= used)
        return;
    try {
        Pool<int> col;
        Pool<double> val;
        col.grow(static_cast<size_t>(used));
        val.grow(static_cast<size_t>(used));
        int64_t at = 0;
        for (int i = 0; i < rows(); ++i) {
            Run& r = run(i);
            std::copy_n(columns_at(r.begin), r.len, col.data() + at);
            std::copy_n(values_at(r.begin), r.len, val.data() + at);
            r.begin = at;
            at += r.room;
        }
        col_.swap(col);
        val_.swap(val);
        abandoned_ = 0;
    } catch (const std::bad_alloc&) {
    }
}

} // namespace tso
