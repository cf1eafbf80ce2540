#!/usr/bin/env python3
"""The benchmarks' programs, and the page and the chart that are made of what they measured: rows, marks of what was missed, a chart that
is well-formed."""
import importlib.util
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree

FOLDER = pathlib.Path(os.environ["ZT_SOURCE_DIR"]) / "benchmarks"
SCRIPT = FOLDER / "summarize.py"
PROGRAMS = pathlib.Path(os.environ["ZT_BUILD_DIR"]) / "benchmarks"
SVG = "{http://www.w3.org/2000/svg}"


def load_script():
    found = importlib.util.spec_from_file_location("summarize", SCRIPT)
    module = importlib.util.module_from_spec(found)
    found.loader.exec_module(module)
    return module


sys.dont_write_bytecode = True
summarize = load_script()


def row(name, ratio, bound=None, group="Files & folders", **others):
    made = {"program": "bench-Some", "group": group, "name": name, "unit": "ms", "rounds": 5, "ours": 1234.5 * ratio, "peer": "peer",
            "theirs": 1234.5, "ratio": ratio, "lower": ratio * 0.9, "upper": ratio * 1.1, **others}
    return made if bound is None else {**made, "bound": bound}


REACHED = row("read <fast>", 0.25, 0.3)
JUST = row("just so", 1.05, 1.05)
MISSED = row("removal", 1.15, 1.05)
PLAIN = row("for comparison", 2.5, group="Other")
TINY = row("hardly anything", 0.0004, 1, group="Other")
HUGE = row("far too much", 37.0, 2, group="Other")
ABSENT = {"program": "bench-Some", "group": "Other", "name": "no peer", "unit": "ns", "rounds": 5, "ours": 7.25, "peer": "peer that is missing",
          "bound": 1}
ROWS = [REACHED, JUST, MISSED, PLAIN, TINY, HUGE, ABSENT]


class ProgramCase(unittest.TestCase):
    def setUp(self):
        if not PROGRAMS.is_dir():
            self.skipTest("this build is one without the benchmarks")
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.results = pathlib.Path(scratch.name) / "results.jsonl"

    def run_program(self, name, *before):
        environment = {**os.environ, "ZT_BENCH_QUICK": "1", "ZT_BENCH_RESULTS": str(self.results)}
        return subprocess.run([*before, PROGRAMS / f"bench-{name}"], env=environment, capture_output=True, text=True)

    def test_each_is_a_test(self):
        listed = subprocess.run(["ctest", "--test-dir", PROGRAMS, "--show-only=json-v1"], check=True, capture_output=True, text=True).stdout
        self.assertEqual({test["name"] for test in json.loads(listed)["tests"]}, {f"bench-{source.stem}" for source in FOLDER.glob("*.cpp")})

    def test_what_one_writes_goes_into_the_page(self):
        done = self.run_program("Truncation")
        self.assertEqual(done.returncode, 0, done.stderr)
        rows = summarize.read_results(self.results)
        self.assertEqual([(one["program"], one["name"], one["peer"], "bound" in one) for one in rows[:2]],
                         [("bench-Truncation", "measurements, cut at the end", "limit", True),
                          ("bench-Truncation", "measurements, cut at the end", "widths that do not add up", False)])
        self.assertEqual(summarize.table(rows).count("| measurements, cut "), 6)

    def test_what_cannot_be_measured_here_is_no_success(self):
        may_not_mount = ["setpriv", "--bounding-set=-sys_admin"] if os.geteuid() == 0 else []
        if subprocess.run([*may_not_mount, "true"], capture_output=True).returncode != 0:
            self.skipTest("the right to mount cannot be given up here")
        done = self.run_program("AliasSearch", *may_not_mount)
        self.assertEqual((done.returncode, done.stdout), (77, ""))
        self.assertTrue(done.stderr.startswith("skipped: "), done.stderr)
        self.assertFalse(self.results.exists())


class SourceCase(unittest.TestCase):
    def test_the_builds_of_test_have_the_benchmarks(self):
        presets = json.loads((FOLDER.parent / "CMakePresets.json").read_text())["configurePresets"]
        self.assertIn("release", [preset["name"] for preset in presets if preset.get("cacheVariables", {}).get("ZT_BUILD_BENCHMARKS") == "ON"])

    def test_rounds_are_made_where_contenders_take_turns(self):
        self.assertEqual([source.name for source in sorted(FOLDER.rglob("*.[ch]*")) if "++round" in source.read_text()],
                         ["Report.h", "Timing.h"])

    def test_time_that_passes_is_measured_only_where_other_processes_run(self):
        measuring = {source.stem for source in FOLDER.glob("*.cpp") if re.search(r"\bmilliseconds\((?!\d)", source.read_text())}
        running = {source.stem for source in FOLDER.glob("*.cpp") if "runCommand(" in source.read_text()}
        self.assertEqual(measuring, running)


class FigureCase(unittest.TestCase):
    def test_three_digits_count(self):
        for value, text in [(0, "0"), (0.00051234, "0.000512"), (0.5, "0.500"), (9.999, "10.00"), (38.53, "38.5"), (814.6, "815"),
                            (5928.4, "5,930"), (1234567, "1,230,000")]:
            self.assertEqual(summarize.figure(value), text)

    def test_small_ratios_keep_a_digit(self):
        self.assertEqual([summarize.ratio_text({"ratio": ratio}) for ratio in (0.28, 0.017, 0.0951, 2.0, 0.0004)],
                         ["0.28", "0.017", "0.10", "2.00", "< 0.001"])


class TableCase(unittest.TestCase):
    def lines(self):
        return summarize.table(ROWS).splitlines()

    def row_of(self, name):
        return next(line for line in self.lines() if line.startswith(f"| {name} |"))

    def test_headings_in_the_order_of_the_results(self):
        self.assertEqual([line for line in self.lines() if line.startswith("#")], ["### Files & folders", "### Other"])

    def test_rows(self):
        self.assertEqual(self.row_of("read <fast>"), "| read <fast> | 309 ms | peer | 1,230 | 0.25 | 0.23 to 0.28 | 0.30 | yes |")
        self.assertEqual(self.row_of("for comparison"), "| for comparison | 3,090 ms | peer | 1,230 | 2.50 | 2.25 to 2.75 |  |  |")
        self.assertEqual(self.row_of("no peer"), "| no peer | 7.25 ns | peer that is missing | | | | | not installed |")

    def test_what_is_missed_is_marked_and_a_bound_that_is_met_is_not(self):
        marked = [line.split("|")[1].strip() for line in self.lines() if "**missed**" in line]
        self.assertEqual(marked, ["removal", "far too much"])

    def test_each_row_has_all_columns(self):
        rows = [line for line in self.lines() if line.startswith("|")]
        self.assertEqual({line.count("|") for line in rows}, {9})
        self.assertEqual(len(rows), len(ROWS) + 4)


class ChartCase(unittest.TestCase):
    def setUp(self):
        self.text = summarize.chart(ROWS)
        self.root = ElementTree.fromstring(self.text)

    def bars(self):
        return {"".join(group.find(SVG + "text").itertext()): group for group in self.root.iter(SVG + "g")}

    def test_each_comparison_has_a_bar(self):
        self.assertEqual(set(self.bars()), {f"{one['name']} / peer" for one in ROWS if one is not ABSENT})

    def test_what_is_missed_has_another_colour(self):
        missed = {label for label, group in self.bars().items() if group.get("class") == "missed"}
        self.assertEqual(missed, {"removal / peer", "far too much / peer"})
        colours = {group.find(SVG + "rect").get("fill") for label, group in self.bars().items() if label in missed}
        self.assertEqual(colours, {summarize.MISSED})
        self.assertNotIn(self.bars()["just so / peer"].find(SVG + "rect").get("fill"), colours)

    def test_bars_begin_at_one(self):
        one = round(summarize.across(1), 1)
        for label, group in self.bars().items():
            rectangle = group.find(SVG + "rect")
            left, width = float(rectangle.get("x")), float(rectangle.get("width"))
            self.assertAlmostEqual(one, left if "removal" in label or "just" in label or "for" in label or "far" in label else left + width,
                                   delta=0.2, msg=label)

    def test_the_bound_is_marked_where_it_belongs(self):
        for bound, label in [(0.3, "read <fast> / peer"), (1.05, "removal / peer")]:
            marks = [line for line in self.bars()[label].iter(SVG + "line") if line.get("stroke-width") == "2"]
            self.assertEqual([mark.get("x1") for mark in marks], [f"{summarize.across(bound):.1f}"])
        self.assertFalse([line for line in self.bars()["for comparison / peer"].iter(SVG + "line") if line.get("stroke-width") == "2"])

    def test_whiskers_span_the_spread(self):
        first = self.bars()["removal / peer"].find(SVG + "line")
        self.assertEqual((first.get("x1"), first.get("x2")),
                         (f"{summarize.across(MISSED['lower']):.1f}", f"{summarize.across(MISSED['upper']):.1f}"))

    def test_nothing_leaves_the_plot(self):
        for group in self.bars().values():
            for line in group.iter(SVG + "line"):
                for name in ("x1", "x2"):
                    self.assertTrue(summarize.PLOT_LEFT <= float(line.get(name)) <= summarize.PLOT_RIGHT)

    def test_rows_do_not_overlap(self):
        places = sorted(float(group.find(SVG + "rect").get("y")) for group in self.bars().values())
        self.assertTrue(all(later - earlier >= summarize.ROW for earlier, later in zip(places, places[1:])))
        self.assertLess(places[-1] + summarize.ROW, float(self.root.get("height")))


class CommandCase(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = pathlib.Path(scratch.name)
        self.results = self.folder / "results.jsonl"
        self.results.write_text("".join(json.dumps(one) + "\n" for one in ROWS))

    def run_script(self, *arguments):
        return subprocess.run([sys.executable, SCRIPT, self.results, *arguments], capture_output=True, text=True)

    def test_the_summary_names_what_is_missed_and_what_is_not_installed(self):
        done = self.run_script()
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual([line.split(":")[2].split("/")[0].strip() for line in done.stdout.splitlines() if line.startswith("missed")],
                         ["removal", "far too much"])
        self.assertIn("not installed: peer that is missing", done.stdout)
        self.assertIn("\n6 comparisons, 5 with an aim, 2 missed\n", done.stdout)

    def test_the_chart_is_drawn_beside_the_results(self):
        done = self.run_script()
        chart = self.folder / "benchmarks.svg"
        self.assertTrue(done.stdout.endswith(f"\nchart: {chart}\n"), done.stdout)
        self.assertEqual(chart.read_text(), summarize.chart(ROWS))

    def test_the_page_has_table_chart_and_what_people_wrote(self):
        notes = self.folder / "notes.md"
        notes.write_text("## What falls short\n\nIt rains.\n")
        docs = self.folder / "docs"
        docs.mkdir()
        self.assertEqual(self.run_script("--page", docs, notes).returncode, 0)
        page = (docs / "benchmarks.md").read_text()
        for part in ("It rains.", summarize.table(ROWS), "](benchmarks.svg)", "6 comparisons; of 5 with an aim 3 reach it, 2 miss it"):
            self.assertIn(part, page)
        self.assertNotIn("--quick`):", page)
        ElementTree.parse(docs / "benchmarks.svg")

    def test_small_inputs_are_told(self):
        notes = self.folder / "notes.md"
        notes.write_text("Notes\n")
        self.assertEqual(self.run_script("--quick", "--page", self.folder, notes).returncode, 0)
        self.assertIn("Small inputs", (self.folder / "benchmarks.md").read_text())

    def test_no_results_are_an_error_and_leave_the_page_alone(self):
        self.results.write_text("\n")
        notes = self.folder / "notes.md"
        notes.write_text("Notes\n")
        self.assertNotEqual(self.run_script("--page", self.folder, notes).returncode, 0)
        self.assertFalse((self.folder / "benchmarks.md").exists())

    def test_the_command_refuses_what_it_does_not_know(self):
        done = subprocess.run([FOLDER.parent / "bench", "NoSuchThing"], capture_output=True, text=True)
        self.assertEqual((done.returncode, done.stderr), (2, "bench: there is no benchmark NoSuchThing\n"))
        done = subprocess.run([FOLDER.parent / "bench", "--page", "INI"], capture_output=True, text=True)
        self.assertEqual((done.returncode, done.stderr), (2, "bench: a page is made of all benchmarks\n"))
        done = subprocess.run([FOLDER.parent / "bench", "--help"], capture_output=True, text=True)
        self.assertEqual(done.returncode, 2)
        self.assertIn("./bench [--quick] [--page] [NAME...]", done.stderr)


if __name__ == "__main__":
    unittest.main()
