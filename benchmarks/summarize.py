#!/usr/bin/env python3
"""Makes a table, a chart and a page of what the benchmarks measured.

    summarize.py RESULTS                       prints what was missed, and draws benchmarks.svg beside RESULTS
    summarize.py RESULTS --page FOLDER NOTES   also writes benchmarks.md and benchmarks.svg into FOLDER; the file NOTES goes into the page

RESULTS has one comparison a line, in JSON, as benchmarks/support/Report.h writes it.
"""
import argparse
import datetime
import json
import math
import os
import pathlib
import platform
import re
import subprocess
import sys
from xml.sax.saxutils import escape

HERE = pathlib.Path(__file__).resolve().parent
PEERS = ["libplist-dev", "libpugixml-dev", "libinih-dev", "libsimpleini-dev", "libglib2.0-dev", "libicu-dev", "libspdlog-dev", "libc6",
         "coreutils", "python3"]


# --- Results

def read_results(path):
    return [json.loads(line) for line in pathlib.Path(path).read_text(encoding="utf-8").splitlines() if line.strip()]


def is_compared(row):
    return "ratio" in row


def is_missed(row):
    return is_compared(row) and "bound" in row and row["ratio"] > row["bound"]


def groups_of(rows):
    """The rows by their headings, in the order in which those were first seen."""
    groups = {}
    for row in rows:
        groups.setdefault(row["group"], []).append(row)
    return groups


def figure(value):
    """Three digits that count, without an exponent."""
    if value == 0:
        return "0"
    digits = 2 - math.floor(math.log10(abs(value)))
    return f"{round(value, digits):,.{max(digits, 0)}f}"


def ratio_text(row):
    ratio = row["ratio"]
    if ratio < 0.0005:
        return "< 0.001"
    return f"{ratio:.2f}" if ratio >= 0.095 else f"{ratio:.3f}"


def spread_text(row):
    digits = 2 if row["ratio"] >= 0.095 else 3
    return f"{row['lower']:.{digits}f} to {row['upper']:.{digits}f}"


def verdict(row):
    if not is_compared(row):
        return "not installed"
    if "bound" not in row:
        return ""
    return "**missed**" if is_missed(row) else "yes"


# --- Table

def table(rows):
    lines = []
    for group, members in groups_of(rows).items():
        lines += [f"### {group}", "", "| what | ours | beside | theirs | ratio | middle half | wanted at most | reached |",
                  "|---|---:|---|---:|---:|---|---:|---|"]
        lines += [table_row(row) for row in members] + [""]
    return "\n".join(lines)


def table_row(row):
    ours = f"{figure(row['ours'])} {row['unit']}"
    if not is_compared(row):
        return f"| {row['name']} | {ours} | {row['peer']} | | | | | {verdict(row)} |"
    wanted = f"{row['bound']:.2f}" if "bound" in row else ""
    return (f"| {row['name']} | {ours} | {row['peer']} | {figure(row['theirs'])} | {ratio_text(row)} | {spread_text(row)} | {wanted} "
            f"| {verdict(row)} |")


# --- Chart

WIDTH, LABELS, FIGURES, ROW, HEADING, TOP, BOTTOM = 1120, 500, 110, 20, 30, 66, 34
PLOT_LEFT, PLOT_RIGHT = LABELS + 10, WIDTH - FIGURES
SMALLEST, LARGEST = 0.01, 12.0
REACHED, MISSED, PLAIN, INK, FAINT = "#3b7dd8", "#d9480f", "#9aa5b1", "#1f2933", "#d5dbe1"


def across(ratio):
    part = math.log(min(max(ratio, SMALLEST), LARGEST) / SMALLEST) / math.log(LARGEST / SMALLEST)
    return PLOT_LEFT + part * (PLOT_RIGHT - PLOT_LEFT)


def text(x, y, content, anchor="start", size=12, colour=INK, weight="normal"):
    return (f'<text x="{x:.1f}" y="{y:.1f}" font-size="{size}" text-anchor="{anchor}" fill="{colour}" font-weight="{weight}">'
            f"{escape(content)}</text>")


def line(x1, y1, x2, y2, colour, width=1, dashes=""):
    more = f' stroke-dasharray="{dashes}"' if dashes else ""
    return f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" stroke="{colour}" stroke-width="{width}"{more}/>'


def bar(row, y):
    """A bar from 1 to the ratio, whiskers for the middle half of the rounds, and a mark where the bound is."""
    middle = y + ROW / 2
    colour = MISSED if is_missed(row) else REACHED if "bound" in row else PLAIN
    left, right = sorted((across(row["ratio"]), across(1)))
    label = f"{row['name']} / {row['peer']}"
    parts = [
        f'<g class="{"missed" if is_missed(row) else "comparison"}">',
        text(LABELS, middle + 4, label, "end", 11),
        f'<rect x="{left:.1f}" y="{y + 4:.1f}" width="{max(right - left, 1):.1f}" height="{ROW - 8}" fill="{colour}"/>',
        line(across(row["lower"]), middle, across(row["upper"]), middle, INK),
    ]
    parts += [line(across(row[end]), middle - 3, across(row[end]), middle + 3, INK) for end in ("lower", "upper")]
    if "bound" in row:
        parts.append(line(across(row["bound"]), y + 1, across(row["bound"]), y + ROW - 1, INK, 2))
    wanted = f" (≤ {row['bound']:.2f})" if "bound" in row else ""
    parts.append(text(PLOT_RIGHT + 8, middle + 4, ratio_text(row) + wanted, size=11, colour=MISSED if is_missed(row) else INK,
                      weight="bold" if is_missed(row) else "normal"))
    return parts + ["</g>"]


def scale(height):
    parts = []
    for tick in (0.01, 0.02, 0.05, 0.1, 0.2, 0.5, 1, 2, 5, 10):
        x = across(tick)
        parts += [line(x, TOP - 6, x, height - BOTTOM, INK if tick == 1 else FAINT, 1.5 if tick == 1 else 1),
                  text(x, TOP - 12, f"{tick:g}", "middle", 11), text(x, height - BOTTOM + 16, f"{tick:g}", "middle", 11)]
    return parts


def legend():
    parts = []
    for at, (label, colour) in enumerate([("reached", REACHED), ("missed", MISSED), ("nothing was wanted", PLAIN)]):
        x = PLOT_LEFT + 110 + 110 * at
        parts += [f'<rect x="{x}" y="12" width="12" height="12" fill="{colour}"/>', text(x + 18, 22, label, size=11)]
    return parts


def chart(rows):
    groups = groups_of([row for row in rows if is_compared(row)])
    height = TOP + BOTTOM + sum(HEADING + ROW * len(members) for members in groups.values())
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {height}" width="{WIDTH}" height="{height}" '
        'font-family="DejaVu Sans, Verdana, sans-serif">',
        f'<rect width="{WIDTH}" height="{height}" fill="white"/>',
        text(12, 22, "Ours as a part of the peer's (logarithmic): left of 1 is less than the peer", size=14, weight="bold"),
        text(12, 42, "thick mark: what was wanted at most; whiskers: the middle half of all rounds", size=11),
        *legend(),
        *scale(height),
    ]
    y = TOP
    for group, members in groups.items():
        parts.append(text(12, y + HEADING - 9, group, size=13, weight="bold"))
        y += HEADING
        for row in members:
            parts += bar(row, y)
            y += ROW
    return "\n".join(parts + ["</svg>", ""])


# --- Page

def output_of(*command):
    try:
        return subprocess.run(command, check=True, capture_output=True, text=True).stdout.strip()
    except (OSError, subprocess.CalledProcessError):
        return ""


def first_match(path, pattern):
    try:
        match = re.search(pattern, pathlib.Path(path).read_text(encoding="utf-8"), re.MULTILINE)
    except OSError:
        return "unknown"
    return match[1].strip() if match else "unknown"


def machine():
    memory = first_match("/proc/meminfo", r"^MemTotal:\s+(\d+)")
    gigabytes = f"{int(memory) / 2**20:.0f} GiB of memory" if memory.isdigit() else "unknown memory"
    processor = first_match("/proc/cpuinfo", r"^model name.*:(.*)$")
    system = first_match("/etc/os-release", r"^PRETTY_NAME=.(.*).$")
    return (f"{os.cpu_count()} cores of {processor}, {gigabytes}; Linux {platform.release().split('-')[0]}, {system}, "
            f"g++ {output_of('g++', '-dumpfullversion')}")


def versions():
    listed = output_of("dpkg-query", "--show", "--showformat=${Package} ${Version}, ", *PEERS)
    return listed.rstrip(", ") or "unknown"


def page(rows, notes, is_quick):
    now = datetime.datetime.now(datetime.timezone.utc)
    compared = [row for row in rows if is_compared(row)]
    bound = [row for row in compared if "bound" in row]
    missed = [row for row in bound if is_missed(row)]
    small = "\n**Small inputs and few rounds (`--quick`): the ratios are only a first idea.**\n" if is_quick else ""
    return f"""# Benchmarks

<!-- Written by `./bench --page`; what people wrote stands in benchmarks/notes.md. -->

`./bench` installs the peers, builds, runs every comparison, prints each with its spread, and draws them as `build/benchmarks/benchmarks.svg`;
`./bench --page` also renews this page and its chart.
{small}
- Date: {now:%Y-%m-%d %H:%M} UTC
- Machine: {machine()}
- Peers: {versions()}
- {len(compared)} comparisons; of {len(bound)} with an aim {len(bound) - len(missed)} reach it, {len(missed)} miss it

![Ratios of all comparisons](benchmarks.svg)

{notes.strip()}

## All comparisons

Ours and theirs are medians of all rounds; the peer's figure has the same unit. In a round each runs once, in changing order, and the ratio is
that of one round: its median, and between which values the middle half of the rounds lies. A peer called "limit" is a figure that was promised.

{table(rows)}"""


def print_summary(rows):
    missed = [row for row in rows if is_missed(row)]
    absent = sorted({row["peer"] for row in rows if not is_compared(row)})
    for row in missed:
        print(f"missed: {row['group']}: {row['name']} / {row['peer']}: {ratio_text(row)} ({spread_text(row)}), wanted {row['bound']:.2f}")
    if absent:
        print("not installed:", ", ".join(absent))
    compared = [row for row in rows if is_compared(row)]
    bound = sum("bound" in row for row in compared)
    print(f"{len(compared)} comparisons, {bound} with an aim, {len(missed)} missed")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("results")
    parser.add_argument("--page", nargs=2, metavar=("FOLDER", "NOTES"))
    parser.add_argument("--quick", action="store_true", help="say that the inputs were small")
    options = parser.parse_args()
    rows = read_results(options.results)
    if not rows:
        sys.exit("nothing was measured")
    drawing = pathlib.Path(options.results).with_name("benchmarks.svg")
    drawing.write_text(chart(rows), encoding="utf-8")
    if options.page:
        folder, notes = map(pathlib.Path, options.page)
        (folder / "benchmarks.md").write_text(page(rows, notes.read_text(encoding="utf-8"), options.quick), encoding="utf-8")
        (folder / drawing.name).write_text(chart(rows), encoding="utf-8")
    print_summary(rows)
    print(f"chart: {drawing}")


if __name__ == "__main__":
    main()
