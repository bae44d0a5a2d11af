"""Prints _functions.pyi: the methods of the server's functions, for type checkers.

With --check FILE, compares instead. The table is that of the library, so the stubs cannot say anything else than it.
"""

from __future__ import annotations

import sys
from pathlib import Path

from vorlix._functions import FUNCTIONS, Argument, Function

HEAD = '''\
# Made by python/stubs.py from the function table.
import os
from collections.abc import Mapping
from dataclasses import dataclass
from decimal import Decimal
from typing import Any

FUNCTIONS: Mapping[str, Function]
RESULT_CLASSES: dict[str, type[Result]]

@dataclass(frozen=True)
class Argument:
    name: str
    type: str
    direction: str
    declared: int
    sentence: str
    @property
    def is_sent(self) -> bool: ...
    @property
    def is_returned(self) -> bool: ...
    @property
    def is_xbuf(self) -> bool: ...
    @property
    def names_file(self) -> bool: ...
    @property
    def parameter(self) -> str: ...

@dataclass(frozen=True)
class Function:
    name: str
    sentence: str
    sample: str
    arguments: tuple[Argument, ...]
    @property
    def sent(self) -> tuple[Argument, ...]: ...
    @property
    def returned(self) -> tuple[Argument, ...]: ...

class Result(tuple[Any, ...]):
    code: int
    def _asdict(self) -> dict[str, Any]: ...
    def meaning(self, name: str = "code") -> str: ...
'''


def taken(argument: Argument) -> str:
    if argument.is_xbuf:
        return "Mapping[str, Any] | str | bytes"
    if argument.names_file:
        return "str | bytes | os.PathLike[str]"
    words = {"number": "int | float | Decimal", "text": "str | bytes"}
    in_only = "int | float | Decimal" if argument.declared == 1 else "int"
    return words.get(argument.type, in_only)


def given_back(argument: Argument) -> str:
    if argument.is_xbuf:
        return "Any"  # an Xbuf, or "" where there is none
    return {"integer": "int", "number": "Decimal", "text": "str"}[argument.type]


def result_class(function: Function) -> str:
    lines = [f"class {function.name}_Result(Result):"]
    for argument in function.returned:
        lines += ["    @property", f"    def {argument.parameter}(self) -> {given_back(argument)}: ..."]
    if not function.returned:
        lines[0] += " ..."
    return "\n".join(lines) + "\n"


def method(function: Function) -> str:
    parameters = ["self", *(f"{one.parameter}: {taken(one)}" for one in function.sent), "*"]
    if any(one.type == "text" for one in function.returned):
        parameters.append("room: int | Mapping[str, int] | None = None")
    parameters.append("check: bool = True")
    return f"    def {function.name}({', '.join(parameters)}) -> {function.name}_Result: ...\n"


def stubs() -> str:
    functions = FUNCTIONS.values()
    classes = "\n".join(result_class(function) for function in functions)
    classes += "\nScanResult = " + " | ".join(f"{name}_Result" for name in FUNCTIONS if name.startswith("scan_")) + "\n"
    call = "    def _call(self, function: Function, values: tuple[Any, ...], room: Any, check: bool, raw: bool = False) -> Result: ...\n"
    return HEAD + "\n" + classes + "\nclass Functions:\n" + call + "".join(method(function) for function in functions)


def main() -> int:
    if sys.argv[1:2] != ["--check"]:
        sys.stdout.write(stubs())
        return 0
    path = Path(sys.argv[2])
    if path.read_text() == stubs():
        return 0
    print(f"{path} is not what the function table says: python3 python/stubs.py >{path}")
    return 1


if __name__ == "__main__":
    sys.exit(main())
