#!/usr/bin/python3
"""Remote control over HiSLIP: each exchange of the protocol with the running instrument, and what hostile clients do.

hislip_test.py --build DIR [--only TEXT]
"""
import argparse
import importlib.util
import json
import os
import pathlib
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time

import hislip_client as hislip
from hislip_client import Channel, Hislip, Hislip_Fault
from instrument import Failure, Instrument, READY
from wire_test import PATIENCE, QUIET, Plain, await_that, expect, expect_same, local_state, stopped_board

SESSIONS, SOCKETS = 16, 32


def check_identification(instrument):
    with Plain(instrument.scpi) as raw:
        identity = raw.ask("*IDN?")
    with Hislip(instrument.hislip) as client:
        expect_same((client.version, client.vendor), (0x0100, 0x5158), "version and vendor")
        expect_same(client.ask("*IDN?\n"), identity, "with a newline")
        expect_same(client.ask("*IDN?"), identity, "without one")
        with Hislip(instrument.hislip, "HISLIP0") as next_client:
            expect_same(next_client.session - client.session, 2, "between two sessions' numbers")
            expect_same(next_client.ask("*IDN?"), identity, "another session")
    for name in ("hislip1", ""):
        stranger = Channel(instrument.hislip)
        stranger.send(hislip.INITIALIZE, 0, 0x01000000, name.encode())
        expect(stranger.silent(QUIET), f"the sub-address {name!r} was answered")
        stranger.close()


def check_library(instrument):
    """The library's own HiSLIP, where Debian's has it. Older ones open the same name as VXI-11, which is no proof."""
    if importlib.util.find_spec("pyvisa_py.protocols.hislip") is None:
        print("  this PC's pyvisa-py has no HiSLIP; our own client speaks alone")
        return
    import pyvisa
    host, _, port = instrument.hislip.rpartition(":")
    manager = pyvisa.ResourceManager("@py")
    resource = manager.open_resource(f"TCPIP::{host}::hislip0,{port}::INSTR", timeout=PATIENCE * 1000)
    session = manager.visalib.sessions[resource.session]
    expect("hislip" in type(session.interface).__module__, f"the library speaks {type(session.interface)}")
    expect(resource.query("*IDN?").count(",") == 3, "no identification")
    resource.clear()
    expect(resource.query("*TST?").strip() == "0", "nothing after a clear")
    resource.close()


def check_settings_and_traces(instrument):
    with Hislip(instrument.hislip) as client:
        expect_same(client.agree_on_size(1 << 20), 1 << 20, "largest message")
        client.write(":FREQ:CENT 433.92 MHZ;SPAN 4 MHZ;:INIT:CONT OFF")
        client.write(":INIT:IMM")
        expect_same(client.ask("*OPC?"), "1", "*OPC? of a single sweep")
        expect_same([float(value) for value in client.ask(":FREQ:CENT?;SPAN?").split(";")], [433.92e6, 4e6], "band")
        levels = client.ask(":TRACe? TRACe1")
        expect_same(levels.count(","), 600, "commas of a trace")
        client.agree_on_size(256)
        expect_same(client.ask(":TRACe? TRACe1"), levels, "the trace in pieces of 240 bytes")
        client.write(":INIT:CONT ON")
        expect_same(client.ask("SYST:ERR?"), '0,"No error"', "the error queue")


def check_what_is_dropped(instrument):
    with Hislip(instrument.hislip) as client:
        client.write("*IDN?;", hislip.DATA)
        expect_same(client.ask("*TST?"), "0", "only what the DataEnd carries")
        for kind in (hislip.TRIGGER, 26, 200):
            client.data.send(kind)
            client.control.send(kind)
        client.data.socket.sendall(b"XX" + hislip.HEADER.pack(b"HS", hislip.DATA_END, 0, 2, 5)[2:] + b"*IDN?")
        expect_same(client.ask("*TST?"), "0", "after messages of no type")
        for size in (513, 5000, 1048577):
            client.write("*TST?" + " " * (size - 5))
            expect_same(client.data.receive()[:2], (hislip.ERROR, 4), f"a message of {size} bytes")
        expect_same(client.ask("*TST?;:SYST:ERR?"), '0;0,"No error"', "after messages that are too large")


def check_status_and_service_requests(instrument):
    with Hislip(instrument.hislip) as client:
        client.write("*CLS;*ESE 32;*SRE 32")
        client.write("*IDN?")
        await_that("an answer that was not read does not show", lambda: client.status() == 16)
        client.read()
        expect_same(client.status(), 0, "status byte when all is read")
        client.write("NOT:A:COMMAND")
        expect_same([client.service_request(), client.service_request()], [96, 100], "service requests of an error")
        expect_same(client.ask("*STB?"), "100", "*STB?")
        expect_same(client.service_request(), 116, "service request of an answer")
        client.write("*CLS;*ESE 0;*SRE 0")
        expect_same(client.ask("*STB?"), "0", "after *CLS")
        while not client.control.silent(0.2):
            client.service_request()
        client.write("NOT:A:COMMAND")
        expect_same(client.ask("*STB?"), "4", "an error that nothing enables")
        expect(client.control.silent(0.2), "a service request that nothing enables")
        client.write("*CLS")


def check_device_clear(instrument):
    with Hislip(instrument.hislip) as client, Hislip(instrument.hislip) as other, Plain(instrument.scpi) as raw:
        with stopped_board(instrument):
            client.write("*OPC?")
            expect(client.data.silent(QUIET), "*OPC? was answered without a sweep")
            raw.say("*TST?\n")
            other.write("*TST?")
            status, _ = instrument.request("/trace.csv")
            expect_same(status, 200, "the page while a command waits")
            expect_same(other.status() & 16, 0, "another client's status while a command waits")
            expect(raw.silent(0.2) and other.data.silent(0.2), "a message passed the one that waits")
            client.clear()
            expect_same((raw.line(), other.read()), ("0", "0\n"), "the others' turn")
            expect_same(client.ask("*TST?"), "0", "after the clear")


def check_locks(instrument):
    with Hislip(instrument.hislip) as holder, Hislip(instrument.hislip) as other:
        expect_same(holder.lock(), 1, "exclusive lock")
        expect_same((holder.lock(), other.lock(), other.lock("key", 200)), (3, 0, 0), "locks that can't be had")
        expect_same(other.lock_info(), (1, 1), "lock information")
        other.write("*TST?")
        expect_same(holder.ask("*IDN?").count(","), 3, "the holder's message")
        expect_same(other.status(), 0, "status of a client that is locked out")
        expect(other.data.silent(0.2), "a message passed the lock")
        expect_same(holder.unlock(), 1, "release")
        expect_same(other.read(), "0\n", "the message after the release")
        expect_same([holder.lock("key"), other.lock("key"), holder.lock()], [1, 1, 1], "shared, then both")
        expect_same(other.lock_info(), (1, 2), "lock information")
        other.control.send(hislip.ASYNC_LOCK, 1, 20000)
        expect(other.control.silent(0.2), "a lock that is held was answered")
        holder.close()
        expect_same(other.control.receive()[:2], (hislip.ASYNC_LOCK_RESPONSE, 1), "lock of a holder that dropped")
        expect_same((other.unlock(), other.unlock(), other.unlock()), (1, 2, 3), "releases")


def check_remote_and_local(instrument):
    preset = "/key/22"

    def remote():
        return local_state(instrument)["remote"]

    with Hislip(instrument.hislip) as client:
        client.ask(":FREQ:CENT 100 MHZ;CENT?")
        expect(remote(), "not under remote control")
        instrument.request(preset, "POST")
        await_that("the preset key does not leave remote control", lambda: not remote())
        client.remote_local(5)
        await_that("not remote, and locked out", remote)
        instrument.request(preset, "POST")
        expect(not left(remote, QUIET), "the panel left remote control though it was locked out")
        client.remote_local(2)
        await_that("still remote", lambda: not remote())
        client.ask("*TST?")
        expect(not remote(), "remote though it is disabled")
        client.remote_local(3)
        await_that("not remote", remote)


def left(remote, seconds):
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        if not remote():
            return True
        time.sleep(0.1)
    return False


def check_many_clients(instrument):
    faults = []

    def talk(number):
        try:
            opened = Hislip(instrument.hislip) if number < SESSIONS else Plain(instrument.scpi)
            with opened as client:
                for turn in range(20):
                    count = (number + turn) % 7 + 1
                    expect_same(client.ask(";".join(["*TST?"] * count)), ";".join(["0"] * count), f"client {number}")
        except (Failure, Hislip_Fault, EOFError, OSError) as fault:
            faults.append(fault)

    talkers = [threading.Thread(target=talk, args=(number,)) for number in range(SESSIONS + SOCKETS)]
    for talker in talkers:
        talker.start()
    for talker in talkers:
        talker.join()
    expect(not faults, f"{len(faults)} clients failed, the first with: {faults[:1]}")


def check_crowd(instrument):
    """Idle connections take all slots: the next one is told so, and finds room later."""
    crowd = [Channel(instrument.hislip) for _ in range(100)]
    refused = await_refusal(instrument)
    expect_same(refused, (hislip.FATAL_ERROR, 4), "one connection too many")
    for channel in crowd:
        channel.close()

    def served():
        try:
            with Hislip(instrument.hislip) as client:
                return client.ask("*TST?") == "0"
        except (EOFError, OSError, Hislip_Fault):
            return False

    await_that("no room after the crowd has gone", served)


def await_refusal(instrument):
    channel = Channel(instrument.hislip)
    try:
        return channel.receive()[:2]
    except (EOFError, OSError) as fault:
        raise Failure(f"one connection too many: {fault!r}") from None
    finally:
        channel.close()


def check_leaving(instrument):
    """Clients that vanish at any time leave no thread and no descriptor."""
    pid = instrument.pid_of("kva720")

    def held():
        return len(os.listdir(f"/proc/{pid}/fd")), len(os.listdir(f"/proc/{pid}/task"))

    def served():
        try:
            return Hislip(instrument.hislip)
        except (EOFError, OSError, Hislip_Fault):
            return None

    with Hislip(instrument.hislip) as witness:
        before = held()
        for turn in range(100):
            with await_that("a client was refused", served) as client:
                step = turn % 6
                if step == 1:
                    client.write("*OPC?")
                elif step == 2:
                    client.lock()
                elif step == 3:
                    client.data.socket.sendall(hislip.HEADER.pack(b"HS", hislip.DATA_END, 0, 2, 2 ** 64 - 1) + b"x")
                elif step == 4:
                    client.control.send(hislip.ASYNC_DEVICE_CLEAR)
                elif step == 5:
                    client.data.socket.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
                    client.write(":TRACe? TRACe1")
        await_that("something is left behind", lambda: held() == before)
        expect_same(witness.ask("*TST?"), "0", "the witness")


def check_port(instrument):
    """The port that the root's file names is the one that is served."""
    with socket.create_server(("127.0.0.1", 0)) as probe:
        port = probe.getsockname()[1]
    folder = tempfile.mkdtemp(prefix="kva720-hislip-")
    file = pathlib.Path(folder, "root/opt/KVA720/hislip_port")
    file.parent.mkdir(parents=True)
    file.write_text(f"HISLIP Port:{port}\n")
    process = subprocess.Popen([instrument.program, "--root", os.path.join(folder, "root"), "--http-port", "0",
                                "--scpi-port", "0", "--fast"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    try:
        line = process.stdout.readline().rstrip("\n")
        match = READY.match(line)
        expect(match and match.group(3) == f"127.0.0.1:{port}", f"{port} was stored, the line is {line!r}")
        with Hislip(match.group(3)) as client:
            expect_same(client.ask("*TST?"), "0", "over the stored port")
            client.write(":SYST:COMM:LANR")
            expect_same(client.ask(":SYST:ERR?"), '0,"No error"', "after the reset")
            expect_same(file.read_text(), "HISLIP Port:4880\n", "the file after the reset")
    finally:
        process.send_signal(signal.SIGTERM)
        process.wait(30)
        subprocess.run(["rm", "-rf", folder], check=False)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", required=True, help="build folder with bin/kva720-run")
    parser.add_argument("--only", default="", help="checks with this text in their name")
    arguments = parser.parse_args()
    checks = {name[6:]: check for name, check in globals().items() if name.startswith("check_")}
    try:
        with Instrument(arguments.build) as instrument:
            for name, check in checks.items():
                if arguments.only not in name:
                    continue
                begin = time.monotonic()
                try:
                    check(instrument)
                except (Failure, Hislip_Fault, EOFError, OSError, json.JSONDecodeError) as failure:
                    raise Failure(f"{name}: {failure!r}") from None
                print(f"{name}: passed ({time.monotonic() - begin:.1f} s)", flush=True)
    except Failure as failure:
        print(f"FAILED: {failure}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
