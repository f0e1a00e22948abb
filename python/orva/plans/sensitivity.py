# SPDX-License-Identifier: Apache-2.0
"""Finds a unit's sensitivity: the level at which the standard's share of packets is lost."""

from __future__ import annotations

from orva.plans.coverage import Reception
from orva.plans.station import PlanError, Station

#: Beyond every receiver, in dBm: thermal noise of the narrowest channel, and a level at which all are good.
LOWEST_DBM, HIGHEST_DBM = -105.0, -40.0
STEP_DB = 0.05
#: At 10 % lost these make the level good to 0.03 dB with 95 % confidence.
PACKETS = 10_000


def level_at(station: Station, at: Reception) -> float:
    """The level in dBm, to STEP_DB, at which the packet error rate is the limit's. Test mode must be on."""
    limit = station.limits.find("packet_error_rate", at.signal)
    if limit is None or limit.high is None:
        raise PlanError(f"{station.limits.path}: no packet error rate for {at.signal.format} {at.signal.rate}")

    most = limit.high

    def loses_more(level: float) -> bool:
        sent, lost = station.send(at, level, PACKETS)
        return 100 * lost / sent > most

    deaf, hears = LOWEST_DBM, HIGHEST_DBM
    if not loses_more(deaf) or loses_more(hears):
        raise PlanError(f"{at.signal.format} {at.signal.rate} at {at.signal.mhz:g} MHz: the sensitivity is not between "
                        f"{deaf:g} and {hears:g} dBm")
    while hears - deaf > STEP_DB:
        middle = (deaf + hears) / 2
        deaf, hears = (middle, hears) if loses_more(middle) else (deaf, middle)
    return hears
