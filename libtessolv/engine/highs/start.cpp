// What a run starts from, and what it adds to the model for its own time.
#include "engine/highs/engine.h"

#include <algorithm>
#include <cmath>

namespace tso::engine {

// The extras stand behind everything of the model, so that the model's indices hold: a row for MIP/Cutoff, and for
// semi-continuous variables that HiGHS would get wrong a binary z with lower * z <= x <= upper * z.
HighsExtras HighsEngine::add_extras(const Model& model) {
    HighsExtras extras;
    void* h = object_->get();
    const Columns& cols = model.cols();
    const double infinity = Highs_getInfinity(h);
    const Params& p = model.env.params();
    const double cutoff = p.get_double(Param::MIP_Cutoff);
    if (!model.is_mip())
        return extras;
    if (std::fabs(cutoff) < TSO_INFINITY) {
        std::vector<HighsInt> index;
        std::vector<double> value;
        for (int j = 0; j < cols.size(); ++j)
            if (cols.cost[j] != 0) {
                index.push_back(j);
                value.push_back(cols.cost[j]);
            }
        const double slack = p.get_double(Param::MIP_ObjectiveTolerance) * std::max(1.0, std::fabs(cutoff));
        const double side = cutoff - model.constant() + model.sense() * slack;
        const bool minimize = model.sense() == TSO_MINIMIZE;
        must(Highs_addRow(h, minimize ? -infinity : side, minimize ? side : infinity,
                          static_cast<HighsInt>(index.size()), index.data(), value.data()),
             "the cutoff");
        ++extras.rows;
    }
    for (int j = 0; j < cols.size(); ++j) {
        if (!needs_extra(model, j))
            continue;
        const HighsInt z = cols.size() + extras.columns;
        must(Highs_addCol(h, 0, 0, 1, 0, nullptr, nullptr), "a semi-continuous variable");
        must(Highs_changeColIntegrality(h, z, kHighsVarTypeInteger), "a semi-continuous variable");
        const HighsInt index[] = {j, z};
        const double below[] = {1, -cols.upper[j]}, above[] = {1, -cols.lower[j]};
        must(Highs_addRow(h, -infinity, 0, 2, index, below), "a semi-continuous variable");
        must(Highs_addRow(h, 0, infinity, 2, index, above), "a semi-continuous variable");
        ++extras.columns;
        extras.rows += 2;
    }
    return extras;
}

void HighsEngine::remove_extras(const Model& model, const HighsExtras& extras) {
    const int n = model.cols().size(), m = model.rows().size();
    if (extras.rows)
        must(Highs_deleteRowsByRange(object_->get(), m, m + extras.rows - 1), "the removal of rows");
    if (extras.columns)
        must(Highs_deleteColsByRange(object_->get(), n, n + extras.columns - 1), "the removal of columns");
}

// HiGHS keeps its basis through edits of numbers. After others, and where the user has set one since the last run, the
// basis is made here: the user's, or that of the last run with new columns at a bound and new rows basic.
void HighsEngine::start_from_basis(const Model& model) {
    const Columns& cols = model.cols();
    const Rows& rows = model.rows();
    const auto newly_set = [](const std::vector<int8_t>& now, const std::vector<int8_t>& seen) {
        return !now.empty() && (seen.empty() || !std::equal(seen.begin(), seen.end(), now.begin()));
    };
    const bool from_user = newly_set(cols.basis, set_col_basis_) || newly_set(rows.basis, set_row_basis_);
    set_col_basis_ = cols.basis;
    set_row_basis_ = rows.basis;
    if (!from_user && (!structure_changed_ || (col_basis_.empty() && row_basis_.empty())))
        return;
    const std::vector<int8_t>& col_source = from_user ? cols.basis : col_basis_;
    const std::vector<int8_t>& row_source = from_user ? rows.basis : row_basis_;
    const auto at_bound = [](double lower, double upper) {
        if (lower > -TSO_INFINITY && (upper >= TSO_INFINITY || std::fabs(lower) <= std::fabs(upper)))
            return kHighsBasisStatusLower;
        return upper < TSO_INFINITY ? kHighsBasisStatusUpper : kHighsBasisStatusZero;
    };
    // A code whose bound is infinite, or has become so, gives way to one that fits.
    const auto fitting = [&](int8_t code, double lower, double upper) -> HighsInt {
        if (code == TSO_BASIS_BASIC)
            return kHighsBasisStatusBasic;
        if ((code == TSO_BASIS_LOWER && lower > -TSO_INFINITY))
            return kHighsBasisStatusLower;
        if ((code == TSO_BASIS_UPPER && upper < TSO_INFINITY))
            return kHighsBasisStatusUpper;
        return at_bound(lower, upper);
    };
    std::vector<HighsInt> col(cols.size()), row(rows.size());
    for (int j = 0; j < cols.size(); ++j)
        col[j] = static_cast<size_t>(j) < col_source.size() ? fitting(col_source[j], cols.lower[j], cols.upper[j])
                                                            : at_bound(cols.lower[j], cols.upper[j]);
    for (int i = 0; i < rows.size(); ++i)
        row[i] = static_cast<size_t>(i) < row_source.size() ? fitting(row_source[i], rows.lower[i], rows.upper[i])
                                                            : kHighsBasisStatusBasic;
    // A basis that HiGHS will not have is only a start lost.
    Highs_setBasis(object_->get(), col.data(), row.data());
}

// The user's start values where they were given since the last run, otherwise the last incumbent.
void HighsEngine::start_from_solution(const Model& model) {
    const Columns& cols = model.cols();
    const bool any_set = std::any_of(cols.start.begin(), cols.start.end(), [](double v) { return v != TSO_UNDEFINED; });
    const bool newly_set = any_set && (set_start_.empty() || set_start_.size() > cols.start.size() ||
                                       !std::equal(set_start_.begin(), set_start_.end(), cols.start.begin()));
    const std::vector<double>* source = nullptr;
    if (newly_set || (any_set && incumbent_.empty()))
        source = &cols.start;
    else if (!incumbent_.empty())
        source = &incumbent_;
    set_start_ = any_set ? cols.start : std::vector<double>();
    if (!source)
        return;
    const double tolerance = model.env.params().get_double(Param::MIP_IntegerTolerance);
    std::vector<HighsInt> index;
    std::vector<double> value;
    bool complete = source->size() >= static_cast<size_t>(cols.size()) &&
                    Highs_getNumCol(object_->get()) == cols.size(); // no extras
    bool any_discrete = false;
    for (size_t j = 0; j < source->size(); ++j) {
        double v = (*source)[j];
        const int i = static_cast<int>(j);
        if (v == TSO_UNDEFINED) {
            complete = false;
            continue;
        }
        const char type = cols.type[i];
        if (type != TSO_CONTINUOUS && type != TSO_SEMICONT && std::fabs(v - std::round(v)) <= tolerance)
            v = std::round(v);
        // A value outside of the bounds would have the whole start refused.
        const bool outside = v < highs_lower(model, i) - tolerance || v > highs_upper(model, i) + tolerance;
        if (outside && !(is_semi(type) && std::fabs(v) <= tolerance)) {
            complete = false;
            continue;
        }
        any_discrete |= type != TSO_CONTINUOUS;
        index.push_back(i);
        value.push_back(v);
    }
    if (!complete && !any_discrete)
        return; // nothing that a completion could hold on to
    if (complete)
        Highs_setSolution(object_->get(), value.data(), nullptr, nullptr, nullptr);
    else
        Highs_setSparseSolution(object_->get(), static_cast<HighsInt>(index.size()), index.data(), value.data());
}

} // namespace tso::engine
