// Model: taking elements out. Everything that needs memory comes first; what then follows works in place.
#include "core/model.h"

#include "core/growth.h"

namespace tso {

namespace {

std::vector<char> marks_of(int count, const int* ind, int size, int code) {
    check_arrays(count, ind);
    check_list(count, ind, size, code);
    std::vector<char> gone(static_cast<size_t>(size));
    for (int k = 0; k < count; ++k)
        gone[static_cast<size_t>(ind[k])] = 1;
    return gone;
}

std::vector<int> renumbering(const std::vector<char>& gone) {
    std::vector<int> new_index(gone.size());
    int next = 0;
    for (size_t i = 0; i < gone.size(); ++i) {
        new_index[i] = gone[i] ? -1 : next;
        next += gone[i] == 0;
    }
    return new_index;
}

void erase_terms(std::vector<QuadTerm>& terms, const std::vector<char>& gone, const std::vector<int>& new_index) {
    std::erase_if(terms, [&](const QuadTerm& t) { return gone[t.row] || gone[t.col]; });
    for (QuadTerm& t : terms) {
        t.row = new_index[t.row];
        t.col = new_index[t.col];
    }
}

// Parallel lists of column indices and values.
void erase_members(std::vector<int>& ind, std::vector<double>& val, const std::vector<char>& gone,
                   const std::vector<int>& new_index) {
    size_t kept = 0;
    for (size_t k = 0; k < ind.size(); ++k)
        if (!gone[ind[k]]) {
            ind[kept] = new_index[ind[k]];
            val[kept++] = val[k];
        }
    ind.resize(kept);
    val.resize(kept);
}

} // namespace

void Model::delete_cols(int count, const int* ind) {
    const std::vector<char> gone = marks_of(count, ind, cols_.size(), TSO_MODEL_INVALID_COL_IDX);
    const std::vector<int> new_index = renumbering(gone);
    std::vector<char> gone_indicators(indicators_.size());
    if (count == 0)
        return;

    for (size_t j = 0; j < gone.size(); ++j)
        num_discrete_ -= (gone[j] != 0) & (cols_.type[j] != TSO_CONTINUOUS);
    erase_marked(cols_.lower, gone);
    erase_marked(cols_.upper, gone);
    erase_marked(cols_.cost, gone);
    erase_marked(cols_.type, gone);
    erase_marked(cols_.start, gone);
    erase_marked(cols_.basis, gone);
    cols_.names.erase(gone);
    rows_.matrix.erase_columns(new_index);

    const size_t terms = quadratic_.size();
    erase_terms(quadratic_, gone, new_index);
    changes.quadratic |= quadratic_.size() != terms;
    for (auto& row : rows_.quadratic)
        erase_terms(row, gone, new_index);
    for (Sos& s : sos_)
        erase_members(s.member, s.weight, gone, new_index);
    for (size_t k = 0; k < indicators_.size(); ++k) {
        Indicator& c = indicators_[k];
        gone_indicators[k] = gone[c.binvar];
        c.binvar = new_index[c.binvar];
        erase_members(c.ind, c.val, gone, new_index);
    }
    erase_marked(indicators_, gone_indicators);
    indicator_names_.erase(gone_indicators);

    const bool solved = solution.has_primal();
    erase_marked(solution.x, gone);
    erase_marked(solution.reduced_cost, gone);
    erase_marked(solution.col_basis, gone);
    erase_marked(solution.primal_ray, gone);
    erase_marked(solution.iis_col, gone);
    for (PoolEntry& entry : solution.pool)
        erase_marked(entry.x, gone);
    solution.empty_but_solved = solved && solution.x.empty();
    changes.erase_cols(gone, new_index);
}

void Model::delete_rows(int count, const int* ind) {
    const std::vector<char> gone = marks_of(count, ind, rows_.size(), TSO_MODEL_INVALID_ROW_IDX);
    const std::vector<int> new_index = renumbering(gone);
    if (count == 0)
        return;

    for (size_t i = 0; i < rows_.kind.size(); ++i) {
        num_quadratic_rows_ -= gone[i] && rows_.kind[i] == RowKind::Quadratic;
        num_psd_rows_ -= gone[i] && rows_.kind[i] == RowKind::Psd;
    }
    erase_marked(rows_.lower, gone);
    erase_marked(rows_.upper, gone);
    erase_marked(rows_.kind, gone);
    erase_marked(rows_.quadratic, gone);
    erase_marked(rows_.psd, gone);
    erase_marked(rows_.basis, gone);
    rows_.names.erase(gone);
    rows_.matrix.erase_rows(gone);

    erase_marked(solution.activity, gone);
    erase_marked(solution.dual, gone);
    erase_marked(solution.row_basis, gone);
    erase_marked(solution.dual_ray, gone);
    erase_marked(solution.iis_row, gone);
    changes.erase_rows(gone, new_index);
}

void Model::delete_sos(int count, const int* ind) {
    const auto gone = marks_of(count, ind, static_cast<int>(sos_.size()), TSO_MODEL_INVALID_SOS_IDX);
    if (count == 0)
        return;
    erase_marked(sos_, gone);
    changes.drop();
}

void Model::delete_indicators(int count, const int* ind) {
    const auto gone = marks_of(count, ind, static_cast<int>(indicators_.size()), TSO_MODEL_INVALID_INDICATOR_ROW_IDX);
    if (count == 0)
        return;
    erase_marked(indicators_, gone);
    indicator_names_.erase(gone);
    changes.drop();
}

} // namespace tso
