"""Writes the reference pages of classes and functions out of the docstrings of the module: classes.py <folder>.

The folder has the pages of the catalogues already; the attributes of each kind of element are taken from there.
README.md in it becomes the index of all pages."""

import inspect
import re
import sys
import types
from pathlib import Path

import tessolvpy

# The order of the index.
GROUPS = {
    "Models": ["Model", "Env", "ParamClass"],
    "Elements of a model": ["Var", "Constr", "QConstr", "SOS", "GenConstr", "PsdVar", "PsdConstr"],
    "Expressions and constraints": ["Operand", "LinExpr", "QuadExpr", "PsdExpr", "TempConstr", "Column", "List"],
    "Arrays": ["MVar", "MConstr", "MQConstr", "MLinExpr", "MQuadExpr"],
    "Containers": ["tuplelist", "tupledict"],
    "Errors": ["TessolvError"],
}
# What the attribute page calls the owner of an attribute.
OWNERS = {
    "Model": "model",
    "Var": "variable",
    "MVar": "variable",
    "Constr": "linear constraint",
    "MConstr": "linear constraint",
    "QConstr": "quadratic constraint",
    "MQConstr": "quadratic constraint",
    "SOS": "SOS constraint",
    "GenConstr": "general constraint",
    "PsdVar": "semi-definite variable",
    "PsdConstr": "semi-definite constraint",
}
OPERATORS = [
    ("+", "add"), ("-", "sub"), ("*", "mul"), ("@", "matmul"), ("/", "truediv"), ("**", "pow"), (">>", "rshift"),
    ("-x", "neg"), ("+=", "iadd"), ("-=", "isub"), ("*=", "imul"), ("|=", "ior"), ("<=", "le"), (">=", "ge"),
    ("==", "eq"), ("x[i]", "getitem"), ("x[i] = y", "setitem"), ("del x[i]", "delitem"), ("len(x)", "len"),
    ("for", "iter"), ("in", "contains"),
]  # fmt: skip
ARGUMENT = re.compile(r"(?:^|(?<=  ))(\*{0,2}[a-z_]\w*(?:, \*{0,2}[a-z_]\w*)*): (?=\S)", re.M)


def is_internal(name, member):
    return name.startswith("_") or "For internal use" in (inspect.getdoc(member) or "")


def split(doc):
    """(text, example) of a docstring."""
    text, _, example = doc.partition("Example: ")
    return text.strip(), inspect.cleandoc("x\n" + " " * len("Example: ") + example)[2:].strip() if example else ""


def markdown(doc):
    """A docstring as Markdown: explained arguments become a list, the example a block."""
    text, example = split(doc)
    parts = []
    for paragraph in text.split("\n\n"):
        pieces = ARGUMENT.split(paragraph)
        if pieces[0].strip():
            parts.append(escaped(pieces[0].strip()))
        items = []
        for names, rest in zip(pieces[1::2], pieces[2::2]):
            # What follows the explanation of the last argument is a sentence that begins a line.
            own, after = re.match(r"(.*?)(?:\n(?=(?:Returns|Raises)\b|(?<=\.\n)[A-Z])(.*))?\Z", rest, re.S).groups()
            items.append(f"- {', '.join(f'`{name}`' for name in names.split(', '))}: {escaped(own.strip(), '  ')}")
            if after:
                items.append("\n" + escaped(after.strip()) + ("\n" if names != pieces[-2] else ""))
        if items:
            parts.append("\n".join(items))
    if example:
        parts.append("```python\n" + example.replace("; ", "\n") + "\n```")
    return "\n\n".join(parts)


def escaped(text, indent=""):
    """Plain text for Markdown: what it would read as marks stands for itself, outside of code."""
    pieces = re.split(r"(`[^`\n]*`)", text)
    pieces[::2] = [re.sub(r"([*_<>\[\]])", r"\\\1", piece) for piece in pieces[::2]]
    return "".join(pieces).replace("\n", "\n" + indent)


def signature(name, function, bound=False):
    """A call as a program writes it."""
    shown = inspect.signature(function)
    parameters = list(shown.parameters.values())
    if bound and parameters:
        del parameters[0]
    text = str(shown.replace(parameters=parameters)).replace("/, ", "").replace(", /", "").replace("(/)", "()")
    return name + text


def is_method(member):
    return isinstance(member, (types.MethodDescriptorType, types.ClassMethodDescriptorType, staticmethod, classmethod))


def class_page(cls, attribute_rows):
    members = {name: member for name, member in vars(cls).items() if not is_internal(name, member)}
    properties = {n: m for n, m in members.items() if inspect.isdatadescriptor(m)}
    methods = {n: m for n, m in members.items() if is_method(m)}
    lines = [f"# {cls.__name__}", "", f"    {signature(cls.__name__, cls)}", "", markdown(cls.__doc__)]
    bases = [base for base in cls.__mro__[1:-1] if base is not Exception and base is not BaseException]
    if bases:
        linked = [
            f"[{b.__name__}]({b.__name__}.md)" if b.__module__ == "tessolvpy" else f"`{b.__name__}`" for b in bases
        ]
        lines += ["", f"Has what {' and '.join(linked)} has as well."]
    operators = [f"`{sign}`" for sign, name in OPERATORS if f"__{name}__" in vars(cls)]
    if operators:
        lines += ["", f"Operators: {', '.join(operators)}."]
    if properties:
        lines += ["", "## Properties"]
    for name, member in properties.items():
        lines += ["", f"### {name}", "", markdown(inspect.getdoc(member))]
    if methods:
        lines += ["", "## Methods"]
    for name, member in sorted(methods.items(), key=lambda item: item[0].lower()):
        bound = not isinstance(member, staticmethod)
        lines += ["", f"### {name}", "", f"    {signature(name, getattr(cls, name), bound)}", ""]
        lines.append(markdown(inspect.getdoc(getattr(cls, name))))
    own = attribute_rows.get(OWNERS.get(cls.__name__))
    if own:
        lines += ["", "## Attributes", "", "As [Attributes](attributes.md) tells them.", ""]
        lines += ["| name | type | writable | available | meaning |", "| --- | --- | --- | --- | --- |", *own]
    return "\n".join(lines) + "\n"


def functions_page(functions):
    lines = ["# Functions", "", "Functions of the module `tessolvpy`."]
    for name, function in functions.items():
        lines += ["", f"## {name}", "", f"    {signature(name, function)}", "", markdown(inspect.getdoc(function))]
    return "\n".join(lines) + "\n"


def first_line(doc):
    return escaped(re.split(r"(?<=[.:])\s|\n\n", doc.strip())[0].rstrip(":.").replace("\n", " "))


def index_page(groups, functions, tables):
    lines = [
        "# Reference",
        "",
        "Written by `scripts/docs` out of the docstrings and the tables; run it after every change of these.",
    ]
    for title, classes in groups.items():
        lines += ["", f"## {title}", ""]
        lines += [f"- [{cls.__name__}]({cls.__name__}.md): {first_line(cls.__doc__)}" for cls in classes]
    lines += ["", "## Functions", ""]
    lines += [f"- [{name}](functions.md#{name.lower()}): {first_line(f.__doc__)}" for name, f in functions.items()]
    lines += ["", "## Tables", "", *(f"- [{title}]({name})" for name, title in tables)]
    return "\n".join(lines) + "\n"


def attributes_by_owner(page):
    rows = {}
    for line in page.read_text().splitlines():
        cells = line.strip("| ").split(" | ")
        if line.startswith("| `") and len(cells) == 6:
            rows.setdefault(cells[1], []).append("| " + " | ".join([cells[0], *cells[2:]]) + " |")
    return rows


def main(folder):
    public = {n: v for n, v in vars(tessolvpy).items() if not n.startswith("_")}
    classes = {n: v for n, v in public.items() if isinstance(v, type) and v.__module__ == "tessolvpy"}
    functions = {n: v for n, v in public.items() if isinstance(v, types.BuiltinFunctionType)}
    listed = [name for names in GROUPS.values() for name in names]
    if missing := set(classes) - set(listed):
        raise SystemExit(f"{', '.join(sorted(missing))}: in no group of {__file__}")
    groups = {title: [classes[n] for n in names if n in classes] for title, names in GROUPS.items()}
    tables = [(page.name, page.read_text().splitlines()[0].lstrip("# ")) for page in sorted(folder.glob("[a-z]*.md"))]
    tables = [(name, title) for name, title in tables if name[:-3] not in (*classes, "functions")]
    attribute_rows = attributes_by_owner(folder / "attributes.md")
    for cls in classes.values():
        (folder / f"{cls.__name__}.md").write_text(class_page(cls, attribute_rows))
    (folder / "functions.md").write_text(functions_page(functions))
    (folder / "README.md").write_text(index_page(groups, functions, tables))


if __name__ == "__main__":
    main(Path(sys.argv[1]))
