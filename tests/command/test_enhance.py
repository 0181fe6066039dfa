# SPDX-License-Identifier: Apache-2.0
import operator
import os
import select
import subprocess
import time

from commands import COMMAND, CommandTest, active_level, lag, level, noise, pcm


class Enhance(CommandTest):
    def enhance(self, *arguments, source="scene.wav", **options):
        self.run_command("enhance", source, "-o", "out.wav", *arguments, **options)
        return self.read("out.wav")

    def test_output_lies_under_the_input_unless_the_delay_is_kept(self):
        speech, _ = self.scene("--noise", "none")
        for switches, latency in (([], 48), (["--no-nr"], 48), (["--no-engine"], 24)):
            aligned = self.enhance(*switches)
            delayed = self.enhance("--keep-delay", *switches)
            part = slice(8000, 24000)
            self.assertEqual(lag(aligned[part], speech[part], 60), 0, switches)
            self.assertEqual(lag(delayed[part], speech[part], 60), latency, switches)
            self.assertEqual(delayed[latency:], aligned)
            self.assertEqual(len(aligned), len(speech))

    def test_every_length_and_rate_is_kept_to_the_sample(self):
        microphones = [noise(12345, 1), noise(12345, 2)]
        for length in (1, 6, 7, 80, 81, 12345):
            for rate in (8000, 11025, 44100, 48000):
                self.write("scene.wav", [m[:length] for m in microphones], rate)
                self.assertEqual(len(self.enhance()), -(-length * 8000 // rate), (length, rate))

    def test_pipes_and_formats_carry_the_same_samples(self):
        self.write("scene.wav", [noise(4321, 1), noise(4321, 2)])
        expected = self.enhance()
        with open("scene.wav", "rb") as file:
            raw = file.read()[44:]
        piped = self.run_command("enhance", "-", "-o", "-", input=raw).stdout
        self.assertEqual(list(pcm(piped)), expected)
        self.assertEqual(self.run_command("enhance", "scene.wav", "-o", "-").stdout, piped)
        self.run_command("enhance", "-", "-o", "out.flac", input=raw)
        passed = ["engine", "out.flac", "--no-nr", "--no-agc", "-o", "back.wav"]
        self.run_command(*passed)
        self.assertEqual(self.read("back.wav"), expected)

    def test_a_live_pipe_answers_every_frame_at_once(self):
        process = subprocess.Popen([COMMAND, "enhance", "-", "-o", "-", "--quiet"],
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.addCleanup(process.stdout.close)
        output = process.stdout.fileno()
        received = 0
        for frame in range(1, 30):
            os.write(process.stdin.fileno(), bytes(320))
            deadline = time.monotonic() + 20
            while received < 2 * (80 * frame - 48):
                self.assertTrue(select.select([output], [], [], deadline - time.monotonic())[0],
                                f"no answer to frame {frame}")
                received += len(os.read(output, 4096))
        os.write(process.stdin.fileno(), bytes(40))
        process.stdin.close()
        received += len(process.stdout.read())
        self.assertEqual(process.wait(20), 0)
        self.assertEqual(received, 2 * (80 * 29 + 10))

    def test_microphones_and_switches(self):
        first, second = self.scene("--talker", 0, "--snr", 20)
        for switches, beams in (([], (90, 101)), (["--swap"], (0, 10))):
            done = self.run_command("enhance", "scene.wav", "-o", "o.wav", *switches)
            share = int(done.stdout.decode().split("degrees ")[1].split("/")[0])
            self.assertIn(share, range(*beams), switches)
        swapped = self.enhance("--swap")
        self.write("exchanged.wav", [second, first])
        self.assertEqual(self.enhance(source="exchanged.wav"), swapped)

        self.write("hiss.wav", [noise(24000, 1), noise(24000, 2)])
        suppressed = level(self.enhance(source="hiss.wav")[16000:])
        with_agc = level(self.enhance("--no-nr", source="hiss.wav")[16000:])
        plain = level(self.enhance("--no-engine", source="hiss.wav")[16000:])
        self.assertGreater(with_agc - suppressed, 4)
        self.assertGreater(with_agc - plain, 1)
        quiet = self.run_command("enhance", "hiss.wav", "-o", "o.wav", "--quiet")
        self.assertEqual((quiet.stdout, quiet.stderr), (b"", b""))

    def test_switches_that_only_this_command_has(self):
        microphones = self.scene("--talker", 90, "--snr", 25)
        settled = slice(3000, None)
        plain = self.enhance("--no-engine")
        held = [self.enhance("--no-engine", "--beam", beam) for beam in range(3)]
        self.assertEqual(plain[settled], held[1][settled])
        self.assertNotEqual(plain[settled], held[0][settled])
        self.assertNotEqual(held[0][settled], held[2][settled])

        five = [noise(8000, seed) for seed in range(5)]
        self.write("five.wav", five)
        self.write("two.wav", [five[4], five[1]])
        self.assertEqual(self.enhance("--channels", "5,2", source="five.wav"), self.enhance(source="two.wav"))
        for channels, code in (("1,6", 1), ("1", 2), ("0,1", 2)):
            done = self.run_command("enhance", "five.wav", "-o", "-", "--channels", channels,
                                    code=code)
            self.assertEqual(b"5 channels" in done.stderr, code == 1)

        # Until the first voice the AGC stands at 15.05 dB.
        self.write("hiss.wav", [noise(8000, 1, 300), noise(8000, 2, 300)])
        with_agc, without = self.enhance(source="hiss.wav"), self.enhance("--no-agc", source="hiss.wav")
        self.assertAlmostEqual(level(with_agc) - level(without), 15.05, delta=0.1)

        enhanced = self.enhance("--compare", "both.wav")
        left, right = self.read("both.wav", channels=2)
        self.assertEqual(left[:100] == microphones[0][:100], right[:100] != enhanced[:100])
        for channel, whole in ((left, microphones[0]), (right, enhanced)):
            scale = sum(map(operator.mul, channel, whole)) / sum(map(operator.mul, whole, whole))
            self.assertLess(max(abs(scale * w - c) for c, w in zip(channel, whole)), 1)
            self.assertLessEqual(scale, 1.0001)
        self.assertAlmostEqual(active_level(left, 8000), active_level(right, 8000), delta=0.1)
