"""The public constants: values, double exposure, documentation of the properties."""

import ctypes

import pytest
import tables
import tessolvpy as tso

TSO = tso.TSO


def test_scalars():
    assert (TSO.UNDEFINED, TSO.INFINITY, TSO.GENCONSTR_INDICATOR) == (-1.23457e88, 1e20, 6)
    types = TSO.CONTINUOUS, TSO.BINARY, TSO.INTEGER, TSO.SEMICONT, TSO.SEMIINT
    assert types == ("C", "B", "I", "S", "N")
    assert (TSO.EQUAL, TSO.LESS_EQUAL, TSO.GREATER_EQUAL) == ("=", "<", ">")
    assert (TSO.MINIMIZE, TSO.MAXIMIZE, TSO.SOS_TYPE1, TSO.SOS_TYPE2) == (1, -1, 1, 2)
    assert (TSO.MAXINT, TSO.MAX_NAMELEN, TSO.MAX_STRLEN) == (2000000000, 255, 512)
    assert type(TSO).__name__ == "TSO"
    assert not isinstance(TSO, type)
    assert type(TSO).INFINITY == 1e20


def plain(cls):
    return {name: value for name, value in vars(cls).items() if not name.startswith("__")}


def test_codes_and_statuses_stand_twice():
    for rows, holder, other in [
        (tables.CODES, TSO.Error, TSO.error),
        (tables.STATUSES, TSO.Status, TSO.status),
    ]:
        assert holder is other
        assert plain(type(holder)) == rows
        for name, value in rows.items():
            assert getattr(holder, name) == getattr(TSO, name) == value
            assert type(getattr(TSO, name)) is int
    assert type(TSO.Error).__name__ == "ErrorConstClass"
    assert type(TSO.Status).__name__ == "StatusConstClass"
    assert not hasattr(TSO.Error, "ABORT_CTRL_C")


def test_callback_codes():
    assert {name: getattr(TSO.Callback, name) for name in plain(type(TSO.Callback))} == tables.CALLBACKS
    for name in tables.NO_CONSTANT["what"]:
        assert not hasattr(TSO.Callback, name)
    assert type(TSO.Callback).MIPSOL.__doc__ == "Code = 4\nDesc: MIP Optimizer just found a new incumbent solution."
    assert type(TSO.Callback).MIP_PHASE.__doc__ == (
        "Code = 312\nDesc: Current phase in the MIP optimizer. "
        "(0: no solution; 1: far away from optimum; 2: close to the optimum)"
    )


@pytest.mark.parametrize(
    ("holder", "rows", "shown"),
    [("Attr", tables.ATTRIBUTES, str), ("Param", tables.PARAMETERS, lambda kind: f"<class '{kind}'>")],
)
def test_name_constants(holder, rows, shown):
    holder = getattr(TSO, holder)
    wanted = {name.replace("/", "_"): (name, kind) for kind, names in rows.items() for name in names}
    assert set(plain(type(holder))) == set(wanted)
    for attribute, (name, kind) in wanted.items():
        assert getattr(holder, attribute) == name
        prop = getattr(type(holder), attribute)
        assert isinstance(prop, property)
        assert prop.fset is None
        first, second = prop.__doc__.split("\n", 1)
        assert first == f"Type: {shown(kind)}"
        assert second.startswith("Desc: ")
        assert len(second) > 10
        with pytest.raises(AttributeError):
            setattr(holder, attribute, "x")


def test_declared_types_are_those_of_the_library(stub):
    """The stand-in answers from the library's own tables; the module's tables are others."""
    kinds = ["char", "int", "double", "string", "matrix"]
    kind, made = ctypes.c_int(), tso.Model()
    for declared, names in tables.ATTRIBUTES.items():
        for name in names:
            code = stub.lib.TSOgetattrinfo(made.ctypes().data, name.encode(), ctypes.byref(kind), None, None)
            assert (code, kinds[kind.value]) == (0, declared), name


def test_descriptions_by_sample():
    attr, param = type(TSO.Attr), type(TSO.Param)
    assert attr.VarName.__doc__ == "Type: string\nDesc: Alias for ColName, The variable name"
    assert attr.PsdCLHS.__doc__ == "Type: double\nDesc: psd contraint left-hand-side value"
    assert param.MaxTime.__doc__ == "Type: <class 'float'>\nDesc: Set the maximum solve time"


def test_ways_to_the_singletons():
    assert TSO.attr is TSO.Attr
    assert TSO.param is TSO.Param
    assert TSO.callback() is TSO.Callback  # a method, unlike the other two
    for name in ("Attr", "attr", "Param", "param", "Callback"):
        with pytest.raises(TypeError, match="^Value is readonly$"):
            setattr(TSO, name, None)
    for name in ("Attr", "Param", "Callback"):
        assert f"{name}ConstClass" in getattr(type(TSO), name).__doc__ or "CallbackClass" in type(TSO).Callback.__doc__
    classes = [type(getattr(TSO, name)) for name in ("Attr", "Param", "Error", "Status", "Callback")]
    assert [cls.__name__ for cls in classes] == [
        "AttrConstClass",
        "ParamConstClass",
        "ErrorConstClass",
        "StatusConstClass",
        "CallbackClass",
    ]
    assert all(cls.__bases__ == (object,) for cls in classes)
