"""What people pass, as the library takes it. All raise TypeError, ValueError or OverflowError in words."""

from __future__ import annotations

import os
from collections.abc import Mapping
from ctypes import c_char_p, c_void_p
from decimal import Decimal
from typing import Any

from . import _native
from ._functions import Argument, Function

_lib = _native.library

_LEAST_SEGMENT = 4096
_INT_MIN, _INT_MAX = -(2**31), 2**31 - 1

Room = int | Mapping[str, int] | None

#: Bytes that a returned text has room for where nobody says otherwise.
ROOM = 32000


def rooms_of(function: Function, room: Room) -> dict[str, int]:
    """The room of each returned text that has its own."""
    if room is None:
        return {}
    names = [argument.parameter for argument in function.returned if argument.type == "text"]
    if not isinstance(room, Mapping):
        return dict.fromkeys(names, to_int(room, "room"))
    for name in room:
        if name not in names:
            raise ValueError(f"{function.name} returns no text {name!r}, but {', '.join(names) or 'none'}")
    return {name: to_int(value, "room") for name, value in room.items()}


def to_int(value: Any, name: str) -> int:
    if isinstance(value, bool) or not isinstance(value, int):
        raise TypeError(f"{name} is an integer, not {type(value).__name__}")
    if not _INT_MIN <= value <= _INT_MAX:
        raise OverflowError(f"{name} is an integer of 32 bits, and {value} is none")
    return int(value)


def to_path(value: str | os.PathLike[str]) -> bytes:
    path = os.fsencode(value)
    if b"\0" in path:
        raise ValueError(f"no file has the name {value!r}")
    return path


def to_size(value: Any) -> int:
    if to_int(value, "segment_size") < _LEAST_SEGMENT:
        raise ValueError(f"segment_size is {value}; a call needs at least {_LEAST_SEGMENT} bytes")
    return int(value)


def put_integer(call: c_void_p, argument: Argument, value: Any) -> int:
    if isinstance(value, (float, Decimal)) and not argument.is_returned:
        return put_number(call, argument, value)  # the server cuts the decimals, and stops at the ends of 32 bits
    value = to_int(int(value) if isinstance(value, bool) else value, argument.name)
    put = _lib.vorlix_put_int_ref if argument.is_returned else _lib.vorlix_put_int
    return int(put(call, value))


def put_number(call: c_void_p, argument: Argument, value: Any) -> int:
    is_ref = argument.is_returned
    if isinstance(value, float):
        return int((_lib.vorlix_put_double_ref if is_ref else _lib.vorlix_put_double)(call, value))
    if not isinstance(value, (int, Decimal)):
        raise TypeError(f"{argument.name} is a number: int, float or Decimal, not {type(value).__name__}")
    text = str(int(value) if isinstance(value, bool) else value)
    return int((_lib.vorlix_put_real_ref if is_ref else _lib.vorlix_put_real)(call, text.encode()))


def to_milliseconds(seconds: Any) -> int:
    if isinstance(seconds, bool) or not isinstance(seconds, (int, float)):
        raise TypeError(f"timeout is a number of seconds, not {type(seconds).__name__}")
    if not seconds > 0:
        raise ValueError(f"timeout is {seconds}, not above 0")
    return max(1, int(min(seconds * 1000, _INT_MAX)))


def to_environment(changes: Mapping[str, str | None]) -> Any:
    for name, value in changes.items():
        if not name or "=" in name or "\0" in name or "\0" in (value or ""):
            raise ValueError(f"no variable of the environment is {name!r} with {value!r}")
    rows = [os.fsencode(name if value is None else f"{name}={value}") for name, value in changes.items()]
    return (c_char_p * (len(rows) + 1))(*rows, None)
