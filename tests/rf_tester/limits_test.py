# SPDX-License-Identifier: Apache-2.0
"""The table of limits: what the standard allows, guard bands, and files that are refused."""

import pytest
from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st

from orva import limits
from orva.limits import Signal

from support.tree import ROOT

STANDARD = ROOT / "rf_tester" / "limits.csv"
HEAD = ",".join(limits.COLUMNS) + "\n"

# Figures of the standard at the corners of the table.
FIGURES = [
    ("evm", ("dsss", "11", 2442, 20), None, -9.12),
    ("evm", ("ofdm", "54", 5180, 20), None, -25),
    ("evm", ("ht", "mcs7", 2442, 40), None, -27),
    ("evm", ("he", "mcs11", 5210, 80), None, -35),
    ("frequency_error", ("dsss", "1", 2412, 20), -25, 25),
    ("frequency_error", ("ht", "mcs0", 2412, 20), -25, 25),
    ("frequency_error", ("ht", "mcs0", 5180, 20), -20, 20),
    ("frequency_error", ("ofdm", "6", 2412, 20), -20, 20),
    ("mask_margin", ("vht", "mcs9", 5570, 160), 0, None),
    ("sensitivity", ("dsss", "11", 2442, 20), None, -76),
    ("sensitivity", ("ofdm", "6", 5180, 20), None, -82),
    ("sensitivity", ("ht", "mcs7", 5190, 40), None, -61),
    ("sensitivity", ("vht", "mcs9", 5570, 160), None, -48),
    ("sensitivity", ("he", "mcs11", 2442, 20), None, -52),
    ("packet_error_rate", ("dsss", "2", 2442, 20), None, 8),
    ("maximum_input", ("vht", "mcs9", 5180, 80), -30, None),
]


@pytest.mark.parametrize("quantity, signal, low, high", FIGURES)
def test_the_standards_figures(quantity, signal, low, high):
    limit = limits.load(STANDARD).find(quantity, Signal(*signal))
    assert (limit.low, limit.high) == (low, high)


def test_every_signal_has_its_limits():
    standard = limits.load(STANDARD)
    unlimited = {(quantity, signal.format, signal.rate) for signal in limits._signals()
                 for quantity in limits.QUANTITIES if standard.find(quantity, signal) is None}
    without_leakage = {(q, f, r) for q, f, r in unlimited if q != "leakage"}
    assert without_leakage == {("sensitivity", "dsss", "1"), ("sensitivity", "dsss", "5.5")}


def test_a_guard_band_is_as_wide_as_the_uncertainty():
    limit = limits.load(STANDARD).find("frequency_error", Signal("ofdm", "6", 5180, 20))
    for value, uncertainty, holds in ((20, 0, True), (-20.001, 0, False), (19.6, 0.5, False), (-19.5, 0.5, True),
                                      (float("nan"), 0, False)):
        assert limit.guarded(uncertainty).holds(value) == holds


@pytest.mark.parametrize("row, limit", [
    ("evm,ht,mcs7,,,,-30,dB,plant", -30),
    ("evm,ht,,5,,,-30,dB,plant", -27),  # another band
    ("evm,,,,,,-35,dB,plant", -35),
])
def test_a_tighter_limit_is_taken(tmp_path, row, limit):
    own = tmp_path / "own.csv"
    own.write_text(HEAD + row)
    both = limits.load(STANDARD, own)
    assert both.find("evm", Signal("ht", "mcs7", 2442, 20)).high == limit and both.path == f"{own} over {STANDARD}"


# Columns of rows that a plant may write, as (low, high) of quantities with limits on either side.
cells = st.tuples(st.sampled_from([("evm", None, -27), ("frequency_error", -20, 20), ("mask_margin", 0, None), ("leakage", None, -25)]),
                  st.sampled_from([("", ""), ("dsss", "1"), ("dsss", "11"), ("ofdm", ""), ("ht", "mcs7"), ("vht", "mcs9"), ("he", "mcs11")]),
                  st.sampled_from(["", "2.4", "5"]), st.sampled_from(["", "20"]), st.floats(-6, 6).map(lambda change: round(change, 1)))


def limits_of(table):
    """The two limits of those quantities for each signal."""
    found = {(name, signal): table.find(name, signal) for signal in limits._signals() for name in ("evm", "frequency_error", "mask_margin", "leakage")}
    return {key: (limit.low, limit.high) for key, limit in found.items() if limit}


@pytest.fixture(scope="module")
def standard():
    return limits_of(limits.load(STANDARD))


@settings(max_examples=25, deadline=None, derandomize=True, database=None, suppress_health_check=[HealthCheck.function_scoped_fixture])
@given(st.lists(cells, min_size=1, max_size=4))
def test_own_limits_tighten_or_are_refused(tmp_path, standard, chosen):
    rows = [(name, form, rate, band, width, low and low + change, high and high - change)
            for (name, low, high), (form, rate), band, width, change in chosen]
    own = tmp_path / "own.csv"
    own.write_text(HEAD + "".join(",".join("" if cell is None else str(cell) for cell in row) + f",{limits.QUANTITIES[row[0]]},plant\n"
                                  for row in rows))
    looser, taken = False, {}
    for signal in limits._signals():
        at = (signal.format, signal.rate, signal.band, str(signal.bandwidth_mhz))
        for name, *where, low, high in rows:
            if all(cell in ("", value) for cell, value in zip(where, at)):
                taken.setdefault((name, signal), (low, high))
                usual_low, usual_high = standard.get((name, signal), (None, None))
                looser |= usual_low is not None and low < usual_low or usual_high is not None and high > usual_high
    if looser:
        with pytest.raises(limits.LimitsError, match="limits may only be tightened"):
            limits.load(STANDARD, own)
        return
    assert limits_of(limits.load(STANDARD, own)) == standard | taken


# A row of a plant's own, and what is said about it.
REFUSED = [
    ("frequency_error,dsss,1,,20,-26,25,ppm,plant", "own.csv:2: frequency_error of -26 to 25 ppm is looser than -25 to 25 ppm for dsss 1 in 2.4"),
    ("evm,ht,mcs7,,,,-26,dB,plant", "own.csv:2: evm of at most -26 dB is looser than at most -27 dB for ht mcs7 in 2.4 GHz .IEEE"),
    ("evm,htt,,,,,-30,dB,plant", "own.csv:2: format 'htt': give dsss, ofdm, ht, vht, he, or nothing for any"),
    ("evm,ht,,,,,-20,dB,plant", "looser than at most -22 dB for ht mcs5"),
    ("power_error,,,5,,-1,,dB,plant", "power_error of at least -1 dB is looser than -9 to 9 dB"),
    ("frequency_error,,,,,-22,22,ppm,plant", "looser than -20 to 20 ppm for ofdm 6"),
    ("evm,ht,mcs8,,,,-30,dB,plant", "own.csv:2: rate 'mcs8': give mcs0, .*mcs7, or nothing for any"),
    ("evm,ht,mcs7,6,,,-30,dB,plant", "band '6': give 2.4, 5, or nothing"),
    ("evm,ht,mcs7,,80,,-30,dB,plant", "bandwidth_mhz '80': give 20, 40, or"),
    ("evm,ht,mcs7,,,,-30,%,plant", "unit '%': evm is in dB"),
    ("emv,ht,mcs7,,,,-30,dB,plant", "quantity 'emv': give evm, "),
    ("evm,ht,mcs7,,,,x,dB,plant", "high 'x': give a number"),
    ("evm,ht,mcs7,,,,nan,dB,plant", "high 'nan': give a number"),
    ("evm,ht,mcs7,,,,,dB,plant", "give low, high or both"),
    ("evm,ht,mcs7,,,-30,-40,dB,plant", "low -30 is above high -40"),
    ("evm,ht,mcs7", "3 cells, expected 9"),
]


@pytest.mark.parametrize("row, message", REFUSED, ids=range(len(REFUSED)))
def test_a_bad_table_is_refused(tmp_path, row, message):
    own = tmp_path / "own.csv"
    own.write_text(HEAD + row)
    with pytest.raises(limits.LimitsError, match=message):
        limits.load(STANDARD, own)


NO_TABLES = [(None, "no table of limits can be read: .*No such file"), ("\xff", "no table of limits can be read: "),
             (HEAD + 'evm,"ht"x,,,,,-30,dB,plant', "no table of limits can be read: .*expected after"),
             ("", "1: the first line is due to be quantity,format"), ("a,b\n", "1: the first line is due to be quantity,format")]


@pytest.mark.parametrize("text, message", NO_TABLES)
def test_a_file_that_is_no_table_is_refused(tmp_path, text, message):
    path = tmp_path / "own.csv"
    if text is not None:
        path.write_bytes(text.encode("latin-1"))
    with pytest.raises(limits.LimitsError, match=f"own.csv: ?{message}"):
        limits.load(STANDARD, path)
