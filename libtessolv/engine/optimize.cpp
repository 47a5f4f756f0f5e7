// What TSOoptimize and TSOcomputeIIS do around an engine.
#include "engine/attempts.h"
#include "engine/iis.h"
#include "engine/progress.h"
#include "engine/run_control.h"

#include <algorithm>

namespace tso::engine {
namespace {

void begin(Model& model, Run& run) {
    run.begin = Run::Clock::now();
    run.max_seconds = model.env.params().get_double(Param::MaxTime);
}

// No columns, nothing to choose: the rows hold at zero or they do not.
bool solve_without_columns(const Model& model, Solution& result) {
    if (model.cols().size() > 0 || !model.psdvars().empty())
        return false;
    const Rows& rows = model.rows();
    const double tolerance = model.env.params().get_double(Param::SPX_PrimalTolerance);
    result.status = TSO_STATUS_OPTIMAL;
    for (int i = 0; i < rows.size(); ++i)
        if (rows.lower[i] > tolerance || rows.upper[i] < -tolerance) {
            result.status = TSO_STATUS_INFEASIBLE;
            result.dual_ray.assign(rows.size(), 0.0);
            result.dual_ray[i] = rows.lower[i] > tolerance ? 1 : -1;
            return true;
        }
    result.empty_but_solved = true;
    result.objective = result.bound = model.constant();
    result.activity.assign(rows.size(), 0.0);
    result.dual.assign(rows.size(), 0.0);
    result.row_basis.assign(rows.size(), TSO_BASIS_BASIC);
    return true;
}

bool unchanged(const Model& model) {
    const Changes& c = model.changes;
    return !c.everything && !c.any_col && !c.any_row && c.coefficients.empty() &&
           c.col_origin.size() == static_cast<size_t>(c.engine_cols) &&
           c.row_origin.size() == static_cast<size_t>(c.engine_rows) && model.cols().size() == c.engine_cols &&
           model.rows().size() == c.engine_rows;
}

int solve(Model& model, Run& run, bool has_callback) {
    log_header(model);
    Solution result;
    if (solve_without_columns(model, result)) {
        result.total_seconds = run.elapsed();
        model.solution = std::move(result);
        log_result(model, TSO_OKAY);
        return TSO_OKAY;
    }
    model.solution = Solution();
    int code;
    if (run.remaining() <= 0) {
        code = TSO_ABORT_TIME_LIMIT;
        result.is_mip = model.is_mip();
    } else {
        code = run_engines(model, run, has_callback, result);
    }
    result.total_seconds = run.elapsed();
    result.solver_seconds = result.total_seconds - result.presolve_seconds;
    model.solution = std::move(result);
    if (code != TSO_ABORT_SOLVER_NOT_AVAILABLE)
        log_result(model, code);
    return code;
}

} // namespace

int optimize(Model& model, Run& run, bool has_callback) {
    begin(model, run);
    InterruptGuard guard(run);
    return solve(model, run, has_callback);
}

int compute_iis(Model& model, Run& run, bool has_callback) {
    begin(model, run);
    InterruptGuard guard(run);
    const bool known = model.solution.status == TSO_STATUS_INFEASIBLE && model.session && unchanged(model);
    if (!known) {
        const int code = solve(model, run, has_callback);
        if (code != TSO_OKAY)
            return code;
    }
    Log& log = model.env.log();
    switch (model.solution.status) {
    case TSO_STATUS_OPTIMAL:
    case TSO_STATUS_SUB_OPTIMAL:
    case TSO_STATUS_UNBOUNDED:
        log.line("The model is feasible: it has no infeasible subsystem.");
        return TSO_IIS_FEASIBLE;
    case TSO_STATUS_INFEASIBLE:
        break;
    default:
        return TSO_IIS_NO_SOLN;
    }
    Solution found;
    int code = TSO_OKAY;
    if (model.cols().size() == 0 && model.psdvars().empty()) { // the proof names the row
        for (double v : model.solution.dual_ray)
            found.iis_row.push_back(v != 0);
    } else {
        code = find_iis(model, run, model.solution.solver_seconds, found);
    }
    model.solution.iis_col = std::move(found.iis_col);
    model.solution.iis_row = std::move(found.iis_row);
    model.solution.total_seconds = run.elapsed();
    const auto members = [](const std::vector<int8_t>& v) { return std::count(v.begin(), v.end(), 1); };
    if (code == TSO_OKAY)
        log.printf("Irreducible infeasible subsystem: %d rows, bounds of %d columns, found in %.2f s",
                   static_cast<int>(members(model.solution.iis_row)), static_cast<int>(members(model.solution.iis_col)),
                   run.elapsed());
    return code;
}

} // namespace tso::engine
