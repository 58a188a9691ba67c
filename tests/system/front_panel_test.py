#!/usr/bin/python3
"""The front panel in a browser, used as a person would: keys, screen, trace, power.

front_panel_test.py --build DIR [--recording FILE] [--keep DIR]
"""
import base64
import contextlib
import os
import re
import subprocess
import sys
import tempfile
import time

from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

from instrument import (PATIENCE, Failure, Instrument, Raw_Client, await_that, expect, parser_of, run_checks,
                        verdict)

# Where the screen shows the values: left, top, right, bottom.
CENTER_BAND = (10, 511, 260, 530)
SPAN_BAND = (420, 511, 612, 530)
GRATICULE = (10, 58, 610, 508)
SCREEN = (0, 0, 800, 600)

# A part of the canvas, enlarged, dark on white as readers of print like it: a PNG file in base64.
CROP = """
const [left, top, right, bottom] = arguments[0], scale = arguments[1], invert = arguments[2];
const part = document.createElement("canvas");
part.width = (right - left) * scale;
part.height = (bottom - top) * scale;
const context = part.getContext("2d");
context.imageSmoothingQuality = "high";
if (invert) context.filter = "grayscale(1) invert(1) contrast(1.4)";
context.drawImage(document.getElementById("screen"), left, top, right - left, bottom - top, 0, 0, part.width,
                  part.height);
return part.toDataURL("image/png").split(",")[1];
"""

# How many different colours a part of the canvas has.
COLOURS = """
const [left, top, right, bottom] = arguments[0];
const context = document.getElementById("screen").getContext("2d");
const data = context.getImageData(left, top, right - left, bottom - top).data;
return new Set(new Uint32Array(data.buffer)).size;
"""


@contextlib.contextmanager
def browser():
    with tempfile.TemporaryDirectory(prefix="kva720-browser-", ignore_cleanup_errors=True) as profile:
        options = Options()
        options.binary_location = "/usr/bin/chromium"
        for argument in ("--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                         "--disable-background-networking", "--disable-component-update", "--disable-sync",
                         "--disable-dev-shm-usage", "--window-size=1280,800", f"--user-data-dir={profile}"):
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        driver = webdriver.Chrome(options=options, service=Service("/usr/bin/chromedriver"))
        try:
            yield driver
        finally:
            driver.quit()


class Panel:
    """The page in the browser."""

    def __init__(self, driver, url):
        self.driver = driver
        driver.get(url + "/")

    def press(self, *names):
        for name in names:
            self.driver.find_element(By.CSS_SELECTOR, f'button[aria-label="{name}"]').click()

    def type(self, digits):
        self.press(*[{".": "Decimal point", "-": "Minus sign"}.get(digit, digit) for digit in digits])

    def grab(self, band=SCREEN, scale=1, invert=False):
        return base64.b64decode(self.driver.execute_script(CROP, band, scale, invert))

    def colours(self, band=SCREEN):
        return self.driver.execute_script(COLOURS, band)

    def read(self, band):
        """The text in a band of the screen, read as a person reads it."""
        answer = subprocess.run(["tesseract", "stdin", "stdout", "--psm", "7"], input=self.grab(band, 4, True),
                                capture_output=True, check=True)
        return answer.stdout.decode().strip()

    def field(self, name):
        return self.driver.find_element(By.ID, f"set-{name}")

    def enter(self, name, text):
        """Types into a field and presses Enter, without waiting for what becomes of it."""
        field = self.field(name)
        field.click()
        field.send_keys(text, Keys.ENTER)

    def value(self, name):
        return self.field(name).get_attribute("value")

    def refused(self, name):
        return self.field(name).get_attribute("aria-invalid") == "true"

    def notice(self):
        element = self.driver.find_element(By.ID, "notice")
        return element.text if element.is_displayed() else ""

    def banner(self):
        element = self.driver.find_element(By.ID, "banner")
        return element.text if element.is_displayed() else ""

    def faults(self):
        """What the browser complained about, but for connections that ended with the instrument."""
        return [entry["message"] for entry in self.driver.get_log("browser")
                if entry["level"] == "SEVERE" and "WebSocket" not in entry["message"]]


def number_in(text):
    """The first number of a text in which spaces group digits; None when there is none."""
    match = re.search(r"[0-9][0-9 .]*", text)
    digits = match.group().replace(" ", "").rstrip(".") if match else ""
    return float(digits) if digits.count(".") <= 1 and digits else None


def enter(panel, key, value, unit_key):
    panel.press(key, "Soft key 1")
    panel.type(value)
    panel.press(f"Soft key {unit_key}")


def expect_shown(panel, band, label, value):
    text = ""

    def shown():
        nonlocal text
        text = panel.read(band)
        return label.lower() in text.lower() and number_in(text) == value and "MHz" in text

    await_that(lambda: f"the screen shows {text!r} and not {label} {value} MHz", shown)


def expect_frequencies(instrument, first, last):
    got = ()

    def right():
        nonlocal got
        frequencies, _ = instrument.trace()
        got = (len(frequencies), frequencies[0], frequencies[-1])
        return len(frequencies) == 601 and abs(frequencies[0] - first) < 1 and abs(frequencies[-1] - last) < 1

    await_that(lambda: f"/trace.csv holds (points, first, last) {got} and not {(601, first, last)}", right)


def span_from_trace(instrument):
    frequencies, _ = instrument.trace()
    return frequencies[-1] - frequencies[0]


def check_live_screen(instrument, panel):
    await_that("the screen stays blank", lambda: panel.colours() > 8)
    await_that("no graticule on the screen", lambda: panel.colours(GRATICULE) > 2)
    expect(panel.banner() == "", f"the page says {panel.banner()!r}")
    state = instrument.request("/state.json")
    expect(b'"on"' in state[1], f"/state.json answers {state}")


def check_center(instrument, panel):
    enter(panel, "Frequency", "433.92", 2)
    expect_shown(panel, CENTER_BAND, "Center", 433.92)
    # Full span round 433.92 MHz is cut at 0 Hz; what the trace covers has the centre in its middle.
    half = span_from_trace(instrument) / 2
    expect_frequencies(instrument, 433.92e6 - half, 433.92e6 + half)


def check_span(instrument, panel):
    enter(panel, "Span", "2", 2)
    expect_shown(panel, SPAN_BAND, "Span", 2)
    expect_frequencies(instrument, 432.92e6, 434.92e6)


def expect_value(panel, name, text):
    await_that(lambda: f"the field {name} shows {panel.value(name)!r} and not {text!r}", lambda: panel.value(name) == text)


def check_fields(instrument, panel):
    """Typed values, and what a key press does to a field; nothing typed in a field is a key."""
    expect_value(panel, "center", "433.92 MHz")
    panel.enter("center", "0.9 GHz")
    expect_value(panel, "center", "900 MHz")
    expect_shown(panel, CENTER_BAND, "Center", 900)
    panel.enter("span", "500k")
    expect_value(panel, "span", "500 kHz")
    expect_frequencies(instrument, 899.75e6, 900.25e6)
    panel.enter("reference", "-20")
    expect_value(panel, "reference", "-20 dBm")

    panel.enter("center", "fast 7")
    await_that("a frequency that is none is not marked", lambda: panel.refused("center"))
    expect(panel.notice() == "Not a frequency", f"the page says {panel.notice()!r}")
    expect(panel.value("center") == "fast 7", "the refused text is gone")
    panel.field("center").send_keys(Keys.F1, Keys.ESCAPE)
    expect(panel.value("center") == "900 MHz" and not panel.refused("center"), "Escape did not bring the value back")

    panel.press("Frequency")
    expect(instrument.request("/set/center", "POST", body=b"433.92")[0] == 204, "a script cannot set the center")
    expect_value(panel, "center", "433.92 MHz")
    for path, value, wanted in (("center", b"433.92 V", 400), ("colour", b"1", 400), ("span", b"2M", 204)):
        status, _ = instrument.request(f"/set/{path}", "POST", body=value)
        expect(status == wanted, f"{value} for {path} is answered {status}")
    expect_value(panel, "span", "2 MHz")
    panel.driver.refresh()
    expect_value(panel, "center", "433.92 MHz")


def check_hostile(instrument, panel):
    """Requests and frames that no page sends are refused, and nobody else notices."""
    def status(text, patience=15):
        with Raw_Client(instrument.http, patience) as client:
            client.say(text)
            return client.answer()

    host = f"Host: {instrument.http}\r\n"
    for garbage in (b"\0" * 100, b"GET\r\n\r\n", b"GET / HTTP/9\r\n\r\n", b"\xff\xfe / HTTP/1.1\r\n\r\n",
                    f"GET / HTTP/1.1\r\n{host}X: {'x' * 100000}\r\n\r\n"):
        try:
            got = status(garbage)
        except (ConnectionError, TimeoutError) as refusal:
            expect(not isinstance(refusal, TimeoutError), f"{garbage[:20]!r} is neither answered nor refused")
            got = 0
        expect(got == 0 or got >= 400, f"{garbage[:20]!r} is answered {got}")

    with contextlib.ExitStack() as stack:
        def client():
            return stack.enter_context(Raw_Client(instrument.http))

        slow = [client() for _ in range(8)]
        for one in slow:
            one.say(f"POST /set/center HTTP/1.1\r\n{host}Content-Length: 9\r\n\r\n1")
        drip, begin = client(), time.monotonic()
        drip.say(f"GET / HTTP/1.1\r\n{host}X: ")
        for one in slow:
            got = one.answer()
            expect(got == 408, f"a body that does not come is answered {got}")
        try:
            while time.monotonic() < begin + PATIENCE:
                drip.say("x")
                time.sleep(0.2)
            raise Failure("headers that never end are waited for")
        except ConnectionError:
            pass
    expect(panel.banner() == "", f"the page says {panel.banner()!r}")
    check_trace_moves(panel)


def check_lost_connection(instrument, panel):
    """The page says so and comes back by itself."""
    panel.driver.execute_script("WebSocket.prototype.send = function () { this.close(); }")
    panel.press("Frequency")
    await_that("the page does not say that the connection is lost", lambda: "lost" in panel.banner())
    await_that(lambda: f"the page still says {panel.banner()!r}", lambda: panel.banner() == "")
    expect_value(panel, "center", "433.92 MHz")
    panel.driver.refresh()
    await_that("the screen stays blank", lambda: panel.colours() > 8)


def check_trace_moves(panel):
    before = panel.grab(GRATICULE)
    await_that("the trace stands still", lambda: panel.grab(GRATICULE) != before)


def check_power(instrument, panel):
    panel.press("Power", "Cancel")
    time.sleep(0.5)
    expect(instrument.process.poll() is None, "Cancel turned the instrument off")
    panel.press("Power", "Turn off")
    status = instrument.await_end()
    expect(status == 0, f"the instrument ended with status {status}; it said: {instrument.errors}")
    expect(not instrument.processes_left(), f"processes left: {instrument.processes_left()}")
    expect(not instrument.leftovers(), f"left below the root: {instrument.leftovers()}")
    await_that(lambda: f"the page says {panel.banner()!r}", lambda: panel.banner() == "The instrument is off")


def run(instrument, panel):
    run_checks({
        "live screen": lambda: check_live_screen(instrument, panel),
        "centre frequency by keys": lambda: check_center(instrument, panel),
        "span by keys": lambda: check_span(instrument, panel),
        "moving trace": lambda: check_trace_moves(panel),
        "fields": lambda: check_fields(instrument, panel),
        "hostile requests": lambda: check_hostile(instrument, panel),
        "lost connection": lambda: check_lost_connection(instrument, panel),
        "power key": lambda: check_power(instrument, panel),
    }, faults=())
    expect(not panel.faults(), f"the browser complained: {panel.faults()}")


def main():
    parser = parser_of(__doc__)
    parser.add_argument("--recording", help="input of the virtual receiver")
    parser.add_argument("--keep", help="folder for the page's picture when a check fails")
    arguments = parser.parse_args()
    options = ["--recording", os.path.abspath(arguments.recording)] if arguments.recording else []

    def work():
        with Instrument(arguments.build, *options) as instrument, browser() as driver:
            panel = Panel(driver, instrument.url)
            try:
                run(instrument, panel)
            except Exception:
                if arguments.keep:
                    os.makedirs(arguments.keep, exist_ok=True)
                    driver.save_screenshot(os.path.join(arguments.keep, "front_panel.png"))
                raise

    return verdict(work)


if __name__ == "__main__":
    sys.exit(main())
