#!/usr/bin/python3
"""Clients on all transports set and query at the same time while keys are pressed: each gets what it has set, the settings
agree, and nothing is left behind.

together_test.py --build DIR [--seconds SECONDS]
"""
import itertools
import json
import os
import random
import sys
import threading
import time

import pyvisa
from pyvisa_py.protocols import rpc, vxi11

import own_network
from hislip_client import Hislip, Hislip_Fault
from instrument import (PATIENCE, Failure, Instrument, Local_Client, Plain, expect, expect_same, local_state, parser_of,
                        verdict)

HOST = "127.0.0.1"
FAULTS = (Failure, Hislip_Fault, EOFError, OSError, pyvisa.Error, rpc.RPCError)

TRACE, MARKER, MARKER_TO, PEAK_SEARCH = 6, 16, 17, 18
KEYS = [TRACE, MARKER, PEAK_SEARCH, *range(32, 36), *b"0123456789", 100, 101, 119, 122]
# A setting of its own for each client, with its lowest and highest value.
SETTINGS = {
    "raw socket": (":CALC:MARK:PEAK:EXC", 1, 90),
    "second raw socket": (":DISP:TRAC:Y:RLEV:OFFS", -50, 50),
    "HiSLIP": (":AVER:COUN", 2, 900),
    "second HiSLIP": (":TRIG:SEQ:DEL", 0, 9),
    "VXI-11": (":FREQ:CENT:STEP", 1000, 900_000_000),
    "serial line": (":SWE:EGAT:DEL", 0, 9),
    "page": (":SWE:EGAT:LENG", 1, 9),
}
SPAN = "frequencies"


class Link:
    """A VXI-11 link; leaves remote control now and then, so that keys have their turn."""

    def __init__(self):
        self.core = vxi11.CoreClient(HOST, PATIENCE * 1000)
        self.core.sock.settimeout(2 * PATIENCE)
        self.lid = self.core.create_link(11, 0, 0, "inst0")[1]
        self.turns = 0

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.core.destroy_link(self.lid)
        self.core.close()

    def ask(self, text):
        patience = PATIENCE * 1000
        expect_same(self.core.device_write(self.lid, patience, patience, 8, text.encode())[0], 0, f"error of {text!r}")
        error, _, answer = self.core.device_read(self.lid, 8000, patience, patience, 0, 0)
        expect_same(error, 0, f"error of the answer to {text!r}")
        self.turns += 1
        if self.turns % 5 == 0:
            self.core.device_local(self.lid, 0, 0, patience)
        return answer.decode().rstrip("\n")


class Serial:
    """The serial line by the library that scripts use."""

    def __init__(self, root):
        self.line = pyvisa.ResourceManager("@py").open_resource(
            f"ASRL{os.path.realpath(root)}/dev/serial::INSTR", read_termination="\n", write_termination="\n",
            timeout=PATIENCE * 1000, baud_rate=9600)
        self.ask = self.line.query

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.line.close()


class Page:
    """The page's console."""

    def __init__(self, instrument):
        self.instrument = instrument

    def __enter__(self):
        return self

    def __exit__(self, *_):
        pass

    def ask(self, text):
        status, answer = self.instrument.request("/scpi", "POST", body=(text + "\n").encode())
        expect_same(status, 200, f"status of {text!r}")
        return answer.decode().rstrip("\n")


def clients_of(instrument):
    return {"raw socket": lambda: Plain(instrument.scpi), "second raw socket": lambda: Plain(instrument.scpi),
            "HiSLIP": lambda: Hislip(instrument.hislip), "second HiSLIP": lambda: Hislip(instrument.hislip),
            "VXI-11": Link, "serial line": lambda: Serial(instrument.root), "page": lambda: Page(instrument),
            SPAN: lambda: Plain(instrument.scpi)}


def set_and_ask(client, name, chance):
    header, least, most = SETTINGS[name]
    value = chance.randint(least, most)
    answer = client.ask(f"{header} {value};{header}?")
    expect_same(float(answer), float(value), f"{header} of the {name}")


def tune(client, _, chance):
    """Whatever is asked for, the four frequencies agree."""
    asked = chance.choice((f"CENT {chance.randint(0, 3250)} MHZ", f"SPAN {chance.randint(1, 4_000_000)} KHZ",
                           f"STAR {chance.randint(0, 3250)} MHZ", f"STOP {chance.randint(0, 3250)} MHZ"))
    answer = client.ask(f":FREQ:{asked};STAR?;CENT?;STOP?;SPAN?")
    start, centre, stop, span = map(float, answer.split(";"))
    expect(start <= centre <= stop and abs(stop - start - span) <= 1 and abs(start + stop - 2 * centre) <= 2,
           f"{asked}: {start} to {stop} around {centre}, span {span}")


def press_keys(instrument, chance):
    with Local_Client(instrument.root) as panel:
        panel.key(chance.choice(KEYS))


def memory_kb(pid):
    with open(f"/proc/{pid}/statm", encoding="ascii") as file:
        return int(file.read().split()[1]) * os.sysconf("SC_PAGE_SIZE") // 1024


def work_together(instrument, seconds):
    """How often each came through."""
    end, counts, faults = time.monotonic() + seconds, {}, []

    def guarded(name, turn):
        try:
            for counts[name] in itertools.count(1):
                turn()
                if time.monotonic() > end or faults:
                    return
        except FAULTS as fault:
            faults.append(f"{name}: {fault!r}")

    def talk(name, opened):
        chance = random.Random(name)
        with opened() as client:
            guarded(name, lambda: (tune if name == SPAN else set_and_ask)(client, name, chance))

    def press():
        chance = random.Random("keys")
        guarded("keys", lambda: (press_keys(instrument, chance), time.sleep(0.01)))

    workers = [threading.Thread(target=talk, args=item) for item in clients_of(instrument).items()]
    workers.append(threading.Thread(target=press))
    for worker in workers:
        worker.start()
    for worker in workers:
        worker.join()
    expect(not faults, "; ".join(faults))
    expect_same(len(counts), len(workers), "workers that came through")
    return counts


def main():
    parser = parser_of(__doc__)
    parser.add_argument("--seconds", type=float, default=8)
    arguments = parser.parse_args()
    own_network.enter()

    def work():
        with Instrument(arguments.build, "--rpcbind") as instrument:
            expect(instrument.vxi11, "no VXI-11")
            pid = instrument.pid_of("kva720")
            work_together(instrument, 1)  # what grows to its size
            threads, memory = len(os.listdir(f"/proc/{pid}/task")), memory_kb(pid)
            counts = work_together(instrument, arguments.seconds)
            print(json.dumps(counts), f"{memory} kB before, {memory_kb(pid)} kB after", flush=True)
            expect_same(len(os.listdir(f"/proc/{pid}/task")), threads, "threads")
            with Plain(instrument.scpi) as raw:
                expect_same(raw.ask("*CLS;*RST;*OPC?"), "1", "the end of a sweep afterwards")
                expect_same(raw.ask("SYST:ERR?"), '0,"No error"', "the error queue")
            expect(local_state(instrument)["remote"], "not under remote control")

    return verdict(work)


if __name__ == "__main__":
    sys.exit(main())
