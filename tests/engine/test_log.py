"""What a run writes into the log."""

import re

import capi
from answers import INF, add_quadratic, market_split


def test_size_ranges_and_result(build, run, logged, capfd):
    m = build([2.0, 0, -500], [[1, 1, 0], [0, 0.5, 4]], [1, -INF], [INF, 8], ub=[4, 3, 3], types="CIB")
    code, text = logged(m)
    m.parameter("OutputFlag", 0)
    assert (code, run(m)[0], capfd.readouterr()) == (0, 0, ("", ""))  # the engine writes nothing by itself
    for words in (
        "minimize, 2 rows, 3 columns, 4 nonzeros", "1 binary, 1 integer, 0 semi-continuous", "[0.5, 4]", "[2, 500]",
        "Engine: HiGHS", "Result: optimal", "-500", "gap",
    ):  # fmt: skip
        assert words in text
    quadratic = build([1.0, 1.0])
    add_quadratic(quadratic, [0], [0], [1.0])
    assert "1 quadratic terms in the objective" in logged(quadratic)[1]
    assert "infeasible" in logged(build([1.0], lb=[2], ub=[1]))[1]


def test_lines_on_the_way(build, logged):
    code, text = logged(market_split(build, 4, 40), MaxTime=2.5)
    assert code == capi.ABORT_TIME_LIMIT
    title = next(k for k, line in enumerate(text.splitlines()) if re.search("Nodes.*Incumbent.*Bound.*Gap.*Time", line))
    lines = text.splitlines()[title + 1 :]
    rows = [line.split() for line in lines[: lines.index("")]]
    assert 2 <= len(rows) <= 12
    nodes, times = [int(row[0]) for row in rows], [float(row[-1].rstrip("s")) for row in rows]
    assert nodes == sorted(nodes) and nodes[-1] > 0
    assert times == sorted(times) and times[-1] <= 2.6
    assert float(rows[-1][2]) >= float(rows[-1][3])
    assert "ended early" in text and "suboptimal" in text
