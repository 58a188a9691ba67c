#!/usr/bin/python3
"""The launcher: start, ready line, faults at the start, every way to an end, and nothing left behind.

launcher_test.py --build DIR [--only TEXT]
"""
import contextlib
import os
import pathlib
import re
import signal
import socket
import subprocess
import sys
import tempfile
import time
import urllib.request

from instrument import Failure, Local_Client, await_that, checks_of, expect, leftovers, processes, parser_of

READY = re.compile(r"^ready http=127\.0\.0\.1:(\d+) scpi=\S+ hislip=127\.0\.0\.1:\d+ vxi11=(?:on|off) root=(.*)$")
READY_LIMIT = 120  # s; a sanitizer build on a busy machine takes its time
END_LIMIT = 60  # s


class Launcher:
    def __init__(self, root, *options, port=0):
        self.root = root
        for option in ("--scpi-port", "--hislip-port"):
            if option not in options:
                options = [option, "0", *options]
        command = [PROGRAM, "--root", root, "--http-port", str(port), "--fast", *options]
        self.process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                        stderr=subprocess.PIPE, start_new_session=True)
        self.session = self.process.pid

    def ready(self):
        """Waits for the ready line and returns the port of the front panel."""
        output = self.process.stdout.fileno()
        os.set_blocking(output, False)
        text = ""

        def line():
            nonlocal text
            with contextlib.suppress(BlockingIOError):
                text += os.read(output, 4096).decode()
            expect(self.process.poll() is None, f"ended with {self.process.returncode} before it was ready")
            return "\n" in text

        await_that("not ready in time", line, READY_LIMIT)
        match = READY.match(text.rstrip("\n"))
        expect(match and match[2] == self.root, f"strange ready line {text!r}")
        return int(match[1])

    def programs(self):
        """Ids of the three programs, by name."""
        return {name: pid for name, pid in processes(self.session).items() if name != "kva720-run"}

    def signal(self, number):
        self.process.send_signal(number)

    def end(self):
        """Waits for the end; status and the lines on standard error that are no progress."""
        try:
            _, errors = self.process.communicate(timeout=END_LIMIT)
        except subprocess.TimeoutExpired:
            raise Failure(f"still running: {processes(self.session)}") from None
        lines = [line for line in errors.decode().splitlines() if not line.startswith("starting")]
        return self.process.returncode, lines

    def expect_end(self, status, lines):
        got_status, got_lines = self.end()
        expect((got_status, len(got_lines)) == (status, lines), f"ended with {got_status}, saying {got_lines}")
        self.expect_nothing_left()
        return got_lines

    def expect_nothing_left(self):
        left = processes(self.session)
        expect(not left, f"left running: {left}")
        left = leftovers(self.root) if os.path.isdir(self.root) else []
        expect(not left, f"left behind: {left}")

    def clean_up(self):
        for pid in processes(self.session).values():
            with contextlib.suppress(ProcessLookupError):
                os.kill(pid, signal.SIGKILL)
        self.process.wait()
        self.process.stdout.close()
        self.process.stderr.close()


class Stage:
    """A folder for the roots of one test, and the launchers started in it."""

    def __init__(self):
        self.folder = tempfile.TemporaryDirectory(prefix="kva720-launcher-")
        self.launchers = []

    def root(self, *names):
        return os.path.join(self.folder.name, *(names or ("root",)))

    def launch(self, *options, root=None, port=0):
        self.launchers.append(Launcher(self.root() if root is None else root, *options, port=port))
        return self.launchers[-1]

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for launcher in self.launchers:
            launcher.clean_up()
        self.folder.cleanup()


def greets(port):
    """True when the front panel's page comes from the port."""
    with contextlib.suppress(OSError), urllib.request.urlopen(f"http://127.0.0.1:{port}/", timeout=10) as answer:
        return answer.status == 200
    return False


def test_comes_up_and_ends_on_sigterm(stage):
    launcher = stage.launch("--model", "KVA7200", "--seed", "7", root=stage.root("a" * 70, "b" * 70))
    port = launcher.ready()
    with Local_Client(launcher.root) as client:
        state = client.state()
    expect(state["model"] == "KVA7200" and state["starting"] is False, f"strange state at ready: {state}")
    expect(sorted(launcher.programs()) == ["kva720", "kva720-board", "kva720-web"], f"runs {launcher.programs()}")
    expect(greets(port), "the front panel doesn't answer")
    launcher.signal(signal.SIGTERM)
    launcher.expect_end(0, 0)


def test_ctrl_c_ends_all_in_order(stage):
    launcher = stage.launch()
    launcher.ready()
    os.killpg(launcher.process.pid, signal.SIGINT)
    launcher.expect_end(0, 0)


def test_stop_while_starting(stage):
    for name in ("kva720-board", "kva720", "kva720-web"):
        launcher = stage.launch(root=stage.root(name))
        await_that(f"{name} was not started", lambda: name in launcher.programs(), END_LIMIT)
        launcher.signal(signal.SIGTERM)
        launcher.expect_end(0, 0)


def test_one_instrument_a_root_and_two_on_two(stage):
    first = stage.launch()
    port = first.ready()
    second = stage.launch()
    status, lines = second.end()
    expect(status == 2 and len(lines) == 1 and second.root in lines[0], f"second ended with {status}, saying {lines}")
    expect(not processes(second.session), "the second left something running")
    expect(greets(port), "the second launcher harmed the first instrument")
    other = stage.launch(root=stage.root("other"))
    other.ready()
    for launcher in (first, other):
        launcher.signal(signal.SIGTERM)
        launcher.expect_end(0, 0)


def test_taken_port(stage):
    with socket.create_server(("127.0.0.1", 0)) as taken:
        number = taken.getsockname()[1]
        line, = stage.launch(port=number).expect_end(2, 1)
        expect(str(number) in line, f"no port in {line!r}")
        line, = stage.launch("--scpi-port", str(number), root=stage.root("other")).expect_end(2, 1)
        expect(str(number) in line, f"no port in {line!r}")


def launch_held(stage, attempts=20):
    """A launcher held between its starts of the board and of the instrument, and the port that it has found free."""
    for _ in range(attempts):
        with socket.create_server(("127.0.0.1", 0)) as probe:
            number = probe.getsockname()[1]
        launcher = stage.launch("--scpi-port", str(number))
        end = time.monotonic() + END_LIMIT
        while "kva720-board" not in launcher.programs():
            expect(time.monotonic() < end, "the board was not started")
        launcher.signal(signal.SIGSTOP)
        if "kva720" not in launcher.programs():
            return launcher, number
        launcher.signal(signal.SIGCONT)
        launcher.signal(signal.SIGTERM)
        launcher.end()
    raise Failure("the launcher was never caught between its starts")


def test_port_taken_while_starting(stage):
    launcher, number = launch_held(stage)
    with socket.create_server(("127.0.0.1", number)):
        launcher.signal(signal.SIGCONT)
        line, = launcher.expect_end(2, 1)
        expect(str(number) in line, f"no port in {line!r}")


def test_faults_at_the_start_are_one_line(stage):
    bad_scene = stage.root("bad.toml")
    pathlib.Path(bad_scene).write_text("[[carrier]]\nlevel = -20\nfrequency = \"one\"\n")
    bare = stage.root("bare.cu8")
    pathlib.Path(bare).write_bytes(bytes(1000))
    file = stage.root("file")
    pathlib.Path(file).write_text("")
    cases = [
        (["--scene", stage.root("nowhere.toml")], "nowhere.toml"),
        (["--scene", bad_scene], "bad.toml:3"),
        (["--scene", bad_scene, "--recording", bare], "--recording"),
        (["--recording", stage.root("nowhere.sigmf-meta")], "nowhere"),
        (["--recording", bare, "--recording-rate", "nan"], "nan"),
        (["--recording", bare, "--recording-rate", "-1e6"], "-1e6"),
        (["--recording", bare, "--recording-rate", "1e6", "--recording-level", "inf"], "inf"),
        (["--recording-frequency", "1e6"], "--recording"),
        (["--model", "KVA9"], "KVA9"),
        (["--seed", "-1"], "-1"),
        (["--listen", "everywhere"], "everywhere"),
        (["--scpi-port", "x"], "--scpi-port"),
        (["--hislip-port", "-1"], "--hislip-port"),
        (["--unknown"], "--unknown"),
    ]
    launchers = [(stage.launch(*options, root=stage.root(f"root{i}")), options, word)
                 for i, (options, word) in enumerate(cases)]
    launchers += [(stage.launch(root=root), root, word) for root, word in (
        ("/", "root"), ("", "root"), ("/proc/nowhere", "/proc/nowhere"), (os.path.join(file, "below"), file))]
    launchers.append((stage.launch(port=65536), "port 65536", "--http-port"))
    for launcher, what, word in launchers:
        try:
            status, lines = launcher.end()
            expect(status == 2 and len(lines) == 1 and word in lines[0], f"ended with {status}, saying {lines}")
            expect(not processes(launcher.session), "something is left running")
        except Failure as failure:
            raise Failure(f"{what}: {failure}") from None
    left = leftovers(stage.folder.name)
    expect(not left, f"left behind: {left}")


def test_power_key_ends_all(stage):
    launcher = stage.launch()
    launcher.ready()
    device = os.open(os.path.join(launcher.root, "dev/killsys"), os.O_WRONLY | os.O_NONBLOCK)
    os.write(device, b"\1")
    os.close(device)
    launcher.expect_end(0, 0)
    expect(os.path.exists(os.path.join(launcher.root, "mnt/nand/state.sta")), "the state was not saved")


def test_a_dead_program_ends_all_with_status_1(stage):
    for name in ("kva720", "kva720-board"):
        launcher = stage.launch(root=stage.root(name))
        launcher.ready()
        os.kill(launcher.programs()[name], signal.SIGKILL)
        line, = launcher.expect_end(1, 1)
        expect(line.startswith(f"{name} has died"), f"said {line!r}")


def test_a_dead_front_panel_comes_back(stage):
    launcher = stage.launch()
    port = launcher.ready()
    before = launcher.programs()
    os.kill(before["kva720-web"], signal.SIGKILL)
    await_that("the front panel did not come back", lambda: greets(port), END_LIMIT)
    after = launcher.programs()
    expect(after["kva720"] == before["kva720"], "the instrument was started again too")
    os.kill(after["kva720-web"], signal.SIGKILL)
    launcher.expect_end(1, 2)


def test_a_killed_launcher_leaves_no_program_and_the_root_usable(stage):
    launcher = stage.launch()
    launcher.ready()
    launcher.signal(signal.SIGKILL)
    launcher.process.wait()
    await_that("programs outlive the launcher", lambda: not processes(launcher.session), END_LIMIT)
    again = stage.launch()
    again.ready()
    again.signal(signal.SIGTERM)
    again.expect_end(0, 0)


def main():
    arguments = parser_of(__doc__).parse_args()
    global PROGRAM
    PROGRAM = os.path.join(os.path.abspath(arguments.build), "bin", "kva720-run")
    tests = checks_of(globals(), "test_")
    failed = 0
    chosen = {name: test for name, test in tests.items() if arguments.only in name}
    for name, test in chosen.items():
        begin = time.monotonic()
        try:
            with Stage() as stage:
                test(stage)
        except Failure as failure:
            failed += 1
            print(f"{name}: FAILED: {failure}", flush=True)
            continue
        print(f"{name}: passed ({time.monotonic() - begin:.1f} s)", flush=True)
    print(f"launcher: {len(chosen) - failed} passed, {failed} failed")
    return 1 if failed or not chosen else 0


if __name__ == "__main__":
    sys.exit(main())
