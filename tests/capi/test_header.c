/* tessolv.h as a C program sees it: plain C99, and a small model from end to end. */
#include "tessolv.h"

#include <stdio.h>
#include <string.h>

#define CHECK(call)                                                                                                    \
    do {                                                                                                               \
        const int code = (call);                                                                                       \
        if (code != TSO_OKAY) {                                                                                        \
            fprintf(stderr, "%s: %s\n", #call, TSOexplainerror(code));                                                 \
            return 1;                                                                                                  \
        }                                                                                                              \
    } while (0)

static int no_events(TSOmodel model, TSOcbdata cbdata, int where, void* usrdata) {
    return model && cbdata && usrdata && where < 0;
}

int main(void) {
    TSOenv env = NULL;
    TSOmodel model = NULL, copy;
    const int cols[] = {0, 1}, last[] = {1};
    const double ones[] = {1, 1};
    double x[2] = {-1, -1}, objective = -1;
    const char* names[2] = {NULL, NULL};

    CHECK(TSOemptyenv(&env));
    CHECK(TSOsetintparam(env, "OutputFlag", 0));
    CHECK(TSOnewmodel(env, &model, "c", 1, NULL, NULL, NULL, NULL, NULL));
    CHECK(TSOaddvar(model, 0, NULL, NULL, 1.0, 2.0, TSO_INFINITY, TSO_CONTINUOUS, "y"));
    CHECK(TSOaddrangeconstr(model, 2, cols, ones, 5.0, TSO_INFINITY, NULL));
    CHECK(TSOgetstrattrlist(model, "VarName", 2, NULL, names));
    if (strcmp(names[0], "C0") != 0 || strcmp(names[1], "y") != 0)
        return 4;
    CHECK(TSOsetcallbackfunc(model, NULL, NULL));
    CHECK(TSOoptimize(model));
    CHECK(TSOgetdblattrlist(model, "X", 2, NULL, x));
    CHECK(TSOgetdblattr(model, "ObjVal", &objective));
    if (x[0] + x[1] < 5.0 - 1e-6 || objective < 2.0 - 1e-6 || objective > 2.0 + 1e-6)
        return 5;
    copy = TSOcopymodel(model);
    CHECK(TSOfreemodel(model));
    CHECK(TSOdelvars(copy, 1, last));
    CHECK(TSOsetcallbackfunc(copy, no_events, &env));
    CHECK(TSOfreemodel(copy));
    CHECK(TSOfreeenv(env));
    if (TSOfreemodel(copy) != TSO_INVALID_ARGUMENT || TSOcbget(NULL, 3, 300, &objective) != TSO_INVALID_ARGUMENT)
        return 6;
    puts("ok");
    return 0;
}
