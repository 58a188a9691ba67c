#!/usr/bin/python3
"""Figures of the running programs: start to the first sweep, resident memory, share of a core with one viewer."""
import argparse
import os
import pathlib
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "system"))
from instrument import Instrument  # noqa: E402


PROGRAMS = ("kva720", "kva720-board", "kva720-web")
SECONDS = 5


def cpu_seconds(pid):
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def resident_mb(pid):
    pages = int(pathlib.Path(f"/proc/{pid}/statm").read_text().split()[1])
    return pages * os.sysconf("SC_PAGE_SIZE") / 1e6


def first_sweep(instrument):
    """Waits until the trace holds levels of a whole sweep."""
    while min(instrument.trace()[1]) < -179:
        pass


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", required=True)
    build = parser.parse_args().build
    begin = time.monotonic()
    with Instrument(build) as instrument:
        first_sweep(instrument)
        print(f"start to first sweep, --fast: {time.monotonic() - begin:.2f} s")
        running = {name: instrument.pid_of(name) for name in PROGRAMS}
        before = {name: cpu_seconds(pid) for name, pid in running.items()}
        time.sleep(SECONDS)
        for name, pid in running.items():
            share = (cpu_seconds(pid) - before[name]) / SECONDS
            print(f"{name}: {resident_mb(pid):.1f} MB resident, {100 * share:.1f} % of a core, sweeps every 5 ms")


main()
