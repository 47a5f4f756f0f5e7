"""Rules of the sources that a compiler does not hold: layers, where exceptions are caught, format."""

import os
import re
import shutil
import subprocess
import sys
from fnmatch import fnmatch
from pathlib import Path

import pytest
import tessolvpy

ROOT = Path(__file__).resolve().parents[2]
# Low to high: a file includes its own layer and those before it. Folders that stand in one tuple don't see each other.
# The first pattern that fits a file decides.
LIBRARY = [("include/*",), ("catalog/*",), ("core/*",), ("io/*", "engine/*"), ("api/*",)]
MODULE = [
    ("py/*",),
    ("module/name_index.h", "module/constants_catalog.h"),
    ("module/state.*", "module/text.*", "module/readonly.*"),
    ("solver/*",),
    ("attr/*", "env/catalog.h"),
    ("handles/*",),
    ("expr/*",),
    ("arrays/*",),
    ("containers/*",),
    ("env/*",),
    ("model/*",),
    ("callback/*",),
    ("module/*",),
]
FILES = [file for folder in ("libtessolv", "src") for file in sorted((ROOT / folder).rglob("*"))]
CODE = [file for file in FILES if file.suffix in (".h", ".c", ".cpp")]
COMMENT = re.compile(r'//[^\n]*|/\*.*?\*/|("(?:\\.|[^"\\\n])*")', re.S)


def place(layers, path):
    found = [
        (level, pattern) for level, patterns in enumerate(layers) for pattern in patterns if fnmatch(path, pattern)
    ]
    assert found, f"{path} is in no layer: give it one in {Path(__file__).name}"
    return found[0]


def code_of(file):
    """The text of a file without its comments, lines kept."""
    return COMMENT.sub(lambda m: m[1] or "\n" * m[0].count("\n"), file.read_text())


def lines_with(pattern, files):
    for file in files:
        for number, line in enumerate(code_of(file).splitlines(), 1):
            if re.search(pattern, line):
                yield f"{file.relative_to(ROOT)}:{number}: {line.strip()}"


@pytest.mark.parametrize(("folder", "layers"), [("libtessolv", LIBRARY), ("src", MODULE)])
def test_includes_go_down_the_layers(folder, layers):
    root, wrong = ROOT / folder, []
    for file in (file for file in CODE if root in file.parents):
        path = file.relative_to(root).as_posix()
        level, pattern = place(layers, path)
        for name in re.findall(r'^\s*#\s*include\s+"([^"]+)"', file.read_text(), re.M):
            if (ROOT / "libtessolv/include" / name).exists() or name.startswith("interfaces/highs"):
                continue
            if not (root / name).exists():
                wrong.append(f"{path} includes {name}, which is not written from {folder}/")
                continue
            other, other_pattern = place(layers, name)
            neighbours = {pattern, other_pattern}  # single files of one tuple may include one another, folders not
            if other > level or other == level and len(neighbours) == 2 and all(n.endswith("/*") for n in neighbours):
                wrong.append(f"{path} includes {name}")
    assert not wrong, "\n".join(wrong)


def test_only_the_engine_folder_names_an_engine():
    files = [file for file in CODE if "libtessolv/engine" not in file.as_posix()]
    assert not list(lines_with(r"highs_c_api|\bHighs_|\bkHighs|\bSCIP[a-z]|scip_min", files))


def test_the_library_knows_no_python():
    assert not list(lines_with(r"Python\.h|\bPy[A-Z]\w*|numpy", [f for f in CODE if ROOT / "libtessolv" in f.parents]))


def test_exceptions_end_at_the_edges_only():
    # Each edge has one translator: to Python errors, to codes of the C interface, out of the engine's thread and out of
    # its callbacks. Elsewhere everything may be caught only to put things back before it is thrown on.
    homes = ("src/py/", "src/module/init.", "src/callback/bridge.")
    homes += ("libtessolv/api/guard.", "libtessolv/engine/worker.", "libtessolv/engine/highs/run.")
    homes += ("libtessolv/engine/scip/callback.", "libtessolv/engine/scip/turns.", "libtessolv/engine/scip/run.")
    swallowed = []
    for file in CODE:
        path = file.relative_to(ROOT).as_posix()
        text = code_of(file)
        for found in re.finditer(r"catch\s*\(\s*\.\.\.\s*\)\s*\{", text):
            block = text[found.end() : matching_brace(text, found.end())]
            if not path.startswith(homes) and not block.rstrip().endswith("throw;"):
                swallowed.append(f"{path}:{text.count(chr(10), 0, found.start()) + 1}")
    assert not swallowed


def matching_brace(text, start):
    """Where the block that was opened before start is closed."""
    depth = 1
    for found in re.finditer(r"[{}]", text[start:]):
        depth += 1 if found[0] == "{" else -1
        if depth == 0:
            return start + found.start()
    return len(text)


def test_files_are_short_enough_to_read():
    assert not [f"{file.relative_to(ROOT)}" for file in CODE if file.read_text().count("\n") > 600]


def sources(*suffixes):
    listed = subprocess.check_output(["git", "ls-files", "-co", "--exclude-standard"], cwd=ROOT, text=True).splitlines()
    return [name for name in listed if name.endswith(suffixes) and (ROOT / name).exists()]


def test_cpp_is_formatted():
    folder = Path(sys.executable).parent
    formatter = shutil.which("clang-format", path=str(folder)) or shutil.which("clang-format")
    run = subprocess.run(
        [formatter, "--dry-run", "--Werror", *sources(".h", ".c", ".cpp")], cwd=ROOT, capture_output=True, text=True
    )
    assert run.returncode == 0, "scripts/format mends this:\n" + run.stderr[-4000:]


@pytest.mark.parametrize("arguments", [["check"], ["format", "--check"]])
def test_python_is_clean(arguments):
    run = subprocess.run([sys.executable, "-m", "ruff", *arguments, "."], cwd=ROOT, capture_output=True, text=True)
    assert run.returncode == 0, "scripts/format mends most of this:\n" + run.stdout[-4000:] + run.stderr[-2000:]


def test_reference_pages_are_up_to_date(tmp_path):
    module = {"PYTHON": sys.executable, "PYTHONPATH": str(Path(tessolvpy.__file__).parent)}
    subprocess.run([ROOT / "scripts/docs", tmp_path], env=os.environ | module, check=True)
    pages = sorted(page.name for page in tmp_path.iterdir())
    assert pages == sorted(page.name for page in (ROOT / "docs/reference").iterdir())
    old = [page for page in pages if (tmp_path / page).read_text() != (ROOT / "docs/reference" / page).read_text()]
    assert not old, "scripts/docs writes them"
    incomplete = [line for page in tmp_path.iterdir() for line in page.read_text().splitlines() if "|  |  |" in line]
    assert not incomplete, "rows of a catalogue without their texts"
