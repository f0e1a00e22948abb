# SPDX-License-Identifier: Apache-2.0
"""The public C functions, one method each.

Where a C function tells success or failure, the method gives True or False: True is success everywhere, also for
conn_test_chipcheck and others whose C result is 0 for success. Where C gives a value, the method gives the value, and None where
C has a special number for "none". An argument of the wrong kind raises TypeError, and one that does not fit into the C
type ValueError, before the library is called; whether a value makes sense is for the library to judge.
"""

from __future__ import annotations

import ctypes
import os
import re
from ctypes import POINTER, byref, c_char_p, c_int32, c_uint8, c_uint32, c_void_p
from dataclasses import dataclass
from typing import Any, Optional

from orva._arguments import INT32, UINT32, flag, number, optional_text, text

_U8P = POINTER(c_uint8)
_U32P = POINTER(c_uint32)

#: Result and arguments of every public function, as the header declares them.
SIGNATURES: dict[str, tuple[Any, tuple[Any, ...]]] = {
    "wifi_get_func": (c_void_p, (c_uint32,)),
    "wifi_set_power": (c_uint32, (c_int32,)),
    "wifi_set_mode": (c_uint32, (c_int32,)),
    "wifi_set_rate": (c_uint32, (c_int32,)),
    "wifi_set_band": (c_uint32, (c_int32,)),
    "wifi_set_channel": (c_uint32, (c_int32,)),
    "wifi_setmimo_channel": (c_uint32, (c_int32,)),
    "wifi_set_antenna": (c_uint32, (c_int32,)),
    "wifi_query_setting": (c_int32, (c_int32,)),
    "wifi_start_testmode": (c_uint32, ()),
    "wifi_stop_testmode": (c_uint32, ()),
    "wifi_start_tx": (c_uint32, ()),
    "wifi_stop_tx": (c_uint32, ()),
    "wifi_start_rx": (c_uint32, (c_char_p, c_char_p)),
    "wifi_stop_rx": (c_uint32, ()),
    "wifi_get_rx_rssi": (c_uint32, (_U32P,)),
    "wifi_get_rx_pckg": (c_uint32, ()),
    "wifi_ru_set": (c_uint32, (c_int32, c_char_p)),
    "wifi_set_powermode": (c_uint32, (c_int32, c_int32)),
    "wifi_pt_power_test": (c_uint32, (c_int32,)),
    "wifi_hw_get": (c_uint32, (c_void_p,)),
    "wifi_test_weld": (c_uint32, ()),
    "conn_test_chipcheck": (c_uint32, (c_void_p, c_void_p, c_void_p)),
    "conn_test_get_chipcheck_result": (c_uint32, (_U8P, _U8P, _U32P)),
    "conn_test_get_checktime_of_chipcheck": (c_uint32, (c_void_p, _U32P, _U8P)),
    "conn_test_uart_loop": (c_uint32, (c_void_p,)),
    "conn_test_sdio_loop": (c_uint32, (c_void_p,)),
    "wifi_nvram_set": (c_uint32, (c_void_p, c_void_p, c_int32)),
    "wifi_nvram_calibrate_clean": (c_uint32, (c_int32,)),
    "wifi_nvram_calibrate_get": (c_uint32, (c_char_p, c_int32)),
    "wifi_nvram_calibrate_set": (
        c_uint32,
        (c_int32, c_int32, c_int32, c_int32, c_int32, c_int32, c_char_p),
    ),
    "wifi_nvram_calibrate_clean_new": (c_uint32, (_U32P,)),
    "wifi_get_upc_code": (c_uint32, (_U8P, _U8P, _U8P)),
    "wifi_set_tas_ant_mode": (c_uint32, (c_int32,)),
    "wifi_start_roam": (c_uint32, (c_char_p,)),
    "wifi_start_roam_scan": (c_uint32, ()),
    "wifi_set_bss_expire_age": (c_uint32, (c_int32,)),
    "wifi_conn_info": (c_uint32, (c_char_p, _U8P, _U8P)),
    "wifi_power_set_range": (c_uint32, (_U8P, _U8P)),
    "wifi_selcal_disable_set": (c_uint32, (c_int32,)),
    "wifi_test_broadcast_loop": (c_uint32, (c_int32,)),
}

_NOT_WRITTEN = 0x5EA15EA1
_MOST_ITEMS = 16


class UnexpectedResult(RuntimeError):
    """A function that knows only success and failure gave neither."""


@dataclass(frozen=True)
class RxRssi:
    """Signal strength."""

    ok: bool
    dbm: Optional[int]
    """What the driver left, also where it refused; None where no socket could be opened."""


@dataclass(frozen=True)
class CheckTime:
    """Check time and die identifier."""

    ok: bool
    check_time: int
    """100; 0 where the library wrote none."""
    die_id: str
    """32 hexadecimal digits (vq2040, vq2040a) or 36 (vq2050, vq2070)."""


@dataclass(frozen=True)
class CalibrationText:
    """All stored calibration."""

    ok: bool
    text: str


@dataclass(frozen=True)
class UpcCode:
    """The UPC code; code is also 0 where the driver refused, and 1 (vq2040a: 0) where no socket could be opened."""

    code: int
    upc: int
    """The low 8 bits."""
    out1: int
    out2: int


@dataclass(frozen=True)
class Connection:
    """The connection to an access point; empty where the driver refused."""

    ok: bool
    ssid: str
    bssid: str
    """As 02:00:5e:10:20:30."""
    rssi_dbm: int


@dataclass(frozen=True)
class PowerRange:
    """The power range, in the driver's steps."""

    ok: bool
    lower: int
    upper: int


class _DlInfo(ctypes.Structure):
    _fields_ = [
        ("file", c_char_p),
        ("base", c_void_p),
        ("symbol", c_char_p),
        ("address", c_void_p),
    ]


def _number(name: str, value: int, least: int = INT32[0], most: int = INT32[1]) -> int:
    return number(name, value, least, most)


def _correction(name: str, value: str) -> bytes:
    """A correction as text. The library takes what it can read of one, and 0 for the rest: "abc" would succeed."""
    encoded = text(name, value)
    if not re.fullmatch(r"[+-]?([0-9]+\.?[0-9]*|\.[0-9]+)(e[+-]?[0-9]+)?", value, re.IGNORECASE):
        raise ValueError(f"{name}: {value!r} is no decimal number; give tenths of the shift in -500..500, as \"-37\" "
                         "(vq2040: a gain in dB in -5..5, not 0)")
    return encoded


def _success(name: str, result: int, good: int = 1) -> bool:
    if result not in (0, 1):
        raise UnexpectedResult(f"{name} gave {result}, neither 1 nor 0")
    return result == good


class Library:
    """The library, loaded into this process.

    The phone's own functions (log, NV service, chip query, bounds-checked functions) must be there already: on a phone
    its linker brings them along; on another machine the virtual phone must be loaded ahead of libc, see Bench.
    One caller at a time.
    """

    def __init__(self, path: str | os.PathLike[str]) -> None:
        """Loads the library. Raises OSError where it, or a function that it needs, cannot be found."""
        self._c = ctypes.CDLL(os.fspath(path), mode=os.RTLD_NOW | os.RTLD_LOCAL)
        for name, (result, arguments) in SIGNATURES.items():
            function = getattr(self._c, name)
            function.restype = result
            function.argtypes = arguments

    def _ok(self, name: str, *arguments: Any) -> bool:
        return _success(name, getattr(self._c, name)(*arguments))

    def _zero_is_ok(self, name: str, *arguments: Any) -> bool:
        return _success(name, getattr(self._c, name)(*arguments), good=0)

    # ---- Dispatch

    def wifi_get_func(self, op_id: int) -> Optional[str]:
        """Name of the fitted chip's function for an operation; None where there is none.

        op_id: 0 to 39; only the low 8 bits count.
        """
        address = self._c.wifi_get_func(_number("op_id", op_id, *UINT32))
        if not address:
            return None
        info = _DlInfo()
        dladdr = ctypes.CDLL(None).dladdr
        dladdr.argtypes = (c_void_p, POINTER(_DlInfo))
        found = dladdr(address, byref(info))
        return info.symbol.decode() if found and info.symbol else hex(address)

    # ---- RF test settings: recorded now, sent to the driver when a test starts

    def wifi_set_power(self, power: int) -> bool:
        """Sets the transmit power.

        power: the driver gets a tenth of it (vq2040: a hundredth), truncated toward zero. With test mode off it goes
        to the driver at once; False when it refused.
        """
        return self._ok("wifi_set_power", _number("power", power))

    def wifi_set_mode(self, at_mode: int) -> bool:
        """Sets the protocol mode: 0 to 6, vq2070 0 to 7. False for an unknown mode."""
        return self._ok("wifi_set_mode", _number("at_mode", at_mode))

    def wifi_set_rate(self, rate: int) -> bool:
        """Sets the rate; the driver gets a hundredth. Always True."""
        return self._ok("wifi_set_rate", _number("rate", rate))

    def wifi_set_band(self, band: int) -> bool:
        """Sets the bandwidth: 0 = 20 MHz, 1 = 40 MHz, 2 = 80 MHz, 3 = 160 MHz. Always True; a start checks it."""
        return self._ok("wifi_set_band", _number("band", band))

    def wifi_set_channel(self, channel: int) -> bool:
        """Sets the channel by its centre frequency in MHz: 2412 to 2472 or 5180 to 5825 in steps of 5, or 2484.

        Always True; a start checks it.
        """
        return self._ok("wifi_set_channel", _number("channel", channel))

    def wifi_setmimo_channel(self, chain: int) -> bool:
        """Chooses the MIMO chain: 1 or 2. False for another, and on vq2040 and vq2040a for any."""
        return self._ok("wifi_setmimo_channel", _number("chain", chain))

    def wifi_set_antenna(self, antenna: int) -> bool:
        """Chooses the antenna, at once: 1 is sent as 0, any other as 1. False when the driver refused."""
        return self._ok("wifi_set_antenna", _number("antenna", antenna))

    def wifi_query_setting(self, item: int) -> Optional[int]:
        """Reads a setting back; nothing is sent. None where it is not set, and for an unknown item.

        item: 1 test mode on, 2 mode, 3 channel (MHz), 4 frequency (never set), 5 power, 7 rate, 9 transmit on,
        10 receive on, 11 antenna, 13 memory test time.
        """
        result: int = self._c.wifi_query_setting(_number("item", item))
        return None if result == -1 else result

    # ---- RF test

    def wifi_start_testmode(self) -> bool:
        """Enters test mode and brings wlan0 up; 2 s where it was up. True also when it was on already."""
        return self._ok("wifi_start_testmode")

    def wifi_stop_testmode(self) -> bool:
        """Leaves test mode: stops a receive test and takes wlan0 down. True also when it was off already."""
        return self._ok("wifi_stop_testmode")

    def wifi_start_tx(self) -> bool:
        """Sends the settings and starts to transmit. False after a refusal or for a channel that does not exist."""
        return self._ok("wifi_start_tx")

    def wifi_stop_tx(self) -> bool:
        """Stops transmitting."""
        return self._ok("wifi_stop_tx")

    def wifi_start_rx(self, mac: Optional[str] = None) -> bool:
        """Sets the address filter and starts to receive.

        mac: 12 hexadecimal digits without separators; None for 001122334455.
        """
        return self._ok("wifi_start_rx", optional_text("mac", mac), None)

    def wifi_stop_rx(self) -> bool:
        """Stops receiving."""
        return self._ok("wifi_stop_rx")

    def wifi_get_rx_rssi(self) -> RxRssi:
        """Reads the signal strength in dBm."""
        rssi = c_uint32(_NOT_WRITTEN)
        ok = self._ok("wifi_get_rx_rssi", byref(rssi))
        return RxRssi(ok, None if rssi.value == _NOT_WRITTEN else c_int32(rssi.value).value)

    def wifi_get_rx_pckg(self) -> Optional[int]:
        """Packets received since the start; None when the driver refused; 0 also when no socket could be opened."""
        packets: int = self._c.wifi_get_rx_pckg()
        return None if packets == 0xFFFFFFFF else packets

    def wifi_ru_set(self, en_set: int, aid: Optional[str] = None) -> bool:
        """Arms an RU test for the next receive start (vq2070 only).

        en_set: 0 none, 1 transmit, 2 receive. aid: association id, three hexadecimal digits; None for 1.
        """
        return self._ok("wifi_ru_set", _number("en_set", en_set), optional_text("aid", aid))

    def wifi_set_powermode(self, mode: int, value: int) -> bool:
        """Switches the driver's power save. mode: 1; others are refused. value: 0 is off."""
        return self._ok("wifi_set_powermode", _number("mode", mode), _number("value", value))

    def wifi_pt_power_test(self, mode: int) -> bool:
        """Power test: a test mode in the driver; vq2040 tells only 0 from other values."""
        return self._ok("wifi_pt_power_test", _number("mode", mode))

    # ---- Hardware self-checks

    def wifi_hw_get(self) -> bool:
        """Is the front-end module's status good?"""
        return self._ok("wifi_hw_get", None)

    def wifi_test_weld(self) -> bool:
        """Solder-joint check; restarts wlan0. False at the first check that failed."""
        return self._ok("wifi_test_weld")

    def conn_test_chipcheck(self) -> bool:
        """Starts the firmware's chip check. True when the driver took the command (the C result is then 0)."""
        scratch = ctypes.create_string_buffer(8)
        return self._zero_is_ok("conn_test_chipcheck", scratch, scratch, scratch)

    def conn_test_get_chipcheck_result(self) -> int:
        """The chip check's code: 0 no fault found; 1 also when the driver refused or no socket could be opened."""
        first, second, third = c_uint8(), c_uint8(), c_uint32()
        code: int = self._c.conn_test_get_chipcheck_result(byref(first), byref(second), byref(third))
        return code

    def conn_test_get_checktime_of_chipcheck(self) -> CheckTime:
        """Check time and die identifier; restarts wlan0."""
        check_time, die_id = c_uint32(), (c_uint8 * 64)()
        ok = self._zero_is_ok("conn_test_get_checktime_of_chipcheck", None, byref(check_time), die_id)
        return CheckTime(ok, check_time.value, bytes(die_id).split(b"\0")[0].decode("ascii", "replace"))

    def conn_test_uart_loop(self) -> bool:
        """UART loop. True is success (the C result is then 0)."""
        return self._zero_is_ok("conn_test_uart_loop", None)

    def conn_test_sdio_loop(self) -> bool:
        """SDIO loop; stops the WLAN service first, except on vq2040. True is success (the C result is then 0)."""
        return self._zero_is_ok("conn_test_sdio_loop", None)

    # ---- Calibration data in NV

    def wifi_nvram_set(self) -> bool:
        """Copies the driver's calibration block to NV (vq2040, vq2040a; False on the others)."""
        return self._ok("wifi_nvram_set", None, None, 0)

    def wifi_nvram_calibrate_clean(self, scope: int) -> bool:
        """Clears stored calibration: 1 all, 2 chain 0, 3 chain 1, 4 both chains at 2.4 GHz, 5 both at 5 GHz.

        vq2040 clears its block whatever the scope; vq2040a knows only 1. True also when items could not be cleared.
        """
        return self._ok("wifi_nvram_calibrate_clean", _number("scope", scope))

    def wifi_nvram_calibrate_get(self, size: int = 104) -> CalibrationText:
        """Reads all stored calibration as one text. size: bytes for each item, 1 to 65535; vq2040 wants 104."""
        _number("size", size, 1, 65535)
        room = ctypes.create_string_buffer(_MOST_ITEMS * size)
        ok = self._ok("wifi_nvram_calibrate_get", room, size)
        return CalibrationText(ok, room.value.decode("latin-1"))

    def wifi_nvram_calibrate_set(
        self, cal_type: int, chain: int, mode: int, band: int, bandwidth: int, freq: int, delta_gain: str
    ) -> bool:
        """Corrects the stored calibration by one measured error. What was written before a failure stays.

        cal_type: 0. chain: 0 or 1. mode: 2 for CCK, else 0 (vq2040: 1 to 5). band: 0 = 2.4 GHz, 1 = 5 GHz.
        bandwidth: 0 = 20, 1 = 40, 3 = 160 MHz (vq2040: 2 = 80 MHz). freq: centre frequency in MHz. delta_gain: decimal
        text, tenths of the shift, -500 to 500 (vq2040: a gain in dB, -5 to 5 and not 0). Raises ValueError for a text that
        is not wholly a number, of which the library would use the beginning, or 0.
        """
        numbers = dict(cal_type=cal_type, chain=chain, mode=mode, band=band, bandwidth=bandwidth, freq=freq)
        return self._ok(
            "wifi_nvram_calibrate_set",
            *(_number(name, value) for name, value in numbers.items()),
            _correction("delta_gain", delta_gain),
        )

    def wifi_nvram_calibrate_clean_new(
        self,
        *,
        chain0_2g: bool = False,
        chain0_5g: bool = False,
        chain1_2g: bool = False,
        chain1_5g: bool = False,
    ) -> bool:
        """Clears stored calibration by band and chain (vq2050, vq2070)."""
        flags = dict(chain0_2g=chain0_2g, chain0_5g=chain0_5g, chain1_2g=chain1_2g, chain1_5g=chain1_5g)
        return self._ok("wifi_nvram_calibrate_clean_new", (c_uint32 * 4)(*(flag(name, on) for name, on in flags.items())))

    # ---- Station utilities

    def wifi_get_upc_code(self) -> UpcCode:
        """Reads the UPC code."""
        out1, out2, upc = c_uint8(), c_uint8(), c_uint8()
        code: int = self._c.wifi_get_upc_code(byref(out1), byref(out2), byref(upc))
        return UpcCode(code, upc.value, out1.value, out2.value)

    def wifi_set_tas_ant_mode(self, value: int) -> bool:
        """Switches the TAS antenna (not on vq2040)."""
        return self._ok("wifi_set_tas_ant_mode", _number("value", value))

    def wifi_start_roam(self, target: Optional[str]) -> bool:
        """Roams to an access point.

        target: BSSID, up to 81 characters. It becomes part of a shell command line as it stands: pass no text that you
        did not make yourself. None is refused.
        """
        return self._ok("wifi_start_roam", optional_text("target", target))

    def wifi_start_roam_scan(self) -> bool:
        """Starts a scan."""
        return self._ok("wifi_start_roam_scan")

    def wifi_set_bss_expire_age(self, age: int) -> bool:
        """Sets how long scan results stay valid, in driver and supplicant. True only when both took it."""
        return self._ok("wifi_set_bss_expire_age", _number("age", age))

    def wifi_conn_info(self) -> Connection:
        """Reads the connection; signal strength in dBm."""
        ssid, bssid, rssi = ctypes.create_string_buffer(33), (c_uint8 * 6)(), c_uint8()
        ok = self._ok("wifi_conn_info", ssid, bssid, byref(rssi))
        name = ssid.raw.split(b"\0")[0].decode("utf-8", "replace")
        return Connection(ok, name, bytes(bssid).hex(":"), ctypes.c_int8(rssi.value).value)

    def wifi_power_set_range(self) -> PowerRange:
        """The power range, in the driver's steps: 0 to 14."""
        lower, upper = c_uint8(), c_uint8()
        ok = self._ok("wifi_power_set_range", byref(lower), byref(upper))
        return PowerRange(ok, lower.value, upper.value)

    def wifi_selcal_disable_set(self, flag: int) -> bool:
        """Records the self-calibration switch for the next start of test mode: 1 on, any other off (not on vq2040)."""
        return self._ok("wifi_selcal_disable_set", _number("flag", flag))

    def wifi_test_broadcast_loop(self, value: int) -> bool:
        """Broadcast loop (vq2040a). The other chips give True without doing anything."""
        return self._ok("wifi_test_broadcast_loop", _number("value", value))
