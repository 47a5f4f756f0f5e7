"""libtessolv through ctypes: every function with the types of its declaration in tessolv.h."""

import ctypes
import importlib.util
import os
import re
from pathlib import Path

import numpy as np

INCLUDE = Path(__file__).resolve().parents[2] / "libtessolv" / "include"
INFINITY, UNDEFINED, MAXINT = 1e20, -1.23457e88, 2000000000

NAMES = re.findall(r"X\((TSO\w+)\)", (INCLUDE / "tessolv_functions.h").read_text())
CODES = {
    name: int(value)
    for name, value in re.findall(r"TSO_CODE\((\w+), (-?\d+)\)", (INCLUDE / "tessolv_codes.h").read_text())
}
globals().update(CODES)

HANDLES = ("TSOenv", "TSOmodel", "TSOcbdata")
SCALARS = {"int": ctypes.c_int, "double": ctypes.c_double, "char": ctypes.c_char}
CALLBACK = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_void_p, ctypes.c_int, ctypes.c_void_p)


def find_library():
    if path := os.environ.get("TESSOLV_LIBRARY"):
        return path
    module = importlib.util.find_spec("tessolvpy")
    if module is None or module.origin is None:
        return None
    folder = Path(module.origin).parent
    return next((str(path) for path in folder.glob("tessolv*/libtessolv.so")), None)


def has_csdp():
    """Whether semi-definite problems can be solved: the library is built without CSDP where that is not at hand."""
    path = find_library()
    return path is not None and (Path(path).parent / "tessolv-csdp").exists()


def declarations():
    """Of every function: its result type and its argument types, as they are written."""
    text = re.sub(r"/\*.*?\*/", "", (INCLUDE / "tessolv.h").read_text(), flags=re.S)
    found = {}
    for result, name, arguments in re.findall(r"TSO_API ([\w\s*]+?)\s*(TSO\w+)\((.*?)\);", text, flags=re.S):
        arguments = re.sub(r"int \(\*cb\)\(.*?\)", "callback cb", arguments, flags=re.S)
        arguments = "" if arguments.strip() == "void" else arguments
        types = [re.sub(r"\b\w+$", "", " ".join(part.split())).strip() for part in arguments.split(",") if part.strip()]
        found[name] = (result.strip(), types)
    return found


DECLARATIONS = declarations()


def ctype_of(written):
    if written in HANDLES or "*" in written:
        return ctypes.c_void_p
    return CALLBACK if written == "callback" else SCALARS[written]


def load():
    path = find_library()
    if path is None:
        return None
    library = ctypes.CDLL(path)
    for name in NAMES:
        function = getattr(library, name)
        result, types = DECLARATIONS[name]
        function.argtypes = [ctype_of(t) for t in types]
        function.restype = {"void": None, "int": ctypes.c_int, "const char*": ctypes.c_char_p}.get(
            result, ctypes.c_void_p
        )
    return library


class Failed(Exception):
    def __init__(self, name, code):
        names = [n for n, value in CODES.items() if value == code]
        super().__init__(f"{name}: {names[0] if names else code}")
        self.code = code


class Arrays:
    """Turns Python values into pointers that live as long as the call."""

    def __init__(self):
        self.kept = []

    def pointer(self, values, dtype):
        if values is None or isinstance(values, int):
            return values
        array = np.ascontiguousarray(values, dtype=dtype)
        self.kept.append(array)
        return array.ctypes.data

    def ints(self, values):
        return self.pointer(values, np.int32)

    def doubles(self, values):
        return self.pointer(values, np.float64)

    def texts(self, values):
        if values is None:
            return None
        array = (ctypes.c_char_p * len(values))(*[None if v is None else v.encode() for v in values])
        self.kept.append(array)
        return ctypes.addressof(array)


def text(value):
    return None if value is None else value.encode()


class Library:
    """Calls by name that raise Failed for a non-zero code, and the handles that were made, to be freed at the end."""

    def __init__(self, dll):
        self.dll = dll
        self.models, self.envs = [], []

    def call(self, name, *args):
        code = getattr(self.dll, name)(*args)
        if code:
            raise Failed(name, code)

    def env(self, quiet=True):
        handle = ctypes.c_void_p()
        self.call("TSOemptyenv", ctypes.byref(handle))
        self.envs.append(handle.value)
        if quiet:
            self.call("TSOsetintparam", handle, text("OutputFlag"), 0)
        return handle.value

    def model(self, env=None, name=""):
        handle = ctypes.c_void_p()
        env = env or self.env()
        self.call("TSOnewmodel", env, ctypes.byref(handle), text(name), 0, None, None, None, None, None)
        return self.wrap(handle.value)

    def wrap(self, handle):
        self.models.append(handle)
        return Model(self, handle)

    def close(self):
        for handle in self.models:
            self.dll.TSOfreemodel(handle)
        for handle in self.envs:
            self.dll.TSOfreeenv(handle)


class Model:
    """The calls of one model with Python lists for arrays."""

    READERS = {
        "int": ("TSOgetintattrlist", np.int32),
        "dbl": ("TSOgetdblattrlist", np.float64),
        "char": ("TSOgetcharattrlist", np.int8),
    }

    def __init__(self, library, handle):
        self.library, self.handle, self.dll = library, handle, library.dll

    def call(self, name, *args):
        self.library.call(name, self.handle, *args)

    def addvar(self, obj=0.0, lb=0.0, ub=INFINITY, vtype="C", name=None, rows=(), values=()):
        a = Arrays()
        self.call("TSOaddvar", len(rows), a.ints(rows), a.doubles(values), obj, lb, ub, vtype.encode(), text(name))

    def addvars(self, count, begin=None, rows=(), values=(), obj=None, lb=None, ub=None, vtype=None, names=None):
        a = Arrays()
        self.call(
            "TSOaddvars", count, len(rows), a.ints(begin), a.ints(rows), a.doubles(values), a.doubles(obj),
            a.doubles(lb), a.doubles(ub), text(vtype), a.texts(names),
        )  # fmt: skip

    def addrow(self, cols=(), values=(), lower=-INFINITY, upper=INFINITY, name=None):
        a = Arrays()
        self.call("TSOaddrangeconstr", len(cols), a.ints(cols), a.doubles(values), lower, upper, text(name))

    def addrows(self, count, begin=None, cols=(), values=(), lower=None, upper=None, names=None):
        a = Arrays()
        self.call(
            "TSOaddrangeconstrs", count, len(cols), a.ints(begin), a.ints(cols), a.doubles(values),
            a.doubles(lower), a.doubles(upper), a.texts(names),
        )  # fmt: skip

    def addqconstr(self, linear, quadratic, sense="<", rhs=0.0, name=None):
        a = Arrays()
        self.call(
            "TSOaddqconstr", len(linear), a.ints([t[0] for t in linear]), a.doubles([t[1] for t in linear]),
            len(quadratic), a.ints([t[0] for t in quadratic]), a.ints([t[1] for t in quadratic]),
            a.doubles([t[2] for t in quadratic]), sense.encode(), rhs, text(name),
        )  # fmt: skip

    def addsos(self, types, begin, members, weights=None):
        a = Arrays()
        self.call(
            "TSOaddsos", len(types), len(members), a.ints(types), a.ints(begin), a.ints(members), a.doubles(weights)
        )

    def addindicator(self, binvar, binval, cols, values, sense, rhs, name=None):
        a = Arrays()
        self.call(
            "TSOaddgenconstrIndicator", text(name), binvar, binval, len(cols), a.ints(cols), a.doubles(values),
            sense.encode(), rhs,
        )  # fmt: skip

    def addpsdvar(self, dim, cost=(), name=None):
        """cost: (row, column, value) of one triangle."""
        a = Arrays()
        self.call(
            "TSOaddpsdvar", dim, len(cost), a.ints([t[0] for t in cost]), a.ints([t[1] for t in cost]),
            a.doubles([t[2] for t in cost]), text(name),
        )  # fmt: skip

    def addpsdrow(self, terms, lower=-INFINITY, upper=INFINITY, linear=(), name=None):
        """terms: (psd variable, row, column, value) of one triangle."""
        a = Arrays()
        self.call(
            "TSOaddrangepsdconstr", len(linear), len({t[0] for t in terms}), len(terms),
            a.ints([t[0] for t in linear]), a.doubles([t[1] for t in linear]), a.ints([t[0] for t in terms]),
            a.ints([t[1] for t in terms]), a.ints([t[2] for t in terms]), a.doubles([t[3] for t in terms]),
            lower, upper, text(name),
        )  # fmt: skip

    def setmatrices(self, name, indices, matrices):
        """matrices: of each element a list of (row, column, value) of one triangle."""
        a = Arrays()
        begin = np.cumsum([0, *map(len, matrices)])
        entries = [e for matrix in matrices for e in matrix]
        columns = list(zip(*entries)) or [(), (), ()]
        self.call(
            "TSOsetmatattrlist", text(name), len(matrices), a.ints(indices), len(entries), a.ints(begin[:-1]),
            a.ints(columns[0]), a.ints(columns[1]), a.doubles(columns[2]),
        )  # fmt: skip

    def matrices(self, name, indices):
        """Of each element a symmetric array."""
        a, count = Arrays(), len(indices)
        sizes, counts, starts = (np.zeros(count + 1, dtype=np.int32) for _ in range(3))
        head = (text(name), count, a.ints(indices), sizes.ctypes.data)
        self.call("TSOgetmatattrlist", *head, None, None, None, None, counts.ctypes.data)
        rows, cols = (np.zeros(counts.sum() + 1, dtype=np.int32) for _ in range(2))
        values = np.zeros(counts.sum() + 1)
        pointers = [array.ctypes.data for array in (starts, rows, cols, values, counts)]
        self.call("TSOgetmatattrlist", *head, *pointers)
        found = []
        for k in range(count):
            part = slice(starts[k], starts[k + 1])
            matrix = np.zeros((sizes[k], sizes[k]))
            assert (rows[part] >= cols[part]).all()
            matrix[rows[part], cols[part]] = matrix[cols[part], rows[part]] = values[part]
            found.append(matrix)
        return found

    def change(self, rows, cols, values):
        a = Arrays()
        self.call("TSOchgcoeffs", len(rows), a.ints(rows), a.ints(cols), a.doubles(values))

    def delete(self, kind, indices):
        a = Arrays()
        self.call(f"TSOdel{kind}", len(indices), a.ints(indices))

    def count(self, name):
        value = ctypes.c_int()
        self.call("TSOgetintattr", text(name), ctypes.byref(value))
        return value.value

    def number(self, name):
        value = ctypes.c_double()
        self.call("TSOgetdblattr", text(name), ctypes.byref(value))
        return value.value

    def get(self, name, indices=None, kind="dbl", length=None):
        """indices None: the first `length` elements."""
        a = Arrays()
        length = len(indices) if indices is not None else length
        function, dtype = self.READERS[kind]
        values = np.zeros(max(length, 1), dtype=dtype)
        self.call(function, text(name), length, a.ints(indices), values.ctypes.data)
        values = values[:length].tolist()
        return "".join(map(chr, values)) if kind == "char" else values

    def texts(self, name, indices):
        a = Arrays()
        values = (ctypes.c_char_p * max(len(indices), 1))()
        self.call("TSOgetstrattrlist", text(name), len(indices), a.ints(indices), ctypes.addressof(values))
        return [values[k].decode() for k in range(len(indices))]

    def set(self, name, indices, values):
        a = Arrays()
        if isinstance(values, str):
            return self.call("TSOsetcharattrlist", text(name), len(values), a.ints(indices), text(values))
        if values and all(v is None or isinstance(v, str) for v in values):
            return self.call("TSOsetstrattrlist", text(name), len(values), a.ints(indices), a.texts(values))
        integers = values and all(isinstance(v, int) for v in values)
        function, pointer = ("TSOsetintattrlist", a.ints) if integers else ("TSOsetdblattrlist", a.doubles)
        return self.call(function, text(name), len(values), a.ints(indices), pointer(values))

    def parameter(self, name, value):
        env = self.dll.TSOgetenv(self.handle)
        function = "TSOsetintparam" if isinstance(value, int) else "TSOsetdblparam"
        self.library.call(function, env, text(name), value)

    def runs(self, function, start, length):
        """Rows or columns as lists of (index, value)."""
        count = ctypes.c_int()
        begin = np.zeros(length + 1, dtype=np.int32)
        self.call(function, ctypes.byref(count), None, None, None, start, length)
        ind, val = np.zeros(count.value + 1, dtype=np.int32), np.zeros(count.value + 1)
        self.call(function, ctypes.byref(count), begin.ctypes.data, ind.ctypes.data, val.ctypes.data, start, length)
        begin[length] = count.value
        ind, val, begin = ind.tolist(), val.tolist(), begin.tolist()
        return [
            list(zip(ind[begin[k] : begin[k + 1]], val[begin[k] : begin[k + 1]], strict=True)) for k in range(length)
        ]

    def rows(self):
        return self.runs("TSOgetconstrs", 0, self.count("NumConstrs"))

    def cols(self):
        return self.runs("TSOgetvars", 0, self.count("NumVars"))

    def quadratic(self, row=None):
        """Quadratic terms of the objective, or linear and quadratic terms of a row."""
        linear, count = ctypes.c_int(), ctypes.c_int()
        lead, function = ((), "TSOgetq") if row is None else ((row, ctypes.byref(linear), None, None), "TSOgetqconstr")
        self.call(function, *lead, ctypes.byref(count), None, None, None)
        i, j = (np.zeros(count.value + 1, dtype=np.int32) for _ in range(2))
        v, k, w = np.zeros(count.value + 1), np.zeros(linear.value + 1, dtype=np.int32), np.zeros(linear.value + 1)
        if row is not None:
            lead = (row, ctypes.byref(linear), k.ctypes.data, w.ctypes.data)
        self.call(function, *lead, ctypes.byref(count), i.ctypes.data, j.ctypes.data, v.ctypes.data)
        terms = list(zip(i.tolist(), j.tolist(), v.tolist(), strict=True))[: count.value]
        return terms if row is None else (list(zip(k.tolist(), w.tolist(), strict=True))[: linear.value], terms)

    def terms(self, row):
        """As quadratic, None for a semi-definite row, of which no function tells more than the columns."""
        try:
            return self.quadratic(row)
        except Failed as error:
            assert error.code == CODES["DATA_NOT_AVAILABLE"]
            return None

    def sos(self, k):
        """Type, members, weights."""
        count, kind, begin = ctypes.c_int(), ctypes.c_int(), ctypes.c_int()
        self.call("TSOgetsos", ctypes.byref(count), ctypes.byref(kind), None, None, None, k, 1)
        ind, weight = np.zeros(count.value + 1, dtype=np.int32), np.zeros(count.value + 1)
        self.call(
            "TSOgetsos", ctypes.byref(count), ctypes.byref(kind), ctypes.byref(begin), ind.ctypes.data,
            weight.ctypes.data, k, 1,
        )  # fmt: skip
        return kind.value, ind[: count.value].tolist(), weight[: count.value].tolist()

    def indicator(self, k):
        """Binary, value, terms, sense, right-hand side."""
        binvar, binval, count = ctypes.c_int(), ctypes.c_int(), ctypes.c_int()
        sense, rhs = ctypes.c_char(), ctypes.c_double()
        refs = [ctypes.byref(v) for v in (binvar, binval, count)]
        self.call("TSOgetgenconstrIndicator", k, *refs, None, None, ctypes.byref(sense), ctypes.byref(rhs))
        ind, val = np.zeros(count.value + 1, dtype=np.int32), np.zeros(count.value + 1)
        self.call("TSOgetgenconstrIndicator", k, None, None, refs[2], ind.ctypes.data, val.ctypes.data, None, None)
        terms = list(zip(ind.tolist(), val.tolist(), strict=True))[: count.value]
        return binvar.value, binval.value, terms, sense.value.decode(), rhs.value

    def find(self, function, name):
        index = ctypes.c_int(-7)
        self.call(function, text(name), ctypes.byref(index))
        return index.value

    def state(self):
        """Everything that can be read of the problem: equal before and after a call that failed."""
        n, m = self.count("NumVars"), self.count("NumConstrs")
        everything = {
            "rows": self.rows(), "cols": self.cols(), "quadratic": self.quadratic(),
            "rowterms": [self.terms(i) for i in range(m)],
            "sos": [self.sos(k) for k in range(self.count("NumSOS"))],
            "indicators": [self.indicator(k) for k in range(self.count("NumGenConstrs"))],
            "psd": [matrix.tolist() for matrix in self.matrices("PsdObj", range(self.count("NumPsdVars")))],
            "PsdVarName": self.texts("PsdVarName", range(self.count("NumPsdVars"))),
            "sense": self.count("ModelSense"), "constant": self.number("ObjConst"),
            "VType": self.get("VType", kind="char", length=n),
            "VarName": self.texts("VarName", range(n)), "ConstrName": self.texts("ConstrName", range(m)),
        }  # fmt: skip
        for name in ("LB", "UB", "Obj", "Start"):
            everything[name] = self.get(name, length=n)
        for name in ("LHS", "RHS"):
            everything[name] = self.get(name, length=m)
        return everything
