#!/usr/bin/env python3
"""Checks that linking the library costs a host little at its start: few static initialisers, nothing opened before it is used,
and at most 1.3 times the processor time of an empty C++ program (the lower quartile of many starts, turn by turn, because
the machine may be busy with other tests)."""
import os
import pathlib
import re
import statistics
import subprocess
import sys
import tempfile

BUILD = pathlib.Path(os.environ["ZT_BUILD_DIR"])
SOURCE = pathlib.Path(os.environ["ZT_SOURCE_DIR"])
LIBRARY = BUILD / "lib/libZtFoundation.so"

MOST_INITIALISERS = 7  # one of them is the compiler's own, one watches for forks
AIM = 1.3
STARTS = 100
ATTEMPTS = 5  # a busy machine may spoil some


def cached(name):
    text = (BUILD / "CMakeCache.txt").read_text()
    match = re.search(rf"^{name}:\w+=(.*)$", text, re.MULTILINE)
    return match[1] if match else ""


def count_initialisers():
    sections = subprocess.run(["readelf", "-SW", LIBRARY], check=True, capture_output=True, text=True).stdout
    match = re.search(r"\.init_array\s+INIT_ARRAY\s+\w+\s+\w+\s+(\w+)", sections)
    return int(match[1], 16) // 8 if match else 0


def opened_libraries(program):
    run = subprocess.run([program], env={**os.environ, "LD_DEBUG": "files"}, capture_output=True, text=True, check=True)
    return re.findall(r"calling init: (\S+)", run.stderr)


def compile_host(folder, name, *options):
    program = folder / name
    subprocess.run([cached("CMAKE_CXX_COMPILER"), "-std=c++20", "-O2", f"-I{SOURCE}/include", SOURCE / f"benchmarks/startup/{name}.cpp",
                    *options, "-o", program], check=True)
    return program


def milliseconds_to_run(program):
    _, status, usage = os.wait4(os.posix_spawn(program, [program], os.environ), 0)
    assert status == 0, (program, status)
    return 1000 * (usage.ru_utime + usage.ru_stime)


def measure(empty, host):
    times = [(milliseconds_to_run(empty), milliseconds_to_run(host)) for _ in range(STARTS)]
    one, other = (statistics.quantiles(column, n=4)[0] for column in zip(*times))
    print(f"empty {one:.3f} ms, host {other:.3f} ms, ratio {other / one:.2f}")
    return other / one


def is_quick_to_start():
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        empty = compile_host(folder, "Empty")
        host = compile_host(folder, "Host", f"-L{LIBRARY.parent}", "-lZtFoundation", f"-Wl,-rpath,{LIBRARY.parent}")
        return any(measure(empty, host) <= AIM for _ in range(ATTEMPTS))


def faults():
    initialisers = count_initialisers()
    print(f"{initialisers} static initialisers")
    if initialisers > MOST_INITIALISERS:
        yield f"{initialisers} static initialisers, of at most {MOST_INITIALISERS}"
    opened = opened_libraries(BUILD / "examples/hello-values")
    if not any("libZtFoundation.so" in name for name in opened):
        yield f"the loader did not tell what it opened: {opened}"
    for name in opened:
        if re.search(r"libZtFoundation[A-Z]|libicu|libpango|libgio|libmount", name):
            yield f"a host that only prints values opens {name}"
    if not is_quick_to_start():
        yield f"a host takes more than {AIM} times as long to start as an empty program"


def main():
    if cached("ZT_SANITIZE") or cached("CMAKE_BUILD_TYPE") != "Release":
        print("only what ships is measured")
        return 77
    found = list(faults())
    for fault in found:
        print(fault)
    return 1 if found else 0


sys.exit(main())
