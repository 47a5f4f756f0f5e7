// Model: which starts and stored solutions still fit the model.
#include "core/model.h"

#include "core/growth.h"

#include <cmath>

namespace tso {

namespace {

constexpr double kRowTolerance = 1e-6; // relative to the size of the bound

bool within(double value, double lower, double upper, double tolerance) {
    return value >= lower - tolerance * std::max(1.0, std::fabs(lower)) &&
           value <= upper + tolerance * std::max(1.0, std::fabs(upper));
}

bool fits_col(const Model& m, int j, double value, double integrality) {
    const char type = m.cols().type[j];
    const bool integral = type == TSO_BINARY || type == TSO_INTEGER || type == TSO_SEMIINT;
    if (integral && std::fabs(value - std::round(value)) > integrality)
        return false;
    const bool semi = type == TSO_SEMICONT || type == TSO_SEMIINT;
    return (semi && std::fabs(value) <= integrality) ||
           within(value, m.effective_lower(j), m.effective_upper(j), kRowTolerance);
}

double sum_of(std::span<const int> ind, std::span<const double> val, const std::vector<double>& x) {
    double sum = 0;
    for (size_t k = 0; k < ind.size(); ++k)
        sum += val[k] * x[ind[k]];
    return sum;
}

bool fits_row(const Model& m, int i, const std::vector<double>& x) {
    const Rows& rows = m.rows();
    double sum = sum_of(rows.matrix.columns_of(i), rows.matrix.values_of(i), x);
    if (rows.kind_of(i) == RowKind::Quadratic)
        for (const QuadTerm& t : rows.quadratic[i])
            sum += t.value * x[t.row] * x[t.col];
    return within(sum, rows.lower[i], rows.upper[i], kRowTolerance);
}

// The members that are not zero must be one (type 1), or two that are neighbours by weight (type 2).
bool fits_sos(const Sos& s, const std::vector<double>& x, double integrality) {
    std::vector<std::pair<double, int>> order;
    for (size_t k = 0; k < s.member.size(); ++k)
        order.emplace_back(s.weight[k], s.member[k]);
    std::sort(order.begin(), order.end());
    int used = 0, first = 0, last = 0;
    for (size_t k = 0; k < order.size(); ++k)
        if (std::fabs(x[order[k].second]) > integrality) {
            last = static_cast<int>(k);
            if (used++ == 0)
                first = last;
        }
    return used <= s.type && last - first < s.type;
}

bool fits_indicator(const Indicator& c, const std::vector<double>& x) {
    if ((x[c.binvar] > 0.5) != (c.binval == 1))
        return true;
    const double sum = sum_of(c.ind, c.val, x);
    return within(sum, c.sense == TSO_LESS_EQUAL ? -TSO_INFINITY : c.rhs,
                  c.sense == TSO_GREATER_EQUAL ? TSO_INFINITY : c.rhs, kRowTolerance);
}

// Columns that were added after the solution was found take the value nearest to zero.
bool fits(const Model& m, std::vector<double> x, double integrality) {
    for (int j = static_cast<int>(x.size()); j < m.cols().size(); ++j)
        x.push_back(std::max(m.effective_lower(j), std::min(m.effective_upper(j), 0.0)));
    for (int j = 0; j < m.cols().size(); ++j)
        if (!fits_col(m, j, x[j], integrality))
            return false;
    for (int i = 0; i < m.rows().size(); ++i)
        if (m.rows().kind_of(i) != RowKind::Psd && !fits_row(m, i, x))
            return false;
    for (const Sos& s : m.sos())
        if (!fits_sos(s, x, integrality))
            return false;
    for (const Indicator& c : m.indicators())
        if (!fits_indicator(c, x))
            return false;
    return true;
}

} // namespace

int Model::cleanup_milp() {
    const double integrality = env.params().get_double(Param::MIP_IntegerTolerance);
    // The best solution, which stands in front of the pool, stays readable whatever was edited.
    std::vector<char> gone(solution.pool.size());
    for (size_t k = 1; k < gone.size(); ++k)
        gone[k] = !fits(*this, solution.pool[k].x, integrality);

    int removed = static_cast<int>(std::count(gone.begin(), gone.end(), 1));
    erase_marked(solution.pool, gone);
    for (int j = 0; j < static_cast<int>(cols_.start.size()); ++j)
        if (cols_.start[j] != TSO_UNDEFINED && !fits_col(*this, j, cols_.start[j], integrality)) {
            cols_.start[j] = TSO_UNDEFINED;
            ++removed;
        }
    return removed;
}

} // namespace tso
