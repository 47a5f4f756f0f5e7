"""Writing replaces a file as a whole or not at all."""

import os
import resource
import signal
import stat
import subprocess
import sys
from pathlib import Path

import capi
import pytest
from files import DATA

SUFFIXES = [".lp", ".mps", ".lp.gz", ".mps.bz2", ".prm", ".mst"]


@pytest.fixture
def model(files):
    model = files.read(DATA / "lp/25fv47.mps")
    model.set("Start", [0], [1.0])
    return model


@pytest.fixture
def folder(tmp_path):
    path = tmp_path / "out"
    path.mkdir()
    return path


def write(model, path):
    model.call("TSOwrite", str(path))


def refused(model, path):
    with pytest.raises(capi.Failed) as failure:
        write(model, path)
    return failure.value.code


@pytest.mark.parametrize("suffix", SUFFIXES)
def test_permissions_are_those_of_the_old_file_or_the_usual_ones(model, folder, suffix):
    path = folder / f"a{suffix}"
    old = os.umask(0o027)
    try:
        write(model, path)
        assert stat.S_IMODE(path.stat().st_mode) == 0o640
        path.chmod(0o604)
        write(model, path)
        assert stat.S_IMODE(path.stat().st_mode) == 0o604
    finally:
        os.umask(old)
    assert [p.name for p in folder.iterdir()] == [path.name]


def test_links_are_followed(model, folder):
    (folder / "sub").mkdir()
    real = folder / "sub" / "real.lp"
    real.write_text("old")
    (folder / "second.lp").symlink_to("sub/real.lp")
    (folder / "first.lp").symlink_to(folder / "second.lp")
    write(model, folder / "first.lp")
    assert (folder / "first.lp").is_symlink() and (folder / "second.lp").is_symlink()
    assert real.read_text().startswith("\\Problem name")
    (folder / "new.lp").symlink_to("sub/new_real.lp")
    write(model, folder / "new.lp")
    assert (folder / "sub" / "new_real.lp").read_text() == real.read_text()
    (folder / "loop.lp").symlink_to("loop.lp")
    assert refused(model, folder / "loop.lp") == capi.FILE_WRITE_ERROR


def test_folders(model, folder):
    assert refused(model, folder / "no" / "a.lp") == capi.DIRECTORY_ERROR
    (folder / "file").write_text("")
    assert refused(model, folder / "file" / "a.lp") == capi.DIRECTORY_ERROR
    (folder / "is.lp").mkdir()
    assert refused(model, folder / "is.lp") == capi.DIRECTORY_ERROR
    assert sorted(p.name for p in folder.iterdir()) == ["file", "is.lp"]
    write(model, folder / ("n" * 252 + ".lp"))  # as long as names can be
    assert refused(model, folder / ("n" * 253 + ".lp")) == capi.FILE_WRITE_ERROR
    assert len(list(folder.iterdir())) == 3


@pytest.mark.parametrize("suffix", SUFFIXES[:4])
def test_no_space_leaves_the_old_file(model, folder, suffix):
    """A limit on the size of files stands in for a full disk."""
    path = folder / f"a{suffix}"
    path.write_text("old")
    before = resource.getrlimit(resource.RLIMIT_FSIZE)
    handler = signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
    try:
        for limit in (0, 100, 20000):
            resource.setrlimit(resource.RLIMIT_FSIZE, (limit, before[1]))
            try:
                code = refused(model, path)
            finally:
                resource.setrlimit(resource.RLIMIT_FSIZE, before)
            assert code == capi.FILE_WRITE_ERROR
            assert path.read_text() == "old" and len(list(folder.iterdir())) == 1
    finally:
        signal.signal(signal.SIGXFSZ, handler)
    write(model, path)
    assert path.stat().st_size > 20000


@pytest.mark.skipif(not Path("/dev/full").exists(), reason="no /dev/full")
def test_devices_and_pipes_are_written_directly(files, model, folder):
    (folder / "full.lp").symlink_to("/dev/full")
    assert refused(model, folder / "full.lp") == capi.FILE_WRITE_ERROR
    assert "No space left on device" in files.log()
    (folder / "null.mps").symlink_to("/dev/null")
    write(model, folder / "null.mps")
    os.mkfifo(folder / "pipe.mps")
    with (folder / "piped").open("w") as out, subprocess.Popen(["cat", folder / "pipe.mps"], stdout=out):
        write(model, folder / "pipe.mps")
    write(model, folder / "file.mps")
    assert (folder / "piped").read_text() == (folder / "file.mps").read_text()


def test_a_file_that_may_not_be_written(model, folder):
    """In a process without the privileges of root, who may write everything."""
    path = folder / "a.lp"
    path.write_text("old")
    path.chmod(0o444)
    script = f"""
import os, sys
sys.path[:0] = [{str(Path(__file__).parent)!r}, {str(Path(capi.__file__).parent)!r}]
import capi
library = capi.Library(capi.load())
model = library.model()
os.chdir({str(folder)!r})
if os.getuid() == 0:
    os.setgroups([]); os.setgid(65534); os.setuid(65534)
code = library.dll.TSOwrite(model.handle, b'a.lp')
assert code == capi.FILE_WRITE_ERROR, code
"""
    folder.chmod(0o777)
    run = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True)
    assert run.returncode == 0, run.stderr
    assert path.read_text() == "old" and len(list(folder.iterdir())) == 1
