# SPDX-License-Identifier: Apache-2.0
"""The board check session on good and broken phones: what fails, and which fault it names."""

import json

import pytest

from support.console import station
from support.tree import CHIPS, PHONES, ROOT

GOOD = ([], ["nothing wrong with this board"])
WELD = ["wifi_test_weld"]


def board_check(chip, phone):
    """Exit status, the calls that failed, the finding."""
    done = station("--json", "--chip", chip, "--phone", phone, "run", ROOT / "sessions/board_check.tcl")
    lines = [json.loads(line) for line in done.stdout.splitlines()]
    assert lines and not any(line["type"] == "error" for line in lines), done.stdout + done.stderr
    failed = [line["function"] for line in lines
              if line["type"] == "call" and not all(e["held"] for e in line["expectations"])]
    failed += [line["what"] for line in lines if line["type"] == "expectation" and not line["held"]]
    return done.returncode, failed, [line["text"] for line in lines if line["type"] == "note"]


def weld(finding):
    return WELD, [finding]


def cold_solder_joint(chip):
    return weld("a solder joint is bad (wakeup_io = 1)" if chip == "vq2040a" else "a solder joint is bad (efuse_status = 5)")


def dead_pcie(chip):
    """Only chips with PCIe can notice."""
    return GOOD if chip in ("vq2040", "vq2040a") else weld("the PCIe link is dead (pcie_test = 3)")


SHIPPED = {
    "good": lambda chip: GOOD,
    "cold-solder-joint": cold_solder_joint,
    "dead-pcie": dead_pcie,
    "wrong-fem": lambda chip: (["wifi_hw_get"], ["the front-end module is not the right one"]),
}


@pytest.mark.parametrize("phone, chip, expected", [(phone, chip, finding(chip)) for phone, finding in SHIPPED.items() for chip in CHIPS])
def test_each_shipped_phone_has_its_finding(phone, chip, expected):
    status, failed, findings = board_check(chip, PHONES / f"{phone}.toml")
    assert (failed, findings) == expected
    assert status == (0 if expected == GOOD else 1)


BROKEN = {
    "check.chip = 7": (["conn_test_get_chipcheck_result"], ["the chip check found a fault"]),
    "check.uart_loop = 1": (["conn_test_uart_loop"], ["the UART loop is open"]),
    "check.sdio_loop = 1": (["conn_test_sdio_loop"], ["the SDIO loop is open"]),
    "driver.refuse = [13]": (["conn_test_chipcheck"], ["the chip check does not start"]),
    "driver.refuse = [6]": weld("the chip does not answer"),
    "driver.refuse = [22]": (["die identifier other than zeros"], ["the chip gives no die identifier"]),
    "ap.connected = false": (["wifi_conn_info"], ["the phone is connected to no access point"]),
    '[[fault]]\nplace = "shell:ifconfig wlan0 up"\nnth = 2\ntimes = 2': weld("wlan0 does not come up"),
}


@pytest.mark.parametrize("chip", CHIPS)
@pytest.mark.parametrize("broken", BROKEN)
def test_each_fault_is_named(broken, chip, tmp_path):
    phone = tmp_path / "phone.toml"
    phone.write_text(broken)
    status, failed, findings = board_check(chip, phone)
    assert (status, failed, findings) == (1, *BROKEN[broken])
