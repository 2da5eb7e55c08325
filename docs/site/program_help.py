"""The directive `program-help`: what the program that was built says of itself and of each of its commands."""

import os
import re
import subprocess

from docutils import nodes
from sphinx.errors import ExtensionError
from sphinx.util.docutils import SphinxDirective

ENTRY = re.compile(r"^  (\S+)  ", re.MULTILINE)


def help_of(program, words):
    """The help of a command, at 100 columns."""
    done = subprocess.run([program, *words, "--help"], capture_output=True, text=True, check=False,
                          env={**os.environ, "COLUMNS": "100"})
    if done.returncode != 0 or not done.stdout:
        raise ExtensionError(f"{program} {' '.join(words)} --help ended with {done.returncode}: {done.stderr}")
    return done.stdout


def commands_of(text):
    """The names under "Commands:" of a help text."""
    _, found, rest = text.partition("\nCommands:\n")
    return ENTRY.findall(rest.split("\n\n")[0]) if found else []


class ProgramHelp(SphinxDirective):
    """A section for the program and for each of its commands."""

    def run(self):
        self.env.note_dependency(self.config.sbr_program)
        return self.sections([])

    def sections(self, words):
        text = help_of(self.config.sbr_program, words)
        name = " ".join(["sbr", *words])
        section = nodes.section(ids=[nodes.make_id("command " + name)], names=[name])
        section += nodes.title(text=name)
        section += nodes.literal_block(text, text, language="text")
        result = [section]
        for command in commands_of(text):
            # The commands of a command stand in its section, those of the program beside it.
            if command != "help":
                below = self.sections([*words, command])
                if words:
                    section += below
                else:
                    result += below
        return result


def setup(app):
    app.add_config_value("sbr_program", "sbr", "env")
    app.add_directive("program-help", ProgramHelp)
    return {"parallel_read_safe": True, "parallel_write_safe": True}
