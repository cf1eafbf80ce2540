#!/usr/bin/env python3
"""Runs a program under gdb, which must load the pretty-printers beside the library by itself, and looks at its values."""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

SOURCE = pathlib.Path(os.environ["ZT_SOURCE_DIR"])
BUILD = pathlib.Path(os.environ["ZT_BUILD_DIR"])

SHOWN = {
    "none": "none",
    "empty": '""',
    "ascii": r'"say \"hi\"\\\n"',
    "narrow": '"Grüße"',
    "wide": r'"流れ 😀 \ud800"',
    "grown": '"abcé"',
    "widened": '"a流"',
    "text": '"Grüße"',
    "negative": "-42",
    "largest": "18446744073709551615",
    "real": "1.0",
    "quarter": "0.25",
    "yes": "true",
    "no": "false",
    "date": "1998-05-24 08:53:20.500000 UTC",
    "farDate": "1000000000000000.0 seconds from 2001-01-01 00:00:00 UTC",
    "data": "<89 50 4e 47> of 4 bytes",
    "zeros": "<" + "00 " * 32 + "...> of 100 bytes",
    "url": '"file:///tmp/a%20b"',
    "array": 'NSArray of 4 = {"a", 2, true, NSArray of 0}',
    "list": 'NSMutableArray of 1 = {"Grüße"}',
    "changed": 'NSMutableDictionary of 3 = {["Name"] = "Alice", ["Age"] = 42, ["Size"] = NSArray of 2 = {800, 600}}',
    "indexed": "NSMutableDictionary of 20 = {" + ", ".join(f"[{n}] = {n * n}" for n in range(20)) + "}",
    "set": 'NSSet of 2 = {"x", "y"}',
    "camera": "<(anonymous namespace)::Camera: 0xADDRESS>",
    "pointer": '"Grüße"',
    "nowhere": "none",
    "reference": 'NSArray of 4 = {"a", 2, true, NSArray of 0}',
    "*pointer": '"Grüße"',
}


def cached(name):
    match = re.search(rf"^{name}:\w+=(.*)$", (BUILD / "CMakeCache.txt").read_text(), re.MULTILINE)
    return match[1] if match else ""


def build(program):
    subprocess.run([cached("CMAKE_CXX_COMPILER"), "-std=c++20", "-g", "-O0", "-I", SOURCE / "include",
                    SOURCE / "tests/install/DebuggerValues.cpp", "-o", program, "-L", BUILD / "lib", "-lZtFoundation",
                    "-Wl,-rpath," + str(BUILD / "lib")], check=True)


def printed(program, *settings):
    commands = ["break stopHere", "run", "up", *settings, *(f"print {name}" for name in SHOWN)]
    arguments = [argument for command in commands for argument in ("-ex", command)]
    run = subprocess.run(["gdb", "-nx", "-batch", "-iex", f"set auto-load safe-path {(BUILD / 'lib').resolve()}",
                          "-iex", "set debuginfod enabled off", *arguments, program],
                         capture_output=True, encoding="utf-8", env={**os.environ, "LC_ALL": "C.UTF-8"}, check=False)
    if "ptrace" in run.stderr or "Could not trace" in run.stderr:
        print("gdb may not trace a process here:", run.stderr)
        sys.exit(77)
    values = re.findall(r"^\$\d+ = (.*)$", re.sub(r"0x[0-9a-f]+", "0xADDRESS", run.stdout), re.MULTILINE)
    if len(values) != len(SHOWN):
        print(run.stdout, run.stderr)
    return dict(zip(SHOWN, values))


def differences(wanted, values):
    return [f"{name}: shown as {values.get(name)}, not {shown}" for name, shown in wanted.items()
            if values.get(name) != shown]


def main():
    if shutil.which("gdb") is None:
        print("gdb is not installed")
        return 77
    if cached("ZT_SANITIZE"):
        print("a program without sanitizers cannot link this build")
        return 77
    with tempfile.TemporaryDirectory() as folder:
        program = pathlib.Path(folder) / "values"
        build(program)
        faults = differences(SHOWN, printed(program))
        short = {"narrow": '"Gr"...', "array": 'NSArray of 4 = {"a", 2...}'}
        faults += differences(short, printed(program, "set print elements 2"))
    print("\n".join(faults))
    return 1 if faults else 0


sys.exit(main())
