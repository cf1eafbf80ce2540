#!/usr/bin/env python3
"""Compiles each case of the sources beside this script, which the compiler must refuse with the error that the case names.

A case is `#elif CASE == n  // error: regular expression | another compiler's`. Case 0 of each source must compile: so the
others fail for what they show and nothing else.
"""
import concurrent.futures
import os
import pathlib
import re
import subprocess
import sys
import tempfile

SOURCE = pathlib.Path(os.environ["ZT_SOURCE_DIR"])
BUILD = pathlib.Path(os.environ["ZT_BUILD_DIR"])
CASE = re.compile(r"^#(?:el)?if CASE == (\d+) +// (compiles|error: (.+))$", re.MULTILINE)
COMPILER = re.search(r"^CMAKE_CXX_COMPILER:\w+=(.*)$", (BUILD / "CMakeCache.txt").read_text(), re.MULTILINE)[1]
COMMAND = [COMPILER, "-std=c++20", "-Wall", "-Wextra", "-Werror", "-I", SOURCE / "include"]


def precompile(header, sources):
    """The headers of all sources, so that not each case parses them."""
    includes = {line for source in sources for line in source.read_text().splitlines() if line.startswith("#include")}
    header.write_text("\n".join(sorted(includes)) + "\n")
    subprocess.run([*COMMAND, "-x", "c++-header", header, "-o", f"{header}.gch"], check=True)


def errors_of(header, source, number):
    done = subprocess.run([*COMMAND, "-fsyntax-only", f"-DCASE={number}", "-include", header, source],
                          capture_output=True, encoding="utf-8", env={**os.environ, "LC_ALL": "C"}, check=False)
    lines = [line for line in done.stderr.splitlines() if re.search(r"\b(?:fatal )?error: ", line)]
    return done.returncode, lines


def fault_of(header, source, number, wanted):
    result, errors = errors_of(header, source, number)
    place = f"{source.name}, case {number}"
    if wanted is None:
        return f"{place} does not compile: {errors[:1]}" if result != 0 else None
    if result == 0:
        return f"{place} compiles"
    patterns = wanted.split(" | ")
    if not any(re.search(pattern, error) for pattern in patterns for error in errors):
        return f"{place} is refused for something else: {errors[:1]}"
    return None


def main():
    sources = sorted(pathlib.Path(__file__).parent.glob("*.cpp"))
    cases = [(source, match[1], match[3]) for source in sources for match in CASE.finditer(source.read_text())]
    with tempfile.TemporaryDirectory() as folder, concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        header = pathlib.Path(folder) / "headers.h"
        precompile(header, sources)
        faults = [fault for fault in pool.map(lambda case: fault_of(header, *case), cases) if fault]
    if sum(source.read_text().count("CASE ==") for source in sources) != len(cases):
        faults.append("a case says neither that it compiles nor which error it gives")
    print("\n".join(faults) or f"{len(cases)} cases")
    return 1 if faults or not cases else 0


sys.exit(main())
