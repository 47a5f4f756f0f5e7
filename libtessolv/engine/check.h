// What a solution is worth in the user's own units, whatever engine it came from.
#pragma once

#include "core/model.h"

#include <string>
#include <vector>

namespace tso::engine {

double objective_of(const Model& model, const std::vector<double>& x); // constant and quadratic part included
std::vector<double> activity_of(const Model& model, const std::vector<double>& x); // of every row

struct Violations {
    double bound = 0, row = 0; // relative to the size of what is summed up or compared
    double integrality = 0;    // distance to the nearest value of the variable's type
    double worst() const { return bound > row ? bound : row; }
};
Violations violations_of(const Model& model, const std::vector<double>& x, const std::vector<double>& activity);

// How far dual values and reduced costs are from proving x optimal: the worth of the slack of all bounds and sides that
// they claim to be tight, a non-negative number in units of the objective. Infinite sides count with the value itself.
double complementarity(const Model& model, const std::vector<double>& x, const std::vector<double>& activity,
                       const std::vector<double>& reduced_cost, const std::vector<double>& dual);

// Reduced costs for given dual values: the gradient of the objective at x less the duals' worth of the columns.
std::vector<double> reduced_costs(const Model& model, const std::vector<double>& x, const std::vector<double>& dual);

} // namespace tso::engine
