"""libtessolv through ctypes: every function as tessolv.h declares it, Python's texts and sequences for its arrays."""

import ctypes
import importlib.util
import os
from pathlib import Path

import numpy as np
from header import CODES, NAMES, PROTOTYPES

INFINITY, UNDEFINED, MAXINT = 1e20, -1.23457e88, 2000000000
globals().update(CODES)

CALLBACK = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p, ctypes.c_int, ctypes.c_void_p)
ARGUMENTS = {"int": ctypes.c_int, "double": ctypes.c_double, "char": ctypes.c_char}
RESULTS = {"void": None, "int": ctypes.c_int, "const char*": ctypes.c_char_p}
ELEMENTS = {"int": np.int32, "double": np.float64, "char": np.int8}


def find_library():
    if path := os.environ.get("TESSOLV_LIBRARY"):
        return path
    module = importlib.util.find_spec("tessolvpy")
    if module is None or module.origin is None:
        return None
    folder = Path(module.origin).parent
    return next((str(path) for path in folder.glob("tessolv*/libtessolv.so")), None)


def resident():
    """The process's memory in bytes: what is not Python's own shows there, too."""
    with open("/proc/self/statm") as file:
        return int(file.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")


def has_csdp():
    """Whether semi-definite problems can be solved: the library is built without CSDP where that is not at hand."""
    path = find_library()
    return path is not None and (Path(path).parent / "tessolv-csdp").exists()


def load():
    path = find_library()
    if path is None:
        return None
    library = ctypes.CDLL(path)
    for name in NAMES:
        result, arguments = PROTOTYPES[name]
        function = getattr(library, name)
        function.argtypes = [
            CALLBACK if "(*" in kind else ARGUMENTS.get(kind, ctypes.c_void_p) for kind, _ in arguments
        ]
        function.restype = RESULTS.get(result, ctypes.c_void_p)
    return library


class Failed(Exception):
    def __init__(self, name, code):
        names = [n for n, value in CODES.items() if value == code]
        super().__init__(f"{name}: {names[0] if names else code}")
        self.code = code


def element(kind):
    return ELEMENTS[kind.replace("const ", "").rstrip("*")]


def passed(kind, value):
    """A Python value as the argument of that type; what it returns must live as long as the call."""
    if isinstance(value, str):
        return value.encode()
    if not isinstance(value, (list, tuple, range, np.ndarray)):
        return value
    if kind == "const char**":
        return (ctypes.c_char_p * len(value))(*[v if v is None else v.encode() for v in value])
    return np.ascontiguousarray(value, dtype=element(kind))


class Library:
    """Calls by name that raise Failed for a non-zero code, and the handles that were made, to be freed at the end."""

    def __init__(self, dll):
        self.dll = dll
        self.models, self.envs = [], []

    def call(self, name, *args):
        kept = [passed(kind, value) for (kind, _), value in zip(PROTOTYPES[name][1], args, strict=True)]
        code = getattr(self.dll, name)(*[v.ctypes.data if isinstance(v, np.ndarray) else v for v in kept])
        if code:
            raise Failed(name, code)

    def env(self, quiet=True):
        handle = ctypes.c_void_p()
        self.call("TSOemptyenv", ctypes.byref(handle))
        self.envs.append(handle.value)
        if quiet:
            self.call("TSOsetintparam", handle, "OutputFlag", 0)
        return handle.value

    def model(self, env=None, name=""):
        handle = ctypes.c_void_p()
        self.call("TSOnewmodel", env or self.env(), ctypes.byref(handle), name, 0, None, None, None, None, None)
        return self.wrap(handle.value)

    def wrap(self, handle):
        self.models.append(handle)
        return Model(self, handle)

    def parameter(self, env, name, value):
        kind = "int" if isinstance(value, int) else "str" if isinstance(value, str) else "dbl"
        self.call(f"TSOset{kind}param", env, name, value)

    def close(self):
        for handle in self.models:
            self.dll.TSOfreemodel(handle)
        for handle in self.envs:
            self.dll.TSOfreeenv(handle)


def columns(terms, width):
    """Terms as one sequence for each of their parts."""
    return list(zip(*terms)) or [()] * width


class Model:
    """The calls of one model."""

    def __init__(self, library, handle):
        self.library, self.handle, self.dll = library, handle, library.dll

    def call(self, name, *args):
        self.library.call(name, self.handle, *args)

    # ---- Building ----

    def addvar(self, obj=0.0, lb=0.0, ub=INFINITY, vtype="C", name=None, rows=(), values=()):
        self.call("TSOaddvar", len(rows), rows, values, obj, lb, ub, vtype, name)

    def addvars(self, count, begin=None, rows=(), values=(), obj=None, lb=None, ub=None, vtype=None, names=None):
        self.call("TSOaddvars", count, len(rows), begin, rows, values, obj, lb, ub, vtype, names)

    def addrow(self, cols=(), values=(), lower=-INFINITY, upper=INFINITY, name=None):
        self.call("TSOaddrangeconstr", len(cols), cols, values, lower, upper, name)

    def addrows(self, count, begin=None, cols=(), values=(), lower=None, upper=None, names=None):
        self.call("TSOaddrangeconstrs", count, len(cols), begin, cols, values, lower, upper, names)

    def addqconstr(self, linear, quadratic, sense="<", rhs=0.0, name=None):
        parts = *columns(linear, 2), len(quadratic), *columns(quadratic, 3)
        self.call("TSOaddqconstr", len(linear), *parts, sense, rhs, name)

    def addsos(self, types, begin, members, weights=None):
        self.call("TSOaddsos", len(types), len(members), types, begin, members, weights)

    def addindicator(self, binvar, binval, cols, values, sense, rhs, name=None):
        self.call("TSOaddgenconstrIndicator", name, binvar, binval, len(cols), cols, values, sense, rhs)

    def addpsdvar(self, dim, cost=(), name=None):
        """cost: (row, column, value) of one triangle."""
        self.call("TSOaddpsdvar", dim, len(cost), *columns(cost, 3), name)

    def addpsdrow(self, terms, lower=-INFINITY, upper=INFINITY, linear=(), name=None):
        """terms: (psd variable, row, column, value) of one triangle."""
        counts = len(linear), len({t[0] for t in terms}), len(terms)
        self.call("TSOaddrangepsdconstr", *counts, *columns(linear, 2), *columns(terms, 4), lower, upper, name)

    def change(self, rows, cols, values):
        self.call("TSOchgcoeffs", len(rows), rows, cols, values)

    def delete(self, kind, indices):
        self.call(f"TSOdel{kind}", len(indices), indices)

    def copy(self):
        return self.library.wrap(self.dll.TSOcopymodel(self.handle))

    # ---- Attributes and parameters ----

    def count(self, name):
        value = ctypes.c_int()
        self.call("TSOgetintattr", name, ctypes.byref(value))
        return value.value

    def number(self, name):
        value = ctypes.c_double()
        self.call("TSOgetdblattr", name, ctypes.byref(value))
        return value.value

    def get(self, name, indices=None, kind="dbl", length=None):
        """indices None: the first `length` elements."""
        length = len(indices) if indices is not None else length
        values = np.zeros(length, dtype={"int": np.int32, "dbl": np.float64, "char": np.int8}[kind])
        self.call(f"TSOget{kind}attrlist", name, length, indices, values)
        return "".join(map(chr, values)) if kind == "char" else values.tolist()

    def texts(self, name, indices):
        values = (ctypes.c_char_p * max(len(indices), 1))()
        self.call("TSOgetstrattrlist", name, len(indices), indices, values)
        return [values[k].decode() for k in range(len(indices))]

    def set(self, name, indices, values):
        kind = "dbl"
        if isinstance(values, str):
            kind = "char"
        elif values and all(v is None or isinstance(v, str) for v in values):
            kind = "str"
        elif values and all(isinstance(v, int) for v in values):
            kind = "int"
        self.call(f"TSOset{kind}attrlist", name, len(values), indices, values)

    def setmatrices(self, name, indices, matrices):
        """matrices: of each element a list of (row, column, value) of one triangle."""
        entries = [e for matrix in matrices for e in matrix]
        begin = np.cumsum([0, *map(len, matrices)])[:-1]
        self.call("TSOsetmatattrlist", name, len(matrices), indices, len(entries), begin, *columns(entries, 3))

    def matrices(self, name, indices):
        """Of each element a symmetric array."""
        sizes, counts, starts = (np.zeros(len(indices) + 1, dtype=np.int32) for _ in range(3))
        head = "TSOgetmatattrlist", name, len(indices), indices, sizes
        self.call(*head, None, None, None, None, counts)
        rows, cols = (np.zeros(counts.sum() + 1, dtype=np.int32) for _ in range(2))
        values = np.zeros(counts.sum() + 1)
        self.call(*head, starts, rows, cols, values, counts)
        assert (rows >= cols).all()
        found = [np.zeros((size, size)) for size in sizes[:-1]]
        for k, matrix in enumerate(found):
            part = slice(starts[k], starts[k + 1])
            matrix[rows[part], cols[part]] = matrix[cols[part], rows[part]] = values[part]
        return found

    def parameter(self, name, value):
        self.library.parameter(self.dll.TSOgetenv(self.handle), name, value)

    # ---- Reading ----

    def read(self, function, **given):
        """What a function fills, by argument: the counts are asked for first, then all the rest."""
        arguments = PROTOTYPES[function][1][1:]
        filled = {name: np.zeros(1, np.int32) for _, name in arguments if name.startswith("num") or name == "nvars"}
        self.call(function, *[given.get(name, filled.get(name)) for _, name in arguments])
        room = 1 + given.get("len", 0) + sum(int(count[0]) for count in filled.values())
        for kind, name in arguments:
            if name not in given and name not in filled:
                filled[name] = np.zeros(room, element(kind))
        self.call(function, *[given.get(name, filled.get(name)) for _, name in arguments])
        return {name: values.tolist() for name, values in filled.items()}

    def runs(self, function, start, length):
        """Rows or columns as lists of (index, value)."""
        (count,), begin, index, value = self.read(function, start=start, len=length).values()
        ends = [*begin[1:length], count]
        return [list(zip(index[i:j], value[i:j])) for i, j in zip(begin[:length], ends)]

    def rows(self):
        return self.runs("TSOgetconstrs", 0, self.count("NumConstrs"))

    def cols(self):
        return self.runs("TSOgetvars", 0, self.count("NumVars"))

    def quadratic(self, row=None):
        """Quadratic terms of the objective, or linear and quadratic terms of a row."""
        found = self.read("TSOgetq") if row is None else self.read("TSOgetqconstr", constr=row)
        terms = list(zip(found["qrow"], found["qcol"], found["qval"]))[: found["numqnz"][0]]
        return terms if row is None else (list(zip(found["lind"], found["lval"]))[: found["numlnz"][0]], terms)

    def terms(self, row):
        """As quadratic, None for a semi-definite row, of which no function tells more than the columns."""
        try:
            return self.quadratic(row)
        except Failed as error:
            assert error.code == CODES["DATA_NOT_AVAILABLE"]
            return None

    def sos(self, k):
        """Type, members, weights."""
        (count,), types, _, members, weights = self.read("TSOgetsos", start=k, len=1).values()
        return types[0], members[:count], weights[:count]

    def indicator(self, k):
        """Binary, value, terms, sense, right-hand side."""
        found = self.read("TSOgetgenconstrIndicator", genconstr=k)
        terms = list(zip(found["ind"], found["val"]))[: found["nvars"][0]]
        return found["binvar"][0], found["binval"][0], terms, chr(found["sense"][0]), found["rhs"][0]

    def find(self, function, name):
        index = ctypes.c_int(-7)
        self.call(function, name, ctypes.byref(index))
        return index.value

    def state(self):
        """Everything that can be read of the problem: equal before and after a call that failed."""
        n, m, psd = self.count("NumVars"), self.count("NumConstrs"), range(self.count("NumPsdVars"))
        return {
            "rows": self.rows(),
            "cols": self.cols(),
            "quadratic": self.quadratic(),
            "rowterms": [self.terms(i) for i in range(m)],
            "sos": [self.sos(k) for k in range(self.count("NumSOS"))],
            "indicators": [self.indicator(k) for k in range(self.count("NumGenConstrs"))],
            "psd": [matrix.tolist() for matrix in self.matrices("PsdObj", psd)],
            "sense": self.count("ModelSense"),
            "constant": self.number("ObjConst"),
            "VType": self.get("VType", kind="char", length=n),
            "VarName": self.texts("VarName", range(n)),
            "ConstrName": self.texts("ConstrName", range(m)),
            "PsdVarName": self.texts("PsdVarName", psd),
            **{name: self.get(name, length=n) for name in ("LB", "UB", "Obj", "Start")},
            **{name: self.get(name, length=m) for name in ("LHS", "RHS")},
        }
