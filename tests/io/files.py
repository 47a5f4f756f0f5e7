"""What the tests of files share: reading and writing with the log at hand, and everything that a model holds."""

import bz2
import ctypes
import gzip
import json
from pathlib import Path

import capi

DATA = Path(__file__).resolve().parents[1] / "data"
INSTANCES = json.loads((DATA / "manifest.json").read_text())
OPEN = {".gz": gzip.open, ".bz2": bz2.open}


class Files:
    def __init__(self, library, folder):
        self.library, self.folder = library, folder
        self.log_path = folder / "log.txt"
        self.env = library.env(quiet=False)
        library.parameter(self.env, "LogToConsole", 0)
        library.parameter(self.env, "LogFile", str(self.log_path))
        library.call("TSOstartenv", self.env)

    def log(self):
        return self.log_path.read_text(errors="replace")

    def model(self):
        return self.library.model(self.env)

    def make(self, name, content):
        path = self.folder / name
        content = content.encode() if isinstance(content, str) else content
        with OPEN.get(path.suffix, open)(path, "wb") as file:
            file.write(content)
        return path

    def content(self, path):
        with OPEN.get(path.suffix, open)(path, "rb") as file:
            return file.read().decode()

    def read(self, path):
        handle = ctypes.c_void_p()
        self.library.call("TSOreadmodel", self.env, str(path), ctypes.byref(handle))
        return self.library.wrap(handle.value)

    def text(self, content, suffix=".lp"):
        """The model that a text describes."""
        return self.read(self.make("text" + suffix, content))

    def refused(self, path, act=None, model=None):
        """The code of an act that must fail, or else of reading a new model, and the line of the log that it made."""
        before = len(self.log())
        try:
            act(model, path) if act else self.read(path)
        except capi.Failed as failure:
            return failure.code, self.log()[before:].strip()
        raise AssertionError(f"{path} was taken")

    def again(self, model, suffix):
        path = self.folder / f"again{suffix}"
        save(model, path)
        return self.read(path)


def load(model, path):
    model.call("TSOread", str(path))


def save(model, path):
    model.call("TSOwrite", str(path))


def everything(model):
    state = model.state()
    state.pop("Start")
    count = model.count("NumGenConstrs")
    state["GenConstrName"] = model.texts("GenConstrName", range(count))
    name = ctypes.c_char_p()
    model.call("TSOgetstrattr", "ModelName", ctypes.byref(name))
    state["ModelName"] = name.value.decode()
    return state


def assert_same(one, other, but=()):
    one, other = everything(one), everything(other)
    for key in one:
        if key not in but:
            assert one[key] == other[key], key
