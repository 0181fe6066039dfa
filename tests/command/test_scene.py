# SPDX-License-Identifier: Apache-2.0
import cmath
import math
import unittest

from support import SPEECH, CommandTest, lag, level, noise

DISTANCE = 0.1385  # of the microphones, metres
SOUND = 340.0  # m/s


def active_level(samples, rate):
    blocks = [samples[n : n + rate // 50] for n in range(0, len(samples), rate // 50)]
    powers = [sum(s * s for s in block) / len(block) for block in blocks]
    active = [power for power in powers if power >= max(powers) / 1000]
    return 10 * math.log10(sum(active) / len(active) / 32768**2)


def coherence(first, second, frequency, rate, size=256):
    """Real part of the coherence, by averaging over blocks under a Hann window."""
    window = [math.sin(math.pi * (n + 0.5) / size) ** 2 for n in range(size)]
    factors = [w * cmath.exp(-2j * math.pi * frequency * n / rate) for n, w in enumerate(window)]
    cross, powers = 0, [0.0, 0.0]
    for begin in range(0, len(first) - size, size // 2):
        a, b = (sum(f * s for f, s in zip(factors, x[begin : begin + size])) for x in (first, second))
        cross += a * b.conjugate()
        powers[0] += abs(a) ** 2
        powers[1] += abs(b) ** 2
    return cross.real / math.sqrt(powers[0] * powers[1])


class Scene(CommandTest):
    def setUp(self):
        super().setUp()
        speech, _ = self.scene("--noise", "none")
        self.short = self.write("short.wav", [speech[8000:20000]])

    def test_waves_cross_the_array_at_the_speed_of_sound(self):
        for angle in (0, 60, 90, 180):
            self.run_command("scene", SPEECH, "--talker", angle, "--noise", "none", "--rate", 48000,
                             "-o", self.path("s.wav"))
            first, second = (c[60000:90000] for c in self.read("s.wav", 48000, 2))
            expected = DISTANCE / SOUND * 48000 * math.cos(math.radians(angle))
            self.assertAlmostEqual(lag(first, second, 30), expected, delta=0.6)

    def test_noise_is_diffuse_and_its_point_source_is_not(self):
        recording = self.write("recording.wav", [noise(30000, 5)])
        for kind, frequencies in (("white", (500, 1000, 2500, 3250)), (recording, (1000, 1750))):
            first, second = self.scene("--noise", kind, "--snr", -60)
            for frequency in frequencies:
                x = 2 * math.pi * frequency * DISTANCE / SOUND
                self.assertAlmostEqual(coherence(first, second, frequency, 8000), math.sin(x) / x, delta=0.1)
        self.run_command("scene", self.short, "--noise", "white", "--snr", -60, "--noise-from", 180,
                         "--rate", 48000, "-o", self.path("s.wav"))
        first, second = (c[20000:50000] for c in self.read("s.wav", 48000, 2))
        self.assertAlmostEqual(lag(second, first, 30), DISTANCE / SOUND * 48000, delta=0.6)

    def test_signal_to_noise_ratio_of_every_noise(self):
        speech, _ = self.scene("--noise", "none", speech=self.short)
        recording = self.write("recording.wav", [noise(9999, 5)], 11025)
        for kind in ("fan", "white", "babble", recording):
            for extra in ([], ["--noise-from", 30]):
                mixed, _ = self.scene("--noise", kind, "--snr", 12, *extra, speech=self.short)
                added = [m - s for m, s in zip(mixed, speech)]
                self.assertAlmostEqual(active_level(speech, 8000) - level(added), 12, delta=0.1, msg=kind)

    def test_same_seed_same_samples(self):
        for kind in ("fan", "white", "babble"):
            scenes = [self.scene("--noise", kind, "--seed", seed, speech=self.short) for seed in (3, 3, 4)]
            self.assertEqual(scenes[0], scenes[1], kind)
            self.assertNotEqual(scenes[0], scenes[2], kind)

    def test_nothing_clips(self):
        speech, _ = self.scene("--noise", "none", speech=self.short)
        done = self.run_command("scene", self.short, "--noise", "white", "--snr", "-25",
                                "-o", self.path("loud.wav"))
        loud = self.read("loud.wav", channels=2)
        self.assertEqual(max(max(map(abs, channel)) for channel in loud), 32767)
        scaled = float(done.stdout.decode().split("scaled by ")[1].split(" dB")[0])
        self.assertAlmostEqual(level(loud[0]), active_level(speech, 8000) + 25 + scaled, delta=0.3)


if __name__ == "__main__":
    unittest.main()
