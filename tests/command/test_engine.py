# SPDX-License-Identifier: Apache-2.0

from commands import SPEECH, CommandTest, lag, level, noise


class Engine(CommandTest):
    def engine(self, source, *arguments, rate=8000, channels=1):
        self.run_command("engine", source, "-o", "out.wav", *arguments)
        return self.read("out.wav", rate, channels)

    def test_without_work_every_sample_passes(self):
        channels = [noise(1234, seed) for seed in range(3)]
        for rate in (8000, 16000, 32000, 48000):
            self.write("in.wav", channels, rate)
            self.assertEqual(self.engine("in.wav", "--no-nr", "--no-agc", rate=rate, channels=3), channels)

    def test_output_lies_under_the_input_at_every_rate(self):
        for rate in (8000, 11025, 16000, 22050, 32000, 44100, 48000, 96000):
            self.run_command("scene", SPEECH, "--noise", "none", "--rate", rate, "-o", "s.wav")
            speech, _ = self.read("s.wav", rate, 2)
            speech = speech[rate : 2 * rate + 3]
            self.write("in.wav", [speech], rate)
            enhanced = self.engine("in.wav", "--no-nr", rate=rate)
            self.assertEqual(len(enhanced), len(speech), rate)
            # The lower band at 48 kHz has no delay of whole samples.
            self.assertLessEqual(abs(lag(enhanced, speech, 40)), 1 if rate > 32000 else 0, rate)

    def test_channels_are_enhanced_each_for_itself(self):
        one, other = noise(5000, 1, 9000), noise(5000, 2, 90)
        self.write("one.wav", [one], 16000)
        self.write("other.wav", [other], 16000)
        self.write("both.wav", [one, other], 16000)
        both = self.engine("both.wav", rate=16000, channels=2)
        self.assertEqual(both, [self.engine("one.wav", rate=16000), self.engine("other.wav", rate=16000)])
        with open("both.wav", "rb") as file:
            raw = file.read()[44:]
        self.run_command("engine", "-", "--rate", 16000, "--channels", 2, "-o", "out.wav", input=raw)
        self.assertEqual(self.read("out.wav", 16000, 2), both)

    def test_gain_tables(self):
        speech, _ = self.scene("--noise", "none")
        self.write("in.wav", [4 * [sample // 32 for sample in speech]])
        settled = slice(3 * len(speech), None)
        plain = level(self.engine("in.wav", "--no-agc")[settled])
        for table, most in ((2, 8.9), (4, 18.4)):
            with_agc = level(self.engine("in.wav", "--agc-table", table)[settled])
            self.assertAlmostEqual(with_agc - plain, most, delta=0.3, msg=table)
        self.assertEqual(self.engine("in.wav", "--agc-table", 3), self.engine("in.wav", "--agc-table", 4))
