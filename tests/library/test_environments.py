"""Environments, parameters, the log, codes, version."""

import ctypes
import re
import threading

import capi
import numpy as np
import pytest
from header import CODES, PARAMETERS, PROTOTYPES

KINDS = {"Int": ("int", np.int32), "Double": ("dbl", np.float64)}


def get(library, env, name, kind="Double"):
    short, dtype = KINDS[kind]
    value = np.zeros(1, dtype)
    library.call(f"TSOget{short}param", env, name, value)
    return value[0]


def logfile(library, env):
    text = ctypes.create_string_buffer(512)
    library.call("TSOgetstrparam", env, "LogFile", text)
    return text.value.decode()


@pytest.mark.parametrize(("name", "kind"), [row for row in PARAMETERS if row[1] in KINDS])
def test_ranges_hold(library, fails, name, kind):
    env = library.dll.TSOgetenv(library.model().handle)
    (short, dtype), (other, _) = KINDS[kind], KINDS["Int" if kind == "Double" else "Double"]
    four = np.zeros((4, 1), dtype)
    library.call(f"TSOget{short}paraminfo", env, name, *four)
    current, least, greatest, default = four[:, 0].tolist()
    assert least <= default <= greatest and (current == default or name == "OutputFlag")
    setter = f"TSOset{short}param"
    for value in (least, greatest):
        library.call(setter, env, name.lower().replace("/", "_"), value)
        assert get(library, env, name.upper(), kind) == value
    outside = [least * 2 if least < -1e9 else least - 1, greatest * 2 if greatest > 1e19 else greatest + 1]
    if kind == "Double":
        outside += [float("nan"), float("inf"), -float("inf")]
    for value in outside:
        fails(capi.PARAM_SET_ERROR, library.call, setter, env, name, value)
    assert get(library, env, name, kind) == greatest
    fails(capi.PARAM_SET_ERROR, library.call, f"TSOset{other}param", env, name, 1)
    fails(capi.PARAM_GET_ERROR, library.call, f"TSOget{other}param", env, name, ctypes.byref(ctypes.c_double()))
    library.call("TSOresetparams", env)
    assert get(library, env, name, kind) == default


def test_unknown_names_and_null_pointers(library, fails):
    for env in (library.env(), None):
        for name in ("", "MIP", "MIP/GapAbs/", "MIP/", "maxtime ", "m" * 5000):
            fails(capi.PARAM_SET_ERROR, library.parameter, env, name, 1)
            fails(capi.PARAM_GET_ERROR, get, library, env, name)
        for name in PROTOTYPES:
            if name.endswith(("intparam", "dblparam", "strparam")):
                value = {"TSOsetintparam": 1, "TSOsetdblparam": 1.0}.get(name)
                assert getattr(library.dll, name)(env, None, value) == capi.INVALID_ARGUMENT
        fails(capi.INVALID_ARGUMENT, library.call, "TSOgetintparam", env, "Method", None)
        fails(capi.INVALID_ARGUMENT, library.call, "TSOsetstrparam", env, "LogFile", None)
        fails(capi.PARAM_SET_ERROR, library.parameter, env, "LogFile", "p" * 512)
        library.call("TSOgetintparaminfo", env, "Method", None, None, None, None)


def test_models_copy_the_parameters_of_their_environment(library):
    env = library.env()
    library.parameter(env, "MaxTime", 10.0)
    one, two = library.model(env), library.model(env)
    library.parameter(env, "MaxTime", 20.0)
    one.parameter("MaxTime", 30.0)
    envs = env, *(library.dll.TSOgetenv(m.handle) for m in (one, two))
    assert [get(library, e, "MaxTime") for e in envs] == [20, 30, 10]


def test_pending_parameters_go_to_the_next_environment_of_the_thread(library, tmp_path, fails):
    log = tmp_path / "pending.log"
    for name, value in (("MaxTime", 3.0), ("LogFile", str(log)), ("LogToConsole", 0)):
        library.parameter(None, name, value)
    fails(capi.PARAM_SET_ERROR, library.parameter, None, "MaxTime", -1.0)
    assert get(library, None, "MaxTime") == 3 and not log.exists()
    seen = []
    thread = threading.Thread(target=lambda: seen.extend(get(library, e, "MaxTime") for e in (None, library.env())))
    thread.start()
    thread.join()
    assert seen == [1e20, 1e20]
    env = library.env(quiet=False)
    assert get(library, env, "MaxTime") == 3 and logfile(library, env) == str(log)
    library.call("TSOstartenv", env)
    assert "Tessolv" in log.read_text()
    assert get(library, None, "MaxTime") == get(library, library.env(), "MaxTime") == 1e20  # taken over once
    library.parameter(None, "MaxTime", 4.0)
    library.call("TSOresetparams", None)
    assert get(library, library.env(), "MaxTime") == 1e20
    # They are gone as well when creation fails.
    library.parameter(None, "LogFile", str(tmp_path / "no" / "x"))
    target = ctypes.c_void_p(3)
    fails(capi.FILE_WRITE_ERROR, library.call, "TSOemptyenv", ctypes.byref(target))
    assert target.value == 3
    library.env()


def test_the_log_goes_where_the_parameters_say(library, capfd, tmp_path, fails):
    one, two = tmp_path / "one.log", tmp_path / "two.log"
    one.write_text("kept\n")
    handle = ctypes.c_void_p()
    library.call("TSOloadenv", ctypes.byref(handle), str(one))
    env = handle.value
    library.envs.append(env)

    def say(message, target=env):
        library.dll.TSOmsg(target, message.encode())

    def console():
        return capfd.readouterr().out

    assert re.fullmatch(r"kept\nTessolv \d+\.\d+\.\d+.*\n", one.read_text())
    assert one.read_text().endswith(console())
    library.call("TSOstartenv", env)  # the banner comes once
    say("first\nsecond")
    assert console() == "first\nsecond\n" and one.read_text().endswith("\nfirst\nsecond\n")
    library.parameter(env, "LogToConsole", 0)
    say("file only")
    library.parameter(env, "OutputFlag", 0)
    say("nowhere")
    library.parameter(env, "OutputFlag", 1)
    assert console() == "" and one.read_text().endswith("second\nfile only\n")
    moved = one.rename(tmp_path / "moved.log")  # the file stays open, whatever other parameters are set
    library.parameter(env, "Method", 1)
    say("moved")
    assert moved.read_text().endswith("file only\nmoved\n") and not one.exists()
    one = moved.rename(one)
    fails(capi.FILE_WRITE_ERROR, library.parameter, env, "LogFile", str(tmp_path))  # a file that can't be opened
    assert logfile(library, env) == str(one)
    private = library.dll.TSOgetenv(library.model(env).handle)
    say("of the model", private)
    assert one.read_text().endswith("moved\nof the model\n")
    library.parameter(env, "LogFile", str(two))
    say("2")
    say("1", private)
    assert two.read_text() == "2\n" and one.read_text().endswith("of the model\n1\n")
    library.call("TSOresetparams", env)
    say("console again")
    assert console() == "console again\n" and two.read_text() == "2\n" and logfile(library, env) == ""


def test_codes_version_and_licence(library, dll):
    texts = {name: dll.TSOexplainerror(code).decode() for name, code in CODES.items()}
    assert len(texts) == len(set(texts.values())) == 61
    unknown = dll.TSOexplainerror(12345).decode()
    assert unknown and unknown not in texts.values() and dll.TSOexplainerror(-(2**31)).decode() == unknown
    dll.TSOversion(None, None, None)
    valid, days, text = ctypes.c_int(), ctypes.c_int(), ctypes.create_string_buffer(512)
    library.call("TSOchecklicense", library.env(), ctypes.byref(valid), ctypes.byref(days), text)
    assert (valid.value, days.value) == (1, capi.MAXINT) and text.value
    library.call("TSOchecklicense", library.envs[0], None, None, None)
