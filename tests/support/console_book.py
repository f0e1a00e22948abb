# SPDX-License-Identifier: Apache-2.0
"""The pages of tests/golden/console: commands of the console with all that they print and write.

    python3 console_book.py FOLDER    writes the pages into FOLDER/console (script/golden does)
"""
import json
import re
import shutil
import sys
import tempfile
from pathlib import Path

if __name__ == "__main__":  # support.* as under pytest
    sys.path.insert(0, str(Path(__file__).resolve().parents[1]))

from support.console import station  # noqa: E402
from support.page_sample import page_events  # noqa: E402
from support.tree import CHIPS, ROOT  # noqa: E402

FOLDER = ROOT / "tests" / "golden" / "console"
INPUTS = ("*.tcl", "*.toml", "unit.txt")
ALL_OUTPUTS = ["--json", "--junit", "unit.xml", "--report", "unit.html", "--trace", "unit.trace"]
WRITTEN = ("unit.xml", "unit.html", "unit.trace")
UNIT = ["--chip", "vq2050", "--yes", "--nv", "unit.nv"]

# Command lines that are refused.
MISUSED = [line.split() for line in """
--chip vq9 list; --chip 4 list; --clock slow list; --log=loud list; --wind list; --ch; --chip vq2050 --chip vq2050 list; --chip
--attempt 0 wifi_stop_tx; --attempt x wifi_stop_tx; --serial from-upc --chip all wifi_stop_tx; --record r.txt wifi_stop_tx
--record r.jsonl wifi_stop_tx; --record r.jsonl --serial R1 wifi_stop_tx; --station-file nowhere.toml wifi_stop_tx; --station-file . list
--trace no/x.trace wifi_stop_tx; --trace no/%serial --serial R1 wifi_stop_tx; --trace %wind wifi_stop_tx; --trace %serial wifi_stop_tx
--trace . wifi_stop_tx; --trace %run run keys.tcl keys.tcl; --trace %chip --chip all wifi_stop_tx; --phone nowhere.toml wifi_stop_tx
--phone . wifi_stop_tx; --unit x wifi_stop_tx; --nv . wifi_stop_tx; --nv unit.txt wifi_stop_tx; --trace unit.txt nv load unit.txt
wifi_set_power 1 --chip; wifi_set_power 1 --trace=x; wifi_set_powr 1; help wifi_set_powr; help 1 2; docter; keys.tcl; phone keys; run; run .
run nowhere.tcl; run keys.tcl nowhere.tcl; run - -; run keys.tcl -- power; run keys.tcl -- a=1 a=2; run keys.tcl -- wind=1
preview; preview wind; preview wifi_stop_tx -> 1; --json preview wifi_stop_tx; nv; nv wind; nv show; nv show many; nv load nowhere.txt; nv diff
nv restore unit.txt; nv restore nowhere.txt; nv backup unit.txt; doctor wind; doctor -- wind=1; doctor -- port=0
doctor -- address=127.0.0.1:1; replay; replay nowhere.trace; replay .; replay unit.txt; diff unit.txt; diff unit.txt keys.tcl; trace; trace wind
trace to-phone unit.txt; list wind; generate; generate fish; line; line nowhere.toml; line .; line unit.toml; --json line unit.toml
""".replace("\n", ";").split(";") if line.strip()]

# What differs between two runs: this computer's time, its clock, process ids.
VARYING = [
    (r'("own_us":)\d+', r"\g<1>0"), (r'("made":)"[^"]*"', r'\g<1>""'),
    (r"(?m)^\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} +\d+ +\d+ ", "DATE TIME PID TID "), (r'("library":)"[^"]*"', r'\g<1>""'),
    (r"(?m)^(vq\w+ +(?:\S+\.tcl|call)\b.*?) +[\d.]+ [mµu]?s$", r"\g<1>  *"),
]


def named(listing):
    return re.findall(r"^  ?(\w+) ", listing, re.M)


def pages():
    """Every page's name with its commands, in order."""
    functions = named(station("list").stdout)
    words = named(station("help").stdout.partition("Session language:")[2])
    return {
        "help.txt": [["help"], ["list"], *(["help", word] for word in [*functions, *words])],
        "text.txt": [["--chip", "all", "run", "everything.tcl"], ["--chip", "vq2050", "run", "broken.tcl"]],
        "less_text.txt": [[how, "--chip", "vq2050", "run", "everything.tcl", "broken.tcl"] for how in ("--brief", "--quiet")],
        "outputs.txt": [[*ALL_OUTPUTS, "--chip", "vq2070", "run", "everything.tcl", "broken.tcl"],
                        ["replay", "unit.trace"], ["diff", "unit.trace", "unit.trace"]],
        "keys.txt": [["--chip", "vq2050", "run", "keys.tcl"]],
        "refused.txt": [["--chip", "vq2050", "run", "refused.tcl"], *MISUSED],
        "generated.txt": [["generate", what] for what in ("bash", "zsh", "man")],
        "single.txt": [
            ["--phone", "unit.toml", "wifi_test_weld"], ["--log", "wifi_set_power", "155"],
            ["--expect", "1 rssi -70..-50", "wifi_get_rx_rssi"], ["--chip", "all", "wifi_ru_set", "0"],
            ["--json", "--phone", "unit.toml", "wifi_hw_get"],
            *(["--chip", chip, "preview", "wifi_nvram_calibrate_set", 0, 0, 0, 0, 0, 2442, 60] for chip in CHIPS),
        ],
        "nv.txt": [
            [*UNIT, "nv", "load", "unit.txt"], [*UNIT, "nv", "list"], [*UNIT, "nv", "show", 340], [*UNIT, "nv", "show", 367],
            [*UNIT, "nv", "show", 363], [*UNIT, "nv", "backup", "unit.backup"], [*UNIT, "nv", "diff", "unit.txt"],
            [*UNIT, "wifi_nvram_calibrate_set", 0, 0, 0, 0, 0, 2442, 60], [*UNIT, "nv", "diff", "unit.backup"],
            [*UNIT, "preview", "wifi_nvram_calibrate_clean", 2], [*UNIT, "nv", "restore", "unit.backup"],
            [*UNIT, "nv", "diff", "unit.backup"], [*UNIT, "nv", "save", "unit.saved"], [*UNIT, "nv", "clear"],
            [*UNIT, "nv", "list"],
        ],
    }


def steady(text):
    for pattern, always in VARYING:
        text = re.sub(pattern, always, text)
    return text


def written(path):
    if path.suffix == ".html":  # the page's style and script have their own tests
        text = "\n".join(json.dumps(event, ensure_ascii=False, separators=(",", ":")) for event in page_events(path))
    else:
        text = path.read_text(encoding="utf-8", errors="replace")
    return f"---- {path.name}\n{text}\n"


def page(commands):
    """What the commands print, one after the other in one folder, and the files that they leave."""
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        for pattern in INPUTS:
            for source in FOLDER.glob(pattern):
                shutil.copy(source, folder)
        text = ""
        for words in commands:
            done = station(*words, cwd=folder)
            text += f"$ orva-station {' '.join(map(str, words))}\n{done.stdout}{done.stderr}---- status {done.returncode}\n\n"
        text += "".join(written(folder / file) for file in (*WRITTEN, "unit.backup", "unit.saved") if (folder / file).exists())
    return steady(text)


def main():
    target = Path(sys.argv[1]) / "console"
    target.mkdir(parents=True, exist_ok=True)
    for name, commands in pages().items():
        (target / name).write_text(page(commands), encoding="utf-8")


if __name__ == "__main__":
    main()
