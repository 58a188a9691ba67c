#!/usr/bin/python3
"""The front panel in a browser, used as a person would: keys, screen, trace, power.

front_panel_test.py --build DIR [--recording FILE] [--keep DIR]
"""
import argparse
import base64
import contextlib
import os
import re
import struct
import subprocess
import sys
import tempfile
import time

from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By

from instrument import Failure, Instrument

# Where the screen shows the values: left, top, right, bottom.
CENTER_BAND = (10, 511, 260, 530)
SPAN_BAND = (420, 511, 612, 530)
GRATICULE = (10, 58, 610, 508)
SCREEN = (0, 0, 800, 600)

PATIENCE = 20  # s for what the instrument should show next

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


def expect(truth, text):
    if not truth:
        raise Failure(text)


def await_that(what, check):
    """Waits until check gives something true and returns it; its last word goes into the failure."""
    limit = time.monotonic() + PATIENCE
    while not (value := check()):
        expect(time.monotonic() < limit, what() if callable(what) else what)
        time.sleep(0.1)
    return value


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


def check_trace_moves(panel):
    before = panel.grab(GRATICULE)
    await_that("the trace stands still", lambda: panel.grab(GRATICULE) != before)


def check_screen_image(instrument):
    status, body = instrument.request("/screen.png")
    expect(status == 200, f"/screen.png answered {status}")
    expect(body[:8] == b"\x89PNG\r\n\x1a\n", "/screen.png is no PNG file")
    size = struct.unpack(">II", body[16:24])
    expect(size == (800, 600), f"/screen.png is {size[0]} by {size[1]}")


def check_strangers(instrument, panel):
    """Another site's page would press the Frequency key and enter 1 GHz."""
    before = instrument.trace()[0]
    for code in (0, 32, ord("1"), 32):
        status, _ = instrument.request(f"/key/{code}", "POST", {"Origin": "http://evil.example"})
        expect(status == 403, f"a key from another origin is answered {status}")
    time.sleep(0.5)
    expect(instrument.trace()[0] == before, "keys from another origin moved the trace")
    expect_shown(panel, CENTER_BAND, "Center", 433.92)


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
    checks = [
        ("live screen", lambda: check_live_screen(instrument, panel)),
        ("centre frequency by keys", lambda: check_center(instrument, panel)),
        ("span by keys", lambda: check_span(instrument, panel)),
        ("moving trace", lambda: check_trace_moves(panel)),
        ("screen image", lambda: check_screen_image(instrument)),
        ("other origins", lambda: check_strangers(instrument, panel)),
        ("power key", lambda: check_power(instrument, panel)),
    ]
    for name, check in checks:
        begin = time.monotonic()
        try:
            check()
        except Failure as failure:
            raise Failure(f"{name}: {failure}") from None
        print(f"{name}: passed ({time.monotonic() - begin:.1f} s)", flush=True)
    expect(not panel.faults(), f"the browser complained: {panel.faults()}")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", required=True, help="build folder with bin/kva720-run")
    parser.add_argument("--recording", help="input of the virtual receiver")
    parser.add_argument("--keep", help="folder for the page's picture when a check fails")
    arguments = parser.parse_args()
    options = ["--recording", os.path.abspath(arguments.recording)] if arguments.recording else []
    try:
        with Instrument(arguments.build, *options) as instrument, browser() as driver:
            panel = Panel(driver, instrument.url)
            try:
                run(instrument, panel)
            except Exception:
                if arguments.keep:
                    os.makedirs(arguments.keep, exist_ok=True)
                    driver.save_screenshot(os.path.join(arguments.keep, "front_panel.png"))
                raise
    except Failure as failure:
        print(f"FAILED: {failure}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
