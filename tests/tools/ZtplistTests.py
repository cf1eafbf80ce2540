#!/usr/bin/env python3
"""Runs ztplist as a user does: every command, standard input and output, exit codes, messages, hostile input."""
import datetime
import fcntl
import os
import pathlib
import plistlib
import pty
import resource
import shutil
import subprocess
import tempfile
import unittest

PROGRAM = str(pathlib.Path(os.environ["ZT_BUILD_DIR"]) / "bin/ztplist")
SUCCESS, NO, USAGE, INPUT_OUTPUT, INVALID = range(5)

ALBUM = {
    "Title": "Grüße 👋",
    "Year": 1998,
    "Ratio": 0.1,
    "Live": True,
    "Recorded": datetime.datetime(1998, 5, 24, 10, 53, 20),
    "Cover": b"\x89PNG\0",
    "Tracks": [{"Name": "Dom", "a.b": {"": 1}}, {"Name": "Rhein\n\x7f"}],
    "Empty": {},
}
INI = "; my settings\r\n[Main]\r\nName=Alice\r\nMotto=\"to be\"\r\n\r\n[Other]\r\nPath=/a;b=c\r\n"


def ztplist(*arguments, stdin=b"", env=None, **options):
    if isinstance(stdin, str):
        stdin = stdin.encode()
    return subprocess.run([PROGRAM, *map(str, arguments)], input=stdin, capture_output=True, timeout=120,
                          env={**os.environ, **(env or {})}, **options)


class ZtplistCase(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)

    def write(self, name, content):
        path = self.folder / name
        path.write_bytes(content.encode() if isinstance(content, str) else content)
        return path

    def album(self, fmt=plistlib.FMT_XML, value=None):
        return self.write(f"album{fmt.value}.plist", plistlib.dumps(ALBUM if value is None else value, fmt=fmt, sort_keys=False))

    def run_expecting(self, code, *arguments, **options):
        done = ztplist(*arguments, **options)
        self.assertEqual(done.returncode, code, (arguments, done.stdout, done.stderr))
        if code in (USAGE, INPUT_OUTPUT, INVALID):
            self.assertTrue(done.stderr.startswith(b"ztplist: "), done.stderr)
        elif code == SUCCESS:
            self.assertEqual(done.stderr, b"")
        return done

    def output_of(self, *arguments, **options):
        return self.run_expecting(SUCCESS, *arguments, **options).stdout.decode()

    def with_limit(self, resource_name, limit, *arguments):
        """The run with such a limit; skips the test where not even the help can be shown under it."""
        def lower():
            resource.setrlimit(resource_name, (limit, resource.getrlimit(resource_name)[1]))
        if subprocess.run([PROGRAM, "help"], preexec_fn=lower, capture_output=True).returncode != SUCCESS:
            self.skipTest("the program does not start under the limit, as with sanitizers")
        return subprocess.run([PROGRAM, *map(str, arguments)], preexec_fn=lower, capture_output=True)

    def litter(self):
        return [path for path in self.folder.iterdir() if path.name.startswith(".")]


class Print(ZtplistCase):
    EXPECTED = """\
dictionary, 8 entries
  Title: string "Grüße 👋"
  Year: integer 1998
  Ratio: real 0.1
  Live: boolean true
  Recorded: date 1998-05-24T10:53:20Z
  Cover: data 5 bytes 89504e4700
  Tracks: array, 2 elements
    0: dictionary, 2 entries
      Name: string "Dom"
      a.b: dictionary, 1 entry
        "": integer 1
    1: dictionary, 1 entry
      Name: string "Rhein\\n\\u007f"
  Empty: dictionary, 0 entries
"""

    def test_shows_types_and_contents(self):
        for fmt in plistlib.FMT_XML, plistlib.FMT_BINARY:
            self.assertEqual(self.output_of("print", self.album(fmt)), self.EXPECTED)

    def test_reads_standard_input(self):
        data = plistlib.dumps(ALBUM, sort_keys=False)
        for arguments in [("print",), ("print", "-")]:
            self.assertEqual(self.output_of(*arguments, stdin=data), self.EXPECTED)

    def test_names_each_of_several_files(self):
        one, other = self.write("1", "{ a = b; }"), self.write("2", "(a)")
        self.assertEqual(self.output_of("print", one, other),
                         f'{one} (openstep):\ndictionary, 1 entry\n  a: string "b"\n'
                         f'{other} (openstep):\narray, 1 element\n  0: string "a"\n')

    def test_one_bad_file_does_not_hide_the_others(self):
        good = self.write("good", "{ a = b; }")
        done = self.run_expecting(INPUT_OUTPUT, "print", self.folder / "absent", good)
        self.assertIn(b'string "b"', done.stdout)

    def test_control_characters_and_halves_of_pairs_are_escaped(self):
        half = self.binary_string("\x1b\ud800\\\"")
        self.assertEqual(self.output_of("print", stdin=half), 'string "\\u001b\\ud800\\\\\\""\n')

    @staticmethod
    def binary_string(text):
        units = text.encode("utf-16-be", "surrogatepass")
        body = b"bplist00" + bytes([0x60 + len(units) // 2]) + units
        return body + b"\x08" + bytes(6) + b"\x01\x01" + (1).to_bytes(8, "big") + bytes(8) + len(body).to_bytes(8, "big")

    def test_long_data_is_cut(self):
        shown = self.output_of("print", stdin=plistlib.dumps(bytes(1000)))
        self.assertEqual(shown, "data 1000 bytes " + "00" * 32 + "...\n")

    def test_dates_show_fractions_and_far_years(self):
        def shown(seconds):
            import struct
            body = b"bplist00\x33" + struct.pack(">d", seconds)
            tail = b"\x08" + bytes(6) + b"\x01\x01" + (1).to_bytes(8, "big") + bytes(8) + len(body).to_bytes(8, "big")
            return self.output_of("print", stdin=body + tail).strip()
        self.assertEqual(shown(0.25), "date 2001-01-01T00:00:00.25Z")
        self.assertEqual(shown(-0.25), "date 2000-12-31T23:59:59.75Z")
        self.assertEqual(shown(-63113904000.0), "date 0001-01-01T00:00:00Z")
        self.assertEqual(shown(1e12), "date +33689-09-27T01:46:40Z")

    def test_a_foreign_locale_changes_nothing(self):
        for name in "de_DE.UTF-8", "tr_TR.UTF-8", "C", "no_SUCH":
            self.assertEqual(self.output_of("print", self.album(), env={"LC_ALL": name, "LANG": name}), self.EXPECTED)

    def test_ini_files_need_their_format_named(self):
        ini = self.write("a.ini", INI)
        self.assertIn(b"--format ini", self.run_expecting(INVALID, "print", ini).stderr)
        self.assertIn('Motto: string "\\"to be\\""', self.output_of("print", "--format", "ini", ini))
        self.assertEqual(self.output_of("print", "--format=ini", stdin=b""), "dictionary, 0 entries\n")


class Lint(ZtplistCase):
    def test_sound_files(self):
        xml, binary = self.album(), self.album(plistlib.FMT_BINARY)
        self.assertEqual(self.output_of("lint", xml, binary), f"{xml}: sound, xml1\n{binary}: sound, binary1\n")
        self.assertEqual(self.output_of("lint", stdin=b"{}"), "standard input: sound, openstep\n")
        self.assertEqual(self.output_of("lint", "-q", xml), "")

    def test_a_fault_is_told_with_its_place(self):
        broken = self.write("broken.plist", '<?xml version="1.0"?>\n<plist version="1.0">\n<dict><key>a</key></dict>\n</plist>')
        done = self.run_expecting(NO, "lint", broken)
        self.assertRegex(done.stderr.decode(), rf"^ztplist: {broken}: .*line 3, column \d+")

    def test_the_worst_file_decides(self):
        good = self.album()
        self.run_expecting(NO, "lint", good, self.write("broken", "{"), good)
        self.run_expecting(INPUT_OUTPUT, "lint", self.write("broken", "{"), self.folder / "absent")

    def test_hostile_files_are_told_apart_from_sound_ones(self):
        depth = 100_000
        hostile = {
            "empty": b"",
            "blank": b" \n",
            "zeros": bytes(100),
            "noise": bytes(range(256)) * 4,
            "mark": b"bplist00",
            "cut": plistlib.dumps(ALBUM, fmt=plistlib.FMT_BINARY)[:-5],
            "entities": b'<?xml version="1.0"?><!DOCTYPE plist [<!ENTITY a "aaaa"><!ENTITY b "&a;&a;">]>'
                        b"<plist><string>&b;</string></plist>",
            "external": b'<!DOCTYPE plist [<!ENTITY a SYSTEM "file:///etc/passwd">]><plist><string>&a;</string></plist>',
            "deep xml": b"<plist>" + b"<array>" * depth + b"</array>" * depth + b"</plist>",
            "deep text": b"(" * depth + b")" * depth,
            "two roots": b"<plist><string/><string/></plist>",
            "cycle": b"bplist00\xa1\x00\x08" + bytes(6) + b"\x01\x01" + (1).to_bytes(8, "big") + bytes(8) + (10).to_bytes(8, "big"),
            "giant count": b"bplist00\xaf\x13" + b"\x7f" * 8 + b"\x08" + bytes(6) + b"\x01\x01" + (1).to_bytes(8, "big") +
                           bytes(8) + (18).to_bytes(8, "big"),
        }
        for name, content in hostile.items():
            with self.subTest(name):
                done = self.run_expecting(NO, "lint", stdin=content)
                self.assertEqual(done.stdout, b"")
                self.assertTrue(done.stderr.startswith(b"ztplist: standard input: "), done.stderr)

    def test_ini_lines_that_are_dropped(self):
        text = "a=1\n[S]\nk=1\n;note\n\nnothing\nx=\nk=2\n[T]\nk=1\n[S]\n k=1"
        done = self.run_expecting(NO, "lint", "--format", "ini", stdin=text)
        numbers = [int(line.split("line ")[1].split(":")[0]) for line in done.stderr.decode().splitlines()]
        self.assertEqual(numbers, [1, 6, 7, 8, 11])
        self.assertEqual(self.output_of("lint", "--format", "ini", stdin=INI), "standard input: sound, ini\n")
        self.run_expecting(NO, "lint", "--format", "ini", stdin=b"[a]\n\xff=1\n")

    def test_ini_lines_of_three_characters_count_in_utf16(self):
        self.run_expecting(NO, "lint", "--format", "ini", stdin="[S]\nä=\n")
        self.run_expecting(SUCCESS, "lint", "--format", "ini", stdin="[S]\n😀=\n")

    def test_a_named_format_must_be_the_one_found(self):
        self.run_expecting(SUCCESS, "lint", "--format", "xml1", self.album())
        done = self.run_expecting(NO, "lint", "--format", "binary1", self.album())
        self.assertIn(b"is in the format xml1", done.stderr)


class Convert(ZtplistCase):
    def test_all_formats_to_xml_and_binary(self):
        text = '{ Title = "Gr\\U00fc\\U00dfe"; List = (a, "b c"); Data = <0aff>; }'
        expected = {"Title": "Grüße", "List": ["a", "b c"], "Data": b"\x0a\xff"}
        sources = [(plistlib.dumps(ALBUM), ALBUM), (plistlib.dumps(ALBUM, fmt=plistlib.FMT_BINARY), ALBUM), (text.encode(), expected)]
        for source, value in sources:
            for name, fmt in [("xml1", plistlib.FMT_XML), ("binary1", plistlib.FMT_BINARY), ("xml", plistlib.FMT_XML),
                              ("binary", plistlib.FMT_BINARY)]:
                done = self.run_expecting(SUCCESS, "convert", name, stdin=source)
                self.assertEqual(plistlib.loads(done.stdout, fmt=fmt), value)

    def test_round_trips_give_the_same_bytes(self):
        for one, other in [("xml1", "binary1"), ("binary1", "xml1")]:
            start = ztplist("convert", one, self.album()).stdout
            there = ztplist("convert", other, stdin=start).stdout
            self.assertEqual(ztplist("convert", one, stdin=there).stdout, start)

    def test_keys_keep_their_order(self):
        value = {name: 1 for name in "zebra apple Mango 10 9".split()}
        for fmt in "xml1", "binary1":
            done = ztplist("convert", fmt, stdin=plistlib.dumps(value, sort_keys=False))
            self.assertEqual(list(plistlib.loads(done.stdout)), list(value))

    def test_ini(self):
        value = {"Main": {"Name": "Alice", "Motto": "to be", "Count": 5, "On": True}, "Empty": {}}
        ini = self.output_of("convert", "ini", stdin=plistlib.dumps(value, sort_keys=False))
        self.assertEqual(ini, '[Main]\nName=Alice\nMotto="to be"\nCount="5"\nOn="1"\n\n[Empty]\n\n')
        back = plistlib.loads(ztplist("convert", "xml1", "--format", "ini", stdin=ini).stdout)
        self.assertEqual(back, {"Main": {"Name": "Alice", "Motto": '"to be"', "Count": '"5"', "On": '"1"'}, "Empty": {}})

    def test_what_a_format_cannot_hold_is_refused(self):
        for value in [[], {"a": "b"}, {"a": {"b": []}}]:
            done = self.run_expecting(INVALID, "convert", "ini", stdin=plistlib.dumps(value))
            self.assertEqual(done.stdout, b"")
        self.run_expecting(INVALID, "convert", "xml1", stdin=Print.binary_string("\x01"))
        self.run_expecting(USAGE, "convert", "openstep", stdin=b"{}")
        self.run_expecting(USAGE, "convert", "yaml", stdin=b"{}")

    def test_what_would_not_come_back_from_ini_is_refused(self):
        lost = {"S.k1": {"S": {"k1": "x\n[Other]\nkk=v"}}, "S.a=b": {"S": {"a=b": "c"}}, "S.e": {"S": {"e": ""}},
                "S.;c": {"S": {"aa": "b", ";c": "d"}}, "S.[k": {"S": {"[k": "v]"}}, "T\\n": {"T\n": {"u": "v"}}, "/": {"": {}},
                "S.last": {"S": {"last": "\u2028"}}, "S": {"S": {}, "T\n[S]\nk=\n[T": {}}}
        for place, value in lost.items():
            with self.subTest(place):
                file = self.album(value=value)
                before = file.read_bytes()
                done = self.run_expecting(INVALID, "convert", "ini", "-i", file)
                self.assertIn(b"cannot be written as INI", done.stderr)
                self.assertEqual(file.read_bytes(), before)
                self.assertEqual(self.run_expecting(INVALID, "get", "/", "--to", "ini", file).stdout, b"")
                self.run_expecting(INVALID, "set", "New", "dictionary", "{}", "--to", "ini", file)
        self.assertIn(b"form for S.k1\n", ztplist("convert", "ini", stdin=plistlib.dumps(lost["S.k1"])).stderr)

    def test_all_that_ini_has_a_form_for_is_written(self):
        value = {"[a=b]": {"k ": " ", "x": "=;[]", "d": b"\1", "when": datetime.datetime(2001, 1, 1), "\tä": "ü"}, ";": {"#": "1"}}
        back = plistlib.loads(ztplist("convert", "xml1", "--format", "ini",
                                      stdin=self.output_of("convert", "ini", stdin=plistlib.dumps(value))).stdout)
        self.assertEqual(back, {"[a=b]": {"k ": '" "', "x": "=;[]", "d": '"<01>"', "when": '"2001-01-01 00:00:00 +0000"', "\tä": "ü"},
                                ";": {"#": "1"}})

    def test_to_a_file(self):
        target = self.folder / "out.plist"
        self.assertEqual(self.output_of("convert", "binary1", "-o", target, self.album()), "")
        self.assertEqual(plistlib.loads(target.read_bytes(), fmt=plistlib.FMT_BINARY), ALBUM)
        self.assertEqual(self.litter(), [])
        shown = self.run_expecting(SUCCESS, "convert", "binary1", "--output=-", self.album()).stdout
        self.assertEqual(shown, target.read_bytes())

    def test_keys_in_order_only_where_wanted(self):
        shown = {option: plistlib.loads(self.output_of("convert", "xml1", *option, self.album()).encode())
                 for option in [(), ("-s",), ("--sort-keys",)]}
        self.assertEqual(list(shown[()]), list(ALBUM))
        for option in [("-s",), ("--sort-keys",)]:
            self.assertEqual(shown[option], ALBUM)
            self.assertEqual(list(shown[option]), sorted(ALBUM))
            self.assertEqual(list(shown[option]["Tracks"][0]), ["Name", "a.b"])

    def test_in_place_for_several_files(self):
        files = [self.album(), self.album(plistlib.FMT_BINARY)]
        self.assertEqual(self.output_of("convert", "binary1", "-i", *files), "")
        for file in files:
            self.assertEqual(plistlib.loads(file.read_bytes(), fmt=plistlib.FMT_BINARY), ALBUM)
        self.assertEqual(self.litter(), [])

    def test_in_place_keeps_links_and_modes(self):
        target = self.album()
        target.chmod(0o640)
        (self.folder / "sub").mkdir()
        link = self.folder / "sub/link"
        link.symlink_to("../" + target.name)
        self.run_expecting(SUCCESS, "convert", "binary1", "-i", link)
        self.assertTrue(link.is_symlink())
        self.assertEqual(target.stat().st_mode & 0o777, 0o640)
        self.assertTrue(target.read_bytes().startswith(b"bplist00"))

    def test_a_failure_leaves_the_file(self):
        target = self.album(value=["no ini"])
        before = target.read_bytes()
        self.run_expecting(INVALID, "convert", "ini", "-i", target)
        self.run_expecting(INPUT_OUTPUT, "convert", "binary1", "-o", self.folder, target)
        self.run_expecting(INPUT_OUTPUT, "convert", "binary1", "-o", self.folder / "absent/out", target)
        self.assertEqual(target.read_bytes(), before)
        self.assertEqual(self.litter(), [])

    def test_contradictions_are_refused(self):
        file = self.album()
        for arguments in [("-i", "-o", "x", file), (file, file), ("-i", "-"), ("-i",), ("-q", file), ("--in-place=1", file)]:
            self.run_expecting(USAGE, "convert", "xml1", *arguments)


class Get(ZtplistCase):
    def get(self, *arguments):
        return self.output_of("get", *arguments, self.album())

    def test_scalars_are_plain(self):
        expected = {"Title": "Grüße 👋", "Year": "1998", "Ratio": "0.1", "Live": "true", "Recorded": "1998-05-24T10:53:20Z",
                    "Cover": "89504e4700", "Tracks.0.Name": "Dom", r"Tracks.0.a\.b.": "1"}
        for path, text in expected.items():
            self.assertEqual(self.get(path), text + "\n", path)

    def test_typed(self):
        self.assertEqual(self.get("-t", "Year"), "integer 1998\n")
        self.assertEqual(self.get("--typed", "Cover"), "data 5 bytes 89504e4700\n")

    def test_raw(self):
        self.assertEqual(ztplist("get", "--raw", "Cover", self.album()).stdout, ALBUM["Cover"])
        self.assertEqual(self.get("-r", "Title"), "Grüße 👋")
        self.assertEqual(self.get("-r", "Live"), "true")
        self.run_expecting(NO, "get", "-r", "Tracks", self.album())
        self.run_expecting(INVALID, "get", "-r", "/", stdin=Print.binary_string("\ud800"))

    def test_containers_are_shown_as_trees(self):
        self.assertEqual(self.get("Tracks.1"), 'dictionary, 1 entry\n  Name: string "Rhein\\n\\u007f"\n')
        self.assertEqual(self.get("/"), Print.EXPECTED)

    def test_as_a_property_list(self):
        for name, fmt in [("xml1", plistlib.FMT_XML), ("binary1", plistlib.FMT_BINARY)]:
            done = self.run_expecting(SUCCESS, "get", "Tracks", "--to", name, self.album())
            self.assertEqual(plistlib.loads(done.stdout, fmt=fmt), ALBUM["Tracks"])

    def test_nothing_there(self):
        for path, missing in [("Nowhere", "Nowhere"), ("Tracks.2.Name", "Tracks.2"), ("Tracks.-1", "Tracks.-1"),
                              ("Tracks.x", "Tracks.x"), ("Year.deeper.still", "Year.deeper"), ("Tracks.00000000000000000000009", None)]:
            done = self.run_expecting(NO, "get", path, self.album())
            if missing:
                self.assertTrue(done.stderr.decode().endswith(f": nothing at {missing}\n"), done.stderr)

    def test_escapes(self):
        keys = ["a.b", "a\\b", "/", "", "line\nfeed", "tab\t", "é", "\x01", "😀"]
        data = plistlib.dumps({key: {key: index} for index, key in enumerate(keys)}, fmt=plistlib.FMT_BINARY)
        paths = [r"a\.b", r"a\\b", r"\/", "", r"line\nfeed", r"tab\t", "é", r"\u0001", r"\ud83d\ude00"]
        for index, path in enumerate(paths):
            inner = "/" if path == r"\/" else path
            self.assertEqual(self.output_of("get", f"{path}.{inner}", stdin=data), f"{index}\n", path)
            self.run_expecting(SUCCESS, "get", path, stdin=data)

    def test_malformed_key_paths(self):
        for path in ["a\\", r"\u12", r"\uzzzz", b"\xff"]:
            done = subprocess.run([PROGRAM, "get", path], input=b"{}", capture_output=True)
            self.assertEqual(done.returncode, USAGE)


class Set(ZtplistCase):
    def after(self, path, kind, value, start=None, fmt=plistlib.FMT_XML):
        file = self.album(fmt, start)
        self.assertEqual(self.output_of("set", path, kind, value, file), "")
        self.assertEqual(self.litter(), [])
        return plistlib.loads(file.read_bytes(), fmt=fmt)

    def test_types(self):
        cases = [("string", "a<b 👋", "a<b 👋"), ("string", "", ""), ("integer", "-5", -5), ("integer", "0xff", 255),
                 ("integer", str(2**64 - 1), 2**64 - 1), ("integer", str(-(2**63)), -(2**63)), ("real", "0.1", 0.1),
                 ("real", "-1e300", -1e300), ("real", "inf", float("inf")), ("real", "-inf", float("-inf")), ("boolean", "true", True), ("boolean", "no", False),
                 ("date", "2024-02-29T13:45:00Z", datetime.datetime(2024, 2, 29, 13, 45)),
                 ("date", "2024-02-29", datetime.datetime(2024, 2, 29)), ("data", "00ff Ab", b"\0\xff\xab"), ("data", "", b""),
                 ("array", "(a, (b))", ["a", ["b"]]), ("dictionary", "{ a = { b = c; }; }", {"a": {"b": "c"}}),
                 ("array", "<plist><array><integer>1</integer></array></plist>", [1])]
        for kind, text, value in cases:
            for fmt in plistlib.FMT_XML, plistlib.FMT_BINARY:
                got = self.after("Value", kind, text, {}, fmt)["Value"]
                self.assertEqual((type(got), got), (type(value), value), (kind, text))

    def test_values_that_are_not_of_the_type(self):
        cases = [("integer", "5x"), ("integer", str(2**64)), ("integer", ""), ("integer", "0x"), ("real", "1,5"), ("real", ""),
                 ("boolean", "maybe"), ("date", "2023-02-29"), ("date", "yesterday"), ("date", "<"), ("data", "abc"), ("data", "0x00"),
                 ("array", "{}"), ("dictionary", "(a)"), ("text", "a"), ("string", b"\xff")]
        file = self.album()
        before = file.read_bytes()
        for kind, text in cases:
            self.assertEqual(subprocess.run([PROGRAM, "set", "Year", kind, text, file], capture_output=True).returncode, USAGE, text)
        self.run_expecting(INVALID, "set", "Year", "array", "(a", file)
        self.assertEqual(file.read_bytes(), before)

    def test_places(self):
        self.assertEqual(self.after("Tracks.0.Name", "string", "Köln")["Tracks"][0]["Name"], "Köln")
        self.assertEqual(self.after("Tracks.2", "string", "end")["Tracks"][2], "end")
        self.assertEqual(self.after("Tracks.2.Name", "string", "end")["Tracks"][2], {"Name": "end"})
        self.assertEqual(self.after("New.Way.Down", "integer", "1")["New"], {"Way": {"Down": 1}})
        self.assertEqual(self.after("/", "array", "(a)"), ["a"])
        self.assertEqual(list(self.after("Title", "string", "x")), list(ALBUM))

    def test_places_that_hold_nothing(self):
        file = self.album()
        before = file.read_bytes()
        for path in ["Tracks.5", "Tracks.x", "Year.below", "Title.a.b"]:
            self.run_expecting(NO, "set", path, "string", "x", file)
        self.assertEqual(file.read_bytes(), before)

    def test_the_format_is_kept_unless_told(self):
        file = self.album(plistlib.FMT_BINARY)
        self.run_expecting(SUCCESS, "set", "Year", "integer", "1", file)
        self.assertTrue(file.read_bytes().startswith(b"bplist00"))
        self.run_expecting(SUCCESS, "set", "Year", "integer", "2", "--to", "xml1", file)
        self.assertTrue(file.read_bytes().startswith(b"<?xml"))
        text = self.write("old.plist", "{ a = b; }")
        self.run_expecting(USAGE, "set", "a", "string", "c", text)
        self.assertEqual(text.read_text(), "{ a = b; }")
        self.run_expecting(SUCCESS, "set", "a", "string", "c", "--to", "xml1", text)
        self.assertEqual(plistlib.loads(text.read_bytes()), {"a": "c"})

    def test_through_standard_streams_and_to_another_file(self):
        done = self.run_expecting(SUCCESS, "set", "a", "integer", "1", stdin=plistlib.dumps({}))
        self.assertEqual(plistlib.loads(done.stdout), {"a": 1})
        file, other = self.album(), self.folder / "other"
        before = file.read_bytes()
        self.run_expecting(SUCCESS, "set", "Year", "integer", "1", "-o", other, file)
        self.assertEqual(file.read_bytes(), before)
        self.assertEqual(plistlib.loads(other.read_bytes())["Year"], 1)

    def test_a_link_stays_one(self):
        link = self.folder / "link"
        link.symlink_to(self.album())
        self.run_expecting(SUCCESS, "set", "Year", "integer", "1", link)
        self.assertTrue(link.is_symlink())
        self.assertEqual(plistlib.loads(link.read_bytes())["Year"], 1)

    def test_what_the_format_cannot_hold(self):
        file = self.album()
        before = file.read_bytes()
        self.run_expecting(INVALID, "set", "Year", "string", "\x1b", file)
        self.assertEqual(file.read_bytes(), before)

    def test_options_after_two_hyphens_are_values(self):
        self.assertEqual(self.after("Value", "string", "x", {})["Value"], "x")
        file = self.album(value={})
        self.run_expecting(SUCCESS, "set", "--", "Value", "string", "--to", file)
        self.assertEqual(plistlib.loads(file.read_bytes()), {"Value": "--to"})


class SetINI(ZtplistCase):
    def after(self, path, value, text=INI):
        return self.run_expecting(SUCCESS, "set", path, "string", value, "--format", "ini", stdin=text).stdout.decode()

    def test_only_the_entry_changes(self):
        self.assertEqual(self.after("Main.Name", "Bob B"), INI.replace("=Alice", "=Bob B"))
        self.assertEqual(self.after("Other.Path", ""), INI.replace("=/a;b=c", "="))

    def test_new_entries_and_sections(self):
        self.assertEqual(self.after("Main.New", "1"), INI.replace('"to be"\r\n', '"to be"\r\nNew=1\r\n'))
        self.assertEqual(self.after("Third.New", "1"), INI + "\r\n[Third]\r\nNew=1\r\n")
        self.assertEqual(self.after("S.k1", "v", ""), "[S]\nk1=v\n")
        self.assertEqual(self.after("S.k1", "v", "[S]"), "[S]\nk1=v")
        self.assertEqual(self.after("T.k1", "v", "[S]"), "[S]\n\n[T]\nk1=v\n")

    def test_of_repeated_names_the_one_that_counts(self):
        text = "[S]\nkey=1\n[S]\nkey=2\nkey=3\n[T]\nkey=4\n"
        self.assertEqual(self.after("S.key", "5", text), text.replace("=3", "=5"))

    def test_a_mark_and_other_line_ends_stay(self):
        text = "\ufeff[S]\u2028key=1\u0085[T]\rkey=2"
        self.assertEqual(self.after("T.key", "3", text), text.replace("=2", "=3"))
        self.assertEqual(self.after("S.key", "3", text), text.replace("=1", "=3"))

    def test_what_cannot_stand_in_a_line_is_refused(self):
        file = self.write("a.ini", INI)
        for path, value in [("Main.Name", "a\nb"), ("Main.;k", "v"), ("Main.a=b", "v"), ("a\\nb.k", "v"), ("Main.[k", "v]"), ("Main.k", "")]:
            self.run_expecting(INVALID, "set", path, "string", value, "--format", "ini", file)
        for path in "Main", "Main.Name.More", "/":
            self.assertIn(ztplist("set", path, "string", "x", "--format", "ini", file).returncode, (NO, INVALID))
        self.run_expecting(INVALID, "set", "Main.Count", "integer", "5", "--format", "ini", file)
        self.assertEqual(file.read_bytes(), INI.encode())

    def test_delete(self):
        def after(path, text=INI):
            return self.run_expecting(SUCCESS, "delete", path, "--format", "ini", stdin=text).stdout.decode()
        self.assertEqual(after("Main.Name"), INI.replace("Name=Alice\r\n", ""))
        self.assertEqual(after("Other"), INI[:INI.index("[Other]")])
        self.assertEqual(after("S.k1", "[S]\nk1=1\nk2=2\nk1=3\n"), "[S]\nk2=2\n")
        self.assertEqual(after("S", "\ufeff[S]\nk1=1\n[T]\n[S]\nk2=1"), "\ufeff[T]\n")
        self.assertEqual(after("S.k1", "\ufeff[S]\nk1=1\n;end"), "\ufeff[S]\n;end")
        self.run_expecting(NO, "delete", "Main.Absent", "--format", "ini", stdin=INI)

    def test_comments_above_the_next_header_belong_to_it(self):
        def after(text):
            return self.output_of("delete", "S", "--format", "ini", stdin=text)
        self.assertEqual(after("[S]\n;of S\nk1=1\n\n;of T\n;too\n[T]\n;in T\nk2=2\n"), ";of T\n;too\n[T]\n;in T\nk2=2\n")
        self.assertEqual(after("\ufeff[S]\n;of T\n[T]\n"), "\ufeff;of T\n[T]\n")
        self.assertEqual(after("[R]\n;of S\n[S]\n;of S\n\n[T]\n"), "[R]\n;of S\n[T]\n")
        self.assertEqual(after("[S]\n;of S\n[S]\nk1=1\n;of S\n"), "")
        self.assertEqual(after("[S]\n;of S\nk1=1\n[T]\n"), "[T]\n")


class Delete(ZtplistCase):
    def test_entries_and_elements(self):
        file = self.album()
        for path in "Title", "Tracks.0", "Tracks.0.Name":
            self.assertEqual(self.output_of("delete", path, file), "")
        left = {key: value for key, value in ALBUM.items() if key != "Title"}
        self.assertEqual(plistlib.loads(file.read_bytes()), {**left, "Tracks": [{}]})

    def test_nothing_there(self):
        file = self.album()
        before = file.read_bytes()
        for path in "Nowhere", "Tracks.2", "Year.deeper":
            self.run_expecting(NO, "delete", path, file)
        self.run_expecting(USAGE, "delete", "/", file)
        self.assertEqual(file.read_bytes(), before)


class Diff(ZtplistCase):
    def diff(self, before, after, *options):
        one = self.write("one", plistlib.dumps(before))
        other = self.write("other", plistlib.dumps(after, fmt=plistlib.FMT_BINARY))
        same = before == after
        return self.run_expecting(SUCCESS if same else NO, "diff", *options, one, other).stdout.decode()

    def test_equal_values_in_any_format_and_order(self):
        self.assertEqual(self.diff(ALBUM, dict(reversed(ALBUM.items()))), "")
        self.assertEqual(self.diff(ALBUM, ALBUM, "-q"), "")

    def test_differences_are_told_by_key_path(self):
        after = {**ALBUM, "Year": 1999, "Tracks": [{"Name": "Dom", "a.b": {"": 2}}, ALBUM["Tracks"][1]], "New": {"a": ["b"]}}
        del after["Live"]
        self.assertEqual(self.diff(ALBUM, after), """\
- Live: boolean true
- Tracks.0.a\\.b.: integer 1
+ Tracks.0.a\\.b.: integer 2
- Year: integer 1998
+ Year: integer 1999
+ New: dictionary, 1 entry
+   a: array, 1 element
+     0: string "b"
""")
        self.assertEqual(self.diff(ALBUM, after, "--quiet"), "")

    def test_kinds(self):
        self.assertEqual(self.diff({"a": True}, {"a": "1"}), '- a: boolean true\n+ a: string "1"\n')
        self.assertEqual(self.diff([1], {"a": 1}), '- /: array, 1 element\n-   0: integer 1\n+ /: dictionary, 1 entry\n+   a: integer 1\n')
        self.assertEqual(self.diff(b"abc", b"abd"), "- /: data 3 bytes 616263\n+ /: data 3 bytes 616264\n  (from byte 2 on)\n")

    def test_an_element_more_or_less_shows_as_one(self):
        self.assertEqual(self.diff(list(range(9)), [0, 1, "new", *range(2, 9)]), '+ 2: string "new"\n')
        self.assertEqual(self.diff(list(range(9)), list(range(1, 9))), "- 0: integer 0\n")
        self.assertEqual(self.diff([1, 1], [1, 1, 1]), "+ 2: integer 1\n")

    def test_long_paths_are_cut(self):
        def nested(keys, leaf):
            for key in reversed(keys):
                leaf = {key: leaf}
            return leaf
        def shown(keys):
            return self.diff(nested(keys, 1), nested(keys, 2)).splitlines()[0]
        self.assertEqual(shown(["ä." * 100]), "- " + "ä\\." * 100 + ": integer 1")
        self.assertEqual(shown(["k" * 201, "/"]), "- " + "k" * 200 + "…./: integer 1")
        self.assertEqual(shown(["/"]), "- \\/: integer 1")
        keys = [str(number) for number in range(100)]
        self.assertEqual(shown(keys[:32]), "- " + ".".join(keys[:32]) + ": integer 1")
        self.assertEqual(shown(keys[:33]), "- " + ".".join(keys[:16] + ["…"] + keys[17:33]) + ": integer 1")
        self.assertEqual(shown(keys), "- " + ".".join(keys[:16] + ["…"] + keys[84:]) + ": integer 1")

    def processor_time(self, before, after):
        files = [self.write(name, plistlib.dumps(value, fmt=plistlib.FMT_BINARY)) for name, value in [("one", before), ("other", after)]]
        run = subprocess.Popen([PROGRAM, "diff", *files], stdout=subprocess.DEVNULL)
        _, status, usage = os.wait4(run.pid, 0)
        run.returncode = os.waitstatus_to_exitcode(status)
        self.assertEqual(run.returncode, NO)
        return usage.ru_utime + usage.ru_stime

    def test_a_difference_far_below_is_searched_for_once(self):
        def nested(leaf):
            for _ in range(500):
                leaf = [leaf]
            return leaf
        same = [{"k": index} for index in range(20_000)]
        flat = self.processor_time([*same, 1], [*same, 2])
        self.assertLess(self.processor_time(nested([*same, 1]), nested([*same, 2])), 5 * flat)

    def test_standard_input_on_one_side(self):
        file = self.album()
        self.run_expecting(SUCCESS, "diff", "-", file, stdin=file.read_bytes())
        self.run_expecting(USAGE, "diff", "-", "-")

    def test_trouble_is_not_a_difference(self):
        file = self.album()
        self.run_expecting(INVALID, "diff", file, self.write("broken", "{"))
        self.run_expecting(INPUT_OUTPUT, "diff", file, self.folder / "absent")


class Streams(ZtplistCase):
    def test_files_that_cannot_be_read(self):
        for file in self.folder, self.folder / "absent", self.write("file", "x") / "below":
            done = self.run_expecting(INPUT_OUTPUT, "print", file)
            self.assertIn(str(file).encode(), done.stderr)

    def test_a_file_that_may_not_grow_further(self):
        file = self.album(value=["x" * 1000])
        before = file.read_bytes()
        done = self.with_limit(resource.RLIMIT_FSIZE, 500, "convert", "binary1", "-i", file)
        self.assertEqual((done.returncode, done.stderr.decode()), (INPUT_OUTPUT, f"ztplist: {file}: File too large\n"))
        self.assertEqual((file.read_bytes(), self.litter()), (before, []))

    def test_a_file_that_is_too_large_does_not_hide_the_others(self):
        good, large = self.write("good", "{ a = b; }"), self.write("large", "")
        os.truncate(large, (1 << 32) - 1)
        done = self.with_limit(resource.RLIMIT_AS, 1 << 30, "print", good, large, good)
        self.assertEqual((done.returncode, done.stderr.decode()), (INPUT_OUTPUT, f"ztplist: {large}: out of memory\n"))
        self.assertEqual(done.stdout.count(b'string "b"'), 2)

    def test_output_to_what_is_no_file_is_written_there(self):
        file = self.album()
        expected = ztplist("convert", "binary1", file).stdout
        pipe = self.folder / "pipe"
        os.mkfifo(pipe)
        for target in "/dev/stdout", "/dev/fd/1", "/proc/self/fd/1":
            self.assertEqual(self.run_expecting(SUCCESS, "convert", "binary1", "-o", target, file).stdout, expected)
        with subprocess.Popen(["cat", pipe], stdout=subprocess.PIPE) as reader:
            self.run_expecting(SUCCESS, "convert", "binary1", "-o", pipe, file)
            self.assertEqual(reader.stdout.read(), expected)
        self.run_expecting(SUCCESS, "convert", "binary1", "-o", "/dev/null", file)
        out, into = os.pipe()
        self.run_expecting(SUCCESS, "convert", "binary1", "-o", f"/dev/fd/{into}", file, pass_fds=[into])
        self.assertEqual(os.read(out, len(expected) + 1), expected)
        os.close(out)
        os.close(into)

    def test_the_file_of_standard_output_is_not_replaced(self):
        file, target = self.album(), self.write("out", "")
        with open(target, "wb") as out:
            out.write(b"before ")
            out.flush()
            self.assertEqual(subprocess.run([PROGRAM, "convert", "xml1", "-o", "/dev/stdout", file], stdout=out).returncode, SUCCESS)
            out.write(b"after")
        shown = ztplist("convert", "xml1", file).stdout
        # The offset belongs to both processes.
        self.assertEqual(target.read_bytes(), b"before " + shown + b"after")

    def test_reasons_are_those_of_the_system(self):
        file = self.album()
        for target, reason in [(self.folder, "Is a directory"), (self.folder / "absent/out", "No such file or directory"),
                               ("/dev/full", "No space left on device"), (file / "below", "Not a directory")]:
            done = self.run_expecting(INPUT_OUTPUT, "convert", "binary1", "-o", target, file)
            self.assertEqual(done.stderr.decode(), f"ztplist: {target}: {reason}\n")

    def test_a_locked_file_is_not_permitted_to_change(self):
        file = self.album()
        try:
            os.setxattr(file, "user.ZtFoundation.locked", b"1")
        except OSError as error:
            self.skipTest(f"no extended attributes here: {error}")
        done = self.run_expecting(INPUT_OUTPUT, "set", "Year", "integer", "1", file)
        self.assertEqual(done.stderr.decode(), f"ztplist: {file}: Operation not permitted\n")

    def test_what_is_no_file_is_not_written_back_to(self):
        data = plistlib.dumps({})
        for arguments in [("set", "a", "integer", "1"), ("delete", "a"), ("convert", "xml1", "-i")]:
            done = self.run_expecting(INPUT_OUTPUT, *arguments, "/dev/stdin", stdin=data)
            self.assertIn(b"no regular file", done.stderr)

    def test_edits_of_one_file_take_turns(self):
        file = self.album(value={})
        folder = os.open(self.folder, os.O_RDONLY)
        self.addCleanup(os.close, folder)
        for arguments in [("set", "b", "integer", "2"), ("delete", "c"), ("convert", "binary1", "-i")]:
            fcntl.flock(folder, fcntl.LOCK_EX)
            run = subprocess.Popen([PROGRAM, *arguments, file])
            with self.assertRaises(subprocess.TimeoutExpired):
                run.wait(0.05)
            file.write_bytes(plistlib.dumps({"a": 1, "c": 3}))
            fcntl.flock(folder, fcntl.LOCK_UN)
            self.assertEqual(run.wait(60), SUCCESS)
            self.assertEqual(plistlib.loads(file.read_bytes())["a"], 1)

    def test_an_edit_that_goes_elsewhere_waits_for_nobody(self):
        file = self.album()
        folder = os.open(self.folder, os.O_RDONLY)
        self.addCleanup(os.close, folder)
        fcntl.flock(folder, fcntl.LOCK_EX)
        self.run_expecting(SUCCESS, "set", "Year", "integer", "1", "-o", self.folder / "other", file)
        self.run_expecting(SUCCESS, "get", "Year", file)

    def test_names_that_are_not_utf8(self):
        name = os.fsencode(self.folder) + b"/\xff\xfe.plist"
        pathlib.Path(os.fsdecode(name)).write_bytes(plistlib.dumps({}))
        self.assertEqual(subprocess.run([PROGRAM, "set", "a", "integer", "1", name]).returncode, SUCCESS)
        self.assertEqual(subprocess.check_output([PROGRAM, "get", "a", name]), b"1\n")

    def test_a_full_device(self):
        with open("/dev/full", "wb") as full:
            done = subprocess.run([PROGRAM, "print", self.album()], stdout=full, stderr=subprocess.PIPE)
        self.assertEqual((done.returncode, done.stderr), (INPUT_OUTPUT, b"ztplist: standard output: No space left on device\n"))

    def test_a_reader_that_goes_away(self):
        data = plistlib.dumps([str(number) for number in range(200_000)])
        run = subprocess.Popen([PROGRAM, "print", self.write("big", data)], stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        run.stdout.read(10)
        run.stdout.close()
        self.assertEqual(run.wait(60), INPUT_OUTPUT)
        self.assertEqual(run.stderr.read(), b"ztplist: standard output: Broken pipe\n")
        run.stderr.close()

    def test_closed_streams(self):
        def with_closed(streams, *arguments):
            line = " ".join(["exec", '"$@"', *streams])
            return subprocess.run(["sh", "-c", line, "sh", PROGRAM, *map(str, arguments)], stderr=subprocess.PIPE).returncode
        file = self.album()
        self.assertEqual(with_closed([">&-"], "print", file), INPUT_OUTPUT)
        self.assertEqual(with_closed(["<&-"], "print"), INPUT_OUTPUT)
        self.assertEqual(with_closed(["<&-", ">&-", "2>&-"], "set", "Year", "integer", "7", file), SUCCESS)
        self.assertEqual(plistlib.loads(file.read_bytes()), {**ALBUM, "Year": 7})

    def on_terminal(self, *arguments):
        controller, terminal = pty.openpty()
        try:
            run = subprocess.Popen([PROGRAM, *map(str, arguments)], stdout=terminal, stderr=subprocess.PIPE)
            os.close(terminal)
            shown = os.read(controller, 100)
        except OSError:
            shown = b""
        finally:
            os.close(controller)
        run.communicate()
        return run.returncode, shown

    def test_binary_is_kept_from_terminals(self):
        file = self.album()
        self.assertEqual(self.on_terminal("convert", "binary1", file), (USAGE, b""))
        code, shown = self.on_terminal("convert", "binary1", "-f", self.album(value="a"))
        self.assertEqual((code, shown[:8]), (SUCCESS, b"bplist00"))
        code, shown = self.on_terminal("convert", "xml1", file)
        self.assertEqual((code, shown[:5]), (SUCCESS, b"<?xml"))

    def test_messages_do_not_drive_the_terminal(self):
        done = self.run_expecting(INPUT_OUTPUT, "print", self.folder / "\x1b[31m")
        self.assertIn(b"\\x1b[31m", done.stderr)
        self.assertNotIn(b"\x1b", done.stderr)

    def test_ini_files_of_many_lines_take_little_memory(self):
        lines = self.write("lines", b"[S]\nabc=1\n" + b"\n" * 2_000_000)
        for arguments in [("lint",), ("set", "S.abc", "string", "2", "-o", "-"), ("delete", "S", "-o", "-")]:
            done = self.with_limit(resource.RLIMIT_AS, 100 << 20, *arguments, "--format", "ini", lines)
            self.assertEqual((done.returncode, done.stderr), (SUCCESS, b""), arguments)

    def test_names_forge_no_lines_and_drive_no_terminal(self):
        name = os.fsencode(self.folder) + b"/\x1b]0;\n\xc2\x9bm\xff\xc3\xa4\xe2\x82\xac\xf0\x9f\x91\x8b\xe2\x82"
        shown = os.fsencode(self.folder) + rb"/\x1b]0;\x0a\xc2\x9bm\xff" + "ä€👋".encode() + rb"\xe2\x82"
        pathlib.Path(os.fsdecode(name)).write_bytes(b"{}")
        self.assertEqual(subprocess.check_output([PROGRAM, "lint", name]), shown + b": sound, openstep\n")
        self.assertEqual(subprocess.check_output([PROGRAM, "print", name, name]),
                         2 * (shown + b" (openstep):\ndictionary, 0 entries\n"))
        done = subprocess.run([PROGRAM, "get", "a", name], capture_output=True)
        self.assertEqual(done.stderr, b"ztplist: " + shown + b": nothing at a\n")
        done = ztplist("lint", "--format", "ini", stdin="[\u009b]\n[\u009b]\n")
        self.assertIn(rb"the section \xc2\x9b again", done.stderr)

    def test_values_do_not_drive_the_terminal(self):
        file = self.album(plistlib.FMT_BINARY, "a\n\tb\\\x1b\x9b")
        self.assertEqual(ztplist("get", "/", file).stdout, b"a\n\tb\\\x1b\xc2\x9b\n")
        self.assertEqual(self.on_terminal("get", "/", file), (SUCCESS, b"a\r\n\tb\\\\x1b\\xc2\\x9b\r\n"))


class Usage(ZtplistCase):
    COMMANDS = ["print", "lint", "convert", "get", "set", "delete", "diff"]

    def test_help(self):
        general = self.output_of("--help")
        self.assertEqual(general, self.output_of("help"))
        for command in self.COMMANDS:
            self.assertIn(f"\n  {command} ", general)
            text = self.output_of("help", command)
            self.assertTrue(text.startswith(f"usage: ztplist {command} "))
            self.assertEqual(text, self.output_of(command, "--help"))
        for line in general.splitlines():
            self.assertLessEqual(len(line), 120)

    def test_wrong_usage(self):
        for arguments in [(), ("fly",), ("help", "fly"), ("get",), ("get", "a", "b", "c"), ("set", "a", "string"), ("diff", "a"),
                          ("convert",), ("print", "-x"), ("print", "--fly"), ("print", "--format"), ("print", "--format", "yaml"),
                          ("print", "-F"), ("get", "a", "--to", "openstep")]:
            self.run_expecting(USAGE, *arguments)

    def test_options_with_empty_values_do_not_count_as_left_out(self):
        file = self.album()
        before = file.read_bytes()
        for option in [("-o", ""), ("--output", ""), ("--output=",)]:
            self.run_expecting(USAGE, "set", "Year", "integer", "1", *option, file)
            self.run_expecting(USAGE, "delete", "Year", *option, file)
            self.run_expecting(USAGE, "convert", "xml1", *option, file)
            self.run_expecting(USAGE, "convert", "xml1", "-i", *option, file)
        self.assertEqual(file.read_bytes(), before)

    def test_options_in_one_word(self):
        target = self.folder / "out"
        self.run_expecting(SUCCESS, "convert", "binary1", f"-fo{target}", self.album())
        self.assertEqual(plistlib.loads(target.read_bytes()), ALBUM)


if __name__ == "__main__":
    unittest.main()
