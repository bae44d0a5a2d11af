"""A server that runs: its start, its end, and what it writes meanwhile."""

from __future__ import annotations

import codecs
import ctypes
import os
import warnings
from collections.abc import Mapping
from ctypes import byref, c_size_t, c_void_p
from types import TracebackType
from typing import NoReturn

from . import _native
from ._calls import Turn
from ._locale import encoding_of, language_of
from ._values import to_environment, to_milliseconds, to_path, to_size
from ._walks import Walks

_lib = _native.library


class Server(Walks):
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
        changes = dict(environment or {})
        if lang is not None:
            changes.update({"LANG": lang, "ZENDLANG": None, "LC_COLLATE": None, "LC_CTYPE": None})
        encoding = encoding or encoding_of(language_of({**os.environ, **changes}))
        codecs.lookup(encoding)  # raises LookupError
        super().__init__(encoding, timeout)
        options = _native.Options(
            ctypes.sizeof(_native.Options),
            to_path(program) if program is not None else None,
            to_environment(changes),
            to_size(segment_size),
            to_milliseconds(timeout),
            capture_stderr,
        )
        try:
            _native.check(_lib.vorlix_start(byref(options), byref(self._handle)))
            self._pid = int(_lib.vorlix_server_pid(self._handle))
        except BaseException:
            self._release()
            raise

    def close(self) -> None:
        """Ends the server. A further call of this does nothing.

        In a child made by fork it only lets go: the server is that of the process that started it, as long as that
        lives, and nothing else can be done with it there. Raises BusyError while another thread is using the server.
        """
        turn = Turn()
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
        turn = Turn()
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
