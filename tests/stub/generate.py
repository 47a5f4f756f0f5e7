"""Writes and builds the recording stand-in for libtessolv.so.

The stand-in has the library's functions as tessolv.h declares them. Each one writes down its name and its arguments;
what it answers stands in runtime.h.
"""

import re
import subprocess
from pathlib import Path

from header import HANDLES, INCLUDE, LIBRARY, NAMES, PROTOTYPES

HERE = Path(__file__).resolve().parent

# Lengths of the arrays that go in, by function; the shared rows hold where a function has no row of its own.
SHARED = {
    **dict.fromkeys(("ind", "values"), "len"),
    **dict.fromkeys(("cind", "cval", "vind", "vval"), "numnz"),
    **dict.fromkeys(("lind", "lval"), "numlnz"),
    **dict.fromkeys(("qrow", "qcol", "qval"), "numqnz"),
    "solution": "stub::variables()",
}
COLUMNS = dict.fromkeys(("obj", "lb", "ub", "vtype", "names"), "numvars")
MEMBERS = {"types": "numsos", "beg": "numsos", "ind": "nummembers", "weight": "nummembers"}
SYMMETRIC = {"starts": "len", "rows": "nz", "cols": "nz", "values": "nz"}
LENGTHS = {
    "TSOnewmodel": COLUMNS,
    "TSOaddvars": {**COLUMNS, "vbeg": "numvars"},
    "TSOaddrangeconstrs": dict.fromkeys(("cbeg", "lower", "upper", "names"), "numconstrs"),
    "TSOaddsos": MEMBERS,
    "TSOaddgenconstrIndicator": {"ind": "nvars", "val": "nvars"},
    "TSOaddpsdvar": {"rows": "nz", "cols": "nz", "vals": "nz"},
    "TSOaddrangepsdconstr": dict.fromkeys(("pind", "prow", "pcol", "pval"), "numpsdnz"),
    "TSOchgcoeffs": dict.fromkeys(("cind", "vind", "val"), "cnt"),
    "TSOsetmatattrlist": SYMMETRIC,
    "TSOcbcut": {"ind": "numnz", "val": "numnz"},
    "TSOcbcutp": {"ind": "numnz", "val": "numnz"},
}
TEXTS_OUT = {"TSOgetstrattr", "TSOgetstrattrlist"}  # their `const char **` is filled by the library
SHOWS_OLD_VALUE = {"TSOemptyenv", "TSOloadenv"}  # what the handle holds before the call is part of the contract


def record(function, kind, name):
    """The statement that writes down one argument."""
    length = LENGTHS.get(function, {}).get(name) or SHARED.get(name)
    if "(*" in kind:
        return f"r.callback({name});"
    if kind in HANDLES:
        return f"r.handle({name});"
    if kind in ("TSOenv*", "TSOmodel*"):
        return f"r.{'old_handle' if function in SHOWS_OLD_VALUE else 'out'}({name});"
    if name == "usrdata":
        return f"r.address({name});"
    if kind in ("int", "double", "char") or (kind == "const char*" and name not in ("vtype", "values")):
        return f"r.value({name});"
    if kind == "const char**" and function in TEXTS_OUT:
        return f"r.out({name});"
    if kind.startswith("const"):
        if not length:
            raise SystemExit(f"{function}: no length is known for the array {name}")
        return f"r.array({name}, {length});"
    return f"r.out({name});"


def source():
    if list(PROTOTYPES) != NAMES:
        raise SystemExit("the prototypes of tessolv.h and the list of tessolv_functions.h differ")
    answered = set(re.findall(r"\banswer_(TSO\w+)\(", (HERE / "runtime.h").read_text()))
    out = ['#include "runtime.h"\n']
    for name, (result, arguments) in PROTOTYPES.items():
        listed = ", ".join(kind if "(*" in kind else f"{kind} {argument}" for kind, argument in arguments)
        call = f"stub::answer_{name}({', '.join(a for _, a in arguments)})"
        failed = {"int": "code", "void": ""}.get(result, "nullptr")
        out.append(f'extern "C" {result} {name}({listed}) {{\n    stub::Record r("{name}");')
        out += [f"    {record(name, kind, argument)}" for kind, argument in arguments]
        out.append(f"    if (int code = r.finish()) {{\n        (void)code;\n        return {failed};\n    }}")
        if name in answered:
            out.append(f"    return {call};")
        else:
            out += [f"    (void){argument};" for _, argument in arguments]
            out.append("    return 0;" if result == "int" else "    return;")
        out.append("}\n")
    return "\n".join(out)


def build(folder, compiler="g++"):
    """Builds libtessolv.so, the stand-in, in a folder, which then goes to LD_LIBRARY_PATH."""
    folder = Path(folder)
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "stub.cpp").write_text(source())
    flags = ["-std=c++20", "-O1", "-g", "-fPIC", "-shared", "-fvisibility=hidden", "-Wall", "-Wextra"]
    includes = [f"-I{HERE}", f"-I{LIBRARY}", f"-I{INCLUDE}"]
    command = [compiler, *flags, *includes, "-Wl,-soname,libtessolv.so", "-o", "libtessolv.so", "stub.cpp", "-ldl"]
    made = subprocess.run(command, cwd=folder, capture_output=True, text=True)
    if made.returncode:
        raise RuntimeError(f"the stand-in does not compile:\n{made.stderr}")
    return folder
