# SPDX-License-Identifier: Apache-2.0
"""Corpora on Dask: on a cluster of processes, of which one is killed, and on one of their own."""

import os
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

import numpy as np
from commands import COMMAND, SPEECH, arvessa
from support import scene, write

FILES = 40


def files(folder):
    return {path.relative_to(folder): path for path in folder.rglob("*") if path.is_file()}


def versions(folder):
    """What changes when a file is written again."""
    return {name: (path.stat().st_ino, path.stat().st_mtime_ns)
            for name, path in files(folder).items() if not name.name.startswith(".")}


class Corpus(unittest.TestCase):
    def setUp(self):
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.recordings, self.clean = self.folder / "recordings", self.folder / "clean"

    def start(self, *command, **options):
        process = subprocess.Popen([sys.executable, "-W", "ignore", *map(str, command)],
                                   cwd=self.folder, text=True, **options)
        self.addCleanup(process.communicate)
        self.addCleanup(process.kill)
        return process

    def corpus(self, *options, command=COMMAND):
        return self.start("-m", "arvessa.corpus", self.recordings, self.clean, "--command", command,
                          *options, stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def wait_for(self, condition, process=None):
        end = time.monotonic() + 120
        while not condition():
            if process and process.poll() is not None:
                self.fail(f"ended early: {process.communicate()}")
            self.assertLess(time.monotonic(), end, "it did not come to that")
            time.sleep(0.01)

    def make_recordings(self):
        (self.recordings / "a/b").mkdir(parents=True)
        first = self.recordings / "a/0.wav"
        write(first, np.tile(scene(first), (5, 1)))
        for i in range(1, FILES):
            os.link(first, self.recordings / ("a/b" if i % 2 else "a") / f"{i}.wav")
        arvessa("scene", SPEECH, "--rate", 44100, "-o", self.recordings / "other.flac")
        (self.recordings / "bad.wav").write_text("no audio")

    def test_killed_worker_and_restart(self):
        self.make_recordings()
        address = self.folder / "scheduler.json"
        to_log = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
        self.start("-m", "distributed.cli.dask_scheduler", "--host", "127.0.0.1", "--port", 0,
                   "--no-dashboard", "--scheduler-file", address, **to_log)
        self.wait_for(address.exists)
        workers = [self.start("-m", "distributed.cli.dask_worker", "--scheduler-file", address,
                              "--no-nanny", "--nthreads", 1, "--no-dashboard", **to_log)
                   for _ in range(2)]
        from distributed import Client
        with Client(scheduler_file=str(address)) as client:
            client.wait_for_workers(2, timeout=120)
            scheduler = client.scheduler.address
        run = self.corpus("--scheduler", scheduler, "--batch", 4)
        self.wait_for(lambda: len(versions(self.clean)) >= FILES // 4, run)
        before = versions(self.clean)
        workers[0].kill()
        killed = len(versions(self.clean))
        self.assertLess(killed, FILES, "the worker was killed too late")
        out, err = run.communicate(timeout=300)
        self.assertEqual(run.returncode, 1, err)
        self.assertIn(f"corpus: not done or incomplete:\n  {self.recordings}/bad.wav\n", err)
        after = versions(self.clean)
        self.assertEqual(before, {name: after[name] for name in before}, "done twice")
        print(f"killed with {killed} of {FILES + 1} done; then: {out.strip()}")

        expected = self.folder / "expected"
        subprocess.run([COMMAND, "enhance", self.recordings, "--out-dir", expected],
                       capture_output=True, check=False)
        self.assertEqual(files(self.clean).keys(), files(expected).keys())
        for name, path in files(expected).items():
            self.assertEqual((self.clean / name).read_bytes(), path.read_bytes(), name)

        (self.clean / "a/4.wav").unlink()
        (self.clean / "other.flac").unlink()
        run = self.corpus()
        out, err = run.communicate(timeout=300)
        self.assertIn(f"2 of {FILES + 2} recordings done, {FILES - 1} there already", out, err)
        kept = versions(self.clean)
        self.assertEqual(sum(kept[name] != version for name, version in after.items()), 2)

    def test_command_ends_with_its_worker(self):
        command = self.folder / "command"
        command.write_text(f"#!/bin/sh\necho $$ > {self.folder}/new && mv {self.folder}/new "
                           f"{self.folder}/pid\nexec sleep 600\n", encoding="utf-8")
        command.chmod(0o755)
        worker = self.start("-c", "import pathlib, sys; from arvessa.corpus import enhance; folder = "
                            "pathlib.Path(); enhance(sys.argv[1], folder, folder, [folder / 'x'])",
                            command)
        self.wait_for((self.folder / "pid").exists, worker)
        pid = int((self.folder / "pid").read_text())
        self.assertTrue(Path(f"/proc/{pid}/exe").exists())
        worker.kill()

        self.wait_for(lambda: not Path(f"/proc/{pid}/exe").exists())  # gone, or not waited for

    def test_refuses_what_would_overwrite(self):
        self.recordings.mkdir()
        for name in ("x.wav", "x.ogg"):
            (self.recordings / name).touch()
        run = self.corpus()
        self.assertIn("would both become x.wav", run.communicate(timeout=300)[1])
        self.assertEqual(run.returncode, 2)
