"""Runs the blocks of a page that are marked as tested, and compares what they print.

    run_blocks.py PAGE [--python PYTHON] [--cc COMPILER --include FOLDER --library FILE]

A block of Markdown whose first line is ```sh tested, ```python tested or ```c tested is run in a folder of the page, in
the order of the page; what an earlier block has made is there. A block ```text output behind it is what it has to
print; "..." in it stands for anything, as a line of its own for any lines. Comments of the form

    <!-- files: tests/data/samples/beam_13c.sbr.gz as beam.sbr, examples/data/conrod/conrod.inp -->

name files of the source tree that the folder has from the start; what ends in .gz is unpacked when its name here does
not. Blocks of a language that no program was named for are counted as left out. The program `sbr` is found by PATH.
"""

import argparse
import gzip
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

SOURCE = pathlib.Path(__file__).resolve().parent.parent
FENCE = re.compile(r"^```(.*)$")
LEFT_OUT = "left out"
FILES = re.compile(r"<!-- files: (.*?) -->", re.DOTALL)


class Block:
    """A fenced block: what it says, where it begins, the section that it is in, and what it has to print."""

    def __init__(self, language, line, section):
        self.language, self.line, self.section = language, line, section
        self.lines, self.wanted = [], None


def blocks_of(text):
    """The tested blocks of a page in their order."""
    blocks, section, inside, marks = [], "", None, []
    for number, line in enumerate(text.splitlines(), start=1):
        fence = FENCE.match(line)
        if fence and inside is None:
            inside, marks = [], fence.group(1).split()
            if marks[1:] == ["tested"]:
                blocks.append(Block(marks[0], number, section))
                inside = blocks[-1].lines
            elif marks == ["text", "output"]:
                if not blocks or blocks[-1].section != section or blocks[-1].wanted is not None:
                    raise SystemExit(f"line {number}: no tested block prints this")
                inside = blocks[-1].wanted = []
        elif fence:
            inside = None
        elif inside is not None:
            inside.append(line)
        elif line.startswith("## "):
            section = line[3:].strip()
    return blocks


def matches(wanted, printed):
    """Whether the lines are those that are wanted; "..." stands for anything, as a line of its own for any lines."""
    pattern = ""
    for line in wanted:
        texts = (re.escape(text) for text in line.rstrip().split("..."))
        pattern += r"(?:.*\n)*?" if line.strip() == "..." else ".*".join(texts) + r"\n"
    return re.fullmatch(pattern, "".join(line.rstrip() + "\n" for line in printed)) is not None


def bring(files, folder):
    """Puts files of the source tree into a folder."""
    for entry in filter(None, (part.strip() for part in files.split(","))):
        path, _, name = entry.partition(" as ")
        source = SOURCE / path.strip()
        target = folder / (name.strip() or source.name)
        content = source.read_bytes()
        packed = source.suffix == ".gz" and target.suffix != ".gz"
        target.write_bytes(gzip.decompress(content) if packed else content)


def command_of(block, options, folder):
    """The command that runs a block, or None where no program was named for it."""
    if block.language == "sh":
        script = folder / ".block.sh"
        script.write_text("set -euo pipefail\n" + "\n".join(block.lines) + "\n")
        return ["bash", script]
    if block.language == "python" and options.python:
        script = folder / ".block.py"
        script.write_text("\n".join(block.lines) + "\n")
        return [options.python, "-B", script]
    if block.language == "c" and options.cc:
        source, program = folder / "block.c", folder / "block"
        source.write_text("\n".join(block.lines) + "\n")
        library = pathlib.Path(options.library)
        build = [options.cc, "-std=c99", "-Wall", "-Werror", "-I", options.include, source, "-o", program, library,
                 "-lm", f"-Wl,-rpath,{library.parent}"]
        return ["bash", "-c", shlex.join(map(str, build)) + " && ./block"]
    if block.language not in ("sh", "python", "c"):
        raise SystemExit(f"line {block.line}: nothing runs blocks of {block.language}")
    return None


def run_block(block, options, folder):
    """Runs a block. None when it did what it should, LEFT_OUT, or what went wrong."""
    command = command_of(block, options, folder)
    if command is None:
        return LEFT_OUT
    done = subprocess.run(list(map(str, command)), cwd=folder, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, timeout=300, check=False)
    said = f"{options.page.name}, line {block.line}, {block.section!r}"
    if done.returncode != 0:
        return f"{said}: ended with {done.returncode}\n{done.stdout}"
    if block.wanted is not None and not matches(block.wanted, done.stdout.splitlines()):
        wanted = "\n".join(block.wanted)
        return f"{said}: printed\n{done.stdout}\nand not\n{wanted}"
    return None


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("page", type=pathlib.Path)
    parser.add_argument("--python")
    parser.add_argument("--cc")
    parser.add_argument("--include")
    parser.add_argument("--library")
    options = parser.parse_args()
    text = options.page.read_text(encoding="utf-8")
    files, blocks = ",".join(FILES.findall(text)).replace("\n", " "), blocks_of(text)
    if not blocks:
        raise SystemExit(f"{options.page} has no tested block")
    failures, left_out = [], 0
    with tempfile.TemporaryDirectory(prefix="sbrkit-page-") as scratch:
        folder = pathlib.Path(scratch)
        bring(files, folder)
        for block in blocks:
            problem = run_block(block, options, folder)
            left_out += problem == LEFT_OUT
            if problem not in (None, LEFT_OUT):
                failures.append(problem)
    print("\n\n".join(failures))
    print(f"{options.page.name}: {len(blocks)} blocks, {left_out} left out, {len(failures)} failed")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
