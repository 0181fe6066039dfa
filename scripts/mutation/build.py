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
SETTINGS = ("-DARVESSA_TOOLS=OFF", "-DARVESSA_BENCH=OFF", "-DARVESSA_TESTS=ON",
            "-DARVESSA_WERROR=OFF", "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON")
LIBRARY = "libArvessa_ANDROID.so"
LABELS = {"unit", "stream", "reference"}  # of the tests to run; where no test has one, all of them
ALWAYS = re.compile("library|tables")  # names of tests to run whatever their labels
NEVER = re.compile("(install|command|mutation)(_|$)")  # tests of something else
BATCHES = (0.02, 0.2, float("inf"))  # seconds: the quicker a test, the earlier
SECONDS = 60  # for a batch of tests; what hangs has been noticed
OUTPUT_BYTES = 64 << 20


class BuildFailure(Exception):
    """The library or a test does not build; says why."""


class Step:
    """Something to run that notices faults: tests of one program, or a script."""

    def __init__(self, name, command, target, environment, folder):
        self.name, self.command, self.target = name, command, target
        self.environment, self.folder = environment, folder
        self.seconds = 0.0

    def failure(self, limit):
        """The test that fails, or None."""
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


def limit_output():
    resource.setrlimit(resource.RLIMIT_FSIZE, (OUTPUT_BYTES, OUTPUT_BYTES))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


class Build:
    def __init__(self, copy, name, preset, settings=(), jobs=2, patience=1):
        self.copy, self.name, self.preset, self.jobs = copy, name, preset, jobs
        self.settings, self.limit = settings, SECONDS * patience
        self.folder = copy / "build" / name
        self.steps = []
        self.library = None  # where it lies in the folder
        self.unchanged = None  # its contents without a fault

    def prepare(self):
        """Configures, builds and tests the library as it is."""
        print(f"{self.name}: builds, and tests without a fault", flush=True)
        subprocess.run(["cmake", "--preset", self.preset, "-B", self.folder, *SETTINGS,
                        *self.settings], cwd=self.copy, check=True, stdout=subprocess.DEVNULL)
        try:
            self.build("all")
        except BuildFailure as failure:
            raise SystemExit(f"{self.name}, without any fault: {failure}") from failure
        library = min(self.folder.rglob(LIBRARY), key=lambda path: len(path.parts))
        self.library = str(library.relative_to(self.folder))
        self.unchanged = self.contents()
        self.find_steps()
        for step in self.steps:
            started = time.monotonic()
            failure = step.failure(self.limit)
            step.seconds = time.monotonic() - started
            if failure:
                raise SystemExit(f"{self.name}, without any fault: {failure}")
        self.steps.sort(key=lambda step: step.seconds)

    def has_option(self, name):
        cache = (self.folder / "CMakeCache.txt").read_text(encoding="utf-8")
        return re.search(f"^{name}:", cache, re.MULTILINE) is not None

    def build(self, *targets):
        done = subprocess.run(["ninja", "-C", self.folder, "-j", str(self.jobs), *targets],
                              capture_output=True, text=True, errors="replace")
        if done.returncode != 0:
            raise BuildFailure(done.stdout)

    def contents(self):
        """A digest of the library without what only names the build."""
        stripped = self.folder / "stripped_library"
        subprocess.run(["objcopy", "--strip-all", "--remove-section=.note.gnu.build-id",
                        self.folder / self.library, stripped], check=True)
        return hashlib.sha256(stripped.read_bytes()).digest()

    def changes_library(self):
        self.build(self.library)
        return self.contents() != self.unchanged

    def failing_test(self):
        """The first test that fails with the sources as they are now, or None."""
        self.build(self.library)
        built = set()
        for step in self.steps:
            if step.target and step.target not in built:
                self.build(step.target)
                built.add(step.target)
            failure = step.failure(self.limit)
            if failure:
                return failure
        return None

    def find_steps(self):
        listing = subprocess.run(["ctest", "--test-dir", self.folder, "--show-only=json-v1"],
                                 check=True, capture_output=True, text=True).stdout
        tests = [test for test in json.loads(listing)["tests"] if not NEVER.match(test["name"])]
        for test in tests:
            test["properties"] = {p["name"]: p["value"] for p in test.get("properties", [])}
            test["labels"] = set(test["properties"].get("LABELS", []))
        if any(test["labels"] & LABELS for test in tests):
            tests = [test for test in tests
                     if test["labels"] & LABELS or ALWAYS.search(test["name"])]
        programs = collections.defaultdict(list)
        for test in tests:
            command = test["command"]
            name = command[1].split("=", 1) if len(command) > 1 else [""]
            if name[0] == "--gtest_filter":
                programs[command[0]].append((name[1], test["properties"]))
            else:
                self.steps.append(self.step(test["name"], command, test["properties"]))
        for program, cases in programs.items():
            self.find_batches(program, cases)

    def step(self, name, command, properties):
        program = os.path.relpath(command[0], self.folder)
        environment = dict(pair.split("=", 1) for pair in properties.get("ENVIRONMENT", []))
        return Step(name, command, None if program.startswith("..") else program,
                    {**os.environ, **environment}, properties.get("WORKING_DIRECTORY", self.folder))

    def find_batches(self, program, cases):
        """Steps for the tests of a GoogleTest program, those together that take about as long."""
        with tempfile.TemporaryDirectory() as folder:
            report = os.path.join(folder, "report.json")
            names = ":".join(name for name, _ in cases)
            step = self.step("", [program, f"--gtest_filter={names}",
                                  f"--gtest_output=json:{report}"], cases[0][1])
            failure = step.failure(10 * self.limit)
            if failure:
                raise SystemExit(f"{self.name}, without any fault: {failure}")
            suites = json.load(open(report, encoding="utf-8"))["testsuites"]
        seconds = {f"{test['classname']}.{test['name']}": float(test["time"].rstrip("s"))
                   for suite in suites for test in suite["testsuite"]}
        batches = collections.defaultdict(list)
        for name, _ in cases:
            batches[next(b for b in BATCHES if seconds.get(name, 0) <= b)].append(name)
        for names in batches.values():
            command = [program, f"--gtest_filter={':'.join(names)}", "--gtest_break_on_failure"]
            self.steps.append(self.step(os.path.basename(program), command, cases[0][1]))
