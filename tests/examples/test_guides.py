"""The code in the guides runs, page by page from top to bottom, and prints what the pages say."""

import doctest
import re
from pathlib import Path
from textwrap import dedent

import pytest

ROOT = Path(__file__).resolve().parents[2]
PAGES = sorted((ROOT / "docs/guide").glob("*.md"))
BLOCK = re.compile(r"^( *)```(\w*)\n(.*?)^\1```$", re.M | re.S)


def blocks(page):
    """(line, language, code) of each block of a page."""
    text = page.read_text()
    for found in BLOCK.finditer(text):
        yield text.count("\n", 0, found.start(3)), found[2], dedent(found[3])


@pytest.mark.parametrize("page", PAGES, ids=lambda page: page.stem)
def test_the_code_of_a_guide_runs(page, tmp_path, monkeypatch):
    (tmp_path / "examples").symlink_to(ROOT / "examples")
    monkeypatch.chdir(tmp_path)
    names = {"__name__": "__main__"}
    ran = 0
    for line, language, code in blocks(page):
        if language == "python":
            exec(compile("\n" * line + code, str(page), "exec"), names)
        elif language == "pycon":
            test = doctest.DocTestParser().get_doctest(code, names, page.name, str(page), line)
            found = []
            runner = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS)
            runner.run(test, out=found.append, clear_globs=False)
            names = test.globs
            assert not runner.failures, "".join(found)
        else:
            assert language == "sh", f"{page.name}:{line}: a block that no test runs"
            continue
        ran += 1
    assert ran == page.read_text().count("```") // 2 - page.read_text().count("```sh")
    names["m"].dispose()


@pytest.mark.parametrize("page", [*PAGES, ROOT / "examples/README.md"], ids=lambda page: page.stem)
def test_links_lead_somewhere(page):
    for target, anchor in re.findall(r"\]\(([^)#:]*)(?:#([^)]*))?\)", page.read_text()):
        other = page.parent / target if target else page
        assert other.exists(), target
        heads = [head.lower() for head in re.findall(r"^#+ (.*)$", other.read_text(), re.M)] if anchor else []
        assert not anchor or anchor in [re.sub(r"[^\w -]", "", head).replace(" ", "-") for head in heads], anchor
