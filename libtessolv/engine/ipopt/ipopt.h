// Ipopt, through SCIP's interface to solvers of nonlinear problems: continuous problems with convex quadratic objective
// and rows, with dual values. It is a local method: what it finds is the optimum where the problem is convex.
#pragma once

#include "engine/engine.h"

#include <memory>

namespace tso::engine {

std::unique_ptr<Engine> make_ipopt();

} // namespace tso::engine
