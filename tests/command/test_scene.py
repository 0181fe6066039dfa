# SPDX-License-Identifier: Apache-2.0
import cmath
import math
import subprocess

from commands import (COMMAND, SPEECH, CommandTest, active_level, lag, level, noise, read_wav,
                      write_wav)

DISTANCE = 0.1385  # of the microphones, metres
SOUND = 340.0  # m/s


class Scene(CommandTest):
    def setUp(self):
        super().setUp()
        speech, _ = self.scene("--noise", "none")
        self.short = self.write("short.wav", [speech[8000:20000]])

    def test_waves_cross_the_array_at_the_speed_of_sound(self):
        for angle in (0, 60, 90, 180):
            self.run_command("scene", SPEECH, "--talker", angle, "--noise", "none", "--rate", 48000,
                             "-o", "s.wav")
            first, second = (c[60000:90000] for c in self.read("s.wav", 48000, 2))
            expected = DISTANCE / SOUND * 48000 * math.cos(math.radians(angle))
            self.assertAlmostEqual(lag(first, second, 30), expected, delta=0.6)

    def test_coherence_of_the_field(self):
        # The noise is a click now and then in n1 and n2: each click of the sum of the microphones
        # shows the filter of n1, of the difference that of n2.
        clicks = self.write("click.wav", [[0] * 5000 + [20000] + [0] * 10999])
        first, second = self.scene("--noise", clicks, "--snr", -100)
        spectra = []
        for clicking in ([a + b for a, b in zip(first, second)], [a - b for a, b in zip(first, second)]):
            inner = clicking[100:-100]
            peak = 100 + max(range(len(inner)), key=lambda n: abs(inner[n]))
            taps = clicking[peak - 60 : peak + 61]
            spectra.append([abs(sum(tap * cmath.exp(-2j * math.pi * f * n / 8000) for n, tap in enumerate(taps))) ** 2
                            for f in range(50, 3801, 150)])
        for f, common, opposed in zip(range(50, 3801, 150), *spectra):
            x = 2 * math.pi * f * DISTANCE / SOUND
            self.assertAlmostEqual((common - opposed) / (common + opposed), math.sin(x) / x, delta=0.003, msg=f)
            self.assertAlmostEqual((common + opposed) / (spectra[0][0] + spectra[1][0]), 1, delta=0.003, msg=f)

    def test_noise_of_a_point_source_comes_from_there(self):
        self.run_command("scene", self.short, "--noise", "white", "--snr", -60, "--noise-from", 180,
                         "--rate", 48000, "-o", "s.wav")
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
                                "-o", "loud.wav")
        loud = self.read("loud.wav", channels=2)
        self.assertEqual(max(max(map(abs, channel)) for channel in loud), 32767)
        scaled = float(done.stdout.decode().split("scaled by ")[1].split(" dB")[0])
        self.assertAlmostEqual(level(loud[0]), active_level(speech, 8000) + 25 + scaled, delta=0.3)

    def test_a_long_scene_is_not_held_in_memory(self):
        _, _, speech = read_wav(SPEECH)
        long = write_wav("long.wav", 85 * speech, 16000)
        samples = 85 * len(speech) // 2
        arguments = ["scene", long, "--noise", "babble", "--quiet", "-o", "-"]
        with subprocess.Popen([COMMAND, *arguments], stdout=subprocess.PIPE) as process:
            left = 4 * samples
            rest = 200000  # more than a pipe holds: the command cannot end before it is read
            while left > rest:
                left -= len(process.stdout.read1(left - rest))
            with open(f"/proc/{process.pid}/status", encoding="ascii") as status:
                peak = next(int(line.split()[1]) for line in status if line.startswith("VmHWM"))
            self.assertEqual(len(process.stdout.read()), rest)
        self.assertEqual(process.returncode, 0)
        self.assertLess(peak, 80000)  # kilobytes; the samples of both microphones in float take 77,300

    def test_the_output_is_opened_first(self):
        empty = self.write("empty.wav", [[]])
        done = self.run_command("scene", self.short, "--noise", empty, "-o", "no/out.wav", code=1)
        self.assertIn(b"no/out.wav: cannot be written", done.stderr)
