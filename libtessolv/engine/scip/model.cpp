// The model into a SCIP object.
#include "engine/scip/engine.h"

#include <algorithm>
#include <cmath>

namespace tso::engine {
namespace {

// A pair of bounds that cross by no more than this is one value.
constexpr double kCrossing = 1e-9;

bool cross(double lower, double upper) { return lower > upper + kCrossing * std::max(1.0, std::fabs(upper)); }

// Terms of one pair of columns are added up, which may leave nothing.
struct Terms {
    std::vector<SCIP_VAR*> first, second;
    std::vector<double> value;
    double largest = 0;
    int count() const { return static_cast<int>(value.size()); }
};
Terms merged(const ScipProblem& problem, std::vector<QuadTerm> terms) {
    for (QuadTerm& t : terms)
        if (t.row > t.col)
            std::swap(t.row, t.col);
    const auto before = [](const QuadTerm& a, const QuadTerm& b) {
        return a.row != b.row ? a.row < b.row : a.col < b.col;
    };
    std::stable_sort(terms.begin(), terms.end(), before);
    Terms result;
    for (size_t k = 0; k < terms.size();) {
        double sum = 0;
        const QuadTerm& t = terms[k];
        for (; k < terms.size() && terms[k].row == t.row && terms[k].col == t.col; ++k)
            sum += terms[k].value;
        if (sum == 0)
            continue;
        result.first.push_back(problem.object.vars[t.row]);
        result.second.push_back(problem.object.vars[t.col]);
        result.value.push_back(sum);
        result.largest = std::max(result.largest, std::fabs(sum));
    }
    return result;
}

void add_columns(const Model& model, ScipProblem& problem) {
    const Columns& cols = model.cols();
    problem.object.vars.reserve(cols.size() + 1);
    for (int j = 0; j < cols.size(); ++j) {
        double lower = model.effective_lower(j), upper = model.effective_upper(j);
        const char type = cols.type[j];
        if (is_semi_type(type)) {
            if (cross(lower, upper)) // nothing is left but zero
                lower = upper = 0;
            lower = std::min(lower, 0.0);
            upper = std::max(upper, 0.0);
        }
        if (is_whole(type)) { // SCIP wants to see what it may be
            lower = std::ceil(lower - 1e-9);
            upper = std::floor(upper + 1e-9);
        }
        const SCIP_VARTYPE as = !is_whole(type)            ? SCIP_VARTYPE_CONTINUOUS
                                : lower >= 0 && upper <= 1 ? SCIP_VARTYPE_BINARY
                                                           : SCIP_VARTYPE_INTEGER;
        problem.object.add_var(std::min(lower, upper), std::max(lower, upper), cols.cost[j], as);
        problem.whole.push_back(is_whole(type));
    }
    problem.columns = problem.object.vars.size();
}

void add_rows(const Model& model, ScipProblem& problem) {
    const Rows& rows = model.rows();
    std::vector<SCIP_VAR*> vars;
    std::vector<double> value;
    for (int i = 0; i < rows.size(); ++i) {
        const auto c = rows.matrix.columns_of(i);
        const auto v = rows.matrix.values_of(i);
        vars.clear();
        for (int j : c)
            vars.push_back(problem.object.vars[j]);
        value.assign(v.begin(), v.end());
        const double lower = std::min(rows.lower[i], rows.upper[i]), upper = std::max(rows.lower[i], rows.upper[i]);
        const int linear = static_cast<int>(value.size());
        SCIP_CONS* cons = nullptr;
        Terms terms;
        if (rows.kind_of(i) == RowKind::Quadratic)
            terms = merged(problem, rows.quadratic[i]);
        problem.nonlinear |= terms.count() > 0;
        if (terms.count() == 0)
            must(SCIPcreateConsBasicLinear(problem.object.get(), &cons, "r", linear, vars.data(), value.data(), lower,
                                           upper),
                 "a row");
        else
            must(SCIPcreateConsBasicQuadraticNonlinear(problem.object.get(), &cons, "q", linear, vars.data(),
                                                       value.data(), terms.count(), terms.first.data(),
                                                       terms.second.data(), terms.value.data(), lower, upper),
                 "a quadratic row");
        problem.object.add(cons);
    }
}

// SCIP's objective is linear. A variable of its own takes the quadratic part over, which may be up to SCIP's tolerance
// away from it; coefficients below 1 are scaled up so that this is little beside the values.
void add_quadratic_objective(const Model& model, ScipProblem& problem) {
    Terms terms = merged(problem, model.quadratic());
    if (terms.count() == 0)
        return;
    problem.scale = std::exp2(std::max(0.0, std::round(-std::log2(terms.largest))));
    for (double& v : terms.value)
        v *= problem.scale;
    SCIP_VAR* t = problem.object.add_var(-TSO_INFINITY, TSO_INFINITY, 1 / problem.scale, SCIP_VARTYPE_CONTINUOUS);
    double minus_one = -1;
    const bool minimize = model.sense() == TSO_MINIMIZE;
    SCIP_CONS* cons = nullptr;
    must(SCIPcreateConsBasicQuadraticNonlinear(
             problem.object.get(), &cons, "objective", 1, &t, &minus_one, terms.count(), terms.first.data(),
             terms.second.data(), terms.value.data(), minimize ? -TSO_INFINITY : 0, minimize ? 0 : TSO_INFINITY),
         "the quadratic objective");
    problem.object.add(cons);
    problem.objective = t;
    problem.nonlinear = true;
}

void add_semicontinuous(const Model& model, ScipProblem& problem) {
    const Columns& cols = model.cols();
    for (int j = 0; j < cols.size(); ++j) {
        if (!is_split(model, j))
            continue;
        const bool positive = cols.lower[j] > 0;
        SCIP_VAR* vars[] = {problem.object.vars[j], problem.object.vars[j]};
        SCIP_BOUNDTYPE types[] = {SCIP_BOUNDTYPE_UPPER, SCIP_BOUNDTYPE_LOWER};
        double bounds[] = {positive ? 0 : cols.upper[j], positive ? cols.lower[j] : 0};
        SCIP_CONS* cons = nullptr;
        must(SCIPcreateConsBasicBounddisjunction(problem.object.get(), &cons, "semi", 2, vars, types, bounds),
             "a semi-continuous variable");
        problem.object.add(cons);
    }
}

} // namespace

bool is_split(const Model& model, int j) {
    const Columns& cols = model.cols();
    return is_semi_type(cols.type[j]) && !cross(cols.lower[j], cols.upper[j]) &&
           (cols.lower[j] > 0 || cols.upper[j] < 0);
}

std::string scip_refusal(const Model& model) {
    for (size_t k = 0; k < model.indicators().size(); ++k) {
        const int j = model.indicators()[k].binvar;
        if (!is_whole(model.cols().type[j]) || model.effective_lower(j) < 0 || model.effective_upper(j) > 1)
            return "the variable of indicator constraint " + std::to_string(k) + " is not binary any more";
    }
    return "";
}

bool scip_crossing(const Model& model) {
    const Columns& cols = model.cols();
    const Rows& rows = model.rows();
    for (int i = 0; i < rows.size(); ++i)
        if (cross(rows.lower[i], rows.upper[i]) || rows.lower[i] >= TSO_INFINITY || rows.upper[i] <= -TSO_INFINITY)
            return true;
    for (int j = 0; j < cols.size(); ++j) {
        double lower = model.effective_lower(j), upper = model.effective_upper(j);
        if (is_semi_type(cols.type[j]))
            continue; // there is always zero
        if (is_whole(cols.type[j])) {
            lower = std::ceil(lower - 1e-9);
            upper = std::floor(upper + 1e-9);
        }
        if (cross(lower, upper) || lower >= TSO_INFINITY || upper <= -TSO_INFINITY)
            return true;
    }
    return false;
}

void scip_build(const Model& model, ScipProblem& problem) {
    SCIP* s = problem.object.get();
    must(SCIPsetObjsense(s, model.sense() == TSO_MINIMIZE ? SCIP_OBJSENSE_MINIMIZE : SCIP_OBJSENSE_MAXIMIZE),
         "the sense");
    must(SCIPaddOrigObjoffset(s, model.constant()), "the constant of the objective");
    add_columns(model, problem);
    add_rows(model, problem);
    add_quadratic_objective(model, problem);
    add_semicontinuous(model, problem);
    scip_add_sets(model, problem);
    scip_add_indicators(model, problem);
}

} // namespace tso::engine
