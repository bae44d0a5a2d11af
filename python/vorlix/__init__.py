"""Calls the functions of the Vorlix function server.

    import vorlix
    with vorlix.Server(lang="de_DE.UTF-8") as server:
        server.v_Set("Name", "Meier")
        print(server.v_Get("Name").value)

A Server is a process of its own. Every function of the server is a method of Server, under its own name and with its own
arguments; what only comes back is left out, and stands in the result. docs/python.md is a tour.
"""

from ._errors import BusyError, CallError, Error, NoServerError, ServerDiedError, TimeoutError
from ._functions import FUNCTIONS, Argument, Function, Result, ScanResult
from ._server import Server
from ._xbuf import Xbuf

for _public in (BusyError, CallError, Error, NoServerError, ServerDiedError, TimeoutError, Result, Server, Xbuf):
    _public.__module__ = "vorlix"  # as people know them

__all__ = [
    "Argument",
    "BusyError",
    "CallError",
    "Error",
    "FUNCTIONS",
    "Function",
    "NoServerError",
    "Result",
    "ScanResult",
    "Server",
    "ServerDiedError",
    "TimeoutError",
    "Xbuf",
]
