#!/usr/bin/env python3
"""Runs clang-tidy over the project: check-tidy.py [--since REVISION] [--minutes N] [--jobs N] [BUILD-DIRECTORY]

The build directory (build/asan, unless told) holds a finished build by clang: its compile database says how each source
is compiled, ninja's own record which headers it reads. A source that passed is not looked at again until it, a header, the
options or clang-tidy change; what is known is kept in $XDG_CACHE_HOME/sbrkit-tidy. With --since, only the sources are
looked at that themselves or by a header differ from a revision of git; a revision that the clone does not have means all.
With --minutes, none is begun after that time: sources that differ themselves come first, and how many were left is said.
Ends with 1 when there is a finding.
"""
import argparse
import concurrent.futures
import hashlib
import json
import os
import pathlib
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
CLANG_TIDY = os.environ.get("CLANG_TIDY", "clang-tidy-14")


def relative(text):
    """The same wherever the project stands."""
    return text.replace(str(ROOT) + "/", "")


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True, cwd=ROOT).stdout


def headers_by_object(build):
    """What ninja has recorded for each object: the files that were read for it."""
    headers, current = {}, None
    for line in output_of("ninja", "-C", str(build), "-t", "deps").splitlines():
        if line.startswith("    "):
            headers[current].append((build / line.strip()).resolve())
        elif ": #deps" in line and "VALID" in line:
            current = line.split(":")[0]
            headers[current] = []
        elif line:
            current = ""
            headers.setdefault(current, [])
    return headers


def sources_of(build):
    """The project's own sources: path, compile command, files read (none where the build is not finished)."""
    headers = headers_by_object(build)
    sources = {}
    for entry in json.loads((build / "compile_commands.json").read_text()):
        path = pathlib.Path(entry["file"])
        if not path.is_relative_to(ROOT) or path.is_relative_to(build) or path in sources:
            continue
        read = headers.get(entry.get("output") or entry["command"].split(" -o ")[1].split()[0])
        sources[path] = (entry["command"], read)
    return sources


class Digests:
    """The state of files: of the project's by content, of the system's by size and time."""

    def __init__(self, build):
        self.build = build
        self.known = {}

    def of(self, path):
        if path not in self.known:
            if path.is_relative_to(ROOT) and not path.is_relative_to(self.build):
                self.known[path] = hashlib.sha256(path.read_bytes()).hexdigest()
            elif path.is_relative_to(self.build):
                self.known[path] = ""  # precompiled headers: what they are made of is on the list too
            else:
                status = path.stat()
                self.known[path] = f"{status.st_size} {status.st_mtime_ns}"
        return self.known[path]


def key_of(source, command, read, digests, common):
    """One text that changes when the outcome may."""
    key = hashlib.sha256(common.encode())
    key.update(relative(command).encode())
    for path in [source, *sorted(read)]:
        key.update(relative(f"{path} {digests.of(path)}\n").encode())
    return key.hexdigest()


def configuration():
    version = output_of(CLANG_TIDY, "--version")
    files = sorted(pathlib.Path(name) for name in output_of("git", "ls-files", "*.clang-tidy").split())
    return version + "".join(f"{name} {(ROOT / name).read_text()}" for name in files)


def look_at(source, build):
    start = time.monotonic()
    run = subprocess.run([CLANG_TIDY, "-p", str(build), "--quiet", str(source)], capture_output=True, text=True, cwd=ROOT)
    return run.returncode, run.stdout.strip() or run.stderr.strip(), time.monotonic() - start


def changed_since(revision):
    """The files that differ from a revision, or None when the clone does not have it."""
    known = subprocess.run(["git", "cat-file", "-e", f"{revision}^{{commit}}"], cwd=ROOT, capture_output=True)
    if known.returncode != 0:
        print(f"clang-tidy: revision {revision} is not in this clone; everything counts as changed", flush=True)
        return None
    return {ROOT / name for name in output_of("git", "diff", "--name-only", revision).splitlines()}


def look_at_all(paths, build, jobs, seconds):
    """Gives outcomes as they come: a path with what look_at says, or None when its turn came after the time was over."""
    end = time.monotonic() + seconds
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        tasks = {pool.submit(lambda p: look_at(p, build) if time.monotonic() < end else None, path): path for path in paths}
        for task in concurrent.futures.as_completed(tasks):
            yield tasks[task], task.result()


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--since")
    parser.add_argument("--minutes", type=float, default=float("inf"))
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("build", nargs="?", default="build/asan")
    arguments = parser.parse_args()
    build = (ROOT / arguments.build).resolve()
    sources = sources_of(build)
    if not sources:
        sys.exit(f"check-tidy.py: no sources in {build}/compile_commands.json")
    unbuilt = [str(path.relative_to(ROOT)) for path, (_, read) in sources.items() if read is None]
    if unbuilt:
        sys.exit(f"check-tidy.py: build first; never compiled: {' '.join(unbuilt[:5])} ({len(unbuilt)} in all)")
    changed = changed_since(arguments.since) if arguments.since else None
    if changed is not None:
        sources = {path: entry for path, entry in sources.items() if path in changed or changed.intersection(entry[1])}

    cache = pathlib.Path(os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache") / "sbrkit-tidy"
    cache.mkdir(parents=True, exist_ok=True)
    digests, common = Digests(build), configuration()
    keys = {path: key_of(path, command, read, digests, common) for path, (command, read) in sources.items()}
    wanted = sorted((path for path in sources if not (cache / keys[path]).exists()),
                    key=lambda path: (changed is not None and path not in changed, -path.stat().st_size))
    failed = left = 0
    for path, outcome in look_at_all(wanted, build, arguments.jobs, 60 * arguments.minutes):
        if outcome is None:
            left += 1
            continue
        status, findings, seconds = outcome
        if status == 0:
            (cache / keys[path]).touch()
        else:
            failed += 1
            print(findings, flush=True)
        if os.environ.get("VERBOSE"):
            print(f"{seconds:6.1f} s  {path.relative_to(ROOT)}", flush=True)
    print(f"clang-tidy: {len(wanted) - left} sources looked at, {len(sources) - len(wanted)} known to be clean, "
          f"{failed} with findings, {left} left when the time was over")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
