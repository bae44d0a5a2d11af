"""The language of a server, and the encoding of its texts."""

from __future__ import annotations

import ctypes
import os
from collections.abc import Mapping
from ctypes import c_char_p, c_void_p


def language_of(environment: Mapping[str, str | None]) -> str:
    """The locale by which the server reads texts."""
    return next((value for name in ("ZENDLANG", "LC_CTYPE", "LANG") if (value := environment.get(name))), "C")


def encoding_of(locale: str) -> str:
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
