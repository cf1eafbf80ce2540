#!/usr/bin/env python3
"""Checks that docs/ztplist.md tells of the commands, options and exit codes that `ztplist help` tells of, and of no others."""
import os
import pathlib
import re
import subprocess
import sys

PAGE = pathlib.Path(os.environ["ZT_SOURCE_DIR"]) / "docs/ztplist.md"
PROGRAM = pathlib.Path(os.environ["ZT_BUILD_DIR"]) / "bin/ztplist"


def words(pattern, text):
    return set(re.findall(pattern, text, re.MULTILINE))


def section(text, title):
    match = re.search(rf"^## {title}\n(.*?)(?=^## |\Z)", text, re.MULTILINE | re.DOTALL)
    return match[1] if match else ""


def help_of(*command):
    return subprocess.run([PROGRAM, "help", *command], capture_output=True, text=True, check=True).stdout


def told_by_program():
    overview = help_of()
    commands = words(r"^  ([a-z]+) ", overview.split("exit codes:")[0])
    options = {(option, command) for command in commands for option in words(r"^ +(?:-\w, )?(--[a-z-]+)", help_of(command))}
    return {"commands": commands | {"help"}, "exit codes": words(r"^  (\d)  ", overview),
            "options": {f"{option} of {command}" for option, command in options if option != "--help"}}


def told_by_page(text, commands):
    rows = re.findall(r"^\| .*?`(--[a-z-]+)[ `].*? \| ([a-z, ]+) \|", section(text, "Options"), re.MULTILINE)
    options = {f"{option} of {command}" for option, of in rows
               for command in (commands - {"help"} if of == "all" else of.split(", "))}
    return {"commands": words(r"^ztplist ([a-z]+) ", text.split("## ")[0]),
            "exit codes": words(r"^\| (\d) \|", section(text, "Exit codes")), "options": options}


def main():
    if not PROGRAM.exists():
        print("this build has no tools")
        return 77
    program = told_by_program()
    page = told_by_page(PAGE.read_text(), program["commands"])
    faults = [f"{what}: {word} is only in the help" for what in program for word in sorted(program[what] - page[what])]
    faults += [f"{what}: {word} is only on the page" for what in program for word in sorted(page[what] - program[what])]
    faults += [f"found no {what} in the help" for what in program if not program[what]]
    print("\n".join(faults))
    return 1 if faults else 0


sys.exit(main())
