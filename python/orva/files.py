# SPDX-License-Identifier: Apache-2.0
"""Where the shared libraries, the RF test set and its data are."""

from __future__ import annotations

import os
import sysconfig
from pathlib import Path

LIBRARY = "libwifi_factory_test_orva.so"
VIRTUAL_PHONE = "libvirtual_phone.so"

_ROOT = Path(__file__).resolve().parents[2]
_MACHINE = sysconfig.get_config_var("MULTIARCH") or ""


def _named() -> list[Path]:
    """The folders of ORVA_LIBRARY_PATH. Raises NotADirectoryError for one that does not exist: without it, another
    library would be tested than the one meant."""
    named = [Path(name) for name in os.environ.get("ORVA_LIBRARY_PATH", "").split(":") if name]
    for folder in named:
        if not folder.is_dir():
            raise NotADirectoryError(f"ORVA_LIBRARY_PATH: {folder} is no folder; name folders, separated by colons")
    return named


def data_file(name: str) -> Path:
    """A data file, by its path in the source tree: "chips/chips.txt". Installed, it is below this package's folder data."""
    installed = Path(__file__).parent / "data" / name
    return installed if installed.exists() else _ROOT / name


def _installed() -> list[Path]:
    """The folders for libraries of the installation that this module belongs to, as PREFIX/lib/python3/dist-packages."""
    lib = Path(__file__).resolve().parents[3]
    return [lib, lib / _MACHINE] if lib.name == "lib" else []


def _builds() -> list[Path]:
    """The build beside the source tree that this module is in; none where it is installed."""
    return [_ROOT / "build" / "release"] if (_ROOT / "chips" / "chips.txt").is_file() else []


def folders() -> list[Path]:
    """Folders that are looked through, in order: those of ORVA_LIBRARY_PATH (separated by colons); the build
    beside this module's source tree; the libraries of the installation that this module belongs to; the system's.
    A build has the virtual phone's libraries in a folder of their own, virtual_phone."""
    builds = [part for folder in [*_named(), *_builds()] for part in (folder, folder / "virtual_phone")]
    system = [Path("/usr/local/lib"), Path("/usr/local/lib") / _MACHINE, Path("/usr/lib") / _MACHINE, Path("/usr/lib")]
    return list(dict.fromkeys([*builds, *_installed(), *system]))


def find(name: str) -> Path:
    """The library file with this name. Raises FileNotFoundError that tells where it was looked for."""
    looked_in = folders()
    for folder in looked_in:
        if (folder / name).is_file():
            return folder / name
    looked = ", ".join(str(folder) for folder in looked_in)
    raise FileNotFoundError(f"{name} is in none of {looked}; name its folder in ORVA_LIBRARY_PATH, several separated by \":\"")


def rf_tester_folder() -> Path:
    """The folder with the instrument profiles and the tables of limits, of the source tree or of the installation."""
    return data_file("rf_tester")


def instrument_profile(name: str | os.PathLike[str]) -> str:
    """The file of an instrument profile: "orva-a" and "orva-b" are those of the simulated RF test set. A file in the
    current folder comes first, and any other name is a path."""
    path = os.fspath(name)
    own = rf_tester_folder() / "profiles" / f"{path}.toml"
    return str(own) if "/" not in path and own.is_file() and not os.path.exists(path) else path


def rf_tester() -> Path:
    """The program orva-rf-tester: that of the environment's ORVA_RF_TESTER, of the build beside this module's source
    tree, of the installation, or of PATH. Raises FileNotFoundError that tells where it was looked for."""
    name, named = "orva-rf-tester", os.environ.get("ORVA_RF_TESTER")
    if named:
        places = [Path(named)]
    else:
        on_path = [Path(folder) / name for folder in os.environ.get("PATH", "").split(":") if folder]
        places = [*(build / "rf_tester" / name for build in _builds()), _ROOT.parent.parent / "bin" / name, *on_path]
    for place in places:
        if place.is_file():
            return place
    looked = ", ".join(str(place) for place in places)
    raise FileNotFoundError(f"no {name}: {looked} is no file; name the program in ORVA_RF_TESTER")
