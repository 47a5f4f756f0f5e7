// Model: quadratic terms, semi-definite elements, special ordered sets, indicators.
#include "core/model.h"

#include "core/growth.h"

#include <tuple>

namespace tso {

namespace {

// Puts an entry of a symmetric matrix into the lower triangle.
template <class T> void fold_down(T& entry) {
    if (entry.row < entry.col)
        std::swap(entry.row, entry.col);
}

// Sorts, adds up what stands at one position, takes out zeros. `key` gives the position.
template <class T, class Key> void merge_positions(std::vector<T>& v, Key key) {
    std::stable_sort(v.begin(), v.end(), [&](const T& a, const T& b) { return key(a) < key(b); });
    size_t kept = 0;
    for (size_t k = 0; k < v.size();) {
        T sum = v[k];
        for (++k; k < v.size() && key(v[k]) == key(sum); ++k)
            sum.value += v[k].value;
        checked_finite(sum.value);
        if (sum.value != 0)
            v[kept++] = sum;
    }
    v.resize(kept);
}

} // namespace

std::vector<QuadTerm> Model::checked_terms(int terms, const int* row, const int* col, const double* val) const {
    check_arrays(terms, row, col, val);
    std::vector<QuadTerm> result;
    result.reserve(static_cast<size_t>(terms));
    for (int k = 0; k < terms; ++k) {
        check_index(row[k], cols_.size(), TSO_MODEL_INVALID_COL_IDX);
        check_index(col[k], cols_.size(), TSO_MODEL_INVALID_COL_IDX);
        result.push_back({row[k], col[k], checked_finite(val[k])});
    }
    return result;
}

void Model::add_quadratic(int terms, const int* row, const int* col, const double* val) {
    const std::vector<QuadTerm> added = checked_terms(terms, row, col, val);
    quadratic_.insert(quadratic_.end(), added.begin(), added.end());
    changes.quadratic |= terms > 0;
}

void Model::clear_quadratic() {
    changes.quadratic |= !quadratic_.empty();
    std::vector<QuadTerm>().swap(quadratic_);
}

// Appends a row that is not linear. The first such row gives every row a kind.
void Model::add_special_row(RowKind kind, const Entries& linear, std::vector<QuadTerm> quadratic,
                            std::vector<PsdTerm> psd, double lower, double upper, std::string_view name) {
    const int i = rows_.size();
    try {
        rows_.quadratic.resize(rows_.lower.size());
        rows_.psd.resize(rows_.lower.size());
        rows_.kind.resize(rows_.lower.size(), RowKind::Linear);
        reserve_more(rows_.kind, 1);
        append_row(lower, upper, name);
        if (static_cast<int>(rows_.kind.size()) == i) { // it was the first row of all, which append_row can't see
            rows_.kind.push_back(kind);
            rows_.quadratic.emplace_back();
            rows_.psd.emplace_back();
        }
        rows_.matrix.append_row(linear.ind(), linear.val(), linear.count());
    } catch (...) {
        truncate_rows(i);
        throw;
    }
    rows_.kind.back() = kind;
    rows_.quadratic.back() = std::move(quadratic);
    rows_.psd.back() = std::move(psd);
    num_quadratic_rows_ += kind == RowKind::Quadratic;
    num_psd_rows_ += kind == RowKind::Psd;
    changes.drop();
}

void Model::add_quadratic_row(int linear, const int* lind, const double* lval, int terms, const int* qrow,
                              const int* qcol, const double* qval, double lower, double upper, const char* name) {
    check_arrays(linear, lind, lval);
    const bool fit = check_entries(linear, lind, lval, cols_.size(), TSO_MODEL_INVALID_COL_IDX);
    std::vector<QuadTerm> quadratic = checked_terms(terms, qrow, qcol, qval);
    lower = checked_lower(lower);
    upper = checked_upper(upper);
    const std::string_view text = checked_name(name);
    entries_.assign(linear, lind, lval, fit);
    add_special_row(RowKind::Quadratic, entries_, std::move(quadratic), {}, lower, upper, text);
}

void Model::add_psd_row(int linear, const int* cind, const double* cval, int terms, const int* pind, const int* prow,
                        const int* pcol, const double* pval, double lower, double upper, const char* name) {
    check_arrays(linear, cind, cval);
    check_arrays(terms, pind, prow, pcol, pval);
    const bool fit = check_entries(linear, cind, cval, cols_.size(), TSO_MODEL_INVALID_COL_IDX);
    std::vector<PsdTerm> psd;
    psd.reserve(static_cast<size_t>(terms));
    for (int k = 0; k < terms; ++k) {
        check_index(pind[k], static_cast<int>(psdvars_.size()), TSO_MODEL_INVALID_SYM_MAT_IDX);
        const int dim = psdvars_[pind[k]].dim;
        check_index(prow[k], dim, TSO_MODEL_INVALID_SYM_MAT_ROW_IDX);
        check_index(pcol[k], dim, TSO_MODEL_INVALID_SYM_MAT_COL_IDX);
        psd.push_back({pind[k], prow[k], pcol[k], checked_finite(pval[k])});
        fold_down(psd.back());
    }
    merge_positions(psd, [](const PsdTerm& t) { return std::tuple(t.psdvar, t.row, t.col); });
    lower = checked_lower(lower);
    upper = checked_upper(upper);
    const std::string_view text = checked_name(name);
    entries_.assign(linear, cind, cval, fit);
    add_special_row(RowKind::Psd, entries_, {}, std::move(psd), lower, upper, text);
}

void Model::add_sos(int count, int members, const int* type, const int* begin, const int* ind, const double* weight) {
    check_arrays(count, type, begin);
    check_arrays(members, ind);
    require(members == 0 || count > 0, TSO_INVALID_ARGUMENT);
    check_begins(count, members, begin);
    for (int k = 0; k < count; ++k)
        require(type[k] == TSO_SOS_TYPE1 || type[k] == TSO_SOS_TYPE2, TSO_MODEL_INVALID_SOS_TYPE);
    for (int k = 0; k < members; ++k) {
        check_index(ind[k], cols_.size(), TSO_MODEL_INVALID_COL_IDX);
        if (weight)
            checked_finite(weight[k]);
    }
    std::vector<Sos> added(static_cast<size_t>(count));
    for (int k = 0; k < count; ++k) {
        const int end = k + 1 < count ? begin[k + 1] : members;
        Sos& s = added[static_cast<size_t>(k)];
        s.type = type[k];
        s.member.assign(ind + begin[k], ind + end);
        if (weight)
            s.weight.assign(weight + begin[k], weight + end);
        else
            for (int m = begin[k]; m < end; ++m)
                s.weight.push_back(m - begin[k] + 1);
        std::vector<int> sorted = s.member; // a variable can't be at two places of one set
        std::sort(sorted.begin(), sorted.end());
        require(std::adjacent_find(sorted.begin(), sorted.end()) == sorted.end(), TSO_INVALID_ARGUMENT);
    }
    reserve_more(sos_, added.size());
    for (Sos& s : added)
        sos_.push_back(std::move(s));
    if (count > 0)
        changes.drop();
}

void Model::add_indicator(const char* name, int binvar, int binval, int count, const int* ind, const double* val,
                          char sense, double rhs) {
    check_arrays(count, ind, val);
    check_index(binvar, cols_.size(), TSO_MODEL_INVALID_COL_IDX);
    const bool binary = cols_.type[binvar] == TSO_BINARY ||
                        (cols_.type[binvar] == TSO_INTEGER && cols_.lower[binvar] >= 0 && cols_.upper[binvar] <= 1);
    require(binary, TSO_MODEL_INVALID_INDICATOR_COL_IDX);
    require(binval == 0 || binval == 1, TSO_INVALID_ARGUMENT);
    const bool fit = check_entries(count, ind, val, cols_.size(), TSO_MODEL_INVALID_COL_IDX);
    checked_sense(sense);
    checked_finite(rhs);
    const std::string_view text = checked_name(name);
    entries_.assign(count, ind, val, fit);
    Indicator added{binvar,
                    binval,
                    {entries_.ind(), entries_.ind() + entries_.count()},
                    {entries_.val(), entries_.val() + entries_.count()},
                    sense,
                    rhs};
    reserve_more(indicators_, 1);
    indicator_names_.append(text);
    indicators_.push_back(std::move(added));
    changes.drop();
}

std::vector<SymEntry> Model::checked_matrix(int dim, int entries, const int* row, const int* col,
                                            const double* val) const {
    std::vector<SymEntry> result;
    result.reserve(static_cast<size_t>(entries));
    for (int k = 0; k < entries; ++k) {
        check_index(row[k], dim, TSO_MODEL_INVALID_SYM_MAT_ROW_IDX);
        check_index(col[k], dim, TSO_MODEL_INVALID_SYM_MAT_COL_IDX);
        result.push_back({row[k], col[k], checked_finite(val[k])});
        fold_down(result.back());
    }
    merge_positions(result, [](const SymEntry& e) { return std::tuple(e.row, e.col); });
    return result;
}

void Model::add_psdvar(int dim, int entries, const int* row, const int* col, const double* val, const char* name) {
    require(dim > 0, TSO_INVALID_ARGUMENT);
    check_arrays(entries, row, col, val);
    PsdVar added{dim, checked_matrix(dim, entries, row, col, val)};
    const std::string_view text = checked_name(name);
    reserve_more(psdvars_, 1);
    psdvar_names_.append(text);
    psdvars_.push_back(std::move(added));
    changes.drop();
}

void Model::set_psd_costs(int count, const int* ind, int entries, const int* begin, const int* row, const int* col,
                          const double* val) {
    check_arrays(count, begin);
    check_arrays(entries, row, col, val);
    require(entries == 0 || count > 0, TSO_INVALID_ARGUMENT);
    check_list(count, ind, static_cast<int>(psdvars_.size()), TSO_MODEL_INVALID_SYM_MAT_IDX);
    check_begins(count, entries, begin);
    for (int k = 0; k < entries; ++k)
        require(std::fabs(val[k]) < TSO_INFINITY, TSO_MODEL_INVALID_REAL_ATTR_SYM_MAT);
    std::vector<std::vector<SymEntry>> costs(static_cast<size_t>(count));
    for (int k = 0; k < count; ++k) {
        const int at = begin[k], end = k + 1 < count ? begin[k + 1] : entries;
        costs[static_cast<size_t>(k)] =
            checked_matrix(psdvars_[element(ind, k)].dim, end - at, row + at, col + at, val + at);
    }
    for (int k = 0; k < count; ++k)
        psdvars_[element(ind, k)].cost = std::move(costs[static_cast<size_t>(k)]);
    if (count > 0)
        changes.drop();
}

void Model::set_psd_cost(int psdvar, std::vector<SymEntry> cost) {
    check_index(psdvar, static_cast<int>(psdvars_.size()), TSO_MODEL_INVALID_SYM_MAT_IDX);
    const int dim = psdvars_[psdvar].dim;
    for (SymEntry& e : cost) {
        check_index(e.row, dim, TSO_MODEL_INVALID_SYM_MAT_ROW_IDX);
        check_index(e.col, dim, TSO_MODEL_INVALID_SYM_MAT_COL_IDX);
        checked_finite(e.value);
        fold_down(e);
    }
    merge_positions(cost, [](const SymEntry& e) { return std::tuple(e.row, e.col); });
    psdvars_[psdvar].cost = std::move(cost);
    changes.drop();
}

} // namespace tso
