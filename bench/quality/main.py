#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Measures what the front end does to speech, and writes the tables and pictures of the documents.

Environment: ARVESSA_COMMAND, the command `arvessa`; ARVESSA_QUALITY, a folder for what is made on
the way; PYTHONPATH with the package. `run` sets all of it.
"""
import argparse
import multiprocessing
import os
import pickle
import time
from pathlib import Path

# Processes share the work; a product of matrices that has threads of its own would only disturb.
os.environ.setdefault("OPENBLAS_NUM_THREADS", "1")

import cases
import grid
from scenes import FOLDER

RESULTS = FOLDER / "results.pickle"


def show_quick(results):
    for system in grid.SYSTEMS:
        values = "  ".join(f"{name} {grid.mean_and_interval(results.by_seed(name, system))[0]:6.2f}"
                           for name in ("snri", "noise", "speech", "stoi"))
        print(f"{system:30} {values}")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--quick", action="store_true",
                        help="two scenes, shown here; no file is written")
    parser.add_argument("--redraw", action="store_true",
                        help="tables and pictures out of the results of the latest full run")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="processes [%(default)s]")
    options = parser.parse_args()

    started = time.monotonic()
    if options.redraw:
        results, others = pickle.loads(RESULTS.read_bytes())
    else:
        with multiprocessing.Pool(options.jobs) as pool:
            results = grid.run(grid.QUICK if options.quick else grid.FULL, pool)
            if options.quick:
                show_quick(results)
                return
            print(f"grid of {results.stoi[..., 0].size} scenes: "
                  f"{time.monotonic() - started:.0f} s", flush=True)
            others = cases.run(pool)
        RESULTS.write_bytes(pickle.dumps((results, others)))
        print(f"everything: {time.monotonic() - started:.0f} s, "
              f"load {os.getloadavg()[1]:.1f} on {os.cpu_count()} processors")

    import pages
    import pictures
    source = Path(__file__).resolve().parents[2]
    pictures.draw(results, others, source / "docs/images")
    pages.write(results, others, source)


if __name__ == "__main__":
    main()
