#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""The measures on signals whose answer is known."""
import unittest
from unittest import mock

import numpy as np

from grid import mean_and_interval
from speech_level import active_level
from stoi import BANDS, RATE as STOI_RATE, TRANSFORM, Stoi, band_edges, band_matrix
from suppression_measures import class_powers, classify, measures
from voices import RECORDED, VOICES, talk

RATE = 8000


def decibels(factor):
    return 10 ** (factor / 20)


def noise(length, seed=1):
    return np.random.default_rng(seed).standard_normal(length)


class Intelligibility(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.speech = talk(RECORDED, RATE)
        cls.stoi = Stoi(cls.speech, RATE)

    def test_third_octaves(self):
        """From 150 Hz on, 15 of them: the last is centred at 3.8 kHz; each begins where another
        ends."""
        low, high = band_edges()
        np.testing.assert_allclose(np.sqrt(low * high)[[0, 3, 14]], (150, 300, 3810), rtol=1e-3)
        np.testing.assert_allclose(low[1:], high[:-1])
        bins = band_matrix()
        self.assertEqual(bins.shape, (BANDS, TRANSFORM // 2 + 1))
        self.assertEqual(bins.sum(axis=0).max(), 1)
        self.assertEqual(bins.sum(), round(4277 * TRANSFORM / STOI_RATE)
                         - round(133.6 * TRANSFORM / STOI_RATE))

    def test_speech_itself(self):
        for gain in (1, 0.01, -3):
            self.assertAlmostEqual(self.stoi(gain * self.speech), 1, delta=1e-9)
        # A gain for each band is no loss, nor is what happens in the pauses.
        filtered = np.convolve(self.speech, (1, -0.5), "full")[:len(self.speech)]
        self.assertGreater(self.stoi(filtered), 0.99)

    def test_noise(self):
        """The more noise, the less, from 1 on; two noises have nothing in common."""
        level = active_level(self.speech, RATE)[0]
        added = decibels(level) * noise(len(self.speech))
        curve = [self.stoi(self.speech + decibels(-snr) * added) for snr in range(-20, 50, 5)]
        self.assertTrue((np.diff(curve) > 0).all(), curve)
        self.assertGreater(curve[-1], 0.99)
        one, *others = (noise(10 * RATE, seed) for seed in range(4))
        self.assertLess(max(abs(Stoi(one, RATE)(other)) for other in others), 0.02)

    def test_clipping(self):
        """The envelope of what is compared is limited to 1 + 10^(15/20) times that of the speech.
        So a click costs less, and noise seems to follow speech that is weaker still."""
        clicks = self.speech.copy()
        clicks[::RATE // 2] += 30 * np.abs(self.speech).max()
        unrelated = noise(len(self.speech))
        clipped = self.stoi(clicks), self.stoi(unrelated)
        with mock.patch("stoi.CLIP_DB", -200):
            unlimited = Stoi(self.speech, RATE)
        free = unlimited(clicks), unlimited(unrelated)
        self.assertGreater(clipped[0], free[0] + 0.05)
        self.assertGreater(clipped[1], 0.2)
        self.assertLess(abs(free[1]), 0.1)

    def test_refusals(self):
        with self.assertRaises(ValueError):
            self.stoi(self.speech[1:])
        with self.assertRaises(ValueError):
            Stoi(self.speech[2 * RATE:2 * RATE + 2000], RATE)


class Level(unittest.TestCase):
    def test_bursts(self):
        """A tone of -20 dBov, on for 2 s of 4: it is active for the hangover of 0.2 s after each
        burst, too, and for some of the decay of the envelope before that."""
        time = np.arange(16 * RATE) / RATE
        tone = np.sqrt(2) * decibels(-20) * np.sin(2 * np.pi * 1000 * time)
        level, activity = active_level(tone * (time % 4 < 2), RATE)
        self.assertGreater(activity, 0.55)  # (2 + 0.2) / 4
        self.assertLess(activity, 0.60)
        self.assertAlmostEqual(level, -20 + 10 * np.log10(0.5 / 0.575), delta=0.2)

    def test_steady_and_silent(self):
        x = decibels(-30) * noise(10 * RATE)
        level, activity = active_level(x, RATE)
        self.assertAlmostEqual(level, 10 * np.log10(np.mean(x**2)), delta=0.05)
        self.assertGreater(activity, 0.99)
        self.assertEqual(active_level(np.zeros(RATE), RATE), (-120, 0))

    def test_level_and_rate(self):
        """A gain moves the level by as much; pauses do not move it."""
        speech = talk(RECORDED, RATE)
        for gain in (-30, -11, 0):
            level, _ = active_level(decibels(gain) * speech, RATE)
            self.assertAlmostEqual(level, -26 + gain, delta=0.05)
        longer = np.concatenate((speech, np.zeros(20 * RATE)))
        self.assertAlmostEqual(active_level(longer, RATE)[0], -26, delta=0.05)
        self.assertAlmostEqual(active_level(talk(RECORDED, 16000), 16000)[0], -26, delta=0.01)


class Suppression(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.speech = talk(RECORDED, RATE)
        cls.classes = classify(cls.speech, RATE)
        level, _ = active_level(cls.speech, RATE)
        cls.noise = decibels(level - 10) * noise(len(cls.speech))  # SNR 10 dB

    def found(self, after):
        return measures(*(class_powers(x, RATE, self.classes)
                          for x in (self.speech + self.noise, after)))

    def test_classes(self):
        """Pauses are where the talk has them: 1 s before, 1 s after each phrase; strong speech
        lies above weak speech."""
        pauses = np.flatnonzero(self.classes == 3)
        self.assertEqual(set(pauses[:98]), set(range(98)))
        self.assertGreater(len(pauses), 280)
        self.assertLess(len(pauses), 310)
        sums, counts = class_powers(self.speech, RATE, self.classes)
        self.assertTrue((np.diff(sums / counts) < 0).all())
        self.assertTrue((counts > 20).all())

    def test_gain(self):
        """-12 dB for all: nothing but level."""
        found = self.found(decibels(-12) * (self.speech + self.noise))
        for name, value in {"snri": 0, "noise": -12, "speech": -12, "dsn": -12}.items():
            self.assertAlmostEqual(found[name], value, delta=1e-9, msg=name)
        # The SNR before is that of the frames with speech.
        self.assertAlmostEqual(found["snr"], 10, delta=1)

    def test_less_noise(self):
        """6 dB less noise, speech as it is; then both."""
        found = self.found(self.speech + decibels(-6) * self.noise)
        for name, value in {"snri": 6, "noise": -6, "speech": 0, "dsn": 0}.items():
            self.assertAlmostEqual(found[name], value, delta=0.3, msg=name)
        found = self.found(decibels(3) * (self.speech + decibels(-6) * self.noise))
        for name, value in {"snri": 6, "noise": -3, "speech": 3, "dsn": 3}.items():
            self.assertAlmostEqual(found[name], value, delta=0.3, msg=name)

    def test_attenuated_speech(self):
        """A gate that also takes 4 dB from speech and the noise under it: DSN tells."""
        gate = np.repeat(np.where(self.classes == 3, decibels(-12), decibels(-4)), 80)
        noisy = (self.speech + self.noise)[:len(gate)]
        found = self.found(gate * noisy)
        self.assertAlmostEqual(found["noise"], -12, delta=1e-9)
        self.assertLess(found["dsn"], -2)

    def test_confidence(self):
        """Student's t for two degrees of freedom: 4.303."""
        mean, half = mean_and_interval([1, 2, 3])
        self.assertAlmostEqual(mean, 2)
        self.assertAlmostEqual(half, 4.303 / np.sqrt(3), delta=1e-3)


class Voices(unittest.TestCase):
    def test_talks(self):
        for voice in VOICES:
            x = talk(voice, RATE)
            self.assertFalse(x[:RATE].any())
            self.assertFalse(x[-RATE:].any())
            self.assertGreater(len(x), 9 * RATE)
            self.assertLess(np.abs(x).max(), 0.7)
            np.testing.assert_array_equal(x, talk(voice, RATE))


if __name__ == "__main__":
    unittest.main()
