"""The remote control of the stand-in, for tests that run in a process where it has taken the library's place."""

import ctypes
import json


class Stub:
    def __init__(self):
        self.lib = ctypes.CDLL("libtessolv.so")  # by LD_LIBRARY_PATH: the same one that the module has loaded
        if not hasattr(self.lib, "stub_log"):
            raise RuntimeError("the stand-in is not in the library's place")
        self.lib.stub_log.restype = self.lib.stub_name.restype = ctypes.c_char_p
        self.lib.stub_name.argtypes = [ctypes.c_size_t]

    def _lines(self):
        return [json.loads(line) for line in self.lib.stub_log().decode().splitlines()]

    def calls(self):
        """The calls since the last clear, as tuples of name and arguments; then clears."""
        found = [(name, *arguments) for name, _, *arguments in self._lines()]
        self.lib.stub_clear()
        return found

    def names(self):
        return [name for name, *_ in self.calls()]

    def without_lock(self):
        """The names of the calls that came in without the interpreter lock; then clears."""
        found = [name for name, held, *_ in self._lines() if not held]
        self.lib.stub_clear()
        return found

    def handle_of(self, model):
        """The name of a model in the log, which is cleared."""
        self.clear()
        model.reset()
        return self.calls()[0][1]

    def fail(self, function, code, nth=1):
        """Makes the nth call from now of a function answer a code; functions that give a handle give null."""
        self.lib.stub_fail(function.encode(), nth, code)

    def unfail(self):
        self.lib.stub_unfail()

    def set(self, **answers):
        """What an attribute of the model answers: a count, a double, or the text of every element."""
        for name, value in answers.items():
            self.lib.stub_set(name.encode(), value if isinstance(value, bytes) else str(value).encode())

    def call_back(self, times, where=4, on_thread=False):
        """The next runs call back that often before they end."""
        self.lib.stub_set_callbacks(times, where, int(on_thread))

    def name(self, handle):
        """The name under which a raw handle stands in the log."""
        found = self.lib.stub_name(handle)
        return found.decode() if found else None

    def clear(self):
        self.lib.stub_clear()

    def reset(self):
        self.lib.stub_reset()
