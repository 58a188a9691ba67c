#!/usr/bin/python3
"""Walks all pages of the menu by keys, in every language; leaves a contact sheet of each in the build folder's sheets/.

menu_walk_test.py --build DIR [--language NAME ...] [--every-key]

The walk in English finds the pages, the other languages are walked the same ways. Checked of each page: it has a title,
no text is cut, nothing overlaps, no two labels say the same, and each enabled key does something that can be seen; in the
other languages only keys that open pages are pressed, unless all are wanted.
"""
import argparse
import collections
import concurrent.futures
import functools
import io
import math
import os
import sys
import time
from typing import NamedTuple

import numpy as np
from PIL import Image, ImageDraw, ImageFont

from instrument import Failure, Instrument, Local_Client, expect, verdict

LANGUAGES = ["english", "chinese_simplified", "russian", "chinese_traditional", "japanese"]
AT_ONCE = 2  # instruments

SPAN, PRESET, DIGIT = 1, 22, ord("5")
SOFT = range(32, 39)
HARD = range(22)  # those that have pages
LANGUAGE_PAGE = (21, 37)

# Ways that are not taken: they end the instrument.
NEVER = {
    (21, 38, 37, 32, 32): "shuts down",
    (21, 38, 37, 33, 32): "starts anew",
}
# What makes a key do something visible that else has nothing to do.
BEFORE = {
    (21, 34, 34, 33, 34): (ord("7"),),  # a letter for Clear of the web password
}
# What undoes a key's work that Preset leaves.
AFTER = {
    (7, 35, DIGIT, 32): (*b"100", 32),  # full brightness
}
# Ways to pages that stand only while something runs; they are seen, but not walked.
FLEETING = {
    (3, 32): "automatic setting",
}
# Pages that the families are known to have at least, by hard key.
LEAST_PAGES = {0: 2, 1: 2, 2: 6, 3: 1, 4: 1, 5: 1, 6: 1, 7: 2, 8: 3, 9: 1, 10: 8, 11: 5, 13: 1, 14: 1, 15: 1, 16: 1,
               17: 1, 18: 1, 19: 1, 20: 1, 21: 17}

# The column of soft keys: its place, and rows and columns of a key.
COLUMN_X, COLUMN_WIDTH, TITLE_ROWS = 656, 142, 29
KEY_Y, KEY_PITCH, KEY_ROWS = 22, 77, 84
BODY = slice(7, 77)
INSIDE = (70, 60)  # a pixel of the picture
INK_ROWS, INK_COLUMNS = slice(9, 75), slice(4, 138)  # where texts may stand
LABEL = slice(9, 39)  # rows that a label has for itself where something stands below it
FORCE_ROWS, FORCE_COLUMNS = slice(26, 58), slice(8, 12)  # the bar of the setting in force
BESIDE_FORCE = slice(6, 15)
# Parts of the screen that change by themselves.
GRATICULE = (slice(58, 509), slice(10, 612))
CLOCK = (slice(3, 21), slice(142, 320))
AVERAGES = (slice(45, 57), slice(12, 126))

VALUE, MARK, GRID = (0xe8, 0xec, 0xef), (0xff, 0xd2, 0x4a), (0x27, 0x31, 0x3a)
BLUE, LABEL_LEVEL, GREYED_LEVEL = 2, 180, 146  # how bright labels are
ENABLED_LABEL = 165  # what the label of a greyed key nowhere reaches
TITLE_LEVEL = 112
INK = 40  # how far ink is off the key's picture at least
ALIKE = 0.35  # less than this is the cover of a pixel off between two drawings of a label

PATIENCE = 15  # s for what must come
SOON = 1.0  # s within which a key does something
SHORTLY = 0.3  # s within which a digit does, where it does anything
PAUSE = 0.004  # s between looks


class Look(NamedTuple):
    """The screen at one time."""

    page: "Page"
    video: np.ndarray  # what is left of the column
    text: np.ndarray
    grid: int  # pixels of the graticule's grid
    backlight: bytes


class Screen:
    """What stands in the frame buffers of an instrument."""

    def __init__(self, root):
        devices = os.path.join(root, "dev")
        self.video = np.memmap(os.path.join(devices, "fb/1"), np.uint8, "r", shape=(600, 800, 3))
        self.text = np.memmap(os.path.join(devices, "fb/0"), np.uint16, "r", shape=(600, 800))
        self.backlight = os.path.join(devices, "backlight")
        pictures = os.path.join(root, "mnt/nand/picture")
        self.released, self.pressed = (
            np.asarray(Image.open(os.path.join(pictures, name)).convert("RGB")).astype(np.int16)
            for name in ("key_off.jpg", "key_on.jpg"))

    def column(self):
        return np.array(self.video[:, COLUMN_X:COLUMN_X + COLUMN_WIDTH])

    def page(self):
        return Page(self, self.column())

    def look(self):
        with open(self.backlight, "rb") as file:
            backlight = file.read()
        return Look(self.page(), outside(self.video[:, :COLUMN_X], GRATICULE), outside(self.text, CLOCK, AVERAGES),
                    same(self.video[GRATICULE], GRID).sum(), backlight)


def outside(layer, *parts):
    rest = np.array(layer)
    for part in parts:
        rest[part] = 0
    return rest


def same(pixels, colour):
    red, green, blue = colour
    return (pixels[..., 0] == red) & (pixels[..., 1] == green) & (pixels[..., 2] == blue)


class Page:
    """A page of the menu as its column shows it."""

    def __init__(self, screen, column):
        self.screen, self.column = screen, column
        self.keys = [column[y:y + KEY_ROWS] for y in range(KEY_Y, KEY_Y + KEY_PITCH * len(SOFT), KEY_PITCH)]
        self.there = [key for key, area in enumerate(self.keys) if area[INSIDE].any()]

    @functools.cached_property
    def title(self):
        return self.column[:TITLE_ROWS, :, 1] > TITLE_LEVEL

    @functools.cached_property
    def enabled(self):
        return [key for key in self.there if self._bright(self.keys[key][INK_ROWS, INK_COLUMNS] > ENABLED_LABEL)]

    @staticmethod
    def _bright(channels):
        return (channels[..., 0] & channels[..., 1] & channels[..., 2]).any()

    @functools.cached_property
    def highlighted(self):
        pressed, released = self.screen.pressed, self.screen.released
        return [key for key in self.there if self._edge(key, pressed) < self._edge(key, released)]

    def _edge(self, key, picture):
        """How far a key's left edge is off that of a picture."""
        edge = (BODY, slice(INK_COLUMNS.start))
        return np.abs(self.keys[key][edge].astype(np.int16) - picture[edge]).sum()

    @functools.cache
    def ink(self, key):
        """Where something other than a key's picture stands in its area."""
        if key not in self.there:
            return np.zeros((KEY_ROWS, COLUMN_WIDTH), bool)
        picture = self.screen.pressed if key in self.highlighted else self.screen.released
        ink = np.abs(self.keys[key].astype(np.int16) - picture).max(axis=2) > INK
        if key == 0:
            ink[:TITLE_ROWS - KEY_Y] = False  # the title's lowest rows
        return ink

    @functools.cache
    def label(self, key):
        """How far the label covers each pixel, alike whether the key is highlighted, greyed or neither."""
        highlighted = key in self.highlighted
        part = (LABEL, slice(BESIDE_FORCE.stop, INK_COLUMNS.stop))
        picture = (self.screen.pressed if highlighted else self.screen.released)[part][..., BLUE]
        full = 255 if highlighted else LABEL_LEVEL if key in self.enabled else GREYED_LEVEL
        return (self.keys[key][part][..., BLUE] - picture) / (full - picture)

    def is_like(self, other):
        """True for the same page, whatever it highlights and whatever values it shows."""
        if np.array_equal(self.column, other.column):
            return True
        if self.there != other.there or (self.title != other.title).any():
            return False
        return all((np.abs(self.label(key) - other.label(key)) < ALIKE).all() for key in self.there)

    @functools.cache
    def face(self, key):
        """The values and marks of a key, where they have their full colour."""
        return (same(self.keys[key], VALUE) | same(self.keys[key], MARK)) & self.ink(key)

    def in_force(self, key):
        """True for the one of several settings that is chosen."""
        return key in self.highlighted or self.face(key)[FORCE_ROWS, FORCE_COLUMNS].all()

    def has_face_of(self, other):
        return self.enabled == other.enabled and all(
            np.array_equal(self.face(key), other.face(key)) for key in self.there)


def difference(before, after):
    """What of the screen is not as it was, in a word; empty for a mere highlight."""
    page, was = after.page, before.page
    if not np.array_equal(page.column, was.column):
        if not page.is_like(was):
            return "page"
        if not page.has_face_of(was):
            return "face"
        if was.highlighted and page.highlighted != was.highlighted:
            return "choice"
    if after.backlight != before.backlight:
        return "back-light"
    for layer in ("text", "video"):
        if not np.array_equal(getattr(after, layer), getattr(before, layer)):
            return layer
    return "graticule" if abs(after.grid - before.grid) > max(after.grid, before.grid) / 2 else ""


def name_of(path):
    return ", ".join(f"soft key {code - 31}" if code in SOFT else chr(code) if code == DIGIT else f"key {code}"
                     for code in path)


class Walker:
    """One instrument, walked in one language."""

    def __init__(self, instrument, language, every_key):
        self.instrument, self.language, self.every_key = instrument, language, every_key
        self.link = Local_Client(instrument.root)
        self.screen = Screen(instrument.root)
        self.pages = {}  # by the way to it
        self.images = {}  # of the whole screen with the page, PNG files
        self.opened = {}  # what each way showed that opens a page, whether new or not
        self.keys = 0
        self.faults = []

    # Pressing and seeing

    def press(self, code):
        end = time.monotonic() + PATIENCE
        while not self.link.key(code):
            expect(time.monotonic() < end, f"key {code} is not taken")
            time.sleep(PAUSE)

    def settle(self):
        """Where a change is seen, its key has the records; the answer comes when they are free again."""
        self.link.state()

    def press_and_see(self, code):
        """The page after a key that changes the column; None when nothing changes soon."""
        before, end = self.screen.column(), time.monotonic() + SOON
        self.press(code)
        while np.array_equal(self.screen.column(), before):
            if time.monotonic() > end:
                return None
            time.sleep(PAUSE)
        self.settle()
        return self.screen.page()

    def press_towards(self, code, page, patience=PATIENCE):
        """Presses a key that leads to a known page; False when that doesn't come."""
        end = time.monotonic() + patience
        self.press(code)
        while time.monotonic() < end:
            if self.screen.page().is_like(page):
                self.settle()
                if self.screen.page().is_like(page):
                    return True
            time.sleep(PAUSE)
        return False

    def press_and_compare(self, code, patience=SOON):
        """What a key makes of the screen, in a word, and the screen then."""
        before, begin, seen = self.screen.look(), time.monotonic(), None
        self.press(code)
        while (now := time.monotonic()) < begin + patience:
            after = self.screen.look()
            if seen is None and difference(before, after):
                seen = now
            # Values can change by themselves; that the key was the cause is sure once the column has changed.
            if not np.array_equal(after.page.column, before.page.column) or seen and now > seen + SHORTLY:
                self.settle()
                after = self.screen.look()
                if difference(before, after):
                    return difference(before, after), after
            time.sleep(PAUSE)
        return "", self.screen.look()

    # Ways

    def begin(self):
        """Sets the language, and sees the frequency page that Preset shows."""
        for code in (*LANGUAGE_PAGE, SOFT[LANGUAGES.index(self.language)]):
            self.press_and_see(code)
        start = self.press_and_see(PRESET)
        expect(start, "Preset shows nothing")
        self.pages[(0,)] = start

    def preset(self):
        """Begins anew. The frequency page is left before, so that its coming is seen."""
        start = self.pages[(0,)]
        if self.screen.page().is_like(start):
            expect(self.press_and_see(SPAN), "the Span key shows nothing")
        expect(self.press_towards(PRESET, start), "Preset does not show the frequency page")

    def go(self, path):
        """Takes a way whose pages are known, but for the last one; False when another page comes."""
        for step, code in enumerate(path, 1):
            known = self.pages.get(path[:step])
            if known is None:
                self.press_and_see(code)
            elif not self.press_towards(code, known, SOON):
                return False
        return True

    def reach(self, path):
        """The page at the end of a way, as it is after Preset."""
        self.preset()
        expect(self.go(path) or self.preset() or self.go(path), f"{name_of(path)} does not lead where it led before")
        return self.screen.page()

    def known_way(self, page):
        return next((path for path, known in self.pages.items() if page.is_like(known)), None)

    # Looking

    def fault(self, path, text):
        self.faults.append(f"{self.language}: {name_of(path)}: {text}")

    def check(self, path, page):
        """That a page can be read."""
        if not page.title.any():
            self.fault(path, "there is no title")
        if page.title[:, [0, -1]].any() or page.title[[0, -1]].any():
            self.fault(path, "the title is cut")
        for key in page.there:
            ink, face = page.ink(key), page.face(key)
            if not (ink & ~face).any():
                self.fault(path, f"key {key + 1} has no label")
            inside = np.zeros_like(ink)
            inside[INK_ROWS, INK_COLUMNS] = True
            if (ink & ~inside).any():
                self.fault(path, f"a text of key {key + 1} is cut or leaves the key")
            if face[FORCE_ROWS, FORCE_COLUMNS].all():
                ink, face = ink.copy(), face.copy()
                ink[FORCE_ROWS, FORCE_COLUMNS] = face[FORCE_ROWS, FORCE_COLUMNS] = False
                if ink[FORCE_ROWS, BESIDE_FORCE].any():
                    self.fault(path, f"the bar of key {key + 1} touches its label")
            if face.any() and (face[:LABEL.stop].any() or (ink & ~face)[LABEL.stop - 3:LABEL.stop].any()):
                self.fault(path, f"the label of key {key + 1} and what stands below it overlap")

    def check_first_sight(self, path, page):
        self.check(path, page)
        alike = self.known_way(page)
        if alike not in (None, path):
            self.fault(path, f"the page cannot be told from the one at {name_of(alike)}")
        for other, key in ((a, b) for b in page.there for a in page.there if a < b):
            if not (page.ink(key) ^ page.ink(other)).any():
                self.fault(path, f"keys {other + 1} and {key + 1} say the same")

    # Walking

    def try_key(self, path, key):
        """Presses a key of the page at a way: what it makes of the screen, and the screen then."""
        for code in BEFORE.get(path + (SOFT[key],), ()):
            self.press_and_compare(code)
        found, after = self.press_and_compare(SOFT[key])
        if not found:  # a key that selects first and switches then
            found, after = self.press_and_compare(SOFT[key])
        if not found and after.page.in_force(key):
            return self.choose_after_another(path, key)
        return found, after

    def choose_after_another(self, path, key):
        """What is in force already is seen to be chosen after another choice."""
        for other in self.screen.page().enabled:
            if other == key:
                continue
            if self.press_and_compare(SOFT[other])[0] in ("choice", "face"):
                return self.press_and_compare(SOFT[key])
            self.go(path) or self.reach(path)
        return "", self.screen.look()

    def walk_key(self, path, key, plan):
        """Presses an enabled key of the page at a way; of one that begins an entry, also a digit."""
        self.keys += 1
        way = path + (SOFT[key],)
        self.go(path) or self.reach(path)
        found, after = self.try_key(path, key)
        if not found or plan and way not in FLEETING and (way in plan.opened) != (found == "page"):
            self.reach(path)
            found, after = self.try_key(path, key)
        if not found:
            return self.fault(way, "does nothing that can be seen")
        for code in AFTER.get(way, ()):
            self.press_and_compare(code)
        if way in FLEETING:
            return
        if found == "page":
            self.opened[way] = after.page
            return
        self.check(way, after.page)
        way += (DIGIT,)
        if DIGIT in path or (plan and way not in plan.opened):
            return
        found, after = self.press_and_compare(DIGIT, SOON if plan else SHORTLY)
        if found == "page":
            self.opened[way] = after.page

    def walk_page(self, path, plan):
        page = self.reach(path)
        self.check_first_sight(path, page)
        self.pages[path] = page
        self.images[path] = self.instrument.request("/screen.png")[1]
        if path == LANGUAGE_PAGE:
            self.walk_languages(page)
        for key in page.enabled:
            way = path + (SOFT[key],)
            switches_language = path == LANGUAGE_PAGE and key < len(LANGUAGES)
            if self.wanted(way, plan) and not switches_language and way not in NEVER:
                self.walk_key(path, key, plan)

    def wanted(self, way, plan):
        """Whether a key is pressed: each in the walk that finds the pages, else each that opens one. What a digit opens
        is looked at where it was found first."""
        return self.every_key or not plan or way in plan.opened or way + (DIGIT,) in plan.pages

    def walk_languages(self, page):
        """Each language shows words of its own at once; the walk's own comes last."""
        seen = [page]
        own = LANGUAGES.index(self.language)
        for key in [*(key for key in range(len(LANGUAGES)) if key != own), own]:
            shown = self.press_and_see(SOFT[key])
            if not shown or shown.highlighted != [key] or key != own and any(shown.is_like(other) for other in seen):
                self.fault(LANGUAGE_PAGE, f"key {key + 1} does not change the language")
            seen.append(shown or page)
        if not seen[-1].is_like(page):
            self.fault(LANGUAGE_PAGE, "a language does not come back as it was")

    def find(self):
        """Walks all pages that can be found from the hard keys on."""
        ways = collections.deque((code,) for code in HARD)
        while ways:
            path = ways.popleft()
            if path not in self.opened and path != (0,):
                self.reach(path)
                self.opened[path] = self.screen.page()
            if path != (0,) and self.known_way(self.opened[path]):
                continue
            before = set(self.opened)
            self.walk_page(path, None)
            ways += [way for way in self.opened if way not in before]

    def follow(self, plan):
        """Walks the pages that another walk has found; they open from the same keys."""
        for path in plan.pages:
            self.walk_page(path, plan)
        for path in plan.opened:
            if len(path) == 1 and path not in self.opened:
                self.reach(path)
                self.opened[path] = self.screen.page()
        for way in sorted({*plan.opened, *self.opened}):
            if way not in self.opened and (len(way) == 1 or way[-1] == DIGIT and not self.wanted(way[:-1], plan)):
                continue
            if way not in plan.opened or way not in self.opened:
                self.fault(way, f"opens a page only in {self.language if way in self.opened else plan.language}")
                continue
            there = way if way in plan.pages else plan.known_way(plan.opened[way])
            if not self.opened[way].is_like(self.pages[there]):
                self.fault(way, f"opens another page than in {plan.language}")


def walk(build, language, plan=None, every_key=True):
    begin = time.monotonic()
    with Instrument(build) as instrument:
        walker = Walker(instrument, language, every_key)
        try:
            walker.begin()
            walker.follow(plan) if plan else walker.find()
        except (Failure, OSError) as failure:
            walker.faults.append(f"{language}: {failure}")
        if instrument.process.poll() is not None:
            walker.faults.append(f"{language}: the instrument ended; it said: {instrument.errors}")
    print(f"{language}: {len(walker.pages)} pages, {walker.keys} keys ({time.monotonic() - begin:.0f} s)", flush=True)
    return walker


# Contact sheets

SHEET_WIDTH, CAPTION, GAP, GROUND = 12, 18, 8, (48, 48, 56)


def contact_sheet(walker):
    """All columns of a language at their size, and below them the screens of the families' first pages at half size."""
    columns = [(path, Image.open(io.BytesIO(image)).convert("RGB")) for path, image in walker.images.items()]
    small = [(path, image.resize((400, 300), Image.LANCZOS)) for path, image in columns if len(path) == 1]
    big = [(path, image.crop((COLUMN_X - 2, 0, 800, 600))) for path, image in columns]
    parts = [tiles(big, SHEET_WIDTH), tiles(small, 4)]
    sheet = Image.new("RGB", (max(part.width for part in parts), sum(part.height for part in parts)), GROUND)
    y = 0
    for part in parts:
        sheet.paste(part, (0, y))
        y += part.height
    return sheet


def tiles(images, across):
    font = ImageFont.load_default()
    width, height = images[0][1].width + GAP, images[0][1].height + CAPTION
    sheet = Image.new("RGB", (across * width, math.ceil(len(images) / across) * height), GROUND)
    draw = ImageDraw.Draw(sheet)
    for index, (path, image) in enumerate(images):
        x, y = index % across * width, index // across * height
        draw.text((x + 2, y + 3), " ".join(map(str, path)), font=font, fill=(255, 255, 255))
        sheet.paste(image, (x, y + CAPTION))
    return sheet


def save_sheets(folder, walkers):
    os.makedirs(folder, exist_ok=True)
    for walker in walkers:
        if walker.images:
            contact_sheet(walker).save(os.path.join(folder, f"{walker.language}.png"))
    print(f"contact sheets: {folder}")


def check_families(walker):
    for code, least in LEAST_PAGES.items():
        count = sum(path[0] == code for path in walker.pages)
        if count < least:
            walker.faults.append(f"{walker.language}: {count} pages of the family of key {code}, not {least}")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", required=True, help="build folder with bin/kva720-run")
    parser.add_argument("--language", nargs="*", choices=LANGUAGES, default=LANGUAGES, help="beside English")
    parser.add_argument("--every-key", action="store_true", help="also in the other languages")
    arguments = parser.parse_args()

    def work():
        plan = walk(arguments.build, LANGUAGES[0])
        check_families(plan)
        with concurrent.futures.ThreadPoolExecutor(AT_ONCE) as pool:
            others = pool.map(lambda language: walk(arguments.build, language, plan, arguments.every_key),
                              [language for language in arguments.language if language != plan.language])
            walkers = [plan, *others]
        save_sheets(os.path.join(arguments.build, "sheets"), walkers)
        faults = [fault for walker in walkers for fault in walker.faults]
        expect(not faults, "\n".join(faults))

    return verdict(work)


if __name__ == "__main__":
    sys.exit(main())
