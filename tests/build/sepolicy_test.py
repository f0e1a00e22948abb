# SPDX-License-Identifier: Apache-2.0
"""The sample policy compiles, and allows what the library uses: no more and no less.

What it uses is taken from the library's sources and from runs under strace: of the console with the library, and of
ifconfig, which the library runs in its own domain.
"""

import os
import re
import shutil
import subprocess

import pytest

from support.console import STATION_PHONE
from support.tree import ROOT

SEPOLICY, SUPPORT = ROOT / "android/sepolicy", ROOT / "tests/support/selinux"
DOMAIN = "orva_factory_test"
missing = [tool for tool in ("m4", "checkpolicy", "sefcontext_compile", "matchpathcon") if not shutil.which(tool, path="/usr/bin:/usr/sbin")]
pytestmark = pytest.mark.skipif(bool(missing), reason=f"not installed: {missing}; script/setup --tests installs them")


def run(*command, **options):
    return subprocess.run(list(map(str, command)), capture_output=True, text=True, timeout=120, **options)


def compiled(folder, variant, sample):
    """The policy's binary file and its rules in plain text, as checkpolicy writes them."""
    base = (SUPPORT / "base.conf").read_text()
    text = base.replace("@SAMPLE@", sample).replace("@CONTEXTS@", (SEPOLICY / "genfs_contexts").read_text())
    expanded = run("m4", f"-Dvariant={variant}", SUPPORT / "te_macros", "-", input=text)
    assert expanded.returncode == 0, expanded.stderr
    (folder / "policy.conf").write_text(expanded.stdout)
    done = run("checkpolicy", "-M", "-c", "30", "-o", folder / "policy", folder / "policy.conf")
    return done, folder / "policy"


@pytest.fixture(scope="module", params=["userdebug", "user"])
def variant(request):
    return request.param


@pytest.fixture(scope="module")
def policy(variant, tmp_path_factory):
    done, binary = compiled(tmp_path_factory.mktemp("policy"), variant, (SEPOLICY / f"{DOMAIN}.te").read_text())
    assert done.returncode == 0, done.stderr
    return binary


@pytest.fixture(scope="module")
def rules(policy):
    return run("checkpolicy", "-M", "-b", "-F", "-o", "-", policy).stdout


def allowed(rules, target, object_class):
    """The permissions that the domain has on a type."""
    found = re.findall(rf"^allow {DOMAIN} {target}:{object_class} (.*);", rules, re.M)
    return {word for words in found for word in words.strip("{} ").split()}


def allowed_requests(rules):
    found = re.findall(rf"^allowxperm {DOMAIN} self:udp_socket ioctl (.*);", rules, re.M)
    return {int(word, 16) for words in found for word in re.findall(r"0x\w+", words)}


def sources():
    return "".join(path.read_text() for folder in ("api", "chips", "common") for path in (ROOT / folder).rglob("*.cpp"))


def traced(*command):
    """The requests on sockets (0x89..) that a program makes, in a network of its own with a wlan0."""
    setup = "ip link add wlan0 type veth peer name far && exec strace -f -qq -e trace=ioctl -e raw=ioctl -o /dev/stderr \"$@\""
    # A sanitizer's search for leaks does not work under strace.
    return run("unshare", "-rn", "sh", "-c", setup, "sh", *command, env={**os.environ, "ASAN_OPTIONS": "detect_leaks=0"})


def requests_of(*command):
    return {int(number, 16) for number in re.findall(r"ioctl\(0x\w+, (0x89\w\w),", traced(*command).stderr)}


@pytest.fixture(scope="module")
def wlan0():
    """Skips where no network of one's own can be had."""
    lacking = [tool for tool in ("strace", "busybox", "ip", "setpriv") if not shutil.which(tool, path="/usr/bin:/usr/sbin:/bin:/sbin")]
    if lacking or traced("true").returncode:
        pytest.skip(f"no wlan0 to be made: {lacking or traced('true').stderr}")


# What "ifconfig wlan0 up" and "down" ask for: SIOCGIFFLAGS and SIOCSIFFLAGS.
FLAGS = {0x8913, 0x8914}


def private_request():
    made = re.findall(r"\bioctl\((?:[^,()]|\([^)]*\))*, (\w+),", sources())
    assert set(made) == {"PRIVATE_REQUEST"}
    return int(re.search(r"PRIVATE_REQUEST = (0x\w+);", sources())[1], 16)


def test_it_allows_the_requests_that_are_made(rules):
    assert allowed_requests(rules) == {private_request()} | FLAGS
    assert allowed(rules, "self", "udp_socket") == {"create", "ioctl"}


def test_the_requests_of_a_run_are_these(wlan0):
    assert requests_of("busybox", "ifconfig", "wlan0", "up") | requests_of("busybox", "ifconfig", "wlan0", "down") == FLAGS
    assert requests_of(STATION_PHONE, "wifi_get_upc_code") | requests_of(STATION_PHONE, "wifi_set_power", "1") == {private_request()}


def test_it_allows_the_capability_that_is_needed(rules, wlan0):
    assert allowed(rules, "self", "capability") == {"net_admin"}
    def status(capabilities, *command):
        return traced("setpriv", f"--bounding-set={capabilities}", f"--inh-caps={capabilities}", *command)
    up = ["busybox", "ifconfig", "wlan0", "up"]
    assert status("-all,+net_admin", *up).returncode == 0
    refused = status("-net_admin", *up)
    assert refused.returncode == 1 and "not permitted" in refused.stderr
    # The library's own request needs none: it reaches this wlan0, which knows no private request.
    assert re.search(r"0x89f2, .* = -1 EOPNOTSUPP", status("-all", STATION_PHONE, "wifi_get_upc_code").stderr)


# The programs that the library runs, and the label of each.
PROGRAMS = {"ifconfig": "toolbox_exec", "grep": "toolbox_exec", "/system/bin/netcfg": "system_file", "svc": "system_file",
            "wpa_cli_orva": "system_file", "/system/bin/sh": "shell_exec"}


def test_it_allows_the_programs_and_files_that_are_used(rules):
    lines = re.findall(r'(?:system_call|run_cmd_by_stream)\(chip, "([^"]+)"', sources()) + re.findall(r'"(wpa_cli_orva \w+ )"', sources())
    lines += re.findall(r'execl\("([^"]+)"', sources())
    assert {part.split()[0] for line in lines for part in line.split("|")} == set(PROGRAMS)
    for label in PROGRAMS.values():
        assert allowed(rules, label, "file") == {"execute", "execute_no_trans", "getattr", "map", "open", "read"}
    executable = {label for label in re.findall(rf"^allow {DOMAIN} (\w+):file .*execute_no_trans", rules, re.M)}
    assert executable == {*PROGRAMS.values(), "logcat_exec"}
    opened = set(re.findall(r'"(/sys/[^"]+)"', sources()))
    assert opened == {f"/sys{path}" for path in re.findall(r"^genfscon sysfs (\S+)", (SEPOLICY / "genfs_contexts").read_text(), re.M)}
    assert allowed(rules, "sysfs_orva_debug", "file") == {"open", "write"}


def test_it_allows_logcat_to_read_the_log(rules):
    assert '{"logcat", ' in (ROOT / "console/phone/logcat.cpp").read_text(), "the console runs it by this name"
    assert allowed(rules, "logcat_exec", "file") == {"execute", "execute_no_trans", "getattr", "map", "open", "read"}
    assert allowed(rules, "logdr_socket", "sock_file") == {"write"}
    assert allowed(rules, "logd", "unix_stream_socket") == {"connectto"}


def test_adb_enters_the_domain_in_a_build_for_development_only(rules, variant):
    entered = re.findall(rf"^type_transition (\w+) {DOMAIN}_exec:process {DOMAIN};", rules, re.M)
    assert sorted(entered) == (["init"] if variant == "user" else ["init", "shell", "su"])
    for entering in entered:
        assert re.search(rf"^allow {entering} {DOMAIN}:process .*\btransition\b", rules, re.M)
    assert bool(allowed(rules, "adbd", "fd")) == bool(allowed(rules, "shell_data_file", "file")) == (variant != "user")


def test_the_installed_files_get_their_labels(policy, tmp_path):
    contexts = tmp_path / "file_contexts"
    shutil.copy(SEPOLICY / "file_contexts", contexts)
    done = run("/usr/sbin/sefcontext_compile", "-p", policy, contexts)
    assert (done.returncode, done.stderr) == (0, "")
    module = re.search(r'cc_binary \{\s*name: "([^"]+)"', (ROOT / "Android.bp").read_text())[1]
    for path, label in ((f"/vendor/bin/{module}", f"{DOMAIN}_exec"), ("/vendor/lib64/libwifi_factory_test_orva.so", "vendor_file")):
        assert run("/usr/sbin/matchpathcon", "-n", "-f", contexts, path).stdout.strip() == f"u:object_r:{label}:s0"


def test_a_word_that_no_platform_has_is_refused(tmp_path):
    sample = (SEPOLICY / f"{DOMAIN}.te").read_text()
    for wrong in (f"allow {DOMAIN} self:capability net_admn;", f"allow {DOMAIN} shel_exec:file read;", "binder_us(x)"):
        done, _ = compiled(tmp_path, "userdebug", sample + wrong + "\n")
        assert done.returncode != 0, wrong
