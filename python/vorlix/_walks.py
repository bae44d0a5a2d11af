"""What is read step by step: the dialogs, fields and filter sets of dictionaries, lists, and INI files."""

from __future__ import annotations

import os
from collections.abc import Callable, Iterator, Mapping
from typing import TYPE_CHECKING, Any, cast

from . import _xbuf
from ._calls import Calls
from ._functions import FUNCTIONS, Function, Result

if TYPE_CHECKING:
    from ._functions import ScanResult

# Object types of fields to type into.
_TYPED_INTO = frozenset({"ET", "ST", "OF"})
_SCANNED_BY = ("objtype", "typ", "vtyp", "fmt", "prec", "len", "min", "max", "valid")
_SCANNERS = {"N": "scan_Num", "D": "scan_Date", "Z": "scan_Time", "K": "scan_Week", "M": "scan_Month"}


class Walks(Calls):
    """Walks through what a server has; most are gone to their end at once."""

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
        check box, and for one that lacks attributes.
        """
        if not isinstance(field, Mapping):
            raise TypeError(f"field has the attributes that fields() or dict_Get give, and is no {type(field).__name__}")
        if missing := [name for name in _SCANNED_BY if name not in field]:
            raise ValueError(f"the field lacks {', '.join(missing)}; fields() and dict_Get give all that it has")
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
        if self._handle:
            self._call(closing, values, None, False)
