#!/usr/bin/env python3
"""Compares two builds of operations_bench, run in turn: the least processor time of each case, and the instructions.

usage: bench/compare.py BEFORE AFTER [--runs N] [--scale N] [--no-instructions] [CASE ...]

The time of a busy machine scatters; the instructions, which callgrind counts, do not, but say nothing about memory.
"""
import argparse
import os
import re
import subprocess
import sys
import tempfile


def timed(program, case, scale):
    answer = subprocess.run([program, case, str(scale)], capture_output=True, text=True, check=True).stdout
    _, seconds, figure = answer.split()[-3:]
    return float(seconds), figure


def instructions(program, case):
    with tempfile.TemporaryDirectory() as folder:
        run = subprocess.run(
            ["valgrind", "--tool=callgrind", "--collect-atstart=no",
             "--callgrind-out-file=" + os.path.join(folder, "out"), program, case, "1"],
            capture_output=True, text=True, check=True)
    return int(re.search(r"Collected : (\d+)", run.stderr).group(1))


def compare(case, arguments):
    programs = [arguments.before, arguments.after]
    best = {program: float("inf") for program in programs}
    figures = {}
    for run in range(arguments.runs):
        for program in programs if run % 2 == 0 else reversed(programs):
            seconds, figures[program] = timed(program, case, arguments.scale)
            best[program] = min(best[program], seconds)
    times = [best[program] for program in programs]
    line = f"| {case} | {1e3 * times[0]:.1f} | {1e3 * times[1]:.1f} | {100 * (times[1] / times[0] - 1):+.1f} |"
    if arguments.instructions:
        counts = [instructions(program, case) for program in programs]
        line += f" {counts[0] / 1e6:.1f} | {counts[1] / 1e6:.1f} | {100 * (counts[1] / counts[0] - 1):+.1f} |"
    if len(set(figures.values())) != 1:
        line += " the outcomes differ: " + " and ".join(figures.values())
    print(line, flush=True)


def main():
    parser = argparse.ArgumentParser(usage=__doc__.split("usage: ")[1].split("\n")[0])
    parser.add_argument("before")
    parser.add_argument("after")
    parser.add_argument("--runs", type=int, default=9)
    parser.add_argument("--scale", type=int, default=2)
    parser.add_argument("--no-instructions", dest="instructions", action="store_false")
    parser.add_argument("cases", nargs="*")
    arguments = parser.parse_intermixed_args()
    arguments.before, arguments.after = map(os.path.abspath, (arguments.before, arguments.after))
    known = subprocess.run([arguments.after], capture_output=True, text=True, check=True).stdout.split()
    unknown = set(arguments.cases) - set(known)
    if unknown:
        sys.exit("no such case: " + ", ".join(sorted(unknown)))
    print("| case | before, ms | after, ms | % |" + (" before, M instructions | after | % |" if arguments.instructions else ""))
    print("|---|---|---|---|" + ("---|---|---|" if arguments.instructions else ""))
    for case in arguments.cases or known:
        compare(case, arguments)


if __name__ == "__main__":
    main()
