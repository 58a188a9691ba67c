#!/usr/bin/python3
"""Remote control over the wires, by the clients that people use: raw TCP, serial line, GPIB and USB.

wire_test.py --build DIR [--only TEXT]
"""
import contextlib
import os
import socket
import struct
import subprocess
import sys

import pyvisa

from instrument import (PATIENCE, QUIET, Instrument, Plain, checks_of, expect, expect_same, local_state, run_checks,
                        stopped_board, parser_of, verdict)


class Controller:
    """The bus side of the GPIB or USB device."""

    HEAD = struct.Struct("=Iii")

    def __init__(self, instrument, device):
        folder = os.open(os.path.join(instrument.root, "dev"), os.O_PATH)
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_SEQPACKET)
        self.socket.settimeout(PATIENCE)
        self.socket.connect(f"/proc/self/fd/{folder}/{device}.controller")
        os.close(folder)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.socket.close()

    def say(self, text):
        self.socket.send(text.encode())

    def packet(self):
        """Text that was sent, or number and argument of a driver's request."""
        data = self.socket.recv(65536)
        kind, request, argument = self.HEAD.unpack(data[:self.HEAD.size])
        return data[self.HEAD.size:].decode() if kind == 1 else (request, argument)


class Wires:
    """Pyvisa's resources of an instrument."""

    def __init__(self, instrument):
        self.instrument = instrument
        self.manager = pyvisa.ResourceManager("@py")

    def socket(self):
        host, _, port = self.instrument.scpi.rpartition(":")
        return self._opened(f"TCPIP::{host}::{port}::SOCKET")

    def serial(self):
        return self._opened(f"ASRL{os.path.realpath(self.instrument.root)}/dev/serial::INSTR", baud_rate=9600)

    @contextlib.contextmanager
    def _opened(self, name, **settings):
        resource = self.manager.open_resource(name, read_termination="\n", write_termination="\n",
                                              timeout=PATIENCE * 1000, **settings)
        try:
            yield resource
        finally:
            resource.close()


def check_identification(instrument, wires):
    with wires.socket() as client:
        identity = client.query("*IDN?")
    fields = identity.split(",")
    expect(len(fields) == 4 and fields[1] == "KVA7230" and all(fields), f"identifies itself as {identity!r}")
    with wires.serial() as client:
        expect_same(client.query("*IDN?"), identity, "over the serial line")
    host, _, port = instrument.scpi.rpartition(":")
    tool = subprocess.run(["lxi", "scpi", "-r", "-a", host, "-p", port, "*IDN?"], capture_output=True, text=True,
                          timeout=PATIENCE)
    expect(tool.returncode == 0 and tool.stdout.strip() == identity, f"lxi got {tool.stdout!r}, said {tool.stderr!r}")
    for device in ("gpib", "usb"):
        with Controller(instrument, device) as controller:
            controller.say("*IDN?\n")
            expect_same(controller.packet(), identity + "\n", f"over {device}")
    status, body = instrument.request("/scpi", "POST", {"Content-Type": "text/plain"}, b"*IDN?")
    expect_same((status, body.decode()), (200, identity + "\n"), "over the page")


def check_errors_and_status(_, wires):
    with wires.socket() as client:
        client.write("*CLS")
        client.write("*ESE 32")
        client.write("*SRE 32")
        expect_same(client.query("SYST:ERR?"), '0,"No error"', "the empty queue")
        client.write("NOT:A:COMMAND")
        expect_same(client.query("*STB?"), "100", "status byte after an error")
        expect_same(client.query("*ESR?"), "32", "event status")
        expect_same(client.query("*ESR?"), "0", "event status, read again")
        expect_same(client.query(":SYSTem:ERRor:NEXT?"), '-113,"Undefined      header"', "the error")
        expect_same(client.query("*IDN?;*STB?").rpartition(";")[2], "0", "status byte when all is read")
        client.write("*CLS;*ESE 0;*SRE 0;*OPC")
        expect_same(client.query("*ESR?"), "1", "*OPC without an operation")


def check_band_and_reset(instrument, wires):
    with wires.socket() as client:
        preset = client.query(":FREQ:CENT?;SPAN?")
        client.write(":FREQ:CENT 433.92 MHZ;SPAN 4 MHZ")
        expect_same(client.query("*OPC?"), "1", "*OPC?")
        frequencies, _ = instrument.trace()
        expect(abs(frequencies[0] - 431.92e6) < 1 and abs(frequencies[-1] - 435.92e6) < 1,
               f"the trace spans {frequencies[0]} to {frequencies[-1]}")
        client.write("*WAI")
        expect(client.query(":FREQ:CENT?;SPAN?") != preset, "the band is not another one")
        client.write("*RST")
        full = client.query(":FREQ:CENT?;SPAN?").split(";")
        expect([float(value) for value in full] == [1.6e9, 3.2e9] or float(full[1]) > 3e9, f"after *RST: {full}")
    expect(local_state(instrument)["remote"] is True, "not under remote control")


def check_trace(instrument, wires):
    """A single sweep stands, so the trace is the same however it is read."""
    with wires.socket() as client:
        client.write(":FREQ:CENT 100 MHZ;SPAN 20 MHZ;:INIT:CONT OFF")
        client.write(":INIT:IMM")
        expect_same(client.query("*OPC?"), "1", "*OPC? of a single sweep")
        levels = [float(level) for level in client.query(":TRACe? TRACe1").split(",")]
        frequencies, shown = instrument.trace()
        expect((len(levels), frequencies[0], frequencies[-1]) == (601, 90e6, 110e6),
               f"{len(levels)} points from {frequencies[0]} to {frequencies[-1]}")
        worst = max(abs(level - value) for level, value in zip(levels, shown))
        expect(worst < 0.06, f"the trace over the wire is {worst} dB off")
        expect(max(levels) - min(levels) > 5, "a flat trace")
        client.write(":INIT:CONT ON")
        expect_same(client.query("SYST:ERR?"), '0,"No error"', "the error queue")


def check_waits(instrument, _):
    with Plain(instrument.scpi) as other:
        identity = other.ask("*IDN?")
        with Plain(instrument.scpi) as client:
            with stopped_board(instrument):
                client.say("*OPC?\n")
                expect(client.silent(QUIET), "*OPC? was answered without a sweep")
                status, _ = instrument.request("/trace.csv")
                expect_same(status, 200, "the trace while a command waits")
                other.say("*IDN?\n")
                expect(other.silent(QUIET), "another client's message passed the one that waits")
            expect_same(client.line(), "1", "*OPC? at the end of a sweep")
            expect_same(other.line(), identity, "the other client's turn")
        with stopped_board(instrument):
            with Plain(instrument.scpi) as client:
                client.say("*OPC?\n")
                expect(client.silent(QUIET), "*OPC? was answered without a sweep")
            expect_same(other.ask("*IDN?"), identity, "after the client that waited has left")
            with Plain(instrument.scpi) as fresh:
                expect_same(fresh.ask("*IDN?"), identity, "a new client")
                expect(fresh.silent(0.2), "a new client got another's answer")


def main():
    arguments = parser_of(__doc__).parse_args()

    def work():
        with Instrument(arguments.build) as instrument:
            wires = Wires(instrument)
            run_checks(checks_of(globals()), instrument, wires, only=arguments.only, faults=(OSError, pyvisa.Error))
            wires.manager.close()

    return verdict(work)


if __name__ == "__main__":
    sys.exit(main())
