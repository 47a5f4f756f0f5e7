// Model: adding columns and linear rows.
#include "core/model.h"

#include "core/growth.h"

namespace tso {

void Model::append_col(double cost, double lower, double upper, char type, std::string_view name) {
    if (type == TSO_BINARY) {
        lower = std::max(lower, 0.0);
        upper = std::min(upper, 1.0);
    }
    cols_.lower.push_back(lower);
    cols_.upper.push_back(upper);
    cols_.cost.push_back(cost);
    cols_.type.push_back(type);
    if (!cols_.start.empty())
        cols_.start.push_back(TSO_UNDEFINED);
    if (!cols_.basis.empty())
        cols_.basis.push_back(resting_status(lower, upper));
    cols_.names.append(name);
    num_discrete_ += type != TSO_CONTINUOUS;
}

void Model::append_row(double lower, double upper, std::string_view name) {
    rows_.lower.push_back(lower);
    rows_.upper.push_back(upper);
    if (!rows_.basis.empty())
        rows_.basis.push_back(TSO_BASIS_BASIC);
    if (!rows_.kind.empty()) {
        rows_.kind.push_back(RowKind::Linear);
        rows_.quadratic.emplace_back();
        rows_.psd.emplace_back();
    }
    rows_.names.append(name);
}

namespace {

template <class T> void cut(std::vector<T>& v, size_t size) {
    if (v.size() > size)
        v.erase(v.begin() + static_cast<std::ptrdiff_t>(size), v.end());
}

} // namespace

void Model::truncate_cols(int size, bool entries) {
    const auto n = static_cast<size_t>(size);
    // The name is appended last, and the count of discrete columns with it.
    for (int j = size; j < cols_.names.size(); ++j)
        num_discrete_ -= cols_.type[j] != TSO_CONTINUOUS;
    cut(cols_.lower, n);
    cut(cols_.upper, n);
    cut(cols_.cost, n);
    cut(cols_.type, n);
    cut(cols_.start, n);
    cut(cols_.basis, n);
    cols_.names.truncate(size);
    if (entries)
        rows_.matrix.truncate_columns(size);
}

void Model::truncate_rows(int size) {
    const auto n = static_cast<size_t>(size);
    cut(rows_.lower, n);
    cut(rows_.upper, n);
    cut(rows_.basis, n);
    cut(rows_.kind, n);
    cut(rows_.quadratic, n);
    cut(rows_.psd, n);
    rows_.names.truncate(size);
    rows_.matrix.truncate_rows(size);
}

// Entries of column j, which stands behind all others, in any order.
void Model::append_col_entries(int j, int count, const int* row, const double* val) {
    RowMatrix& matrix = rows_.matrix;
    for (int k = 0; k < count; ++k) {
        const auto columns = matrix.columns_of(row[k]);
        if (!columns.empty() && columns.back() == j)
            matrix.set(row[k], j, checked_finite(matrix.values_of(row[k]).back() + val[k]));
        else if (val[k] != 0)
            matrix.append_entry(row[k], j, val[k]);
    }
}

void Model::add_col(int count, const int* row, const double* val, double cost, double lower, double upper, char type,
                    const char* name) {
    check_arrays(count, row, val);
    check_entries(count, row, val, rows_.size(), TSO_MODEL_INVALID_ROW_IDX);
    checked_finite(cost);
    lower = checked_lower(lower);
    upper = checked_upper(upper);
    type = checked_type(type);
    const std::string_view text = checked_name(name);
    const int j = cols_.size();
    try {
        append_col(cost, lower, upper, type, text);
        append_col_entries(j, count, row, val);
    } catch (...) {
        truncate_cols(j, count > 0);
        throw;
    }
}

void Model::add_cols(int count, int entries, const int* begin, const int* row, const double* val, const double* cost,
                     const double* lower, const double* upper, const char* type, const char* const* names) {
    require(count >= 0 && entries >= 0, TSO_INVALID_ARGUMENT);
    if (entries > 0) {
        require(begin && row && val && count > 0, TSO_INVALID_ARGUMENT);
        check_begins(count, entries, begin);
        check_entries(entries, row, val, rows_.size(), TSO_MODEL_INVALID_ROW_IDX);
    }
    require(count <= INT32_MAX - cols_.size(), TSO_NOMEMORY);
    size_t bytes = 0;
    for (int k = 0; k < count; ++k) {
        if (cost)
            checked_finite(cost[k]);
        if (lower)
            checked_lower(lower[k]);
        if (upper)
            checked_upper(upper[k]);
        if (type)
            checked_type(type[k]);
        if (names)
            bytes += checked_name(names[k]).size() + 1;
    }
    const int before = cols_.size();
    try {
        const auto extra = static_cast<size_t>(count);
        reserve_more(cols_.lower, extra);
        reserve_more(cols_.upper, extra);
        reserve_more(cols_.cost, extra);
        reserve_more(cols_.type, extra);
        cols_.names.reserve_more(count, bytes);
        for (int k = 0; k < count; ++k)
            append_col(cost ? cost[k] : 0, lower ? checked_lower(lower[k]) : 0,
                       upper ? checked_upper(upper[k]) : TSO_INFINITY, type ? checked_type(type[k]) : TSO_CONTINUOUS,
                       names ? checked_name(names[k]) : std::string_view());
        if (entries > 0)
            for (int k = 0; k < count; ++k)
                append_col_entries(before + k, (k + 1 < count ? begin[k + 1] : entries) - begin[k], row + begin[k],
                                   val + begin[k]);
    } catch (...) {
        truncate_cols(before, entries > 0);
        throw;
    }
}

void Model::add_row(int count, const int* col, const double* val, double lower, double upper, const char* name) {
    check_arrays(count, col, val);
    const bool fit = check_entries(count, col, val, cols_.size(), TSO_MODEL_INVALID_COL_IDX);
    lower = checked_lower(lower);
    upper = checked_upper(upper);
    const std::string_view text = checked_name(name);
    entries_.assign(count, col, val, fit);
    const int i = rows_.size();
    try {
        append_row(lower, upper, text);
        rows_.matrix.append_row(entries_.ind(), entries_.val(), entries_.count());
    } catch (...) {
        truncate_rows(i);
        throw;
    }
}

void Model::add_rows(int count, int entries, const int* begin, const int* col, const double* val, const double* lower,
                     const double* upper, const char* const* names) {
    require(count >= 0 && entries >= 0, TSO_INVALID_ARGUMENT);
    if (entries > 0) {
        require(begin && col && val && count > 0, TSO_INVALID_ARGUMENT);
        check_begins(count, entries, begin);
        check_entries(entries, col, val, cols_.size(), TSO_MODEL_INVALID_COL_IDX);
    }
    require(count <= INT32_MAX - rows_.size(), TSO_NOMEMORY);
    size_t bytes = 0;
    for (int k = 0; k < count; ++k) {
        if (lower)
            checked_lower(lower[k]);
        if (upper)
            checked_upper(upper[k]);
        if (names)
            bytes += checked_name(names[k]).size() + 1;
    }
    const int before = rows_.size();
    try {
        reserve_more(rows_.lower, static_cast<size_t>(count));
        reserve_more(rows_.upper, static_cast<size_t>(count));
        rows_.names.reserve_more(count, bytes);
        rows_.matrix.reserve_more(count, entries);
        for (int k = 0; k < count; ++k) {
            append_row(lower ? checked_lower(lower[k]) : -TSO_INFINITY, upper ? checked_upper(upper[k]) : TSO_INFINITY,
                       names ? checked_name(names[k]) : std::string_view());
            const int at = entries > 0 ? begin[k] : 0;
            const int n = entries > 0 ? (k + 1 < count ? begin[k + 1] : entries) - at : 0;
            entries_.assign(n, col + at, val + at,
                            check_entries(n, col + at, val + at, cols_.size(), TSO_MODEL_INVALID_COL_IDX));
            rows_.matrix.append_row(entries_.ind(), entries_.val(), entries_.count());
        }
    } catch (...) {
        truncate_rows(before);
        throw;
    }
}

} // namespace tso
