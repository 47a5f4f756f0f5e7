"""What one operation of model building costs, in nanoseconds of CPU time: the least of many repeats, without the loop.

python benchmarks/expressions.py
"""

import gc
import resource
import time
import timeit

from tessolvpy import Model, quicksum

OPERATIONS = {
    "2 * x": "2 * x",
    "-x": "-x",
    "x + y": "x + y",
    "a + b (two and one terms)": "a + b",
    "x * y": "x * y",
    "2 * x + 3 * y + z": "2 * x + 3 * y + z",
    "comparison of three terms": "e <= 4",
    "x.X": "x.X",
    "x.UB": "x.UB",
}


def repeat(statement, names, number, repeats):
    """The least seconds of CPU time of so many runs."""
    return min(timeit.repeat(statement, globals=names, number=number, repeat=repeats, timer=time.process_time))


def least(statement, names, number=20_000, repeats=30):
    return (repeat(statement, names, number, repeats) - repeat("pass", names, number, repeats)) / number * 1e9


def once(function, count):
    """Nanoseconds an item of something that cannot be repeated on the same model."""
    found = []
    for _ in range(10):
        m = Model()
        gc.collect()
        gc.disable()
        begin = time.process_time()
        function(m, count)
        found.append(time.process_time() - begin)
        gc.enable()
        m.dispose()
    return min(found) / count * 1e9


def add_variables(m, count):
    for _ in range(count):
        m.addVar()


def rows(m, count):
    a, b, c = (m.addVar() for _ in range(3))
    for _ in range(count):
        m.addConstr(a + 2 * b + 3 * c <= 4)


def main():
    m = Model()
    m.setParam("OutputFlag", 0)
    x, y, z = (m.addVar(ub=1.0) for _ in range(3))
    m.addConstr(x + y + z >= 1)
    m.optimize()
    names = {"x": x, "y": y, "z": z, "a": x + 2 * y, "b": 3 * z, "e": 2 * x + 3 * y + z}
    for text, statement in OPERATIONS.items():
        print(f"{text:28} {least(statement, names):7.0f} ns")
    print(f"{'x.UB = v':28} {least('x.UB = 2.0', names):7.0f} ns")
    print(f"{'addVar':28} {once(add_variables, 200_000):7.0f} ns")
    print(f"{'a row of three terms':28} {once(rows, 200_000):7.0f} ns")
    many = [m.addVar() for _ in range(200_000)]
    for text, statement in [
        ("quicksum of variables", "quicksum(many)"),
        ("quicksum of products", "quicksum(2 * v for v in many)"),
        ("sum of variables", "sum(many)"),
    ]:
        seconds = repeat(statement, {"quicksum": quicksum, "many": many}, 1, 7)
        print(f"{text:28} {seconds / len(many) * 1e9:7.1f} ns a term")
    objective = quicksum(many)
    seconds = repeat("m.setObjective(objective)", {"m": m, "objective": objective}, 1, 3)
    print(f"{'setObjective':28} {seconds / len(many) * 1e9:7.0f} ns a variable")
    few = many[:1000]
    line = quicksum(few)
    names = {"quicksum": quicksum, "m": m, "few": few, "line": line, "q": line * line}
    for text, statement in [
        ("product of two sums", "line * line"),
        ("q * 2.0", "q * 2.0"),
        ("q + q", "q + q"),
        ("quicksum of x * y", "quicksum(v * w for v in few for w in few)"),
        ("... as the objective", "m.setObjective(quicksum(v * w for v in few for w in few))"),
    ]:
        seconds = repeat(statement, names, 1, 5)
        print(f"{text:28} {seconds / len(few) ** 2 * 1e9:7.1f} ns a term of a million")
    del names
    before = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    big = Model()
    big.addVars(1_000_000)
    after = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    print(f"{'addVars of a million':28} {(after - before) / 1024:7.0f} MB at the most, with keys and dict")


if __name__ == "__main__":
    main()
