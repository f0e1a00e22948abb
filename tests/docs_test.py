"""What the docs show is what happens; the installed package can be built against; the phone's build files agree.

A fenced block marked `run` is run: sh, c, python, tcl. `exit=N` is the status it should end with. A block `output`
behind it is what it prints; there a line `...` stands for any lines, and … for any text.
"""

import json
import os
import re
import shutil
import subprocess
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parent.parent
BUILD = Path(os.environ["ORVA_BUILD"])
STATION = Path(os.environ["ORVA_STATION"])
LIBRARIES = os.environ["ORVA_LIBRARY_PATH"].split(":")
ELSEWHERE = {"sessions.md"}  # its sessions are run on all four chips by the console's own test
DOCUMENTS = sorted([*(ROOT / "docs").glob("*.md"), ROOT / "README.md", ROOT / "virtual_phone" / "README.md"])


def run(command, **options):
    return subprocess.run(list(map(str, command)), capture_output=True, text=True, timeout=300, **options)


def blocks(document):
    """Line number, language, words and text of each fenced block."""
    for found in re.finditer(r"^```(\S*) ?(.*)\n((?:.*\n)*?)```$", document.read_text(), re.M):
        line = document.read_text().count("\n", 0, found.start()) + 1
        yield line, found[1], found[2].split(), found[3]


def examples(document):
    """The blocks to run, each with the output that is shown behind it, or None."""
    found = list(blocks(document))
    for block, following in zip(found, [*found[1:], None]):
        if "run" in block[2]:
            yield *block, following[3] if following and following[1] == "output" else None


def pattern(shown):
    lines = [re.escape(line.rstrip()).replace("…", ".*") for line in shown.splitlines()]
    return "".join("(?:.*\n)*" if line == r"\.\.\." else line + " *\n" for line in lines)


@pytest.fixture
def desk(tmp_path):
    """A folder as the reader's: the tree's own folders, the console in the path."""
    for folder in ("sessions", "virtual_phone", "examples", "python", "api", "android"):
        (tmp_path / folder).symlink_to(ROOT / folder)
    programs = tmp_path / ".programs"
    programs.mkdir()
    (programs / "python3").symlink_to("/usr/bin/python3")
    path = f"{programs}:{STATION.parent}:{os.environ['PATH']}"
    libraries = " ".join(f"-L{folder} -Wl,-rpath,{folder}" for folder in LIBRARIES)
    return tmp_path, {**os.environ, "PATH": path, "ORVA_LDFLAGS": libraries, "HOME": str(tmp_path)}


def program(language, text, folder):
    source = folder / f"example.{language}"
    source.write_text(text)
    if language == "c":
        build = (f"gcc -std=c99 -D_DEFAULT_SOURCE -Wall -Wextra -Werror -Iapi -I{ROOT} example.c $ORVA_LDFLAGS -lwifi_factory_test_orva "
                 "-Wl,--no-as-needed -lvirtual_phone -lvirtual_phone_platform -o example && ./example")
        return ["bash", "-c", build]
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


@pytest.fixture(scope="module")
def prefix(tmp_path_factory):
    prefix = tmp_path_factory.mktemp("installed")
    done = run(["cmake", "--install", BUILD, "--prefix", prefix])
    assert done.returncode == 0, done.stdout + done.stderr
    return prefix


def with_cmake(prefix, folder):
    run(["cmake", "-S", ROOT / "examples" / "c", "-B", folder, f"-DCMAKE_PREFIX_PATH={prefix}"], check=True)
    run(["cmake", "--build", folder], check=True)
    return {}


def with_pkg_config(prefix, folder):
    (configs,) = prefix.rglob("pkgconfig")
    packages = ["wifi_factory_test_orva", "wifi_factory_test_orva_virtual_phone"]
    flags = run(["pkg-config", "--cflags", "--libs", *packages], env={**os.environ, "PKG_CONFIG_PATH": str(configs)})
    run(["gcc", ROOT / "examples/c/power_sweep.c", "-o", folder / "power_sweep", *flags.stdout.split()], check=True)
    return {"LD_LIBRARY_PATH": str(configs.parent)}


SWEPT = [f"power {power} at 5180 MHz: transmitted" for power in range(100, 181, 20)]


@pytest.mark.parametrize("build", [with_cmake, with_pkg_config])
def test_a_program_against_the_installed_package(build, prefix, tmp_path):
    environment = {**os.environ, **build(prefix, tmp_path)}
    good = run([tmp_path / "power_sweep"], env=environment)
    assert (good.returncode, good.stdout.splitlines()) == (0, [*SWEPT, "PASS"])
    phone = tmp_path / "phone.toml"
    phone.write_text('chip = "vq2070"\n[[fault]]\nplace = "ioctl:5"\nnth = 3\ntimes = 2\n')
    refused = run([tmp_path / "power_sweep"], env={**environment, "ORVA_PHONE": str(phone)})
    assert refused.returncode == 1
    assert refused.stdout.splitlines() == [SWEPT[0], "power 120 at 5180 MHz: FAILED", *SWEPT[2:], "FAIL"]


def test_the_installed_console_and_module_find_the_installed_library(prefix, tmp_path):
    console = run([prefix / "bin" / "orva-station", "wifi_set_power", "155"], env={"PATH": os.environ["PATH"]})
    assert console.returncode == 0, console.stderr
    for what, file in (("bash", "bash-completion/completions/orva-station"), ("zsh", "zsh/site-functions/_orva-station"),
                       ("man", "man/man1/orva-station.1")):
        assert (prefix / "share" / file).read_text() == run([prefix / "bin" / "orva-station", "generate", what]).stdout
    (module,) = prefix.rglob("python/orva")
    show = "import orva; b = orva.Bench(); print(orva.files.find('libvirtual_phone.so'), b.library.wifi_test_weld())"
    found = run(["/usr/bin/python3", "-c", show], env={"PYTHONPATH": str(module.parent)})
    assert found.stdout.startswith(str(prefix)) and found.stdout.endswith(" True\n"), found.stderr


def test_the_installed_headers_stand_alone(prefix, tmp_path):
    (include,) = (prefix / "include").iterdir()
    headers = sorted(include.rglob("*.h"))
    assert len(headers) == 8
    source = tmp_path / "all.c"
    source.write_text("".join(f'#include "{header.relative_to(include)}"\n' for header in headers))
    for compiler in (["gcc", "-std=c99"], ["g++", "-x", "c++", "-std=c++17"]):
        done = run([*compiler, "-Wall", "-Wextra", "-Werror", "-fsyntax-only", f"-I{include}", source])
        assert done.returncode == 0, done.stderr


def globbed(module):
    """The files that a module of Android.bp is made of."""
    text = re.search(rf'name: "{module}",.*?\n}}', (ROOT / "Android.bp").read_text(), re.S)[0]
    def listed(name):
        found = re.search(rf"\b(?<!exclude_){name}: \[(.*?)\]", text, re.S)
        return {path for glob in re.findall(r'"(.*?)"', found[1]) for path in ROOT.glob(glob)} if found else set()
    return listed("srcs") - listed("exclude_srcs")


def test_the_phones_build_has_the_sources_of_ours():
    built = {Path(entry["file"]) for entry in json.loads((BUILD / "compile_commands.json").read_text())
             if "orva_objects.dir" in entry["command"]}
    assert built and globbed("libwifi_factory_test_orva") == built
    console = {Path(entry["file"]) for entry in json.loads((BUILD / "compile_commands.json").read_text())
               if re.search(r"(console_core|orva-station-phone)\.dir", entry["command"])}
    assert globbed("orva-station") == console


def test_the_phones_build_makes_the_reports_page_as_ours_does():
    sources = (ROOT / "console" / "output" / "page").iterdir()
    made = run(["/usr/bin/python3", ROOT / "android" / "report_page.py", *sources], check=True)
    assert made.stdout == (BUILD / "console" / "output" / "page" / "report_page.h").read_text()


# Every place that lists the chips one by one.
CHIP_LISTS = """
    Doxyfile api/dispatch.cpp api/exports.map.txt cmake/Install.cmake cmake/Library.cmake docs/chip_differences.md
    kernel_phone/phone/driver_check.c kernel_phone/phone/run_plan platform/platform.h python/orva/phone.py
    script/demo script/fault-sweep script/kernel-phone sessions/board_check.tcl sessions/rf.tcl
    console/phone/chips.h tests/dispatch_exports_test.py tests/phone_test.cpp
    tests/phone_test.h tests/quality.cmake tests/rf_chip_tables.cpp tests/rf_tables_test.cpp virtual_phone/radio.c
""".split()


@pytest.mark.parametrize("place", CHIP_LISTS)
def test_no_chip_is_forgotten(place):
    chips = {folder.name for folder in (ROOT / "chips").iterdir() if folder.is_dir()}
    named = set(re.findall(r"(?<![0-9A-Za-z])vq[0-9]+[a-z]*", (ROOT / place).read_text()))
    assert chips <= named, f"{place} does not know {chips - named}"


@pytest.mark.parametrize("file", ["Android.bp", "android/device_defaults.bp"])
def test_the_phones_build_files_can_be_read(file):
    if not shutil.which("bpfmt"):
        pytest.skip("bpfmt (package blueprint-tools) is not installed")
    done = run(["bpfmt", "-d", ROOT / file])
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")


def test_the_sample_policy_allows_the_drivers_request(tmp_path):
    if not shutil.which("checkpolicy"):
        pytest.skip("checkpolicy is not installed")
    sample = (ROOT / "android/sepolicy/orva_factory_test.te").read_text()
    # The platform's macro, as far as it matters here.
    sample = re.sub(r"init_daemon_domain\((\w+)\)", r"type_transition init \1_exec:process \1;", sample)
    contexts = (ROOT / "android/sepolicy/genfs_contexts").read_text()
    stub = (ROOT / "tests/selinux_stub.conf").read_text()
    (tmp_path / "policy.conf").write_text(stub.replace("@SAMPLE@", sample).replace("@CONTEXTS@", contexts))
    compiled = run(["checkpolicy", "-M", "-c", "30", "-o", tmp_path / "policy", tmp_path / "policy.conf"])
    assert compiled.returncode == 0, compiled.stderr
    allowed = run(["checkpolicy", "-M", "-b", "-F", "-o", "-", tmp_path / "policy"]).stdout
    request = re.search(r"0x89F\w", (ROOT / "common/driver.cpp").read_text())[0].lower()
    assert re.search(rf"allowxperm orva_factory_test self:udp_socket ioctl .*\b{request}\b", allowed)


def test_the_reference_has_every_public_function_and_no_warning(tmp_path):
    if not shutil.which("doxygen"):
        pytest.skip("doxygen is not installed")
    done = run([ROOT / "script" / "docs", tmp_path])
    assert done.returncode == 0, done.stderr
    page = (tmp_path / "html" / "wifi__factory__test__orva_8h.html").read_text()
    declared = re.findall(r"^\w[\w ]+\*?(\w+)\([^;{]*\);", (ROOT / "api/wifi_factory_test_orva.h").read_text(), re.M)
    assert len(declared) > 30
    assert [name for name in declared if f"{name}</td>" not in page and f"{name} </td>" not in page] == []
