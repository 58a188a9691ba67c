#!/usr/bin/python3
"""Queries a second over VXI-11, with a port mapper and a network of its own. vxi11.py --build DIR"""
import argparse
import pathlib
import socket
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "system"))
import own_network  # noqa: E402
from instrument import Instrument  # noqa: E402


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", required=True)
    build = parser.parse_args().build
    own_network.enter()
    with Instrument(build, "--rpcbind") as instrument:
        ports = dict(line.split() for line in pathlib.Path(instrument.root, "tmp/vxi11_ports").read_text().splitlines())
        for state, message in (("sweeping", "INIT:CONT ON"), ("sweeps at rest", "INIT:CONT OFF")):
            with socket.create_connection(("127.0.0.1", int(instrument.scpi.rpartition(":")[2]))) as client:
                client.sendall(f"{message};*OPC?\n".encode())
                client.recv(16)
            print(f"  VXI-11, {state}:", flush=True)
            subprocess.run([f"{build}/bin/vxi11_wire", ports["tcp"].rpartition(":")[2]], check=True)


main()
