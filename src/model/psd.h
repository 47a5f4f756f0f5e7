// Model: what semi-definite variables have in rows and in the objective.
#pragma once

#include "attr/matrix.h"
#include "expr/psdexpr.h"
#include "model/model.h"

namespace tsp {

// Adds the row lower <= psdexpr <= upper and gives its PsdConstr. Bounds as in a TempConstr.
Ref add_psd_row(Model& self, Borrowed psdexpr, Borrowed lower, Borrowed upper, const char* name);

// The coefficients of semi-definite variables in the objective.
struct PsdCosts {
    std::vector<int> index; // of the variables
    std::vector<std::vector<SymEntry>> matrix;
};
// Those of an expression, added up by variable. Where any part of the expression does not fit the model this fails,
// before anything is changed.
PsdCosts psd_costs(Model& self, const PsdExpr& expr);
void write_psd_costs(Model& self, const PsdCosts& costs);
void clear_psd_costs(Model& self);
// Adds what the objective has of them.
void read_psd_costs(Model& self, PsdExpr& to);

} // namespace tsp
