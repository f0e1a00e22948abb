# SPDX-License-Identifier: Apache-2.0
"""Tries mutants of everything around the library, each in a copy of the tree."""
import collections
import concurrent.futures
import json
import os
import pathlib
import re
import shlex
import shutil
import signal
import subprocess
import sys
import time

from lib import ROOT, copy_sources, ctest_list
from mutation.mutants import TOOLS, applied, part_of

FOLDER = ROOT / "build" / "mutate-tools"
PARTS = TOOLS
AT_LEAST = 75
SECONDS_TO_BUILD = 900
LEAST_SECONDS = 60  # for a test, however quick it was
SKIPPED = 77
TARGETS = ("orva-station", "orva-station-phone", "orva-rf-tester", "tests/all")
# The tests that are run for a part, by their labels; the first label's come first.
LABELS = {
    "virtual_phone": ("phone", "library", "console", "python"),
    "console": ("console", "docs", "page", "records"),
    "page": ("page",),
    "rf_tester": ("rf_tester",),
    "python": ("python", "rf_tester"),
    "plans": ("rf_tester", "records"),
    "records": ("records",),
}
# What a worker can start at all, by part. A mutant that fails here says nothing about the tests.
START = {
    "virtual_phone": ["{build}/tests/virtual_phone_test", "--gtest_list_tests"],
    "console": ["{build}/console/orva-station", "list"],
    "page": ["node", "--check", "{file}"],
    "rf_tester": ["{build}/rf_tester/orva-rf-tester", "--help"],
    "python": ["{python}", "-c", "import orva, orva.pytest_plugin"],
    "plans": ["{python}", "-c", "import orva.plans.station"],
    "records": ["{python}", "-c", "import orva_records.cli"],
}


class Test:
    """A command of ctest. A program of GoogleTest runs once with all its cases."""

    def __init__(self, listed):
        properties = {entry["name"]: entry["value"] for entry in listed["properties"]}
        command = listed["command"]
        self.googletest = any(word.startswith("--gtest") for word in command)
        self.name = pathlib.Path(command[0]).name if self.googletest else listed["name"]
        self.command = command
        if self.googletest:
            self.command = [command[0], "--gtest_fail_fast", "--gtest_brief=1"]
        elif "pytest" in command:
            self.command = [*command, "-x"]
        self.labels = set(properties.get("LABELS", []))
        self.folder = properties["WORKING_DIRECTORY"]
        self.environment = dict(word.split("=", 1) for word in properties.get("ENVIRONMENT", []))

    def words(self):
        return set(re.findall(r"[a-z]+", self.name)) - {"console", "page", "test"}


def tests_of(build):
    """The tests that may notice a mutant of the tools, by name. Slow ones check the library, but for the plans'."""
    listed = map(Test, ctest_list(build, "-L", "^(phone|library|console|python|page|docs|rf_tester|records)$"))
    return {test.name: test for test in listed if "slow" not in test.labels or "rf_tester" in test.labels}


class Knowledge:
    """What the workers learn about the tests: how long each takes, and which noticed what."""

    def __init__(self, rows):
        self.seconds = {}
        self.kills = collections.Counter()
        for row in rows:
            if "by" in row:
                self.count(row["mutant"][0], row["by"])

    def count(self, file, name):
        self.kills[file, name] += 1
        self.kills[part_of(file), name] += 1

    def order(self, test, file):
        """Sorts the tests of a file: those that noticed its mutants, then those named after it, then by part."""
        part = part_of(file)
        related = test.words() & set(re.findall(r"[a-z]+", file))
        rank = min(LABELS[part].index(label) for label in test.labels if label in LABELS[part])
        return -self.kills[file, test.name], -len(related), rank, -self.kills[part, test.name], self.seconds[test.name]


class Worker:
    """A copy of the tree with a build of its own, where one mutant at a time is tried."""

    def __init__(self, number, knowledge):
        self.source = FOLDER / f"worker{number}" / "source"
        self.build = FOLDER / f"worker{number}" / "build"
        self.knowledge = knowledge
        copy_sources(self.source)

    def prepare(self):
        configure = ["cmake", "-S", self.source, "-B", self.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                     "-DORVA_WERROR=ON", "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON"]
        flags = [f"-DCMAKE_{language}_FLAGS_DEBUG=-O0" for language in ("C", "CXX")]
        subprocess.run([*configure, *flags], check=True, stdout=subprocess.DEVNULL)
        if not self.builds():
            sys.exit(f"script/mutate: the unchanged copy in {self.source.relative_to(ROOT)} does not build")
        self.tests = tests_of(self.build)
        commands = json.loads((self.build / "compile_commands.json").read_text())
        self.compile = {entry["file"]: entry for entry in commands}

    def has(self, mutant):
        """Whether the build compiles the file; scripts are always used."""
        return not mutant.file.endswith((".c", ".cpp")) or str(self.source / mutant.file) in self.compile

    def run(self, command, timeout, folder=None, environment=None):
        """The exit status of a command and its descendants, all of them ended after the timeout."""
        process = subprocess.Popen([str(word) for word in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                   stdin=subprocess.DEVNULL, cwd=folder or self.source, start_new_session=True,
                                   env={**os.environ, **(environment or {})})
        try:
            return process, process.communicate(timeout=timeout)[0]
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            process.communicate()
            return process, b""

    def builds(self):
        process, _ = self.run(["cmake", "--build", self.build, "--target", *TARGETS], SECONDS_TO_BUILD)
        return process.returncode == 0

    def passes(self, test):
        timeout = max(LEAST_SECONDS, 5 * self.knowledge.seconds.get(test.name, SECONDS_TO_BUILD))
        process, output = self.run(test.command, timeout, test.folder, test.environment)
        # A mutant may make a program of GoogleTest leave early with status 0.
        ended = not test.googletest or b"  PASSED  ]" in output
        return process.returncode in (0, SKIPPED) and ended and b"FAILED" not in output

    def starts(self, mutant):
        python = next(test.command[0] for test in self.tests.values() if "pytest" in test.command)
        places = {"build": self.build, "file": self.source / mutant.file, "python": python}
        command = [word.format(**places) for word in START[part_of(mutant.file)]]
        if not shutil.which(command[0]):
            return True
        process, _ = self.run(command, LEAST_SECONDS, environment={"PYTHONPATH": str(self.source / "python")})
        return process.returncode == 0

    def first_failure(self, mutant):
        concerned = set(LABELS[part_of(mutant.file)])
        tests = [test for test in self.tests.values() if test.labels & concerned]
        for test in sorted(tests, key=lambda test: self.knowledge.order(test, mutant.file)):
            if not self.passes(test):
                self.knowledge.count(mutant.file, test.name)
                return test.name
        return None

    def clang_takes(self, mutant):
        """Whether clang compiles the file without a warning. True if there is no clang, or nothing to compile."""
        entry = self.compile.get(str(self.source / mutant.file))
        clang = "clang-14" if mutant.file.endswith(".c") else "clang++-14"
        if not entry or not shutil.which(clang):
            return True
        words = shlex.split(entry["command"])
        compiler = next(i for i, word in enumerate(words) if re.search(r"(\+\+|cc|gcc)$", word) and "ccache" not in word)
        options = [word for word in words[compiler + 1:] if word != "-Wno-restrict"]
        process, _ = self.run([clang, *options, "-fsyntax-only"], SECONDS_TO_BUILD, entry["directory"])
        return process.returncode == 0

    def verdict(self, mutant):
        if not self.builds():
            return {"verdict": "not built"}
        if not self.starts(mutant):
            return {"verdict": "not started"}
        killer = self.first_failure(mutant)
        if killer:
            return {"verdict": "killed", "by": killer}
        return {"verdict": "survived"} if self.clang_takes(mutant) else {"verdict": "not built"}

    def judge(self, mutant):
        path = self.source / mutant.file
        text = path.read_text(encoding="utf-8")
        path.write_text(applied(mutant, text), encoding="utf-8")
        try:
            return self.verdict(mutant)
        finally:
            path.write_text(text, encoding="utf-8")

    def check_unchanged(self, tests):
        """The tests pass on the unchanged copy; how long each takes limits what a mutant's run of it may take."""
        for test in tests:
            begin = time.monotonic()
            if not self.passes(test):
                sys.exit(f"script/mutate: without a mutant the test {test.name} fails in {self.source.relative_to(ROOT)}")
            self.knowledge.seconds[test.name] = time.monotonic() - begin


def workers(jobs, rows):
    """That many workers, which share what they know about the tests."""
    knowledge = Knowledge(rows)
    # All copies come first, so that they are of the same tree.
    all_workers = [Worker(number, knowledge) for number in range(jobs)]
    for worker in all_workers:
        worker.prepare()
    return all_workers


def check_itself(all_workers):
    """Every test passes without a mutant. The workers share them."""
    names = sorted(all_workers[0].tests)
    with concurrent.futures.ThreadPoolExecutor(len(all_workers)) as pool:
        parts = [[worker.tests[name] for name in names[i::len(all_workers)]] for i, worker in enumerate(all_workers)]
        for done in [pool.submit(worker.check_unchanged, part) for worker, part in zip(all_workers, parts)]:
            done.result()
