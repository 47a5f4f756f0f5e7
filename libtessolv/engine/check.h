// What a solution is worth in the user's own units, whatever engine it came from.
#pragma once

#include "core/model.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace tso::engine {

using PsdValues = std::vector<std::vector<SymEntry>>; // of every semi-definite variable; entries may come in any order

// Constant, quadratic and semi-definite part included; the latter is left out where psd is empty.
// Whether two points are the same but for rounding; as many values in both.
bool same_solution(const std::vector<double>& a, const std::vector<double>& b);

double objective_of(const Model& model, const std::vector<double>& x, const PsdValues& psd = {});
std::vector<double> activity_of(const Model& model, const std::vector<double>& x,
                                const PsdValues& psd = {}); // of every row

// The worst of its kind; `at` is the element's index.
struct Violation {
    double by = 0;
    int at = -1;
    void take(double v, int i) {
        if (!(v <= by)) { // a NaN is the worst of all
            by = std::isnan(v) ? TSO_INFINITY : v;
            at = i;
        }
    }
};

// Relative to the size of what is compared or summed up, where that is larger than 1.
struct Violations {
    Violation bound, row, sos, indicator, cone;
    Violation integrality; // distance to the nearest value of the variable's type
    double worst() const { return std::max({bound.by, row.by, sos.by, indicator.by, cone.by}); } // but integrality
};
Violations violations_of(const Model& model, const std::vector<double>& x, const std::vector<double>& activity,
                         const PsdValues& psd = {});

// How far dual values and reduced costs are from proving x optimal: the worth of the slack of all bounds and sides that
// they claim to be tight, a non-negative number in units of the objective. Infinite sides count with the value itself.
double complementarity(const Model& model, const std::vector<double>& x, const std::vector<double>& activity,
                       const std::vector<double>& reduced_cost, const std::vector<double>& dual);

// Reduced costs for given dual values: the gradient of the objective at x less the duals' worth of the columns, those
// of quadratic rows being their gradient at x. `size`, if given, becomes the largest term of each of the sums, at
// least 1.
std::vector<double> reduced_costs(const Model& model, const std::vector<double>& x, const std::vector<double>& dual,
                                  std::vector<double>* size = nullptr);

} // namespace tso::engine
