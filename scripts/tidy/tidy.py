#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs clang-tidy on the sources named on stdin (each ended by a null byte), several at a time.

What was found clean is remembered outside of the checkout, by everything that the answer depends on: the source and
all that it includes, its compiler flags, the checks, the version of clang-tidy. Usage: tidy.py BUILD-FOLDER PLUGIN
"""
import concurrent.futures
import hashlib
import json
import os
import pathlib
import subprocess
import sys


def dependencies(build):
    """What each object file was compiled from, as ninja knows it."""
    listing = subprocess.run(["ninja", "-C", build, "-t", "deps"], check=True, capture_output=True, text=True).stdout
    files, current = {}, None
    for line in listing.splitlines():
        if line.startswith("    "):
            current.append(os.path.normpath(os.path.join(build, line.strip())))
        elif ": #deps" in line:
            current = files.setdefault(line.split(":")[0], [])
    return files


class Digests:
    """Digests of files, each computed once."""

    def __init__(self):
        self.known = {}

    def of(self, path):
        if path not in self.known:
            try:
                self.known[path] = hashlib.sha256(pathlib.Path(path).read_bytes()).hexdigest()
            except OSError:
                self.known[path] = "missing"
        return self.known[path]


def main():
    build, plugin = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])
    root = os.getcwd()
    wanted = {os.path.abspath(name) for name in sys.stdin.read().split("\0") if name}
    cache = pathlib.Path(os.environ.get("XDG_CACHE_HOME", pathlib.Path.home() / ".cache")) / "vantor" / "tidy"
    cache.mkdir(parents=True, exist_ok=True)

    version = subprocess.run(["clang-tidy", "--version"], check=True, capture_output=True, text=True).stdout
    digests = Digests()
    deps = dependencies(build)
    keys = {}
    for entry in json.loads(pathlib.Path(build, "compile_commands.json").read_text()):
        source = os.path.abspath(entry["file"])
        output = entry.get("output") or entry["command"].split(" -o ")[1].split(" ")[0]
        if source not in wanted or source in keys or output not in deps:
            continue
        parts = [version, entry["command"].replace(root, ".")]
        folders = [folder for folder in pathlib.Path(source).parents if folder.is_relative_to(root)]
        parts += [digests.of(folder / ".clang-tidy") for folder in folders]
        parts += sorted(path.replace(root, ".") + digests.of(path) for path in deps[output])
        keys[source] = hashlib.sha256("\n".join(parts).encode()).hexdigest()

    unknown = sorted(wanted - keys.keys())
    for source in unknown:
        print(f"{source}: not part of the build in {build}")

    def tidy(source):
        run = subprocess.run(["clang-tidy", "--quiet", f"--load={plugin}", "-p", build, source], capture_output=True, text=True)
        if run.returncode == 0:
            (cache / keys[source]).touch()
        return run

    due = [source for source in sorted(keys) if not (cache / keys[source]).exists()]
    failed = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for run in pool.map(tidy, due):
            if run.returncode != 0:
                failed += 1
                sys.stdout.write(run.stdout or run.stderr)  # stderr counts what is not shown
    print(f"clang-tidy: {len(due)} of {len(keys)} sources looked at, {failed} with findings", file=sys.stderr)
    return 1 if failed or unknown else 0


if __name__ == "__main__":
    sys.exit(main())
