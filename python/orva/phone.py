# SPDX-License-Identifier: Apache-2.0
"""The virtual phone's controls: set a phone up, make it fail on purpose, look at what the library did to it."""

from __future__ import annotations

import ctypes
import enum
import os
import re
import struct
from ctypes import POINTER, c_char_p, c_int, c_int32, c_int64, c_size_t, c_uint, c_uint32, c_void_p
from dataclasses import dataclass
from typing import Any, ClassVar, Optional

from orva import _arguments as arguments
from orva import files
from orva._arguments import INT32, UINT32

#: The chips, by sub-chip index.
CHIPS = tuple(files.data_file("chips/chips.txt").read_text(encoding="utf-8").split())
#: Bytes of an NV item.
NV_ITEM_SIZE = 104

_DRIVER_COMMANDS = 64
_PLACE_SIZE = 128
_RECORD_SIZE = 264
_MESSAGE_SIZE = 1000


class PhoneError(ValueError):
    """The phone refused an argument; the message says what would be right."""


class Clock(enum.IntEnum):
    """What a sleep does: VIRTUAL advances the clock at once, REAL waits."""

    VIRTUAL = 0
    REAL = 1


class Priority(enum.IntEnum):
    """Priorities of the Android log that the library uses."""

    DEBUG = 3
    INFO = 4
    ERROR = 6


class EventKind(enum.IntEnum):
    """Kinds of contact with the phone; their names in lower case are the words of recordings."""

    SOCKET = 0
    IOCTL = 1
    CLOSE = 2
    FORK = 3
    EXEC = 4
    WAIT = 5
    POPEN = 6
    FREAD = 7
    PCLOSE = 8
    OPEN = 9
    WRITE = 10
    SLEEP = 11
    LOG = 12
    SUBCHIP = 13
    NV_READ = 14
    NV_WRITE = 15
    SECURE = 16


@dataclass(frozen=True)
class Event:
    """One contact with the phone. The kind decides which fields are used, see phone.h."""

    kind: EventKind
    time_us: int
    result: int
    error: int
    process: int
    numbers: tuple[int, int, int]
    name: str
    text: str
    data: bytes


@dataclass(frozen=True)
class DriverCommand:
    """One driver command: its id, and the data area as sent and as the driver left it (256 bytes each)."""

    id: int
    magic: int
    sent: bytes
    answer: bytes
    ok: bool

    @property
    def value(self) -> int:
        """The first 32 bits of what was sent, unsigned."""
        return int.from_bytes(self.sent[:4], "little")


@dataclass(frozen=True)
class LogLine:
    """One line of the phone's log; the text as formatted, line end and all."""

    time_us: int
    priority: Priority
    tag: str
    text: str


@dataclass(frozen=True)
class NvItem:
    """One stored NV item."""

    number: int
    name: str
    data: bytes

    @property
    def text(self) -> str:
        """Up to the first NUL."""
        return self.data.split(b"\0")[0].decode("latin-1")


@dataclass(frozen=True)
class Key:
    """One key of the phone's description."""

    name: str
    meaning: str


@dataclass(frozen=True)
class FaultPlace:
    """A place where a fault can be planned. Capitals in its name are the caller's part: "ioctl:ID"."""

    name: str
    #: What the value of fault() means there.
    value: str
    #: What fails.
    meaning: str


class _CEvent(ctypes.Structure):
    _fields_ = [
        ("kind", c_int),
        ("time_us", c_int64),
        ("result", c_int64),
        ("error", c_int32),
        ("process", c_int32),
        ("number", c_int64 * 3),
        ("name", c_char_p),
        ("text", c_char_p),
        ("data", c_void_p),
        ("size", c_size_t),
    ]

    def event(self) -> Event:
        return Event(
            kind=EventKind(self.kind),
            time_us=self.time_us,
            result=self.result,
            error=self.error,
            process=self.process,
            numbers=(self.number[0], self.number[1], self.number[2]),
            name=self.name.decode("utf-8", "replace"),
            text=self.text.decode("utf-8", "replace"),
            data=ctypes.string_at(self.data, self.size) if self.data else b"",
        )


#: Result and arguments of every control, as the header declares them.
SIGNATURES: dict[str, tuple[Any, tuple[Any, ...]]] = {
    "phone_reset": (None, ()),
    "phone_load": (c_int, (c_char_p, c_char_p, c_size_t)),
    "phone_set": (c_int, (c_char_p, c_char_p, c_char_p, c_size_t)),
    "phone_get": (c_int, (c_char_p, c_char_p, c_size_t)),
    "phone_key": (c_char_p, (c_size_t, POINTER(c_char_p))),
    "phone_set_clock": (None, (c_int,)),
    "phone_now_us": (c_int64, ()),
    "phone_event_count": (c_size_t, ()),
    "phone_event": (POINTER(_CEvent), (c_size_t,)),
    "phone_event_word": (c_char_p, (c_size_t, POINTER(c_char_p), POINTER(c_char_p))),
    "phone_events_dropped": (c_size_t, ()),
    "phone_events_clear": (None, ()),
    "phone_trace_secure": (None, (c_int,)),
    "phone_print_log": (None, (c_int,)),
    "phone_fault_place": (c_char_p, (c_size_t, POINTER(c_char_p), POINTER(c_char_p))),
    "phone_fault": (c_int, (c_char_p, c_uint, c_uint, c_int)),
    "phone_fault_fired": (c_uint, (c_int,)),
    "phone_faults_unfired": (c_uint, ()),
    "phone_faults_clear": (None, ()),
    "phone_part": (None, ()),
    "phone_uses": (c_uint, (c_char_p,)),
    "phone_driver_answer": (c_int, (c_uint32, c_char_p, c_size_t)),
    "phone_driver_answers_clear": (None, ()),
    "phone_interface_up": (c_int, ()),
    "phone_left_open": (c_uint, ()),
    "phone_nv_open": (c_int, (c_char_p, c_char_p, c_size_t)),
    "phone_nv_get": (c_int, (c_uint32, c_char_p, c_char_p)),
    "phone_nv_put": (c_int, (c_uint32, c_char_p, c_char_p)),
    "phone_nv_at": (c_int, (c_size_t, POINTER(c_uint32), c_char_p, c_size_t, c_char_p)),
    "phone_nv_begin": (c_int, ()),
    "phone_nv_end": (c_int, (c_int,)),
    "phone_nv_clear": (c_int, ()),
}


class VirtualPhone:
    """The virtual phone of this process. It must be loaded ahead of libc; Bench starts such a process."""

    #: Ids of the faults planned since the last reset; of the process, as the phone is.
    _planned: ClassVar[set[int]] = set()

    def __init__(self) -> None:
        """Raises RuntimeError if this process has no virtual phone."""
        self._c = ctypes.CDLL(None)
        for name, (result, arguments) in SIGNATURES.items():
            function = getattr(self._c, name, None)
            if function is None:
                raise RuntimeError("no virtual phone in this process: start it with libvirtual_phone.so in LD_PRELOAD")
            function.restype = result
            function.argtypes = arguments

    def _with_message(self, name: str, *arguments: Any) -> None:
        message = ctypes.create_string_buffer(_MESSAGE_SIZE)
        if getattr(self._c, name)(*arguments, message, _MESSAGE_SIZE) != 0:
            raise PhoneError(message.value.decode("utf-8", "replace"))

    # ---- Description

    def reset(self) -> None:
        """A fresh phone: default description, no faults, empty trace, virtual clock at 0, NV empty and in memory."""
        self._c.phone_reset()
        self._planned.clear()

    def load(self, path: str | os.PathLike[str]) -> None:
        """Applies a description file (TOML). Raises PhoneError that names file, line and key."""
        self._with_message("phone_load", arguments.path("path", path))

    def set(self, key: str, value: object) -> None:
        """Sets one key ("chip", "radio.rssi", …); True and False are written as true and false."""
        written = str(value).lower() if isinstance(value, bool) else str(value)
        self._with_message("phone_set", arguments.text("key", key), arguments.text("value", written))

    def get(self, key: str) -> str:
        """Reads one key. Raises KeyError for an unknown one."""
        value = ctypes.create_string_buffer(16384)
        if self._c.phone_get(arguments.text("key", key), value, len(value)) != 0:
            raise KeyError(key)
        return value.value.decode("utf-8", "replace")

    def keys(self) -> list[Key]:
        """Every key with its meaning."""
        keys: list[Key] = []
        meaning = c_char_p()
        while (name := self._c.phone_key(len(keys), ctypes.byref(meaning))) is not None:
            keys.append(Key(name.decode(), (meaning.value or b"").decode()))
        return keys

    # ---- Clock

    def set_clock(self, clock: Clock) -> None:
        """Chooses the clock; virtual after reset."""
        self._c.phone_set_clock(Clock(clock))

    def now_us(self) -> int:
        """Microseconds since reset, on the chosen clock."""
        now: int = self._c.phone_now_us()
        return now

    def wait(self, seconds: float) -> None:
        """Lets time pass on the phone's clock, as a station does between two calls. Traced as a pause."""
        usleep = self._c.usleep
        usleep.argtypes = (c_uint32,)
        if isinstance(seconds, bool) or not isinstance(seconds, (int, float)):
            raise TypeError(f"seconds: {seconds!r} is no number")
        if not 0 <= seconds <= 4000:
            raise ValueError(f"seconds: {seconds} is not in 0..4000")
        usleep(round(seconds * 1_000_000))

    # ---- Trace

    def events(self) -> list[Event]:
        """Every contact with the phone since the last clear, in order."""
        return [self._c.phone_event(i).contents.event() for i in range(self._c.phone_event_count())]

    def events_dropped(self) -> int:
        """Contacts after those of events(), for which the trace had no room."""
        return int(self._c.phone_events_dropped())

    def events_clear(self) -> None:
        """Empties the trace and the counters of uses()."""
        self._c.phone_events_clear()

    def trace_secure(self, on: bool) -> None:
        """Decides whether the trace holds bounds-checked functions too."""
        self._c.phone_trace_secure(arguments.flag("on", on))

    def print_log(self, least_priority: int) -> None:
        """Prints log lines to stderr as they come, from this priority on; 0 for none."""
        self._c.phone_print_log(arguments.number("least_priority", least_priority, *INT32))

    def log_lines(self, least_priority: int = Priority.DEBUG) -> list[LogLine]:
        """The log since the last clear, from this priority on."""
        arguments.number("least_priority", least_priority, *INT32)
        return [
            LogLine(event.time_us, Priority(event.numbers[0]), event.name, event.text)
            for event in self.events()
            if event.kind is EventKind.LOG and event.numbers[0] >= least_priority
        ]

    def driver_commands(self) -> list[DriverCommand]:
        """The driver commands since the last clear, retries included."""
        commands = []
        for event in self.events():
            if event.kind is EventKind.IOCTL:
                magic, command = struct.unpack_from("<II", event.data)
                sent, left = event.data[8:_RECORD_SIZE], event.data[_RECORD_SIZE + 8 :]
                commands.append(DriverCommand(command, magic, sent, left, event.result >= 0))
        return commands

    def shell_commands(self) -> list[tuple[str, int]]:
        """Command lines that the shell ran since the last clear, with their exit statuses."""
        return [(event.text, event.result) for event in self.events() if event.kind is EventKind.EXEC]

    def pauses_us(self) -> list[int]:
        """The pauses that the library asked for since the last clear, in microseconds."""
        return [event.numbers[0] for event in self.events() if event.kind is EventKind.SLEEP]

    # ---- Faults

    def fault(self, place: str, nth: int = 1, times: int = 1, value: int = 0) -> int:
        """Plans a fault: the nth use of a place fails, and so do the times - 1 after it (times 0: all of them).

        place: one of fault_places(), such as "socket", "ioctl:11" or "shell:ifconfig wlan0 up". value: what
        fault_places() says for the place, 0 for its default. Returns an id for fault_fired(). Raises PhoneError for a
        place that does not exist, and ValueError for a number out of range.
        """
        arguments.number("nth", nth, 1, UINT32[1])
        arguments.number("times", times, *UINT32)
        arguments.number("value", value, *INT32)
        identity: int = self._c.phone_fault(arguments.text("place", place), nth, times, value)
        if identity < 0:
            raise PhoneError(self._wrong_place(place) or f"place {place!r}: no room for another fault; reset() makes room")
        self._planned.add(identity)
        return identity

    def _wrong_place(self, place: str) -> Optional[str]:
        """What is wrong with a place; None for one that exists."""
        family, colon, part = place.partition(":")
        places = [known.name for known in self.fault_places()]
        word = next((name.partition(":")[2] for name in places if colon and name.startswith(family + colon)), None)
        if word is None:
            return None if place in places else f"place: {place!r} is none of {', '.join(places)}"
        if word == "COMMAND":
            most = _PLACE_SIZE - 1 - len("shell:")
            return None if 0 < len(part.encode()) <= most else f"place {place!r}: {word} is not a text of 1 to {most} bytes"
        most = _DRIVER_COMMANDS - 1 if word == "ID" else UINT32[1]
        good = re.fullmatch("[0-9]{1,99}", part) and int(part) <= most
        return None if good else f"place {place!r}: {word} is not a number in 0..{most}"

    def fault_places(self) -> list[FaultPlace]:
        """Every place where a fault can be planned."""
        places: list[FaultPlace] = []
        value, meaning = c_char_p(), c_char_p()
        while (name := self._c.phone_fault_place(len(places), ctypes.byref(value), ctypes.byref(meaning))) is not None:
            places.append(FaultPlace(name.decode(), (value.value or b"").decode(), (meaning.value or b"").decode()))
        return places

    def event_fields(self, kind: EventKind) -> list[str]:
        """The fields that recordings hold for this kind of event besides its result."""
        fields = c_char_p()
        self._c.phone_event_word(EventKind(kind), ctypes.byref(fields), None)
        return (fields.value or b"").decode().split()

    def fault_fired(self, identity: int) -> int:
        """How often this fault has fired. Raises PhoneError for an id that fault() has not given since the last reset."""
        if arguments.number("identity", identity, *INT32) not in self._planned:
            raise PhoneError(f"identity: {identity} is no fault; give what fault() returned since the last reset()")
        fired: int = self._c.phone_fault_fired(identity)
        return fired

    def faults_unfired(self) -> int:
        """Faults planned since the last reset that never fired. A test that ends with one proved nothing."""
        unfired: int = self._c.phone_faults_unfired()
        return unfired

    def faults_clear(self) -> None:
        """Forgets all planned faults; those that never fired still count as unfired."""
        self._c.phone_faults_clear()

    def uses(self, place: str) -> int:
        """Uses of a place so far, failing ones included."""
        uses: int = self._c.phone_uses(arguments.text("place", place))
        return uses

    # ---- Radio and NV

    def driver_answer(self, command: int, answer: bytes) -> None:
        """Fixes the answer of one driver command, in place of the radio's own."""
        arguments.number("command", command, *UINT32)
        if self._c.phone_driver_answer(command, arguments.data("answer", answer), len(answer)) != 0:
            raise PhoneError(f"no driver command {command} with an answer of {len(answer)} bytes")

    def driver_answers_clear(self) -> None:
        """Returns to the radio's own answers."""
        self._c.phone_driver_answers_clear()

    def interface_up(self) -> bool:
        """Whether wlan0 is up."""
        return bool(self._c.phone_interface_up())

    def left_open(self) -> int:
        """Descriptors, children and streams that library calls opened and did not give back."""
        left: int = self._c.phone_left_open()
        return left

    def nv_open(self, path: str | os.PathLike[str] | None) -> None:
        """Keeps NV in an SQLite file from now on; None: in memory."""
        self._with_message("phone_nv_open", None if path is None else arguments.path("path", path))

    def nv_get(self, number: int, name: str) -> bytes:
        """An item's 104 bytes, untraced; zeros where it was never written."""
        item = ctypes.create_string_buffer(NV_ITEM_SIZE)
        key = arguments.number("number", number, *UINT32), arguments.text("name", name)
        if self._c.phone_nv_get(*key, item) != 0:
            raise PhoneError(f"NV item {number} {name!r} cannot be read")
        return item.raw

    def nv_put(self, number: int, name: str, data: bytes) -> None:
        """Writes an item, untraced; shorter data is filled up with zeros."""
        arguments.data("data", data)
        if len(data) > NV_ITEM_SIZE:
            raise ValueError(f"data: {len(data)} bytes, an item has {NV_ITEM_SIZE}")
        key = arguments.number("number", number, *UINT32), arguments.text("name", name)
        if self._c.phone_nv_put(*key, data.ljust(NV_ITEM_SIZE, b"\0")) != 0:
            raise PhoneError(f"NV item {number} {name!r} cannot be written")

    def nv_items(self) -> list[NvItem]:
        """The stored items in order of number and name."""
        items: list[NvItem] = []
        number, name = c_uint32(), ctypes.create_string_buffer(256)
        data = ctypes.create_string_buffer(NV_ITEM_SIZE)
        while found := self._c.phone_nv_at(len(items), ctypes.byref(number), name, len(name), data):
            if found < 0:
                raise PhoneError("the NV store cannot be read")
            items.append(NvItem(number.value, name.value.decode("utf-8", "replace"), data.raw))
        return items

    def nv_clear(self) -> None:
        """Removes all items."""
        if self._c.phone_nv_clear() != 0:
            raise PhoneError("the NV store cannot be cleared")
