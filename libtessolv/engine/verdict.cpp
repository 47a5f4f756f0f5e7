#include "engine/verdict.h"

#include "engine/check.h"
#include "engine/convex.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>

namespace tso::engine {
namespace {

constexpr double kFactor = 10; // what an answer may violate, in tolerances of the engine: it scales and presolves
constexpr double kLeastTolerance = 1e-6;
constexpr double kGap = 1e-5; // relative, between primal and dual objective
constexpr double kCurvedGap = 1e-3;
constexpr double kFirstOrderGap = 1e-3; // of a method of which moderate accuracy is promised
// A quadratic method's gradients are less exact than a basic solution's reduced costs.
constexpr double kQuadraticFactor = 100;
constexpr double kTip = 1e-3; // relative; a point nearer to a tip than a solution can tell from it
// A bound that is far from everything is as good as none to a price that may be rounding.
constexpr double kFarBound = 1e6;
constexpr double kSlackCone = 1e-6; // relative, for the dual slack of semi-definite variables

std::string formatted(const char* format, const std::string& name, double v) {
    char text[512];
    std::snprintf(text, sizeof text, format, name.c_str(), v);
    return text;
}

std::string name_in(const Names& names, int i) {
    std::string scratch;
    return std::string(names.text(i, scratch));
}

double tolerance_of(const Model& model) {
    const Params& p = model.env.params();
    const bool plain = !model.is_mip() && model.num_quadratic_rows() == 0 && model.sos().empty() &&
                       model.indicators().empty() && model.psdvars().empty();
    return std::max(kLeastTolerance,
                    kFactor * p.get_double(plain ? Param::SPX_PrimalTolerance : Param::MIP_IntegerTolerance));
}

// What the prices of bounds and sides claim. For minimization a positive price claims the lower one to be tight.
class Prices {
public:
    Prices(double tolerance, bool quadratic) : tolerance_(tolerance), quadratic_(quadratic) {}
    void take(double price, double size, double value, double lower, double upper) {
        if (!std::isfinite(price)) {
            wrong_ = gap_ = TSO_INFINITY;
            return;
        }
        if (price == 0)
            return;
        const double tight = price > 0 ? lower : upper;
        const bool far = std::fabs(tight) >= kFarBound && std::fabs(value - tight) > std::fabs(tight) / 2 &&
                         std::fabs(price) <= tolerance_ * size;
        if (std::fabs(tight) < TSO_INFINITY && !far)
            gap_ += std::fabs(price * (value - tight));
        else
            take_wrong(price, size, value);
    }
    bool signs_hold() const { return wrong_ <= tolerance_; }
    double wrong() const { return wrong_; }
    double gap() const { return static_cast<double>(gap_); }
    void add_gap(double v) { gap_ += v; }

private:
    void take_wrong(double price, double size, double value) {
        wrong_ = std::max(wrong_, std::fabs(price) / size);
        if (quadratic_)
            gap_ += std::fabs(price) * std::max(1e-3, std::fabs(value));
    }

    double tolerance_;
    bool quadratic_;
    double wrong_ = 0; // largest price of an infinite side, relative
    long double gap_ = 0;
};

// The dual slack of the semi-definite variables: cost less the duals' worth of the coefficients. It has to be positive
// semi-definite as well, and orthogonal to the value.
bool take_cones(const Model& model, const Solution& s, Prices& prices, std::string& fault) {
    std::vector<std::vector<double>> slack;
    std::vector<double> size;
    const auto add = [&](int k, int row, int col, double v) {
        const size_t dim = static_cast<size_t>(model.psdvars()[k].dim);
        slack[k][col * dim + row] += v;
        if (row != col)
            slack[k][row * dim + col] += v;
        size[k] = std::max(size[k], std::fabs(v));
    };
    for (size_t k = 0; k < model.psdvars().size(); ++k) {
        const size_t dim = static_cast<size_t>(model.psdvars()[k].dim);
        slack.emplace_back(dim * dim, 0.0);
        size.push_back(1);
        for (const SymEntry& e : model.psdvars()[k].cost)
            add(static_cast<int>(k), e.row, e.col, model.sense() * e.value);
    }
    const Rows& rows = model.rows();
    for (int i = 0; i < rows.size() && !rows.psd.empty(); ++i)
        for (const PsdTerm& t : rows.psd[i])
            add(t.psdvar, t.row, t.col, -model.sense() * s.dual[i] * t.value);
    for (size_t k = 0; k < slack.size(); ++k) {
        const int dim = model.psdvars()[k].dim;
        const double shift = least_shift(slack[k], dim, size[k]);
        if (shift > kSlackCone * size[k]) {
            fault = formatted("the dual slack of semi-definite variable %s is not semi-definite: by %.2g",
                              name_in(model.psdvar_names(), static_cast<int>(k)), shift / size[k]);
            return false;
        }
        long double product = 0;
        for (const SymEntry& e : s.psd[k])
            product += static_cast<long double>(e.row == e.col ? 1 : 2) * e.value *
                       slack[k][static_cast<size_t>(e.col) * dim + e.row];
        prices.add_gap(std::fabs(static_cast<double>(product)));
    }
    return true;
}

// Whether some quadratic row is tight where its gradient vanishes, as at the tip of a cone: no dual value of that row
// proves anything there.
bool at_a_tip(const Model& model, const Solution& s) {
    const Rows& rows = model.rows();
    if (model.num_quadratic_rows() == 0)
        return false;
    std::map<int, double> gradient;
    for (int i = 0; i < rows.size(); ++i) {
        if (rows.kind_of(i) != RowKind::Quadratic)
            continue;
        gradient.clear();
        double size = 0;
        const auto add = [&](int j, double v) {
            gradient[j] += v;
            size = std::max(size, std::fabs(v));
        };
        const auto c = rows.matrix.columns_of(i);
        const auto a = rows.matrix.values_of(i);
        for (size_t k = 0; k < c.size(); ++k)
            add(c[k], a[k]);
        double coefficient = 0;
        for (const QuadTerm& t : rows.quadratic[i]) {
            coefficient = std::max(coefficient, std::fabs(t.value));
            add(t.row, t.value * s.x[t.col]);
            add(t.col, t.value * s.x[t.row]);
        }
        if (std::all_of(gradient.begin(), gradient.end(),
                        [&](const auto& g) { return std::fabs(g.second) <= kTip * std::max(size, coefficient); }))
            return true;
    }
    return false;
}

// `searched`: by branch and bound, which may end at the gap that the user is content with.
std::string fault_of_gap(const Model& model, const Solution& s, bool searched) {
    if (std::isnan(s.bound))
        return "";
    const Params& p = model.env.params();
    const double size = std::fabs(s.objective), gap = model.sense() * (s.objective - s.bound);
    const double wanted = searched ? p.get_double(Param::MIP_GapAbs) + p.get_double(Param::MIP_GapRel) * size : 0;
    if (gap <= wanted + kGap * std::max(1.0, size))
        return "";
    return formatted("%sobjective and bound are %.2g apart", "", gap);
}

// Of a convex problem.
std::string fault_of_duals(const Model& model, const Solution& s, double& known_gap) {
    const Params& p = model.env.params();
    const Columns& cols = model.cols();
    const Rows& rows = model.rows();
    if (s.dual.size() != static_cast<size_t>(rows.size()))
        return "";
    const bool first_order = p.get_int(Param::Method) == 4;
    const bool quadratic = !model.quadratic().empty() || model.num_quadratic_rows() > 0 || !s.psd.empty();
    const double tolerance = (quadratic ? kQuadraticFactor : kFactor) * p.get_double(Param::SPX_DualTolerance);
    // An error in the price of a curved row costs its square only, which the engine's own bound shows.
    const bool curved = model.num_quadratic_rows() > 0 && !std::isnan(s.bound) && fault_of_gap(model, s, false).empty();
    const double coarse = first_order ? kFirstOrderGap : curved ? kCurvedGap : 0;
    Prices prices(std::max({kLeastTolerance, tolerance, coarse}), quadratic);
    std::vector<double> size;
    const std::vector<double> d = reduced_costs(model, s.x, s.dual, &size);
    double largest = 1; // cost
    for (double c : cols.cost)
        largest = std::max(largest, std::fabs(c));
    for (int j = 0; j < cols.size(); ++j)
        prices.take(model.sense() * d[j], std::max(size[j], largest), s.x[j], cols.lower[j], cols.upper[j]);
    for (int i = 0; i < rows.size(); ++i)
        prices.take(model.sense() * s.dual[i], largest, s.activity[i], rows.lower[i], rows.upper[i]);
    std::string fault;
    if (!s.psd.empty() && !take_cones(model, s, prices, fault))
        return fault;
    if (!prices.signs_hold())
        return formatted("%sdual values have the wrong sign, by %.2g (relative)", "", prices.wrong());
    known_gap = prices.gap();
    const double gap = known_gap / std::max(1.0, std::fabs(s.objective));
    if (!(gap <= std::max(kGap, coarse)))
        return formatted("%sthe dual values prove the objective only up to %.2g (relative)", "", gap);
    return "";
}

} // namespace

Verdict judge_point(const Model& model, const Solution& s) {
    Verdict verdict;
    const auto fail = [&](double excess, std::string fault) {
        verdict.feasible = verdict.optimal = false;
        if (excess > verdict.excess) {
            verdict.excess = excess;
            verdict.fault = std::move(fault);
        }
    };
    if (s.x.size() != static_cast<size_t>(model.cols().size()) || s.psd.size() != model.psdvars().size() ||
        s.activity.size() != static_cast<size_t>(model.rows().size())) {
        fail(TSO_INFINITY, "there is no solution");
        return verdict;
    }
    const double tolerance = tolerance_of(model);
    const Violations v = violations_of(model, s.x, s.activity, s.psd);
    const auto look = [&](const Violation& found, double allowed, const char* format, const auto& name) {
        if (found.by > allowed)
            fail(found.by / allowed, formatted(format, name(found.at), found.by));
    };
    const auto number = [](int i) { return std::to_string(i); };
    look(v.bound, tolerance, "a bound of column %s is violated by %.2g (relative)",
         [&](int j) { return name_in(model.cols().names, j); });
    look(v.row, tolerance, "row %s is violated by %.2g (relative)",
         [&](int i) { return name_in(model.rows().names, i); });
    look(v.sos, tolerance, "special ordered set %s is violated by %.2g", number);
    look(v.indicator, tolerance, "indicator constraint %s is violated by %.2g (relative)",
         [&](int i) { return name_in(model.indicator_names(), i); });
    look(v.cone, tolerance, "semi-definite variable %s is not semi-definite: by %.2g (relative)",
         [&](int k) { return name_in(model.psdvar_names(), k); });
    look(v.integrality, kFactor * model.env.params().get_double(Param::MIP_IntegerTolerance),
         "column %s is %.2g away from an integer", [&](int j) { return name_in(model.cols().names, j); });
    return verdict;
}

Verdict judge(const Model& model, const Features& f, const Solution& s) {
    Verdict verdict = judge_point(model, s);
    if (!verdict.feasible)
        return verdict;
    const bool convex = !f.discrete() && !f.logical() && f.convex && f.convex_rows;
    const bool duals = convex && (!s.dual.empty() || !s.reduced_cost.empty());
    if (duals)
        verdict.fault = fault_of_duals(model, s, verdict.gap);
    if (!duals || (!verdict.fault.empty() && at_a_tip(model, s)))
        verdict.fault = fault_of_gap(model, s, !convex);
    verdict.optimal = verdict.fault.empty();
    return verdict;
}

} // namespace tso::engine
