# SPDX-License-Identifier: Apache-2.0
"""What the documents show is what happens.

A fenced block marked `run` is run: sh, c, python, tcl. `exit=N` is its expected status. A block `output` after it is
what it prints. There the line `...` matches any lines, and … matches any text.
"""

import contextlib
import html
import os
import re
import shutil
import signal
import subprocess
import urllib.parse
from pathlib import Path

import pytest

from support.tree import CHIPS, ROOT

STATION = Path(os.environ["ORVA_STATION"])
TESTER = Path(os.environ["ORVA_RF_TESTER"])
LIBRARIES = os.environ["ORVA_LIBRARY_PATH"].split(":")
ELSEWHERE = {"sessions.md"}  # its sessions are run on every chip by the console's own test
DOCUMENTS = sorted([*(ROOT / "docs").rglob("*.md"), *ROOT.glob("*.md"), ROOT / "script" / "README.md", ROOT / "rf_tester" / "README.md",
                    ROOT / "virtual_phone" / "README.md", ROOT / "virtual_phone" / "rf" / "README.md"])


def run(command, **options):
    """The output and status of a command. What it left running is ended."""
    with subprocess.Popen(list(map(str, command)), stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                          start_new_session=True, **options) as process:
        try:
            output = process.communicate(timeout=300)
        finally:
            with contextlib.suppress(ProcessLookupError):
                os.killpg(process.pid, signal.SIGKILL)
    return subprocess.CompletedProcess(command, process.returncode, *output)


def blocks(document):
    """Line number, language, words and text of each fenced block."""
    for found in re.finditer(r"^```(\S*) ?(.*)\n((?:.*\n)*?)```$", document.read_text(), re.M):
        line = document.read_text().count("\n", 0, found.start()) + 1
        yield line, found[1], found[2].split(), found[3]


def examples(document):
    """The blocks to run, each with the output shown after it, or None."""
    found = list(blocks(document))
    for block, following in zip(found, [*found[1:], None]):
        if "run" in block[2]:
            yield *block, following[3] if following and following[1] == "output" else None


def pattern(shown):
    lines = [re.escape(line.rstrip()).replace("…", ".*") for line in shown.splitlines()]
    return "".join("(?:.*\n)*" if line == r"\.\.\." else line + " *\n" for line in lines)


@pytest.fixture
def desk(tmp_path):
    """A reader's folder: links to the tree's folders, and the console in the path."""
    for folder in ("sessions", "virtual_phone", "examples", "python", "include", "android", "rf_tester"):
        (tmp_path / folder).symlink_to(ROOT / folder)
    programs = tmp_path / ".programs"
    programs.mkdir()
    (programs / "python3").symlink_to("/usr/bin/python3")
    path = f"{programs}:{STATION.parent}:{TESTER.parent}:{os.environ['PATH']}"
    return tmp_path, {**os.environ, "PATH": path, "HOME": str(tmp_path)}


def program(language, text, folder):
    source = folder / f"example.{language}"
    source.write_text(text)
    if language == "c":
        options = ["-std=c99", "-D_DEFAULT_SOURCE", "-Wall", "-Wextra", "-Werror", "-Iinclude", f"-I{ROOT}"]
        libraries = [word for place in LIBRARIES for word in (f"-L{place}", f"-Wl,-rpath,{place}")]
        linked = ["-lwifi_factory_test_orva", "-Wl,--no-as-needed", "-lvirtual_phone", "-lvirtual_phone_platform"]
        build = ["gcc", *options, "example.c", *libraries, *linked, "-o", "example"]
        return ["bash", "-c", '"$@" && ./example', "bash", *build]
    return {"sh": ["bash", "-e", source], "python": ["python3", source], "tcl": ["orva-station", "--chip", "vq2050", "run", source]}[language]


@pytest.mark.parametrize("document", [d for d in DOCUMENTS if any(examples(d))], ids=lambda document: document.name)
def test_examples(document, desk):
    folder, environment = desk
    for line, language, words, text, shown in examples(document):
        where = f"{document.name}:{line}"
        done = run(program(language, text, folder), cwd=folder, env=environment)
        wanted = next((int(word[5:]) for word in words if word.startswith("exit=")), 0)
        assert done.returncode == wanted, f"{where}: status {done.returncode}\n{done.stdout}{done.stderr}"
        printed = "".join(line.rstrip() + "\n" for line in (done.stdout + done.stderr).splitlines())
        if shown is not None:
            assert re.fullmatch(pattern(shown), printed), f"{where} prints\n{printed}"


@pytest.mark.parametrize("document", [d for d in DOCUMENTS if d.name not in ELSEWHERE], ids=lambda document: document.name)
def test_every_example_is_run_and_every_link_leads_somewhere(document):
    unrun = [line for line, language, words, _ in blocks(document)
             if language in ("sh", "c", "python", "tcl") and "run" not in words]
    assert not unrun, f"{document.name}: not marked run: lines {unrun}"
    links = re.findall(r"\]\(([^)#\s]+)[^)]*\)", re.sub(r"```.*?```", "", document.read_text(), flags=re.S))
    dead = [link for link in links if "://" not in link and not (document.parent / link).exists()]
    assert not dead


def dead_links(site):
    """Links and pictures of the site's pages that lead to no file, or to no place in it."""
    places = {page: set(re.findall(r'\b(?:id|name)="([^"]+)"', page.read_text())) for page in site.rglob("*.html")}
    for page in places:
        for link in set(re.findall(r'\b(?:href|src)="([^"]+)"', page.read_text())):
            path, _, place = html.unescape(urllib.parse.unquote(link)).partition("#")
            target = (page.parent / path.partition("?")[0]).resolve() if path else page
            unnamed = "@" in place  # an enumeration without a name
            there = target.exists() and (not place or unnamed or place in places.get(target, {place}))
            if "://" not in link and not there:
                yield f"{page.relative_to(site)}: {link}"


def test_the_site_has_every_public_function_and_no_warning(tmp_path):
    if not (shutil.which("doxygen") and shutil.which("sphinx-build")):
        pytest.skip("doxygen or sphinx is not installed")
    done = run([ROOT / "script" / "docs", tmp_path])
    assert done.returncode == 0, done.stderr
    for header, document in (("wifi_factory_test_orva", "api"), *((chip, "back_ends") for chip in CHIPS)):
        page = (tmp_path / "html/docs/reference" / f"{document}.html").read_text()
        declared = re.findall(r"^\w[\w ]+\*?\b(\w+)\([^;{]*\);", (ROOT / f"include/{header}.h").read_text(), re.M)
        assert len(declared) > 30, header
        assert [name for name in declared if f'id="c.{name}"' not in page] == []
    page = (tmp_path / "html/docs/reference/python.html").read_text()
    for name in ("Bench", "library.Library.wifi_start_rx", "phone.Priority.ERROR", "phone.VirtualPhone.fault", "tester.Tester.measure",
                 "pytest_plugin.orva_bench"):
        assert f'id="orva.{name}"' in page, name
    assert list(dead_links(tmp_path / "html")) == []


@pytest.mark.parametrize("change, message", [
    ("sed 's/Sets the rate/Sets a rate/'", "docs/reference/console.md is stale"),
    ("true", "does not print functions and commands by subject"),
])
def test_a_changed_console_is_noticed(tmp_path, change, message):
    changed = tmp_path / "console"
    changed.write_text(f'#!/bin/sh\n"{STATION}" "$@" | {change}\n')
    changed.chmod(0o755)
    done = run([ROOT / "script/console-reference", "--check", "--console", changed])
    assert done.returncode == 1
    assert message in done.stdout + done.stderr
