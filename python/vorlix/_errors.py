"""What can go wrong between this program and a server.

Bad arguments are TypeError, ValueError and OverflowError, as anywhere else, and nothing is called.
"""

from __future__ import annotations

import builtins
from collections.abc import Mapping
from typing import Any


class Error(Exception):
    """All failures that this package has a class for."""


class CallError(Error):
    """A function answered with a result code other than 0.

    function, code and arguments (what was sent, by name) say which; meaning has the code in words, and fault says which
    argument was refused, where that can be known.
    """

    def __init__(self, function: str, code: int, arguments: Mapping[str, Any], meaning: str, fault: str) -> None:
        self.function = function
        self.code = code
        self.arguments = dict(arguments)
        self.meaning = meaning
        self.fault = fault
        words = "; ".join(text for text in (meaning, fault) if text)
        super().__init__(f"{function} answered {code}" + (f" ({words})" if words else ""))

    def __reduce__(self) -> tuple[Any, ...]:
        return type(self), (self.function, self.code, self.arguments, self.meaning, self.fault)


class NoServerError(Error, OSError):
    """The server program was not found or cannot be started, or the system has no segment or process left."""


class TimeoutError(Error, builtins.TimeoutError):
    """No answer in time. It may still come; the next call waits for it first."""


class ServerDiedError(Error):
    """The server has ended; every further call fails in the same way."""


class BusyError(Error):
    """Another thread is using the server."""
