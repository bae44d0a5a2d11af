"""The Python package: what goes to the server and comes back, and what bad use gets.

Runs by unittest: VORLIX_LIBRARY, VORLIX_SERVER and VORLIX_EXAMPLES say where things are.
"""

from __future__ import annotations

import asyncio
import copy
import gc
import inspect
import os
import signal
import subprocess
import sys
import threading
import time
import tracemalloc
import unittest
import warnings
from decimal import Decimal
from pathlib import Path
from typing import Any

import vorlix

PROGRAM = os.environ["VORLIX_SERVER"]
EXAMPLES = Path(os.environ["VORLIX_EXAMPLES"])


def start(lang: str = "C", **options: Any) -> vorlix.Server:
    return vorlix.Server(program=PROGRAM, lang=lang, **options)


class Values(unittest.TestCase):
    def test_travel_and_come_back(self) -> None:
        with start("de_DE.UTF-8") as server:
            server.v_Set("Name", "Müller\x00ß")
            self.assertEqual(server.v_Get("Name").value, "Müller\x00ß")
            self.assertEqual(server.v_Get(b"Name", room=20)[0], "Müller\x00ß")
            (value,) = server.v_Get(name="Name")
            self.assertEqual(value, "Müller\x00ß")
            for number in (Decimal("-1234.5"), -1234.5, -1234):
                shown = server.fmt_Num(number, 12, 1, "TG").result
                self.assertEqual(shown, "-1.234,5" if number != -1234 else "-1.234,0")
            scanned = server.scan_Num("12,5", "", 2, 0, 0, "")
            self.assertEqual((scanned.result, scanned.out, scanned.rc, scanned.code), (Decimal("12.5"), "12.5", 0, 0))
            self.assertIsInstance(scanned.result, Decimal)
            self.assertEqual(server.scan_Num(in_="1", pfvt="", pprec=0, pmin=0, pmax=0, pvalid="").out, "1")
            self.assertEqual(server.chk_Num("", "1 234,5")[:2], ("1234.5", Decimal("1234.5")))
            self.assertIn("code=0, value=", repr(server.v_Get("Name")))

    def test_encodings(self) -> None:
        with start("de_DE") as server:
            self.assertEqual(server.encoding, "ISO-8859-1")
            self.assertEqual(server.fmt_Text("ärger", 10, "U").result, "ÄRGER")
            with self.assertRaisesRegex(ValueError, "ISO-8859-1 does not have '€'"):
                server.v_Set("price", "5 €")
        with start() as server:  # bytes that are no ASCII come and go
            server.v_Set("raw", b"\xe4\xff")
            self.assertEqual(server.v_Get("raw").value.encode("ascii", "surrogateescape"), b"\xe4\xff")

    def test_codes(self) -> None:
        with start() as server:
            with self.assertRaises(vorlix.CallError) as caught:
                server.dict_MapID("KD")
            error = caught.exception
            self.assertEqual((error.function, error.code, error.arguments), ("dict_MapID", 19, {"handle": "KD"}))
            self.assertEqual(str(error), "dict_MapID answered 19 (no dialog on the top level has this handle)")
            self.assertEqual(server.dict_MapID("KD", check=False).code, 19)
            self.assertEqual(server.call("l_SeekCurr", 1, check=False).code, 2002)
            with self.assertRaisesRegex(vorlix.CallError, "18 .*too little room"):
                server.u_basename("Kunde.Name", room=2)

    def test_xbufs_and_walks(self) -> None:
        with start() as server:
            server.dict_OpenModel("MUSTER", str(EXAMPLES / "dict/muster.dic"))
            self.assertEqual(server.dict_Open("KUNDEN", str(EXAMPLES / "dict/kunden.dic"), 1).rc_p, 0)
            self.assertEqual([dialog["id"] for dialog in server.dialogs()], ["D01ANSCHRIFT", "D01KUNDE"])
            fields = list(server.fields("D01KUNDE"))
            self.assertEqual((fields[0]["fld"], fields[0]["len"], fields[0]["typ"]), ("name", 30, "T"))
            self.assertEqual(server.dict_Get("D01KUNDE", "nothing").xbuf, "")
            server.dict_Update("D01KUNDE", {"fld": "Name", "len": 40})
            self.assertEqual(server.dict_Get("D01KUNDE", "name").xbuf["len"], 40)
            shown = [(field["fld"], value.strip()) for field, value in
                     server.filtered("D01KUNDE", {"Name": "Meier", "Umsatz": Decimal("1234.5")})]
            self.assertEqual(shown, [("name", "Meier"), ("umsatz", "1234.50")])
            with self.assertRaises(vorlix.CallError):
                server.dict_FilterFree()  # the walk has freed its set
            packed = server.dict_PackDX("D01KUNDE", 1)
            self.assertEqual(packed.code, 0)
            self.assertTrue(server.fetch(room=100).startswith(b"D6~KUNDEN"))
            handle = server.l_CreateList("a").hdl
            for text in "xyz":
                server.l_Add(handle, text)
            self.assertEqual(list(server.elements(handle)), ["x", "y", "z"])
            path = str(EXAMPLES / "dict/kunden.dic")
            self.assertEqual(next(server.sections(path)), "CATALOG")
            self.assertEqual(list(server.entries(path, "catalog")), [("KD", "KUNDE"), ("AN", "ANSCHRIFT")])
            self.assertEqual(server.ini_Open(path, "").hdl, 0, "walks close what they open")
            with self.assertRaises(FileNotFoundError):
                list(server.sections("nosuch.ini"))

    def test_methods_are_those_of_the_table(self) -> None:
        for name in vorlix.FUNCTIONS:
            self.assertIn("check", inspect.signature(getattr(vorlix.Server, name)).parameters)
        self.assertIn("Formats a number for display.", vorlix.Server.fmt_Num.__doc__ or "")


class BadUse(unittest.TestCase):
    def test_gets_a_clear_error(self) -> None:
        with start() as server:
            rows: list[tuple[type[Exception], str, Any]] = [
                (TypeError, "v_Get.*missing.*it takes name", lambda: server.v_Get()),  # type: ignore[call-arg]
                (TypeError, "v_Get", lambda: server.v_Get("a", "b")),  # type: ignore[call-arg]
                (TypeError, "v_Get", lambda: server.v_Get(nam="a")),  # type: ignore[call-arg]
                (TypeError, "name is a text", lambda: server.v_Get(1)),  # type: ignore[arg-type]
                (TypeError, "hdl is an integer", lambda: server.l_Name("1")),  # type: ignore[arg-type]
                (TypeError, "pval is a number", lambda: server.fmt_Num("1", 1, 1, "")),  # type: ignore[arg-type]
                (OverflowError, "hdl.*2147483648", lambda: server.l_Name(2**31)),
                (ValueError, "", lambda: server.fmt_Num(Decimal("1.2345678901234567890"), 1, 1, "")),
                (ValueError, "", lambda: server.fmt_Num(Decimal("NaN"), 1, 1, "")),
                (ValueError, "segment", lambda: server.v_Set("a", "x" * 2_000_000)),
                (ValueError, "", lambda: server.dict_Update("D", {"1x": 1})),
                (TypeError, "an item is", lambda: server.dict_Update("D", {"x": object()})),
                (TypeError, "name of an item", lambda: server.dict_Update("D", {1: "x"})),  # type: ignore[dict-item]
                (ValueError, "no item", lambda: server.dict_Update("D", {"a\0b": 1})),
                (ValueError, "cannot be nan", lambda: server.dict_Update("D", {"x": float("nan")})),
                (ValueError, "E\\+999999", lambda: server.fmt_Num(Decimal("1E+999999999"), 1, 1, "")),
                (TypeError, "room", lambda: server.v_Get("a", room="x")),  # type: ignore[arg-type]
                (OverflowError, "room", lambda: server.v_Get("a", room=2**32 + 80)),
                (ValueError, "no text 'valeu'", lambda: server.v_Get("a", room={"valeu": 2})),
                (TypeError, "timeout", lambda: start(timeout="x")),
                (ValueError, "timeout", lambda: start(timeout=-1)),
                (ValueError, "segment_size", lambda: start(segment_size=1)),
                (ValueError, "environment", lambda: start(environment={"A=B": "c"})),
                (ValueError, "no file", lambda: vorlix.Server(program="vorlix\0.dll")),
                (LookupError, "nonsense", lambda: start(encoding="nonsense")),
                (TypeError, "timeout", lambda: setattr(server, "timeout", "x")),
                (TypeError, "cannot be copied", lambda: copy.copy(server)),
                (FileNotFoundError, "nosuch", lambda: server.sections(Path("nosuch"))),
                (AttributeError, "no function 'nosuch'", lambda: server.call("nosuch")),
                (TypeError, "takes 1 argument", lambda: server.call("v_Get")),
            ]
            for kind, words, use in rows:
                with self.assertRaisesRegex(kind, words):
                    use()
            self.assertEqual(server.v_Get("a").value, "", "and the server goes on")
        for use in (lambda: server.v_Get("a"), lambda: server.pid, server.__enter__):
            with self.assertRaisesRegex(ValueError, "closed"):
                use()
        server.close()
        with self.assertRaises(vorlix.NoServerError):
            vorlix.Server(program="/nosuch")

    def test_fields_of_two_dialogs_at_once(self) -> None:
        with start() as server:
            server.dict_OpenModel("MUSTER", str(EXAMPLES / "dict/muster.dic"))
            server.dict_Open("KUNDEN", str(EXAMPLES / "dict/kunden.dic"), 1)
            walks = zip(server.filtered("D01KUNDE", {"name": "A"}), server.filtered("D01ANSCHRIFT", {"ort": "B"}))
            self.assertEqual([(a[1], b[1]) for a, b in walks], [("A", "B")])
            pairs = zip(server.fields("D01KUNDE"), server.fields("D01ANSCHRIFT"))
            self.assertEqual([(a["fld"], b["fld"]) for a, b in pairs][1:], [("umsatz", "plz"), ("limit", "ort")])
            box = server.dict_Get("D01KUNDE", "gesperrt").xbuf
            self.assertRaisesRegex(ValueError, "nobody types into", server.scan, box, "1")
            self.assertRaisesRegex(ValueError, "the field lacks objtype, typ", server.scan, {}, "1")
            self.assertRaisesRegex(TypeError, "is no str", server.scan, "name", "1")
            self.assertRaisesRegex(ValueError, "returns no 'nix', but code, value", server.v_Get("a").meaning, "nix")

    def test_left_open(self) -> None:
        with warnings.catch_warnings(record=True) as caught:
            warnings.simplefilter("always")
            start()
            gc.collect()
        self.assertEqual([one.category for one in caught], [ResourceWarning])

    def test_death_time_out_and_interruption(self) -> None:
        server = start(timeout=0.2)
        os.kill(server.pid, signal.SIGSTOP)
        with self.assertRaisesRegex(TimeoutError, "within 0.2 s"):
            server.v_Set("a", "late")
        os.kill(server.pid, signal.SIGCONT)
        self.assertEqual(server.v_Get("a").value, "late")

        server.timeout = 10
        os.kill(server.pid, signal.SIGSTOP)
        threading.Timer(0.1, os.kill, (os.getpid(), signal.SIGINT)).start()
        with self.assertRaises(KeyboardInterrupt):
            server.v_Set("a", "later")
        os.kill(server.pid, signal.SIGCONT)
        self.assertEqual(server.v_Get("a").value, "later", "the late answer is not taken for this one")

        for _ in range(4):  # three files can be open
            os.kill(server.pid, signal.SIGSTOP)
            threading.Timer(0.1, os.kill, (os.getpid(), signal.SIGINT)).start()
            threading.Timer(0.2, os.kill, (server.pid, signal.SIGCONT)).start()
            with self.assertRaises(KeyboardInterrupt):
                server.sections(EXAMPLES / "dict/kunden.dic")
        self.assertEqual(list(server.entries(EXAMPLES / "dict/kunden.dic", "catalog"))[0], ("KD", "KUNDE"))

        os.kill(server.pid, signal.SIGKILL)
        for _ in range(2):
            with self.assertRaisesRegex(vorlix.ServerDiedError, "signal 9"):
                server.v_Get("a")
        server.close()


class Threads(unittest.TestCase):
    def test_interrupts_at_any_moment(self) -> None:
        def interrupt(*_: Any) -> None:
            raise KeyboardInterrupt

        before = signal.signal(signal.SIGALRM, interrupt)
        self.addCleanup(signal.signal, signal.SIGALRM, before)
        server = start()
        for round in range(400):
            try:
                signal.setitimer(signal.ITIMER_REAL, 0.0001 + round % 20 * 0.00004)
                while True:
                    server.v_Set("round", str(round))
            except KeyboardInterrupt:
                self.assertEqual(server.v_Set("round", "end").code, 0)
        server.close()
        for round in range(60):  # as it starts
            try:
                signal.setitimer(signal.ITIMER_REAL, 0.0002 + round % 20 * 0.0001)
                start().close()
            except KeyboardInterrupt:
                continue
            finally:
                signal.setitimer(signal.ITIMER_REAL, 0)
        gc.collect()
        time.sleep(0.1)
        self.assertNotIn("vorlix.dll", subprocess.run(["ps", "--ppid", str(os.getpid())], capture_output=True, text=True).stdout)

    def test_close_meets_another_thread(self) -> None:
        def use(server: vorlix.Server) -> None:
            while not server.closed:
                try:
                    server.pid
                    server.fetch()
                except (vorlix.Error, ValueError):
                    continue

        for _ in range(6):
            server = start()
            thread = threading.Thread(target=use, args=(server,))
            thread.start()
            while not server.closed:
                try:
                    server.close()
                except vorlix.BusyError:
                    continue
            thread.join()

    def test_a_child_lets_go(self) -> None:
        with start() as server:
            child = os.fork()
            if child == 0:
                try:
                    server.v_Set("a", "the child's")
                except vorlix.BusyError:
                    server.close()
                    os._exit(0)
                os._exit(1)
            self.assertEqual(os.waitpid(child, 0)[1], 0)
            self.assertEqual(server.v_Set("a", "b").code, 0)

    def test_a_server_each(self) -> None:
        failures = []

        def work(number: int) -> None:
            with start() as server:
                for k in range(200):
                    server.v_Set("n", f"{number}.{k}")
                    if server.v_Get("n").value != f"{number}.{k}":
                        failures.append((number, k))

        threads = [threading.Thread(target=work, args=(number,)) for number in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(failures, [])

    def test_one_server_for_two(self) -> None:
        with start() as server:
            os.kill(server.pid, signal.SIGSTOP)
            threading.Timer(0.3, os.kill, (server.pid, signal.SIGCONT)).start()
            other = threading.Thread(target=lambda: server.v_Set("a", "b"))
            other.start()
            time.sleep(0.1)
            with self.assertRaises(vorlix.BusyError):
                server.v_Get("a")
            other.join()
            self.assertEqual(asyncio.run(asyncio.to_thread(server.v_Get, "a")).value, "b")


class Hosts(unittest.TestCase):
    def test_leave_nothing_behind(self) -> None:
        script = (
            "import os, vorlix\n"
            f"server = vorlix.Server(program={PROGRAM!r}, lang='C')\n"
            "print(server.pid, flush=True)\n"
            "child = os.fork()\n"
            "if child == 0: os._exit(0)\n"
            "os.waitpid(child, 0)\n"
            "server.v_Set('still', 'there')\n"
            "os._exit(0)\n"  # without any end
        )
        done = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True, check=True)
        server = int(done.stdout)
        deadline = time.monotonic() + 6
        while Path(f"/proc/{server}").exists() and time.monotonic() < deadline:
            time.sleep(0.05)
        self.assertFalse(Path(f"/proc/{server}").exists())

    def test_memory_stays_flat(self) -> None:
        calls = int(os.environ.get("VORLIX_CALLS_TO_PLACE", "4000"))
        with start() as server:
            def place(count: int) -> None:
                for _ in range(count):
                    server.v_Set("a", "b")
                    server.call("dict_MapID", "x", check=False)
            place(500)
            tracemalloc.start()
            before = tracemalloc.get_traced_memory()[0]
            resident = _resident()
            place(calls // 2)
            gc.collect()
            self.assertLess(tracemalloc.get_traced_memory()[0] - before, 50_000)
            tracemalloc.stop()
            self.assertLess(_resident() - resident, 4_000_000)


def _resident() -> int:
    return int(Path("/proc/self/statm").read_text().split()[1]) * os.sysconf("SC_PAGESIZE")


if __name__ == "__main__":
    unittest.main()
