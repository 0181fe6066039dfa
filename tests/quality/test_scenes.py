#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Two scenes of the grid with their known answers, and where its results go."""
import tempfile
import unittest
from pathlib import Path

import numpy as np

import case_tables
import cases
import grid
import grid_tables
import pages
import speex

SOURCE = Path(__file__).resolve().parents[2]


class Pool:
    """One process."""

    @staticmethod
    def map(function, arguments):
        return [function(argument) for argument in arguments]


class Scenes(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.grid = grid.run(grid.QUICK, Pool)

    def mean(self, measure, system):
        return self.grid.by_seed(measure, system).mean()

    def test_before(self):
        """Microphone 1 is what all is compared with."""
        for measure in ("snri", "noise", "speech", "dsn"):
            np.testing.assert_array_equal(self.grid.by_seed(measure, "microphone 1"), 0)
        self.assertAlmostEqual(self.mean("snr", "microphone 1"), 5, delta=1)
        self.assertGreater(self.mean("stoi", "microphone 1"), 0.7)

    def test_after(self):
        """Steady noise falls by the 15 dB of the floor; the beam to the talker helps; the AGC
        moves level, not SNR."""
        self.assertAlmostEqual(self.mean("noise", "engine, no AGC"), -15, delta=1.5)
        self.assertGreater(self.mean("snri", "engine, no AGC"), 10)
        self.assertAlmostEqual(self.mean("snri", "engine"), self.mean("snri", "engine, no AGC"),
                               delta=0.5)
        self.assertGreater(self.mean("speech", "engine"), self.mean("speech", "engine, no AGC") + 3)
        for system in ("beamformer", "all"):
            self.assertGreater(self.mean("stoi", system), self.mean("stoi", "microphone 1") + 0.03)
        self.assertLess(self.mean("noise", "Speex, microphone 1"), -6)

    def test_decisions(self):
        self.assertGreater(self.grid.decisions_by_seed(grid.RIGHT).mean(), 0.8)
        self.assertLess(self.grid.decisions_by_seed(grid.WAIT).max(), 1.01)
        np.testing.assert_array_equal(self.grid.decisions_by_seed(grid.HEARD), 1)

    def test_again(self):
        """The same seeds, the same figures to the last bit; another seed, others."""
        again = grid.run(grid.QUICK, Pool)
        for name in ("stoi", "powers", "decisions"):
            np.testing.assert_array_equal(getattr(again, name), getattr(self.grid, name))
        first, second = self.grid.by_seed("stoi", "all")
        self.assertNotEqual(first, second)

    def test_peer(self):
        """Without its denoiser the peer gives its input back, at the same place."""
        x = np.random.default_rng(1).integers(-9000, 9000, 4000).astype(np.int16)
        np.testing.assert_array_equal(speex.preprocess(x, denoise=False, agc=False), x)


class Pages(unittest.TestCase):
    def test_settled(self):
        """A gain that falls from 0 to -15 dB between 1 s and 2 s is within 2 dB at 1.87 s."""
        gain = np.interp(np.arange(800) / 100, (1, 2), (0, -15))
        self.assertAlmostEqual(case_tables.seconds_until_settled(gain), 1 + 13 / 15, delta=0.011)

    def test_cases_are_in_order(self):
        """Tables take results by their arguments, seeds last."""
        results = {"rival": np.arange(len(cases.RIVALS))}
        part = case_tables.chosen("rival", results, 90, 5)
        seeds = case_tables.seeds_of(part)
        self.assertEqual(seeds.shape, (5, 4))
        talker, snr, voice, seed = cases.RIVALS[seeds[2, 1]]
        self.assertEqual((talker, snr, voice, seed), (90, 5, "man", 3))

    def test_all_tables_have_a_place(self):
        wanted = set(grid_tables.TABLES) | set(case_tables.TABLES)
        found = [name for page in pages.PAGES
                 for _, name, _ in pages.PLACE.findall((SOURCE / page).read_text(encoding="utf-8"))]
        self.assertEqual(sorted(found), sorted(wanted))


if __name__ == "__main__":
    unittest.main()
