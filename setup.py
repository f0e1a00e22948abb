# SPDX-License-Identifier: Apache-2.0
"""What pyproject.toml cannot say: data files that have their place elsewhere in the tree, and a folder for what is made."""
import os
import shutil
from pathlib import Path

from setuptools import setup
from setuptools.command.build_py import build_py

ROOT = Path(__file__).resolve().parent
MADE = Path("build") / "python"


class BuildWithData(build_py):
    """Copies the files that python/data_files.txt lists to orva/data, below which they keep their path."""

    def run(self) -> None:
        super().run()
        for pattern in (ROOT / "python" / "data_files.txt").read_text(encoding="utf-8").split():
            for source in ROOT.glob(pattern):
                target = Path(self.build_lib) / "orva" / "data" / source.relative_to(ROOT)
                target.parent.mkdir(parents=True, exist_ok=True)
                shutil.copyfile(source, target)


os.chdir(ROOT)
# What an earlier build left would get into the wheel.
shutil.rmtree(MADE, ignore_errors=True)
MADE.mkdir(parents=True)
setup(
    cmdclass={"build_py": BuildWithData},
    options={"build": {"build_base": str(MADE)}, "egg_info": {"egg_base": str(MADE)}, "bdist_wheel": {"bdist_dir": str(MADE / "wheel")}},
)
