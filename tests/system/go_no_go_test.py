#!/usr/bin/python3
"""The go/no-go example against the calibration scene, whose carriers are known, over the raw socket.

go_no_go_test.py --build DIR
"""
import argparse
import os
import subprocess
import sys

from instrument import Instrument, expect, verdict

EXAMPLE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../examples/go_no_go.py")
PATIENCE = 300  # s for all carriers of a run


def run(instrument, *arguments):
    """Exit status of the example, and the words that its lines begin with."""
    done = subprocess.run([sys.executable, EXAMPLE, instrument.scpi, *arguments], capture_output=True, text=True,
                          timeout=PATIENCE)
    expect(done.returncode < 2, f"the example says: {done.stderr}")
    lines = done.stdout.splitlines()
    return done.returncode, [line.partition(" MHz")[0].replace("NO GO", "NOGO").split()[0] for line in lines[:-1]], lines


def check(instrument):
    status, words, lines = run(instrument, "50=-10", "300=-20", "600=-30", "1200=-40", "1800=-50")
    expect((status, words) == (0, ["GO"] * 5), f"all carriers are there: {lines}")
    # One is 3 dB off, one is not there, one has another beside it.
    status, words, lines = run(instrument, "50=-13", "300=-20", "700=-30", "900=-20", "--span", "4")
    expect((status, words) == (1, ["NOGO", "GO", "NOGO", "NOGO"]), f"bad carriers: {lines}")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", required=True, help="build folder with bin/kva720-run")
    arguments = parser.parse_args()

    def work():
        scene = os.path.join(arguments.build, "share/scenes/calibration.toml")
        with Instrument(arguments.build, "--scene", scene) as instrument:
            check(instrument)

    return verdict(work)


if __name__ == "__main__":
    sys.exit(main())
