"""What indexes and queries over tuple keys cost, beside a dict of lists in Python and the peers that have such a thing.

    python benchmarks/containers.py [keys]

Needs tessolvpy; PyOptInterface and Pyomo take part if they are there. Each case runs in a process of its own, the
cases of one table turn by turn; the figure is the least CPU time of the rounds. Every case checks what it finds.
"""

import collections
import json
import os
import subprocess
import sys
import time

ROUNDS = 5


def grid(n):
    """n keys (i, j, k), of which i and j have about the cube root of n values."""
    side = round(n ** (1 / 3))
    return [(i, j, k) for i in range(side) for j in range(side) for k in range(n // side**2)]


def words(n):
    names = [f"town {i}" for i in range(1000)]
    return [(names[i % 1000], names[i // 1000]) for i in range(n)]


def plain_select(rows, field):
    """The idiom that needs no library: one pass that fills a dict of lists, for one field only."""
    found = collections.defaultdict(list)
    for row in rows:
        found[row[field]].append(row)
    return found


class Tessolv:
    def __init__(self, keys):
        import tessolvpy

        self.rows = tessolvpy.tuplelist(keys)
        self.values = tessolvpy.tupledict(zip(keys, map(float, range(len(keys)))))

    def first(self):
        return len(self.rows.select(self.rows[0][0]))

    def first_of_dict(self):
        return len(self.values.select(self.rows[0][0]))

    def one(self, a):
        return len(self.values.select(a))

    def two(self, a, b):
        return len(self.values.select(a, b))

    def some(self, a):
        return len(self.values.select(a))

    def all(self):
        return len(self.values.select())

    def prod(self):
        return self.values.prod(self.values)

    def prod_of_some(self, a):
        return self.values.prod(self.values, a)


class Python:
    """Dicts of lists, made for each query when it is first needed."""

    def __init__(self, keys):
        self.rows = list(keys)
        self.values = dict(zip(keys, map(float, range(len(keys)))))
        self.index = None

    def first(self):
        return len(plain_select(self.rows, 0)[self.rows[0][0]])

    def first_of_dict(self):
        self.index = plain_select(self.values, 0)
        return self.one(self.rows[0][0])

    def one(self, a):
        return len([self.values[key] for key in self.index[a]])

    def two(self, a, b):
        return len([self.values[key] for key in self.index[a] if key[1] == b])

    def some(self, a):
        return len([self.values[key] for value in a for key in self.index[value]])

    def all(self):
        return len(list(self.values.values()))

    def prod(self):
        return sum([coeff * self.values[key] for key, coeff in self.values.items()])

    def prod_of_some(self, a):
        return sum([self.values[key] * self.values[key] for key in self.index[a]])


class PyOptInterface:
    def __init__(self, keys):
        from pyoptinterface import tupledict

        self.rows = keys
        self.values = tupledict(zip(keys, map(float, range(len(keys)))))

    def first_of_dict(self):
        return self.one(self.rows[0][0])

    def one(self, a):
        return len(list(self.values.select(a)))

    def two(self, a, b):
        return len(list(self.values.select(a, b)))

    def all(self):
        return len(list(self.values.select("*")))


class Pyomo:
    """A component's slices, which go over all keys."""

    def __init__(self, keys):
        from pyomo import environ as pyo

        self.model = pyo.ConcreteModel()
        self.model.p = pyo.Param(keys, initialize=dict(zip(keys, map(float, range(len(keys))))), within=pyo.Reals)
        self.key, self.rest = keys[0][0], [slice(None)] * (len(keys[0]) - 1)

    def first_of_dict(self):
        return self.one(self.key)

    def one(self, a):
        return len(list(self.model.p[(a, *self.rest)]))

    def two(self, a, b):
        rest = self.rest[1:]
        return len(list(self.model.p[(a, b, *rest)])) if rest else len([self.model.p[a, b]])


def timed(act, times=1):
    begin = time.process_time()
    for _ in range(times):
        result = act()
    return (time.process_time() - begin) / times, result


def run(library, case, count):
    """All times of one library on one set of keys, in seconds."""
    keys = {"numbers": grid, "texts": words}[case](count)
    warm = [bytes(4096) for _ in range(200_000)]  # memory that is there already when the clock runs
    del warm
    made = globals()[library](keys)
    a, b = keys[-1][0], keys[-1][1]
    some = sorted({key[0] for key in keys})[::10]
    ones = sum(key[0] == a for key in keys)
    calls = {
        "first query of a list": ("first", (), 1, ones),
        "first query of a dict": ("first_of_dict", (), 1, None),
        "one field": ("one", (a,), 5, ones),
        "two fields": ("two", (a, b), 5, sum(key[:2] == (a, b) for key in keys)),
        "alternatives": ("some", (some,), 1, None),
        "all values": ("all", (), 1, len(keys)),
        "prod over all": ("prod", (), 1, None),
        "prod over one field": ("prod_of_some", (a,), 5, None),
    }
    times = {}
    for name, (method, arguments, repeats, expected) in calls.items():
        if not hasattr(made, method):
            continue
        if method == "two" and library != "Python":
            made.two(*arguments)  # peers build a second index
        times[name], result = timed(lambda: getattr(made, method)(*arguments), repeats)  # noqa: B023
        assert expected is None or result == expected, (library, name, result, expected)
    return times


def child(library, case, count):
    command = [sys.executable, os.path.abspath(__file__), "--one", library, case, str(count)]
    done = subprocess.run(command, capture_output=True, text=True)
    return json.loads(done.stdout) if done.returncode == 0 else {"failed": done.stderr.strip().splitlines()[-1]}


def main(count):
    libraries = ["Tessolv", "Python", "PyOptInterface", "Pyomo"]
    for case in ("numbers", "texts"):
        least, failed = {}, {}
        for _ in range(ROUNDS):
            for library in libraries:
                if library in failed or (library == "Pyomo" and library in least):
                    continue  # one round of the slowest is enough
                times = child(library, case, count)
                if "failed" in times:
                    failed[library] = times["failed"]
                    continue
                old = least.setdefault(library, times)
                least[library] = {name: min(old[name], times[name]) for name in times}
        print(f"\n{count:,} keys, {case}: milliseconds, and as a multiple of ours")
        print("".join([" " * 26, *(f"{library:>22}" for library in least)]))
        for name, ours in least["Tessolv"].items():
            cells = [f"{t[name] * 1e3:13.3f} {t[name] / ours:7.1f}x" if name in t else " " * 22 for t in least.values()]
            print(f"{name:<26}" + "".join(cells))
        for library, why in failed.items():
            print(f"{library} did not run: {why}")


if __name__ == "__main__":
    if sys.argv[1:2] == ["--one"]:
        print(json.dumps(run(sys.argv[2], sys.argv[3], int(sys.argv[4]))))
    else:
        main(int(sys.argv[1]) if len(sys.argv) > 1 else 1_000_000)
