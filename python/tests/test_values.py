"""Each kind of value into the library and back.

qorProcs.QuickSort over rows 0..0 of a by-reference array sorts nothing, so
the array comes back as the library holds it: an echo through the dispatch
for values of any kind.
"""

import datetime as dt
from decimal import Decimal

import pytest

import qorsupport
from qorsupport import ByRef, Empty, Error, Record

PROCS = qorsupport.Dispatch("qorProcs")


def echo(*values):
    holder = ByRef(list(values))
    PROCS.QuickSort(holder, False, 0, 0)
    return holder.value


def kinds(values):
    return [type(v).__name__ for v in values]


def test_each_kind_comes_back_as_its_python_type():
    when = dt.datetime(2003, 3, 7, 14, 5, 9)
    values = [Empty, None, True, False, 7, -(2**31), 2.5, "Zürich", Decimal("12.34"), when,
              b"\x00\xff", [1, "two"]]
    back = echo(*values)
    assert back == values
    assert back[0] is Empty and back[1] is None  # Empty and Null stay apart
    assert kinds(back) == ["_Kind", "NoneType", "bool", "bool", "int", "int", "float", "str",
                           "Decimal", "datetime", "bytes", "list"]


def test_integers_beyond_32_bits_become_doubles():
    back = echo(2**31 - 1, 2**31, -(2**31) - 1, 2**53)
    assert kinds(back) == ["int", "float", "float", "float"]
    assert back == [2**31 - 1, 2.0**31, -(2.0**31) - 1, 2.0**53]
    with pytest.raises(Error) as caught:
        echo(10**400)
    assert caught.value.number == 6


def test_currency_is_exact_to_four_decimals():
    extremes = [Decimal("922337203685477.5807"), Decimal("-922337203685477.5808"),
                Decimal("0.0001"), Decimal("123456789012.3456")]
    assert echo(*extremes) == extremes
    assert [str(d) for d in echo(Decimal("1.5"), Decimal("-0"))] == ["1.5000", "0.0000"]
    # A fifth decimal rounds to even, as CCur rounds.
    assert echo(Decimal("0.00005"), Decimal("0.00015"), Decimal("2.00025")) == [
        Decimal("0"), Decimal("0.0002"), Decimal("2.0002")]
    # Sorting compares the exact amounts, not their nearest doubles.
    holder = ByRef([Decimal("922337203685477.5807"), Decimal("922337203685477.5806")])
    PROCS.QuickSort(holder)
    assert holder.value == [Decimal("922337203685477.5806"), Decimal("922337203685477.5807")]
    for beyond in (Decimal("922337203685477.5808"), Decimal("-1e20"), Decimal("NaN"),
                   Decimal("Infinity")):
        with pytest.raises(Error) as caught:
            echo(beyond)
        assert caught.value.number == 6


def test_dates_from_the_year_100_to_9999_to_the_second():
    dates = [dt.datetime(100, 1, 1), dt.datetime(1850, 3, 1, 12, 30, 5),
             dt.datetime(1899, 12, 29, 23, 59, 59), dt.datetime(9999, 12, 31, 23, 59, 59)]
    assert echo(*dates) == dates
    # A date is midnight; microseconds are below a Date's second.
    assert echo(dt.date(1700, 2, 28), dt.datetime(2020, 1, 1, 0, 0, 0, 999)) == [
        dt.datetime(1700, 2, 28), dt.datetime(2020, 1, 1)]
    for too_early in (dt.datetime(99, 12, 31, 23, 59, 59), dt.date(1, 1, 1)):
        with pytest.raises(Error) as caught:
            echo(too_early)
        assert caught.value.number == 5


def test_arrays_bytes_and_two_dimensions():
    assert echo(b"", bytearray(b"ab"), (), (1, (2, 3))) == [b"", b"ab", [], [1, [2, 3]]]
    sortable = ByRef(b"\x03\x01\x02")
    PROCS.QuickSort(sortable)
    assert sortable.value == b"\x01\x02\x03"  # a Byte array stays bytes
    # Equally long lists make a 2-D array (which the library will not sort);
    # ragged ones an array of arrays.
    grid = [[1, "a"], [2, "b"], [3, "c"]]
    with pytest.raises(Error) as caught:
        PROCS.QuickSort(ByRef(grid))
    assert caught.value.number == 9
    holder = Record("FileNameParams", InitialDir=grid)  # a field of any kind
    assert holder.InitialDir == grid
    assert echo([[1, 2], [3]], "end") == [[[1, 2], [3]], "end"]
    deep = []
    for _ in range(40):
        deep = [deep]
    with pytest.raises(Error) as caught:
        echo(deep)
    assert caught.value.number == 13


def test_records_of_a_registered_type():
    params = Record("fileNameParams", title="Open the ledger", Flags=4)
    assert params.Title == "Open the ledger" and params.flags == 4
    assert params._type_name() == "FileNameParams"
    params.Flags = "12"  # converted to the field's kind, Long
    assert params.Flags == 12
    params.InitialDir = dt.date(2001, 1, 1)  # an Empty field takes any kind
    assert params.InitialDir == dt.datetime(2001, 1, 1)
    assert echo(params) == [params]
    for bad in (lambda: Record("NoSuchType"), lambda: Record("FileNameParams", Colour=1),
                lambda: setattr(params, "Flags", "many"), lambda: params.Colour):
        with pytest.raises(Error) as caught:
            bad()
        assert caught.value.number == 13


def test_values_without_a_variant_kind_are_refused():
    for value in (object(), {"a": 1}, {1, 2}, 1j, "\ud800"):
        with pytest.raises(Error) as caught:
            echo(value)
        assert caught.value.number == 13
