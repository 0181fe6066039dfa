# SPDX-License-Identifier: Apache-2.0
import json
import os

from commands import CommandTest, noise


class Batch(CommandTest):
    def setUp(self):
        super().setUp()
        os.makedirs("in/day/one")
        for name, seed in (("in/day/one/a.wav", 1), ("in/b.wav", 2), ("in/.hidden.wav", 3)):
            self.write(name, [noise(8000, seed), noise(8000, seed + 9)])
        self.run_command("engine", "in/b.wav", "-o", "in/day/c.flac")
        self.store("in/notes.txt", b"no recording")

    def files(self, folder):
        return {os.path.relpath(os.path.join(where, name), folder)
                for where, _, names in os.walk(folder) for name in names}

    def test_folders_keep_their_subfolders_and_formats(self):
        out = ["--out-dir", "in/clean"]
        self.run_command("enhance", "in", *out, "--jobs", 3)
        self.assertEqual(self.files("in/clean"), {"day/one/a.wav", "b.wav", "day/c.flac"})
        for name in ("day/one/a.wav", "b.wav"):
            self.run_command("enhance", f"in/{name}", "-o", "one.wav")
            self.assertEqual(self.read(f"in/clean/{name}"), self.read("one.wav"))
        os.remove("in/clean/b.wav")
        times = os.stat("in/clean/day/c.flac").st_mtime_ns
        done = self.run_command("enhance", "in", *out, "--skip-existing").stdout.decode()
        self.assertIn("1 of 3 recordings done, 2 there already", done)
        self.assertEqual(os.stat("in/clean/day/c.flac").st_mtime_ns, times)
        self.run_command("enhance", "in/day", "--out-dir", "caf", "--format", "caf")
        self.assertEqual(self.files("caf"), {"one/a.caf", "c.caf"})

    def test_report_for_programs(self):
        self.write("mono.wav", [noise(800)])
        inputs = [name for name in ("in/b.wav", "mono.wav", "in/day/c.flac")]
        with open(inputs[2], "r+b") as file:
            file.truncate(os.path.getsize(inputs[2]) * 3 // 4)
        done = self.run_command("enhance", *inputs, "--out-dir", "out", "--report", "json",
                                "--jobs", 2, code=1)
        self.assertEqual(self.files("out"), {"b.wav", "c.flac"})
        listed = done.stderr.decode().splitlines()[-1]
        self.assertTrue("mono.wav" in listed and "c.flac" in listed and "b.wav" not in listed, listed)
        report = json.loads(done.stdout)
        self.assertEqual([entry["status"] for entry in report["recordings"]], ["done", "failed", "incomplete"])
        self.assertEqual((report["done"], report["failed"], report["incomplete"]), (1, 1, 1))
        first, second, third = report["recordings"]
        self.assertEqual((first["input"], first["seconds"]), (inputs[0], 1))
        self.assertAlmostEqual(sum(beam["share"] for beam in first["beams"]), 1, delta=0.001)
        self.assertIn("arvessa engine", second["message"])
        self.assertIn("c.flac", third["message"])

    def test_a_folder_made_for_nothing_is_removed(self):
        kept = "kept"
        os.mkdir(kept)
        for inputs in (["gone.wav"], ["in/notes.txt"]):
            for folder in ("new/er", kept):
                self.run_command("enhance", *inputs, "--out-dir", folder, code=1)
        self.assertFalse(os.path.exists("new"))
        self.assertTrue(os.path.isdir(kept))
        os.mkdir("empty")
        done = self.run_command("engine", "empty", "--out-dir", kept, code=1)
        self.assertIn("holds no recordings", done.stderr.decode())
        self.run_command("engine", "in", "-o", "x.wav", code=2)
