"""Calls to a server that runs: who may make one, how its values travel, and how long it waits."""

from __future__ import annotations

import ctypes
import os
import threading
import time
from collections.abc import Callable, Iterator, Mapping
from ctypes import byref, c_int32, c_size_t, c_void_p
from decimal import Decimal
from typing import Any

from . import _errors, _native, _xbuf
from ._functions import FUNCTIONS, RESULT_CLASSES, Argument, Function, Functions, Result
from ._values import ROOM, Room, put_integer, put_number, rooms_of, to_int, to_milliseconds

_lib = _native.library

# How long a wait in the library lasts before Python can serve signals, in milliseconds.
_SLICE = 50


class Turn:
    """A use of a server by one thread of a process."""

    __slots__ = ("is_over", "process")

    def __init__(self) -> None:
        self.is_over = False
        self.process = os.getpid()


class Calls(Functions):
    """The server as something to call; its life is that of Server."""

    def __init__(self, encoding: str, timeout: float) -> None:
        self._handle = c_void_p()
        self._taking = threading.Lock()
        self._turn = Turn()
        self._turn.is_over = True
        self.encoding = encoding
        self.timeout = timeout

    @property
    def timeout(self) -> float:
        """Seconds that each call waits for its answer."""
        return self._timeout

    @timeout.setter
    def timeout(self, seconds: float) -> None:
        to_milliseconds(seconds)
        self._timeout = seconds

    def _open(self) -> c_void_p:
        if not self._handle:
            raise ValueError("the server is closed")
        return self._handle

    def call(
        self, function: str, *values: Any, room: Room = None, check: bool = True, raw: bool = False
    ) -> Result:
        """Calls the function of this name. Its own method does the same.

        room: bytes that each returned text has room for, or those of some by name. check: whether a result code other
        than 0 is a CallError. raw: whether texts come back as bytes, and XBUFs packed.
        """
        known = FUNCTIONS.get(function)
        if known is None:
            raise AttributeError(f"the server has no function {function!r}")
        if len(values) != len(known.sent):
            names = ", ".join(argument.parameter for argument in known.sent)
            raise TypeError(f"{function} takes {len(known.sent)} arguments ({names}), not {len(values)}")
        return self._call(known, values, room, check, raw)

    def _call(
        self,
        function: Function,
        values: tuple[Any, ...],
        room: Room,
        check: bool,
        raw: bool = False,
        undo: Callable[[Result], None] | None = None,
    ) -> Result:
        turn = Turn()
        try:
            self._take_turn(turn)
            return self._call_held(function, values, room, check, raw, undo)
        finally:
            turn.is_over = True

    # A call waits in several steps; the library keeps other threads out of each step alone. An interrupt can come
    # between any two steps of Python: whoever takes a turn ends it by setting is_over, which is one step.
    def _take_turn(self, turn: Turn) -> None:
        with self._taking:
            if not self._turn.is_over and self._turn.process == os.getpid():
                raise _errors.BusyError("another thread is using this server")
            self._turn = turn

    def _call_held(
        self,
        function: Function,
        values: tuple[Any, ...],
        room: Room,
        check: bool,
        raw: bool,
        undo: Callable[[Result], None] | None = None,
    ) -> Result:
        rooms = rooms_of(function, room)
        call = c_void_p()
        try:
            _native.check(_lib.vorlix_call_new(self._open(), function.name.encode(), byref(call)))
            given = iter(values)
            for argument in function.arguments:
                self._put(call, argument, next(given) if argument.is_sent else None, rooms)
            try:
                code = self._place(call)
            except BaseException:
                if undo is not None:
                    self._undo_late(call, function, undo)
                raise
            result = self._result(call, function, code, raw)
            if code != 0 and check:
                raise self._failure(call, function, values, code)
            return result
        finally:
            _lib.vorlix_call_free(call)

    def _result(self, call: c_void_p, function: Function, code: int, raw: bool) -> Result:
        result = tuple.__new__(RESULT_CLASSES[function.name], self._returned(call, function, raw))
        result.code = code
        return result

    # The answer of a call whose wait was given up, when it comes soon.
    def _undo_late(self, call: c_void_p, function: Function, undo: Callable[[Result], None]) -> None:
        code = c_int32()
        patience = min(to_milliseconds(self.timeout), 1000)
        if _lib.vorlix_call_wait(call, patience, byref(code)) == _native.OK and code.value == 0:
            undo(self._result(call, function, 0, False))

    # Waits in slices, so that Python serves signals meanwhile. After KeyboardInterrupt the answer is still to come: the
    # library waits for it before it places the next call.
    def _place(self, call: c_void_p) -> int:
        deadline = time.monotonic() + self.timeout
        code = c_int32()
        status = _lib.vorlix_call_start(call, _SLICE)
        while status == _native.TIMEOUT and time.monotonic() < deadline:
            status = _lib.vorlix_call_start(call, _SLICE)
        if status == _native.OK:
            status = _lib.vorlix_call_wait(call, _SLICE, byref(code))
            while status == _native.TIMEOUT and time.monotonic() < deadline:
                status = _lib.vorlix_call_wait(call, _SLICE, byref(code))
        if status == _native.TIMEOUT:
            raise _errors.TimeoutError(f"the server has not answered within {self.timeout:g} s")
        _native.check(status)
        return code.value

    def _failure(self, call: c_void_p, function: Function, values: tuple[Any, ...], code: int) -> _errors.CallError:
        sent = {argument.name: value for argument, value in zip(function.sent, values)}
        meaning = (_lib.vorlix_meaning(function.name.encode(), None, code) or b"").decode()
        fault = (_lib.vorlix_call_fault(call) or b"").decode(errors="replace")
        return _errors.CallError(function.name, code, sent, meaning, fault)

    # ---- Large results ----------------------------------------------------------------------------------------------

    def fetch(self, room: int = ROOM) -> bytes:
        """The whole large result that waits: that of dict_PackDX, dict_PackBufDX or dll_SetLocale, or after the start."""
        code, text, size = c_int32(), c_void_p(), c_size_t()
        capacity = to_int(room, "room")
        turn = Turn()
        try:
            self._take_turn(turn)
            # The library waits for blocks in one go. A server that answers at all is waited for here.
            self._call_held(FUNCTIONS["dll_Revision"], (), None, True, False)
            _native.check(_lib.vorlix_fetch(self._open(), capacity, byref(code), byref(text), byref(size)))
            if code.value != 0:
                meaning = (_lib.vorlix_meaning(b"dll_SendNext", None, code.value) or b"").decode()
                raise _errors.CallError("dll_SendNext", code.value, {}, meaning, "")
            return ctypes.string_at(text, size.value)
        finally:
            turn.is_over = True
            _lib.vorlix_free(text)

    # ---- Values -----------------------------------------------------------------------------------------------------

    def _put(self, call: c_void_p, argument: Argument, value: Any, rooms: Mapping[str, int]) -> None:
        if argument.type == "integer":
            status = put_integer(call, argument, 0 if value is None and not argument.is_sent else value)
        elif argument.type == "number":
            status = put_number(call, argument, 0 if value is None and not argument.is_sent else value)
        else:
            text = self._text(argument, value) if argument.is_sent else b""
            if argument.is_returned:
                room = rooms.get(argument.parameter, max(ROOM, len(text)))
                status = _lib.vorlix_put_bytes_ref(call, text, len(text), room)
            else:
                status = _lib.vorlix_put_bytes(call, text, len(text))
        _native.check(status)

    def _text(self, argument: Argument, value: Any) -> bytes:
        if argument.names_file and isinstance(value, (str, os.PathLike)):
            return os.fsencode(value)
        if isinstance(value, (bytes, bytearray, memoryview)):
            return bytes(value)
        if isinstance(value, str):
            return self._encode(value)
        if argument.is_xbuf and isinstance(value, Mapping):
            return _xbuf.write(value, self._encode)
        kinds = "str, bytes or a mapping" if argument.is_xbuf else "str or bytes"
        kinds = "a path" if argument.names_file else kinds
        raise TypeError(f"{argument.name} is a text: {kinds}, not {type(value).__name__}")

    def _encode(self, text: str) -> bytes:
        try:
            return text.encode(self.encoding, "surrogateescape")
        except UnicodeEncodeError as error:
            wrong = text[error.start : error.end]
            raise ValueError(f"the server's encoding {self.encoding} does not have {wrong!r}") from None

    def _decode(self, text: bytes) -> str:
        return text.decode(self.encoding, "surrogateescape")

    def _returned(self, call: c_void_p, function: Function, raw: bool) -> Iterator[Any]:
        for index, argument in enumerate(function.arguments):
            if argument.is_returned:
                yield self._get(call, index, argument, raw)

    def _get(self, call: c_void_p, index: int, argument: Argument, raw: bool) -> Any:
        if argument.type == "integer":
            number = c_int32()
            _native.check(_lib.vorlix_get_int(call, index, byref(number)))
            return number.value
        if argument.type == "number":
            return Decimal(_lib.vorlix_get_real(call, index).decode())
        size = c_size_t()
        text = ctypes.string_at(_lib.vorlix_get_text(call, index, byref(size)), size.value)
        if raw:
            return text
        return _xbuf.read(text, self._decode) if argument.is_xbuf and text.endswith(b"$") else self._decode(text)
