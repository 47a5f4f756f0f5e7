// Solution: what the last run left behind. It stays readable until the next run or a reset, whatever is edited
// meanwhile.
#pragma once

#include "tessolv.h"

#include <cstdint>
#include <limits>
#include <vector>

namespace tso {

struct SymEntry { // of a symmetric matrix: row >= col stands for itself and its mirror
    int row, col;
    double value;
};

struct PoolEntry {
    double objective;
    std::vector<double> x;
};

// Vectors are empty where there is none of that kind. Those of columns have as many entries as the model had columns
// when it was solved, less those deleted since; rows alike.
//
// Signs: objective values, bounds, duals and reduced costs are in the sense of the user's objective. The dual value of
// a row is the change of the optimal objective value per unit of the row's active bound; the reduced cost of a column
// is its cost less the duals' worth of its entries: the change of the objective value per unit of the column.
struct Solution {
    int status = TSO_STATUS_UNKNOWN;
    std::vector<double> x, activity;          // primal values of columns and of rows (quadratic part included)
    std::vector<double> reduced_cost, dual;   // continuous problems only
    std::vector<int8_t> col_basis, row_basis; // TSO_BASIS_..., LPs only
    std::vector<double> primal_ray;           // columns: a direction of unbounded improvement
    std::vector<double> dual_ray;             // rows: weights that prove infeasibility
    std::vector<PoolEntry> pool;              // best first; a MIP's also holds x itself in front
    std::vector<int8_t> iis_col, iis_row;     // 0 or 1
    std::vector<std::vector<SymEntry>> psd;   // values of the psd variables
    double objective = 0;                     // of x; valid if x is not empty
    double bound = std::numeric_limits<double>::quiet_NaN(); // dual objective value; NaN if there is none
    double gap_abs = 0, gap_rel = 0; // MIPs: |objective - bound|, and that over max(1e-10, |objective|)
    bool is_mip = false;
    int64_t simplex_iterations = 0, ipm_iterations = 0, nodes = 0;
    double presolve_seconds = 0, solver_seconds = 0, total_seconds = 0;

    bool has_run() const { return status != TSO_STATUS_UNKNOWN || total_seconds > 0; }
    bool has_primal() const { return !x.empty() || empty_but_solved; }
    bool has_dual() const { return !dual.empty() || !reduced_cost.empty() || (empty_but_solved && !is_mip); }
    bool empty_but_solved = false; // solved, and the model had no columns
};

} // namespace tso
