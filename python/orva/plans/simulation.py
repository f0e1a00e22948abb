# SPDX-License-Identifier: Apache-2.0
"""The RF test set and units of virtual phones, for plans that run without hardware."""

from __future__ import annotations

import contextlib
import subprocess
from typing import Mapping, Sequence

from orva import files
from orva.bench import Bench
from orva.tester import TesterError

_ENDING_S = 10
#: What the cables of the simulated bench lose: MHz to dB.
CABLE_DB: Mapping[float, float] = {2412: 1.2, 2472: 1.3, 5180: 2.1, 5825: 2.4}

#: What is wrong with a defective unit, as the diagnosis names it, and how the virtual phone gets it.
DEFECTS: Mapping[str, Mapping[str, str]] = {
    "wrong front-end module": {"rf.fault": "wrong_fem"},
    "cold joint": {"rf.fault": "cold_joint"},
    "open antenna": {"rf.fault": "open_antenna"},
    "bad crystal": {"rf.fault": "bad_crystal"},
    "weak amplifier": {"rf.saturation": "16"},
    "deaf receiver": {"rf.noise_figure": "20"},
}


def points_of(losses: Mapping[float, float]) -> str:
    """Losses as options write them: "2412:1.2,5180:2.1"."""
    return ",".join(f"{mhz:g}:{db:g}" for mhz, db in losses.items())


def losses_of(text: str) -> dict[float, float]:
    """The losses of such a text. Raises ValueError for one that is wrong or names a frequency twice."""
    points = [(float(mhz), float(db)) for mhz, _, db in (point.partition(":") for point in text.split(","))]
    if len(losses := dict(points)) < len(points):
        raise ValueError(text)
    return losses


class SimulatedTester(contextlib.AbstractContextManager["SimulatedTester"]):
    """orva-rf-tester on free ports, until the block ends.

    address: HOST:PORT for SCPI. cables: HOST:PORT for virtual phones.
    """

    def __init__(self, dialect: str = "a", seed: int = 0, options: Sequence[str] = ()) -> None:
        command = [str(files.rf_tester()), "--port", "0", "--cable-port", "0", "--dialect", dialect, "--seed", str(seed)]
        for port in range(1, 9):
            command += ["--cable-loss", f"{port}={points_of(CABLE_DB)}"]
        self._process = subprocess.Popen([*command, *options], stdout=subprocess.PIPE, text=True)
        try:
            self.address, self.cables = self._listening(), self._listening()
        except Exception:
            self.__exit__()
            raise

    def _listening(self) -> str:
        assert self._process.stdout is not None
        line = self._process.stdout.readline()
        if " on " not in line:
            raise TesterError(f"{files.rf_tester()} did not start: it printed {line!r}")
        return line.split(",")[0].split()[-1]

    def __exit__(self, *_: object) -> None:
        self._process.terminate()
        try:
            self._process.communicate(timeout=_ENDING_S)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.communicate()


def fit(bench: Bench, chip: str, unit: int | str, cable: str, keys: Mapping[str, object]) -> None:
    """Makes the bench's phone a fresh one: a unit of a chip, plugged in, with more keys of its description."""
    bench.phone.reset()
    bench.phone.set("chip", chip)
    bench.phone.set("unit", unit)
    for key, value in keys.items():
        bench.phone.set(key, value)
    bench.phone.set("cable", cable)
