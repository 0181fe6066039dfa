# SPDX-License-Identifier: Apache-2.0
"""The package against the command, and its streams against whole recordings."""

import csv
import ctypes
import pickle
import platform
import random
import tempfile
import unittest
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import arvessa
import numpy as np
from commands import arvessa as command
from support import read, scene, write

SEED = random.randrange(10**6)


def setUpModule():
    global FOLDER, NOISY
    print("seed", SEED)
    random.seed(SEED)
    FOLDER = Path(unittest.enterModuleContext(tempfile.TemporaryDirectory()))
    NOISY = scene(FOLDER / "scene.wav")


class Equal(unittest.TestCase):
    def assertSame(self, a, b):
        self.assertEqual((a.dtype, a.shape), (b.dtype, b.shape))
        self.assertEqual(a.tobytes(), b.tobytes())


class LikeTheCommand(Equal):
    def test_enhance_and_trace(self):
        beams = FOLDER / "beams.csv"
        command("beams", "--microphones", "-29,0:29,0", "--directions", 0, 120, "-o", beams)
        other = {"beams": arvessa.read_beams(beams)}
        cases = [(0, [], {}), (1, ["--no-nr"], {"suppression": False}),
                 (31, ["--no-agc"], {"agc": False}), (32, ["--no-engine"], {"engine": False}),
                 (33, ["--swap"], {"swap": True}), (55, ["--beam", 0], {"beam": 0}),
                 (56, ["--beam", 1], {"beam": 1}), (57, ["--beam", 2], {"beam": 2}),
                 (79, ["--no-nr", "--no-agc"], {"suppression": False, "agc": False}),
                 (0, ["--beams", beams], other),
                 (13, ["--beams", beams, "--beam", 1, "--swap"], {**other, "beam": 1, "swap": True})]
        for left, flags, settings in cases:
            with self.subTest(flags=flags, samples_of_the_last_frame=left):
                noisy = NOISY[:24000 + left]
                path = write(FOLDER / "noisy.wav", noisy)
                command("enhance", path, "-o", FOLDER / "clean.wav", *flags)
                self.assertSame(arvessa.enhance(noisy, **settings), read(FOLDER / "clean.wav"))
                command("trace", path, "-o", FOLDER / "trace.csv", *flags)
                with open(FOLDER / "trace.csv", newline="", encoding="utf-8") as file:
                    rows = list(csv.DictReader(file))
                table = arvessa.trace(noisy, **settings)
                self.assertEqual(list(table.dtype.names), list(rows[0]))
                self.assertEqual(len(table), len(rows))
                for name in table.dtype.names:
                    expected = np.array([float(row[name]) for row in rows])
                    difference = np.abs(table[name] - expected).max()
                    self.assertLess(difference, 0.005001, name)  # half of the last decimal

    def test_engine(self):
        for rate in (8000, 16000, 32000, 48000):
            for flags, settings in (([], {}), (["--no-nr", "--agc-table", 2],
                                               {"suppression": False, "agc_table": 2}),
                                    (["--no-agc"], {"agc": False})):
                with self.subTest(rate=rate, flags=flags):
                    noisy = NOISY[:20011, 0]
                    path = write(FOLDER / "mono.wav", noisy, rate)
                    command("engine", path, "-o", FOLDER / "engine.wav", *flags)
                    stream = arvessa.Engine(rate, **settings)
                    out = np.concatenate((stream.process(noisy), stream.flush()))[stream.latency:]
                    self.assertSame(out, read(FOLDER / "engine.wav"))

    def test_decisions_of_the_engine(self):
        """The front end is the beamformer and the engine after it."""
        beamformer, engine = arvessa.FrontEnd(engine=False), arvessa.Engine(8000)
        engine.process(beamformer.process(NOISY))
        whole = arvessa.trace(NOISY)
        names = [name for name in engine.decisions.dtype.names if not name.endswith("dbfs")]
        self.assertEqual(len(names), 6)
        for name in names:
            np.testing.assert_array_equal(engine.decisions[name], whole[name][:-1], name)


class Streams(Equal):
    def test_chunks_copies_and_pickles_give_the_whole(self):
        other = arvessa.FrontEnd(swap=True)
        stream = arvessa.FrontEnd()
        parts, tables = [], []
        rest = NOISY
        while len(rest):
            taken = random.choice([0, 1, 79, 80, 81, random.randrange(2000)])
            before = stream
            stream = random.choice([lambda: stream, stream.copy,
                                    lambda: pickle.loads(pickle.dumps(stream))])()
            parts.append(stream.process(rest[:taken]))
            tables.append(stream.decisions)
            rest = rest[taken:]
            other.process(NOISY[:taken])
            if before is not stream:
                before.process(NOISY[1000:2000])  # goes its own way
        parts.append(stream.flush())
        tables.append(stream.decisions)
        self.assertSame(np.concatenate(parts)[stream.latency:], arvessa.enhance(NOISY))
        self.assertSame(np.concatenate(tables), np.asarray(arvessa.trace(NOISY)))
        # After flush and reset a stream is new.
        stream.process(NOISY[:123])
        stream.reset()
        self.assertSame(stream.flush(), np.empty(0, np.int16))
        self.assertSame(np.concatenate((stream.process(NOISY), stream.flush())),
                        np.concatenate(parts))

    def test_floats_of_the_caller(self):
        """A fast-math library may have flushed denormals, here SSE's control word does."""
        expected = arvessa.enhance(NOISY)
        libm = ctypes.CDLL("libm.so.6")
        environment = (ctypes.c_uint32 * 8)()
        libm.fegetenv(environment)
        fast = type(environment).from_buffer_copy(environment)
        if platform.machine() == "x86_64":
            fast[7] |= 0x8040 | 0x4000  # flush to zero, denormals are zero, round upwards
        libm.fesetenv(fast)
        try:
            clean = arvessa.enhance(NOISY)
            libm.fegetenv(after := type(environment)())
        finally:
            libm.fesetenv(environment)
        self.assertSame(clean, expected)
        self.assertEqual(after[7], fast[7])

    def test_threads(self):
        pieces = [NOISY[begin:begin + 16000] for begin in range(0, 40000, 5000)]
        expected = [arvessa.enhance(piece) for piece in pieces]
        shared = arvessa.Engine(8000)
        with ThreadPoolExecutor(4) as threads:
            for piece, clean in zip(expected, threads.map(arvessa.enhance, pieces)):
                self.assertSame(clean, piece)
            silence = threads.map(shared.process, [np.zeros(97, np.int16)] * 200)
            self.assertEqual(sum(map(len, silence)) + len(shared.flush()), 97 * 200 + 24)


class Refusals(unittest.TestCase):
    def test_samples(self):
        stream = arvessa.FrontEnd()
        for samples, error, reason in (
                ([[0, 0]], TypeError, "a list, not a NumPy array"),
                (np.zeros((80, 2)), TypeError, "float64, not int16"),
                (np.zeros((80, 2), ">i2"), TypeError, ">i2, not int16"),
                (np.zeros((2, 80), np.int16), ValueError, r"\(2, 80\), not \(samples, 2\)"),
                (np.zeros(80, np.int16), ValueError, r"\(80,\), not")):
            with self.assertRaisesRegex(error, reason):
                stream.process(samples)
        with self.assertRaisesRegex(ValueError, r"not \(samples,\)"):
            arvessa.Engine(8000).process(np.zeros((80, 1), np.int16))

    def test_settings(self):
        for settings, error, reason in (
                ({"agc": 1}, TypeError, "agc is 1, neither True nor False"),
                ({"beam": True}, TypeError, "beam is True, not an integer"),
                ({"beam": -1}, ValueError, "beam is -1; there are 3 beams"),
                ({"beams": "beams.csv"}, TypeError, "beams is a str; read_beams")):
            with self.assertRaisesRegex(error, reason):
                arvessa.FrontEnd(**settings)
        for rate, settings, error in ((44100, {}, ValueError), (8000.0, {}, TypeError),
                                      (8000, {"agc_table": 5}, ValueError)):
            with self.assertRaises(error):
                arvessa.Engine(rate, **settings)

    def test_beams(self):
        stored = arvessa.stored_beams()
        weights = stored.weights.copy()
        weights[1, 2, 1] = np.nan
        with self.assertRaisesRegex(ValueError, "weights holds values that are not finite"):
            arvessa.Beams(weights, stored.microphones, stored.directions)
        with self.assertRaisesRegex(ValueError, "scene.wav is not a file of beams: "):
            arvessa.read_beams(FOLDER / "scene.wav")

    def test_stream_of_another_build(self):
        state = arvessa.FrontEnd().__getstate__()
        state["_build"] = "0.9.0"
        with self.assertRaisesRegex(ValueError, "another build of Arvessa: 0.9.0, here 1"):
            arvessa.FrontEnd().__setstate__(state)
