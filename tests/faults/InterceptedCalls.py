#!/usr/bin/env python3
"""Every function of the C library that the library calls can be made to fail by the tests, or asks no file system.

What the shared library imports is compared with what the test program of failing system calls stands in for.
"""

import os
import pathlib
import re
import subprocess
import sys

BUILD = pathlib.Path(os.environ["ZT_BUILD_DIR"])
LIBRARY = BUILD / "lib" / "libZtFoundation.so"
PROGRAM = BUILD / "tests" / "tests-platform-linux"

# Imports that need no stand-in, and why.
HARMLESS = {
    "memory and text": r"mem\w+|str\w+|snprintf|malloc|realloc|free|mmap(64)?|munmap|localtime_r|abort",
    "arithmetic": r"ceil|floor|round|trunc|ldexp|fmod|sqrt",
    "the runtime": r"_\w*|dl\w+|pthread_\w+|environ|getenv|program_invocation_short_name",
    "identity, limits and clocks of the process": r"get(pid|tid|euid|rlimit64|cwd)|uname|sysinfo|clock_gettime|timespec_get|madvise|prctl",
    "signals, which the tests of signals send": r"sig\w+|kill|poll|waitid|waitpid|execve",
    "the account database": r"get(pw|gr)\w+_r",
    "random numbers for identifiers, which fall back": r"getrandom",
}


def symbols(path, *options):
    listing = subprocess.run(["nm", "-D", *options, path], check=True, capture_output=True, text=True).stdout
    return {line.split()[-1].split("@")[0] for line in listing.splitlines() if "@GLIBCXX" not in line and "@CXXABI" not in line}


def main():
    if not PROGRAM.exists():
        print(f"{PROGRAM.name} is not built")
        return 77
    open_calls = symbols(LIBRARY, "--undefined-only") - symbols(PROGRAM, "--defined-only")
    harmless = re.compile("|".join(f"(?:{pattern})" for pattern in HARMLESS.values()))
    unknown = sorted(name for name in open_calls if not harmless.fullmatch(name))
    for name in unknown:
        print(f"{name}: no test can make it fail; tests/platform/linux/SystemCallFaults.cpp stands in for such functions")
    return 1 if unknown else 0


if __name__ == "__main__":
    sys.exit(main())
