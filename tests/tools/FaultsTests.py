#!/usr/bin/env python3
"""The page of faults: what its tables are made of, and that a run in which something fails or is not tried does not renew it."""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(os.environ["ZT_SOURCE_DIR"])
PROGRAMS = ["tests-faults", "tests-faults-allocations", "tests-platform-linux"]
PAGE = """# Faults

<!-- results of scripts/faults -->
2001-01-01, another machine.

| fault | operation | tried | outcome |
|---|---|---|---|
| processes killed in the middle | save of a file | 2 | old or new |
<!-- end of results -->

## Memory

| operations | without memory |
|---|---|
| handles | none |

<!-- points of scripts/faults -->
| family | operations | cases |
|---|---|---|
| Volumes | 1 | 2 |
<!-- end of points -->

The end.
"""
VOLUMES = [("failing allocation", f"Volumes: unmount{variant}", 9, "as the rule says") for variant in ("", " (in use)")]


class FaultsCase(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = pathlib.Path(scratch.name)
        self.page = self.folder / "docs" / "faults.md"
        self.script = self.folder / "scripts" / "faults"
        for file in (self.page, self.script):
            file.parent.mkdir()
        self.page.write_text(PAGE)
        for name in ("faults", "pages.py"):
            shutil.copy(SOURCE / "scripts" / name, self.script.parent)
        self.program("tests/faults/InterceptedCalls.py")
        for name in PROGRAMS:
            self.program(f"build/tests/{name}")

    def program(self, path, commands="", rows=()):
        """Makes a program that runs the commands and reports the rows."""
        file = self.folder / path
        file.parent.mkdir(parents=True, exist_ok=True)
        reports = [r"printf '%s\t%s\t%s\t%s\n' " + " ".join(f"'{cell}'" for cell in row) + ' >>"$ZT_FAULTS_REPORT"\n' for row in rows]
        file.write_text("#!/bin/sh\n" + "".join(reports) + commands)
        file.chmod(0o755)

    def run_script(self, *options):
        return subprocess.run([sys.executable, self.script, "--build", self.folder / "build", *options, "3"], capture_output=True, text=True)

    def run_fewer(self):
        """A run that need not try what stands on the page."""
        done = self.run_script("--fewer")
        self.assertEqual((done.returncode, done.stderr), (0, ""))

    def table(self, heading):
        return re.search(rf"^\| {heading} \|.*\n\|[-|]+\n((?:\|.*\n)*)", self.page.read_text(), re.M)[1].splitlines()

    def test_rows_stand_in_the_order_of_the_kinds(self):
        self.program("build/tests/tests-faults", rows=[("signals", "save", 1234, "as without"), ("kill", "save of a file", 7, "old or new")])
        self.program("build/tests/tests-platform-linux", rows=[("failing call", "copy", 5, "all or nothing")])
        self.run_fewer()
        self.assertEqual(self.table("fault"), [
            "| each call fails once with each of several errors | copy | 5 | all or nothing |",
            "| processes killed in the middle | save of a file | 7 | old or new |",
            "| signals every 50 to 200 microseconds | save | 1,234 | as without |"])
        self.assertRegex(self.page.read_text(), r"<!-- results of scripts/faults -->\n\d{4}-\d\d-\d\d, .* processors, .*Linux .*; storms of 3 s\.\n\n\|")

    def test_points_of_failing_allocations_are_summed_for_each_family(self):
        self.program("build/tests/tests-faults-allocations", rows=[
            ("failing allocation", "String: NSString::copy (wide)", 1000, "as the rule says"),
            ("first use", "String: NSString::copy (wide)", 10, "as the rule says"),
            ("failing allocation", "String: NSString::copy", 20, "as the rule says"),
            ("failing allocation", "Array: NSArray::copy", 3, "as the rule says"),
            ("failing allocation", "Array: NSString::copy", 4, "as the rule says")])
        self.run_fewer()
        self.assertEqual(self.table("family"), ["| Array | 2 | 2 | 7 | 0 |", "| String | 1 | 2 | 1,020 | 10 |", "| all | 2 | 4 | 1,027 | 10 |"])
        self.assertEqual(self.table("fault"), [])
        self.assertRegex(self.page.read_text(), r"<!-- points of scripts/faults -->\n\d{4}-\d\d-\d\d, .*, Linux .*\n\n\|")

    def test_what_people_wrote_stays(self):
        self.run_fewer()
        text = self.page.read_text()
        for part in ("# Faults\n\n<!--", "end of results -->\n\n## Memory\n\n| operations |", "| handles | none |", "end of points -->\n\nThe end.\n"):
            self.assertIn(part, text)

    def test_a_run_with_a_failure_leaves_the_page_alone(self):
        ends = {"tests/faults/InterceptedCalls.py": "exit 1", **{f"build/tests/{name}": "kill -SEGV $$" for name in PROGRAMS}}
        for path, end in ends.items():
            with self.subTest(path=path):
                self.program(path, end, [("kill", "save of a file", 7, "FAILED")])
                done = self.run_script()
                self.assertEqual(done.returncode, 1)
                self.assertIn(f"faults: {pathlib.Path(path).name} failed; faults.md stays as it was\n", done.stderr)
                self.assertEqual(self.page.read_text(), PAGE)
            self.program(path)

    def expect_refusal(self, *obstacles):
        done = self.run_script()
        self.assertEqual(done.stderr.splitlines(), [f"faults: {obstacle}; faults.md stays as it was" for obstacle in obstacles])
        self.assertEqual(done.returncode, 1)
        self.assertEqual(self.page.read_text(), PAGE)

    def test_a_run_without_rows_of_the_page_leaves_it_alone(self):
        self.program("build/tests/tests-faults", rows=[("kill", "save", 7, "old or new")])
        self.expect_refusal("not tried: Volumes", "not tried: processes killed in the middle, save of a file")

    def test_a_run_with_fewer_cases_leaves_the_page_alone(self):
        self.program("build/tests/tests-faults", rows=[("kill", "save of a file", 7, "old or new"), VOLUMES[0]])
        self.expect_refusal("not tried: some cases of Volumes")

    def test_a_run_with_all_rows_of_the_page_renews_it(self):
        self.program("build/tests/tests-faults", rows=[("kill", "save of a file", 7, "old or new"), ("kill", "save", 8, "new")])
        self.program("build/tests/tests-faults-allocations", rows=VOLUMES)
        done = self.run_script()
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual(len(self.table("fault")), 2)

    def test_two_rows_of_one_name_leave_the_page_alone(self):
        for program, tried in zip(PROGRAMS, (7, 8)):
            self.program(f"build/tests/{program}", rows=[("kill", "save of a file", tried, "old or new")])
        self.program("build/tests/tests-platform-linux", rows=VOLUMES)
        self.expect_refusal("two rows: kill, save of a file")

    def test_names_of_any_bytes_and_reports_of_other_users(self):
        self.program("build/tests/tests-faults", r"""printf 'kill\tname \306\t1\tgood\n' >>"$ZT_FAULTS_REPORT"
test "$(stat -c %a "$ZT_FAULTS_REPORT")" = 666""")
        self.run_fewer()
        self.assertEqual(self.table("fault"), ["| processes killed in the middle | name \ufffd | 1 | good |"])


if __name__ == "__main__":
    unittest.main()
