"""What those scripts share that write what they measured into a page of the documentation."""

import os
import pathlib
import platform
import re

ROOT = pathlib.Path(__file__).resolve().parent.parent


def machine():
    model = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    name = model.group(1) if model else platform.machine()
    memory = os.sysconf("SC_PHYS_PAGES") * os.sysconf("SC_PAGE_SIZE") >> 30
    return f"{name}, {os.cpu_count()} processors, {memory} GiB, Linux {platform.release()}"


def renew(name, results, kind="results"):
    """Puts the results of scripts/NAME into docs/NAME.md, in the place of the former ones of that kind."""
    page = ROOT / "docs" / f"{name}.md"
    begin, end = f"<!-- {kind} of scripts/{name} -->", f"<!-- end of {kind} -->"
    before, rest = page.read_text().split(begin)
    page.write_text(f"{before}{begin}\n{results}\n{end}{rest.split(end)[1]}")
