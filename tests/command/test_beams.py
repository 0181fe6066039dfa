# SPDX-License-Identifier: Apache-2.0
import csv
import os
import subprocess

from commands import SOURCE, CommandTest


class Beams(CommandTest):
    def beams(self, *arguments):
        self.run_command("beams", *arguments, "-o", "beams.csv", "--quiet")
        return "beams.csv"

    def enhanced(self, *arguments):
        self.run_command("enhance", "scene.wav", "-o", "out.wav", *arguments)
        return self.read("out.wav")

    def test_the_design_gives_what_the_library_has(self):
        self.scene("--talker", 0)
        self.assertEqual(self.enhanced("--beams", self.beams()), self.enhanced())
        table = "table.cpp"
        subprocess.run(["cmake", "-D", "BEAMS=beams.csv", "-D", f"SOURCE={table}",
                        "-P", f"{SOURCE}/cmake/beam_table.cmake"], check=True)
        with open(table, encoding="utf-8") as written, \
                open(f"{SOURCE}/src/beamformer/beam_weights_tables.cpp", encoding="utf-8") as stored:
            self.assertEqual(written.read(), stored.read())

    def test_other_microphones_hear_where_the_talker_is(self):
        for microphones, directions in (("-29,0:29,0", "0,90,180"), ("0,-50:0,50", "90,-90"),
                                        ("10,10:110,60", "26,116,206")):
            beams = self.beams("--microphones", microphones, "--directions", directions)
            for talker in map(int, directions.split(",")):
                self.scene("--beams", beams, "--talker", talker, "--snr", 20)
                self.run_command("trace", "scene.wav", "--beams", beams, "-o", "t.csv")
                with open("t.csv", newline="", encoding="utf-8") as file:
                    heard = [float(row["direction_deg"]) for row in csv.DictReader(file)]
                self.assertGreater(heard.count(talker), 0.9 * len(heard), (microphones, talker))

    def test_what_makes_no_sense_is_refused_with_the_reason(self):
        for arguments, reason in ((["--microphones", "1,2:1,2"], "same place"),
                                  (["--microphones", "0,0:0,1001"], "farther apart than 1 m"),
                                  (["--microphones", "1,2"], "X,Y:X,Y"),
                                  (["--microphones", "1,2:3,x"], "3,x"),
                                  (["--directions", "90"], "at least two"),
                                  (["--directions", "0,60,90,180"], "at most three"),
                                  (["--directions", "90,-90"], "cannot tell 90 and -90")):
            done = self.run_command("beams", *arguments, "-o", "no.csv", code=2)
            self.assertIn(reason, done.stderr.decode())
        self.assertEqual(os.listdir(self.directory), [])
        self.scene()
        for arguments, reason, code in ((["--beams", "scene.wav"], "not a file of beams", 1),
                                        (["--beams", "none.csv"], "No such file", 1),
                                        (["--beams", self.beams("--directions", "0,90"), "--beam", 2],
                                         "there are 2 beams", 2)):
            done = self.run_command("enhance", "scene.wav", "-o", "-", *arguments, code=code)
            self.assertIn(reason, done.stderr.decode())

    def test_pictures(self):
        scene = "scene.wav"
        self.scene()
        drawings = (["beams", "-o", "b.csv"], ["enhance", scene, "-o", "e.wav"])
        for arguments in drawings:
            self.run_command(*arguments, "--picture", "p.png")
            with open("p.png", "rb") as file:
                self.assertEqual(file.read(8), b"\x89PNG\r\n\x1a\n")
            os.remove("p.png")
            # A Python that does not start.
            done = self.run_command(*arguments, "--picture", "p.png", code=1,
                                    env={**os.environ, "PYTHONHOME": "/nowhere"})
            self.assertIn("python3-matplotlib", done.stderr.decode())
            self.assertFalse(os.path.exists("p.png"))
