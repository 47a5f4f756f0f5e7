#include "engine/check.h"

#include "engine/convex.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace tso::engine {

namespace {

// Symmetric, dense, column by column.
std::vector<double> dense(int dim, const std::vector<SymEntry>& entries) {
    std::vector<double> a(static_cast<size_t>(dim) * dim, 0.0);
    for (const SymEntry& e : entries) {
        a[static_cast<size_t>(e.col) * dim + e.row] = e.value;
        a[static_cast<size_t>(e.row) * dim + e.col] = e.value;
    }
    return a;
}

// The sum of coefficient times value over the entries of symmetric matrices, of which `terms` has one of a mirrored
// pair. Looks up few entries in a matrix that is made dense once for all of them.
class PsdSums {
public:
    PsdSums(const Model& model, const PsdValues& psd) {
        for (size_t k = 0; k < psd.size(); ++k) {
            dim_.push_back(model.psdvars()[k].dim);
            value_.push_back(dense(dim_.back(), psd[k]));
        }
    }
    bool empty() const { return value_.empty(); }
    double product(int psdvar, int row, int col, double coefficient) const {
        return (row == col ? 1 : 2) * coefficient * value_[psdvar][static_cast<size_t>(col) * dim_[psdvar] + row];
    }

private:
    std::vector<int> dim_;
    std::vector<std::vector<double>> value_;
};

// The size of what is summed up in a row.
double size_of_row(const Model& model, int i, const std::vector<double>& x, const PsdSums& psd) {
    const Rows& rows = model.rows();
    double size = 1;
    const auto c = rows.matrix.columns_of(i);
    const auto a = rows.matrix.values_of(i);
    for (size_t k = 0; k < c.size(); ++k)
        size = std::max(size, std::fabs(a[k] * x[c[k]]));
    if (!rows.quadratic.empty())
        for (const QuadTerm& t : rows.quadratic[i])
            size = std::max(size, std::fabs(t.value * x[t.row] * x[t.col]));
    if (!rows.psd.empty() && !psd.empty())
        for (const PsdTerm& t : rows.psd[i])
            size = std::max(size, std::fabs(psd.product(t.psdvar, t.row, t.col, t.value)));
    return size;
}

// What would have to become zero: in a set of type 1 all but the largest member, in one of type 2 all but two
// neighbours by weight.
double sos_violation(const Sos& set, const std::vector<double>& x) {
    const size_t n = set.member.size();
    std::vector<size_t> order(n);
    std::iota(order.begin(), order.end(), size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return set.weight[a] < set.weight[b]; });
    std::vector<double> size(n);
    for (size_t k = 0; k < n; ++k)
        size[k] = std::fabs(x[set.member[order[k]]]);
    std::vector<double> before(n + 1, 0.0), after(n + 1, 0.0); // the largest of the first k, of those from k on
    for (size_t k = 0; k < n; ++k)
        before[k + 1] = std::max(before[k], size[k]);
    for (size_t k = n; k-- > 0;)
        after[k] = std::max(after[k + 1], size[k]);
    const size_t width = set.type == TSO_SOS_TYPE2 ? 2 : 1;
    if (n <= width)
        return 0;
    double least = TSO_INFINITY;
    for (size_t k = 0; k + width <= n; ++k)
        least = std::min(least, std::max(before[k], after[k + width]));
    return least / std::max(1.0, before[n]);
}

double indicator_violation(const Indicator& g, const std::vector<double>& x) {
    if (std::fabs(x[g.binvar] - g.binval) > 0.5)
        return 0;
    long double sum = 0;
    double size = 1;
    for (size_t k = 0; k < g.ind.size(); ++k) {
        sum += static_cast<long double>(g.val[k]) * x[g.ind[k]];
        size = std::max(size, std::fabs(g.val[k] * x[g.ind[k]]));
    }
    const double above = static_cast<double>(sum) - g.rhs;
    return (g.sense == TSO_EQUAL ? std::fabs(above) : g.sense == TSO_LESS_EQUAL ? above : -above) / size;
}

} // namespace

bool same_solution(const std::vector<double>& a, const std::vector<double>& b) {
    for (size_t j = 0; j < a.size(); ++j)
        if (std::fabs(a[j] - b[j]) > 1e-9 * std::max(1.0, std::fabs(a[j])))
            return false;
    return true;
}

double objective_of(const Model& model, const std::vector<double>& x, const PsdValues& psd) {
    long double sum = model.constant();
    const std::vector<double>& cost = model.cols().cost;
    for (size_t j = 0; j < cost.size(); ++j)
        sum += static_cast<long double>(cost[j]) * x[j];
    for (const QuadTerm& t : model.quadratic())
        sum += static_cast<long double>(t.value) * x[t.row] * x[t.col];
    const PsdSums sums(model, psd);
    for (size_t k = 0; k < psd.size(); ++k)
        for (const SymEntry& e : model.psdvars()[k].cost)
            sum += sums.product(static_cast<int>(k), e.row, e.col, e.value);
    return static_cast<double>(sum);
}

std::vector<double> activity_of(const Model& model, const std::vector<double>& x, const PsdValues& psd) {
    const Rows& rows = model.rows();
    std::vector<double> activity(rows.size());
    const PsdSums sums(model, psd);
    for (int i = 0; i < rows.size(); ++i) {
        long double sum = 0;
        const auto c = rows.matrix.columns_of(i);
        const auto v = rows.matrix.values_of(i);
        for (size_t k = 0; k < c.size(); ++k)
            sum += static_cast<long double>(v[k]) * x[c[k]];
        if (!rows.quadratic.empty())
            for (const QuadTerm& t : rows.quadratic[i])
                sum += static_cast<long double>(t.value) * x[t.row] * x[t.col];
        if (!rows.psd.empty() && !sums.empty())
            for (const PsdTerm& t : rows.psd[i])
                sum += sums.product(t.psdvar, t.row, t.col, t.value);
        activity[i] = static_cast<double>(sum);
    }
    return activity;
}

Violations violations_of(const Model& model, const std::vector<double>& x, const std::vector<double>& activity,
                         const PsdValues& psd) {
    Violations worst;
    const Columns& cols = model.cols();
    for (int j = 0; j < cols.size(); ++j) {
        const char type = cols.type[j];
        const bool semi = type == TSO_SEMICONT || type == TSO_SEMIINT;
        const double lower = model.effective_lower(j), upper = model.effective_upper(j);
        double v = 0;
        if (lower > -TSO_INFINITY)
            v = std::max(v, (lower - x[j]) / std::max(1.0, std::fabs(lower)));
        if (upper < TSO_INFINITY)
            v = std::max(v, (x[j] - upper) / std::max(1.0, std::fabs(upper)));
        if (semi)
            v = std::min(v, std::fabs(x[j]));
        worst.bound.take(std::isfinite(x[j]) ? v : TSO_INFINITY, j);
        if (type == TSO_BINARY || type == TSO_INTEGER || type == TSO_SEMIINT)
            worst.integrality.take(std::fabs(x[j] - std::round(x[j])), j);
    }
    const Rows& rows = model.rows();
    const PsdSums sums(model, psd);
    for (int i = 0; i < rows.size(); ++i) {
        const double below = rows.lower[i] > -TSO_INFINITY ? rows.lower[i] - activity[i] : 0;
        const double above = rows.upper[i] < TSO_INFINITY ? activity[i] - rows.upper[i] : 0;
        const double v = std::isfinite(activity[i]) ? std::max(below, above) : TSO_INFINITY;
        if (v > worst.row.by)
            worst.row.take(v / size_of_row(model, i, x, sums), i);
    }
    for (size_t k = 0; k < model.sos().size(); ++k)
        worst.sos.take(sos_violation(model.sos()[k], x), static_cast<int>(k));
    for (size_t k = 0; k < model.indicators().size(); ++k)
        worst.indicator.take(indicator_violation(model.indicators()[k], x), static_cast<int>(k));
    for (size_t k = 0; k < psd.size(); ++k) {
        const int dim = model.psdvars()[k].dim;
        std::vector<double> value = dense(dim, psd[k]);
        double size = 1;
        for (int i = 0; i < dim; ++i)
            size = std::max(size, std::fabs(value[static_cast<size_t>(i) * dim + i]));
        worst.cone.take(least_shift(value, dim, size) / size, static_cast<int>(k));
    }
    return worst;
}

double complementarity(const Model& model, const std::vector<double>& x, const std::vector<double>& activity,
                       const std::vector<double>& reduced_cost, const std::vector<double>& dual) {
    // For minimization a positive price claims the lower side to be tight.
    const auto worth = [&](double price, double value, double lower, double upper) {
        price *= model.sense();
        if (price > 0)
            return price * (lower > -TSO_INFINITY ? std::fabs(value - lower) : std::max(1e-3, std::fabs(value)));
        if (price < 0)
            return -price * (upper < TSO_INFINITY ? std::fabs(upper - value) : std::max(1e-3, std::fabs(value)));
        return 0.0;
    };
    long double sum = 0;
    const Columns& cols = model.cols();
    const Rows& rows = model.rows();
    for (int j = 0; j < cols.size(); ++j)
        sum += worth(reduced_cost[j], x[j], cols.lower[j], cols.upper[j]);
    for (int i = 0; i < rows.size(); ++i)
        sum += worth(dual[i], activity[i], rows.lower[i], rows.upper[i]);
    return static_cast<double>(sum);
}

std::vector<double> reduced_costs(const Model& model, const std::vector<double>& x, const std::vector<double>& dual,
                                  std::vector<double>* size) {
    std::vector<double> d = model.cols().cost;
    if (size)
        size->assign(d.size(), 1.0);
    const auto add = [&](int j, double v) {
        d[j] += v;
        if (size)
            (*size)[j] = std::max((*size)[j], std::fabs(v));
    };
    for (size_t j = 0; size && j < d.size(); ++j)
        (*size)[j] = std::max(1.0, std::fabs(d[j]));
    for (const QuadTerm& t : model.quadratic()) {
        add(t.row, t.value * x[t.col]);
        add(t.col, t.value * x[t.row]);
    }
    const Rows& rows = model.rows();
    for (int i = 0; i < rows.size(); ++i) {
        if (dual[i] == 0)
            continue;
        const auto c = rows.matrix.columns_of(i);
        const auto a = rows.matrix.values_of(i);
        for (size_t k = 0; k < c.size(); ++k)
            add(c[k], -dual[i] * a[k]);
        if (rows.quadratic.empty())
            continue;
        for (const QuadTerm& t : rows.quadratic[i]) {
            add(t.row, -dual[i] * t.value * x[t.col]);
            add(t.col, -dual[i] * t.value * x[t.row]);
        }
    }
    return d;
}

} // namespace tso::engine
