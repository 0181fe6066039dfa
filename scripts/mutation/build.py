# SPDX-License-Identifier: Apache-2.0
"""A build of the copied repository and the tests that it has, found in the build itself."""

import collections
import hashlib
import json
import os
import re
import resource
import subprocess
import tempfile
import time

# Only the library and its tests. Warnings are no errors: an operand that a fault leaves unused is
# not what stops it. Tests of the shared object are linked once, not for every fault.
SETTINGS = ("-DARVESSA_APPS=OFF", "-DARVESSA_BENCH=OFF", "-DARVESSA_TESTS=REQUIRED",
            "-DARVESSA_WERROR=OFF", "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON")
SHARED = "Arvessa"  # the target of the shared object
OBJECTS = "libArvessa.a"  # all objects, kernels included that the shared object leaves out
LABELS = {"unit", "stream", "reference"}  # of the tests to run
NEVER = "mutation_rules"  # the test of something else
# Links the objects themselves, and its sources include the library's headers: whatever the fault, it
# has to be built again, and so it comes last.
REBUILT = "arvessa_unit_tests"
OUTPUT_BYTES = 64 << 20


class BuildFailure(Exception):
    """The library or a test does not build; says why."""


def limit_output():
    resource.setrlimit(resource.RLIMIT_FSIZE, (OUTPUT_BYTES, OUTPUT_BYTES))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


class Step:
    """Something to run that notices faults: the tests of a suite, or a script."""

    def __init__(self, name, command, properties, folder):
        self.name, self.command, self.folder = name, command, folder
        program = os.path.relpath(command[0], folder)
        self.target = None if program.startswith("..") else program
        pairs = (pair.split("=", 1) for pair in properties.get("ENVIRONMENT", []))
        self.environment = {**os.environ, **dict(pairs)}
        self.seconds = None  # that it takes without a fault

    def failure(self):
        """The test that fails, or None. What hangs has been noticed."""
        limit = self.seconds and 20 + 10 * self.seconds
        with tempfile.TemporaryFile() as output:
            try:
                status = subprocess.run(
                    self.command, cwd=self.folder, env=self.environment, stdout=output,
                    stderr=subprocess.STDOUT, timeout=limit, preexec_fn=limit_output).returncode
                how = "" if status >= 0 or status == -5 else f" (signal {-status})"
            except subprocess.TimeoutExpired:
                status, how = 1, " (time is up)"
            if status == 0:
                return None
            output.seek(0)
            begun = re.findall(rb"\[ RUN      \] (\S+)", output.read(OUTPUT_BYTES))
        return (begun[-1].decode() if begun else self.name) + how


class Build:
    def __init__(self, copy, name, preset, *settings, jobs):
        """Configures, builds and tests the library as it is."""
        self.name, self.folder, self.jobs = name, copy / "build" / f"mutate-{name.split()[0]}", jobs
        print(f"{name}: builds, and tests without a fault", flush=True)
        subprocess.run(["cmake", "--preset", preset, "-B", self.folder, *SETTINGS, *settings],
                       cwd=copy, check=True, stdout=subprocess.DEVNULL)
        try:
            self.build("all")
        except BuildFailure as failure:
            raise SystemExit(f"{name}, without any fault: {failure}") from failure
        self.unchanged = self.contents()
        self.steps = list(self.found_steps())
        for step in self.steps:
            started = time.monotonic()
            failure = step.failure()
            step.seconds = time.monotonic() - started
            if failure:
                raise SystemExit(f"{name}, without any fault: {failure}")
        self.steps.sort(key=lambda step: (step.command[0].endswith(REBUILT), step.seconds))

    def build(self, *targets):
        done = subprocess.run(["ninja", "-C", self.folder, "-j", str(self.jobs), *targets],
                              capture_output=True, text=True, errors="replace")
        if done.returncode != 0:
            raise BuildFailure(done.stdout)

    def contents(self):
        """A digest of the library's objects without what only debuggers read."""
        archive = next(self.folder.rglob(OBJECTS))
        stripped = self.folder / "stripped_objects"
        subprocess.run(["objcopy", "--strip-debug", archive, stripped], check=True)
        return hashlib.sha256(stripped.read_bytes()).digest()

    def changes_library(self):
        self.build("ArvessaStatic")
        return self.contents() != self.unchanged

    def failing_test(self):
        """The first test that fails with the sources as they are now, or None."""
        built = {None}
        self.build(SHARED)
        for step in self.steps:
            if step.target not in built:
                self.build(step.target)
                built.add(step.target)
            failure = step.failure()
            if failure:
                return failure
        return None

    def found_steps(self):
        """The tests of a suite of a GoogleTest program are one step: they share its start."""
        listing = subprocess.run(["ctest", "--test-dir", self.folder, "--show-only=json-v1"],
                                 check=True, capture_output=True, text=True).stdout
        suites = collections.defaultdict(list)
        for test in json.loads(listing)["tests"]:
            command = test["command"]
            properties = {p["name"]: p["value"] for p in test.get("properties", [])}
            if test["name"] == NEVER or not LABELS.intersection(properties.get("LABELS", [])):
                continue
            option, _, cases = command[1].partition("=") if len(command) > 1 else ("", "", "")
            if option == "--gtest_filter":
                suites[command[0], cases.split(".")[0]].append(cases)
            else:
                yield Step(test["name"], command, properties, self.folder)
        for (program, suite), cases in suites.items():
            command = [program, f"--gtest_filter={':'.join(cases)}", "--gtest_break_on_failure"]
            yield Step(suite, command, {}, self.folder)
