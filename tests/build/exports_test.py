# SPDX-License-Identifier: Apache-2.0
"""What the library exports: headers, export list and built library agree, and it needs only a phone and libc."""

import os
import re
import subprocess

from support.tree import CHIPS, ROOT

LIBRARY = os.environ["ORVA_LIBRARY"]

# Parts of a back end that callers must not reach.
INTERNAL = ["wl_config_cmd_to_driver", "wl_config_sockets_send", "wl_config_disable_wifi",
            "hw_pull_wifi_enable_gpio"]


def allowed_imports():
    lines = (ROOT / "abi/imports.txt").read_text().splitlines()
    return {line.split()[1] for line in lines if line and not line.startswith("#")}


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def declared(header):
    text = re.sub(r"/\*.*?\*/|//[^\n]*|^\s*#[^\n]*", " ", header.read_text(), flags=re.S | re.M)
    return re.findall(r"\b(\w+)\s*\([^()]*\)\s*;", re.sub(r"typedef[^;]*;", "", text))


def symbols(option):
    """Kind and name without its version, of each dynamic symbol."""
    lines = (line.split() for line in run("nm", "-D", option, LIBRARY).splitlines())
    return {(line[-2], line[-1].split("@")[0]) for line in lines}


def exported():
    return {name for kind, name in symbols("--defined-only") if kind != "A" and not name.startswith("__asan")}


def undefined():
    return {name for _, name in symbols("--undefined-only")}


def sanitized():
    return any("asan" in name or "ubsan" in name for name in undefined())


def listed():
    text = re.sub(r"#[^\n]*|/\*.*?\*/", "", (ROOT / "api/exports.map.txt").read_text(), flags=re.S)
    assert re.search(r"local:\s*\*;", text), "everything else must be local"
    return re.findall(r"^\s*(\w+);", text.split("local:")[0], flags=re.M)


def in_headers():
    names = declared(ROOT / "include/wifi_factory_test_orva.h")
    assert len(names) == 41, names
    for chip in CHIPS:
        own = declared(ROOT / f"include/{chip}.h")
        assert own and all(name.startswith(chip + "_") for name in own), f"{chip} declares what is not its own"
        names += own
    return names


def test_headers_list_and_library_agree():
    headers, names = in_headers(), listed()
    assert len(set(headers)) == len(headers), "a function is declared twice"
    assert len(set(names)) == len(names), "a name is listed twice"
    assert set(headers) == set(names)
    assert exported() == set(names)


def test_internal_parts_and_data_stay_inside():
    names = exported()
    assert not [n for n in names for part in INTERNAL if n.endswith("_" + part)]
    data = [name for kind, name in symbols("--defined-only") if kind != "T" and name in names]
    assert not data, "only functions are exported"


def test_the_caller_in_c_calls_every_entry_point():
    source = (ROOT / "tests/library/c_caller_test.c").read_text()
    missing = [name for name in declared(ROOT / "include/wifi_factory_test_orva.h")
               if not re.search(rf"\b{name}(\(|, \()", source)]
    assert not missing


def test_it_needs_only_a_phone_and_libc():
    if sanitized():
        return
    needed = set(re.findall(r"NEEDED.*\[(.*)\]", run("readelf", "-d", LIBRARY)))
    assert needed <= {"libc.so.6", "libm.so.6"}
    weak = {name for kind, name in symbols("--undefined-only") if kind == "w"}  # of the compiler's start files
    assert undefined() - weak <= allowed_imports()


def test_nothing_is_constructed_when_it_loads():
    if sanitized():
        return
    sections = run("readelf", "-SW", LIBRARY)
    for name in (".init_array", ".ctors"):
        found = re.search(rf"\{name}\s+\S+\s+\S+\s+\S+\s+(\S+)", sections)
        size = int(found.group(1), 16) if found else 0
        assert size <= 8, f"{name} holds more than the compiler's own start"
