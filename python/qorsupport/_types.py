"""The plain Python classes of qorsupport, which the extension recognises.

Error is what every failure of the library raises; Empty, Missing and
Nothing stand for the Variant kinds Python has no value for; ByRef carries a value into a
by-reference argument and holds what the call left there.
"""


class Error(Exception):
    """A library error: its number, source and description (VB's Err)."""

    __module__ = "qorsupport"

    def __init__(self, number, source, description):
        super().__init__(f"{description} (error {number}, {source})")
        self.number = number
        self.source = source
        self.description = description


class _Kind:
    """A named, falsy singleton value."""

    __slots__ = ("_name",)

    def __init__(self, name):
        self._name = name

    def __repr__(self):
        return f"qorsupport.{self._name}"

    def __bool__(self):
        return False


# The Variant kind Empty (an unset value, not Null: None is Null).
Empty = _Kind("Empty")
# An omitted optional argument, for leaving one out by position.
Missing = _Kind("Missing")
# An object reference to no object, where an argument is declared as an
# object (results give None for it).
Nothing = _Kind("Nothing")


class ByRef:
    """A by-reference argument: pass ByRef(value); read .value after the call."""

    __slots__ = ("value",)

    def __init__(self, value=None):
        self.value = value

    def __repr__(self):
        return f"qorsupport.ByRef({self.value!r})"
