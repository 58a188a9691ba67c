#!/usr/bin/python3
"""Go/no-go test of a list of carriers: each must stand within a tolerance of its level, and nothing else may stand beside it.

go_no_go.py HOST:PORT FREQUENCY=LEVEL ... [--span MHZ] [--tolerance DB] [--beside DB] [--floor DBM]

Frequencies in MHz, levels in dBm. Speaks to the raw socket of the instrument and needs nothing but Python. Prints a line for
each carrier; ends with 0 when all are good, with 1 when one is not, with 2 when the instrument can't be asked.

    go_no_go.py 127.0.0.1:5025 50=-10 300=-20 600=-30
"""
import argparse
import socket
import sys

MASK_HIGH, MASK_LOW = 1, 2  # limit lines
EDGE = 0.1  # how much of the span the high mask opens for the carrier


class Refused(Exception):
    """What the instrument has not taken."""


class Analyzer:
    """The instrument at the other end of a raw socket."""

    def __init__(self, address, patience=60):
        host, _, port = address.rpartition(":")
        self.socket = socket.create_connection((host, int(port)), timeout=patience)
        self.answers = self.socket.makefile("r", encoding="ascii", newline="\n")

    def send(self, message):
        self.socket.sendall((message + "\n").encode("ascii"))

    def ask(self, message):
        self.send(message)
        answer = self.answers.readline()
        if not answer:
            raise Refused("the instrument hung up")
        return answer.strip()

    def check(self, what):
        error = self.ask("SYST:ERR?")
        if not error.startswith(("0,", "+0,")):
            raise Refused(f"{what}: {error}")

    def line(self, number, points):
        """Points of a limit line, in MHz and dBm."""
        self.send(f"CALC:LIM{number}:DATA " + ",".join(f"{mhz:.6f} MHZ,{dbm:.2f} DBM" for mhz, dbm in points))


def prepare(analyzer):
    analyzer.send("*CLS")
    analyzer.send("*RST")
    analyzer.send("INIT:CONT OFF")
    analyzer.send("DISP:WIND:TRAC:Y:RLEV 0")
    analyzer.send("CALC:LIM:TYPE TRAC;MODE UNI")
    analyzer.check("preparing the test")


def high_mask(mhz, level, span, tolerance, beside):
    """The carrier may reach its level and the tolerance; beside it, nothing above a lower level."""
    half, open_half, top = span / 2, span * EDGE, level + tolerance
    return [(mhz - half, beside), (mhz - open_half, beside), (mhz - open_half, top),
            (mhz + open_half, top), (mhz + open_half, beside), (mhz + half, beside)]


def low_mask(mhz, level, tolerance, column):
    """A single column's width, in which the carrier must reach its level less the tolerance."""
    return [(mhz - column / 4, level - tolerance), (mhz + column / 4, level - tolerance)]


def good(analyzer, mhz, level, span, tolerance, beside):
    """Whether a carrier passes, and the level of the highest point."""
    analyzer.send(f"FREQ:SPAN {span:.6f} MHZ;CENT {mhz:.6f} MHZ")
    analyzer.line(MASK_HIGH, high_mask(mhz, level, span, tolerance, beside))
    analyzer.line(MASK_LOW, low_mask(mhz, level, tolerance, span / 600))
    analyzer.send(f"CALC:LIM:HIGH {MASK_HIGH};LOW {MASK_LOW};STAT ON")
    analyzer.send("INIT")
    analyzer.ask("*OPC?")
    analyzer.check(f"{mhz:g} MHz")
    fails = analyzer.ask("CALC:LIM:FAIL?")
    analyzer.send("CALC:MARK1:PEAK MAX")
    highest = float(analyzer.ask("CALC:MARK1:Y?"))
    analyzer.send("*CLS")  # without a peak there is no marker to move
    return fails == "0", highest


def carrier(text):
    mhz, _, level = text.partition("=")
    return float(mhz), float(level)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("address", help="HOST:PORT of the raw socket")
    parser.add_argument("carriers", nargs="+", type=carrier, help="MHZ=DBM")
    parser.add_argument("--span", type=float, default=1, help="MHz around each carrier")
    parser.add_argument("--tolerance", type=float, default=1, help="dB either way")
    parser.add_argument("--beside", type=float, default=50, help="dB below a carrier that nothing else may exceed")
    parser.add_argument("--floor", type=float, default=-75, help="dBm at which noise is no signal")
    arguments = parser.parse_args()
    try:
        analyzer = Analyzer(arguments.address)
        prepare(analyzer)
        bad = 0
        for mhz, level in arguments.carriers:
            beside = max(level - arguments.beside, arguments.floor)
            passed, highest = good(analyzer, mhz, level, arguments.span, arguments.tolerance, beside)
            bad += not passed
            print(f"{'GO   ' if passed else 'NO GO'} {mhz:g} MHz: {highest:.2f} dBm, {level:g} dBm wanted")
    except (OSError, Refused) as failure:
        print(f"{arguments.address}: {failure}", file=sys.stderr)
        return 2
    print(f"{len(arguments.carriers) - bad} of {len(arguments.carriers)} go")
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())
