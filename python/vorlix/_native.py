"""The C library, as ctypes sees it. Its header, vorlix.h, says what the functions promise."""

from __future__ import annotations

import builtins
import ctypes
import os
from ctypes import POINTER, c_bool, c_char, c_char_p, c_double, c_int, c_int32, c_size_t, c_uint32, c_void_p
from pathlib import Path
from typing import NoReturn

from . import _errors


class Options(ctypes.Structure):
    _fields_ = [
        ("size", c_size_t),
        ("program", c_char_p),
        ("environment", POINTER(c_char_p)),
        ("segment_size", c_size_t),
        ("timeout_ms", c_int32),
        ("capture_stderr", c_int32),
    ]


class Item(ctypes.Structure):
    _fields_ = [
        ("type", c_char),
        ("index", c_uint32),
        ("name", c_char_p),
        ("value", c_void_p),
        ("length", c_size_t),
    ]


class Argument(ctypes.Structure):
    _fields_ = [("name", c_char_p), ("type", c_int), ("direction", c_int), ("sentence", c_char_p)]


class Function(ctypes.Structure):
    _fields_ = [
        ("name", c_char_p),
        ("sentence", c_char_p),
        ("sample", c_char_p),
        ("argument_count", c_size_t),
    ]


OK, BAD_USE, BAD_VALUE, TOO_LARGE, NO_MEMORY, SYSTEM, NO_SERVER, TIMEOUT, DIED, BUSY = range(10)

_PROTOTYPES = {
    "error_message": (c_char_p,),
    "version": (c_char_p,),
    "free": (None, c_void_p),
    "start": (c_int, POINTER(Options), POINTER(c_void_p)),
    "server_free": (None, c_void_p),
    "end": (c_int, c_void_p, POINTER(c_int32), POINTER(c_int32)),
    "server_pid": (c_int32, c_void_p),
    "take_stderr": (c_int, c_void_p, POINTER(c_void_p), POINTER(c_size_t)),
    "call_new": (c_int, c_void_p, c_char_p, POINTER(c_void_p)),
    "call_free": (None, c_void_p),
    "put_int": (c_int, c_void_p, c_int32),
    "put_int_ref": (c_int, c_void_p, c_int32),
    "put_real": (c_int, c_void_p, c_char_p),
    "put_real_ref": (c_int, c_void_p, c_char_p),
    "put_double": (c_int, c_void_p, c_double),
    "put_double_ref": (c_int, c_void_p, c_double),
    "put_bytes": (c_int, c_void_p, c_char_p, c_size_t),
    "put_bytes_ref": (c_int, c_void_p, c_char_p, c_size_t, c_int32),
    "call_start": (c_int, c_void_p, c_int32),
    "call_wait": (c_int, c_void_p, c_int32, POINTER(c_int32)),
    "call_fault": (c_char_p, c_void_p),
    "get_int": (c_int, c_void_p, c_size_t, POINTER(c_int32)),
    "get_real": (c_char_p, c_void_p, c_size_t),
    "get_text": (c_void_p, c_void_p, c_size_t, POINTER(c_size_t)),
    "fetch": (c_int, c_void_p, c_int32, POINTER(c_int32), POINTER(c_void_p), POINTER(c_size_t)),
    "xbuf_new": (c_int, POINTER(c_void_p)),
    "xbuf_read": (c_int, c_char_p, c_size_t, POINTER(c_void_p)),
    "xbuf_free": (None, c_void_p),
    "xbuf_add": (c_int, c_void_p, c_char, c_char_p, c_uint32, c_char_p, c_size_t),
    "xbuf_at": (POINTER(Item), c_void_p, c_size_t),
    "xbuf_pack": (c_void_p, c_void_p, POINTER(c_size_t)),
    "function_at": (POINTER(Function), c_size_t),
    "argument_at": (POINTER(Argument), POINTER(Function), c_size_t),
    "meaning": (c_char_p, c_char_p, c_char_p, c_int32),
}


_NAME = "libvorlix.so.3"


def _load() -> ctypes.CDLL:
    """The library in VORLIX_LIBRARY; that of the same installation, lib/python3/dist-packages beside it; or any."""
    beside = Path(__file__).resolve().parents[3] / _NAME
    library = ctypes.CDLL(os.environ.get("VORLIX_LIBRARY") or (str(beside) if beside.exists() else _NAME))
    for name, (result, *arguments) in _PROTOTYPES.items():
        function = getattr(library, f"vorlix_{name}")
        function.restype = result
        function.argtypes = arguments
    return library


library = _load()


def message() -> str:
    """Why the last function that failed in this thread did so."""
    return (library.vorlix_error_message() or b"").decode(errors="replace")


def fail(status: int) -> NoReturn:
    """Raises what a status other than OK stands for."""
    classes: dict[int, type[Exception]] = {
        BAD_USE: ValueError,
        BAD_VALUE: ValueError,
        TOO_LARGE: ValueError,
        NO_MEMORY: MemoryError,
        SYSTEM: _errors.NoServerError,
        NO_SERVER: _errors.NoServerError,
        TIMEOUT: _errors.TimeoutError,
        DIED: _errors.ServerDiedError,
        BUSY: _errors.BusyError,
    }
    raise classes.get(status, builtins.RuntimeError)(message())


def check(status: int) -> None:
    if status != OK:
        fail(status)
