#include "engine/check.h"

#include <algorithm>
#include <cmath>

namespace tso::engine {

double objective_of(const Model& model, const std::vector<double>& x) {
    long double sum = model.constant();
    const std::vector<double>& cost = model.cols().cost;
    for (size_t j = 0; j < cost.size(); ++j)
        sum += static_cast<long double>(cost[j]) * x[j];
    for (const QuadTerm& t : model.quadratic())
        sum += static_cast<long double>(t.value) * x[t.row] * x[t.col];
    return static_cast<double>(sum);
}

std::vector<double> activity_of(const Model& model, const std::vector<double>& x) {
    const Rows& rows = model.rows();
    std::vector<double> activity(rows.size());
    for (int i = 0; i < rows.size(); ++i) {
        long double sum = 0;
        const auto c = rows.matrix.columns_of(i);
        const auto v = rows.matrix.values_of(i);
        for (size_t k = 0; k < c.size(); ++k)
            sum += static_cast<long double>(v[k]) * x[c[k]];
        if (!rows.quadratic.empty())
            for (const QuadTerm& t : rows.quadratic[i])
                sum += static_cast<long double>(t.value) * x[t.row] * x[t.col];
        activity[i] = static_cast<double>(sum);
    }
    return activity;
}

Violations violations_of(const Model& model, const std::vector<double>& x, const std::vector<double>& activity) {
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
        worst.bound = std::max(worst.bound, std::isnan(x[j]) ? TSO_INFINITY : v);
        if (type == TSO_BINARY || type == TSO_INTEGER || type == TSO_SEMIINT)
            worst.integrality = std::max(worst.integrality, std::fabs(x[j] - std::round(x[j])));
    }
    const Rows& rows = model.rows();
    for (int i = 0; i < rows.size(); ++i) {
        const double below = rows.lower[i] > -TSO_INFINITY ? rows.lower[i] - activity[i] : 0;
        const double above = rows.upper[i] < TSO_INFINITY ? activity[i] - rows.upper[i] : 0;
        const double v = std::max(below, above);
        if (std::isnan(activity[i])) {
            worst.row = TSO_INFINITY;
        } else if (v > worst.row) {
            double scale = 1;
            const auto c = rows.matrix.columns_of(i);
            const auto a = rows.matrix.values_of(i);
            for (size_t k = 0; k < c.size(); ++k)
                scale = std::max(scale, std::fabs(a[k] * x[c[k]]));
            worst.row = std::max(worst.row, v / scale);
        }
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

std::vector<double> reduced_costs(const Model& model, const std::vector<double>& x, const std::vector<double>& dual) {
    std::vector<double> d = model.cols().cost;
    for (const QuadTerm& t : model.quadratic()) {
        d[t.row] += t.value * x[t.col];
        d[t.col] += t.value * x[t.row];
    }
    const Rows& rows = model.rows();
    for (int i = 0; i < rows.size(); ++i) {
        if (dual[i] == 0)
            continue;
        const auto c = rows.matrix.columns_of(i);
        const auto a = rows.matrix.values_of(i);
        for (size_t k = 0; k < c.size(); ++k)
            d[c[k]] -= dual[i] * a[k];
    }
    return d;
}

} // namespace tso::engine
