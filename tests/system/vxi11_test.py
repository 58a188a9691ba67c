#!/usr/bin/python3
"""Remote control over VXI-11 by the clients that people use, with a port mapper and a network of the test's own.

vxi11_test.py --build DIR [--only TEXT]
"""
import contextlib
import os
import pathlib
import re
import signal
import subprocess
import sys
import threading
import time

import pyvisa
from pyvisa_py.protocols import rpc, vxi11

import own_network
from hislip_client import Hislip, Hislip_Fault
from instrument import (PATIENCE, QUIET, Failure, Instrument, Plain, await_that, checks_of, expect, expect_same,
                        local_state, parser_of, run_checks, stopped_board, verdict)

HOST = "127.0.0.1"
LINKS, SESSIONS, SOCKETS = 16, 16, 32
WAIT_LOCK, END = 1, 8
PATIENCE_MS = PATIENCE * 1000
FAULTS = (Failure, Hislip_Fault, EOFError, OSError, pyvisa.Error, rpc.RPCError)


class Link:
    """A link of the script library's VXI-11 client, below its sessions."""

    def __init__(self, name="inst0", lock=0):
        self.core = vxi11.CoreClient(HOST, PATIENCE_MS)
        self.core.sock.settimeout(2 * PATIENCE)
        self.error, self.lid, self.abort_port, self.size = self.core.create_link(7, lock, PATIENCE_MS, name)

    def __enter__(self):
        expect_same(self.error, 0, "error of the new link")
        return self

    def __exit__(self, *_):
        self.core.destroy_link(self.lid)
        self.vanish()

    def vanish(self):
        self.core.close()

    def write(self, text, flags=END):
        return self.core.device_write(self.lid, PATIENCE_MS, PATIENCE_MS, flags, text.encode())[0]

    def read(self, time_ms=PATIENCE_MS, count=8000):
        error, reason, data = self.core.device_read(self.lid, count, time_ms, PATIENCE_MS, 0, 0)
        return error, reason, data.decode()

    def ask(self, text):
        expect_same(self.write(text), 0, f"error of {text!r}")
        error, reason, data = self.read()
        expect_same((error, reason & 4), (0, 4), f"error and end of the answer to {text!r}")
        return data.rstrip("\n")

    def lock(self, flags=WAIT_LOCK):
        return self.core.device_lock(self.lid, flags, PATIENCE_MS)

    def unlock(self):
        return self.core.device_unlock(self.lid)

    def do(self, what, flags=0):
        """clear, remote, local or trigger."""
        return getattr(self.core, f"device_{what}")(self.lid, flags, 0, PATIENCE_MS)

    def status(self):
        return self.core.device_read_stb(self.lid, 0, 0, PATIENCE_MS)


def registered():
    """The port of each program and protocol that the port mapper knows."""
    listing = subprocess.run(["rpcinfo", "-p", HOST], capture_output=True, text=True, timeout=PATIENCE).stdout
    return {(int(number), protocol): int(port) for number, protocol, port in
            re.findall(r"^ +(39518[345]) +1 +(tcp|udp) +(\d+)", listing, re.MULTILINE)}


def ports_of(instrument):
    return dict(line.split() for line in pathlib.Path(instrument.root, "tmp/vxi11_ports").read_text().splitlines())


def log_of(instrument):
    return pathlib.Path(instrument.root, "var/log/kva720.log").read_text()


def lxi(*arguments):
    run = subprocess.run(["lxi", *arguments], capture_output=True, text=True, timeout=4 * PATIENCE)
    expect_same(run.returncode, 0, f"status of lxi {arguments}, which said {run.stderr!r}")
    return run.stdout


def identity_of(instrument):
    with Plain(instrument.scpi) as raw:
        return raw.ask("*IDN?")


def check_registration(instrument):
    expect(instrument.vxi11, "the ready line says that VXI-11 is off")
    ports = ports_of(instrument)
    tcp, udp = (int(ports[name].rpartition(":")[2]) for name in ("tcp", "udp"))
    wanted = {(program, protocol): port for program in (395183, 395184, 395185)
              for protocol, port in (("tcp", tcp), ("udp", udp))}
    expect_same(registered(), wanted, "what the port mapper knows")
    expect(all(address.startswith("127.0.0.1:") for address in ports.values()), f"listening at {ports}")


def check_command_line_client(instrument):
    expect_same(lxi("scpi", "-t", str(PATIENCE), "-a", HOST, "*IDN?").rstrip("\n"), identity_of(instrument), "lxi scpi")
    figures = lxi("benchmark", "-a", HOST, "-c", "200")
    expect(re.search(r"[1-9][0-9.]* requests/second", figures), f"lxi benchmark said {figures!r}")


def check_library(instrument):
    manager = pyvisa.ResourceManager("@py")
    resource = manager.open_resource(f"TCPIP::{HOST}::INSTR", timeout=PATIENCE_MS)
    expect(isinstance(manager.visalib.sessions[resource.session].interface, vxi11.CoreClient), "another protocol")
    expect_same(resource.query("*IDN?").rstrip("\n"), identity_of(instrument), "identification")
    resource.write(":FREQ:CENT 100 MHZ;SPAN 20 MHZ;:INIT:CONT OFF")
    resource.write(":INIT:IMM")
    expect_same(resource.query("*OPC?"), "1\n", "*OPC? of a single sweep")
    levels = resource.query(":TRACe? TRACe1")
    expect_same(levels.count(","), 600, "commas of a trace, read in pieces")
    with Plain(instrument.scpi) as raw:
        expect_same(raw.ask(":TRACe? TRACe1"), levels.rstrip("\n"), "the trace over the raw socket")
    resource.write("*IDN?")
    expect_same(resource.read_stb() & 16, 16, "message available")
    resource.clear()
    expect_same(resource.read_stb() & 16, 0, "message available after a clear")
    resource.write(":INIT:CONT ON")
    expect_same(resource.query("SYST:ERR?"), '0,"No error"\n', "the error queue")
    resource.close()
    for name, code in (("inst1", 3), ("gpib0", 1)):
        stranger = Link(name)
        expect_same(stranger.error, code, f"error of {name}")
        stranger.vanish()


def check_locks(_):
    with Link() as holder, Link() as other:
        expect_same(holder.lock(), 0, "lock")
        expect_same((other.write("*TST?"), other.do("clear"), holder.do("clear"), other.unlock()), (11, 11, 11, 11),
                    "errors while it is held")
        taken = []
        waiting = threading.Thread(target=lambda: taken.append(other.lock()))
        waiting.start()
        for _ in range(10):
            expect_same(holder.ask("*TST?"), "0", "the holder's messages while another waits")
        expect(not taken, "a lock that is held was given away")
        expect_same(holder.unlock(), 0, "unlock")
        waiting.join(2 * PATIENCE)
        expect_same(taken, [0], "the lock after the unlock")
        expect_same((holder.lock(0), other.unlock(), other.unlock()), (11, 0, 12), "the others' ends")


def check_waits_and_clear(instrument):
    with Link() as link, Link() as other, Plain(instrument.scpi) as raw:
        with stopped_board(instrument):
            written = []
            writer = threading.Thread(target=lambda: written.append(link.write("*OPC?")))
            writer.start()
            time.sleep(QUIET)
            expect(not written, "*OPC? ended without a sweep")
            raw.say("*TST?\n")
            expect_same((other.lock(), other.unlock()), (0, 0), "others while a command waits")
            expect(raw.silent(0.2), "a message passed the one that waits")
            expect_same(other.do("clear"), 0, "clear")
            writer.join(PATIENCE)
            expect_same(written, [0], "the command that waited")
            expect_same(raw.line(), "0", "the others' turn")
            expect_same(link.read(1000)[0], 15, "an answer that the clear should have dropped")
        expect_same(link.ask("*OPC?"), "1", "*OPC? afterwards")


def check_remote_and_local(instrument):
    def remote():
        return local_state(instrument)["remote"]

    with Link() as link:
        await_that("not under remote control", remote)
        expect_same(link.do("local"), 0, "local")
        await_that("still under remote control", lambda: not remote())
        link.status()
        expect(not remote(), "remote control by a status query")
        expect_same(link.do("remote"), 0, "remote")
        await_that("not under remote control", remote)
        refused = link.do("trigger"), link.core.device_enable_srq(link.lid, 1, b"srq")
        expect_same(refused, (8, 8), "what isn't supported")


def check_many_clients(instrument):
    faults, done = [], []

    def talk_locked(number):
        with Link() as link:
            for turn in range(8):
                count = (number + turn) % 7 + 1
                expect_same(link.lock(), 0, f"lock of client {number}")
                expect_same(link.ask(";".join(["*TST?"] * count)), ";".join(["0"] * count), f"client {number}")
                expect_same(link.unlock(), 0, f"unlock of client {number}")

    def talk(number):
        with Hislip(instrument.hislip) if number < SESSIONS else Plain(instrument.scpi) as client:
            for turn in range(20):
                count = (number + turn) % 7 + 1
                expect_same(client.ask(";".join(["*TST?"] * count)), ";".join(["0"] * count), f"client {number}")

    def guarded(work, number):
        try:
            work(number)
            done.append(number)
        except FAULTS as fault:
            faults.append(fault)

    talkers = [threading.Thread(target=guarded, args=(talk_locked, number)) for number in range(LINKS)]
    talkers += [threading.Thread(target=guarded, args=(talk, number)) for number in range(SESSIONS + SOCKETS)]
    for talker in talkers:
        talker.start()
    for talker in talkers:
        talker.join()
    expect(not faults, f"{len(faults)} clients failed, the first with: {faults[:1]}")
    expect_same(len(done), LINKS + SESSIONS + SOCKETS, "clients that came through")


def check_leaving(instrument):
    """Clients that vanish at any time leave no thread and no descriptor, but their links and locks."""
    pid = instrument.pid_of("kva720")

    def held():
        return len(os.listdir(f"/proc/{pid}/fd")), len(os.listdir(f"/proc/{pid}/task"))

    with Link() as witness:
        before = held()
        for turn in range(100):
            link = Link()
            if turn % 4 == 1:
                link.core.sock.sendall(b"\x80\x00\x00\xff" + b"x" * turn)
            elif turn % 4 == 2:
                link.write("*IDN?")
            elif turn % 4 == 3:
                link.core.sock.sendall(b"\xff\xff\xff\xff" * 20)
            link.vanish()
        await_that("something is left behind", lambda: held() == before)
        holder = Link(lock=1)
        holder.vanish()
        expect_same(witness.write("*TST?", 0), 11, "a lock whose holder's connection dropped")
        witness.core.destroy_link(holder.lid)
        expect_same(witness.ask("*TST?"), "0", "the witness")


def check_second_instrument(instrument):
    """It leaves the first one's registration alone, and can be reached by its port."""
    first = registered()
    with Instrument(instrument.build) as second:
        expect(not second.vxi11, "the second one says that it is the one")
        expect("another instrument is registered for VXI-11" in log_of(second), f"it said {log_of(second)!r}")
        port = int(ports_of(second)["tcp"].rpartition(":")[2])
        expect(port not in first.values(), "both listen at one port")
        expect_same(registered(), first, "what the port mapper knows")
    expect_same(registered(), first, "what the port mapper knows after its end")
    expect_same(lxi("scpi", "-t", str(PATIENCE), "-a", HOST, "*TST?"), "0\n", "the first one")


@contextlib.contextmanager
def port_mapper():
    process = subprocess.Popen(["/usr/sbin/rpcbind", "-f"], stderr=subprocess.DEVNULL)
    try:
        await_that("rpcbind doesn't answer", lambda: subprocess.run(
            ["rpcinfo", "-p", HOST], capture_output=True, check=False).returncode == 0)
        yield
    finally:
        process.terminate()
        process.wait(PATIENCE)


def start_without_port_mapper(build):
    """It is said, everything else goes on, and VXI-11 comes when a port mapper does."""
    with Instrument(build) as instrument:
        expect(not instrument.vxi11, "VXI-11 without a port mapper")
        log = log_of(instrument)
        expect("unable to register (DEVICE_ASYNC, DEVICE_ASYNC_VERSION, udp)." in log and "rpcbind" in log,
               f"it said {log!r}")
        with Plain(instrument.scpi) as raw:
            expect_same(raw.ask("*TST?"), "0", "the raw socket")
        with port_mapper():
            await_that("no VXI-11 beside a port mapper", lambda: len(registered()) == 6)
            expect_same(lxi("scpi", "-t", str(PATIENCE), "-a", HOST, "*TST?"), "0\n", "an answer")
            known = registered()
        with port_mapper():
            await_that("a new port mapper doesn't know it", lambda: registered() == known)
            expect_same(log_of(instrument), log, "the log")


def start_with_the_cable_pulled(build):
    """With the cable pulled at the start VXI-11 waits for the link. What a killed instrument left gives way."""
    with port_mapper():
        killed = Instrument(build)
        with killed:
            left = registered()
            os.killpg(killed.pid_of("kva720"), signal.SIGKILL)
            expect_same(killed.await_end(), 1, "status of the launcher")
            expect_same(registered(), left, "what the port mapper knows after a kill")
        instrument = Instrument(build)
        lan = pathlib.Path(instrument.root, "dev/lan")
        lan.parent.mkdir(parents=True)
        lan.write_text("0\n")
        with instrument:
            expect(not instrument.vxi11, "VXI-11 without a link")
            expect_same(registered(), left, "registration without a link")
            lan.write_text("1\n")
            await_that("not on", lambda: local_state(instrument)["vxi11"] == "on")
            expect_same(lxi("scpi", "-t", str(PATIENCE), "-a", HOST, "*TST?"), "0\n", "an answer")
            lan.write_text("0\n")
            expect_same(lxi("scpi", "-t", str(PATIENCE), "-a", HOST, "*TST?"), "0\n", "an answer with the cable pulled")
        expect_same(registered(), {}, "what the port mapper knows after the end")


def main():
    arguments = parser_of(__doc__).parse_args()
    own_network.enter()

    def work():
        run_checks(checks_of(globals(), "start_"), arguments.build, only=arguments.only, faults=FAULTS)
        with Instrument(arguments.build, "--rpcbind") as instrument:
            instrument.build = arguments.build
            run_checks(checks_of(globals()), instrument, only=arguments.only, faults=FAULTS)
            instrument.process.terminate()
            instrument.await_end()
            ports = pathlib.Path(instrument.root, "tmp/vxi11_ports")
            left = instrument.processes_left()
            expect(not left and not ports.exists(), f"left behind: {left}")

    return verdict(work)


if __name__ == "__main__":
    sys.exit(main())
