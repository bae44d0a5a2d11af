"""Plays scripts through the Python package, and holds every call against what the tool was answered.

    play.py VORLIX SCRIPT...

What `vorlix run` prints of a script is a script of plain calls, each with what came back. The same calls are made here,
of a server of this program's own, and every code and value must be the same, byte for byte.
"""

from __future__ import annotations

import os
import re
import subprocess
import sys
import tempfile
from collections.abc import Iterator
from fnmatch import translate
from typing import Any

import vorlix

ESCAPES = {b"n": b"\n", b"r": b"\r", b"t": b"\t"}
TOKEN = re.compile(rb'\\x([0-9a-f]{2})|\\(.)|(\$tmp|\$\{tmp\})|(")|([ \t])|(.)', re.DOTALL)


class Word:
    """A word of a line: its bytes, the room behind it, and whether any of it is quoted."""

    def __init__(self) -> None:
        self.text = b""
        self.room: int | None = None
        self.bare = True


def words_of(line: bytes, scratch: bytes) -> Iterator[Word]:
    word: Word | None = None
    quoted = False
    for code, escaped, directory, quote, blank, plain in TOKEN.findall(line):
        if blank and not quoted:
            if word is not None:
                yield with_room(word, line)
            word = None
            continue
        if plain == b"#" and word is None:
            return
        word = word or Word()
        if quote:
            quoted = not quoted
            word.bare = False
        elif directory:
            word.text += scratch
        else:
            word.text += bytes.fromhex(code.decode()) if code else ESCAPES.get(escaped, escaped) or blank or plain
    if word is not None:
        yield with_room(word, line)


def with_room(word: Word, line: bytes) -> Word:
    """Takes the [40] off the end of the word; one that was quoted whole has none."""
    if found := re.search(rb"\[(\d+)\]$", word.text):
        if b'"[' in line or word.bare:
            word.text, word.room = word.text[: found.start()], int(found[1])
    return word


class Player:
    def __init__(self, server: vorlix.Server, scratch: str) -> None:
        self.server = server
        self.scratch = os.fsencode(scratch)
        self.calls = 0

    def play(self, line: bytes) -> None:
        words = list(words_of(line, self.scratch))
        if not words:
            return
        name = words[0].text.decode()
        if name in vorlix.FUNCTIONS:
            self.call(vorlix.FUNCTIONS[name], words[1:])
        elif name == "write":
            with open(words[1].text, "wb") as file:
                file.write(words[2].text)
        elif name == "fetch":
            self.fetch(words)

    def call(self, function: vorlix.Function, words: list[Word]) -> None:
        arrow = next(k for k, word in enumerate(words) if word.bare and word.text == b"=>")
        given, expected = words[:arrow], words[arrow + 1 :]
        outs = len(given) - len(function.sent)
        sent, rooms, preset = [], {}, set()
        for argument in function.arguments:
            if not argument.is_sent:
                if outs <= 0:
                    continue
                outs -= 1
            word = given.pop(0)
            if word.room is not None and argument.is_returned:
                rooms[argument.parameter] = word.room
            if argument.is_sent:
                sent.append(value_of(argument, word.text))
            else:
                preset.add(argument.name)
        result = self.server.call(function.name, *sent, room=rooms, check=False, raw=True)
        self.calls += 1
        code = int(expected[0].text)
        if result.code != code:
            raise AssertionError(f"code {result.code}, not {code}")
        values = dict(zip((one.name for one in function.returned), result))
        for word in expected[1:]:
            name, comparison, text = re.split(rb"([=~])", word.text, maxsplit=1)
            if name.decode() not in preset:  # a value before the call cannot be said in Python
                same(name.decode(), values[name.decode()], comparison, text)

    def fetch(self, words: list[Word]) -> None:
        try:
            self.server.fetch(words[2].room or vorlix._server.ROOM)
        except vorlix.CallError as error:
            if error.code != int(words[4].text):
                raise


def value_of(argument: vorlix.Argument, text: bytes) -> Any:
    if argument.type == "text":
        return text
    if argument.type == "integer" and re.fullmatch(rb"[-+]?\d+", text) and -(2**31) <= int(text) < 2**31:
        return int(text)
    return vorlix._functions.Decimal(text.decode())


def same(name: str, value: Any, comparison: bytes, text: bytes) -> None:
    if isinstance(value, bytes):
        pattern = re.sub(rb"([][])", rb"[\1]", text).decode("latin-1")
        fits = value == text if comparison == b"=" else re.match(translate(pattern), value.decode("latin-1"))
    else:
        fits = value == vorlix._functions.Decimal(text.decode())
    if not fits:
        raise AssertionError(f"{name} is {value!r}, not {comparison.decode()}{text!r}")


def main(tool: str, scripts: list[str]) -> int:
    calls = 0
    failed = 0
    for script in scripts:
        printed = subprocess.run([tool, "run", script], capture_output=True, check=True).stdout
        with tempfile.TemporaryDirectory(prefix="vorlix-") as scratch, vorlix.Server(
            program=os.environ["VORLIX_SERVER"], segment_size=1 << 24, capture_stderr=True
        ) as server:
            player = Player(server, scratch)
            for number, line in enumerate(printed.split(b"\n"), 1):
                try:
                    player.play(line)
                except Exception as error:
                    print(f"{script}, line {number} of what is printed: {error}\n  {line.decode(errors='replace')}")
                    failed += 1
            calls += player.calls
    print(f"{calls} calls, {failed} failed")
    return 1 if failed or not calls else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2:]))
