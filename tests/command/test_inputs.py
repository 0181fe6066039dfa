# SPDX-License-Identifier: Apache-2.0
"""Whole, damaged and false recordings, from files and from pipes."""

import os
import random
import struct

from commands import SOURCE, CommandTest, noise, pcm

GUID = bytes.fromhex("0000000010008000" "00aa00389b71")  # of a format, after its number
PLAIN = ("--no-nr", "--no-agc", "--quiet")


def wav(samples, code, bits, size=None, riff=None, extensible=False):
    """A file of WAV with `samples`, which are bytes, in two channels at 8 kHz."""
    frame = bits // 4
    head = struct.pack("<HHIIHH", 0xFFFE if extensible else code, 2, 8000, 8000 * frame, frame, bits)
    if extensible:
        head += struct.pack("<HHIH", 22, bits, 3, code) + GUID
    body = b"WAVEfmt " + struct.pack("<I", len(head)) + head + b"LIST" + struct.pack("<I", 3) + b"abc\0"
    body += b"data" + struct.pack("<I", len(samples) if size is None else size) + samples
    return b"RIFF" + struct.pack("<I", len(body) if riff is None else riff) + body


class Inputs(CommandTest):
    def setUp(self):
        super().setUp()
        self.samples = [noise(30000, 1), noise(30000, 2)]
        self.good = self.write("good.wav", self.samples)
        self.data = self.content("good.wav")[44:]

    def each_way(self, data):
        """What a command is given to read `data` from a file, a pipe and a redirected file."""
        path = self.store("input", data)
        yield path, {}
        yield "-", {"input": data}
        with open(path, "rb") as file:
            yield "-", {"stdin": file}

    def engine(self, source, *arguments, code=0, **options):
        """The channels that come out, and what was said."""
        done = self.run_command("engine", source, "-o", "out.wav", *PLAIN, *arguments, code=code, **options)
        return self.read("out.wav", channels=2), done.stderr.decode()

    def test_every_format_is_read_from_files_and_pipes(self):
        wide = [b"".join(bytes(n) + self.data[i : i + 2] for i in range(0, len(self.data), 2)) for n in (1, 2)]
        floats = struct.pack(f"<{len(self.data) // 2}f", *(sample / 32768 for sample in pcm(self.data)))
        files = [wav(self.data, 1, 16, extensible=True), wav(wide[0], 1, 24), wav(wide[1], 1, 32), wav(floats, 3, 32),
                 wav(self.data, 1, 16) + b"LIST\4\0\0\0more"]
        files += [wav(self.data, 1, 16, size, size) for size in (2**31 - 37, 2**31, 2**32 - 1)]
        for extension in ("flac", "aiff", "au", "w64", "caf"):
            self.engine(self.good)
            self.run_command("engine", self.good, "-o", "x." + extension, *PLAIN)
            files.append(self.content("x." + extension))
        for data in files:
            for source, options in self.each_way(data):
                self.assertEqual(self.engine(source, **options), (self.samples, ""), data[:60])
        # The same bytes as raw samples, header and all.
        raw = self.run_command("engine", "-", "--raw", "-o", "-", *PLAIN, input=files[0]).stdout
        self.assertEqual(raw, files[0])

    def test_a_recorder_that_was_ended_left_sizes_of_zero(self):
        for (source, options), remark in zip(self.each_way(wav(self.data, 1, 16, 0, 0)), ("sizes are 0", "", "sizes are 0")):
            samples, error = self.engine(source, **options)
            self.assertEqual(samples, self.samples)
            self.assertEqual((remark in error, error.count("\n")), (True, 1 if remark else 0))

    def test_pipes_carry_wav_and_flac(self):
        self.run_command("enhance", self.good, "-o", "out.wav")
        expected = self.read("out.wav")
        piped = self.run_command("enhance", self.good, "-o", "-", "--format", "wav", "--quiet").stdout
        self.assertEqual((piped[:8], piped[40:44], list(pcm(piped[44:]))),
                         (b"RIFF" + 4 * b"\xff", 4 * b"\xff", expected))
        flac = self.run_command("enhance", self.good, "-o", "-", "--format", "flac", "--quiet").stdout
        self.run_command("engine", "-", "-o", "out.wav", *PLAIN, input=flac)
        self.assertEqual(self.read("out.wav"), expected)
        refused = self.run_command("enhance", self.good, "-o", "-", "--format", "caf", code=2)
        self.assertIn(b"WAV or FLAC", refused.stderr)

    def test_damage_is_told_in_one_line_and_the_rest_is_kept(self):
        floats = [0.25] * 400
        floats[7] = floats[9] = float("nan")
        cases = [(wav(struct.pack("<400f", *floats), 3, 32), "2 samples are not finite numbers; {} has silence in their place", 200),
                 (wav(self.data[:403], 1, 16, 800), "truncated: ends after 100 of 200 samples; {} holds what there is", 100)]
        for extension in ("aiff", "au", "w64", "caf", "flac"):
            self.run_command("engine", self.good, "-o", "x." + extension, *PLAIN)
            cases.append((self.content("x." + extension)[:90001], "; {} holds what there is", 1000))
        with open(SOURCE / "audio/unfinished.ogg", "rb") as file:
            cases.append((file.read(), "truncated: ends after 2000 samples, without the mark of its end", 2000))
        for data, said, least in cases:
            for source, options in self.each_way(data):
                (first, _), error = self.engine(source, code=1, **options)
                self.assertEqual(error.count("\n"), 1, error)
                self.assertIn(said.format("out.wav"), error)
                self.assertGreaterEqual(len(first), least)
        self.store("cut.wav", cases[1][0])
        done = self.run_command("engine", "cut.wav", self.good, "gone.wav",
                                "--out-dir", "all", "--no-nr", code=1)
        self.assertIn(b"1 of 3 recordings done, 1 incomplete, 1 failed", done.stdout)
        # Nothing usable: what was there stays.
        self.store("out.wav", b"precious")
        for data in (wav(struct.pack("<4f", *4 * [float("nan")]), 3, 32), wav(b"", 1, 16), b"ID3\4\0\0\0\0\0\0"):
            for source, options in self.each_way(data):
                error = self.run_command("engine", source, "-o", "out.wav", code=1, **options).stderr
                self.assertEqual((error.count(b"\n"), self.content("out.wav")), (1, b"precious"), error)

    def test_what_is_no_recording_is_refused_in_one_line(self):
        generator = random.Random(1)
        text = b"This is no recording. " * 50
        self.store("out.wav", b"precious")
        for begin in (b"", b"ID3\3\0\0\0\0\0\x16" + bytes(22) + b"\xff\xfb\x90\x44", b"\xff\xfb\x90\x44", b"\xff\xf3\x40\xc4",
                      b"RIFF\0\0\0\0WAVEfmt ", b"OggS\0\2", b"fLaC", b"FORM\0\0\1\0AIFF", b"caff\0\1", b".snd", b"riff"):
            for rest in (text, generator.randbytes(9000)):
                path = self.store("text\x1b[31m\n.wav", begin + rest)
                done = self.run_command("enhance", path, "-o", "out.wav", code=1)
                error = done.stderr.decode()
                self.assertRegex(error, r"^arvessa: \S*text\\x1b\[31m\\n\.wav: [^\n]*not readable as audio\n$")
        self.assertEqual(self.content("out.wav"), b"precious")
