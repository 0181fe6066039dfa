# SPDX-License-Identifier: Apache-2.0
"""The command in a terminal, and what becomes of the recordings when a signal ends it."""

import fcntl
import os
import pty
import re
import signal
import struct
import subprocess
import termios
import time

from commands import COMMAND, CommandTest, noise, pcm, write_wav

class Signals(CommandTest):
    def setUp(self):
        super().setUp()
        self.good = self.write("good.wav", [noise(20000, 1), noise(20000, 2)])

    def wait_for(self, condition):
        deadline = time.monotonic() + 60
        while not condition():
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.02)

    def live(self, *arguments, **options):
        """The command, which has read all of good.wav from a pipe that stays open."""
        process = subprocess.Popen([COMMAND, "enhance", "-", *arguments], stdin=subprocess.PIPE,
                                   stderr=subprocess.PIPE, **options)
        self.addCleanup(process.stderr.close)
        self.addCleanup(process.stdin.close)
        with open(self.good, "rb") as file:
            process.stdin.write(file.read())
        process.stdin.flush()
        return process

    def has_begun(self):
        return any(entry.startswith(".arvessa-") for entry in os.listdir(self.directory))

    def expected(self):
        self.run_command("enhance", self.good, "-o", "expected.wav")
        return self.read("expected.wav")

    def test_control_c_in_a_terminal_keeps_every_frame(self):
        expected = self.expected()
        for name in ("out.wav", "out.flac"):
            child, terminal = pty.fork()
            if child == 0:
                os.execvp("bash", ["bash", "-c", f"trap : INT; (cat {self.good}; exec sleep 100) | "
                                   f"{COMMAND} enhance - -o {name}; echo code=${{PIPESTATUS[1]}}"])
            self.wait_for(self.has_begun)
            time.sleep(1)  # until the recorder has written
            os.write(terminal, b"\x03")
            said = b""
            while b"code=" not in said:
                said += os.read(terminal, 4096)
            os.close(terminal)
            os.waitpid(child, 0)
            self.assertIn(b"code=130", said)
            self.assertIn(f"ended by signal (interrupt); {name} holds all that came in".encode(), said)
            self.run_command("engine", name, "--no-nr", "--no-agc", "-o", "back.wav")
            self.assertEqual(self.read("back.wav"), expected)

    def test_bar_fits_the_terminal_and_shows_the_time_left(self):
        long = write_wav("long.wav", bytes(40_000_000), 44100)
        terminal, theirs = pty.openpty()
        fcntl.ioctl(theirs, termios.TIOCSWINSZ, struct.pack("HHHH", 24, 40, 0, 0))
        process = subprocess.Popen([COMMAND, "engine", long, "-o", "out.wav"],
                                   stdout=subprocess.DEVNULL, stderr=theirs)
        os.close(theirs)
        said = b""
        try:
            while part := os.read(terminal, 4096):
                said += part
        except OSError:  # the other side is closed
            os.close(terminal)
        self.assertEqual(process.wait(60), 0)
        bars = re.findall(rb"\r\x1b\[K([^\r]+)", said)
        self.assertGreater(len(bars), 2, said)
        for bar in bars:
            self.assertRegex(bar, rb"^\[#*\.*\] \d+ %, \d+:\d\d left$")
            self.assertEqual(len(bar), 39)

    def test_other_signals_and_standard_output(self):
        expected = self.expected()
        for ending, code in ((signal.SIGTERM, 143), (signal.SIGHUP, 129)):
            process = self.live("-o", "-", "--quiet", stdout=subprocess.PIPE)
            self.addCleanup(process.stdout.close)
            received = process.stdout.read(2 * 19000)
            process.send_signal(ending)
            received += process.stdout.read()
            self.assertEqual(process.wait(60), code)
            self.assertEqual(list(pcm(received)), expected)
            self.assertIn(b"standard output holds all that came in", process.stderr.read())

    def test_a_recorder_that_ends_first_hides_no_signal(self):
        for _ in range(10):
            process = self.live("-o", "out.wav")
            self.wait_for(self.has_begun)
            process.send_signal(signal.SIGSTOP)
            process.send_signal(signal.SIGINT)
            process.stdin.close()
            process.send_signal(signal.SIGCONT)
            self.assertEqual(process.wait(60), 130)
            self.assertIn(b"out.wav holds all that came in", process.stderr.read())

    def test_a_second_signal_ends_at_once_and_leaves_nothing(self):
        for endings in ((signal.SIGQUIT,), (signal.SIGTERM, signal.SIGTERM)):
            process = self.live("-o", "out.wav")
            self.wait_for(lambda: len(os.listdir(self.directory)) == 2)
            for ending in endings:
                process.send_signal(ending)
                time.sleep(0.1)  # of the 0.25 s in which the pipe might still bring something
            self.assertEqual(process.wait(60), -endings[-1])
            self.assertEqual(os.listdir(self.directory), ["good.wav"])

    def test_work_on_files_is_given_up_and_listed(self):
        self.write("long.wav", [8_000_000 * [1000]] * 2)
        inputs = [self.good, "long.wav", "after.wav"]
        os.symlink("long.wav", inputs[2])
        process = subprocess.Popen([COMMAND, "enhance", *inputs, "--out-dir", "all", "--jobs", "1"],
                                   stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        self.wait_for(lambda: os.path.exists("all/good.wav") and len(os.listdir("all")) == 2)
        process.send_signal(signal.SIGINT)
        error = process.communicate(timeout=60)[1].decode()
        self.assertEqual(process.returncode, 130)
        self.assertEqual(error, f"arvessa: ended by signal (interrupt); not done: {inputs[1]}, {inputs[2]}\n")
        self.assertEqual(os.listdir("all"), ["good.wav"])
