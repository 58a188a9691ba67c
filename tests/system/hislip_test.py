#!/usr/bin/python3
"""Remote control over HiSLIP: each exchange of the protocol with the running instrument, and what hostile clients do.

hislip_test.py --build DIR [--only TEXT]
"""
import importlib.util
import os
import pathlib
import signal
import socket
import subprocess
import sys
import tempfile

import hislip_client as hislip
from hislip_client import Channel, Hislip, Hislip_Fault
from instrument import (PATIENCE, QUIET, READY, Instrument, Plain, checks_of, expect, expect_same, parser_of,
                        run_checks, stopped_board, verdict)


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


def check_status_and_service_requests(instrument):
    with Hislip(instrument.hislip) as client:
        client.write("*CLS;*ESE 32;*SRE 32")
        client.write("NOT:A:COMMAND")
        expect_same([client.service_request(), client.service_request()], [96, 100], "service requests of an error")
        expect_same(client.ask("*STB?"), "100", "*STB?")
        expect_same((client.service_request(), client.status()), (116, 100), "of an answer, and when it is read")
        client.write("*CLS;*ESE 0;*SRE 0")


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
    arguments = parser_of(__doc__).parse_args()

    def work():
        with Instrument(arguments.build) as instrument:
            run_checks(checks_of(globals()), instrument, only=arguments.only, faults=(Hislip_Fault, EOFError, OSError))

    return verdict(work)


if __name__ == "__main__":
    sys.exit(main())
