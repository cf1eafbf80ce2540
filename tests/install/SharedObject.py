#!/usr/bin/env python3
"""Checks what the shared library shows and needs: only the exported interface, only the C and C++ runtimes, and on
32-bit systems nothing that counts seconds or bytes of files in 32 bits."""
import os
import pathlib
import re
import subprocess
import sys

BUILD = pathlib.Path(os.environ["ZT_BUILD_DIR"])
LIBRARY = BUILD / "lib/libZtFoundation.so"

NEEDED = {"libstdc++.so.6", "libm.so.6", "libgcc_s.so.1", "libc.so.6", "ld-linux-x86-64.so.2", "ld-linux.so.2"}

# Names in our namespace, what the compiler makes for its classes, and the functions with C linkage.
OURS = re.compile(r"^(?:(?:typeinfo(?: name)?|vtable|VTT|guard variable|construction vtable|non-virtual thunk to|"
                  r"virtual thunk to)(?: for)? )?ZtFoundation::|^(?:Zt|Yb|Qv|Jx|k[A-Z]|__(?:En|De)criptedKey)\w*$")

# A template of the standard library instantiated with our types comes out with them; so do runtime bookends.
STANDARD = re.compile(r"\bstd::|\b__gnu_cxx::|^_(?:init|fini)$")

# Each has a wide twin, which the build's options put in its place; what lies in the C++ runtime has none.
NARROW = re.compile(r"^(?:_ZNSt6chrono3_V212system_clock3nowEv|time|gettimeofday|clock_gettime|timespec_get|localtime_r|gmtime_r|mktime|"
                    r"f?l?stat|fstatat|__f?l?xstat(?:64)?|statfs|statvfs|utimensat|futimens|open|openat|creat|mkstemp|fopen|"
                    r"lseek|pread|pwrite|f?truncate|fcntl|readdir|scandir|glob|ftw|nftw|sendfile|posix_fallocate)$")


def lines_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout.splitlines()


def is_sanitized():
    cache = (BUILD / "CMakeCache.txt").read_text()
    return re.search(r"^ZT_SANITIZE:STRING=.", cache, re.MULTILINE) is not None


def strangers():
    for line in lines_of("nm", "--dynamic", "--defined-only", "--demangle", str(LIBRARY)):
        name = line.split(maxsplit=2)[2]
        if not OURS.search(name) and not STANDARD.search(name):
            yield f"exports {name}"


def unexpected_needs():
    for line in lines_of("readelf", "--dynamic", "--wide", str(LIBRARY)):
        match = re.search(r"\(NEEDED\).*\[(.+)\]", line)
        if match and match[1] not in NEEDED:
            yield f"needs {match[1]}"


def folders_of_libraries(file):
    for line in lines_of("readelf", "--dynamic", "--wide", str(file)):
        match = re.search(r"\((?:RUNPATH|RPATH)\).*\[(.*)\]", line)
        yield from match[1].split(":") if match else []


def strange_folders():
    """Where the loader looks for what a module or an installed program needs; an empty folder is the current one."""
    for library in sorted(LIBRARY.parent.glob("libZtFoundation*.so")):
        for folder in folders_of_libraries(library):
            if folder != "$ORIGIN":
                yield f"looks for libraries in '{folder}' ({library.name})"
    for program in sorted((BUILD / "bin").glob("*")):
        for folder in folders_of_libraries(program):
            if not folder.startswith("$ORIGIN/"):
                yield f"looks for libraries in '{folder}' ({program.name})"


def is_32_bit():
    return any(re.match(r"\s*Class:\s+ELF32", line) for line in lines_of("readelf", "--file-header", str(LIBRARY)))


def narrow_calls():
    for library in sorted(LIBRARY.parent.glob("libZtFoundation*.so")) if is_32_bit() else []:
        for line in lines_of("nm", "--dynamic", "--undefined-only", str(library)):
            name = line.split()[-1].partition("@")[0]
            if NARROW.search(name):
                yield f"calls {name} ({library.name})"


def main():
    if is_sanitized():
        print("a sanitizer adds symbols and libraries of its own")
        return 77
    faults = [*strangers(), *unexpected_needs(), *strange_folders(), *narrow_calls()]
    for fault in faults:
        print(f"{LIBRARY.name} {fault}")
    return 1 if faults else 0


sys.exit(main())
