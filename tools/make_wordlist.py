#!/usr/bin/python3
"""Makes the instrument's word lists, or the headers with their entry order and with the program's texts, from the one
table of words.

    make_wordlist.py headers WORDS.tsv words_order.h texts.h
    make_wordlist.py lists WORDS.tsv FOLDER MEASURE_TEXT BOLD_FONT REGULAR_FONT

A word list is UTF-16LE: a byte-order mark, a line with the version, then three sections of records, each closed by a
line that begins with "!". A record is entry number, x, y, font, size and length, a comma after each, then the text.
"""

import subprocess
import sys
from pathlib import Path
from typing import NamedTuple

VERSION = "2.10"
LETTER_SPACING = 1  # pixels between glyphs, the renderer's setting while it reads the lists
BOLD, REGULAR = 2, 3

# Section, its enum, the name of its count, its number of entries.
SECTIONS = {
    "en": ("En_Name", "en_count", 860),
    "select": ("Select_Name", "select_count", 164),
    "cat": ("Cat_Name", "cat_count", 352),
}
# Texts that no word list holds: the program has them in all languages and finds them by the English one.
TEXTS = "text"
# These choices are set in a box of their own, not in the common one; no word has needed them so far.
RESERVED = {"select": {57, 58}}

# Language column, file, baseline of the status names.
LANGUAGES = [
    ("english", "wordlist.txt", 12),
    ("chinese_simplified", "wordlist_CS.txt", 13),
    ("russian", "wordlist_R.txt", 13),
    ("chinese_traditional", "wordlist_CT.txt", 13),
    ("japanese", "wordlist_J.txt", 13),
]
# The bold face has only these; the others are set in the regular one throughout, so that a page has one weight.
BOLD_LANGUAGES = {"english", "russian"}

BITMAP_WIDTH = 142


class Place(NamedTuple):
    """Where a text stands in its bitmap: the baseline and the rows and columns it may use, ends included."""

    baseline: int
    top: int
    bottom: int
    left: int
    right: int
    centred: bool
    arrow: bool = False
    smallest: int = 12  # size in pixels down to which a text is set smaller until it fits


PLACES = {
    "title": Place(baseline=21, top=0, bottom=28, left=1, right=140, centred=True, smallest=13),
    "value": Place(baseline=29, top=9, bottom=35, left=5, right=136, centred=True),
    "plain": Place(baseline=48, top=9, bottom=74, left=5, right=136, centred=True),
    "page": Place(baseline=48, top=9, bottom=74, left=5, right=136, centred=True, arrow=True),
    "choice": Place(baseline=13, top=0, bottom=15, left=0, right=65, centred=False, smallest=11),
    "status": Place(baseline=12, top=0, bottom=14, left=0, right=130, centred=False, smallest=11),
    # Texts of the program: name of an entry, attention message, mode and sweep state in the top line, what the sweep waits
    # for below it, unit.
    "entry": Place(baseline=12, top=0, bottom=14, left=0, right=237, centred=False),
    "message": Place(baseline=24, top=0, bottom=27, left=0, right=391, centred=False, smallest=13),
    "state": Place(baseline=13, top=0, bottom=17, left=0, right=84, centred=False),
    "wait": Place(baseline=13, top=0, bottom=17, left=0, right=125, centred=False),
    "unit": Place(baseline=13, top=0, bottom=16, left=0, right=60, centred=False),
}


class Entry(NamedTuple):
    number: int
    name: str
    place: str
    font: int
    size: int
    texts: dict


class Faulty(Exception):
    """The table of words cannot be used; the text says where and why."""


def read_words(path):
    """The entries of each section with their numbers, in order."""
    columns = None
    rows = {section: [] for section in (*SECTIONS, TEXTS)}
    for line_number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        if not line.strip() or line.startswith("#"):
            continue
        cells = line.split("\t")
        if columns is None:
            columns = cells
            continue
        where = f"{path}:{line_number}"
        if len(cells) > len(columns):
            raise Faulty(f"{where}: {len(cells)} columns, {len(columns)} expected")
        row = dict(zip(columns, cells + [""] * (len(columns) - len(cells))))
        if row["section"] not in rows:
            raise Faulty(f"{where}: no section {row['section']!r}")
        rows[row["section"]].append((where, row))

    names = set()
    texts = rows.pop(TEXTS)
    sections = {section: number_entries(section, section_rows, names) for section, section_rows in rows.items()}
    sections[TEXTS] = text_entries(texts)
    return sections


def text_entries(rows):
    """The program's texts, in the order of their bytes in English."""
    entries = {}
    for where, row in rows:
        if row["name"]:
            raise Faulty(f"{where}: a text has no name but its English one")
        entry = make_entry(0, where, row, f"text {row['english']!r}")
        if not entry.texts["english"] or entry.texts["english"] in entries:
            raise Faulty(f"{where}: {entry.name} is empty or there already")
        entries[entry.texts["english"]] = entry
    return [entries[english] for english in sorted(entries, key=str.encode)]


def number_entries(section, rows, names):
    count = SECTIONS[section][2]
    entries = []
    number = 0
    for index, (where, row) in enumerate(rows):
        if row["name"] == "...":
            first_of_the_last = count - (len(rows) - index - 1)
            if first_of_the_last < number:
                raise Faulty(f"{where}: more than {count} entries")
            number = first_of_the_last
            continue
        while number in RESERVED.get(section, ()):
            number += 1
        if number >= count:
            raise Faulty(f"{where}: more than {count} entries")
        entries.append(make_entry(number, where, row, take_name(section, where, row["name"], names)))
        number += 1
    return entries


def take_name(section, where, name, names):
    if not name.isidentifier() or not name.startswith(section) or name in names:
        raise Faulty(f"{where}: {name!r} is taken or is no name of section {section!r}")
    names.add(name)
    return name


def make_entry(number, where, row, name):
    if row["place"] not in PLACES:
        raise Faulty(f"{where}: {name}: no place {row['place']!r}")
    if row["font"] not in (str(BOLD), str(REGULAR)) or not row["size"].isdecimal():
        raise Faulty(f"{where}: {name}: font {row['font']!r} size {row['size']!r}")
    texts = {column: row[column] or row["english"] for column, _, _ in LANGUAGES}
    for text in texts.values():
        # "!" closes a section; a record counts UTF-16 characters, so none may need two.
        if any(character == "!" or not " " <= character <= "\uffff" for character in text):
            raise Faulty(f"{where}: {name}: a character of {text!r} cannot stand in a word list")
    return Entry(number, name, row["place"], int(row["font"]), int(row["size"]), texts)


def order_header(sections):
    lines = ["#pragma once", "", "/// Entry numbers of the words, in the order of the word lists' sections.", "",
             "namespace keys {", ""]
    for section, (enum, count_name, count) in SECTIONS.items():
        lines.append(f"enum {enum} : int {{")
        expected = None
        for entry in sections[section]:
            lines.append(f"    {entry.name}," if entry.number == expected else f"    {entry.name} = {entry.number},")
            expected = entry.number + 1
        lines += [f"    {count_name} = {count}", "};", ""]
    lines.append("}  // namespace keys")
    return "\n".join(lines) + "\n"


def quoted(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def texts_header(sections):
    """The program's own texts and, for what it says beside the menus, the words; of words alike in English the first."""
    rows = {}
    for section in (TEXTS, *SECTIONS):
        for entry in sections[section]:
            texts = [entry.texts[column] for column, _, _ in LANGUAGES]
            if len(set(texts)) > 1:
                rows.setdefault(texts[0], texts)
    in_order = sorted(rows.values(), key=lambda texts: texts[0].encode())
    lines = ["    {{" + ", ".join(map(quoted, texts)) + "}}," for texts in in_order]
    return "\n".join(["#pragma once", "#include <array>", "#include <string_view>", "",
                      "/// Texts in UTF-8, in the languages' order; sorted by the bytes of the English one.", "",
                      "namespace keys {", "",
                      "inline constexpr "
                      f"std::array<std::array<std::string_view, {len(LANGUAGES)}>, {len(lines)}> texts{{{{",
                      *lines, "}};", "", "}  // namespace keys"]) + "\n"


def write_header(path, text):
    """Leaves a header that is right already as it is, with its time."""
    if not path.exists() or path.read_text(encoding="utf-8") != text:
        path.write_text(text, encoding="utf-8")


def in_bold_face(text):
    """Whether the bold face, which has Latin and Cyrillic letters and common signs, has the whole text."""
    return all(character < "\u0500" or "\u2000" <= character < "\u2200" for character in text)


def with_arrow(text, font):
    return f"{text} \u203a" if font == BOLD else f"{text} >"


class Setting(NamedTuple):
    """One text of one language as it will be set."""

    entry: Entry
    language: int
    font: int
    size: int
    text: str


def settings(sections):
    for entries in sections.values():
        for entry in entries:
            for language, (column, _, _) in enumerate(LANGUAGES):
                text = entry.texts[column]
                bold = entry.font == BOLD and column in BOLD_LANGUAGES and in_bold_face(text)
                font = BOLD if bold else REGULAR
                if text and PLACES[entry.place].arrow:
                    text = with_arrow(text, font)
                yield Setting(entry, language, font, entry.size, text)


def measure(wanted, command):
    """Width, rows above and below the baseline, and missing characters of each setting."""
    requests = "".join(
        " ".join([str(s.font), str(s.size), str(LETTER_SPACING), *(f"{ord(c):x}" for c in s.text)]) + "\n"
        for s in wanted)
    answers = subprocess.run(command, input=requests, capture_output=True, text=True, check=False)
    if answers.returncode != 0:
        raise Faulty(answers.stderr.strip())
    return [tuple(map(int, line.split())) for line in answers.stdout.splitlines()]


def fitted(wanted, command):
    """Each setting with its extent, those that are too wide set smaller as far as their places allow."""
    result = list(zip(wanted, measure(wanted, command), strict=True))
    while True:
        smaller = {}
        for index, (setting, (width, *_)) in enumerate(result):
            place = PLACES[setting.entry.place]
            if width > place.right - place.left + 1 and setting.size > place.smallest:
                smaller[index] = setting._replace(size=setting.size - 1)
        if not smaller:
            return result
        for index, extent in zip(smaller, measure(smaller.values(), command), strict=True):
            result[index] = (smaller[index], extent)


def record(setting, extent, faults):
    """The record of one text; what does not fit its place is added to the faults."""
    entry, place = setting.entry, PLACES[setting.entry.place]
    width, above, below, missing = extent
    column, _, status_baseline = LANGUAGES[setting.language]
    baseline = status_baseline if entry.place == "status" else place.baseline
    x = (BITMAP_WIDTH - width) // 2 if place.centred else place.left
    # The renderer puts the first row of a glyph one row higher than its bearing says.
    first_row, last_row = baseline - above - 1, baseline + below - 2
    what = f"{entry.name}, {column}, {setting.text!r}"
    if missing:
        faults.append(f"{what}: {missing} characters are not in the face")
    if x < place.left or x + width - 1 > place.right:
        faults.append(f"{what}: {width} pixels wide, {place.right - place.left + 1} fit")
    if setting.text and (first_row < place.top or last_row > place.bottom):
        faults.append(f"{what}: rows {first_row} to {last_row} leave {place.top} to {place.bottom}")
    return f"{entry.number},{x},{baseline},{setting.font},{setting.size},{len(setting.text)},{setting.text}\r\n"


def blank(number):
    return f"{number},0,0,{REGULAR},12,0,\r\n"


def word_list(records):
    """One language's file from its records, by section and entry number."""
    text = f"V{VERSION}\r\n"
    # Labels end at the first number that has no label, so that the reader finds the "!" still ahead of it.
    text += "".join(records["en"].values()) + blank(SECTIONS["en"][2]) + "!\r\n"
    # Choices are read by their count, so each number has its record.
    text += "".join(records["select"].get(n, blank(n)) for n in range(SECTIONS["select"][2])) + "!\r\n"
    text += "".join(records["cat"].values()) + "!\r\n"
    return b"\xff\xfe" + text.encode("utf-16-le")


def make_lists(sections, folder, measure_command):
    wanted = list(settings(sections))
    faults = []
    lists = [{section: {} for section in SECTIONS} for _ in LANGUAGES]
    section_of = {entry.name: section for section, entries in sections.items() for entry in entries}
    for setting, extent in fitted(wanted, measure_command):
        line = record(setting, extent, faults)
        if setting.text and section_of[setting.entry.name] != TEXTS:
            lists[setting.language][section_of[setting.entry.name]][setting.entry.number] = line
    if faults:
        raise Faulty("\n".join(faults))
    for (_, file_name, _), records in zip(LANGUAGES, lists):
        (folder / file_name).write_bytes(word_list(records))


def main(arguments):
    if len(arguments) == 4 and arguments[0] == "headers":
        sections = read_words(Path(arguments[1]))
        write_header(Path(arguments[2]), order_header(sections))
        write_header(Path(arguments[3]), texts_header(sections))
    elif len(arguments) == 6 and arguments[0] == "lists":
        make_lists(read_words(Path(arguments[1])), Path(arguments[2]), arguments[3:])
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    try:
        main(sys.argv[1:])
    except (Faulty, OSError) as fault:
        sys.exit(f"{Path(sys.argv[0]).name}: {fault}")
