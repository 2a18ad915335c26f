"""Objects, members, arguments and errors through qorsupport's dispatch."""

import pytest

import qorsupport
from qorsupport import ByRef, Error

CREATABLE = [
    "DBEngine", "qorApp", "qorDb", "qorForms", "qorList", "qorPickList", "qorProcs",
    "qorWinAPI", "qorWinAPIPrinter", "qorWinAPIReg",
]


def test_every_creatable_class_is_created_by_each_form_of_its_name():
    listed = [name for name, creatable, _ in qorsupport._qorsupport._classes() if creatable]
    assert sorted(listed) == sorted(CREATABLE)
    for name in CREATABLE:
        for spelling in (name, "qorSupport." + name, name.upper()):
            obj = qorsupport.Dispatch(spelling)
            assert repr(obj) == f"<qorsupport.Object {name}>"
    # The module of shared procedures, as the automation host offers it.
    assert qorsupport.Dispatch("qorExportGlobals").TrimUpper("  ab ") == "AB"
    # DBEngine is the process's one engine.
    assert qorsupport.Dispatch("DBEngine") == qorsupport.Dispatch("dbengine")
    # Engine objects are reached through the engine, not created by name.
    for name in ("Database", "Recordset", "Nonesuch", ""):
        with pytest.raises(Error) as caught:
            qorsupport.Dispatch(name)
        assert caught.value.number == 429


def test_properties_and_methods_by_name_without_regard_to_case():
    app = qorsupport.Dispatch("qorApp")
    app.appname = "Payroll"
    assert app.AppName == "Payroll" == app.APPNAME
    glob = qorsupport.Dispatch("qorExportGlobals")
    assert glob.getappname() == "Payroll"
    assert glob.IsBlank("   ", True) is True
    assert glob.isblank("   ", False) is False


def test_optional_arguments_left_out_by_position_or_by_keyword():
    procs = qorsupport.Dispatch("qorProcs")
    values = ByRef([3, 1, 2])
    procs.QuickSort(values)  # three optional arguments left out
    assert values.value == [1, 2, 3]
    procs.QuickSort(values, pDescending=True)
    assert values.value == [3, 2, 1]
    procs.QuickSort(values, qorsupport.Missing, 1, 2)  # rows 1..2 only, ascending
    assert values.value == [3, 1, 2]
    procs.quicksort(pdescending=True, parray=values)
    assert values.value == [3, 2, 1]
    with pytest.raises(Error) as caught:
        procs.QuickSort(values, Descending=True)
    assert caught.value.number == 448
    with pytest.raises(Error):
        procs.QuickSort(values, pArray=values)


def test_by_reference_arguments_hold_what_the_call_left(tmp_path):
    db = qorsupport.Dispatch("qorDb")
    path = ByRef("")
    target = ByRef(qorsupport.Nothing)
    import os
    os.environ["TEMP"] = str(tmp_path)
    assert db.CreateTempDatabase(target, path) is True
    assert path.value.startswith(str(tmp_path)) and path.value.endswith(".MDB")
    assert repr(target.value) == "<qorsupport.Object Database>"
    assert target.value.Name == path.value
    target.value.Close()
    counter = ByRef(0)
    assert db.RetryLock(counter) is True
    assert counter.value == 1


def test_dispatch_faults_keep_their_numbers():
    procs = qorsupport.Dispatch("qorProcs")
    cases = [
        (lambda: procs.NoSuchMember, 438),
        (lambda: procs.PadNumber(), 450),                      # too few
        (lambda: procs.PadNumber(1, 2, 3, 4, 5), 450),         # too many
        (lambda: procs.PadNumber(qorsupport.Missing, 2, "0"), 449),
        (lambda: procs.GetRandomString("many"), 13),           # not a number
        (lambda: procs.GetRandomString(object()), 13),         # no Variant kind at all
        (lambda: procs.GetRandomString(10 ** 400), 6),         # beyond a Double
        (lambda: setattr(procs, "NoSuchProperty", 1), 438),
    ]
    for call, number in cases:
        with pytest.raises(Error) as caught:
            call()
        assert caught.value.number == number, caught.value
        assert caught.value.description and caught.value.source
    for misuse in (lambda: qorsupport.Dispatch(5), lambda: qorsupport.release("qorApp"),
                   lambda: qorsupport.Record(None)):
        with pytest.raises(Error) as caught:
            misuse()
        assert caught.value.number == 13
    # Names Python itself asks about stay Python's.
    assert not hasattr(procs, "__array__")
    with pytest.raises(AttributeError):
        procs._private


def test_library_errors_arrive_with_number_source_and_description():
    glob = qorsupport.Dispatch("qorExportGlobals")
    with pytest.raises(Error) as caught:
        glob.RaiseError("Payroll.Post", "The period is closed")
    err = caught.value
    assert (err.number, err.source, err.description) == (999, "Payroll.Post",
                                                          "The period is closed")
    assert "The period is closed" in str(err)
    assert isinstance(err, Exception)


def test_a_released_object_refuses_use():
    app = qorsupport.Dispatch("qorApp")
    same = app
    qorsupport.release(app)
    for use in (lambda: same.AppName, lambda: setattr(same, "AppName", "x"),
                lambda: qorsupport.Dispatch("qorExportGlobals").IsTrue(same)):
        with pytest.raises(Error) as caught:
            use()
        assert caught.value.number == 424
    assert "released" in repr(same)
