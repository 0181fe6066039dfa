# SPDX-License-Identifier: Apache-2.0
import os
import resource

from commands import SPEECH, CommandTest, noise


class Failures(CommandTest):
    def setUp(self):
        super().setUp()
        self.good = self.write("good.wav", [noise(80000, 1), noise(80000, 2)])

    def refused(self, *arguments, code=1, **options):
        """The one line of the refusal."""
        error = self.run_command(*arguments, code=code, **options).stderr.decode()
        self.assertEqual(error.count("\n"), 1, error)
        return error

    def test_bad_input_is_named_and_leaves_the_old_output_alone(self):
        self.store("empty.wav", b"")
        os.symlink("loop.wav", "loop.wav")
        os.mkdir("folder.wav")
        self.write("mono.wav", [noise(800)])
        self.write("three.wav", [noise(800)] * 3)
        self.write("header.wav", [[], []])
        reasons = {"missing.wav": "No such file", "empty.wav": "empty",
                   "loop.wav": "symbolic links", "mono.wav": "1 channel;",
                   "three.wav": "3 channels;", "header.wav": "no samples"}
        self.store("out.wav", b"precious")
        names = set(os.listdir(self.directory))
        for name, reason in reasons.items():
            error = self.refused("enhance", name, "-o", "out.wav")
            self.assertIn(name, error)
            self.assertIn(reason, error)
        self.assertIn("directory", self.refused("trace", "folder.wav", "-o", "out.wav"))
        self.refused("enhance", "", "-o", "out.wav")  # a variable that was not set
        self.assertIn("standard input", self.refused("enhance", "-", "-o", "out.wav", input=b""))
        self.assertEqual(self.content("out.wav"), b"precious")
        self.assertEqual(set(os.listdir(self.directory)), names)

    def test_wrong_usage(self):
        out = ["-o", "out.wav"]
        for arguments in ([], ["enhance"], ["enhance", self.good], ["enhance", self.good, "--loud", *out],
                          ["enhance", self.good, self.good, *out], ["engine", self.good, "--agc-table", 5, *out],
                          ["enhance", self.good, "-o", "out.mp3x"],
                          ["enhance", "-", "--out-dir", self.directory],
                          ["enhance", self.good, "x/good.wav", "--out-dir", "clean"],
                          ["engine", self.good, "--rate", 16000, *out], ["scene", SPEECH, "--snr", "nan", *out],
                          ["scene", SPEECH, "--seed", -1, *out],
                          ["scene", SPEECH, "--noise", "none", "--noise-from", 0, *out]):
            self.refused(*arguments, code=2)
        for arguments, words in ((["improve", self.good, *out], "command improve"),
                                 (["enhanc"], "did you mean enhance?"),
                                 (["help", "bems"], "did you mean beams?"),
                                 (["trace", self.good, "--bem", 1, *out], "did you mean --beam? (arvessa trace --help"),
                                 (["enhance", self.good, "--jobs", "0x2", *out], "0x2"),
                                 (["scene", SPEECH, "--noise", "babel", *out], "fan, white, babble or none")):
            self.assertIn(words, self.refused(*arguments, code=2))
        for command in ("enhance", "engine", "scene", "trace", "beams"):
            arguments = [] if command == "beams" else [SPEECH if command == "scene" else self.good]
            self.assertIn("output is empty", self.refused(command, *arguments, "-o", "", code=2))
        self.assertEqual(os.listdir(self.directory), ["good.wav"])
        for arguments in (["--help"], ["help"], ["help", "trace"], ["enhance", "--help"], ["engine", "--help"], ["scene", "--help"],
                          ["trace", "--help"], ["info"], ["--version"]):
            self.assertIn(b"arvessa" if arguments[0] != "info" else b"8132", self.run_command(*arguments).stdout)

    def test_an_input_is_never_overwritten(self):
        before = self.content("good.wav")
        os.symlink("good.wav", "symbolic.wav")
        os.link(self.good, "hard.wav")
        for name in ("good.wav", "symbolic.wav", "hard.wav"):
            for command in ("enhance", "trace"):
                self.assertIn(name, self.refused(command, self.good, "-o", name))
        self.refused("enhance", self.good, "--out-dir", self.directory)
        self.refused("scene", self.good, "--noise", self.good, "-o", self.good)
        with open(self.good, "r+b") as file:
            self.refused("enhance", self.good, "-o", "-", stdout=file)
        self.assertEqual(self.content("good.wav"), before)

    def test_output_that_cannot_be_written(self):
        def small_disk():
            resource.setrlimit(resource.RLIMIT_FSIZE, (20000, 20000))

        for name in ("out.wav", "out.flac"):
            error = self.refused("engine", self.good, "-o", name, preexec_fn=small_disk)
            self.assertIn(name, error)
            self.assertIn("File too large", error)
        for path in ("good.wav/out.wav", "none/out.wav", "/proc/self/out.wav", self.directory + "/.wav/"):
            self.refused("enhance", self.good, "-o", path, code=1 if not path.endswith("/") else 2)
        for directory in ("/proc/self", "good.wav"):
            self.assertIn(directory, self.refused("enhance", self.good, "--out-dir", directory))
        with open("/dev/full", "wb") as full:
            self.assertIn("No space left", self.to_output(full))
            self.refused("info", stdout=full)
        reading, writing = os.pipe()
        os.close(reading)
        self.assertIn("Broken pipe", self.to_output(writing))
        os.close(writing)
        self.assertEqual(os.listdir(self.directory), ["good.wav"])

    def to_output(self, output):
        return self.refused("enhance", self.good, "-o", "-", stdout=output)

    def test_two_outputs_are_never_one_file(self):
        self.write("also.wav", [noise(800), noise(800)])
        os.mkdir("clean")
        os.symlink("also.wav", "clean/good.wav")
        self.refused("enhance", self.good, "also.wav", "--out-dir", "clean", code=2)
        self.run_command("enhance", self.good, "-o", "clean/good.wav")
        self.assertTrue(os.path.islink("clean/good.wav"))
        self.assertEqual(len(self.read("clean/also.wav")), 80000)
