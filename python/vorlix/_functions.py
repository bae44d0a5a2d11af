"""The functions of the server, as its own table has them: methods for Server, and the results that they give.

The table is that of the C library. _functions.pyi says the same to type checkers; scripts/stubs makes it.
"""

from __future__ import annotations

import inspect
import keyword
from collections.abc import Callable, Mapping
from dataclasses import dataclass
from decimal import Decimal
from operator import itemgetter
from typing import Any

from . import _native

_lib = _native.library

# As vorlix.h numbers them.
INT_BY_VALUE, INT_BY_REFERENCE = 1, 2
REAL_BY_VALUE, REAL_BY_REFERENCE = 4, 5
IN, OUT, IN_OUT = 0, 1, 2

# Arguments that hold an XBUF, wherever they occur.
XBUF_NAMES = frozenset({"xbuf", "xdict"})


@dataclass(frozen=True)
class Argument:
    """An argument of a function: its name, "integer", "number" or "text", "in", "out" or "inout", and what it is."""

    name: str
    type: str
    direction: str
    declared: int
    sentence: str

    @property
    def is_sent(self) -> bool:
        return self.direction != "out"

    @property
    def is_returned(self) -> bool:
        return self.direction != "in"

    @property
    def is_xbuf(self) -> bool:
        return self.type == "text" and self.name.lower() in XBUF_NAMES

    @property
    def names_file(self) -> bool:
        return self.name == "fname"

    @property
    def parameter(self) -> str:
        """The name of the method's parameter: with "_" behind it where it is a word of the language."""
        return self.name + "_" if keyword.iskeyword(self.name) else self.name


@dataclass(frozen=True)
class Function:
    """A function of the server: its name, what it does, its arguments, and words of a script that call it."""

    name: str
    sentence: str
    sample: str
    arguments: tuple[Argument, ...]

    @property
    def sent(self) -> tuple[Argument, ...]:
        return tuple(argument for argument in self.arguments if argument.is_sent)

    @property
    def returned(self) -> tuple[Argument, ...]:
        return tuple(argument for argument in self.arguments if argument.is_returned)


def _type_word(declared: int) -> str:
    if declared in (INT_BY_VALUE, INT_BY_REFERENCE):
        return "integer"
    return "number" if declared in (REAL_BY_VALUE, REAL_BY_REFERENCE) else "text"


def _read_arguments(function: Any) -> tuple[Argument, ...]:
    found = []
    for index in range(function.contents.argument_count):
        row = _lib.vorlix_argument_at(function, index).contents
        direction = ("in", "out", "inout")[row.direction]
        found.append(Argument(row.name.decode(), _type_word(row.type), direction, row.type, row.sentence.decode()))
    return tuple(found)


def _read_table() -> dict[str, Function]:
    table: dict[str, Function] = {}
    while row := _lib.vorlix_function_at(len(table)):
        name = row.contents.name.decode()
        table[name] = Function(name, row.contents.sentence.decode(), row.contents.sample.decode(), _read_arguments(row))
    return table


#: All functions of the server by name, in the order of its table.
FUNCTIONS: Mapping[str, Function] = _read_table()


class Result(tuple[Any, ...]):
    """What a function gave back: its values in order, each also under its name, and the result code."""

    code: int
    _function: str
    _names: tuple[str, ...] = ()

    def __repr__(self) -> str:
        values = [f"{name}={value!r}" for name, value in zip(self._names, self)]
        return f"Result({', '.join([f'code={self.code}', *values])})"

    def _asdict(self) -> dict[str, Any]:
        """The values by name."""
        return dict(zip(self._names, self))

    def meaning(self, name: str = "code") -> str:
        """What the number of this name means, in words; "" where it only counts. "code" is the result code."""
        if name not in ("code", *self._names):
            raise ValueError(f"{self._function} returns no {name!r}, but {', '.join(('code', *self._names))}")
        number = self.code if name == "code" else getattr(self, name)
        if isinstance(number, bool) or not isinstance(number, int):
            raise TypeError(f"{name} is no number")
        value = None if name == "code" else name.encode()
        return (_lib.vorlix_meaning(self._function.encode(), value, number) or b"").decode()

    def __reduce__(self) -> tuple[Any, ...]:
        return _remake, (self._function, tuple(self), self.code)


def _remake(function: str, values: tuple[Any, ...], code: int) -> Result:
    result = tuple.__new__(RESULT_CLASSES[function], values)
    result.code = code
    return result


def _result_class(function: Function) -> type[Result]:
    names = tuple(argument.parameter for argument in function.returned)
    members: dict[str, Any] = {name: property(itemgetter(k)) for k, name in enumerate(names)}
    own = {"_function": function.name, "_names": names, "__module__": Result.__module__}
    return type("Result", (Result,), {**own, **members})


RESULT_CLASSES = {name: _result_class(function) for name, function in FUNCTIONS.items()}

#: What scan() gives: the result of one of the scanners.
ScanResult = Result

_HINTS: dict[str, Any] = {"integer": int, "number": "int | float | Decimal", "text": "str | bytes"}


def _signature(function: Function) -> inspect.Signature:
    kind = inspect.Parameter.POSITIONAL_OR_KEYWORD
    only = inspect.Parameter.KEYWORD_ONLY
    parameters = [inspect.Parameter("self", kind)]
    for argument in function.sent:
        hint = "Mapping[str, Any] | str | bytes" if argument.is_xbuf else _HINTS[argument.type]
        hint = "str | bytes | os.PathLike[str]" if argument.names_file else hint
        parameters.append(inspect.Parameter(argument.parameter, kind, annotation=hint))
    if any(argument.type == "text" for argument in function.returned):
        parameters.append(inspect.Parameter("room", only, default=None, annotation="int | Mapping[str, int] | None"))
    parameters.append(inspect.Parameter("check", only, default=True, annotation=bool))
    return inspect.Signature(parameters, return_annotation=Result)


def _documentation(function: Function) -> str:
    lines = [function.sentence]
    for word, arguments in (("Takes", function.sent), ("Returns", function.returned)):
        if arguments:
            lines += ["", f"{word}"] + [f"    {one.parameter} ({one.type}): {one.sentence}" for one in arguments]
    return "\n".join(lines) + "\n"


def make_method(function: Function) -> Callable[..., Result]:
    """The method of Server that calls the function."""
    parameters = [argument.parameter for argument in function.sent]

    def method(self: Any, *values: Any, room: Any = None, check: bool = True, **named: Any) -> Result:
        if named or len(values) != len(parameters):
            values = _arrange(function, parameters, values, named)
        result: Result = self._call(function, values, room, check)
        return result

    method.__name__ = function.name
    method.__qualname__ = f"Server.{function.name}"
    method.__doc__ = _documentation(function)
    method.__signature__ = _signature(function)  # type: ignore[attr-defined]
    return method


def _arrange(function: Function, parameters: list[str], values: tuple[Any, ...], named: dict[str, Any]) -> tuple[Any, ...]:
    """The values in the order of the parameters. Raises TypeError as a call of any Python function does."""
    try:
        bound = inspect.Signature(
            [inspect.Parameter(name, inspect.Parameter.POSITIONAL_OR_KEYWORD) for name in parameters]
        ).bind(*values, **named)
    except TypeError as error:
        expected = ", ".join(parameters) or "no arguments"
        raise TypeError(f"{function.name}(): {error}; it takes {expected}") from None
    return bound.args


class Functions:
    """The methods that Server has of the table."""

    def _call(self, function: Function, values: tuple[Any, ...], room: Any, check: bool, raw: bool = False) -> Result:
        raise NotImplementedError


for _name, _function in FUNCTIONS.items():
    setattr(Functions, _name, make_method(_function))

__all__ = ["FUNCTIONS", "Argument", "Decimal", "Function", "Functions", "Result", "ScanResult"]
