# SPDX-License-Identifier: Apache-2.0
"""The Python module: it has the C interface, names what went wrong, and its fixtures catch empty tests."""

import inspect
import json
import os
import pydoc
import re
import signal
import subprocess
import sys
import sysconfig
import tomllib
import types
from importlib import metadata
from pathlib import Path

import pytest
from packaging.requirements import Requirement

from orva import CHIPS, Bench, EventKind, Library, NvItem, PhoneDied, PhoneError, UnexpectedResult, VirtualPhone, files
from orva import instrument_profile
from orva import library as library_module
from orva import phone as phone_module
from orva.instrument_profile import ProfileError

from support.tree import PHONES, ROOT

EXAMPLES = sorted((ROOT / "examples").glob("*.py"))
PLAN = ROOT / "examples" / "factory_plan.py"

pytest_plugins = ["orva.pytest_plugin"]

C_TYPES = {
    "void": "None", "int": "c_int", "unsigned": "c_uint", "size_t": "c_ulong", "int64_t": "c_long",
    "int32_t": "c_int", "uint32_t": "c_uint", "enum phone_clock": "c_int", "uint32_t *": "LP_c_uint",
    "uint8_t *": "LP_c_ubyte", "char *": "c_char_p", "char **": "LP_c_char_p", "void *": "c_void_p",
    "wifi_func_t": "c_void_p", "struct phone_event *": "LP__CEvent",
}


def c_type(declaration):
    words = re.sub(r"\bconst\b|\*", " ", declaration).split()
    named = words[:2] if words[0] in ("struct", "enum") else words[:1]
    stars = "*" * declaration.count("*")
    return C_TYPES[" ".join(named) + (" " + stars if stars else "")]


def declared(header):
    """Result and argument types of every function that a header declares, by their ctypes names."""
    text = re.sub(r"/\*.*?\*/|//[^\n]*|#[^\n]*", "", header.read_text(), flags=re.S)
    found = {}
    for result, name, arguments in re.findall(r"([\w ]+[\s*]+)(\w+)\(([^()]*)\);", text):
        types = [] if arguments.strip() == "void" else [c_type(part.strip()) for part in arguments.split(",")]
        found[name] = (c_type(result.strip()), types)
    return found


def in_python(signatures):
    def name(kind):
        return "None" if kind is None else kind.__name__

    return {key: (name(result), [name(kind) for kind in kinds]) for key, (result, kinds) in signatures.items()}


@pytest.mark.parametrize(
    "header, module, bytes_for_void",
    [
        ("include/wifi_factory_test_orva.h", library_module, []),
        # Python passes bytes where C has void *.
        ("virtual_phone/phone.h", phone_module, [("phone_driver_answer", 1), ("phone_nv_get", 2), ("phone_nv_put", 2), ("phone_nv_at", 4)]),
    ],
)
def test_signatures_are_those_of_the_header(header, module, bytes_for_void):
    expected = declared(ROOT / header)
    for function, argument in bytes_for_void:
        assert expected[function][1][argument] == "c_void_p"
        expected[function][1][argument] = "c_char_p"
    assert in_python(module.SIGNATURES) == expected


def test_every_public_function_has_a_documented_method():
    for name in library_module.SIGNATURES:
        assert getattr(Library, name).__doc__, name


@pytest.mark.parametrize("kind, attribute", [(Library, "library"), (VirtualPhone, "phone")])
def test_help_shows_a_benchs_objects_as_their_own_kind(orva_bench, kind, attribute):
    proxy = getattr(orva_bench, attribute)
    methods = {name for name, value in vars(kind).items() if inspect.isfunction(value) and not name.startswith("_")}
    assert {name for name in dir(proxy) if not name.startswith("_")} == methods
    for name in methods:
        assert inspect.signature(getattr(proxy, name)) == inspect.signature(getattr(kind, name).__get__(proxy)), name
        assert inspect.getdoc(getattr(proxy, name)) == inspect.getdoc(getattr(kind, name)), name
    assert inspect.getdoc(proxy) in pydoc.render_doc(proxy, renderer=pydoc.plaintext).replace("\n |  ", "\n")
    with pytest.raises(TypeError, match="missing a required argument"):
        orva_bench.phone.fault()
    with pytest.raises(AttributeError, match="wifi_set_powr"):
        orva_bench.library.wifi_set_powr(155)


def test_the_event_kinds_are_those_of_the_header_and_of_the_trace_format(orva_bench):
    body = re.search(r"enum phone_event_kind \{(.*?)\};", (ROOT / "virtual_phone/phone.h").read_text(), re.S).group(1)
    names = re.findall(r"\bPHONE_(\w+)", re.sub(r"/\*.*?\*/", "", body, flags=re.S))
    assert [kind.name for kind in EventKind] == names
    described = {}
    for words, text in re.findall(r"^\| (`[a-z_`, ]+`) \| (.*) \|$", kinds_in_the_docs(), re.M):
        # A field of the format is named before the colon that explains it.
        fields = re.sub(r":[^;]*", "", text)
        for word in re.findall(r"`(\w+)`", words):
            described[word] = sorted(set(re.findall(r"`(\w+)`", fields)) - {"result"})
    assert described == {kind.name.lower(): sorted(orva_bench.phone.event_fields(kind)) for kind in EventKind}


def kinds_in_the_docs():
    return (ROOT / "docs/reference/trace.md").read_text().partition("| kind | more fields |")[2]


def test_the_fault_places_are_those_of_the_documentation(orva_bench):
    places = orva_bench.phone.fault_places()
    table = (ROOT / "virtual_phone/README.md").read_text().partition("| place | what fails | value |")[2].partition("\n\n")[0]
    rows = re.findall(r"^\| `([^`]+)` \| (.*) \| (.*) \|$", table, re.M)
    assert rows == [(place.name, place.meaning, place.value) for place in places]
    # The sweep fails each function at each of its uses, the fuzzer at random ones.
    for other in ("tests/library/fault_sweep_test.cpp", "fuzz/call_sequence.cpp"):
        text = (ROOT / other).read_text()
        functions = {place.name for place in places if ":" not in place.name} - SPARED.get(other, set())
        assert not {name for name in functions if f'"{name}"' not in text}, other


# A fuzzer's fault may last for ever, and a wait that is interrupted for ever never ends.
SPARED = {"fuzz/call_sequence.cpp": {"waitpid"}}


@pytest.mark.parametrize("orva_chip, digits", [(chip, 32 if chip in ("vq2040", "vq2040a") else 36) for chip in CHIPS])
def test_outputs_come_as_values_of_their_kind(orva_library, orva_phone, digits):
    orva_phone.set("ap.ssid", "lab \"7\"")
    connection = orva_library.wifi_conn_info()
    assert (connection.ok, connection.ssid, connection.bssid, connection.rssi_dbm) == (True, 'lab "7"', "02:00:5e:10:20:30", -47)
    orva_library.wifi_start_testmode()
    orva_library.wifi_set_mode(4)
    orva_library.wifi_set_band(0)
    orva_library.wifi_set_channel(5180)
    assert orva_library.wifi_start_rx("0A1B2C3D4E5F")
    orva_phone.wait(2)
    assert orva_library.wifi_get_rx_pckg() == pytest.approx(2000, abs=50)
    assert orva_library.wifi_get_rx_rssi() == library_module.RxRssi(True, -52)
    check = orva_library.conn_test_get_checktime_of_chipcheck()
    assert check.ok and re.fullmatch("[0-9A-F]{%d}" % digits, check.die_id)
    orva_phone.set("identity.upc", 300)
    assert orva_library.wifi_get_upc_code() == library_module.UpcCode(code=300, upc=300 & 255, out1=0, out2=0)


def test_failures_differ_from_values(orva_library, orva_phone):
    assert orva_library.wifi_query_setting(5) is None
    assert orva_library.conn_test_uart_loop()
    orva_phone.fault("ioctl", times=0)
    assert orva_library.wifi_get_rx_pckg() is None
    assert orva_library.wifi_get_rx_rssi().ok is False
    assert not orva_library.conn_test_uart_loop() and not orva_library.conn_test_chipcheck()
    assert orva_library.conn_test_get_chipcheck_result() == 1
    orva_phone.fault("socket", times=0)
    assert orva_library.wifi_get_rx_rssi() == library_module.RxRssi(False, None)
    assert any(line.priority == 6 and line.text.endswith("socket create fail.\n") for line in orva_phone.log_lines())


def test_calibration_through_nv(orva_library, orva_phone, tmp_path):
    orva_phone.nv_open(tmp_path / "unit.nv")
    assert orva_library.wifi_nvram_calibrate_set(0, 0, 0, 0, 0, 2442, "10")
    (item,) = orva_phone.nv_items()
    assert item.text == orva_library.wifi_nvram_calibrate_get().text != ""
    assert orva_library.wifi_nvram_calibrate_clean_new(chain0_2g=True)
    assert orva_library.wifi_nvram_calibrate_get().text == ""
    orva_phone.nv_put(item.number, item.name, item.data)
    assert orva_phone.nv_get(item.number, item.name) == item.data
    orva_phone.nv_open(None)
    orva_phone.nv_open(tmp_path / "unit.nv")
    assert orva_phone.nv_items()[0] == NvItem(item.number, item.name, item.data)


def correct(bench, delta_gain):
    return bench.library.wifi_nvram_calibrate_set(0, 0, 0, 0, 0, 2442, delta_gain)


@pytest.mark.parametrize("delta_gain", ["-37", "+4.25", "5.", ".5", "1e1", "-0"])
def test_a_correction_may_be_any_decimal_number(orva_bench, delta_gain):
    assert correct(orva_bench, delta_gain)


@pytest.mark.parametrize("place", ["ioctl:63", "nv_lose:4294967295", "shell:" + 121 * "x"])
def test_faults_at_the_ends_of_the_ranges_are_planned(orva_phone, place):
    fault = orva_phone.fault(place, times=2**32 - 1)
    assert orva_phone.fault_fired(fault) == 0
    orva_phone.reset()
    with pytest.raises(PhoneError, match=f"identity: {fault} is no fault"):
        orva_phone.fault_fired(fault)


@pytest.mark.parametrize(
    "call, expected",
    [
        (lambda bench: bench.library.wifi_set_power(2**31), (ValueError, r"power: 2147483648 is not in -2147483648\.\.2147483647$")),
        (lambda bench: bench.library.wifi_set_power(-(2**31) - 1), (ValueError, "power: -2147483649 is not in")),
        (lambda bench: bench.library.wifi_set_power(True), (TypeError, "power: True is no whole number")),
        (lambda bench: bench.library.wifi_get_func(-1), (ValueError, r"op_id: -1 is not in 0\.\.4294967295$")),
        (lambda bench: bench.library.wifi_get_func(2**32), (ValueError, "op_id: 4294967296 is not in")),
        (lambda bench: bench.library.wifi_nvram_calibrate_get(65536), (ValueError, "size: 65536 is not in")),
        (lambda bench: bench.library.wifi_nvram_calibrate_set(0, 0, 0, 0, 0, 2**31, "1"), (ValueError, "freq: 2147483648 is not in")),
        (lambda bench: correct(bench, "1\0"), (ValueError, r"delta_gain: '1\\x00' holds a NUL")),
        (lambda bench: correct(bench, 13), (TypeError, "delta_gain: 13 is no text$")),
        (lambda bench: correct(bench, None), (TypeError, "delta_gain: None is no text$")),
        *((lambda bench, wrong=wrong: correct(bench, wrong), (ValueError, rf"delta_gain: '{wrong}' is no decimal number.*in -500\.\.500"))
          for wrong in ("", "abc", "12abc", "1.2.3", ".", "nan", "0x10", " 1", "１")),
        (lambda bench: bench.library.wifi_nvram_calibrate_clean_new(chain0_2g=2**32), (TypeError, "chain0_2g: 4294967296 is neither True nor")),
        (lambda bench: bench.library.wifi_start_rx(5), (TypeError, "mac: 5 is no text$")),
        (lambda bench: bench.library.wifi_ru_set(1, b"1"), (TypeError, "aid: b'1' is no text$")),
        (lambda bench: bench.library.wifi_start_roam("\ud800"), (ValueError, "target: .* UTF-8")),
        (lambda bench: bench.library.wifi_set_power(15.5), (TypeError, "power: 15.5 is no whole number")),
        (lambda bench: bench.library.wifi_nvram_calibrate_get(0), (ValueError, "size: 0 is not in 1..65535")),
        (lambda bench: bench.library.wifi_start_roam("02\0;reboot"), (ValueError, "target: .* NUL")),
        (lambda bench: bench.phone.set("radio.rsi", 1), (PhoneError, "did you mean radio.rssi")),
        (lambda bench: bench.phone.set(5, 1), (TypeError, "key: 5 is no text")),
        (lambda bench: bench.phone.set("ap.ssid", "a\0b"), (ValueError, "value: .* holds a NUL")),
        (lambda bench: bench.phone.get(None), (TypeError, "key: None is no text")),
        (lambda bench: bench.phone.load(5), (TypeError, "path: 5 is no path")),
        (lambda bench: bench.phone.nv_open("a\0b"), (ValueError, "path: .* holds a NUL")),
        (lambda bench: bench.phone.wait("1"), (TypeError, "seconds: '1' is no number")),
        (lambda bench: bench.phone.uses(1), (TypeError, "place: 1 is no text")),
        (lambda bench: bench.phone.print_log(2**32), (ValueError, "least_priority: 4294967296 is not in")),
        (lambda bench: bench.phone.log_lines("E"), (TypeError, "least_priority: 'E' is no whole number")),
        (lambda bench: bench.phone.trace_secure(2), (TypeError, "on: 2 is neither True nor False")),
        (lambda bench: bench.phone.driver_answer(2**32 + 12, b""), (ValueError, "command: 4294967308 is not in")),
        (lambda bench: bench.phone.driver_answer(12, "7"), (TypeError, "answer: '7' is no bytes")),
        (lambda bench: bench.phone.nv_get(2**32 + 2, "X"), (ValueError, "number: 4294967298 is not in")),
        (lambda bench: bench.phone.nv_put(2, 3, b""), (TypeError, "name: 3 is no text")),
        (lambda bench: bench.phone.nv_put(2, "X", "text"), (TypeError, "data: 'text' is no bytes")),
        (lambda bench: bench.phone.fault(12), (TypeError, "place: 12 is no text")),
        (lambda bench: bench.phone.fault("socket", nth=0), (ValueError, r"nth: 0 is not in 1\.\.4294967295$")),
        (lambda bench: bench.phone.fault("socket", times=-1), (ValueError, r"times: -1 is not in 0\.\.4294967295$")),
        (lambda bench: bench.phone.fault("socket", value=2**31), (ValueError, "value: 2147483648 is not in")),
        (lambda bench: bench.phone.fault("ioctls"), (PhoneError, "place: 'ioctls' is none of socket, .*nv_lose:NUMBER$")),
        (lambda bench: bench.phone.fault("sleep"), (PhoneError, "place: 'sleep' is none of socket, ")),
        (lambda bench: bench.phone.fault("ioctl:64"), (PhoneError, r"^place 'ioctl:64': ID is not a number in 0\.\.63$")),
        (lambda bench: bench.phone.fault("nv_read:-1"), (PhoneError, r"^place 'nv_read:-1': NUMBER is not a number in 0\.\.4294967295$")),
        (lambda bench: bench.phone.fault("shell:"), (PhoneError, "^place 'shell:': COMMAND is not a text of 1 to 121 bytes$")),
        (lambda bench: bench.phone.fault("shell:" + 122 * "x"), (PhoneError, "COMMAND is not a text of 1 to 121 bytes$")),
        (lambda bench: bench.phone.fault_fired(99), (PhoneError, "identity: 99 is no fault")),
        (lambda bench: [bench.phone.fault("popen") for _ in range(5000)], (PhoneError, "^place 'popen': no room for another fault")),
        (lambda bench: bench.phone.get("radio.rsi"), (KeyError, "radio.rsi")),
        (lambda bench: bench.phone.nv_put(340, "X", bytes(105)), (ValueError, "105 bytes")),
        (lambda bench: bench.phone.load("/nowhere.toml"), (PhoneError, "/nowhere.toml: cannot be read")),
    ],
)
def test_misuse_names_the_argument(orva_bench, call, expected):
    before = len(orva_bench.phone.events())
    with pytest.raises(expected[0], match=expected[1]):
        call(orva_bench)
    assert len(orva_bench.phone.events()) == before
    orva_bench.phone.reset()  # of faults that were planned on the way


def test_a_result_that_is_no_truth_value_is_not_taken_for_one():
    with pytest.raises(UnexpectedResult, match="wifi_stop_tx gave 7"):
        library_module._success("wifi_stop_tx", 7)


def test_each_bench_has_a_phone_and_a_library_of_its_own():
    with Bench(chip="vq2040") as one, Bench(chip="vq2070", description=PHONES / "dead-pcie.toml") as other:
        assert one.library.wifi_set_rate(6500) and one.library.wifi_test_weld()
        assert other.library.wifi_query_setting(7) is None and not other.library.wifi_test_weld()
    with pytest.raises(PhoneDied, match="closed"):
        one.library.wifi_stop_tx()


def test_a_phone_that_dies_or_hangs_is_reported_with_the_call():
    with Bench() as bench:
        bench._process.send_signal(signal.SIGKILL)
        with pytest.raises(PhoneDied, match="was ended by SIGKILL"):
            bench.library.wifi_stop_tx()
    with Bench(timeout=5) as slow:
        slow.phone.set_clock(1)
        with pytest.raises(PhoneDied, match="no answer within 5 s while in wait"):
            slow.phone.wait(6)


class Alarm(Exception):
    """Raised by a signal."""


def test_a_call_that_a_signal_interrupts_does_not_answer_the_next(capfd):
    def ring(*_):
        raise Alarm

    before = signal.signal(signal.SIGALRM, ring)
    try:
        with Bench(chip="vq2070") as bench:
            bench.phone.set_clock(1)
            for then in (lambda: bench.phone.get("chip"), lambda: "vq2070"):  # the second closes the bench at once
                with pytest.raises(Alarm):
                    signal.setitimer(signal.ITIMER_REAL, 0.3)
                    bench.phone.wait(1)
                assert then() == "vq2070"
    finally:
        signal.signal(signal.SIGALRM, before)
    assert capfd.readouterr().err == ""


def test_missing_libraries_are_named(tmp_path, monkeypatch):
    with pytest.raises(OSError, match="nowhere.so"):
        Bench(library="/nowhere.so")
    with pytest.raises(RuntimeError, match="LD_PRELOAD"):
        VirtualPhone()
    monkeypatch.setenv("ORVA_LIBRARY_PATH", str(tmp_path))
    monkeypatch.setattr(files, "folders", lambda: [tmp_path])
    with pytest.raises(FileNotFoundError, match=f'is in none of {tmp_path};.*ORVA_LIBRARY_PATH, several separated by ":"$'):
        Bench()


def test_debians_packages_are_new_enough_for_the_extras():
    extras = tomllib.loads((ROOT / "pyproject.toml").read_text())["project"]["optional-dependencies"]
    wanted = [Requirement(text) for texts in extras.values() for text in texts]
    installed = {found.name.lower(): found.version for found in metadata.distributions()}
    assert {"pytest", "pyvisa"} <= installed.keys()
    assert [str(one) for one in wanted if one.name in installed and
            not one.specifier.contains(installed[one.name], prereleases=True)] == []  # as pip does with what is installed


def test_a_missing_pyvisa_is_named_with_its_packages():
    hidden = "import sys; sys.modules['pyvisa'] = None; import orva.tester"
    done = subprocess.run([sys.executable, "-c", hidden], capture_output=True, text=True, timeout=60)
    assert re.search(r"\nImportError: .*python3-pyvisa and python3-pyvisa-py, .*\[tester\]", done.stderr), done.stderr


def test_libraries_are_looked_for_from_the_nearest_place_on(tmp_path, monkeypatch):
    monkeypatch.setenv("ORVA_LIBRARY_PATH", f":{tmp_path}::")
    build, machine = ROOT / "build" / "release", sysconfig.get_config_var("MULTIARCH")
    local, system = Path("/usr/local/lib"), Path("/usr/lib")
    assert files.folders() == [
        tmp_path, tmp_path / "virtual_phone", build, build / "virtual_phone", local, local / machine, system / machine, system]
    monkeypatch.delenv("ORVA_LIBRARY_PATH")
    assert files.folders()[0] == build
    (tmp_path / "other.so").touch()
    monkeypatch.setattr(files, "folders", lambda: [build / "nowhere", tmp_path])
    assert files.find("other.so") == tmp_path / "other.so"


def test_a_build_is_named_by_its_one_folder(monkeypatch):
    build = Path(os.environ["ORVA_LIBRARY"]).parent
    monkeypatch.setattr(files, "_builds", list)
    monkeypatch.setenv("ORVA_LIBRARY_PATH", str(build))
    assert [files.find(name).relative_to(build) for name in (files.LIBRARY, files.VIRTUAL_PHONE)] == [
        Path(files.LIBRARY), Path("virtual_phone", files.VIRTUAL_PHONE)]


def test_profiles_have_names(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    own = ROOT / "rf_tester" / "profiles" / "orva-b.toml"
    assert instrument_profile.load("orva-b") == instrument_profile.load(own)
    for name in ("orva-c", "./orva-b"):
        with pytest.raises(ProfileError, match=f"{name}: the profile cannot be read"):
            instrument_profile.load(name)
    Path("orva-b").write_text("of the reader")
    with pytest.raises(ProfileError, match="^orva-b: .*line 1"):
        instrument_profile.load("orva-b")


def test_an_installed_package_finds_its_own_files_first(tmp_path):
    """Installed as PREFIX/lib/python3/dist-packages/orva, with the library in PREFIX/lib."""
    lib, program = tmp_path / "lib", tmp_path / "bin" / "orva-rf-tester"
    module = lib / "python3" / "dist-packages" / "orva" / "files.py"
    chips = module.parent / "data" / "chips" / "chips.txt"
    for path in (module, chips, program, tmp_path / "own" / "orva-rf-tester", lib / files.LIBRARY):
        path.parent.mkdir(parents=True, exist_ok=True)
        path.touch()
    module.write_text(Path(files.__file__).read_text())
    installed = types.ModuleType("installed_files")
    installed.__file__ = str(module)
    exec(module.read_text(), vars(installed))
    own = lib.parent / "own" / "orva-rf-tester"
    with pytest.MonkeyPatch.context() as patch:
        patch.delenv("ORVA_LIBRARY_PATH", raising=False)
        patch.delenv("ORVA_RF_TESTER", raising=False)
        patch.setenv("PATH", f":{own.parent}:")
        assert installed.folders()[:2] == [lib, lib / sysconfig.get_config_var("MULTIARCH")]
        assert (installed.find(files.LIBRARY), installed.data_file("chips/chips.txt")) == (lib / files.LIBRARY, chips)
        assert installed.rf_tester_folder() == lib / "python3" / "rf_tester"
        assert installed.rf_tester() == program
        program.unlink()
        assert installed.rf_tester() == own
        build = lib / "python3" / "build" / "release" / "rf_tester" / own.name
        build.parent.mkdir(parents=True)
        build.touch()
        assert installed.rf_tester() == own  # a folder that happens to be there is no build of this tree
        (lib / "python3" / "chips").mkdir()
        (lib / "python3" / "chips" / "chips.txt").touch()
        assert installed.rf_tester() == build
        patch.setenv("ORVA_RF_TESTER", str(own))
        assert installed.rf_tester() == own
        own.unlink()
        with pytest.raises(FileNotFoundError, match=f"^no orva-rf-tester: {own} is no file; name the program in ORVA_RF_TESTER$"):
            installed.rf_tester()


def test_a_folder_that_is_none_or_no_phone_is_named(orva_bench, tmp_path, monkeypatch):
    with pytest.raises(PhoneError, match=f"{tmp_path}: is a folder.*description file"):
        orva_bench.phone.load(tmp_path)
    monkeypatch.setenv("ORVA_LIBRARY_PATH", f"/nope:{os.environ['ORVA_LIBRARY_PATH']}")
    with pytest.raises(NotADirectoryError, match="ORVA_LIBRARY_PATH: /nope is no folder"):
        Bench()


def test_the_libraries_may_be_in_a_folder_with_a_blank(tmp_path):
    folder = tmp_path / "a b:c"
    folder.mkdir()
    for name in (files.LIBRARY, files.VIRTUAL_PHONE):
        found = files.find(name)
        (folder / name).symlink_to(found)
        for beside in found.parent.glob("libvirtual_phone_platform.so*"):
            (folder / beside.name).symlink_to(beside)
    with Bench(library=folder / files.LIBRARY, virtual_phone=folder / files.VIRTUAL_PHONE) as bench:
        assert bench.library.wifi_set_power(155)


def test_the_plan_leaves_test_mode_after_any_error(monkeypatch):
    module = types.ModuleType("factory_plan")
    monkeypatch.setitem(sys.modules, module.__name__, module)  # for its dataclasses
    exec(compile(PLAN.read_text(), PLAN, "exec"), vars(module))

    def fails(unit):
        raise PhoneError("no such key")

    monkeypatch.setattr(module, "PLAN", [module.start_test_mode, fails])
    with Bench(chip="vq2050") as bench, pytest.raises(PhoneError, match="no such key"):
        try:
            module.run_plan(module.Unit("vq2050", bench.library, bench.phone.wait))
        finally:
            assert bench.library.wifi_query_setting(1) == 0


def plan(*arguments):
    return subprocess.run([sys.executable, PLAN, *map(str, arguments)], capture_output=True, text=True, timeout=120)


@pytest.mark.parametrize("chip", CHIPS)
def test_the_plan_passes_a_good_phone(chip):
    done = plan("--chip", chip)
    assert done.returncode == 0, done.stdout + done.stderr
    assert done.stdout.splitlines()[-1] == "PASS"


@pytest.mark.parametrize(
    "phone, failed",
    [
        ("wrong-fem", {"front end", "signal"}),
        ("cold-solder-joint", {"solder joints"}),
    ],
)
def test_the_plan_names_what_is_wrong(phone, failed):
    done = plan("--json", "--phone", PHONES / f"{phone}.toml")
    assert done.returncode == 1, done.stderr
    measurements = [m for phase in json.loads(done.stdout)["phases"] for m in phase["measurements"]]
    below = {m["name"] for m in measurements if m["value"] is False}
    below |= {m["name"] for m in measurements if m["low"] is not None and m["value"] < m["low"]}
    assert below == failed


@pytest.mark.parametrize(
    "phone, status, lines",
    [
        (None, 0, ["front end: 1 in 1..1: PASS", "receive starts: 1 in 1..1: PASS", "signal in dBm: -52 in -60..-40: PASS", "PASS"]),
        ("wrong-fem", 1, ["front end: 0 in 1..1: FAIL", "receive starts: 1 in 1..1: PASS", "signal in dBm: -71 in -60..-40: FAIL", "FAIL"]),
    ],
)
def test_the_plug_is_made_and_torn_down(phone, status, lines):
    described = {"ORVA_PHONE": str(PHONES / f"{phone}.toml")} if phone else {}
    done = subprocess.run([sys.executable, PLAN.parent / "framework_plug.py"], env={**os.environ, **described},
                          capture_output=True, text=True, timeout=120)
    assert (done.returncode, done.stdout.splitlines()) == (status, lines), done.stderr


def test_the_example_with_unittest_runs_and_sees_a_broken_procedure(tmp_path):
    example = PLAN.parent / "bench_unittest.py"
    for text, status, ending in ((example.read_text(), 0, "OK"),
                                 (example.read_text().replace("and started", "or started"), 1, "FAILED (failures=2)")):
        copy = tmp_path / "bench_unittest.py"
        copy.write_text(text)
        done = subprocess.run([sys.executable, copy], capture_output=True, text=True, timeout=120)
        assert (done.returncode, done.stderr.splitlines()[-1]) == (status, ending), done.stderr


def test_the_types_hold():
    if subprocess.run([sys.executable, "-m", "mypy", "--version"], capture_output=True).returncode != 0:
        pytest.skip("mypy is not installed")
    done = subprocess.run(
        [sys.executable, "-m", "mypy", "--strict", "--cache-dir", os.devnull, ROOT / "python" / "orva", *EXAMPLES],
        env={**os.environ, "MYPYPATH": str(ROOT / "python"), "LD_PRELOAD": ""}, capture_output=True, text=True)
    assert done.returncode == 0, done.stdout
