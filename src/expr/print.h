// The text forms of expressions.
#pragma once

#include "expr/linexpr.h"
#include "expr/psdexpr.h"
#include "expr/quadexpr.h"

namespace tsp {

Ref linexpr_text(LinExpr& e);
Ref quadexpr_text(QuadExpr& e);
Ref psdexpr_text(PsdExpr& e);

} // namespace tsp
