#!/usr/bin/env python3
"""Checks the man page: groff finds nothing to warn of, and what it tells is what `ztplist help` tells."""
import os
import pathlib
import re
import shutil
import subprocess
import sys

PAGE = pathlib.Path(os.environ["ZT_SOURCE_DIR"]) / "tools/ztplist/ztplist.1"
PROGRAM = pathlib.Path(os.environ["ZT_BUILD_DIR"]) / "bin/ztplist"


def formatted():
    done = subprocess.run(["groff", "-man", "-ww", "-Tutf8", "-Kutf8", "-P-cbou", "-rLL=200n", PAGE], capture_output=True,
                          encoding="utf-8", check=False)
    return done.stdout, done.stderr.splitlines()


def section(text, title):
    match = re.search(rf"^{title}\n(.*?)(?=^\S|\Z)", text, re.MULTILINE | re.DOTALL)
    return match[1] if match else ""


def words(pattern, text):
    return set(re.findall(pattern, text, re.MULTILINE))


def told_by_program():
    def help_of(*command):
        return subprocess.run([PROGRAM, "help", *command], capture_output=True, text=True, check=True).stdout

    overview = help_of()
    commands = words(r"^  ([a-z]+) ", overview.split("exit codes:")[0])
    options = set().union(*(words(r"^ +(?:(-\w), )?(--[a-z-]+)", help_of(command)) for command in commands))
    return {"commands": commands | {"help"},
            "options": {option for pair in options for option in pair if option},
            "exit codes": words(r"^  (\d)  ", overview)}


def told_by_page(text):
    return {"commands": words(r"^       ([a-z]+)(?: |$)", section(text, "COMMANDS")),
            "options": words(r"^       .*?(?<!\S)(-\w|--[a-z-]+)\b", section(text, "OPTIONS"))
            | words(r"^       -\w, (--[a-z-]+)", section(text, "OPTIONS")),
            "exit codes": words(r"^       (\d) ", section(text, "EXIT STATUS"))}


def main():
    if not PROGRAM.exists():
        print("this build has no tools")
        return 77
    if shutil.which("groff") is None:
        print("groff is not installed")
        return 77
    text, faults = formatted()
    page, program = told_by_page(text), told_by_program()
    for what, told in program.items():
        if not told:
            faults.append(f"found no {what} in the help")
        faults += [f"{what}: {word} is only in the help" for word in sorted(told - page[what])]
        faults += [f"{what}: {word} is only in the man page" for word in sorted(page[what] - told)]
    usages = words(r"ztplist ([a-z]+)", section(text, "SYNOPSIS"))
    faults += [f"{word} is missing in the synopsis" for word in sorted(program["commands"] - usages)]
    print("\n".join(faults))
    return 1 if faults else 0


sys.exit(main())
