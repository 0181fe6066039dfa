# SPDX-License-Identifier: Apache-2.0
"""A build of the copied repository and the tests that it has, found in the build itself."""

import collections
import hashlib
import json
import os
import re
import resource
import subprocess
import time

# Only the library and its tests. Warnings are no errors: an operand that a fault leaves unused is
# not what stops it. Tests of the shared object are linked once, not for every fault.
SETTINGS = ("-DARVESSA_APPS=OFF", "-DARVESSA_BENCH=OFF", "-DARVESSA_TESTS=REQUIRED",
            "-DARVESSA_WERROR=OFF", "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON")
ARCHIVE = "src/libArvessa.a"  # all objects, kernels included that the shared object leaves out
LABELS = {"unit", "stream", "unit-reference", "stream-reference"}  # of the tests to run
# Has to be built again for any fault, as it links the objects and includes their headers, and so
# comes last.
REBUILT = "arvessa_unit_tests"
resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


class BuildFailure(Exception):
    """The library or a test does not build; says why."""


def run(command, **options):
    return subprocess.run(command, capture_output=True, text=True, errors="replace", **options)


class Step:
    """A command that notices faults: tests of a program that is built first, or a script."""

    def __init__(self, name, program, command):
        self.name, self.program, self.command = name, program, command
        self.seconds = None  # that it takes without a fault

    def failure(self, folder):
        """The test that fails, or None. What hangs has been noticed."""
        try:
            done = run(self.command, cwd=folder, timeout=self.seconds and 20 + 10 * self.seconds)
        except subprocess.TimeoutExpired:
            return f"{self.name} (time is up)"
        begun = [self.name, *re.findall(r"\[ RUN      \] (\S+)", done.stdout)]
        return begun[-1] if done.returncode else None


class Build:
    def __init__(self, copy, name, preset, *settings, jobs):
        """Configures, builds and tests the library as it is."""
        self.name, self.folder, self.jobs = name, copy / "build" / f"mutate-{name.split()[0]}", jobs
        print(f"{name}: builds, and tests without a fault", flush=True)
        subprocess.run(["cmake", "--preset", preset, "-B", self.folder, *SETTINGS, *settings],
                       cwd=copy, check=True, stdout=subprocess.DEVNULL)
        self.build("all")
        self.unchanged = self.contents()
        self.steps = list(self.found_steps())
        for step in self.steps:
            started = time.monotonic()
            if failure := step.failure(self.folder):
                raise SystemExit(f"{name}: {failure} fails without any fault")
            step.seconds = time.monotonic() - started
        self.steps.sort(key=lambda step: (step.program.endswith(REBUILT), step.seconds))

    def build(self, *targets):
        done = run(["ninja", "-C", self.folder, "-j", str(self.jobs), *targets])
        if done.returncode != 0:
            raise BuildFailure(done.stdout)

    def contents(self):
        """A digest of the library's objects without what only debuggers read."""
        stripped = self.folder / "stripped_objects"
        subprocess.run(["objcopy", "--strip-debug", self.folder / ARCHIVE, stripped], check=True)
        return hashlib.sha256(stripped.read_bytes()).digest()

    def changes_library(self):
        self.build("ArvessaStatic")
        return self.contents() != self.unchanged

    def failing_test(self):
        """The first test that fails with the sources as they are now, or None."""
        self.build("Arvessa")
        built = {""}
        for step in self.steps:
            if step.program not in built:
                self.build(step.program)
                built.add(step.program)
            if failure := step.failure(self.folder):
                return failure
        return None

    def found_steps(self):
        listing = run(["ctest", "--test-dir", self.folder, "--show-only=json-v1"]).stdout
        suites = collections.defaultdict(list)
        for test in json.loads(listing)["tests"]:
            properties = {p["name"]: p["value"] for p in test["properties"]}
            if not LABELS.intersection(properties.get("LABELS", ())):
                continue
            option, _, cases = test["command"][1].partition("=")
            if option == "--gtest_filter":
                suites[test["command"][0], cases.split(".")[0]].append(cases)
            else:
                program = os.path.relpath(test["command"][0], self.folder)
                yield Step(test["name"], "" if program.startswith("..") else program,
                           test["command"])
        for (program, suite), cases in suites.items():
            yield Step(suite, os.path.relpath(program, self.folder),
                       [program, f"--gtest_filter={':'.join(cases)}", "--gtest_break_on_failure"])
