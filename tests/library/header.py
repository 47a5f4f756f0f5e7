"""The C interface as tessolv.h declares it, and the library's tables of names: what the calls through ctypes, the
stand-in and the checks of the module's own tables are made of."""

import re
from pathlib import Path

LIBRARY = Path(__file__).resolve().parents[2] / "libtessolv"
INCLUDE = LIBRARY / "include"
NAMES = re.findall(r"X\((TSO\w+)\)", (INCLUDE / "tessolv_functions.h").read_text())
CODES = {
    name: int(value)
    for name, value in re.findall(r"TSO_CODE\((\w+), (-?\d+)\)", (INCLUDE / "tessolv_codes.h").read_text())
}
# (name, type, owner, writable, when it has a value) and (name, type), in the words of the tables
ATTRIBUTES = re.findall(
    r'\{"([\w/]+)", AttrType::(\w+), Owner::(\w+), (true|false),\s*"(.*?)"',
    (LIBRARY / "catalog" / "attrs.h").read_text(),
)
PARAMETERS = re.findall(r'\{"([\w/]+)", ParamType::(\w+)', (LIBRARY / "catalog" / "params.h").read_text())
HANDLES = ("TSOenv", "TSOmodel", "TSOcbdata")


def prototypes():
    """Of every function its result and its arguments, as pairs of type and name; a callback's type is all of it."""
    text = re.sub(r"/\*.*?\*/", "", (INCLUDE / "tessolv.h").read_text(), flags=re.S)
    found = {}
    for result, name, arguments in re.findall(
        r"^TSO_API\s+([\w ]+\*?)\s*\b(TSO\w+)\((.*?)\);", text, flags=re.S | re.M
    ):
        found[name] = result.strip(), []
        for argument in re.split(r",(?![^()]*\))", " ".join(arguments.split())):
            pointer = re.fullmatch(r".*\(\*(\w+)\)\(.*\)", argument)
            kind, called = (argument, pointer[1]) if pointer else re.fullmatch(r"(.*?)(\w+)", argument).groups()
            found[name][1].append((kind.strip(), called))
    return found


PROTOTYPES = prototypes()
