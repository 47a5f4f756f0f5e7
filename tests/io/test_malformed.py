"""Files that are none: each is refused with its file, line and what was expected, and nothing else happens."""

import bz2
import gzip

import capi
import pytest
from files import load, save

LP = "min\n obj: x + y\nst\n c: x + y >= 1\nbounds\n x <= 4\nend\n"
MPS = "NAME p\nROWS\n N obj\n G c\nCOLUMNS\n x obj 1 c 1\nRHS\n RHS c 1\nRANGES\n R c 1\nBOUNDS\n UP B x 4\nENDATA\n"


def lp(old, new):
    assert old in LP
    return ".lp", LP.replace(old, new, 1)


def mps(old, new):
    assert old in MPS
    return ".mps", MPS.replace(old, new, 1)


@pytest.mark.parametrize(
    ("file", "line", "expected"),
    [
        ((".lp", ""), 1, "expected Minimize or Maximize, found the end of the file"),
        ((".lp", "hello\n"), 1, "expected Minimize or Maximize, found 'hello'"),
        (lp("end\n", ""), 7, "expected End, found the end of the file"),
        (lp("x + y\n", "x + + >= 1\n"), 2, "expected a number or a variable, found '>='"),
        (lp("x + y\n", "x y\n"), 2, "expected +, - or a section (Subject To, Bounds, ..., End), found 'y'"),
        (lp("x + y\n", "x + inf\n"), 2, "expected a finite constant of the objective, found inf"),
        (lp("x + y\n", "[ x^3 ]\n"), 2, "expected the power 2, found '3'"),
        (lp("x + y\n", "[ x * ]\n"), 2, "expected the name of a variable, found ']'"),
        (lp("x + y\n", "[ x^2\n"), 3, "expected +, - or ], found 'st'"),
        (lp("x + y\n", "x | y\n"), 2, "expected a word of the LP format, found '|'"),
        (lp("x + y\n", "x + \x01\n"), 2, "expected a word of the LP format, found '\\x01'"),
        (lp("x + y\n", "x + .\n"), 2, "expected a number or a name, found '.'"),
        (lp("x + y\n", "x + " + "n" * 256 + "\n"), 2, "expected a name of at most 255 bytes, found 'nnnn"),
        (lp(">= 1", ">="), 5, "expected a number, found 'bounds'"),
        (lp(">= 1", ">= 1 <= 2"), 4, "expected the end of the row, found '<='"),
        (lp("c: x + y >= 1", "1 <= x >= 2"), 4, "expected <=, found '>='"),
        (lp(">= 1", ">= 1e30"), 4, "expected a row that can be met, found one between"),
        (lp(">= 1", "-> x >= 1"), 4, "expected <=, >= or =, found '->'"),
        (lp("c: x + y >= 1", "x = 1 -> y >= 1"), 4, "expected a binary in front of the indicated row, 'x' is none"),
        (lp("x <= 4", "x <="), 7, "expected a number, found 'end'"),
        (lp("x <= 4", "x >= inf"), 7, "expected a lower bound below infinity, found inf"),
        (lp("x <= 4", "x <= -1e20"), 7, "expected an upper bound above -infinity, found -1e+20"),
        (lp("x <= 4", "1 <= x >= 4"), 6, "expected one direction of both bounds"),
        (lp("bounds\n x <= 4", "sos\n s: S3:: x:1"), 6, "expected S1 or S2, found 'S3'"),
        (lp("bounds\n x <= 4", "sos\n x:1"), 6, "expected S1 or S2, found a member without a set"),
        (lp("bounds\n x <= 4", "sos\n s: S1:: x:1 x:2"), 6, "expected a variable that is not yet in the set"),
        (lp("bounds", "max"), 6, "expected one objective, found another"),
        ((".mps", ""), 1, "expected ENDATA, found the end of the file"),
        (mps("ROWS", "LINES"), 2, "expected a section (NAME, ROWS, COLUMNS, RHS, RANGES, BOUNDS, ..., ENDATA)"),
        (mps(" G c", " K c"), 4, "expected a type of row (N, E, L or G), found 'K'"),
        (mps(" G c", " G c\n L c"), 5, "expected a name that no other row has, found 'c'"),
        (mps("c 1", "c 1x"), 6, "expected a number, found '1x'"),
        (mps("c 1", "c"), 6, "expected a column's name and one or two pairs of row and number, found 'x obj 1 c'"),
        (mps("c 1", "c 1\n y c 1\n x c 1"), 8, "expected all lines of a column together"),
        (mps("RHS c 1", "RHS c 1e40"), 8, "expected a right-hand side that can be met, found '1e+40'"),
        (mps("RHS c 1", "RHS obj -inf"), 8, "expected a finite constant of the objective, found '-inf'"),
        (mps("UP B x 4", "UP B y 4"), 12, "expected the name of a column, found 'y'"),
        (mps("UP B x 4", "XX B x 4"), 12, "expected a type of bound (LO, UP, FX"),
        (mps("UP B x 4", "LO B x 1e20"), 12, "expected a lower bound below infinity, found '1e+20'"),
        (mps("ENDATA\n", ""), 13, "expected ENDATA, found the end of the file"),
        (mps("ENDATA", "QUADOBJ\n x y 1\nENDATA"), 14, "expected the name of a column, found 'y'"),
        (mps("ENDATA", "SOS\n S1 s\n    x 1\n    x 2\nENDATA"), 16, "expected a column that is not yet in the set"),
        (mps("ENDATA", "INDICATORS\n IF c x 1\nENDATA"), 14, "expected a linear row with one finite right-hand side"),
        (mps("ENDATA", "INDICATORS\n IF c x 2\nENDATA"), 14, "expected 0 or 1, found '2'"),
        (mps("ENDATA", "CSECTION k\nENDATA"), 13, "found 'CSECTION'"),
        (mps("x obj", "\x02x obj"), 6, "expected no control characters, found '\\x02x'"),
        (mps("x obj", "n" * 256 + " obj"), 6, "expected a name of at most 255 bytes"),
        (mps("NAME p\n", "OBJSENSE\n    UP\n"), 2, "expected MIN or MAX, found 'UP'"),
    ],
)  # fmt: skip
def test_what_and_where(files, file, line, expected):
    suffix, text = file
    path = files.make("bad" + suffix, text)
    code, log = files.refused(path)
    assert code == capi.FORMAT_ERROR
    assert log.startswith(f"{path}:{line}: ") and expected in log and "\n" not in log


@pytest.mark.parametrize("suffix", [".lp", ".mps"])
def test_names_that_are_not_utf8(files, suffix):
    text = {".lp": LP.replace("x", "gr\xf6\xdfe"), ".mps": MPS.replace("x", "gr\xf6\xdfe")}[suffix]
    code, log = files.refused(files.make("latin" + suffix, text.encode("latin-1")))
    assert code == capi.FORMAT_ERROR and r"expected UTF-8, found 'gr\xf6\xdfe'" in log
    comment = {".lp": "\\ gr\xf6\xdfe\n" + LP, ".mps": "* gr\xf6\xdfe\n" + MPS}[suffix]
    files.read(files.make("comment" + suffix, comment.encode("latin-1")))


@pytest.mark.parametrize("suffix", [".lp", ".mps", ".bas", ".prm", ".sol", ".mst"])
def test_what_is_no_text(files, suffix):
    read = () if suffix in (".lp", ".mps") else (load, files.text(LP))
    folder = files.folder / f"folder{suffix}"
    folder.mkdir()
    assert files.refused(folder, *read)[0] == capi.DIRECTORY_ERROR
    assert files.refused(files.folder / f"missing{suffix}", *read)[0] == capi.FILE_READ_ERROR
    assert files.refused(files.folder / "no" / f"missing{suffix}", *read)[0] == capi.FILE_READ_ERROR
    bad = [bytes(range(256)) * 300, b"\x00" * 100000, b"x" * 1_000_000, LP.encode("utf-16"), b"a b c\n" * 3]
    for number, content in enumerate(bad):
        code, log = files.refused(files.make(f"bad{number}{suffix}", content), *read)
        assert code in (capi.FORMAT_ERROR, capi.MODEL_INVALID_COL_NAME, capi.PARAM_SET_ERROR)
        assert f"bad{number}{suffix}:1: " in log and len(log) < 400


@pytest.mark.parametrize("suffix", [".gz", ".bz2"])
def test_compressed_data_that_are_damaged(files, suffix):
    pack = {".gz": gzip.compress, ".bz2": bz2.compress}[suffix]
    whole = pack(LP.encode() + b"\\" * 400_000)
    path = files.folder / f"p.lp{suffix}"

    def refused(content):
        path.write_bytes(content)
        code, log = files.refused(path)
        assert code == capi.FORMAT_ERROR
        return log

    for length in (1, 5, 12, len(whole) // 2, len(whole) - 1):
        assert "the compressed data are cut off" in refused(whole[:length]), length
    assert "the suffix promises" in refused(LP.encode())
    assert "cut off" in refused(b"")
    assert "damaged" in refused(whole[:20] + bytes([whole[20] ^ 255]) + whole[21:])
    assert "something behind the compressed data" in refused(whole + b"junk" * 10)
    for content in (pack(LP[:20].encode()) + pack(LP[20:].encode()), whole + b"\0" * 512):
        path.write_bytes(content)
        assert files.read(path).count("NumVars") == 2


def test_suffixes(files):
    model = files.text(LP)
    for name in ("a.txt", "a", "a.gz", ".lp", "a.lp.zip", "a.lpx", "a.lp.gz.gz"):
        path = files.make(name, LP)
        code, log = files.refused(path)
        assert code == capi.FORMAT_ERROR and ".lp .mps .qps, each also with .gz or .bz2" in log
        code, log = files.refused(path, save, model)
        assert code == capi.FORMAT_ERROR and ".lp .mps .qps .sol .mst .bas .prm, each" in log
    assert files.refused(files.make("a.sol", ""))[0] == capi.FORMAT_ERROR
    assert files.read(files.make("A.LP", LP)).count("NumVars") == 2


@pytest.mark.parametrize(
    ("suffix", "head", "unit"),
    [
        (".lp", b"", b"\\" * 1024),
        (".lp", b"min x", b" " * 1024),
        (".lp", b"min x", b" + x" * 256),
        (".lp", b"min x st\n", b" c: x >= 1\n" * 100),
        (".lp", b"min 0", b"0" * 1024),
        (".mps", b"", b"\n" * 1024),
        (".mps", b"ROWS\n N ", b"x" * 1024),
        (".mps", b"ROWS\n N o\n E r\nCOLUMNS\n", b" x r 1\n" * 150),
    ],
    ids=["comment", "blanks", "terms", "rows", "number", "lines", "name", "entries"],
)
def test_a_small_file_that_unpacks_to_a_great_one(python, tmp_path, suffix, head, unit):
    """Read a block at a time, and given up where it can be no model."""
    path = tmp_path / f"bomb{suffix}.gz"
    path.write_bytes(gzip.compress(head) + gzip.compress(unit * 10240) * 200)
    script = f"""
import capi, files, pathlib, resource
path = pathlib.Path({str(path)!r})
made = files.Files(capi.Library(capi.load()), path.parent)
before = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
code, log = made.refused(path)
assert code == capi.FORMAT_ERROR and ("more than 250 times" in log or "more than 16 MiB" in log), (code, log)
print(resource.getrusage(resource.RUSAGE_SELF).ru_maxrss - before)
"""
    assert int(python(script).split()[-1]) < 900 << 10, "KiB"
