"""Writing replaces a file as a whole or not at all."""

import os
import resource
import signal
import stat
import subprocess
from pathlib import Path

import capi
import pytest
from files import DATA, save

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


@pytest.fixture
def refused(files, model):
    """refused(path): the code with which writing there ends."""
    return lambda path: files.refused(path, save, model)[0]


@pytest.mark.parametrize("suffix", SUFFIXES)
def test_permissions_are_those_of_the_old_file_or_the_usual_ones(model, folder, suffix):
    path = folder / f"a{suffix}"
    old = os.umask(0o027)
    try:
        save(model, path)
        assert stat.S_IMODE(path.stat().st_mode) == 0o640
        path.chmod(0o604)
        save(model, path)
        assert stat.S_IMODE(path.stat().st_mode) == 0o604
    finally:
        os.umask(old)
    assert [p.name for p in folder.iterdir()] == [path.name]


def test_links_are_followed(model, folder, refused):
    (folder / "sub").mkdir()
    real = folder / "sub" / "real.lp"
    real.write_text("old")
    (folder / "second.lp").symlink_to("sub/real.lp")
    (folder / "first.lp").symlink_to(folder / "second.lp")
    save(model, folder / "first.lp")
    assert (folder / "first.lp").is_symlink() and (folder / "second.lp").is_symlink()
    assert real.read_text().startswith("\\Problem name")
    (folder / "new.lp").symlink_to("sub/new_real.lp")
    save(model, folder / "new.lp")
    assert (folder / "sub" / "new_real.lp").read_text() == real.read_text()
    (folder / "loop.lp").symlink_to("loop.lp")
    assert refused(folder / "loop.lp") == capi.FILE_WRITE_ERROR


def test_folders(model, folder, refused):
    assert refused(folder / "no" / "a.lp") == capi.DIRECTORY_ERROR
    (folder / "file").write_text("")
    assert refused(folder / "file" / "a.lp") == capi.DIRECTORY_ERROR
    (folder / "is.lp").mkdir()
    assert refused(folder / "is.lp") == capi.DIRECTORY_ERROR
    assert sorted(p.name for p in folder.iterdir()) == ["file", "is.lp"]
    save(model, folder / ("n" * 252 + ".lp"))  # as long as names can be
    assert refused(folder / ("n" * 253 + ".lp")) == capi.FILE_WRITE_ERROR
    assert len(list(folder.iterdir())) == 3


@pytest.mark.parametrize("suffix", SUFFIXES[:4])
def test_no_space_leaves_the_old_file(model, folder, refused, suffix):
    """A limit on the size of files stands in for a full disk."""
    path = folder / f"a{suffix}"
    path.write_text("old")
    before = resource.getrlimit(resource.RLIMIT_FSIZE)
    handler = signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
    try:
        for limit in (0, 100, 20000):
            resource.setrlimit(resource.RLIMIT_FSIZE, (limit, before[1]))
            try:
                code = refused(path)
            finally:
                resource.setrlimit(resource.RLIMIT_FSIZE, before)
            assert code == capi.FILE_WRITE_ERROR
            assert path.read_text() == "old" and len(list(folder.iterdir())) == 1
    finally:
        signal.signal(signal.SIGXFSZ, handler)
    save(model, path)
    assert path.stat().st_size > 20000


@pytest.mark.skipif(not Path("/dev/full").exists(), reason="no /dev/full")
def test_devices_and_pipes_are_written_directly(files, model, folder, refused):
    (folder / "full.lp").symlink_to("/dev/full")
    assert refused(folder / "full.lp") == capi.FILE_WRITE_ERROR
    assert "No space left on device" in files.log()
    (folder / "null.mps").symlink_to("/dev/null")
    save(model, folder / "null.mps")
    os.mkfifo(folder / "pipe.mps")
    with (folder / "piped").open("w") as out, subprocess.Popen(["cat", folder / "pipe.mps"], stdout=out):
        save(model, folder / "pipe.mps")
    save(model, folder / "file.mps")
    assert (folder / "piped").read_text() == (folder / "file.mps").read_text()


def test_a_file_that_may_not_be_written(python, folder):
    """In a process without the privileges of root, who may write everything."""
    path = folder / "a.lp"
    path.write_text("old")
    path.chmod(0o444)
    folder.chmod(0o777)
    python(
        f"""
import capi, os
library = capi.Library(capi.load())
model = library.model()
os.chdir({str(folder)!r})
if os.getuid() == 0:
    os.setgroups([]); os.setgid(65534); os.setuid(65534)
code = library.dll.TSOwrite(model.handle, b'a.lp')
assert code == capi.FILE_WRITE_ERROR, code
"""
    )
    assert path.read_text() == "old" and len(list(folder.iterdir())) == 1
