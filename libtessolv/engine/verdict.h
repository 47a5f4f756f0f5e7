// Whether an engine's answer may be called optimal.
#pragma once

#include "core/model.h"
#include "engine/classes.h"

#include <limits>
#include <string>

namespace tso::engine {

struct Verdict {
    bool feasible = true; // the point is there, and violates nothing by more than tolerances allow
    bool optimal = true;  // and what proves it best does so
    double excess = 0;    // the worst violation over its tolerance
    double gap = std::numeric_limits<double>::quiet_NaN(); // between the objectives, as dual values tell it; if they do
    std::string fault;                                     // what is wrong, for the log; empty if optimal
};

// Checks the point of `s`, in the user's units, against everything that the model asks of it: bounds, rows of all
// kinds, integers, special ordered sets, indicators, cones. For what is convex and comes with dual values these are
// checked too: their signs, and what they leave between primal and dual objective; without, the gap that the engine
// tells is.
Verdict judge(const Model& model, const Features& features, const Solution& s);

// As above without optimality: for what a limit has left.
Verdict judge_point(const Model& model, const Solution& s);

} // namespace tso::engine
