/* The floor under model building: the same models through HiGHS's C interface, in bulk. Prints CPU seconds. */
#include "interfaces/highs_c_api.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

static double cpu(void) { return (double)clock() / CLOCKS_PER_SEC; }

static void* model(void) {
    void* h = Highs_create();
    Highs_setBoolOptionValue(h, "output_flag", 0);
    return h;
}

static void add_columns(void* h, int n, double upper) {
    double *cost = calloc(n, sizeof *cost), *lo = calloc(n, sizeof *lo), *up = malloc(n * sizeof *up);
    for (int j = 0; j < n; ++j)
        up[j] = upper;
    Highs_addCols(h, n, cost, lo, up, 0, NULL, NULL, NULL);
    free(cost), free(lo), free(up);
}

/* rows of three terms */
static void rows(void* h, int n) {
    double inf = Highs_getInfinity(h);
    HighsInt *begin = malloc(n * sizeof *begin), *index = malloc(3 * (size_t)n * sizeof *index);
    double *value = malloc(3 * (size_t)n * sizeof *value), *lo = malloc(n * sizeof *lo), *up = malloc(n * sizeof *up);
    for (int i = 0; i < n; ++i) {
        begin[i] = 3 * i;
        lo[i] = -inf;
        up[i] = 4;
        for (int k = 0; k < 3; ++k)
            index[3 * i + k] = i + k, value[3 * i + k] = k + 1;
    }
    Highs_addRows(h, n, lo, up, 3 * n, begin, index, value);
    free(begin), free(index), free(value), free(lo), free(up);
}

static void long_sum(void* h, int n) {
    double inf = Highs_getInfinity(h), *value = malloc(n * sizeof *value);
    HighsInt* index = malloc(n * sizeof *index);
    for (int j = 0; j < n; ++j)
        index[j] = j, value[j] = 2;
    Highs_addRow(h, -inf, 1, n, index, value);
    free(index), free(value);
}

static void facility(void* h, int n) {
    double inf = Highs_getInfinity(h);
    add_columns(h, n * n + n, 1);
    int m = n + n * n, nz = n * n + 2 * n * n, at = 0, row = 0;
    HighsInt *begin = malloc(m * sizeof *begin), *index = malloc(nz * sizeof *index);
    double *value = malloc(nz * sizeof *value), *lo = malloc(m * sizeof *lo), *up = malloc(m * sizeof *up);
    for (int j = 0; j < n; ++j, ++row) {
        begin[row] = at;
        lo[row] = up[row] = 1;
        for (int i = 0; i < n; ++i)
            index[at] = i * n + j, value[at++] = 1;
    }
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j, ++row) {
            begin[row] = at;
            lo[row] = -inf;
            up[row] = 0;
            index[at] = i * n + j, value[at++] = 1;
            index[at] = n * n + i, value[at++] = -1;
        }
    Highs_addRows(h, m, lo, up, nz, begin, index, value);
    double* cost = malloc((n * n + n) * sizeof *cost);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j)
            cost[i * n + j] = i + j;
        cost[n * n + i] = 10;
        Highs_changeColIntegrality(h, n * n + i, 1);
    }
    Highs_changeColsCostByRange(h, 0, n * n + n - 1, cost);
    free(begin), free(index), free(value), free(lo), free(up), free(cost);
}

int main(int argc, char** argv) {
    if (argc < 3)
        return 2;
    const char* name = argv[1];
    int n = atoi(argv[2]);
    double least = 1e30;
    for (int repeat = 0; repeat < 4; ++repeat) {
        void* h = model();
        double begin;
        if (!strcmp(name, "variables")) {
            begin = cpu();
            add_columns(h, n, 4);
        } else if (!strcmp(name, "facility")) {
            begin = cpu();
            facility(h, n);
        } else if (!strcmp(name, "rows")) {
            add_columns(h, n, 1e30);
            begin = cpu();
            rows(h, n - 2);
        } else if (!strcmp(name, "long_sum")) {
            add_columns(h, n, 1e30);
            begin = cpu();
            long_sum(h, n);
        } else {
            return 3;
        }
        double took = cpu() - begin;
        if (repeat > 0 && took < least)
            least = took;
        Highs_destroy(h);
    }
    printf("%.6f\n", least);
    return 0;
}
