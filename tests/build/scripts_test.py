# SPDX-License-Identifier: Apache-2.0
"""The scripts that check the tree: each must fail on the fault that it looks for."""

import os
import shutil
import subprocess

from support.tree import ROOT


def layering(tree):
    result = subprocess.run([ROOT / "script/check-layering", tree], capture_output=True, text=True, check=False)
    return result.returncode, result.stdout


FORBIDDEN = {
    "common/driver.cpp": '#include "chips/vq2050/profile.h"',
    "common/log.h": '#include "../api/dispatch.h"',
    "common/channel.cpp": "  #  include <virtual_phone/phone.h>",
    "chips/vq2050/keep_only_all_entries.cpp": '#include "include/vq2070.h"',
    "chips/vq2040/mimo_chain.cpp": '#include "../vq2040a/profile.h"',
    "chips/vq2070/resource_unit.cpp": '#include "include/wifi_factory_test_orva.h"',
    "api/dispatch.cpp": '#include "tests/support/phone_fixture.h"',
    "platform/platform.h": '#include "common/log.h"',
}


def test_each_include_against_the_layers_is_found(tmp_path):
    for folder in ("api", "chips", "common", "include", "platform", "virtual_phone", "tests"):
        shutil.copytree(ROOT / folder, tmp_path / folder, ignore=shutil.ignore_patterns("__pycache__"))
    assert layering(tmp_path) == (0, "")
    for file, include in FORBIDDEN.items():
        path = tmp_path / file
        path.write_text(path.read_text() + include + "\n")
    status, output = layering(tmp_path)
    assert status == 1
    assert {line.split(":")[0] for line in output.splitlines()} == set(FORBIDDEN)
    assert len(output.splitlines()) == len(FORBIDDEN)


def test_a_tree_without_sources_is_no_success(tmp_path):
    assert layering(tmp_path)[0] == 1


def test_a_stale_page_of_differences_is_found(tmp_path):
    program = tmp_path / "tables"
    program.write_text("#!/bin/sh\necho '{\"a\": [], \"b\": []}'\n")
    program.chmod(0o755)
    command = [ROOT / "script/chip-differences", "--check", "--tables", program]
    result = subprocess.run(command, capture_output=True, text=True, check=False)
    assert result.returncode == 1
    assert "docs/reference/chip_differences.md is stale" in result.stdout


def test_a_reader_of_the_footprint_may_stop_early(tmp_path):
    library = os.environ["ORVA_LIBRARY"]
    script = f'mkfifo fifo; true <fifo & exec 3>fifo; wait; "{ROOT}/script/footprint" "{library}" >&3'
    done = subprocess.run(["bash", "-c", script], cwd=tmp_path, capture_output=True, text=True, check=False)
    assert done.stderr == "" and done.returncode != 0
