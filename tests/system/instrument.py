"""Starts the virtual instrument for a system test, and sees what it leaves behind."""
import os
import pathlib
import queue
import re
import shutil
import signal
import subprocess
import tempfile
import threading
import time
import urllib.error
import urllib.request

READY = re.compile(r"^ready http=(\S+) scpi=(\S+) hislip=(\S+) vxi11=(on|off) root=(.*)$")


class Failure(Exception):
    """Something that the instrument should have done."""


class Instrument:
    """A running instrument with a root and a process group of its own. Use it in a with statement."""

    def __init__(self, build, *options, ready_limit=60):
        self.folder = tempfile.mkdtemp(prefix="kva720-system-")
        self.root = os.path.join(self.folder, "root")
        self.program = os.path.join(os.path.abspath(build), "bin", "kva720-run")
        self.options = ["--root", self.root, "--http-port", "0", "--scpi-port", "0", "--hislip-port", "0", "--fast",
                        *options]
        self.ready_limit = ready_limit
        self.errors = []

    def __enter__(self):
        self.process = subprocess.Popen([self.program, *self.options], stdin=subprocess.DEVNULL,
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                                        start_new_session=True)
        self.lines = queue.Queue()
        threading.Thread(target=self._read_lines, daemon=True).start()
        threading.Thread(target=self._read_errors, daemon=True).start()
        try:
            self._await_ready()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.process.terminate()
            try:
                self.process.wait(20)
            except subprocess.TimeoutExpired:
                pass
        if self.processes_left():
            os.killpg(self.process.pid, signal.SIGKILL)
        self.process.wait()
        shutil.rmtree(self.folder, ignore_errors=True)

    def _read_lines(self):
        for line in self.process.stdout:
            self.lines.put(line.rstrip("\n"))
        self.lines.put(None)

    def _read_errors(self):
        for line in self.process.stderr:
            self.errors.append(line.rstrip("\n"))

    def _await_ready(self):
        limit = time.monotonic() + self.ready_limit
        while True:
            try:
                line = self.lines.get(timeout=max(0, limit - time.monotonic()))
            except queue.Empty:
                raise Failure(f"not ready in {self.ready_limit} s; it said: {self.errors}") from None
            if line is None:
                raise Failure(f"ended with status {self.process.wait()} before it was ready; it said: {self.errors}")
            if match := READY.match(line):
                break
        self.http, self.scpi, self.hislip, vxi11, self.told_root = match.groups()
        self.vxi11 = vxi11 == "on"
        self.url = f"http://{self.http}"

    def request(self, path, method="GET", headers=None, body=None):
        """Status and body of a request to the web server."""
        request = urllib.request.Request(self.url + path, data=body, method=method, headers=headers or {})
        try:
            with urllib.request.urlopen(request, timeout=15) as answer:
                return answer.status, answer.read()
        except urllib.error.HTTPError as refusal:
            return refusal.code, refusal.read()

    def trace(self):
        """The active trace: frequencies in Hz and levels in dBm."""
        status, body = self.request("/trace.csv")
        if status != 200:
            raise Failure(f"/trace.csv answered {status}")
        rows = body.decode().splitlines()
        if rows[0] != "frequency_hz,level_dbm":
            raise Failure(f"/trace.csv begins with {rows[0]!r}")
        pairs = [tuple(map(float, row.split(","))) for row in rows[1:]]
        return [frequency for frequency, _ in pairs], [level for _, level in pairs]

    def await_end(self, limit=30):
        """The launcher's status; its end is waited for."""
        try:
            return self.process.wait(limit)
        except subprocess.TimeoutExpired:
            raise Failure(f"still running after {limit} s") from None

    def processes_left(self):
        """Ids and names of the processes of the instrument's group."""
        left = []
        for entry in pathlib.Path("/proc").iterdir():
            if not entry.name.isdigit():
                continue
            try:
                name, _, rest = (entry / "stat").read_text().partition("(")[2].rpartition(")")
            except OSError:
                continue
            fields = rest.split()
            if int(fields[2]) == self.process.pid and fields[0] != "Z":
                left.append(f"{entry.name} ({name})")
        return left

    def leftovers(self):
        """Locks, sockets and FIFOs below the root."""
        found = []
        for path in pathlib.Path(self.root).rglob("*"):
            if path.is_socket() or path.is_fifo() or path.suffix == ".lock" or path.name == "lock":
                found.append(str(path.relative_to(self.root)))
        return found
