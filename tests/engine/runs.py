"""What the scripts of `script` start with, each in a process of its own: runs that last, and what they leave."""

import functools
import os
import signal
import threading
import time

import answers
import capi
import numpy as np

dll = capi.load()
library = capi.Library(dll)
build = functools.partial(answers.build, library)


def mip():
    return answers.market_split(build, 5, 50)


def sets():
    m = mip()
    m.addsos([1], [0], [50, 51])
    return m


def nonconvex():
    m = library.model()
    rng = np.random.default_rng(2)
    m.addvars(60, ub=np.ones(60))
    m.addrow(np.arange(60), np.ones(60), 5, 20)
    i, j = np.tril_indices(60)
    answers.add_quadratic(m, i, j, rng.normal(size=len(i)))
    return m


def qp():
    return answers.large_qp(library, 2000)


def lp(rows=1500, columns=2500, **parameters):
    rng = np.random.default_rng(3)
    m = library.model()
    m.addvars(columns, obj=-rng.uniform(0, 1000, columns), ub=np.ones(columns))
    index = (np.arange(40) * (columns // 40))[None, :] + rng.integers(0, columns // 40, (rows, 40))
    value = rng.integers(1, 51, (rows, 40)).astype(float)
    m.addrows(rows, np.arange(rows) * 40, index.ravel(), value.ravel(), upper=value.sum(axis=1) / 4)
    for name, number in parameters.items():
        m.parameter(name.replace("_", "/"), number)
    return m


barrier = functools.partial(lp, Method=2)
first_order = functools.partial(lp, Method=4, IPM_GapTolerance=1e-10)
presolving = functools.partial(lp, 60000, 100000)


def semidefinite(n=900):
    rng = np.random.default_rng(5)
    return answers.max_cut(library, n, [(i, j) for i in range(n) for j in range(i) if rng.random() < 0.1])


def pentagon(logged=0):
    m = answers.max_cut(library, 5, [(i, (i + 1) % 5) for i in range(5)])
    m.parameter("OutputFlag", logged)
    return m


def optimize(m, press=()):
    for after in press:
        threading.Timer(after, os.kill, (os.getpid(), signal.SIGINT)).start()
    begin = time.monotonic()
    code = dll.TSOoptimize(m.handle)
    return code, time.monotonic() - begin


def children():
    found = []
    for task in os.listdir("/proc/self/task"):
        with open(f"/proc/self/task/{task}/children") as file:
            found += map(int, file.read().split())
    return found
