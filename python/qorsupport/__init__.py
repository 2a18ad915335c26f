"""qorSupport for Python: the library's classes through its late-bound dispatch.

    import qorsupport
    db = qorsupport.Dispatch("qorDb")

Dispatch creates an object by class name; members are reached by name
without regard to case. See the README's "Python" section.
"""

from qorsupport._types import ByRef, Empty, Error, Missing, Nothing
from qorsupport._qorsupport import (
    BoundMember,
    Dispatch,
    Object,
    Record,
    clear_answers,
    queue_answers,
    release,
    take_dialogs,
)

__all__ = [
    "BoundMember",
    "ByRef",
    "Dispatch",
    "Empty",
    "Error",
    "Missing",
    "Nothing",
    "Object",
    "Record",
    "clear_answers",
    "queue_answers",
    "release",
    "take_dialogs",
]
