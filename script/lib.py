# SPDX-License-Identifier: Apache-2.0
"""Shared by the Python scripts of this folder: the tree's root and the facts that are kept in one file each."""

import json
import pathlib
import shutil
import subprocess

ROOT = pathlib.Path(__file__).resolve().parent.parent
# In sub-chip order.
CHIPS = (ROOT / "chips" / "chips.txt").read_text(encoding="utf-8").split()


def allowed_imports():
    """The library's allowed undefined symbols with their groups, from abi/imports.txt."""
    lines = (ROOT / "abi" / "imports.txt").read_text(encoding="utf-8").splitlines()
    rows = (line.split() for line in lines if line and not line.startswith("#"))
    return {name: group for group, name in rows}


def dynamic_symbols(library, option):
    """Names and kinds of a library's dynamic symbols, without versions. The option is nm's."""
    done = subprocess.run(["nm", "-D", option, library], capture_output=True, text=True, check=True)
    for line in done.stdout.splitlines():
        kind, name = line.split()[-2:]
        yield name.split("@")[0], kind


def exported_names():
    """The exported functions, from the linker's version script."""
    text = (ROOT / "api" / "exports.map.txt").read_text(encoding="utf-8")
    return {line.strip().rstrip(";") for line in text.split("local:")[0].splitlines() if line.strip().endswith(";")}


def ctest_list(build, *selection, env=None):
    """The tests that ctest finds in a build folder, as it describes them. The selection is ctest's: -L, -LE, -R."""
    command = ["ctest", "--test-dir", build, "--show-only=json-v1", *selection]
    done = subprocess.run(command, capture_output=True, text=True, check=True, env=env)
    return [test for test in json.loads(done.stdout)["tests"] if "command" in test]


def labelled_tests(build, *selection, env=None):
    """The same as {name: command}."""
    return {test["name"]: test["command"] for test in ctest_list(build, *selection, env=env)}


def copy_sources(target):
    """Makes a copy equal to the tree. It writes only files that differ, so that a build compiles only those."""
    command = ["git", "ls-files", "--cached", "--others", "--exclude-standard"]
    listed = subprocess.run(command, cwd=ROOT, capture_output=True, text=True, check=True).stdout
    names = {name for name in listed.splitlines() if (ROOT / name).is_file()}
    for path in target.rglob("*"):
        name = str(path.relative_to(target))
        if path.is_file() and name not in names and not name.startswith("build/"):
            path.unlink()
    for name in names:
        here, there = ROOT / name, target / name
        if not there.exists() or there.read_bytes() != here.read_bytes():
            there.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(here, there)
