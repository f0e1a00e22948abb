# SPDX-License-Identifier: Apache-2.0
"""The site: README.md as its first page, the guides, and the API reference from the headers.

script/docs builds it. The source folder is the root of the tree, so that a link between two documents is the same here and
where the repository is browsed.
"""

import os
import sys
from pathlib import Path

from pygments.lexers.special import TextLexer

ROOT = Path(__file__).resolve().parents[2]
sys.path[:0] = map(str, (ROOT / "docs/site", ROOT / "python"))

from schema_tables import Schema  # noqa: E402

project = "libwifi_factory_test_orva"
project_copyright = "the authors, Apache-2.0"
extensions = ["myst_parser", "breathe", "sphinx.ext.autodoc"]
root_doc = "README"
PAGES = ["*.md", "docs/**/*.md", "docs/reference/*.rst", "*/README.md", "virtual_phone/rf/README.md"]
include_patterns = PAGES
exclude_patterns = ["build"]

myst_enable_extensions = ["colon_fence"]
myst_heading_anchors = 4

breathe_projects = {"api": os.environ.get("ORVA_DOXYGEN_XML", "")}
breathe_default_project = "api"
breathe_domain_by_extension = {"h": "c"}
breathe_show_include = False

autodoc_default_options = {"members": True, "undoc-members": True, "member-order": "bysource"}
autoclass_content = "both"
autodoc_mock_imports = ["pyvisa"]
autodoc_typehints_format = "short"
python_use_unqualified_type_names = True

# The highlighter does not know the words of the session language.
suppress_warnings = ["misc.highlighting_failure"]

html_theme = "furo"
html_title = "Factory test of the WLAN chip"
html_extra_path = ["index.html"]
html_theme_options = {"light_css_variables": {"code-font-size": "0.72rem"}}  # for lines of 100 characters
html_copy_source = False
html_show_sphinx = False

# The contents in the side bar: a heading, and its pages in this order. A page that is in none is a warning of Sphinx.
CONTENTS = {
    "Tutorial": ["docs/tutorial/*.md"],
    "How-to guides": ["docs/how-to/*.md"],
    "Reference": ["docs/reference/*"],
    "Explanation": ["docs/explanation/*.md"],
    "Parts of the project": ["*/README.md", "virtual_phone/rf/README.md"],
    "Project": ["[A-QS-Z]*.md"],
}


def contents():
    """The tables of contents, in MyST."""
    for heading, patterns in CONTENTS.items():
        pages = [page for pattern in patterns for page in sorted(ROOT.glob(pattern)) if page.suffix in (".md", ".rst")]
        if pages:
            listed = "\n".join(str(page.relative_to(ROOT).with_suffix("")) for page in pages)
            yield f"\n```{{toctree}}\n:hidden:\n:caption: {heading}\n{listed}\n```\n"


def back_ends():
    """The reference of each chip's header."""
    for chip in (ROOT / "chips/chips.txt").read_text().split():
        yield f"\n{chip}\n{'-' * len(chip)}\n\n.. doxygenfile:: {chip}.h\n"


def formats():
    """The members of each JSON format."""
    for heading, name in (("The lines of a session", "session"), ("The lines of a record", "record")):
        yield f"\n## {heading}\n"
        yield from Schema(ROOT / f"docs/reference/{name}.schema.json").tables()


# README.md stays free of the contents, which would be shown as text elsewhere. The list of chips is in chips.txt only, and a
# member of a format in its schema.
ADDED = {root_doc: contents, "docs/reference/back_ends": back_ends, "docs/reference/json": formats}


def mark_examples(app, what, name, documented, options, lines):
    """An indented part of a docstring is code."""
    starts = [i for i in range(1, len(lines)) if lines[i].startswith("    ") and not lines[i - 1] and not lines[i - 2].startswith(" ")]
    for start in reversed(starts):
        lines[start:start] = ["::", ""]


def add(app, document, source):
    source[0] += "".join(ADDED.get(document, tuple)())


def setup(app):
    for language in ("output", "console"):  # as they are: commands and what they print, without a prompt
        app.add_lexer(language, TextLexer)
    app.connect("source-read", add)
    app.connect("autodoc-process-docstring", mark_examples)
