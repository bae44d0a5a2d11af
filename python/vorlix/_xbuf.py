"""XBUFs, the packed named values of the server, as dictionaries."""

from __future__ import annotations

import ctypes
from collections.abc import Callable, Mapping, Sequence
from ctypes import byref, c_size_t, c_void_p
from decimal import Decimal
from typing import Any

from . import _native

_lib = _native.library

# What the server puts before the names of its own items.
_PREFIXES = ("dict_", "dlg_", "mdf_")


# More than the exponents of host reals.
_MOST_DIGITS = 400


class Xbuf(dict[str, Any]):
    """The items of an XBUF by name, in lower case and without the prefixes dict_, dlg_ and mdf_.

    A number is an int or a Decimal, a text a str, an array a list (from its element 1 on; what it lacks is None).
    """


def _key(name: str) -> str:
    lower = name.lower()
    for prefix in _PREFIXES:
        if lower.startswith(prefix):
            return lower[len(prefix) :]
    return lower


def _number(text: str) -> int | Decimal | str:
    try:
        return int(text)
    except ValueError:
        pass
    try:
        return Decimal(text)
    except ArithmeticError:
        return text


def read(packed: bytes, decode: Callable[[bytes], str]) -> Xbuf:
    """The items of a packed XBUF. Raises ValueError for what is none."""
    handle = c_void_p()
    _native.check(_lib.vorlix_xbuf_read(packed, len(packed), byref(handle)))
    try:
        result = Xbuf()
        position = 0
        while item := _lib.vorlix_xbuf_at(handle, position):
            position += 1
            one = item.contents
            text = decode(ctypes.string_at(one.value, one.length))
            _put(result, _key(one.name.decode()), one.index, _number(text) if one.type == b"N" else text)
        return result
    finally:
        _lib.vorlix_xbuf_free(handle)


def _put(items: Xbuf, key: str, index: int, value: Any) -> None:
    if index == 0:
        items[key] = value
        return
    elements = items.setdefault(key, [])
    if isinstance(elements, list):
        elements.extend([None] * (index - len(elements)))
        elements[index - 1] = value


def write(items: Mapping[str, Any], encode: Callable[[str], bytes]) -> bytes:
    """The items packed. Raises ValueError for a name that an XBUF cannot have, TypeError for another value."""
    handle = c_void_p()
    _native.check(_lib.vorlix_xbuf_new(byref(handle)))
    try:
        for name, value in items.items():
            is_array = isinstance(value, Sequence) and not isinstance(value, (str, bytes, bytearray, memoryview))
            for index, element in enumerate(value, 1) if is_array else [(0, value)]:
                if element is not None:
                    _add(handle, name, index, element, encode)
        size = c_size_t()
        packed = _lib.vorlix_xbuf_pack(handle, byref(size))
        if packed is None:
            raise MemoryError
        return ctypes.string_at(packed, size.value)
    finally:
        _lib.vorlix_xbuf_free(handle)


def _add(handle: c_void_p, name: str, index: int, value: Any, encode: Callable[[str], bytes]) -> None:
    if not isinstance(name, str):
        raise TypeError(f"the name of an item is a str, not {type(name).__name__}")
    if "\0" in name or not name.isascii():
        raise ValueError(f"no item has the name {name!r}")
    if isinstance(value, (int, float, Decimal)):
        kind, text = b"N", _plain(value).encode()
    elif isinstance(value, (str, bytes, bytearray, memoryview)):
        kind, text = b"X", encode(value) if isinstance(value, str) else bytes(value)
    else:
        raise TypeError(f"an item is a str, bytes, int, float or Decimal, not {type(value).__name__}")
    _native.check(_lib.vorlix_xbuf_add(handle, kind, name.encode(), index, text, len(text)))


def _plain(value: int | float | Decimal) -> str:
    """A number without an exponent. Raises ValueError for one that no host real is."""
    if isinstance(value, int):
        return str(int(value))
    number = Decimal(repr(value)) if isinstance(value, float) else value
    if not number.is_finite() or not -_MOST_DIGITS < number.adjusted() < _MOST_DIGITS:
        raise ValueError(f"an item cannot be {value}")
    return format(number, "f")
