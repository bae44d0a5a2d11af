"""A server that runs, and the calls to it."""

from __future__ import annotations

import codecs
import ctypes
import os
import threading
import time
import warnings
from collections.abc import Callable, Iterator, Mapping
from ctypes import byref, c_char_p, c_int32, c_size_t, c_void_p
from decimal import Decimal
from types import TracebackType
from typing import TYPE_CHECKING, Any, NoReturn, cast

from . import _errors, _native, _xbuf
from ._functions import FUNCTIONS, RESULT_CLASSES, Argument, Function, Functions, Result

if TYPE_CHECKING:
    from ._functions import ScanResult

_lib = _native.library

# How long a wait in the library lasts before Python can serve signals, in milliseconds.
_SLICE = 50
_LEAST_SEGMENT = 4096
_INT_MIN, _INT_MAX = -(2**31), 2**31 - 1

# Object types of fields to type into.
_TYPED_INTO = frozenset({"ET", "ST", "OF"})
_SCANNERS = {"N": "scan_Num", "D": "scan_Date", "Z": "scan_Time", "K": "scan_Week", "M": "scan_Month"}

Room = int | Mapping[str, int] | None

#: Bytes that a returned text has room for where nobody says otherwise.
ROOM = 32000


class Server(Functions):
    """A server process. Ends it at the end of a with statement, or by close().

    program: the path of vorlix.dll; None for the installed one.
    lang: its language, such as "de_DE.UTF-8"; None for that of the environment.
    environment: variables that it has (or, for None, has not) unlike this program.
    segment_size: bytes for all values of one call.
    timeout: seconds that each call waits for its answer.
    encoding: of its texts; None for that of its language, and for C ASCII. Bytes that do not belong to it come and go
        as surrogates, as in the names of files.
    capture_stderr: whether take_stderr() gives what it writes there; else it goes where this program's goes.

    Any thread may use a server, one at a time (BusyError). Raises NoServerError, and LookupError for an encoding that
    Python does not have.
    """

    def __init__(
        self,
        *,
        program: str | os.PathLike[str] | None = None,
        lang: str | None = None,
        environment: Mapping[str, str | None] | None = None,
        segment_size: int = 1 << 20,
        timeout: float = 10.0,
        encoding: str | None = None,
        capture_stderr: bool = False,
    ) -> None:
        self._handle = c_void_p()
        self._taking = threading.Lock()
        self._turn = _Turn()
        self._turn.is_over = True
        changes = dict(environment or {})
        if lang is not None:
            changes.update({"LANG": lang, "ZENDLANG": None, "LC_COLLATE": None, "LC_CTYPE": None})
        self.encoding = encoding or _encoding_of(_language({**os.environ, **changes}))
        codecs.lookup(self.encoding)  # raises LookupError
        self.timeout = timeout
        options = _native.Options(
            ctypes.sizeof(_native.Options),
            _path(program) if program is not None else None,
            _environment(changes),
            _size(segment_size),
            _milliseconds(timeout),
            capture_stderr,
        )
        try:
            _native.check(_lib.vorlix_start(byref(options), byref(self._handle)))
            self._pid = int(_lib.vorlix_server_pid(self._handle))
        except BaseException:
            self._release()
            raise

    # ---- Its life ---------------------------------------------------------------------------------------------------

    def close(self) -> None:
        """Ends the server. A further call of this does nothing.

        In a child made by fork it only lets go: the server is that of the process that started it, as long as that
        lives, and nothing else can be done with it there. Raises BusyError while another thread is using the server.
        """
        turn = _Turn()
        try:
            self._take_turn(turn)
            self._release()
        finally:
            turn.is_over = True

    def _release(self) -> None:
        handle, self._handle = self._handle, c_void_p()
        if handle:
            _lib.vorlix_end(handle, None, None)  # in the process that it belongs to; elsewhere nothing
            _lib.vorlix_server_free(handle)

    @property
    def timeout(self) -> float:
        """Seconds that each call waits for its answer."""
        return self._timeout

    @timeout.setter
    def timeout(self, seconds: float) -> None:
        _milliseconds(seconds)
        self._timeout = seconds

    @property
    def closed(self) -> bool:
        return not self._handle

    @property
    def pid(self) -> int:
        """The id of the server's process."""
        self._open()
        return self._pid

    def take_stderr(self) -> str:
        """What the server has written to standard error since the last call of this, where that is captured."""
        text, size = c_void_p(), c_size_t()
        turn = _Turn()
        try:
            self._take_turn(turn)
            _native.check(_lib.vorlix_take_stderr(self._open(), byref(text), byref(size)))
            return self._decode(ctypes.string_at(text, size.value) if text else b"")
        finally:
            turn.is_over = True
            _lib.vorlix_free(text)

    def __enter__(self) -> Server:
        self._open()
        return self

    def __exit__(
        self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None
    ) -> None:
        self.close()

    def __del__(self) -> None:
        if getattr(self, "_handle", None):
            warnings.warn(f"unclosed {self!r}", ResourceWarning, source=self)
            self.close()

    def __reduce__(self) -> NoReturn:
        raise TypeError("a server is a process, and cannot be copied or pickled")

    def __repr__(self) -> str:
        return f"<vorlix.Server {'closed' if self.closed else self.pid}>"

    def _open(self) -> c_void_p:
        if not self._handle:
            raise ValueError("the server is closed")
        return self._handle

    # ---- Calls ------------------------------------------------------------------------------------------------------

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
        turn = _Turn()
        try:
            self._take_turn(turn)
            return self._call_held(function, values, room, check, raw, undo)
        finally:
            turn.is_over = True

    # A call waits in several steps; the library keeps other threads out of each step alone. An interrupt can come
    # between any two steps of Python: whoever takes a turn ends it by setting is_over, which is one step.
    def _take_turn(self, turn: _Turn) -> None:
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
        rooms = _rooms(function, room)
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
        patience = min(_milliseconds(self.timeout), 1000)
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

    # ---- Values -----------------------------------------------------------------------------------------------------

    def _put(self, call: c_void_p, argument: Argument, value: Any, rooms: Mapping[str, int]) -> None:
        if argument.type == "integer":
            status = _put_integer(call, argument, 0 if value is None and not argument.is_sent else value)
        elif argument.type == "number":
            status = _put_number(call, argument, 0 if value is None and not argument.is_sent else value)
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

    # ---- Walks ------------------------------------------------------------------------------------------------------

    def dialogs(self, level: int = -1, dictionary: str = "") -> Iterator[_xbuf.Xbuf]:
        """The dialogs of a level and of those above it, with `name` and `id`; -1 stands for the highest level."""
        index = 0
        while True:
            found = self._call(FUNCTIONS["dict_DlgID"], (dictionary, level, index), None, True)
            if found[1] != 0:
                return
            yield found[0]
            index += 1

    def fields(self, dialog: str) -> Iterator[_xbuf.Xbuf]:
        """The fields of a dialog, in the order of its file, as they are now."""
        self._call(FUNCTIONS["dict_First"], (dialog,), None, True)
        # All dialogs of a dictionary have one walk in the server, so it is gone to its end.
        found: list[_xbuf.Xbuf] = []
        while (step := self._call(FUNCTIONS["dict_Next"], (dialog,), None, True))[1] == 0:
            found.append(step[0])
        return iter(found)

    def filtered(
        self, dialog: str, values: Mapping[str, Any] | str = "*", filter: str = "format"
    ) -> Iterator[tuple[_xbuf.Xbuf, str]]:
        """The fields that a filter delivers, each with its value.

        values: field names and values, or a comma list of names, or "*". The server's sets are a stack, so the walk is
        gone to its end here, and its set freed.
        """
        opening = FUNCTIONS["dict_ListFilterInit" if isinstance(values, str) else "dict_XbufFilterInit"]
        closing = FUNCTIONS["dict_FilterFree"]
        found: list[tuple[_xbuf.Xbuf, str]] = []
        if self._open_walk(opening, (dialog, values), lambda eof: () if eof == 0 else None, closing)[0] != 0:
            return iter(found)
        try:
            self._call(FUNCTIONS["dict_FilterInit"], (filter,), None, True)
            while (step := self._call(FUNCTIONS["dict_FilterNext"], (), None, True))[2] == 0:
                found.append((step[0], step[1]))
        finally:
            self._close_walk(closing, ())
        return iter(found)

    def scan(self, field: Mapping[str, Any], text: str) -> ScanResult:
        """Reads what was typed into a field, by the attributes that fields() gives of it.

        The result is that of scan_Num, scan_Date, scan_Time, scan_Week, scan_Month or scan_Text, by the field's type:
        texts have the accepted one in `out`, the others the value in `result`. `rc` is 0 for what is accepted, -1 for
        nothing, which a field with `req` 1 does not take; result.meaning("rc") says in words what any other one is, and
        `out` has the character that is not allowed. Raises ValueError for a field that nobody types into, such as a
        check box.
        """
        if field["objtype"] not in _TYPED_INTO:
            raise ValueError(f"nobody types into a field of the type {field['objtype']}")
        function = FUNCTIONS[_SCANNERS.get(field["typ"], "scan_Text")]
        attributes = {
            "in": text,
            "pfvt": field["vtyp"],
            "pfmt": field["fmt"],
            "pflags": field["fmt"],
            "pprec": field["prec"],
            "plen": field["len"],
            "pmin": field["min"],
            "pmax": field["max"],
            "pvalid": field["valid"],
        }
        sent = tuple(attributes[argument.name] for argument in function.sent)
        return cast("ScanResult", self._call(function, sent, None, True))

    def elements(self, handle: int) -> Iterator[str]:
        """The elements of a list. The walk counts, so that the list may be read otherwise meanwhile."""
        index = 1
        while True:
            data, eol = self._call(FUNCTIONS["l_GetIdx"], (handle, index), None, True)
            if eol != 0:
                return
            yield data
            index += 1

    def sections(self, path: str | os.PathLike[str]) -> Iterator[str]:
        """The names of the sections of an INI file, in upper case. Raises OSError."""
        return iter([name for (name,) in self._ini(path, "", "ini_NextSection")])

    def entries(self, path: str | os.PathLike[str], section: str) -> Iterator[tuple[str, str]]:
        """The names, in upper case, and values of the entries of a section. Raises OSError."""
        return iter([(name, value) for name, value in self._ini(path, section, "ini_NextEntry")])

    # Few files can be open in the server, so the walk is gone to its end.
    def _ini(self, path: str | os.PathLike[str], section: str, step: str) -> list[tuple[Any, ...]]:
        closing = FUNCTIONS["ini_Close"]
        opened = self._open_walk(
            FUNCTIONS["ini_Open"], (path, section), lambda handle: (handle,) if handle >= 0 else None, closing
        )
        handle = opened[0]
        if handle < 0:
            raise OSError(-handle, os.strerror(-handle), os.fspath(path))
        found: list[tuple[Any, ...]] = []
        try:
            while True:
                *values, eof = self._call(FUNCTIONS[step], (handle,), None, True)
                if eof < 0:
                    raise OSError(f"{os.fspath(path)} cannot be read on")
                if eof != 0:
                    return found
                found.append(tuple(values))
        finally:
            self._close_walk(closing, (handle,))

    def _open_walk(
        self,
        opening: Function,
        values: tuple[Any, ...],
        to_close: Callable[[Any], tuple[Any, ...] | None],
        closing: Function,
    ) -> Result:
        """Calls `opening`. When its wait is given up, what it opens all the same is closed again.

        to_close: from the value that came back, what `closing` takes; None when nothing was opened.
        """

        def undo(result: Result) -> None:
            if (taken := to_close(result[0])) is not None:
                self._call_held(closing, taken, None, False, False)

        return self._call(opening, values, None, True, undo=undo)

    def _close_walk(self, closing: Function, values: tuple[Any, ...]) -> None:
        if not self.closed:
            self._call(closing, values, None, False)

    def fetch(self, room: int = ROOM) -> bytes:
        """The whole large result that waits: that of dict_PackDX, dict_PackBufDX or dll_SetLocale, or after the start."""
        code, text, size = c_int32(), c_void_p(), c_size_t()
        capacity = _int(room, "room")
        turn = _Turn()
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


class _Turn:
    """A use of a server by one thread of a process."""

    __slots__ = ("is_over", "process")

    def __init__(self) -> None:
        self.is_over = False
        self.process = os.getpid()


def _rooms(function: Function, room: Room) -> dict[str, int]:
    """The room of each returned text that has its own. Raises TypeError, ValueError and OverflowError."""
    if room is None:
        return {}
    names = [argument.parameter for argument in function.returned if argument.type == "text"]
    if not isinstance(room, Mapping):
        return dict.fromkeys(names, _int(room, "room"))
    for name in room:
        if name not in names:
            raise ValueError(f"{function.name} returns no text {name!r}, but {', '.join(names) or 'none'}")
    return {name: _int(value, "room") for name, value in room.items()}


def _int(value: Any, name: str) -> int:
    if isinstance(value, bool) or not isinstance(value, int):
        raise TypeError(f"{name} is an integer, not {type(value).__name__}")
    if not _INT_MIN <= value <= _INT_MAX:
        raise OverflowError(f"{name} is an integer of 32 bits, and {value} is none")
    return int(value)


def _path(value: str | os.PathLike[str]) -> bytes:
    path = os.fsencode(value)
    if b"\0" in path:
        raise ValueError(f"no file has the name {value!r}")
    return path


def _size(value: Any) -> int:
    if _int(value, "segment_size") < _LEAST_SEGMENT:
        raise ValueError(f"segment_size is {value}; a call needs at least {_LEAST_SEGMENT} bytes")
    return int(value)


def _put_integer(call: c_void_p, argument: Argument, value: Any) -> int:
    if isinstance(value, (float, Decimal)) and not argument.is_returned:
        return _put_number(call, argument, value)  # the server cuts the decimals, and stops at the ends of 32 bits
    value = _int(int(value) if isinstance(value, bool) else value, argument.name)
    put = _lib.vorlix_put_int_ref if argument.is_returned else _lib.vorlix_put_int
    return int(put(call, value))


def _put_number(call: c_void_p, argument: Argument, value: Any) -> int:
    is_ref = argument.is_returned
    if isinstance(value, float):
        return int((_lib.vorlix_put_double_ref if is_ref else _lib.vorlix_put_double)(call, value))
    if not isinstance(value, (int, Decimal)):
        raise TypeError(f"{argument.name} is a number: int, float or Decimal, not {type(value).__name__}")
    text = str(int(value) if isinstance(value, bool) else value)
    return int((_lib.vorlix_put_real_ref if is_ref else _lib.vorlix_put_real)(call, text.encode()))


def _milliseconds(seconds: Any) -> int:
    if isinstance(seconds, bool) or not isinstance(seconds, (int, float)):
        raise TypeError(f"timeout is a number of seconds, not {type(seconds).__name__}")
    if not seconds > 0:
        raise ValueError(f"timeout is {seconds}, not above 0")
    return max(1, int(min(seconds * 1000, _INT_MAX)))


def _environment(changes: Mapping[str, str | None]) -> Any:
    for name, value in changes.items():
        if not name or "=" in name or "\0" in name or "\0" in (value or ""):
            raise ValueError(f"no variable of the environment is {name!r} with {value!r}")
    rows = [os.fsencode(name if value is None else f"{name}={value}") for name, value in changes.items()]
    return (c_char_p * (len(rows) + 1))(*rows, None)


def _language(environment: Mapping[str, str | None]) -> str:
    """The locale by which the server reads texts."""
    return next((value for name in ("ZENDLANG", "LC_CTYPE", "LANG") if (value := environment.get(name))), "C")


def _encoding_of(locale: str) -> str:
    """The encoding of a locale of the system, whatever locale this program has."""
    libc = ctypes.CDLL(None)
    libc.newlocale.restype = c_void_p
    libc.newlocale.argtypes = [ctypes.c_int, c_char_p, c_void_p]
    libc.nl_langinfo_l.restype = c_char_p
    libc.nl_langinfo_l.argtypes = [ctypes.c_int, c_void_p]
    libc.freelocale.argtypes = [c_void_p]
    ctype_mask, codeset = 1, 14
    found = libc.newlocale(ctype_mask, os.fsencode(locale), None)
    if not found:
        return "ascii"  # the server goes on with C in its place
    try:
        name: bytes = libc.nl_langinfo_l(codeset, found)
        return "ascii" if name == b"ANSI_X3.4-1968" else name.decode()
    finally:
        libc.freelocale(found)
