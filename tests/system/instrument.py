"""Starts the virtual instrument for a system test, sees what it leaves behind, and has the clients that tests share."""
import argparse
import contextlib
import json
import os
import pathlib
import queue
import re
import select
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time
import urllib.error
import urllib.request

PATIENCE = 20  # s for an answer; a sanitizer build on a busy machine takes its time
QUIET = 1.0  # s in which something must not happen
READY = re.compile(r"^ready http=(\S+) scpi=(\S+) hislip=(\S+) vxi11=(on|off) root=(.*)$")


class Failure(Exception):
    """Something that the instrument should have done."""


def expect(truth, text):
    if not truth:
        raise Failure(text)


def expect_same(got, wanted, what):
    expect(got == wanted, f"{what}: {got!r} instead of {wanted!r}")


def await_that(text, check, limit=PATIENCE):
    """Waits until check gives something true and returns it; the text, or what it gives, goes into the failure."""
    end = time.monotonic() + limit
    while not (value := check()):
        expect(time.monotonic() < end, text() if callable(text) else text)
        time.sleep(0.05)
    return value


def run_checks(checks, *arguments, only="", faults=(OSError,)):
    """Calls functions by their names with the arguments and tells of each."""
    for name, check in checks.items():
        if only not in name:
            continue
        begin = time.monotonic()
        try:
            check(*arguments)
        except (Failure, *faults) as failure:
            raise Failure(f"{name}: {failure!r}") from None
        print(f"{name}: passed ({time.monotonic() - begin:.1f} s)", flush=True)


def checks_of(names, prefix="check_"):
    return {name.removeprefix(prefix): check for name, check in names.items() if name.startswith(prefix)}


def parser_of(description):
    """--build DIR [--only TEXT]"""
    parser = argparse.ArgumentParser(description=description.splitlines()[0])
    parser.add_argument("--build", required=True, help="build folder with bin/kva720-run")
    parser.add_argument("--only", default="", help="checks with this text in their name")
    return parser


def processes(session):
    """Living processes of a session: name and id. Each program has a group of its own."""
    found = {}
    for entry in pathlib.Path("/proc").iterdir():
        if not entry.name.isdigit():
            continue
        try:
            name, _, rest = (entry / "stat").read_text().partition("(")[2].rpartition(")")
        except OSError:
            continue
        fields = rest.split()
        if int(fields[3]) == session and fields[0] not in "ZX":
            found[name] = int(entry.name)
    return found


def leftovers(root):
    """Locks, sockets, FIFOs and links to terminals below a root."""
    paths = [path for path in pathlib.Path(root).rglob("*")
             if path.is_socket() or path.is_fifo() or path.suffix == ".lock" or path.name in ("lock", ".lock")]
    paths += [path for name in ("dev/tts/2", "dev/serial") if os.path.lexists(path := pathlib.Path(root) / name)]
    return [str(path.relative_to(root)) for path in paths]


def verdict(work):
    """Exit status of a test: 0, or 1 when its work fails, which is said on standard error."""
    try:
        work()
    except Failure as failure:
        print(f"FAILED: {failure}", file=sys.stderr)
        return 1
    return 0


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
        while left := self.processes_left():
            for pid in left.values():
                with contextlib.suppress(ProcessLookupError):
                    os.kill(pid, signal.SIGKILL)
            self.process.poll()
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
        return processes(self.process.pid)

    def leftovers(self):
        return leftovers(self.root)

    def pid_of(self, program):
        """The id of a process of the instrument by its program's name."""
        found = self.processes_left()
        expect(program in found, f"no {program} among {found}")
        return found[program]


def processor_seconds(pid):
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


class Local_Client:
    """A connection to the instrument's local socket."""

    def __init__(self, root, patience=15):
        folder = os.open(os.path.join(root, "tmp/web_store"), os.O_PATH)
        self.socket = socket.socket(socket.AF_UNIX)
        try:
            self.socket.settimeout(patience)
            self.socket.connect(f"/proc/self/fd/{folder}/talmiron.sock")
        except BaseException:
            self.socket.close()
            raise
        finally:
            os.close(folder)
        self.answers = self.socket.makefile("rb")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.answers.close()
        self.socket.close()

    def key(self, code):
        """Presses a key; False when it is not taken."""
        self.socket.sendall(b"KY")
        self.answers.read(3)
        self.socket.sendall(bytes([code]))
        return self.answers.read(3) == b"OK\0"

    def state(self):
        """What the instrument says of itself."""
        self.socket.sendall(b"IN")
        size, = struct.unpack("<I", self.answers.read(4))
        return json.loads(self.answers.read(size))


def local_state(instrument):
    """What the instrument says of itself over its local socket."""
    with Local_Client(instrument.root) as client:
        return client.state()


def drain(instrument):
    """Waits until the instrument has drawn what the board wrote before it stopped."""
    seen = []

    def still():
        seen.append(instrument.trace())
        time.sleep(0.2)
        return len(seen) > 3 and all(trace == seen[-1] for trace in seen[-3:])

    await_that("the trace moves on without samples", still)


@contextlib.contextmanager
def stopped_board(instrument):
    """No sample comes, so no sweep ends."""
    board = instrument.pid_of("kva720-board")
    os.kill(board, signal.SIGSTOP)
    try:
        drain(instrument)
        yield
    finally:
        os.kill(board, signal.SIGCONT)


class Plain:
    """A bare TCP client of the raw socket, for what a library would not do."""

    def __init__(self, address):
        host, _, port = address.rpartition(":")
        self.socket = socket.create_connection((host, int(port)), timeout=PATIENCE)
        self.rest = b""

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.socket.close()

    def say(self, text):
        self.socket.sendall(text.encode())

    def line(self):
        while b"\n" not in self.rest:
            piece = self.socket.recv(65536)
            expect(piece, "the instrument hung up")
            self.rest += piece
        line, _, self.rest = self.rest.partition(b"\n")
        return line.decode()

    def ask(self, text):
        self.say(text + "\n")
        return self.line()

    def silent(self, seconds):
        return not self.rest and not select.select([self.socket], [], [], seconds)[0]


class Raw_Client:
    """A connection to the web server on which anything can be said."""

    def __init__(self, http, patience=15):
        host, _, port = http.rpartition(":")
        self.http = http
        self.socket = socket.create_connection((host, int(port)), timeout=patience)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.socket.close()

    def say(self, data):
        self.socket.sendall(data if isinstance(data, bytes) else data.encode())

    def read(self, count):
        data = b""
        while len(data) < count:
            piece = self.socket.recv(count - len(data))
            if not piece:
                raise EOFError
            data += piece
        return data

    def answer(self):
        """The status of an HTTP answer; 0 when the server hung up without one."""
        head = b""
        try:
            while not head.endswith(b"\r\n\r\n"):
                head += self.read(1)
        except (EOFError, ConnectionError):
            return 0
        return int(head.split()[1])

    def upgrade(self, **headers):
        lines = {"Host": self.http, "Upgrade": "websocket", "Connection": "Upgrade", "Sec-WebSocket-Version": "13",
                 "Sec-WebSocket-Key": "dGhlIHNhbXBsZSBub25jZQ==", **headers}
        self.say("GET /live HTTP/1.1\r\n" + "".join(f"{name}: {value}\r\n" for name, value in lines.items()) + "\r\n")
        return self.answer()

    def message(self):
        """Opcode and payload of the next frame."""
        head = self.read(2)
        size = head[1] & 0x7f
        if size == 126:
            size, = struct.unpack(">H", self.read(2))
        elif size == 127:
            size, = struct.unpack(">Q", self.read(8))
        return head[0] & 0x0f, self.read(size)

    def text(self, text):
        """Sends a text of up to 125 bytes."""
        data = text.encode()
        self.say(bytes([0x81, 0x80 | len(data), 0, 0, 0, 0]) + data)

    def close_status(self):
        """Reads on to the server's closing frame; 0 when the connection ends without one."""
        try:
            while True:
                opcode, payload = self.message()
                if opcode == 8:
                    return struct.unpack(">H", payload[:2])[0]
        except (EOFError, ConnectionError):
            return 0

    def watch(self, seconds):
        """Pictures seen and their sizes in bytes during the time."""
        sizes, limit = [], time.monotonic() + seconds
        patience = self.socket.gettimeout()
        try:
            while (left := limit - time.monotonic()) > 0:
                self.socket.settimeout(left)
                opcode, payload = self.message()
                if opcode == 2:
                    sizes.append(len(payload))
        except TimeoutError:
            pass
        finally:
            self.socket.settimeout(patience)
        return sizes
