/* What the calls of the library cost, one line each: nanoseconds a call, and the memory of a million elements.
 *
 *     cc -O2 -Ilibtessolv/include benchmarks/library_micro.c -o library_micro -L<dir> -ltessolv -Wl,-rpath,<dir>
 *     ./library_micro [millions]
 */
#define _POSIX_C_SOURCE 200809L
#include "tessolv.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

static double seconds(void) {
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return (double)t.tv_sec + 1e-9 * (double)t.tv_nsec;
}

static double resident_mb(void) {
    long size = 0, resident = 0;
    FILE* f = fopen("/proc/self/statm", "r");
    if (f) {
        if (fscanf(f, "%ld %ld", &size, &resident) != 2)
            resident = 0;
        fclose(f);
    }
    return (double)resident * (double)sysconf(_SC_PAGESIZE) / 1e6;
}

static void must(int code) {
    if (code) {
        fprintf(stderr, "%s\n", TSOexplainerror(code));
        exit(1);
    }
}

static void report(const char* what, double begin, double count) {
    printf("%-52s %8.1f ns\n", what, (seconds() - begin) / count * 1e9);
}

int main(int argc, char** argv) {
    const int n = (argc > 1 ? atoi(argv[1]) : 1) * 1000000;
    TSOenv env;
    TSOmodel model, bulk;
    must(TSOemptyenv(&env));
    must(TSOsetintparam(env, "OutputFlag", 0));
    must(TSOnewmodel(env, &model, "micro", 0, NULL, NULL, NULL, NULL, NULL));
    must(TSOnewmodel(env, &bulk, "bulk", 0, NULL, NULL, NULL, NULL, NULL));

    double memory = resident_mb(), begin = seconds();
    for (int j = 0; j < n; ++j)
        must(TSOaddvar(model, 0, NULL, NULL, 1, 0, 10, TSO_CONTINUOUS, NULL));
    report("TSOaddvar, unnamed", begin, n);
    printf("%-52s %8.1f MB\n", "memory of these", resident_mb() - memory);

    memory = resident_mb();
    begin = seconds();
    for (int i = 0; i < n; ++i) {
        const int ind[3] = {i % (n - 2), i % (n - 2) + 1, i % (n - 2) + 2};
        const double val[3] = {1, 2, 3};
        must(TSOaddrangeconstr(model, 3, ind, val, -TSO_INFINITY, 5, NULL));
    }
    report("TSOaddrangeconstr, 3 terms, unnamed", begin, n);
    printf("%-52s %8.1f bytes a row\n", "memory of these", (resident_mb() - memory) * 1e6 / n);

    char name[32];
    begin = seconds();
    for (int j = 0; j < n; ++j) {
        snprintf(name, sizeof name, "x[%d]", j);
    }
    const double spent = seconds() - begin;
    begin = seconds();
    for (int j = 0; j < n; ++j) {
        snprintf(name, sizeof name, "x[%d]", j);
        must(TSOaddvar(bulk, 0, NULL, NULL, 1, 0, 10, TSO_CONTINUOUS, name));
    }
    report("TSOaddvar, named", begin + spent, n);

    int index;
    begin = seconds();
    must(TSOgetvarbyname(bulk, "x[17]", &index));
    report("TSOgetvarbyname, the first, for each variable", begin, n);
    begin = seconds();
    for (int j = 0; j < n; ++j)
        must(TSOgetvarbyname(bulk, "x[17]", &index));
    report("TSOgetvarbyname, later ones", begin, n);

    int type, owner, writable;
    double value, sum = 0;
    const char* const names[] = {"LB", "ReducedCost"};
    for (int k = 0; k < 2; ++k) {
        begin = seconds();
        for (int j = 0; j < n; ++j)
            must(TSOgetattrinfo(model, names[k], &type, &owner, &writable));
        snprintf(name, sizeof name, "TSOgetattrinfo, %s", names[k]);
        report(name, begin, n);
    }
    begin = seconds();
    for (int j = 0; j < n; ++j) {
        must(TSOgetattrinfo(model, "UB", &type, &owner, &writable));
        must(TSOgetdblattrlist(model, "UB", 1, &j, &value));
        sum += value;
    }
    report("TSOgetattrinfo and TSOgetdblattrlist of one", begin, n);

    int* ind = malloc((size_t)n * sizeof *ind);
    double* values = malloc((size_t)n * sizeof *values);
    if (!ind || !values)
        return 1;
    for (int j = 0; j < n; ++j)
        ind[j] = j;
    memset(values, 0, (size_t)n * sizeof *values);
    begin = seconds();
    must(TSOgetdblattrlist(model, "UB", n, ind, values));
    report("TSOgetdblattrlist with indices, an element", begin, n);
    begin = seconds();
    must(TSOgetdblattrlist(model, "UB", n, NULL, values));
    report("TSOgetdblattrlist without indices, an element", begin, n);
    begin = seconds();
    must(TSOsetdblattrlist(model, "UB", n, ind, values));
    report("TSOsetdblattrlist with indices, an element", begin, n);
    begin = seconds();
    for (int j = 0; j < n; ++j)
        must(TSOsetdblattrlist(model, "Obj", 1, &j, &values[j]));
    report("TSOsetdblattrlist of one", begin, n);

    begin = seconds();
    for (int j = 0; j < n; ++j) {
        const int row = j, col = (j + 5) % n;
        must(TSOchgcoeffs(model, 1, &row, &col, &values[j]));
    }
    report("TSOchgcoeffs of one, a new entry", begin, n);
    begin = seconds();
    must(TSOdelvars(model, n / 2, ind));
    report("TSOdelvars of half, a removed variable", begin, n / 2);

    must(TSOfreemodel(model));
    must(TSOfreemodel(bulk));
    must(TSOfreeenv(env));
    free(ind);
    free(values);
    return sum < 0;
}
