# SPDX-License-Identifier: Apache-2.0
"""Enhances a folder of recordings on a Dask cluster, as ``arvessa enhance IN --out-dir OUT`` does.

    python3 -m arvessa.corpus IN OUT [--scheduler ADDRESS]

Every worker runs the command ``arvessa`` on batches of files, and so needs it and sees IN and OUT
by the same names. A recording that has its output already is left out: after an interruption, the
same call goes on. What cannot be done is listed at the end; the exit code is then 1.
"""

import argparse
import json
import os
import shutil
import subprocess
import sys
from itertools import groupby
from pathlib import Path
from typing import Dict, Iterable, Iterator, List, Sequence, Tuple

from distributed import Client, as_completed

# What the command takes for a recording, and what it can write; anything else becomes WAV.
WRITABLE = {".wav", ".flac", ".aiff", ".aif", ".au", ".caf", ".w64"}
READABLE = WRITABLE | {".aifc", ".snd", ".rf64", ".ogg", ".oga", ".opus", ".mp3"}

# A task costs some 20 ms besides: Dask's part, and the start of the command. This much audio takes
# more than ten times as long.
LEAST_BYTES = 8e6

# How many were done, how many were there already, and the reasons against others, by input.
Outcome = Tuple[int, int, Dict[str, str]]


def recordings(folder: Path, output: Path) -> Iterator[Tuple[Path, int]]:
    """All recordings below `folder` but for those below `output`, in order, with their bytes."""
    for parent, folders, names in os.walk(folder):
        folders[:] = sorted(name for name in folders
                            if not name.startswith(".") and Path(parent, name) != output)
        for name in sorted(names):
            path = Path(parent, name)
            if not name.startswith(".") and path.suffix.lower() in READABLE and path.is_file():
                yield path, path.stat().st_size


def output_name(path: Path) -> Path:
    return path if path.suffix.lower() in WRITABLE else path.with_suffix(".wav")


def batches(files: Iterable[Tuple[Path, int]], most: float) -> Iterator[List[Path]]:
    """Neighbours, together `most` bytes or a single file that is larger."""
    batch: List[Path] = []
    size = 0
    for path, more in files:
        if batch and size + more > most:
            yield batch
            batch, size = [], 0
        batch.append(path)
        size += more
    if batch:
        yield batch


def enhance(command: str, folder: Path, output: Path, batch: Sequence[Path]) -> Outcome:
    """Runs the command, once for each folder of the batch. Dask calls this on a worker."""
    # The command ends with its worker, in good order: it must not go on beside the one that takes
    # over, nor leave parts of files.
    tied = ["setpriv", "--pdeathsig", "TERM"] if shutil.which("setpriv") else []
    done = skipped = 0
    troubles: Dict[str, str] = {}
    for parent, paths in groupby(batch, lambda path: path.parent):
        inputs = [str(path) for path in paths]
        target = output / parent.relative_to(folder)
        run = subprocess.run(
            [*tied, command, "enhance", *inputs, "--out-dir", str(target), "--skip-existing",
             "--jobs", "1", "--report", "json", "--quiet"],
            stdin=subprocess.DEVNULL, capture_output=True, text=True, errors="replace")
        try:
            report = json.loads(run.stdout)
        except ValueError:
            reason = run.stderr.strip() or f"the command ended with code {run.returncode}"
            troubles.update((path, f"{path}: {reason}") for path in inputs)
            continue
        done += report["done"]
        skipped += report["skipped"]
        troubles.update((recording["input"], recording["message"])
                        for recording in report["recordings"] if recording["status"] != "done")
    return done, skipped, troubles


def enhance_all(client: Client, command: str, folder: Path, output: Path,
                files: Sequence[Tuple[Path, int]], most: float) -> Outcome:
    """All of it, in batches of `most` bytes, or fewer to have four for each thread."""
    threads = sum(client.nthreads().values())
    share = sum(size for _, size in files) / (4 * threads)
    most = min(most, max(share, LEAST_BYTES))
    tasks = {client.submit(enhance, command, folder, output, batch, pure=False): batch
             for batch in batches(files, most)}
    done = skipped = 0
    troubles: Dict[str, str] = {}
    for task in as_completed(tasks):
        if task.status == "finished":
            more, before, new = task.result()
            done += more
            skipped += before
        else:
            new = {str(path): f"{path}: {task.exception()}" for path in tasks[task]}
        for reason in new.values():
            print(f"corpus: {reason}", file=sys.stderr)
        troubles.update(new)
    return done, skipped, troubles


def main(arguments: Sequence[str] = ()) -> int:
    parser = argparse.ArgumentParser(
        prog="python3 -m arvessa.corpus", description=__doc__,
        formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("IN", type=Path, help="folder of recordings, with subfolders")
    parser.add_argument("OUT", type=Path, help="folder to write to, with the same subfolders")
    parser.add_argument("--scheduler", metavar="ADDRESS",
                        help="of a Dask cluster, as tcp://host:8786; a cluster of this machine's "
                        "processors without it")
    parser.add_argument("--batch", type=float, default=64, metavar="MB",
                        help="largest size of a task's files together [64]")
    parser.add_argument("--command", default="arvessa", metavar="PATH",
                        help="the command on the workers [arvessa]")
    options = parser.parse_args(arguments or None)
    folder, output = options.IN.resolve(), options.OUT.resolve()
    files = list(recordings(folder, output))
    if not files:
        parser.error(f"{folder} holds no recordings")
    inputs: Dict[Path, Path] = {}
    for path, _ in files:
        other = inputs.setdefault(output_name(path), path)
        if other != path:
            parser.error(f"{other} and {path} would both become {output_name(path).name}")

    cluster = {"address": options.scheduler} if options.scheduler else {
        "n_workers": os.cpu_count(), "threads_per_worker": 1, "dashboard_address": None}
    with Client(**cluster) as client:
        if not client.nthreads():
            parser.error(f"the scheduler at {options.scheduler} has no workers")
        done, skipped, troubles = enhance_all(client, options.command, folder, output, files,
                                              options.batch * 1e6)
    print(f"{done} of {len(files)} recordings done, {skipped} there already, {len(troubles)} "
          "failed or incomplete")
    if troubles:
        print("corpus: not done or incomplete:", *sorted(troubles), sep="\n  ", file=sys.stderr)
    return 1 if troubles else 0


if __name__ == "__main__":
    sys.exit(main())
