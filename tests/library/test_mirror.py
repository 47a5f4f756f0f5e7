"""Long random edits against a plain mirror in Python."""

import random

import capi
import pytest


class Mirror:
    """The same model as lists: what each edit should leave. Whatever has to do with a column names its dict's id."""

    def __init__(self):
        self.cols, self.rows = [], []  # dicts of values; rows hold their entries as {column: value}
        self.sos, self.terms = [], []

    def state(self):
        place = {id(c): j for j, c in enumerate(self.cols)}
        rows = [sorted((place[c], v) for c, v in row["entries"].items() if v) for row in self.rows]
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
            "sos": [(2, [place[c] for c in members], list(members.values())) for members in self.sos],
            "quadratic": [(place[a], place[b], v) for a, b, v in self.terms],
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

    def new_row(self):
        lower = self.value()
        return {"LHS": lower, "RHS": lower + 3, "ConstrName": self.name(), "entries": {}}

    def entries(self, new, others):
        """For each of the new ones some of the others, with values; as arguments of a call that adds many, too."""
        places = [self.some(others) for _ in new]
        values = [[self.value() for _ in one] for one in places]
        begin = [sum(map(len, places[:k])) for k in range(len(new))]
        return places, values, (len(new), begin, sum(places, []), sum(values, []))

    def enter(self, row, col, value):
        """Adds up with what stands there."""
        row["entries"][id(col)] = row["entries"].get(id(col), 0) + value

    def addvars(self, one=False):
        new = [self.new_col() for _ in range(1 if one else self.rng.randrange(5))]
        rows, values, arrays = self.entries(new, self.mirror.rows)
        obj, lb, ub, vtype, names = ([c[name] for c in new] for name in ("Obj", "LB", "UB", "VType", "VarName"))
        if one:
            self.model.addvar(obj[0], lb[0], ub[0], vtype[0], names[0], rows[0], values[0])
        else:
            self.model.addvars(*arrays, obj, lb, ub, "".join(vtype), names)
        self.mirror.cols += new
        for col, places, vs in zip(new, rows, values):
            for i, v in zip(places, vs):
                self.enter(self.mirror.rows[i], col, v)

    def addrows(self, one=False):
        new = [self.new_row() for _ in range(1 if one else self.rng.randrange(5))]
        cols, values, arrays = self.entries(new, self.mirror.cols)
        lower, upper, names = ([r[name] for r in new] for name in ("LHS", "RHS", "ConstrName"))
        if one:
            self.model.addrow(cols[0], values[0], lower[0], upper[0], names[0])
        else:
            self.model.addrows(*arrays, lower, upper, names)
        self.mirror.rows += new
        for row, places, vs in zip(new, cols, values):
            for j, v in zip(places, vs):
                self.enter(row, self.mirror.cols[j], v)

    def addvar(self):
        self.addvars(one=True)

    def addrow(self):
        self.addrows(one=True)

    def change(self):
        rows = self.some(self.mirror.rows) if self.mirror.cols else []
        cols = [self.rng.randrange(len(self.mirror.cols)) for _ in rows]
        values = [self.value() * self.rng.randrange(2) for _ in rows]
        self.model.change(rows, cols, values)
        for i, j, v in zip(rows, cols, values):
            self.mirror.rows[i]["entries"][id(self.mirror.cols[j])] = v

    def write(self):
        attribute = self.rng.choice(["LB", "UB", "Obj", "Start", "VType", "VarName", "LHS", "RHS", "ConstrName"])
        elements = self.mirror.rows if attribute in ("LHS", "RHS", "ConstrName") else self.mirror.cols
        indices = self.some(elements) or [0] * bool(elements)
        if not indices:
            return
        make = self.name if attribute.endswith("Name") else self.value
        values = [self.rng.choice("CISN") if attribute == "VType" else make() for _ in indices]
        self.model.set(attribute, indices, "".join(values) if attribute == "VType" else values)
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
            for members in (*self.mirror.sos, *(row["entries"] for row in self.mirror.rows)):
                for col in left & members.keys():
                    del members[col]
            self.mirror.terms = [t for t in self.mirror.terms if not left & {*t[:2]}]

    def special(self):
        members = sorted(set(self.some(self.mirror.cols)))
        weights = [self.value() for _ in members]
        self.model.addsos([2], [0], members, weights)
        names = [id(self.mirror.cols[j]) for j in members]
        self.mirror.sos.append(dict(zip(names, weights)))
        values = [self.value() for _ in members]
        self.model.call("TSOaddqpterms", len(members), members, members[::-1], values)
        self.mirror.terms += zip(names, names[::-1], values)
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
