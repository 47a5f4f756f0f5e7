"""Files with random damage: read or refused, and what is read can be written and read again."""

import random
import zlib

import capi
import pytest
from files import DATA, everything, load, save

SEEDS = [
    "lpformat/lpf04_integer_sections.lp", "lpformat/lpf05_quadratic_objective.lp", "lpformat/lpf07_sos.lp",
    "lpformat/lpf08_indicator.lp", "lpformat/lpf09_comments_continuation.lp", "mip/semicon1.mps",
    "mip/semi-integer.mps", "lp/galenet.mps", "qp/hs118.qps", "qp/qjh_quadobj.mps", "indicator/indicator1.mps",
    "mip/flugpl.mps",
]  # fmt: skip
PIECES = [
    "inf", "-", "+", "[", "]", "^", "*", ":", "::", "<=", "=", "->", "1e999", "nan", "-1e30", "0", "\n", " ", "\t",
    "\\", "\0", "\xff", "_~", "~~3", "99999999999999", "2147483648", "free", "st\n", "end\n", "ENDATA\n", "ROWS\n",
    "COLUMNS\n", "RHS\n", "RANGES\n", "BOUNDS\n", "QUADOBJ\n", "QCMATRIX c1\n", "SOS\n", "INDICATORS\n",
    " M 'MARKER' 'INTORG'\n",
]  # fmt: skip
REFUSALS = {
    ".bas": (capi.FORMAT_ERROR, capi.MODEL_INVALID_COL_NAME, capi.MODEL_INVALID_ROW_NAME),
    ".mst": (capi.FORMAT_ERROR, capi.MODEL_INVALID_COL_NAME),
    ".prm": (capi.FORMAT_ERROR, capi.PARAM_SET_ERROR),
}


def damaged(rng, content):
    content = bytearray(content)
    for _ in range(rng.randint(1, 5)):
        at = rng.randrange(len(content) + 1)
        kind = rng.randrange(6)
        if kind == 0:
            content[at:at] = rng.choice(PIECES).encode("latin-1")
        elif kind == 1:
            del content[at : at + rng.randint(1, 12)]
        elif kind == 2:
            content[at : at + 1] = bytes([rng.randrange(256)])
        elif kind == 3:
            begin = rng.randrange(len(content) + 1)
            content[at:at] = content[begin : begin + rng.randint(1, 60)]
        elif kind == 4:
            del content[at : max(content.find(b"\n", at), at)]
        elif rng.random() < 0.2:
            del content[at:]
    return bytes(content)


@pytest.mark.parametrize("name", SEEDS)
def test_models(files, name):
    rng = random.Random(zlib.crc32(name.encode()))
    original = (DATA / name).read_bytes()
    path = files.folder / ("f" + name[name.rindex(".") :])
    read = 0
    for _ in range(150):
        path.write_bytes(damaged(rng, original))
        try:
            model = files.read(path)
        except capi.Failed as failure:
            assert failure.code == capi.FORMAT_ERROR, path.read_bytes()
            continue
        read += 1
        state = everything(model)
        for suffix in (".lp", ".mps"):
            if suffix == ".mps" and any(a > b for a, b in zip(state["LHS"], state["RHS"], strict=True)):
                continue
            back = everything(files.again(model, suffix))
            for key in ("rows", "LB", "UB", "Obj", "LHS", "RHS", "VType", "VarName", "ConstrName", "constant"):
                assert back[key] == state[key], (key, path.read_bytes())
    assert read > 0


@pytest.mark.parametrize("suffix", [".lp.gz", ".lp.bz2", ".bas", ".mst", ".prm"])
def test_compressed_and_side_files(files, suffix):
    rng = random.Random(zlib.crc32(suffix.encode()))
    model = files.read(DATA / "lp/afiro.mps")
    model.set("Start", range(20), [j / 3 for j in range(20)])
    model.set("ColBasis", range(20), [j % 3 for j in range(20)])
    model.parameter("MaxTime", 5.5)
    path = files.folder / f"f{suffix}"
    save(model, path)
    original = path.read_bytes()
    if suffix == ".prm":  # a damaged path would be a log file somewhere
        original = original[: original.index(b"LogFile")]
    refused = 0
    for _ in range(300):
        path.write_bytes(damaged(rng, original))
        try:
            if suffix in REFUSALS:
                load(model, path)
            else:
                files.read(path)
        except capi.Failed as failure:
            refused += 1
            assert failure.code in REFUSALS.get(suffix, (capi.FORMAT_ERROR,)), path.read_bytes()
    assert refused > 30
