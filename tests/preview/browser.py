"""The preview that lives, as a person meets it in a browser, and as programs do that should not: browser.py EXAMPLES [PICTURE]

With a picture the page is only shown, for docs/preview.md. Needs VORLIX (the program), and AXE, the script of axe-core,
for the look at accessibility.
"""

from __future__ import annotations

import json
import os
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time
import unittest
import urllib.error
import urllib.request
from pathlib import Path
from typing import Any

from selenium import webdriver
from selenium.common.exceptions import NoSuchElementException, StaleElementReferenceException
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import Select, WebDriverWait

EXAMPLES = Path(sys.argv.pop(1))
PICTURE = sys.argv.pop(1) if len(sys.argv) > 1 else ""
KINDS = Path(__file__).with_name("kinds.dic")


class Preview:
    """`vorlix preview --serve` over copies of files."""

    def __init__(self, *options: str, file: str = "kunden.dic", port: str = "0") -> None:
        self.directory = Path(tempfile.mkdtemp())
        for source in (*(EXAMPLES / "dict").iterdir(), KINDS):
            shutil.copy(source, self.directory)
        self.process = subprocess.Popen(
            [os.environ["VORLIX"], *options, "preview", self.directory / file, "--serve", port],
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
        )
        assert self.process.stdout
        self.address = self.process.stdout.readline().strip()
        self.host = self.address.split("/")[2] if "/" in self.address else ""

    def end(self) -> None:
        self.process.send_signal(signal.SIGINT)
        self.process.wait(10)
        assert self.process.stdout
        self.process.stdout.close()
        shutil.rmtree(self.directory)

    def servers(self) -> int:
        told = subprocess.run(["pgrep", "-c", "-P", str(self.process.pid)], capture_output=True, text=True)
        return int(told.stdout)

    def ask(self, call: str, body: bytes | dict[str, Any], **headers: str) -> tuple[int, dict[str, Any]]:
        data = body if isinstance(body, bytes) else json.dumps(body).encode()
        request = urllib.request.Request(self.address + call, data, headers)
        try:
            with urllib.request.urlopen(request, timeout=30) as answer:
                return answer.status, json.load(answer)
        except urllib.error.HTTPError as refused:
            text = refused.read().decode()
            return refused.code, json.loads(text) if text.startswith("{") else {}


def browser() -> webdriver.Chrome:
    options = webdriver.ChromeOptions()
    options.binary_location = shutil.which("chromium") or ""
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--hide-scrollbars", "--window-size=1000,900"):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
    return webdriver.Chrome(options=options, service=Service(shutil.which("chromedriver") or ""))


class Page(unittest.TestCase):
    driver: webdriver.Chrome

    @classmethod
    def setUpClass(cls) -> None:
        cls.driver = browser()

    @classmethod
    def tearDownClass(cls) -> None:
        cls.driver.quit()

    def open(self, *options: str, file: str = "kunden.dic") -> Preview:
        preview = Preview(*options, file=file)
        self.addCleanup(preview.end)
        self.driver.get(preview.address)
        self.until(lambda: self.driver.find_elements(By.CLASS_NAME, "field"))
        return preview

    def until(self, happens: Any, seconds: float = 5) -> None:
        drawn_anew = (StaleElementReferenceException, NoSuchElementException)
        WebDriverWait(self.driver, seconds, 0.02, drawn_anew).until(lambda _: happens())

    def field(self, name: str, dialog: str = "D01KUNDE") -> Any:
        return self.driver.find_element(By.ID, f"field-{dialog}.{name}")

    def answer(self, name: str, dialog: str = "D01KUNDE") -> str:
        return str(self.driver.find_element(By.ID, f"field-{dialog}.{name}-answer").text)

    def type(self, name: str, text: str, dialog: str = "D01KUNDE") -> str:
        """Types with the keyboard; what the page answers."""
        field = self.field(name, dialog)
        field.send_keys(Keys.CONTROL + "a")
        field.send_keys(text or Keys.DELETE)
        output = self.driver.find_element(By.ID, f"field-{dialog}.{name}-answer")
        self.until(lambda: output.get_attribute("data-about") == text)
        return str(output.text)

    def test_types_into_each_kind_of_field(self) -> None:
        rows: dict[str, list[tuple[str, str, str]]] = {
            "C": [
                ("umsatz", "12a", '"a" is not allowed: VALID is [0-9.,-]*'),
                ("name", "12a", "stored as 12a"),
                ("umsatz", "1234.5", "shows as      1234.50, stored as 1234.5"),
                ("umsatz", "1,5", '"," does not belong there in this language'),
                ("umsatz", "1 2", '" " is not allowed: VALID is [0-9.,-]*'),
                ("limit", "50001", "only 0 to 50000 is accepted"),
                ("limit", "", "nothing was typed: shows as"),
                ("name", "", "refused: must be filled in"),
                ("name", "x" * 31, "cut to the length of the field"),
                ("kunde_seit", "30.02.26", time.strftime("not a date; a valid one is %d.%m.%y")),
                ("kunde_seit", "24.12.26", "stored as 20261224"),
            ],
            "de_DE": [
                ("umsatz", "1234,5", "shows as      1234,50, stored as 1234.5"),
                ("name", "Köhler", "stored as Köhler"),
                ("name", "日", "does not have"),
            ],
        }
        for language, typed in rows.items():
            self.open("--lang", language)
            for name, text, told in typed:
                self.assertIn(told, self.type(name, text), f"{name} {text} in {language}")
        self.type("umsatz", "12a4")
        self.assertEqual([mark.text for mark in self.driver.find_elements(By.TAG_NAME, "mark")], ["a"])

    def test_other_kinds(self) -> None:
        self.open("--lang", "C", file="kinds.dic")
        dialog = "D01KINDS<b>&"
        self.assertIn("KINDS<b>&", self.driver.find_element(By.TAG_NAME, "h2").text)
        self.assertIn("must be filled in", self.type("number", "", dialog))
        self.assertIn("only -5 to 99.5", self.type("number", "100", dialog))
        self.assertIn("not a number of the value type S, which holds -999999 to 999999", self.type("number", "1000000", dialog))
        self.assertIn("not a number", self.type("number", "1-", dialog))
        self.assertIn("stored as <B>", self.type("upper", "<b>", dialog))
        self.field("check", dialog).send_keys(Keys.SPACE)
        self.until(lambda: "stored as 0" in self.answer("check", dialog))
        self.field("radio", dialog).find_elements(By.TAG_NAME, "input")[2].send_keys(Keys.SPACE)
        self.until(lambda: "shows as 4" in self.answer("radio", dialog))

    def test_language_switch(self) -> None:
        self.open("--lang", "C")
        Select(self.driver.find_element(By.ID, "language")).select_by_value("de_DE")
        self.until(lambda: self.field("umsatz").get_attribute("value") == "0,00")

    def test_follows_the_files(self) -> None:
        preview = self.open("--lang", "C")
        file = preview.directory / "kunden.dic"
        good = file.read_bytes()
        self.type("name", "Meier")
        self.field("gesperrt").send_keys(Keys.SPACE)
        seconds = []
        for length in (7, 8, 9):
            begun = time.monotonic()
            file.write_bytes(good.replace(b"FLEN=30\nFREQ=1", b"FLEN=%d\nFREQ=1" % length))
            self.until(lambda: f" {length}ch" in (self.field("name").get_attribute("style") or ""))
            seconds.append(time.monotonic() - begun)
        self.assertLess(min(seconds), 0.5)
        self.assertEqual(self.field("name").get_attribute("value"), "Meier", "what was typed stays")
        self.assertTrue(self.field("gesperrt").is_selected(), "and what was chosen")
        file.write_bytes(good + b"NONSENSE=1\n")
        findings = self.driver.find_element(By.ID, "findings")
        self.until(lambda: "VX201" in findings.text, 3)
        self.assertIn("refuses", self.driver.find_element(By.ID, "state").text)
        self.assertTrue(self.field("umsatz").is_displayed(), "the last good dialog stays")
        model = preview.directory / "muster.dic"
        model.write_bytes(model.read_bytes().replace(b"FTYP=N", b"FTPY=N"))
        self.until(lambda: "muster.dic:4: error VX201: there is no attribute FTPY" in findings.text, 3)
        shutil.copy(EXAMPLES / "dict" / "muster.dic", model)
        file.write_bytes(good.replace(b"[kd.limit]", b"[kd.limit]\nERLAUBT=x"))
        self.until(lambda: "VX502" in self.driver.find_element(By.ID, "forms").text, 3)

    def test_script_does_the_same(self) -> None:
        preview = self.open("--lang", "de_DE")
        self.type("umsatz", "1234,5")
        status, page = preview.ask("open", {"language": "de_DE"})
        status, answer = preview.ask(
            "type", {"page": page["page"], "dialog": "D01KUNDE", "field": "name", "text": "Köhler"})
        self.assertEqual(status, 200)
        run = subprocess.run([os.environ["VORLIX"], "run", "-"], input=answer["script"], text=True, capture_output=True)
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertIn("scan_Text", run.stdout)

    def test_good_manners(self) -> None:
        self.driver.get("about:blank")
        for log in ("browser", "performance"):  # what earlier pages did is not of interest
            self.driver.get_log(log)
        preview = self.open("--lang", "C")
        self.type("umsatz", "12a")
        if "AXE" in os.environ:
            self.driver.execute_script(Path(os.environ["AXE"]).read_text())
            found = self.driver.execute_async_script("axe.run().then(arguments[0])")
            serious = [one for one in found["violations"] if one["impact"] in ("serious", "critical")]
            self.assertEqual(serious, [])
        self.assertEqual([one for one in self.driver.get_log("browser")], [])
        asked = [json.loads(entry["message"])["message"] for entry in self.driver.get_log("performance")]
        urls = [one["params"]["request"]["url"] for one in asked if one["method"] == "Network.requestWillBeSent"]
        self.assertEqual([url for url in urls if not url.startswith((preview.address, "data:"))], [])
        self.driver.get("about:blank")
        self.until(lambda: preview.servers() == 0)


    def test_gets_a_new_server(self) -> None:
        preview = self.open("--lang", "C")
        subprocess.run(["pkill", "-KILL", "-P", str(preview.process.pid)], check=True)
        self.field("name").send_keys("x")
        self.until(lambda: "accepted" in self.answer("name"))
        self.assertEqual(preview.servers(), 1)


class Programs(unittest.TestCase):
    def setUp(self) -> None:
        self.preview = Preview()
        self.addCleanup(self.preview.end)
        self.page = self.preview.ask("open", {"language": "C"})[1]["page"]

    def still_serves(self) -> None:
        told = self.preview.ask("type", {"page": self.page, "dialog": "D01KUNDE", "field": "name", "text": "a"})
        self.assertEqual((told[0], told[1]["stored"]), (200, "a"))

    def test_that_should_not(self) -> None:
        typed = {"page": self.page, "dialog": "D01KUNDE", "field": "nosuch", "text": "a"}
        rows: list[tuple[str, bytes | dict[str, Any], dict[str, str], int]] = [
            ("open", {}, {"Host": "evil.example"}, 403),
            ("open", {}, {"Origin": "http://evil.example"}, 403),
            ("type", b"{", {}, 400),
            ("type", b"[]", {}, 400),
            ("type", b'{"page": 1}', {}, 400),
            ("type", b"\xff\xfe", {}, 400),
            ("type", {"page": "x"}, {}, 404),
            ("type", typed, {}, 400),
            ("type", {**typed, "field": "name", "text": "\0"}, {}, 200),
            ("open", {"language": "xx_YY"}, {}, 400),
            ("nosuch", {}, {}, 404),
        ]
        for call, body, headers, status in rows:
            self.assertEqual(self.preview.ask(call, body, **headers)[0], status, f"{call} {body!r} {headers}")
        with self.assertRaisesRegex(urllib.error.HTTPError, "403"):  # no token
            urllib.request.urlopen(f"http://{self.preview.host}/preview.js")
        self.still_serves()

    def test_names_of_other_letters(self) -> None:
        file = self.preview.directory / "kunden.dic"
        file.write_bytes(b"[catalog]\nKD=K\xe4se\n[kd.stra\xdfe]\nPATH=s\nFTYP=T\nFLEN=9\n")
        (self.preview.directory / "vorlix.ini").write_text("[check]\nlanguage=de_DE\n")
        for language, name in (("C", r'"stra\xdfe"'), ("de_DE", "straße"), ("", "straße")):
            shown = self.preview.ask("open", {"language": language})[1]
            form = shown["forms"][0]
            self.assertEqual(form["fields"][0]["name"], name)
            typed = {"page": shown["page"], "dialog": form["id"], "field": name, "text": "ß" if language == "" else "s"}
            told = self.preview.ask("type", typed)[1]
            run = subprocess.run([os.environ["VORLIX"], "run", "-"], input=told["script"], text=True, capture_output=True)
            self.assertEqual((told["accepted"], run.returncode), (True, 0), run.stderr)

    def test_that_end_it_early(self) -> None:
        for moment in range(20):
            preview = subprocess.Popen(
                [os.environ["VORLIX"], "preview", self.preview.directory / "kunden.dic", "--serve"],
                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            )
            time.sleep(moment / 500)
            preview.terminate()
            self.assertNotEqual(preview.wait(30), 0)

    def test_that_want_the_port(self) -> None:
        other = Preview(port=self.preview.host.split(":")[1])
        self.addCleanup(other.end)
        self.assertIn("Address already in use", other.address)

    def test_that_send_too_much(self) -> None:
        with socket.create_connection(self.preview.host.split(":")) as connection:  # 100 MB are announced
            path = self.preview.address.split(self.preview.host)[1]
            connection.sendall(f"POST {path}type HTTP/1.1\r\nHost: {self.preview.host}\r\nContent-Length: 100000000\r\n\r\n".encode())
            try:
                for _ in range(100):
                    connection.sendall(b"x" * 1_000_000)
            except OSError:
                pass
        self.still_serves()
        statuses: list[int] = []

        def open_page() -> None:
            try:
                statuses.append(self.preview.ask("open", {})[0])
            except OSError:
                statuses.append(0)  # refused by the system

        threads = [threading.Thread(target=open_page) for _ in range(1000)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertLessEqual(statuses.count(200), 15)
        self.assertLessEqual(set(statuses), {0, 200, 503})
        self.still_serves()
        self.assertLessEqual(self.preview.servers(), 16)


def take_picture() -> None:
    preview = Preview("--lang", "de_DE")
    driver = browser()
    try:
        driver.get(preview.address)
        WebDriverWait(driver, 30).until(lambda d: d.find_elements(By.CLASS_NAME, "field"))
        for name, text in (("name", "12a"), ("umsatz", "12a"), ("limit", "1234,5"), ("kunde_seit", "30.02.26")):
            field = driver.find_element(By.ID, f"field-D01KUNDE.{name}")
            field.send_keys(Keys.CONTROL + "a")
            field.send_keys(text)
        time.sleep(0.5)
        driver.save_screenshot(PICTURE)
    finally:
        driver.quit()
        preview.end()


if __name__ == "__main__":
    if PICTURE:
        take_picture()
    else:
        unittest.main()
