# SPDX-License-Identifier: Apache-2.0
"""Tries mutants of the library: one object is compiled, the library and the tests of internals are linked."""
import collections
import contextlib
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

from lib import ROOT, labelled_tests
from mutation.mutants import LIBRARY, Mutant, applied

BUILD = ROOT / "build" / "mutate"
LIBRARY_FILE = "libwifi_factory_test_orva.so"
LEAST_SECONDS = 120  # for a test, however quick it was
SECONDS_TO_BUILD = 900
PARTS = LIBRARY
AT_LEAST = 95


def environment(folder):
    return dict(os.environ, LD_LIBRARY_PATH=f"{folder}:{BUILD / 'virtual_phone'}")


def build():
    # Without built-in search paths LD_LIBRARY_PATH decides which library a test loads.
    subprocess.run(["cmake", "-S", ROOT, "-B", BUILD, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                    "-DCMAKE_CXX_FLAGS_DEBUG=-O0", "-DCMAKE_SKIP_RPATH=ON"], check=True, stdout=subprocess.DEVNULL)
    subprocess.run(["cmake", "--build", BUILD, "--target", "tests_library"], check=True, stdout=subprocess.DEVNULL,
                   env=environment(BUILD))


def compile_commands():
    commands = json.loads((BUILD / "compile_commands.json").read_text())
    return {entry["file"]: shlex.split(entry["command"]) for entry in commands if "orva_objects" in entry["command"]}


def link_command(target):
    """The command that links a target, without the steps that the build runs after it."""
    commands = subprocess.run(["ninja", "-C", BUILD, "-t", "commands", "-s", target], capture_output=True, text=True,
                              check=True).stdout
    return next(shlex.split(part) for part in commands.split(" && ") if " -o " in part)


def has_library_objects(program):
    names = subprocess.run(["nm", program], capture_output=True, text=True, check=True).stdout
    return re.search(r" [Tt] wifi_get_func$", names, re.MULTILINE) is not None


class Test:
    """A command that fails if it notices a mutant: a program of GoogleTest with all its cases, or any other test."""

    def __init__(self, command):
        self.program = pathlib.Path(command[0])
        self.googletest = any(word.startswith("--gtest") for word in command)
        self.options = ["--gtest_fail_fast", "--gtest_brief=1"] if self.googletest else command[1:]
        # Programs of internals contain the library's objects and are linked for each mutant.
        self.internal = self.googletest and has_library_objects(self.program)

    def ended(self, output):
        """A mutant may make a program of GoogleTest or the fault sweep leave early with status 0."""
        last_words = b"  PASSED  ]" if self.googletest else b" survived" if self.program.name == "fault_sweep" else b""
        return last_words in output


class Tests:
    """The library's tests, as ctest knows them. The fault sweep comes last because it is slow."""

    def __init__(self):
        commands = labelled_tests(BUILD, "-L", "^library$", "-LE", "^slow$", env=environment(BUILD)).values()
        programs = {command[0]: command for command in commands}
        self.quick = [Test(command) for command in programs.values()]
        sweeps = labelled_tests(BUILD, "-R", r"^fault_sweep\.", env=environment(BUILD)).values()
        self.sweeps = [Test(command) for command in sweeps]
        if not self.quick or not self.sweeps:
            sys.exit("script/mutate: ctest -L library finds no tests or no fault_sweep")
        self.internal = [test for test in self.quick if test.internal]
        self.seconds = {}
        self.kills = collections.Counter()

    def in_order(self, source):
        """The tests that failed most often for this source come first, then the quickest."""
        quick = sorted(self.quick, key=lambda test: (-self.kills[source, test], self.seconds.get(test, 0)))
        return [*quick, *self.sweeps]


class Worker:
    """A folder where one mutant at a time is built: the objects of the library, one of them replaced."""

    def __init__(self, number, tests):
        self.folder = BUILD / f"worker{number}"
        self.tests = tests
        self.compile = compile_commands()
        self.links = [link_command(LIBRARY_FILE),
                      *(link_command(test.program.relative_to(BUILD)) for test in tests.internal)]
        shutil.rmtree(self.folder, ignore_errors=True)
        self.folder.mkdir()
        self.source, self.object = self.folder / "mutant.cpp", self.folder / "mutant.o"
        self.environment = environment(self.folder)

    def has(self, mutant):
        return str(ROOT / mutant.file) in self.compile

    def run(self, words, timeout):
        with subprocess.Popen([str(word) for word in words], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              stdin=subprocess.DEVNULL, cwd=BUILD, env=self.environment, start_new_session=True) as process:
            try:
                output = process.communicate(timeout=timeout)[0]
            except subprocess.TimeoutExpired:
                output = b""
            finally:
                with contextlib.suppress(ProcessLookupError):
                    os.killpg(process.pid, signal.SIGKILL)  # a mutant may fork without end
        return subprocess.CompletedProcess(words, process.returncode, output)

    def builds(self, words):
        return self.run(words, SECONDS_TO_BUILD).returncode == 0

    def passes(self, test):
        program = self.folder / test.program.name if test.internal else test.program
        # Other work may slow a test down; a hang is much longer than what the test takes without a mutant.
        timeout = max(LEAST_SECONDS, 5 * self.tests.seconds.get(test, SECONDS_TO_BUILD))
        done = self.run([program, *test.options], timeout)
        return done.returncode == 0 and test.ended(done.stdout) and b"FAILED" not in done.stdout

    def build(self, mutant):
        path = ROOT / mutant.file
        self.source.write_text(applied(mutant, path.read_text()))
        command = self.compile[str(path)]
        own = command[command.index("-o") + 1]
        compile_it = [word for word in command[:command.index("-o")] if word != "-MD"]
        if not self.builds([*compile_it, "-o", self.object, "-w", "-c", self.source]):
            return False
        return all(self.link(command, own) for command in self.links)

    def link(self, command, own):
        """Links with the mutant's object in place of its own, into the worker's folder."""
        words = [self.object if word == own else word for word in command]
        output = words.index("-o") + 1
        words[output] = self.folder / pathlib.Path(words[output]).name
        return self.builds(words)

    def first_failure(self, mutant):
        for test in self.tests.in_order(mutant.file):
            begin = time.monotonic()
            if not self.passes(test):
                self.tests.kills[mutant.file, test] += 1
                return test.program.name
            self.tests.seconds[test] = time.monotonic() - begin
        return None

    def judge(self, mutant):
        if not self.build(mutant):
            return {"verdict": "not built"}
        killer = self.first_failure(mutant)
        return {"verdict": "killed", "by": killer} if killer else {"verdict": "survived"}

    def check_itself(self):
        """Tests that pass without the worker's library, or fail without a change, would prove nothing."""
        loading = [test for test in [*self.tests.quick, *self.tests.sweeps] if not test.internal]
        deaf = [test.program.name for test in loading if self.passes(test)]
        if deaf:
            sys.exit(f"script/mutate: passed without a library: {' '.join(deaf)}")
        source = next(file for file in sorted(self.compile) if "/common/" in file)
        first = pathlib.Path(source).read_text().splitlines()[0]
        verdict = self.judge(Mutant(str(pathlib.Path(source).relative_to(ROOT)), 1, "none", first, first))
        if verdict["verdict"] != "survived":
            sys.exit(f"script/mutate: the unchanged library fails: {verdict}")


def workers(jobs, rows):
    """That many workers, which share what they know about the tests."""
    del rows
    build()
    tests = Tests()
    return [Worker(number, tests) for number in range(jobs)]


def check_itself(all_workers):
    """The workers are alike, so one of them is enough."""
    all_workers[0].check_itself()
