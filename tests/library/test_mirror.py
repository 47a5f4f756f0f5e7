"""Long random edits against a plain mirror in Python."""

import random

import capi
import pytest


class Mirror:
    """The same model as lists: what each edit should leave."""

    def __init__(self):
        self.cols, self.rows = [], []  # dicts of values; rows hold their entries by the column's dict
        self.sos, self.terms = [], []

    def state(self):
        place = {id(c): j for j, c in enumerate(self.cols)}
        rows = [sorted((place[id(c)], v) for c, v in r["entries"] if v) for r in self.rows]
        cols = [[] for _ in self.cols]
        for i, row in enumerate(rows):
            for j, v in row:
                cols[j].append((i, v))
        return {
            "rows": rows,
            "cols": cols,
            "VType": "".join(c["VType"] for c in self.cols),
            "VarName": [c["VarName"] or f"C{j}" for j, c in enumerate(self.cols)],
            "ConstrName": [r["ConstrName"] or f"R{i}" for i, r in enumerate(self.rows)],
            "sos": [(t, [place[id(c)] for c in m], w) for t, m, w in self.sos],
            "quadratic": [(place[id(a)], place[id(b)], v) for a, b, v in self.terms],
            **{name: [c[name] for c in self.cols] for name in ("LB", "UB", "Obj", "Start")},
            **{name: [r[name] for r in self.rows] for name in ("LHS", "RHS")},
        }


class Player:
    """One random edit at a time, of the library's model and of the mirror."""

    def __init__(self, model, rng):
        self.model, self.rng, self.mirror, self.fresh = model, rng, Mirror(), 0

    def name(self):
        self.fresh += 1
        return self.rng.choice([None, "", f"n{self.fresh}", f"a longer name {self.fresh}"])

    def value(self):
        return float(self.rng.randrange(-9, 10))

    def some(self, items, most=6):
        return [self.rng.randrange(len(items)) for _ in range(self.rng.randrange(most))] if items else []

    def new_col(self):
        lb = self.value()
        return {"LB": lb, "UB": lb + 2, "Obj": self.value(), "VType": self.rng.choice("CISN"), "VarName": self.name(),
                "Start": capi.UNDEFINED}  # fmt: skip

    def enter(self, row, col, value):
        """Adds up with what stands there."""
        for k, (c, v) in enumerate(row["entries"]):
            if c is col:
                row["entries"][k] = (c, v + value)
                return
        row["entries"].append((col, value))

    def addvar(self):
        c, rows = self.new_col(), self.some(self.mirror.rows)
        values = [self.value() for _ in rows]
        self.model.addvar(c["Obj"], c["LB"], c["UB"], c["VType"], c["VarName"], rows, values)
        self.mirror.cols.append(c)
        for i, v in zip(rows, values):
            self.enter(self.mirror.rows[i], c, v)

    def addvars(self):
        new = [self.new_col() for _ in range(self.rng.randrange(5))]
        begin, rows = [], []
        for _ in new:
            begin.append(len(rows))
            rows += self.some(self.mirror.rows)
        values = [self.value() for _ in rows]
        arrays = [[c[name] for c in new] for name in ("Obj", "LB", "UB", "VType", "VarName")]
        self.model.addvars(len(new), begin, rows, values, *arrays[:3], "".join(arrays[3]), arrays[4])
        self.mirror.cols += new
        for k, c in enumerate(new):
            for at in range(begin[k], begin[k + 1] if k + 1 < len(new) else len(rows)):
                self.enter(self.mirror.rows[rows[at]], c, values[at])

    def new_row(self):
        lower = self.value()
        return {"LHS": lower, "RHS": lower + 3, "ConstrName": self.name(), "entries": []}

    def fill(self, row, cols, values):
        for j, v in zip(cols, values):
            self.enter(row, self.mirror.cols[j], v)
        self.mirror.rows.append(row)

    def addrow(self):
        row, cols = self.new_row(), self.some(self.mirror.cols)
        values = [self.value() for _ in cols]
        self.model.addrow(cols, values, row["LHS"], row["RHS"], row["ConstrName"])
        self.fill(row, cols, values)

    def addrows(self):
        new = [self.new_row() for _ in range(self.rng.randrange(5))]
        entries = [self.some(self.mirror.cols) for _ in new]
        values = [[self.value() for _ in cols] for cols in entries]
        begin = [sum(map(len, entries[:k])) for k in range(len(new))]
        arrays = [[r[name] for r in new] for name in ("LHS", "RHS", "ConstrName")]
        self.model.addrows(len(new), begin, sum(entries, []), sum(values, []), *arrays)
        for row, cols, vs in zip(new, entries, values):
            self.fill(row, cols, vs)

    def change(self):
        if not self.mirror.cols or not self.mirror.rows:
            return
        rows = self.some(self.mirror.rows)
        cols = [self.rng.randrange(len(self.mirror.cols)) for _ in rows]
        values = [self.value() * self.rng.randrange(2) for _ in rows]
        self.model.change(rows, cols, values)
        for i, j, v in zip(rows, cols, values):
            col, row = self.mirror.cols[j], self.mirror.rows[i]
            row["entries"] = [(c, w) for c, w in row["entries"] if c is not col] + [(col, v)]

    def write(self):
        attribute = self.rng.choice(["LB", "UB", "Obj", "Start", "VType", "VarName", "LHS", "RHS", "ConstrName"])
        elements = self.mirror.rows if attribute in ("LHS", "RHS", "ConstrName") else self.mirror.cols
        indices = self.some(elements) or [0] * bool(elements)
        if not indices:
            return
        make = self.name if attribute.endswith("Name") else self.value
        values = (
            "".join(self.rng.choice("CISN") for _ in indices) if attribute == "VType" else [make() for _ in indices]
        )
        self.model.set(attribute, indices, values)
        for i, v in zip(indices, values):
            elements[i][attribute] = v

    def delete(self):
        kind, field = self.rng.choice([("vars", "cols"), ("constrs", "rows"), ("sos", "sos")])
        elements = getattr(self.mirror, field)
        gone = self.some(elements, 3 if self.rng.random() < 0.8 else 12)
        self.model.delete(kind, gone)
        setattr(self.mirror, field, [e for i, e in enumerate(elements) if i not in gone])
        if field == "cols":
            left = {id(elements[i]) for i in gone}
            for row in self.mirror.rows:
                row["entries"] = [(c, v) for c, v in row["entries"] if id(c) not in left]
            self.mirror.sos = [
                (t, *map(list, capi.columns([(c, w) for c, w in zip(m, ws) if id(c) not in left], 2)))
                for t, m, ws in self.mirror.sos
            ]
            self.mirror.terms = [t for t in self.mirror.terms if id(t[0]) not in left and id(t[1]) not in left]

    def special(self):
        members = sorted(set(self.some(self.mirror.cols)))
        weights = [self.value() for _ in members]
        self.model.addsos([2], [0], members, weights)
        self.mirror.sos.append((2, [self.mirror.cols[j] for j in members], weights))
        pairs = [(i, j, self.value()) for i, j in zip(members, members[::-1])]
        self.model.call("TSOaddqpterms", len(pairs), *capi.columns(pairs, 3))
        self.mirror.terms += [(self.mirror.cols[i], self.mirror.cols[j], v) for i, j, v in pairs]
        if self.rng.random() < 0.1:
            self.model.call("TSOdelq")
            self.mirror.terms = []


@pytest.mark.parametrize("seed", range(12))
def test_random_edits(model, seed):
    rng = random.Random(seed)
    player = Player(model, rng)
    edits = [player.addvar, player.addvars, player.addrow, player.addrows, player.change, player.write, player.write,
             player.delete, player.special]  # fmt: skip
    for step in range(1500):
        rng.choice(edits)()
        if step % 50 == 49:
            expected, state = player.mirror.state(), player.model.state()
            assert {key: state[key] for key in expected} == expected, f"after step {step}"
            for _ in range(5):
                for function, names in (("TSOgetvarbyname", "VarName"), ("TSOgetconstrbyname", "ConstrName")):
                    if expected[names]:
                        name = rng.choice(expected[names])
                        assert player.model.find(function, name) == expected[names].index(name)
        if step == 700:  # goes on with a copy
            player.model = player.model.copy()
