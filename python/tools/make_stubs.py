"""Writes qorsupport/__init__.pyi: type stubs made from the dispatch's classes.

    python3 tools/make_stubs.py OUTPUT      (with the built package on PYTHONPATH)

Each class of the dispatch becomes a stub class: properties as attributes,
methods with their declared arguments (optional ones with a default, by
reference ones taking a ByRef too). Dispatch gets one overload per creatable
class name, so that a checker knows what Dispatch("qorDb") gives.
"""

import keyword
import sys

import qorsupport

HEADER = '''\
# Type stubs of the qorsupport module, written by make_stubs.py from the
# library's dispatch. Do not edit.
import datetime
import decimal
from typing import Any, Iterator, Literal, overload

_Value = Any

class Error(Exception):
    number: int
    source: str
    description: str
    def __init__(self, number: int, source: str, description: str) -> None: ...

class _Kind: ...

Empty: _Kind
Missing: _Kind
Nothing: _Kind

class ByRef:
    value: Any
    def __init__(self, value: Any = ...) -> None: ...

class Record:
    def __init__(self, type_name: str, **fields: Any) -> None: ...
    def __getattr__(self, name: str) -> Any: ...
    def __setattr__(self, name: str, value: Any) -> None: ...
    def _type_name(self) -> str: ...
    def _fields(self) -> dict[str, Any]: ...

class BoundMember:
    def __call__(self, *args: Any, **kwargs: Any) -> Any: ...

class Object:
    def __getattr__(self, name: str) -> Any: ...
    def __setattr__(self, name: str, value: Any) -> None: ...
    def __call__(self, *args: Any, **kwargs: Any) -> Any: ...
    def __len__(self) -> int: ...
    def __iter__(self) -> Iterator[Any]: ...

def release(object: Object) -> None: ...
def queue_answers(answers: list[Any]) -> None: ...
def clear_answers() -> None: ...
def take_dialogs() -> list[dict[str, Any]]: ...
'''


def ident(name):
    return name + "_" if keyword.iskeyword(name) else name


def method(name, params, returns):
    result = "Any" if returns else "None"
    optional_flags = [optional for _, optional, _ in params]
    if False in optional_flags[optional_flags.index(True):] if True in optional_flags else False:
        # A required argument after an optional one has no Python signature.
        return f"    def {ident(name)}(self, *args: Any, **kwargs: Any) -> {result}: ..."
    args = ["self"]
    for pname, optional, by_ref in params:
        kind = "_Value | ByRef" if by_ref else "_Value"
        args.append(f"{ident(pname)}: {kind}" + (" = ..." if optional else ""))
    return f"    def {ident(name)}({', '.join(args)}) -> {result}: ..."


def class_stub(name, members):
    lines = [f"class {name}(Object):"]
    seen = set()
    for mname, kind, params, returns in sorted(members, key=lambda m: (m[0].lower(), m[1])):
        key = mname.lower()
        if key in seen:
            continue
        gets_at_once = kind == "get" and all(p[1] for p in params)
        if gets_at_once:
            lines.append(f"    {ident(mname)}: Any")
        elif kind in ("method", "get"):
            lines.append(method(mname, params, returns))
        else:
            continue
        seen.add(key)
    if len(lines) == 1:
        lines.append("    ...")
    return "\n".join(lines)


def main(output):
    classes = qorsupport._qorsupport._classes()
    sections = [HEADER]
    creatable = []
    for name, can_create, members in classes:
        sections.append(class_stub(name, members))
        if can_create or name == "qorExportGlobals":
            creatable.append(name)
    for name in creatable:
        names = ", ".join(repr(n) for n in (name, "qorSupport." + name))
        sections.append(f"@overload\ndef Dispatch(class_name: Literal[{names}]) -> {name}: ...")
    sections.append("@overload\ndef Dispatch(class_name: str) -> Object: ...")
    with open(output, "w", encoding="utf-8") as f:
        f.write("\n\n".join(sections) + "\n")


if __name__ == "__main__":
    main(sys.argv[1])
