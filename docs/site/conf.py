"""The documentation site. Sphinx reads the pages where they stand in the source tree; this folder adds what only the
site has: the start page, the references and the gallery. The build gives what it knows with -D: release,
breathe_projects.sbrkit, sbr_program."""

import pathlib
import shutil
import sys

HERE = pathlib.Path(__file__).resolve().parent
SOURCE = HERE.parent.parent
sys.path[:0] = [str(HERE), str(SOURCE / "python")]

project = "sbrkit"
author = "the developers of sbrkit"
copyright = author  # noqa: A001
html_title = "sbrkit"

extensions = ["myst_parser", "breathe", "sphinx.ext.autodoc", "program_help"]
root_doc = "docs/site/index"
include_patterns = ["README.md", "CHANGELOG.md", "CONTRIBUTING.md", "CODE_OF_CONDUCT.md", "SECURITY.md", "docs/**.md",
                    "bench/README.md", "fuzz/README.md", "docs/site/**.md"]
exclude_patterns = ["build*", "**/node_modules", ".git", "docs/pictures", "docs/templates"]
nitpicky = True

# Words in single backticks of docstrings are names that the reader knows; they make no links.
default_role = None
myst_heading_anchors = 3
myst_enable_extensions = ["colon_fence"]
highlight_language = "text"

# ---- the C interface and the class-based areas, from what doxygen read ----------------------------------------------

breathe_default_project = "sbrkit"
breathe_domain_by_extension = {"h": "c", "hpp": "cpp"}
breathe_show_include = False
# Types of the C library, and the members that a class has inside, are not described.
nitpick_ignore_regex = [
    ("c:identifier", r"(u?int(8|16|32|64)_t|size_t|ptrdiff_t|FILE|va_list|uint32_t|XDR|SbrBody)"),
    ("cpp:identifier", r"(std|std::.*|u?int(8|16|32|64)_t|size_t|SbrBody.*|T)"),
    ("py:(class|obj|data|exc)", r".*"),
]

# ---- the Python package, from its sources: the compiled module behind it is not needed ------------------------------

autodoc_mock_imports = ["sbrkit._core", "numpy", "scipy", "matplotlib", "pandas", "meshio"]
autodoc_member_order = "bysource"
autodoc_default_options = {"members": True}
autodoc_typehints = "signature"

# ---- pages ----------------------------------------------------------------------------------------------------------

html_theme = "furo"
html_show_sphinx = False
html_copy_source = False
html_show_sourcelink = False
html_last_updated_fmt = None
html_extra_path = ["extra"]


def bring_style_sheet(app, failure):
    """Debian's furo takes one style sheet from a web server's root; the site brings it along."""
    static = pathlib.Path(app.outdir) / "_static"
    sheet, elsewhere = static / "styles" / "furo.css", "/javascript/normalize.css/normalize.css"
    if failure or app.builder.name != "html" or elsewhere not in sheet.read_text():
        return
    shutil.copyfile("/usr/share" + elsewhere, static / "normalize.css")
    sheet.write_text(sheet.read_text().replace(elsewhere, "../normalize.css"))


def setup(app):
    app.connect("build-finished", bring_style_sheet)
