# SPDX-License-Identifier: Apache-2.0
import csv
import re
import subprocess

from commands import SOURCE, SPEECH, CommandTest, level, noise


# Runs a program that draws, and prints what is written in its picture instead of storing it.
WRITTEN = """import matplotlib, runpy, sys
from matplotlib.figure import Figure
from matplotlib.text import Text
def show(figure, *_, **__): print(*(text.get_text() for text in figure.findobj(Text)), sep='; ')
Figure.savefig = show
sys.argv = sys.argv[1:]
runpy.run_path(sys.argv[0], run_name="__main__")"""


class Trace(CommandTest):
    def trace(self, source, *arguments):
        self.run_command("trace", source, "-o", "trace.csv", *arguments)
        with open("trace.csv", newline="") as file:
            return [{key: float(value) for key, value in row.items()} for row in csv.DictReader(file)]

    def test_levels_and_times_are_those_of_the_recordings(self):
        self.run_command("scene", SPEECH, "--talker", 0, "--noise", "fan", "-o", "s.wav")
        self.run_command("enhance", "s.wav", "-o", "out.wav", "--swap")
        enhanced = self.read("out.wav")
        rows = self.trace("s.wav", "--swap")
        self.assertEqual(len(rows), (len(enhanced) + 79) // 80)
        for i, row in enumerate(rows):
            self.assertAlmostEqual(row["time_s"], i / 100, delta=1e-6)
            self.assertAlmostEqual(row["output_dbfs"], level(enhanced[80 * i : 80 * i + 80]), delta=0.006)
        self.assertGreater(sum(row["beam"] == 2 for row in rows), 0.9 * len(rows))

    def test_the_last_frame_has_the_level_of_its_samples(self):
        self.write("s.wav", [[8192] * 85] * 2)
        self.assertEqual([row["input_dbfs"] for row in self.trace("s.wav")], [-12.04, -12.04])

    def test_decisions_fit_what_is_heard(self):
        # Two seconds of hiss, then speech above it.
        speech, _ = self.scene("--noise", "none")
        scene = [[s + n for s, n in zip([0] * 16000 + speech, noise(16000 + len(speech), seed, 60))]
                 for seed in (1, 2)]
        self.write("s.wav", scene)
        rows = self.trace("s.wav")
        hiss = rows[100:200]
        voiced = [row for row in rows[200:] if row["input_dbfs"] > -30]
        self.assertLess(sum(row["voice"] for row in hiss), 0.1 * len(hiss))
        self.assertGreater(sum(row["voice"] for row in voiced), 0.7 * len(voiced))
        for row in rows:
            self.assertTrue(-15 <= row["floor_db"] <= -4 and 1.2 <= row["agc_gain_db"] <= 18.5, row)
        # In mere hiss all bins are alike: what is gained and what is suppressed is what is heard.
        self.run_command("enhance", "s.wav", "-o", "plain.wav", "--no-engine")
        plain = level(self.read("plain.wav")[8000:16000])
        heard = sum(10 ** (row["output_dbfs"] / 10) for row in hiss) / len(hiss)
        expected = sum(10 ** ((row["agc_gain_db"] + row["mean_suppression_db"]) / 10) for row in hiss) / len(hiss)
        self.assertAlmostEqual(heard, expected * 10 ** (plain / 10), delta=0.3 * heard)

    def test_picture_of_the_demo_tells_what_is_in_its_recordings(self):
        # Of 4 s the second and the fourth have a tone; what comes out is twice as loud, its noise 20 dB
        # lower.
        talk = [6000 * (n % 4 < 2) - 3000 if n // 8000 % 2 else 0 for n in range(32000)]
        hiss = noise(32000, amplitude=1000)
        self.write("talk.wav", [talk])
        self.write("noisy.wav", [[t + h for t, h in zip(talk, hiss)]] * 2)
        self.write("enhanced.wav", [[2 * t + round(h / 5) for t, h in zip(talk, hiss)]])
        header = self.trace("noisy.wav")[0]
        for voiced in (100, 0):
            rows = [{**header, "time_s": n / 100, "agc_gain_db": 6.02, "voice": int(n >= voiced)}
                    for n in range(400)]
            with open("trace.csv", "w", newline="", encoding="utf-8") as file:
                table = csv.DictWriter(file, header)
                table.writeheader()
                table.writerows(rows)
            files = [word for name in ("talk", "noisy", "enhanced")
                     for word in ("--" + name, name + ".wav")]
            written = subprocess.run(
                ["/usr/bin/python3", "-c", WRITTEN, SOURCE / "scripts/plot_demo.py", *files, "--trace",
                 "trace.csv", "--talker", "90", "--spent-microseconds", "1", "no.png"],
                stdout=subprocess.PIPE, text=True, check=True).stdout
            figures = re.search(r"is (\S+) dB lower, the speech stands (\S+) dB clearer", written)
            self.assertAlmostEqual(float(figures[1]), 20 - 6.02, delta=0.15)
            self.assertAlmostEqual(float(figures[2]), 20, delta=0.3)
            self.assertEqual("the AGC starts at +15 dB" in written, voiced > 0)
