#!/usr/bin/env python3
"""Checks what the shared library shows and needs: only the exported interface, only the C and C++ runtimes."""
import os
import pathlib
import re
import subprocess
import sys

LIBRARY = pathlib.Path(os.environ["ZT_BUILD_DIR"]) / "lib/libZtFoundation.so"

NEEDED = {"libstdc++.so.6", "libm.so.6", "libgcc_s.so.1", "libc.so.6", "ld-linux-x86-64.so.2", "ld-linux.so.2"}

# Names in our namespace, what the compiler makes for its classes, and the functions with C linkage.
OURS = re.compile(r"^(?:(?:typeinfo(?: name)?|vtable|VTT|guard variable|construction vtable|non-virtual thunk to|"
                  r"virtual thunk to)(?: for)? )?ZtFoundation::|^(?:Zt|Yb|Qv|Jx|k[A-Z]|__(?:En|De)criptedKey)\w*$")

# A template of the standard library instantiated with our types comes out with them; so do runtime bookends.
STANDARD = re.compile(r"\bstd::|\b__gnu_cxx::|^_(?:init|fini)$")


def lines_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout.splitlines()


def is_sanitized():
    cache = (pathlib.Path(os.environ["ZT_BUILD_DIR"]) / "CMakeCache.txt").read_text()
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


def main():
    if is_sanitized():
        print("a sanitizer adds symbols and libraries of its own")
        return 77
    faults = [*strangers(), *unexpected_needs()]
    for fault in faults:
        print(f"{LIBRARY.name} {fault}")
    return 1 if faults else 0


sys.exit(main())
