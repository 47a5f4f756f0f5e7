// The model into a HiGHS object: whole, or what has changed.
#include "engine/highs/engine.h"

#include "core/failure.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <numeric>

namespace tso::engine {
namespace {

// HiGHS replaces larger upper bounds of semi-continuous variables by this one.
constexpr double kLargestSemi = 1e5;

// The same vector for the elements that are left. It may be of fewer elements than the engine has: what came later has
// no entry in it yet. Origins ascend.
template <class T> void carry(std::vector<T>& v, const std::vector<int>& origin) {
    size_t kept = 0;
    for (; kept < origin.size() && static_cast<size_t>(origin[kept]) < v.size(); ++kept)
        v[kept] = v[origin[kept]]; // never to the right
    v.resize(kept);
}

// Mask of the engine's elements that are to go; empty if none.
std::vector<HighsInt> gone_mask(int engine_size, const std::vector<int>& origin) {
    if (static_cast<size_t>(engine_size) == origin.size())
        return {};
    std::vector<HighsInt> mask(engine_size, 1);
    for (int o : origin)
        mask[o] = 0;
    return mask;
}

} // namespace

HighsObject::HighsObject() : h_(Highs_create()) {
    if (!h_)
        throw std::bad_alloc();
    set("output_flag", false);
    set("log_to_console", false);
    set("iis_strategy", kHighsIisStrategyFromLpRowPriority);
}

double HighsObject::info(const char* name) const {
    HighsInt type = 0;
    if (Highs_getInfoType(h_, name, &type) != kHighsStatusOk)
        return 0;
    if (type == kHighsInfoTypeDouble) {
        double v = 0;
        return Highs_getDoubleInfoValue(h_, name, &v) == kHighsStatusError ? 0 : v;
    }
    if (type == kHighsInfoTypeInt64) {
        int64_t v = 0;
        return Highs_getInt64InfoValue(h_, name, &v) == kHighsStatusError ? 0 : static_cast<double>(v);
    }
    HighsInt v = 0;
    return Highs_getIntInfoValue(h_, name, &v) == kHighsStatusError ? 0 : v;
}

void must(HighsInt return_code, const char* what) {
    if (return_code == kHighsStatusError)
        throw Failure(TSO_ERROR, std::string("HiGHS refused: ") + what);
}

int highs_type(const Model& model, int j) {
    const char type = model.cols().type[j];
    const bool whole = type == TSO_SEMIINT;
    switch (type) {
    case TSO_BINARY:
    case TSO_INTEGER:
        return kHighsVarTypeInteger;
    case TSO_SEMICONT:
    case TSO_SEMIINT:
        // With zero between the bounds nothing is left of "zero or between the bounds".
        if ((model.cols().lower[j] <= 0 && model.cols().upper[j] >= 0) || needs_extra(model, j))
            return whole ? kHighsVarTypeInteger : kHighsVarTypeContinuous;
        return whole ? kHighsVarTypeSemiInteger : kHighsVarTypeSemiContinuous;
    default:
        return kHighsVarTypeContinuous;
    }
}

double highs_lower(const Model& model, int j) {
    return needs_extra(model, j) ? std::min(0.0, model.cols().lower[j]) : model.effective_lower(j);
}
double highs_upper(const Model& model, int j) {
    return needs_extra(model, j) ? std::max(0.0, model.cols().upper[j]) : model.effective_upper(j);
}

bool is_semi(char type) { return type == TSO_SEMICONT || type == TSO_SEMIINT; }

bool needs_extra(const Model& model, int j) {
    const Columns& c = model.cols();
    return is_semi(c.type[j]) && c.lower[j] <= c.upper[j] &&
           (c.upper[j] < 0 || (c.lower[j] > 0 && c.upper[j] > kLargestSemi));
}

// What this engine cannot do although the kinds of things in the model are right; empty if nothing.
std::string HighsEngine::unsupported(const Model& model) const {
    if (!model.is_mip())
        return "";
    const Columns& c = model.cols();
    for (int j = 0; j < c.size(); ++j) {
        if (!needs_extra(model, j) || (c.upper[j] < TSO_INFINITY && c.lower[j] > -TSO_INFINITY))
            continue;
        std::string scratch;
        return "the semi-continuous variable " + std::string(c.names.text(j, scratch)) +
               " has a bound that is infinite, and zero is outside of its bounds";
    }
    return "";
}

void HighsEngine::update(Model& model) {
    if (model.rows().matrix.entries() > std::numeric_limits<HighsInt>::max())
        throw Failure(TSO_NOMEMORY, "more than 2147483647 coefficients");
    Changes& changes = model.changes;
    if (changes.everything)
        forget();
    else if (!object_)
        carry_over(changes);
    if (changes.everything || !object_) {
        object_.reset(); // before the new one, for its memory
        object_ = std::make_shared<HighsObject>();
        try {
            pass_model(model);
        } catch (...) {
            object_.reset();
            throw;
        }
    } else {
        try {
            send_edits(model, changes);
        } catch (...) { // half-sent edits leave an object that is not the model
            object_.reset();
            changes.drop();
            throw;
        }
    }
    changes.settle(model.cols().size(), model.rows().size());
}

void HighsEngine::forget() {
    col_basis_.clear();
    row_basis_.clear();
    set_col_basis_.clear();
    set_row_basis_.clear();
    incumbent_.clear();
    set_start_.clear();
}

void HighsEngine::pass_model(const Model& model) {
    const Columns& cols = model.cols();
    const Rows& rows = model.rows();
    const int n = cols.size(), m = rows.size();
    const RowMatrix::Columns& matrix = rows.matrix.by_column(n);
    std::vector<HighsInt> begin(matrix.begin.begin(), matrix.begin.end());
    begin.resize(n + 1, begin.empty() ? 0 : begin.back());
    std::vector<double> lower(n), upper(n);
    std::vector<HighsInt> type;
    if (model.is_mip())
        type.resize(n);
    for (int j = 0; j < n; ++j) {
        lower[j] = highs_lower(model, j);
        upper[j] = highs_upper(model, j);
        if (!type.empty())
            type[j] = highs_type(model, j);
    }
    void* h = object_->get();
    const HighsInt sense = model.sense() == TSO_MINIMIZE ? kHighsObjSenseMinimize : kHighsObjSenseMaximize;
    const HighsInt entries = begin[n];
    if (type.empty())
        must(Highs_passLp(h, n, m, entries, kHighsMatrixFormatColwise, sense, model.constant(), cols.cost.data(),
                          lower.data(), upper.data(), rows.lower.data(), rows.upper.data(), begin.data(),
                          matrix.row.data(), matrix.value.data()),
             "the model");
    else
        must(Highs_passMip(h, n, m, entries, kHighsMatrixFormatColwise, sense, model.constant(), cols.cost.data(),
                           lower.data(), upper.data(), rows.lower.data(), rows.upper.data(), begin.data(),
                           matrix.row.data(), matrix.value.data(), type.data()),
             "the model");
    has_quadratic_ = false;
    if (!model.quadratic().empty())
        send_quadratic(model);
    structure_changed_ = true;
}

// HiGHS has x'Qx / 2, of which it takes the lower triangle by columns.
void HighsEngine::send_quadratic(const Model& model) {
    struct Cell {
        int row, col;
        double value;
    };
    std::vector<Cell> cells;
    cells.reserve(model.quadratic().size());
    for (const QuadTerm& t : model.quadratic())
        cells.push_back({std::max(t.row, t.col), std::min(t.row, t.col), t.row == t.col ? 2 * t.value : t.value});
    std::sort(cells.begin(), cells.end(),
              [](const Cell& a, const Cell& b) { return a.col != b.col ? a.col < b.col : a.row < b.row; });
    const int n = model.cols().size();
    std::vector<HighsInt> begin(n + 1, 0), index;
    std::vector<double> value;
    for (size_t k = 0; k < cells.size();) {
        double sum = 0;
        size_t end = k;
        for (; end < cells.size() && cells[end].row == cells[k].row && cells[end].col == cells[k].col; ++end)
            sum += cells[end].value;
        if (sum != 0) {
            index.push_back(cells[k].row);
            value.push_back(sum);
            ++begin[cells[k].col + 1];
        }
        k = end;
    }
    std::partial_sum(begin.begin(), begin.end(), begin.begin());
    const HighsInt entries = static_cast<HighsInt>(index.size());
    if (entries == 0 && !has_quadratic_)
        return;
    must(Highs_passHessian(object_->get(), n, entries, kHighsHessianFormatTriangular, begin.data(), index.data(),
                           value.data()),
         "the quadratic objective");
    has_quadratic_ = entries > 0;
}

void HighsEngine::carry_over(const Changes& changes) {
    carry(col_basis_, changes.col_origin);
    carry(row_basis_, changes.row_origin);
    carry(set_col_basis_, changes.col_origin);
    carry(set_row_basis_, changes.row_origin);
    carry(incumbent_, changes.col_origin);
    carry(set_start_, changes.col_origin);
}

void HighsEngine::send_edits(const Model& model, const Changes& changes) {
    void* h = object_->get();
    const Columns& cols = model.cols();
    const Rows& rows = model.rows();
    const int old_cols = static_cast<int>(changes.col_origin.size());
    const int old_rows = static_cast<int>(changes.row_origin.size());
    const int new_cols = cols.size() - old_cols, new_rows = rows.size() - old_rows;
    std::vector<HighsInt> mask = gone_mask(changes.engine_cols, changes.col_origin);
    const bool cols_gone = !mask.empty();
    if (cols_gone)
        must(Highs_deleteColsByMask(h, mask.data()), "the removal of columns");
    mask = gone_mask(changes.engine_rows, changes.row_origin);
    const bool rows_gone = !mask.empty();
    if (rows_gone)
        must(Highs_deleteRowsByMask(h, mask.data()), "the removal of rows");
    if (cols_gone || rows_gone)
        carry_over(changes);
    structure_changed_ |= cols_gone || rows_gone || new_cols > 0 || new_rows > 0;

    if (new_cols > 0) {
        const RowMatrix::Columns& matrix = rows.matrix.by_column(cols.size());
        std::vector<HighsInt> begin, index;
        std::vector<double> value, lower, upper;
        for (int j = old_cols; j < cols.size(); ++j) {
            begin.push_back(static_cast<HighsInt>(index.size()));
            for (int64_t k = matrix.begin[j]; k < matrix.begin[j + 1] && matrix.row[k] < old_rows; ++k) {
                index.push_back(matrix.row[k]);
                value.push_back(matrix.value[k]);
            }
            lower.push_back(highs_lower(model, j));
            upper.push_back(highs_upper(model, j));
        }
        must(Highs_addCols(h, new_cols, &cols.cost[old_cols], lower.data(), upper.data(),
                           static_cast<HighsInt>(index.size()), begin.data(), index.data(), value.data()),
             "new columns");
    }
    if (new_rows > 0) {
        std::vector<HighsInt> begin, index;
        std::vector<double> value;
        for (int i = old_rows; i < rows.size(); ++i) {
            begin.push_back(static_cast<HighsInt>(index.size()));
            const auto c = rows.matrix.columns_of(i);
            const auto v = rows.matrix.values_of(i);
            index.insert(index.end(), c.begin(), c.end());
            value.insert(value.end(), v.begin(), v.end());
        }
        must(Highs_addRows(h, new_rows, &rows.lower[old_rows], &rows.upper[old_rows],
                           static_cast<HighsInt>(index.size()), begin.data(), index.data(), value.data()),
             "new rows");
    }
    for (const auto& [i, j] : changes.coefficients)
        must(Highs_changeCoeff(h, i, j, rows.matrix.get(i, j)), "a coefficient");

    std::vector<HighsInt> with_bounds, with_cost, with_type;
    const bool types_matter = model.is_mip();
    bool types_changed = false;
    if (changes.any_col)
        for (int j = 0; j < old_cols; ++j) {
            const unsigned char what = changes.col[j];
            types_changed |= (what & Changes::kType) != 0;
            // A binary's bounds as the engine sees them, and a semi-continuous one's type, depend on both.
            if (what & (Changes::kBounds | Changes::kType)) {
                with_bounds.push_back(j);
                if (types_matter)
                    with_type.push_back(j);
            }
            if (what & Changes::kCost)
                with_cost.push_back(j);
        }
    if (!with_bounds.empty()) {
        std::vector<double> lower, upper;
        for (int j : with_bounds) {
            lower.push_back(highs_lower(model, j));
            upper.push_back(highs_upper(model, j));
        }
        must(Highs_changeColsBoundsBySet(h, static_cast<HighsInt>(with_bounds.size()), with_bounds.data(), lower.data(),
                                         upper.data()),
             "bounds");
    }
    if (!with_cost.empty()) {
        std::vector<double> cost;
        for (int j : with_cost)
            cost.push_back(cols.cost[j]);
        must(Highs_changeColsCostBySet(h, static_cast<HighsInt>(with_cost.size()), with_cost.data(), cost.data()),
             "costs");
    }
    if (types_matter) {
        for (int j = old_cols; j < cols.size(); ++j)
            with_type.push_back(j);
        if (!with_type.empty()) {
            std::vector<HighsInt> type;
            for (int j : with_type)
                type.push_back(highs_type(model, j));
            must(Highs_changeColsIntegralityBySet(h, static_cast<HighsInt>(with_type.size()), with_type.data(),
                                                  type.data()),
                 "types");
        }
    } else if (types_changed || cols_gone) {
        must(Highs_clearIntegrality(h), "types");
    }
    if (changes.any_row) {
        std::vector<HighsInt> set;
        std::vector<double> lower, upper;
        for (int i = 0; i < old_rows; ++i)
            if (changes.row[i]) {
                set.push_back(i);
                lower.push_back(rows.lower[i]);
                upper.push_back(rows.upper[i]);
            }
        if (!set.empty())
            must(Highs_changeRowsBoundsBySet(h, static_cast<HighsInt>(set.size()), set.data(), lower.data(),
                                             upper.data()),
                 "sides");
    }
    if (changes.sense)
        must(Highs_changeObjectiveSense(h, model.sense() == TSO_MINIMIZE ? kHighsObjSenseMinimize
                                                                         : kHighsObjSenseMaximize),
             "the sense");
    if (changes.constant)
        must(Highs_changeObjectiveOffset(h, model.constant()), "the constant");
    if (changes.quadratic || (has_quadratic_ && (cols_gone || new_cols > 0)))
        send_quadratic(model);
}

} // namespace tso::engine
