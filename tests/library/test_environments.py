"""Environments, parameters, the log, codes, version."""

import ctypes
import re
import threading

import capi
import pytest

CATALOGUE = (capi.INCLUDE.parent / "catalog" / "params.h").read_text()
PARAMS = re.findall(r'\{"([A-Za-z/]+)", ParamType::(Int|Double)', CATALOGUE)


def ref(kind=ctypes.c_int):
    value = kind()
    return value, ctypes.byref(value)


def get(library, env, name, kind="int"):
    value, pointer = ref({"int": ctypes.c_int, "dbl": ctypes.c_double}[kind])
    library.call(f"TSOget{kind}param", env, capi.text(name), pointer)
    return value.value


def info(library, env, name, kind):
    values = [ref({"Int": ctypes.c_int, "Double": ctypes.c_double}[kind]) for _ in range(4)]
    function = {"Int": "TSOgetintparaminfo", "Double": "TSOgetdblparaminfo"}[kind]
    library.call(function, env, capi.text(name), *[p for _, p in values])
    return [v.value for v, _ in values]


def logfile(library, env):
    text = ctypes.create_string_buffer(512)
    library.call("TSOgetstrparam", env, capi.text("LogFile"), text)
    return text.value.decode()


def test_there_are_45():
    assert len(PARAMS) == 44 and len(set(PARAMS)) == 44 and '{"LogFile", ParamType::String' in CATALOGUE


@pytest.mark.parametrize(("name", "kind"), PARAMS)
def test_ranges_hold(library, fails, name, kind):
    model = library.model()
    env = library.dll.TSOgetenv(model.handle)
    current, least, greatest, default = info(library, env, name, kind)
    assert least <= default <= greatest and (current == default or name == "OutputFlag")
    short = {"Int": "int", "Double": "dbl"}[kind]
    setter = f"TSOset{short}param"
    for value in (least, greatest):
        library.call(setter, env, capi.text(name.lower().replace("/", "_")), value)
        assert get(library, env, name.upper(), short) == value
    outside = [least * 2 if least < -1e9 else least - 1, greatest * 2 if greatest > 1e19 else greatest + 1]
    if kind == "Double":
        outside += [float("nan"), float("inf"), -float("inf")]
    for value in outside:
        fails(capi.PARAM_SET_ERROR, library.call, setter, env, capi.text(name), value)
    assert get(library, env, name, short) == greatest
    other = {"Int": "TSOsetdblparam", "Double": "TSOsetintparam"}[kind]
    fails(capi.PARAM_SET_ERROR, library.call, other, env, capi.text(name), 1)
    other = {"Int": "TSOgetdblparam", "Double": "TSOgetintparam"}[kind]
    fails(capi.PARAM_GET_ERROR, library.call, other, env, capi.text(name), ref(ctypes.c_double)[1])
    library.call("TSOresetparams", env)
    assert get(library, env, name, short) == default


def test_unknown_names_and_null_pointers(library, fails):
    for env in (library.env(), None):
        for name in ("", "MIP", "MIP/GapAbs/", "MIP/", "maxtime ", "m" * 5000):
            fails(capi.PARAM_SET_ERROR, library.call, "TSOsetintparam", env, capi.text(name), 1)
            fails(capi.PARAM_GET_ERROR, library.call, "TSOgetintparam", env, capi.text(name), ref()[1])
        for name in capi.NAMES:
            if name.endswith(("intparam", "dblparam", "strparam")):
                value = {"TSOsetintparam": 1, "TSOsetdblparam": 1.0}.get(name)
                assert getattr(library.dll, name)(env, None, value) == capi.INVALID_ARGUMENT
        assert library.dll.TSOgetintparam(env, capi.text("Method"), None) == capi.INVALID_ARGUMENT
        assert library.dll.TSOsetstrparam(env, capi.text("LogFile"), None) == capi.INVALID_ARGUMENT
        fails(capi.PARAM_SET_ERROR, library.call, "TSOsetstrparam", env, capi.text("LogFile"), capi.text("p" * 512))
        library.call("TSOgetintparaminfo", env, capi.text("Method"), None, None, None, None)


def test_models_copy_the_parameters_of_their_environment(library):
    env = library.env()
    library.call("TSOsetdblparam", env, capi.text("MaxTime"), 10.0)
    one, two = library.model(env), library.model(env)
    library.call("TSOsetdblparam", env, capi.text("MaxTime"), 20.0)
    one.parameter("MaxTime", 30.0)
    times = [get(library, e, "MaxTime", "dbl") for e in (env, *map(library.dll.TSOgetenv, (one.handle, two.handle)))]
    assert times == [20, 30, 10]


def test_pending_parameters_go_to_the_next_environment_of_the_thread(library, tmp_path, fails):
    log = tmp_path / "pending.log"
    library.call("TSOsetdblparam", None, capi.text("MaxTime"), 3.0)
    library.call("TSOsetstrparam", None, capi.text("LogFile"), capi.text(str(log)))
    library.call("TSOsetintparam", None, capi.text("LogToConsole"), 0)
    fails(capi.PARAM_SET_ERROR, library.call, "TSOsetdblparam", None, capi.text("MaxTime"), -1.0)
    assert get(library, None, "MaxTime", "dbl") == 3 and not log.exists()
    seen = []

    def other_thread():
        seen.append(get(library, None, "MaxTime", "dbl"))
        seen.append(get(library, library.env(), "MaxTime", "dbl"))

    thread = threading.Thread(target=other_thread)
    thread.start()
    thread.join()
    assert seen == [1e20, 1e20]
    env = library.env(quiet=False)
    assert get(library, env, "MaxTime", "dbl") == 3 and logfile(library, env) == str(log)
    library.call("TSOstartenv", env)
    assert "Tessolv" in log.read_text()
    assert get(library, None, "MaxTime", "dbl") == 1e20  # taken over once
    assert get(library, library.env(), "MaxTime", "dbl") == 1e20


def test_pending_parameters_are_gone_when_creation_fails(library, tmp_path, fails):
    library.call("TSOsetstrparam", None, capi.text("LogFile"), capi.text(str(tmp_path / "no" / "x")))
    target = ctypes.c_void_p(3)
    fails(capi.FILE_WRITE_ERROR, library.call, "TSOemptyenv", ctypes.byref(target))
    assert target.value == 3
    library.env()


def test_the_log_goes_where_the_parameters_say(library, capfd, tmp_path, fails):
    one, two = tmp_path / "one.log", tmp_path / "two.log"
    one.write_text("kept\n")
    env = ctypes.c_void_p()
    library.call("TSOloadenv", ctypes.byref(env), capi.text(str(one)))
    library.envs.append(env.value)

    def say(message, target=None):
        library.dll.TSOmsg(target or env, capi.text(message))

    def console():
        return capfd.readouterr().out

    assert re.fullmatch(r"kept\nTessolv \d+\.\d+\.\d+.*\n", one.read_text())
    assert one.read_text().endswith(console())
    library.call("TSOstartenv", env)  # the banner comes once
    say("first\nsecond")
    assert console() == "first\nsecond\n" and one.read_text().endswith("\nfirst\nsecond\n")
    library.call("TSOsetintparam", env, capi.text("LogToConsole"), 0)
    say("file only")
    library.call("TSOsetintparam", env, capi.text("OutputFlag"), 0)
    say("nowhere")
    library.call("TSOsetintparam", env, capi.text("OutputFlag"), 1)
    assert console() == "" and one.read_text().endswith("second\nfile only\n")
    moved = one.rename(tmp_path / "moved.log")  # the file stays open, whatever other parameters are set
    library.call("TSOsetintparam", env, capi.text("Method"), 1)
    say("moved")
    assert moved.read_text().endswith("file only\nmoved\n") and not one.exists()
    one = moved.rename(one)
    # A file that can't be opened leaves the old one.
    fails(capi.FILE_WRITE_ERROR, library.call, "TSOsetstrparam", env, capi.text("LogFile"), capi.text(str(tmp_path)))
    assert logfile(library, env) == str(one)
    model = library.model(env)
    private = library.dll.TSOgetenv(model.handle)
    say("of the model", private)
    assert one.read_text().endswith("moved\nof the model\n")
    library.call("TSOsetstrparam", env, capi.text("LogFile"), capi.text(str(two)))
    say("2")
    say("1", private)
    assert two.read_text() == "2\n" and one.read_text().endswith("of the model\n1\n")
    library.call("TSOresetparams", env)
    say("console again")
    assert console() == "console again\n" and two.read_text() == "2\n" and logfile(library, env) == ""


def test_codes_have_texts_of_their_own(dll):
    texts = {name: dll.TSOexplainerror(code).decode() for name, code in capi.CODES.items()}
    assert len(texts) == 61 and len(set(texts.values())) == 61
    unknown = dll.TSOexplainerror(12345).decode()
    assert unknown and unknown not in texts.values() and dll.TSOexplainerror(-(2**31)).decode() == unknown


def test_version_and_licence(library):
    numbers = [ref() for _ in range(3)]
    library.dll.TSOversion(*[p for _, p in numbers])
    library.dll.TSOversion(None, None, None)
    assert numbers[0][0].value >= 1
    (valid, v), (days, d) = ref(), ref()
    text = ctypes.create_string_buffer(512)
    library.call("TSOchecklicense", library.env(), v, d, text)
    assert (valid.value, days.value) == (1, capi.MAXINT) and text.value
    library.call("TSOchecklicense", library.envs[0], None, None, None)
