#!/usr/bin/env python3
"""Every function of the C library that the library calls can be made to fail by the tests, or asks no file system.

What the shared library and its modules import is compared with what the test program of failing system calls stands in for.
"""

import os
import pathlib
import re
import subprocess
import sys

BUILD = pathlib.Path(os.environ["ZT_BUILD_DIR"])
LIBRARIES = sorted((BUILD / "lib").glob("libZtFoundation*.so"))
PROGRAM = BUILD / "tests" / "tests-platform-linux"

# Imports that need no stand-in, and why.
HARMLESS = {
    "memory and text": r"mem\w+|str\w+|snprintf|malloc|realloc|free|mmap(64)?|munmap|localtime_r|abort|fmemopen|fclose",
    "arithmetic": r"ceil|floor|l?round|trunc|ldexp|fmod|sqrt",
    "the runtime": r"_\w*|dl\w+|pthread_\w+|environ|getenv|program_invocation_short_name",
    "identity, limits and clocks of the process":
        r"get(pid|tid|uid|euid|rlimit64|cwd|hostname)|uname|sysinfo|clock_gettime|timespec_get|madvise|prctl",
    "signals, which the tests of signals send": r"sig\w+|kill|poll|waitid|waitpid|execve",
    "the account database": r"get(pw|gr)\w+_r",
    "random numbers for identifiers, which fall back": r"getrandom",
    "unmounting, which those who may not and volumes in use make fail": r"umount2",
    "programs for unmounting, which the next one or an error stands in for": r"posix_spawn\w*|pipe2",
}


def listing(path, *options):
    return subprocess.run(["nm", "-D", *options, path], check=True, capture_output=True, text=True).stdout.splitlines()


def imports(library):
    """What it takes from the C library."""
    return {line.split()[-1].split("@")[0] for line in listing(library, "--undefined-only") if "@GLIBC_" in line}


def stand_ins():
    return {line.split()[-1].split("@")[0] for line in listing(PROGRAM, "--defined-only")}


def main():
    if not PROGRAM.exists():
        print(f"{PROGRAM.name} is not built")
        return 77
    calls = {library.name: imports(library) for library in LIBRARIES}
    complaints = [f"{name}: nothing of the C library is imported" for name, called in calls.items() if not called]
    harmless = re.compile("|".join(f"(?:{pattern})" for pattern in HARMLESS.values()))
    unknown = sorted(call for call in set().union(*calls.values()) - stand_ins() if not harmless.fullmatch(call))
    complaints += [f"{name}: no test can make it fail; tests/platform/linux/SystemCallFaults.cpp stands in for such functions" for name in unknown]
    print("\n".join(complaints) or f"calls of {', '.join(calls)} are known")
    return 1 if complaints or not calls else 0


if __name__ == "__main__":
    sys.exit(main())
