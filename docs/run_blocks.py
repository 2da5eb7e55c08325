"""Runs the blocks of a page that are marked as tested, and compares what they print.

    run_blocks.py PAGE --cc COMPILER --include FOLDER --library FILE

A block of Markdown whose first line is ```sh tested, ```python tested or ```c tested is run in a folder of the page, in
the order of the page; what an earlier block has made is there. A block ```text output behind it is what it has to
print; "..." in it stands for anything, as a line of its own for any lines. Comments of the form

    <!-- files: tests/data/samples/beam_13c.sbr.gz as beam.sbr, examples/data/conrod/conrod.inp -->

name files of the source tree that the folder has from the start; what ends in .gz is unpacked when its name here does
not. Blocks in Python are run by the interpreter of this script; the program `sbr` is found by PATH.
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
        target.parent.mkdir(parents=True, exist_ok=True)
        content = source.read_bytes()
        packed = source.suffix == ".gz" and target.suffix != ".gz"
        target.write_bytes(gzip.decompress(content) if packed else content)


def command_of(block, options, folder):
    """The command that runs a block."""
    if block.language == "sh":
        script = folder / ".block.sh"
        script.write_text("set -euo pipefail\n" + "\n".join(block.lines) + "\n")
        return ["bash", script]
    if block.language == "python":
        script = folder / ".block.py"
        script.write_text("\n".join(block.lines) + "\n")
        return [sys.executable, "-B", script]
    if block.language == "c":
        source, program = folder / "block.c", folder / "block"
        source.write_text("\n".join(block.lines) + "\n")
        library = pathlib.Path(options.library)
        build = [options.cc, "-std=c99", "-Wall", "-Werror", "-I", options.include, source, "-o", program, library,
                 "-lm", f"-Wl,-rpath,{library.parent}"]
        return ["bash", "-c", shlex.join(map(str, build)) + " && ./block"]
    raise SystemExit(f"line {block.line}: nothing runs blocks of {block.language}")


def run_block(block, options, folder):
    """Runs a block, and gives what went wrong, or None."""
    command = list(map(str, command_of(block, options, folder)))
    done = subprocess.run(command, cwd=folder, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
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
    parser.add_argument("--cc", required=True)
    parser.add_argument("--include", required=True)
    parser.add_argument("--library", required=True)
    options = parser.parse_args()
    text = options.page.read_text(encoding="utf-8")
    files, blocks = ",".join(FILES.findall(text)).replace("\n", " "), blocks_of(text)
    if not blocks:
        raise SystemExit(f"{options.page} has no tested block")
    with tempfile.TemporaryDirectory(prefix="sbrkit-page-") as scratch:
        folder = pathlib.Path(scratch)
        bring(files, folder)
        failures = [problem for problem in (run_block(block, options, folder) for block in blocks) if problem]
    print("\n\n".join(failures))
    print(f"{options.page.name}: {len(blocks)} blocks, {len(failures)} failed")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
