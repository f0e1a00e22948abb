# SPDX-License-Identifier: Apache-2.0
"""The installed package can be built against, and the phone's build files agree with ours."""
import json
import os
import re
import shutil
import subprocess
from pathlib import Path

import pytest

from support.tree import CHIPS, ROOT

BUILD = Path(os.environ["ORVA_BUILD"])


def run(command, **options):
    return subprocess.run(list(map(str, command)), capture_output=True, text=True, timeout=300, **options)


@pytest.fixture(scope="module")
def prefix(tmp_path_factory):
    prefix = tmp_path_factory.mktemp("installed")
    shutil.rmtree(BUILD / "generated", ignore_errors=True)  # as after a build of the console alone
    done = run(["cmake", "--install", BUILD, "--prefix", prefix])
    assert done.returncode == 0, done.stdout + done.stderr
    return prefix


def with_cmake(prefix, folder):
    run(["cmake", "-S", ROOT / "examples" / "c", "-B", folder, f"-DCMAKE_PREFIX_PATH={prefix}"], check=True)
    run(["cmake", "--build", folder], check=True)


def with_pkg_config(prefix, folder):
    (configs,) = prefix.rglob("pkgconfig")
    packages = ["wifi_factory_test_orva", "wifi_factory_test_orva_virtual_phone"]
    flags = run(["pkg-config", "--cflags", "--libs", *packages], env={**os.environ, "PKG_CONFIG_PATH": str(configs)})
    run(["gcc", ROOT / "examples/c/power_sweep.c", "-o", folder / "power_sweep", *flags.stdout.split()], check=True)


SWEPT = [f"power {power} at 5180 MHz: transmitted" for power in range(100, 181, 20)]


@pytest.mark.parametrize("build", [with_cmake, with_pkg_config])
def test_a_program_against_the_installed_package(build, prefix, tmp_path):
    build(prefix, tmp_path)
    environment = {name: value for name, value in os.environ.items() if name != "LD_LIBRARY_PATH"}
    good = run([tmp_path / "power_sweep"], env=environment)
    assert (good.returncode, good.stdout.splitlines()) == (0, [*SWEPT, "PASS"])
    phone = tmp_path / "phone.toml"
    phone.write_text('chip = "vq2070"\n[[fault]]\nplace = "ioctl:5"\nnth = 3\ntimes = 2\n')
    refused = run([tmp_path / "power_sweep"], env={**environment, "ORVA_PHONE": str(phone)})
    assert refused.returncode == 1
    assert refused.stdout.splitlines() == [SWEPT[0], "power 120 at 5180 MHz: FAILED", *SWEPT[2:], "FAIL"]


def test_the_installed_console_finds_the_installed_library(prefix):
    console = run([prefix / "bin" / "orva-station", "wifi_set_power", "155"], env={"PATH": os.environ["PATH"]})
    assert console.returncode == 0, console.stderr
    for what, file in (("bash", "bash-completion/completions/orva-station"), ("zsh", "zsh/site-functions/_orva-station"),
                       ("man", "man/man1/orva-station.1")):
        assert (prefix / "share" / file).read_text() == run([prefix / "bin" / "orva-station", "generate", what]).stdout


def test_the_installed_python_packages_work_without_the_tree(prefix, tmp_path):
    (packages,) = prefix.glob("lib/python3*/dist-packages")
    environment = {"PYTHONPATH": str(packages), "PYTHONDONTWRITEBYTECODE": "1"}
    show = "import orva; b = orva.Bench(); print(orva.files.find('libvirtual_phone.so'), b.library.wifi_test_weld())"
    found = run(["/usr/bin/python3", "-c", show], env=environment, cwd=tmp_path)
    assert found.stdout.startswith(str(prefix)) and found.stdout.endswith(" True\n"), found.stderr
    # pytest finds the plugin by itself, and loads it once where it is named too, as from the source tree.
    (tmp_path / "test_mine.py").write_text("def test_mine(orva_library):\n    assert orva_library.wifi_test_weld()\n")
    for named in ([], ["-p", "orva.pytest_plugin"], ["-p", "orva.plans.plugin"]):
        tested = run(["/usr/bin/python3", "-m", "pytest", "-p", "no:cacheprovider", *named, "test_mine.py"], env=environment, cwd=tmp_path)
        assert "1 passed" in tested.stdout, tested.stdout + tested.stderr
    for pattern in (ROOT / "python" / "data_files.txt").read_text().split():
        assert {path.relative_to(packages / "orva" / "data") for path in (packages / "orva" / "data").glob(pattern)} == {
            path.relative_to(ROOT) for path in ROOT.glob(pattern)}
    # The migrations are data to pip, and would be missed only here.
    migrated = run([prefix / "bin" / "orva-records", "migrate", "--database", f"sqlite:///{tmp_path}/store.sqlite"], cwd=tmp_path)
    assert migrated.returncode == 0 and (tmp_path / "store.sqlite").stat().st_size > 0, migrated.stderr
    show = "from orva import files, limits; f = files.rf_tester_folder(); limits.load(f / 'limits.csv', f / 'factory-limits.csv'); print(f)"
    found = run(["/usr/bin/python3", "-c", show], env=environment, cwd=tmp_path)
    assert found.stdout.startswith(str(prefix)), found.stderr


def test_the_installed_headers_stand_alone(prefix, tmp_path):
    (include,) = (prefix / "include").iterdir()
    headers = sorted(include.rglob("*.h"))
    public = {f"{name}.h" for name in CHIPS} | {"wifi_factory_test_orva.h", "calibration_types.h"}
    assert {str(header.relative_to(include)) for header in headers} == public | {"platform/platform.h", "virtual_phone/phone.h"}
    source = tmp_path / "all.c"
    source.write_text("".join(f'#include "{header.relative_to(include)}"\n' for header in headers))
    for compiler in (["gcc", "-std=c99"], ["g++", "-x", "c++", "-std=c++17"]):
        done = run([*compiler, "-Wall", "-Wextra", "-Werror", "-fsyntax-only", f"-I{include}", source])
        assert done.returncode == 0, done.stderr


def module_text(module):
    return re.search(rf'\n\w+ {{\n    name: "{module}",.*?\n}}', (ROOT / "Android.bp").read_text(), re.S)[0]


def globbed(module):
    """The files that a module of Android.bp is made of, with those of its defaults in the same file."""
    text = module_text(module)
    def listed(name):
        found = re.search(rf"\b(?<!exclude_){name}: \[(.*?)\]", text, re.S)
        return {path for glob in re.findall(r'"(.*?)"', found[1]) for path in ROOT.glob(glob)} if found else set()
    defaults = re.search(r'\bdefaults: \["(orva_(?:on|fuzz)_\w+)"\]', text)
    return listed("srcs") - listed("exclude_srcs") | (globbed(defaults[1]) if defaults else set())


def compiled(targets):
    """The sources of targets of our build."""
    entries = json.loads((BUILD / "compile_commands.json").read_text())
    return {Path(entry["file"]) for entry in entries if re.search(rf"\b({targets})\.dir/", entry["command"])}


@pytest.mark.parametrize(
    "module, targets",
    [
        ("libwifi_factory_test_orva", "orva_objects"),
        ("orva-station-phone", "console_core|orva-station-phone|virtual_phone_words|watcher"),
        ("libvirtual_phone_platform", "virtual_phone_platform|virtual_phone_words"),
        ("libvirtual_phone", "virtual_phone"),
        ("orva_internals_test", "orva_objects|internals_test"),
    ],
)
def test_the_phones_build_has_the_sources_of_ours(module, targets):
    assert globbed(module) == compiled(targets) != set()


def test_the_phones_build_has_every_fuzzing_target_of_the_library():
    targets = re.search(r"foreach\(target (.*?)\)", (ROOT / "fuzz" / "CMakeLists.txt").read_text())[1].split()
    for target in targets:
        own = {ROOT / "fuzz" / f"{target}.cpp", ROOT / "fuzz" / "library.cpp"}
        assert globbed(f"orva_{target}_fuzzer") == own | compiled("orva_objects")
        assert f"fuzz/corpus/{target}/*" in module_text(f"orva_{target}_fuzzer")


def test_the_phones_build_runs_the_test_that_it_has():
    for entry in json.loads((ROOT / "TEST_MAPPING").read_text())["presubmit"]:
        assert entry["host"] and module_text(entry["name"]).startswith("\ncc_test {")


@pytest.mark.parametrize("header", ["tests/support/chips.h", "tests/support/profiles.h"])
def test_the_phones_build_lists_the_chips_as_ours_does(header):
    made = run(["/usr/bin/python3", ROOT / "android" / "chip_headers.py", ROOT / "chips" / "chips.txt", ROOT / f"{header}.in"], check=True)
    assert made.stdout == (BUILD / "tests" / "generated" / header).read_text()


def test_the_phones_build_makes_the_reports_page_as_ours_does():
    sources = (ROOT / "console" / "output" / "page").iterdir()
    made = run(["/usr/bin/python3", ROOT / "android" / "report_page.py", *sources], check=True)
    assert made.stdout == (BUILD / "console" / "output" / "page" / "report_page.h").read_text()


@pytest.mark.parametrize("file", ["Android.bp", "android/device_defaults.bp"])
def test_the_phones_build_files_can_be_read(file):
    if not shutil.which("bpfmt"):
        pytest.skip("bpfmt (package blueprint-tools) is not installed")
    done = run(["bpfmt", "-d", ROOT / file])
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")
