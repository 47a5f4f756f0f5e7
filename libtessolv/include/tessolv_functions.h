/* The names of the 82 functions of tessolv.h, once: the binding, the exports, the test stand-in and the tests loop over
 * this list. X(name) is expanded once for each. */
#ifndef TESSOLV_FUNCTIONS_H
#define TESSOLV_FUNCTIONS_H

/* clang-format off */
#define TSO_FUNCTIONS(X) \
    X(TSOemptyenv) \
    X(TSOloadenv) \
    X(TSOstartenv) \
    X(TSOfreeenv) \
    X(TSOgetenv) \
    X(TSOversion) \
    X(TSOexplainerror) \
    X(TSOmsg) \
    X(TSOchecklicense) \
    X(TSOsetintparam) \
    X(TSOsetdblparam) \
    X(TSOsetstrparam) \
    X(TSOgetintparam) \
    X(TSOgetdblparam) \
    X(TSOgetstrparam) \
    X(TSOgetintparaminfo) \
    X(TSOgetdblparaminfo) \
    X(TSOgetstrparaminfo) \
    X(TSOresetparams) \
    X(TSOreadparams) \
    X(TSOwriteparams) \
    X(TSOgetattrinfo) \
    X(TSOgetintattr) \
    X(TSOgetdblattr) \
    X(TSOsetintattr) \
    X(TSOsetdblattr) \
    X(TSOgetstrattr) \
    X(TSOsetstrattr) \
    X(TSOgetintattrlist) \
    X(TSOgetdblattrlist) \
    X(TSOgetcharattrlist) \
    X(TSOsetintattrlist) \
    X(TSOsetdblattrlist) \
    X(TSOsetcharattrlist) \
    X(TSOgetstrattrlist) \
    X(TSOsetstrattrlist) \
    X(TSOgetmatattrlist) \
    X(TSOsetmatattrlist) \
    X(TSOnewmodel) \
    X(TSOcopymodel) \
    X(TSOfreemodel) \
    X(TSOreadmodel) \
    X(TSOread) \
    X(TSOwrite) \
    X(TSOreset) \
    X(TSOoptimize) \
    X(TSOcomputeIIS) \
    X(TSOcleanupmilp) \
    X(TSOsetcallbackfunc) \
    X(TSOaddvar) \
    X(TSOaddvars) \
    X(TSOaddrangeconstr) \
    X(TSOaddrangeconstrs) \
    X(TSOaddqconstr) \
    X(TSOaddqpterms) \
    X(TSOdelq) \
    X(TSOaddsos) \
    X(TSOaddgenconstrIndicator) \
    X(TSOaddpsdvar) \
    X(TSOaddrangepsdconstr) \
    X(TSOchgcoeffs) \
    X(TSOdelvars) \
    X(TSOdelconstrs) \
    X(TSOdelsos) \
    X(TSOdelgenconstrs) \
    X(TSOgetcoeff) \
    X(TSOgetconstrs) \
    X(TSOgetvars) \
    X(TSOgetq) \
    X(TSOgetqconstr) \
    X(TSOgetsos) \
    X(TSOgetgenconstrIndicator) \
    X(TSOgetvarbyname) \
    X(TSOgetconstrbyname) \
    X(TSOgetqconstrbyname) \
    X(TSOcbget) \
    X(TSOcbsolution) \
    X(TSOcbsolutionp) \
    X(TSOcbcut) \
    X(TSOcbcutp) \
    X(TSOcbbranch) \
    X(TSOcbbranchp)
/* clang-format on */

#define TSO_FUNCTION_COUNT 82

#endif
