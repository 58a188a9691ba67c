#!/usr/bin/python3
"""Figures of the running programs, at the usual pace and with --fast: start to the first sweep, pictures that one viewer
gets and their sizes, share of a core of each program and its resident memory, key press to changed pixel."""
import argparse
import mmap
import os
import pathlib
import signal
import socket
import statistics
import subprocess
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "system"))
from instrument import Instrument, Local_Client, Raw_Client, processor_seconds  # noqa: E402


PROGRAMS = ("kva720", "kva720-board", "kva720-web")
SECONDS = 10


def resident_mb(pid):
    pages = int(pathlib.Path(f"/proc/{pid}/statm").read_text().split()[1])
    return pages * os.sysconf("SC_PAGE_SIZE") / 1e6


def first_sweep(instrument):
    """Waits until the trace holds levels of a whole sweep."""
    while True:
        status, body = instrument.request("/trace.csv")
        levels = [float(row.split(",")[1]) for row in body.decode().splitlines()[1:]] if status == 200 else []
        if levels and min(levels) > -179:
            return
        time.sleep(0.005)


def shares(running, work):
    """Share of a core of each program while work runs, in percent, and what work returned."""
    begin, before = time.monotonic(), {name: processor_seconds(pid) for name, pid in running.items()}
    result = work()
    took = time.monotonic() - begin
    return {name: 100 * (processor_seconds(pid) - before[name]) / took for name, pid in running.items()}, result


def key_to_pixel(instrument, presses=200):
    """Times in ms from a key on the local socket to the first changed pixel of the page's title, and of a question that
    the socket answers."""
    span, system = 1, 21
    first, last = 10 * 2400 + 656 * 3, 11 * 2400 + 798 * 3
    times, questions = [], []
    with open(os.path.join(instrument.root, "dev/fb/1"), "rb") as file, Local_Client(instrument.root) as client:
        screen = mmap.mmap(file.fileno(), 0, prot=mmap.PROT_READ)
        for press in range(presses):
            time.sleep(0.01 + press % 10 * 0.004)  # at any time of a sweep
            before, begin = screen[first:last], time.perf_counter()
            client.key((span, system)[press % 2])
            while screen[first:last] == before:
                if time.perf_counter() - begin > 10:
                    sys.exit("a key shows nothing")
            times.append(1e3 * (time.perf_counter() - begin))
            begin = time.perf_counter()
            client.state()
            questions.append(1e3 * (time.perf_counter() - begin))
    return sorted(times), sorted(questions)


def tune_and_transfer(port, rounds=50):
    """Medians in ms: a sweep awaited alone, and a new centre frequency, its whole sweep and its trace; sweep time in ms."""
    with socket.create_connection(("127.0.0.1", port)) as client, client.makefile("rb") as answers:
        def took(message):
            begin = time.perf_counter()
            client.sendall(message.encode() + b"\n")
            answer = answers.readline()
            return 1e3 * (time.perf_counter() - begin), answer

        sweep_time = 1e3 * float(took("INIT:CONT ON;:FREQ:CENT 100MHZ;SPAN 10MHZ;:SWE:TIME?")[1])
        took("*OPC?")
        alone = statistics.median(took("*OPC?")[0] for _ in range(rounds))
        tuned = statistics.median(took(f"FREQ:CENT {100 + turn}MHZ;*OPC?;:TRAC? TRAC1")[0] for turn in range(rounds))
        took("FREQ:SPAN:FULL;*OPC?")
    return sweep_time, alone, tuned


def watch(viewer, seconds):
    viewer.say(bytes([0x8A, 0x80, 0, 0, 0, 0]))  # a pong, so that nobody takes the viewer for lost
    return viewer.watch(seconds)


def row(name, figures, unit):
    print(f"  {name:<28}" + "".join(f"{program} {figures[program]:.1f} {unit}   " for program in PROGRAMS), flush=True)


def measure(build, fast):
    instrument = Instrument(build)
    if not fast:
        instrument.options.remove("--fast")
    begin = time.monotonic()
    with instrument:
        first_sweep(instrument)
        print(f"{'--fast' if fast else 'usual pace'}: {time.monotonic() - begin:.2f} s from start to first sweep")
        running = {name: instrument.pid_of(name) for name in PROGRAMS}
        row("no viewer", shares(running, lambda: time.sleep(SECONDS))[0], "%")
        with Raw_Client(instrument.http) as viewer:
            if viewer.upgrade() != 101:
                sys.exit("the page's web socket does not open")
            watch(viewer, 1)
            share, sizes = shares(running, lambda: watch(viewer, SECONDS))
            row("one viewer", share, "%")
            print(f"  {len(sizes) / SECONDS:.1f} pictures a second, bytes at least {min(sizes, default=0)}, "
                  f"median {statistics.median(sizes or [0]):.0f}, at most {max(sizes, default=0)}")
            os.kill(running["kva720"], signal.SIGSTOP)  # nobody draws any more
            try:
                watch(viewer, 1)
                share, sizes = shares(running, lambda: watch(viewer, SECONDS))
            finally:
                os.kill(running["kva720"], signal.SIGCONT)
            row("one viewer, still screen", share, "%")
            print(f"  {len(sizes) / SECONDS:.1f} pictures a second")
        times, questions = key_to_pixel(instrument)
        print(f"  key press to changed pixel: median {statistics.median(times):.1f} ms, "
              f"95 % within {times[len(times) * 95 // 100]:.1f} ms, at most {times[-1]:.1f} ms; "
              f"a question over the same socket {statistics.median(questions):.2f} ms", flush=True)
        row("resident", {name: resident_mb(pid) for name, pid in running.items()}, "MB")
        port = int(instrument.scpi.rpartition(":")[2])
        sweep_time, alone, tuned = tune_and_transfer(port)
        print(f"  tune and transfer of 601 points: {tuned:.1f} ms; sweep awaited {alone:.1f} ms; sweep time {sweep_time:.1f} ms")
        for state, message in (("sweeping", "INIT:CONT ON"), ("sweeps at rest", "INIT:CONT OFF")):
            with socket.create_connection(("127.0.0.1", port)) as client:
                client.sendall(f"{message};*OPC?\n".encode())
                client.recv(16)
            print(f"  raw socket and HiSLIP, {state}:", flush=True)
            hislip = instrument.hislip.rpartition(":")[2]
            subprocess.run([f"{build}/bin/wire", str(port), hislip], check=True)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", required=True)
    build = parser.parse_args().build
    for fast in (False, True):
        measure(build, fast)


main()
