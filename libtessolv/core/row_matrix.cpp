#include "core/row_matrix.h"

#include "core/growth.h"

#include <cstring>
#include <new>

namespace tso {

double RowMatrix::get(int i, int j) const {
    const auto columns = columns_of(i);
    const auto at = std::lower_bound(columns.begin(), columns.end(), j);
    return at == columns.end() || *at != j ? 0 : val_[static_cast<size_t>(begin_[i] + (at - columns.begin()))];
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
        const int64_t begin = begin_[i];
        for (int64_t k = begin; k < begin + len_[i]; ++k) {
            const auto at = static_cast<size_t>(next[col_[k]]++);
            columns_.row[at] = i;
            columns_.value[at] = val_[k];
        }
    }
    columns_valid_ = true;
    return columns_;
}

void RowMatrix::append_row(const int* col, const double* val, int count) {
    reserve_more(1, count);
    begin_.push_back(static_cast<int64_t>(col_.size()));
    len_.push_back(count);
    room_.push_back(count);
    col_.insert(col_.end(), col, col + count);
    val_.insert(val_.end(), val, val + count);
    entries_ += count;
    columns_valid_ = false;
}

void RowMatrix::append_empty_rows(int count) {
    reserve_more(count, 0);
    begin_.insert(begin_.end(), static_cast<size_t>(count), static_cast<int64_t>(col_.size()));
    len_.insert(len_.end(), static_cast<size_t>(count), 0);
    room_.insert(room_.end(), static_cast<size_t>(count), 0);
    columns_valid_ = false;
}

void RowMatrix::append_entry(int i, int j, double v) {
    if (len_[i] == room_[i])
        widen(i);
    const auto at = static_cast<size_t>(begin_[i] + len_[i]);
    col_[at] = j;
    val_[at] = v;
    ++len_[i];
    ++entries_;
    columns_valid_ = false;
}

void RowMatrix::set(int i, int j, double v) {
    const auto columns = columns_of(i);
    const auto at = std::lower_bound(columns.begin(), columns.end(), j) - columns.begin();
    const bool there = at < len_[i] && columns[static_cast<size_t>(at)] == j;
    if (!there && v == 0)
        return;
    if (!there && len_[i] == room_[i])
        widen(i);
    int* const col = col_.data() + begin_[i] + at;
    double* const val = val_.data() + begin_[i] + at;
    const auto behind = static_cast<size_t>(len_[i] - at);
    if (there && v != 0) {
        *val = v;
    } else if (there) {
        std::memmove(col, col + 1, (behind - 1) * sizeof(int));
        std::memmove(val, val + 1, (behind - 1) * sizeof(double));
        --len_[i];
        --entries_;
    } else {
        std::memmove(col + 1, col, behind * sizeof(int));
        std::memmove(val + 1, val, behind * sizeof(double));
        *col = j;
        *val = v;
        ++len_[i];
        ++entries_;
    }
    columns_valid_ = false;
}

// Gives row i room for one entry more at least, doubling it so that entries come in amortised constant time.
void RowMatrix::widen(int i) {
    const int64_t room = std::min<int64_t>(std::max<int64_t>(4, 2 * static_cast<int64_t>(len_[i])), INT32_MAX);
    const auto end = static_cast<int64_t>(col_.size());
    const bool last = begin_[i] + room_[i] == end;
    const auto size = static_cast<size_t>(last ? begin_[i] + room : end + room);
    tso::reserve_more(col_, size - col_.size());
    tso::reserve_more(val_, size - val_.size());
    col_.resize(size);
    val_.resize(size);
    if (!last) {
        std::memcpy(&col_[static_cast<size_t>(end)], col_.data() + begin_[i],
                    static_cast<size_t>(len_[i]) * sizeof(int));
        std::memcpy(&val_[static_cast<size_t>(end)], val_.data() + begin_[i],
                    static_cast<size_t>(len_[i]) * sizeof(double));
        abandoned_ += room_[i];
        begin_[i] = end;
    }
    room_[i] = static_cast<int>(room);
    compact();
}

void RowMatrix::erase_rows(const std::vector<char>& gone) {
    for (int i = 0; i < rows(); ++i)
        if (gone[i]) {
            entries_ -= len_[i];
            abandoned_ += room_[i];
        }
    erase_marked(begin_, gone);
    erase_marked(len_, gone);
    erase_marked(room_, gone);
    columns_valid_ = false;
    compact();
}

void RowMatrix::erase_columns(const std::vector<char>& gone, const std::vector<int>& new_index) {
    for (int i = 0; i < rows(); ++i) {
        int* const col = col_.data() + begin_[i];
        double* const val = val_.data() + begin_[i];
        int kept = 0;
        for (int k = 0; k < len_[i]; ++k)
            if (!gone[col[k]]) {
                col[kept] = new_index[col[k]];
                val[kept++] = val[k];
            }
        entries_ -= len_[i] - kept;
        len_[i] = kept;
    }
    columns_valid_ = false;
}

void RowMatrix::truncate_rows(int rows) {
    for (int i = rows; i < this->rows(); ++i) {
        entries_ -= len_[i];
        abandoned_ += room_[i];
    }
    begin_.resize(static_cast<size_t>(rows));
    len_.resize(static_cast<size_t>(rows));
    room_.resize(static_cast<size_t>(rows));
    columns_valid_ = false;
    compact();
}

void RowMatrix::truncate_columns(int cols) {
    for (int i = 0; i < rows(); ++i)
        while (len_[i] > 0 && col_[static_cast<size_t>(begin_[i] + len_[i] - 1)] >= cols) {
            --len_[i];
            --entries_;
        }
    columns_valid_ = false;
}

void RowMatrix::reserve_more(int rows, int64_t entries) {
    tso::reserve_more(begin_, static_cast<size_t>(rows));
    tso::reserve_more(len_, static_cast<size_t>(rows));
    tso::reserve_more(room_, static_cast<size_t>(rows));
    tso::reserve_more(col_, static_cast<size_t>(entries));
    tso::reserve_more(val_, static_cast<size_t>(entries));
}

void RowMatrix::clear() { *this = RowMatrix(); }

// Rewrites the pool when more than half of it is abandoned. Every row keeps its room, so that what was about to be
// written still fits. Without memory for a new pool the old one stays.
void RowMatrix::compact() noexcept {
    const auto used = static_cast<int64_t>(col_.size()) - abandoned_;
    if (abandoned_ < 1024 || abandoned_ <= used)
        return;
    try {
        std::vector<int> col(static_cast<size_t>(used));
        std::vector<double> val(static_cast<size_t>(used));
        int64_t at = 0;
        for (int i = 0; i < rows(); ++i) {
            std::copy_n(col_.data() + begin_[i], len_[i], col.data() + at);
            std::copy_n(val_.data() + begin_[i], len_[i], val.data() + at);
            begin_[i] = at;
            at += room_[i];
        }
        col_.swap(col);
        val_.swap(val);
        abandoned_ = 0;
    } catch (const std::bad_alloc&) {
    }
}

} // namespace tso
