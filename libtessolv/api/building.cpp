// Adding, changing and removing elements.
#include "api/guard.h"

using namespace tso;
using namespace tso::api;

namespace {

struct Bounds {
    double lower, upper;
};

Bounds bounds_of(char sense, double rhs) {
    checked_sense(sense);
    checked_finite(rhs);
    return {sense == TSO_LESS_EQUAL ? -TSO_INFINITY : rhs, sense == TSO_GREATER_EQUAL ? TSO_INFINITY : rhs};
}

} // namespace

int TSOaddvar(TSOmodel model, int numnz, const int* vind, const double* vval, double obj, double lb, double ub,
              char vtype, const char* name) {
    return edit_model(model, [&](Model& m) { m.add_col(numnz, vind, vval, obj, lb, ub, vtype, name); });
}

int TSOaddvars(TSOmodel model, int numvars, int numnz, const int* vbeg, const int* vind, const double* vval,
               const double* obj, const double* lb, const double* ub, const char* vtype, const char** names) {
    return edit_model(model,
                      [&](Model& m) { m.add_cols(numvars, numnz, vbeg, vind, vval, obj, lb, ub, vtype, names); });
}

int TSOaddrangeconstr(TSOmodel model, int numnz, const int* cind, const double* cval, double lower, double upper,
                      const char* name) {
    return edit_model(model, [&](Model& m) { m.add_row(numnz, cind, cval, lower, upper, name); });
}

int TSOaddrangeconstrs(TSOmodel model, int numconstrs, int numnz, const int* cbeg, const int* cind, const double* cval,
                       const double* lower, const double* upper, const char** names) {
    return edit_model(model, [&](Model& m) { m.add_rows(numconstrs, numnz, cbeg, cind, cval, lower, upper, names); });
}

int TSOaddqconstr(TSOmodel model, int numlnz, const int* lind, const double* lval, int numqnz, const int* qrow,
                  const int* qcol, const double* qval, char sense, double rhs, const char* name) {
    return edit_model(model, [&](Model& m) {
        const Bounds b = bounds_of(sense, rhs);
        m.add_quadratic_row(numlnz, lind, lval, numqnz, qrow, qcol, qval, b.lower, b.upper, name);
    });
}

int TSOaddqpterms(TSOmodel model, int numqnz, const int* qrow, const int* qcol, const double* qval) {
    return edit_model(model, [&](Model& m) { m.add_quadratic(numqnz, qrow, qcol, qval); });
}

int TSOdelq(TSOmodel model) {
    return edit_model(model, [](Model& m) { m.clear_quadratic(); });
}

int TSOaddsos(TSOmodel model, int numsos, int nummembers, const int* types, const int* beg, const int* ind,
              const double* weight) {
    return edit_model(model, [&](Model& m) { m.add_sos(numsos, nummembers, types, beg, ind, weight); });
}

int TSOaddgenconstrIndicator(TSOmodel model, const char* name, int binvar, int binval, int nvars, const int* ind,
                             const double* val, char sense, double rhs) {
    return edit_model(model, [&](Model& m) { m.add_indicator(name, binvar, binval, nvars, ind, val, sense, rhs); });
}

int TSOaddpsdvar(TSOmodel model, int dim, int nz, const int* rows, const int* cols, const double* vals,
                 const char* name) {
    return edit_model(model, [&](Model& m) { m.add_psdvar(dim, nz, rows, cols, vals, name); });
}

int TSOaddrangepsdconstr(TSOmodel model, int numnz, int numpsdvars, int numpsdnz, const int* cind, const double* cval,
                         const int* pind, const int* prow, const int* pcol, const double* pval, double lower,
                         double upper, const char* name) {
    return edit_model(model, [&](Model& m) {
        require(numpsdvars >= 0, TSO_INVALID_ARGUMENT);
        m.add_psd_row(numnz, cind, cval, numpsdnz, pind, prow, pcol, pval, lower, upper, name);
    });
}

int TSOchgcoeffs(TSOmodel model, int cnt, const int* cind, const int* vind, const double* val) {
    return edit_model(model, [&](Model& m) { m.set_coefficients(cnt, cind, vind, val); });
}

int TSOdelvars(TSOmodel model, int len, const int* ind) {
    return edit_model(model, [&](Model& m) { m.delete_cols(len, ind); });
}

int TSOdelconstrs(TSOmodel model, int len, const int* ind) {
    return edit_model(model, [&](Model& m) { m.delete_rows(len, ind); });
}

int TSOdelsos(TSOmodel model, int len, const int* ind) {
    return edit_model(model, [&](Model& m) { m.delete_sos(len, ind); });
}

int TSOdelgenconstrs(TSOmodel model, int len, const int* ind) {
    return edit_model(model, [&](Model& m) { m.delete_indicators(len, ind); });
}
