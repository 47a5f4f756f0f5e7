"""What is written reads back as the same model, to the last bit of every number."""

import capi
import numpy as np
import pytest
from files import DATA, INSTANCES, assert_same, everything, load, save

AWKWARD = [
    "plain", "total cost", "1st", ".5", "e10", "E5", "1e5", "free", "FREE", "inf", "Infinity", "end", "st", "s.t.",
    "subject", "bounds", "General", "semi-continuous", "sos1", "max", "x+y", "a-b", "a*b", "a/b", "a^2", "<x>", "a=b",
    "x:1", "[0]", "x[1,2]", "x(1,2)", "back\\slash", "tab\tname", "new\nline", " lead", "trail ", "größe", "変数",
    "'MARKER'", "*star", "$dollar", "#hash", "S1", "RHS", "OBJ", "obj", "_~", "_~a~20b", "_~a~~3", "~", "a|b", "\x7f",
    "C0", "R1", "N" * 255, "é" * 127, " " * 255, "->", "nan", "-inf", "\x01", "name", "name", "name",
]  # fmt: skip


def random_number(rng):
    kind = rng.integers(5)
    if kind == 0:
        return float(rng.integers(-9, 10))
    if kind == 1:
        return float(rng.choice([1, -1, 0.1, 1 / 3, 1e19, -1e19, 5e-324, 2.2250738585072014e-308, 1e-300, 123456789.0]))
    return float(rng.standard_normal() * 10.0 ** rng.integers(-12, 13))


def random_bounds(rng):
    low, high = sorted((random_number(rng), random_number(rng)))
    return [
        (0.0, capi.INFINITY), (-capi.INFINITY, capi.INFINITY), (low, high), (low, low), (-capi.INFINITY, high),
        (low, capi.INFINITY), (0.0, abs(high)), (0.0, -abs(low)), (0.0, 1.0), (0.0, 0.0),
    ][rng.integers(10)]  # fmt: skip


def random_model(files, seed, crossed_rows=False):
    rng = np.random.default_rng(seed)
    model = files.model()
    model.call("TSOsetstrattr", "ModelName", ["", "m", "a model", "größe", " FREE"][seed % 5])
    model.call("TSOsetintattr", "ModelSense", -1 if rng.random() < 0.5 else 1)
    model.call("TSOsetdblattr", "ObjConst", random_number(rng))
    names = list(rng.permutation(AWKWARD))
    n, m = int(rng.integers(1, 30)), int(rng.integers(0, 20))
    for _ in range(n):
        low, high = random_bounds(rng)
        kind = str(rng.choice(list("CCBISN")))
        if kind == "B":
            low, high = [(0.0, 1.0), (0.0, 0.0), (1.0, 1.0), (0.0, 0.5)][rng.integers(4)]
        cost = random_number(rng) if rng.random() < 0.6 else 0.0
        model.addvar(cost, low, high, kind, names.pop() if rng.random() < 0.7 else None)
    binary = model.count("NumVars")
    model.addvar(0.0, 0.0, 1.0, "B", "switch")
    if rng.random() < 0.5:
        pairs = distinct_pairs(rng, n, 3)
        pairs += pairs[:1]  # one term in two parts
        model.call("TSOaddqpterms", len(pairs), *zip(*pairs), [random_number(rng) for _ in pairs])
    row_names = list(rng.permutation(AWKWARD))
    for _ in range(m):
        cols = rng.choice(n, int(rng.integers(0, n + 1)), replace=False)
        values = [random_number(rng) for _ in cols]
        name = row_names.pop() if rng.random() < 0.7 else None
        if rng.random() < 0.2:
            terms = [(int(i), int(j), random_number(rng)) for i, j in distinct_pairs(rng, n, 3)]
            linear = list(zip(map(int, cols), values, strict=True))
            model.addqconstr(linear, terms, str(rng.choice(list("<>="))), random_number(rng), name)
        else:
            low, high = random_bounds(rng)
            if not crossed_rows and low > high:
                low, high = high, low
            model.addrow(list(map(int, cols)), values, low, high, name)
    for _ in range(int(rng.integers(0, 3))):
        members = rng.choice(n, int(rng.integers(0, n + 1)), replace=False)
        weights = [random_number(rng) for _ in members]
        model.addsos([int(rng.integers(1, 3))], [0], list(map(int, members)), weights)
    for k in range(int(rng.integers(0, 3))):
        cols = sorted(map(int, rng.choice(n, int(rng.integers(0, n + 1)), replace=False)))
        model.addindicator(
            binary, k % 2, cols, [random_number(rng) or 1.0 for _ in cols], "<>="[k % 3], random_number(rng),
            row_names.pop() if rng.random() < 0.5 else None,
        )  # fmt: skip
    return model


def distinct_pairs(rng, n, count):
    pairs = {tuple(sorted(map(int, rng.integers(0, n, 2)))) for _ in range(count)}
    return [p if rng.random() < 0.5 else p[::-1] for p in sorted(pairs)]


def merged(terms):
    """Terms of one pair of columns as one, at the place of the first."""
    sums = {}
    for i, j, value in terms:
        key = (min(i, j), max(i, j))
        sums[key] = sums.get(key, 0.0) + value
    return list(sums.items())


@pytest.mark.parametrize("suffix", [".lp", ".mps", ".qps.gz", ".lp.bz2"])
@pytest.mark.parametrize("seed", range(40))
def test_random_models_come_back(files, seed, suffix):
    model = random_model(files, seed, crossed_rows=suffix.startswith(".lp"))
    back = files.again(model, suffix)
    assert_same(model, back, but=("quadratic", "rowterms"))
    assert merged(model.quadratic()) == merged(back.quadratic())
    for i in range(model.count("NumConstrs")):
        one, other = model.quadratic(i), back.quadratic(i)
        assert one[0] == other[0] and merged(one[1]) == merged(other[1])
    # Once more: what reading makes of it is written the same.
    first = files.content(files.folder / f"again{suffix}")
    files.again(back, suffix)
    assert files.content(files.folder / f"again{suffix}") == first


@pytest.mark.parametrize("entry", INSTANCES, ids=lambda e: e["file"])
def test_instances_come_back_in_both_formats(files, entry):
    model = files.read(DATA / entry["file"])
    assert model.count("NumConstrs") == entry["rows"] and model.count("NumVars") == entry["cols"]
    # Some published counts leave out entries that are nearly zero.
    entries = [value for row in model.rows() for _, value in row]
    assert sum(abs(v) > 1e-9 for v in entries) <= entry["nnz"] <= len(entries)
    assert model.count("NumSOS") == entry.get("sos_sets", 0)
    assert model.count("NumGenConstrs") == entry.get("indicator_rows", 0)
    assert sum(bool(t[1]) for t in everything(model)["rowterms"]) == entry.get("quadratic_rows", 0)
    for suffix in (".lp", ".mps"):
        assert_same(model, files.again(model, suffix))


def test_ranges_hit_their_far_end_where_no_double_does(files):
    rng = np.random.default_rng(5)
    model = files.model()
    model.addvar(name="x")
    ends = [(-0.3, float(np.nextafter(2, 0))), (-1e-20, 1.0), (0.1, 1e19), (-1e19, 3e-7), (-1 / 3, 2 / 3)]
    for _ in range(3000):
        a, b = (float(rng.standard_normal() * 2.0 ** rng.integers(-30, 30)) for _ in range(2))
        ends.append((min(a, b), max(a, b)))
    for low, high in ends:
        model.addrow([0], [1.0], low, high)
    assert any(low + (high - low) != high and high - (high - low) != low for low, high in ends)
    for suffix in (".lp", ".mps"):
        assert_same(model, files.again(model, suffix))


def test_what_a_format_has_no_form_for_leaves_the_old_file(files, fails):
    crossed, semidefinite = files.model(), files.model()
    crossed.addvar(name="x")
    crossed.addrow([0], [1.0], 5.0, 3.0, "crossed")
    assert_same(crossed, files.again(crossed, ".lp"))
    semidefinite.call("TSOaddpsdvar", 2, 0, None, None, None, None)
    for model, suffix, words in [
        (crossed, ".mps", "row crossed, whose lower bound is above its upper one"),
        (semidefinite, ".lp", "no form for semi-definite"),
        (semidefinite, ".mps", "no form for semi-definite"),
    ]:
        path = files.make(f"old{suffix}", "old")
        before, said = sorted(files.folder.iterdir()), len(files.log())
        fails(capi.FORMAT_ERROR, save, model, path)
        assert words in files.log()[said:]
        assert path.read_text() == "old" and sorted(files.folder.iterdir()) == before
    semidefinite.addvar(name="x")
    semidefinite.set("Start", [0], [3.0])
    save(semidefinite, files.folder / "x.mst")  # the columns beside the matrices have a form
    load(semidefinite, files.folder / "x.mst")
    assert semidefinite.get("Start", [0]) == [3]


@pytest.mark.parametrize("suffix", [".lp", ".mps"])
def test_empty_models(files, suffix):
    assert_same(files.model(), files.again(files.model(), suffix))
    model = files.model()
    model.addrow(lower=-2.0, upper=4.0, name="nothing")
    model.addrow(name="free")
    assert_same(model, files.again(model, suffix))


def test_reading_into_a_model_replaces_it_or_leaves_it(files):
    model = files.read(DATA / "mip/p0033.mps")
    before = everything(model)
    broken = files.make("broken.lp", "minimize\n x +\nend")
    code, _ = files.refused(broken, load, model)
    assert code == capi.FORMAT_ERROR and everything(model) == before
    load(model, DATA / "lp/afiro.mps")
    assert_same(model, files.read(DATA / "lp/afiro.mps"))
