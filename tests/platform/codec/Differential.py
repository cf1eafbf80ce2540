#!/usr/bin/env python3
"""Compares the readers and writers of XML and binary property lists with two others: Python's plistlib, and libplist where
it is installed. Random values go from each writer to each reader; what comes out must be what went in.

ZT_DIFFERENTIAL_SEED repeats a run, ZT_DIFFERENTIAL_ROUNDS makes it longer.

Differences that are meant, and what is kept out of the values so that only others show:
- plistlib and libplist turn a carriage return into a line feed when they write XML, and read one so unless written as a
  character reference. Ours is written as one and survives, so such text is compared only where ours writes.
- XML dates are to the second, by all; fractions go through binary only.
- libplist writes years before 1000 with fewer than four digits, which is no date for us, so it gets later ones.
- plistlib knows dates of the years 1 to 9999 only, so no others are made.
- A UID of a binary file is a dictionary with the one key "CF$UID" for us; plistlib has a type of its own.
"""
import ctypes
import ctypes.util
import datetime
import math
import os
import pathlib
import plistlib
import random
import subprocess
import sys
import unittest

PROGRAM = str(pathlib.Path(os.environ["ZT_BUILD_DIR"]) / "bin/ztplist")
SEED = int(os.environ.get("ZT_DIFFERENTIAL_SEED", random.SystemRandom().randrange(2**32)))
ROUNDS = int(os.environ.get("ZT_DIFFERENTIAL_ROUNDS", 8))
FORMATS = {"xml1": plistlib.FMT_XML, "binary1": plistlib.FMT_BINARY}

INTEGERS = [0, 1, -1, 127, 128, 255, 256, -128, -129, 65535, 65536, 2**31 - 1, 2**31, -(2**31), 2**32, 2**53 + 1, 2**63 - 1,
            -(2**63), 2**63, 2**64 - 1]
REALS = [0.0, -0.0, 0.1, 1.0, -1.5, 1 / 3, 5e-324, 2.2250738585072014e-308, 1.7976931348623157e308, 8263.0072447640268, 1e22,
         1e21, 123456789.123456789, math.inf, -math.inf, math.nan]
TEXTS = ["", " ", "  a  ", "\t", "a\nb", "<tag> & \"quotes\" 'too' ]]>", "é", "\x7f\x80\xff", "日本語", "😀👨‍👩‍👧", "\ufffd", "\ufeffmark",
         "true", "x" * 14, "x" * 15, "x" * 16, "ü" * 15, "Ā" * 300, "e\u0301 vs \u00e9", "<!-- no comment -->", "&amp;"]


class Maker:
    """Makes random values. `is_exact` allows what only binary carries: fractions of seconds, control characters."""

    def __init__(self, generator, is_exact):
        self.random, self.is_exact = generator, is_exact
        self.shared = []

    def integer(self):
        if self.random.random() < 0.3:
            return self.random.choice(INTEGERS)
        return self.random.choice([1, -1]) * self.random.getrandbits(self.random.choice([3, 8, 16, 32, 63]))

    def real(self):
        if self.random.random() < 0.3:
            return self.random.choice(REALS)
        return self.random.uniform(-1, 1) * 10 ** self.random.randint(-300, 300)

    def text(self):
        if self.random.random() < 0.4:
            return self.random.choice(TEXTS)
        ranges = [(0x20, 0x7e), (0xa0, 0xff), (0x100, 0xd7ff), (0xe000, 0xfffd), (0x10000, 0x10ffff)]
        if self.is_exact:
            ranges.append((0, 0x1f))
        low, high = self.random.choice(ranges)
        return "".join(chr(self.random.randint(low, high)) for _ in range(self.random.choice([1, 5, 14, 15, 40, 300])))

    def date(self):
        moment = datetime.datetime(1, 1, 1) + datetime.timedelta(seconds=self.random.randrange(315_537_897_599))
        return moment.replace(microsecond=self.random.choice([0, 500_000, 250_000])) if self.is_exact else moment

    def data(self):
        return self.random.randbytes(self.random.choice([0, 1, 2, 3, 14, 15, 51, 52, 300]))

    def scalar(self):
        return self.random.choice([self.integer, self.real, self.text, self.date, self.data, lambda: self.random.random() < 0.5])()

    def value(self, depth):
        if self.shared and self.random.random() < 0.1:
            return self.random.choice(self.shared)
        if depth == 0 or self.random.random() < 0.3:
            made = self.scalar()
        elif self.random.random() < 0.5:
            made = [self.value(depth - 1) for _ in range(self.random.choice([0, 1, 3, 14, 15, 20]))]
        else:
            made = {self.text(): self.value(depth - 1) for _ in range(self.random.choice([0, 1, 3, 14, 15, 20]))}
        self.shared.append(made)
        return made


def same(one, other):
    """Equality that knows booleans from numbers and takes a NaN for itself."""
    if type(one) is not type(other):
        return False
    if isinstance(one, dict):
        return one.keys() == other.keys() and all(same(value, other[key]) for key, value in one.items())
    if isinstance(one, list):
        return len(one) == len(other) and all(map(same, one, other))
    if isinstance(one, float) and math.isnan(one):
        return math.isnan(other)
    return one == other


def as_dictionaries(value):
    """The value with each UID as we show it."""
    if isinstance(value, plistlib.UID):
        return {"CF$UID": value.data}
    if isinstance(value, dict):
        return {key: as_dictionaries(inner) for key, inner in value.items()}
    return list(map(as_dictionaries, value)) if isinstance(value, list) else value


def convert(data, name):
    done = subprocess.run([PROGRAM, "convert", name], input=data, capture_output=True, timeout=120)
    assert done.returncode == 0, (done.stderr, data[:200])
    return done.stdout


class Differential(unittest.TestCase):
    place = "no random value"

    def values(self, is_exact):
        for round_number in range(ROUNDS):
            generator = random.Random(f"{SEED} {round_number} {is_exact}")
            self.place = f"seed {SEED}, round {round_number}"
            yield Maker(generator, is_exact).value(4 if round_number % 4 else 0)

    def check(self, value, ours, fmt):
        self.assertTrue(same(plistlib.loads(ours, fmt=fmt), value), f"the values differ ({self.place})")


class AgainstPlistlib(Differential):
    def test_what_plistlib_writes_in_all_formats_to_all_formats(self):
        for value in self.values(is_exact=False):
            for source in FORMATS.values():
                theirs = plistlib.dumps(value, fmt=source, sort_keys=False)
                for name, fmt in FORMATS.items():
                    self.check(value, convert(theirs, name), fmt)

    def test_binary_carries_everything(self):
        for value in self.values(is_exact=True):
            ours = convert(plistlib.dumps(value, fmt=plistlib.FMT_BINARY, sort_keys=False), "binary1")
            self.check(value, ours, plistlib.FMT_BINARY)

    def test_keys_keep_their_order(self):
        for value in self.values(is_exact=False):
            theirs = plistlib.dumps(value, sort_keys=False)
            for name, fmt in FORMATS.items():
                self.assertEqual(repr(plistlib.loads(convert(theirs, name), fmt=fmt)), repr(plistlib.loads(theirs)))

    def test_each_special_value(self):
        value = {"integers": INTEGERS, "reals": REALS, "texts": TEXTS, "keys": {text: text for text in TEXTS}, "booleans": [True, False],
                 "dates": [datetime.datetime(1, 1, 1), datetime.datetime(1600, 2, 29), datetime.datetime(1969, 12, 31, 23, 59, 59),
                           datetime.datetime(2038, 1, 19, 3, 14, 8), datetime.datetime(9999, 12, 31, 23, 59, 59)],
                 "data": [bytes(range(length)) for length in range(60)]}
        for source in FORMATS.values():
            for name, fmt in FORMATS.items():
                self.check(value, convert(plistlib.dumps(value, fmt=source), name), fmt)

    def test_reals_keep_each_bit_and_integers_stay_integers(self):
        for value in REALS:
            for name, fmt in FORMATS.items():
                back = plistlib.loads(convert(plistlib.dumps([value], fmt=plistlib.FMT_BINARY), name), fmt=fmt)
                self.assertEqual(repr(back), repr([value]))

    def test_carriage_returns_survive_what_we_write(self):
        data = plistlib.dumps(["\r", "a\r\nb"], fmt=plistlib.FMT_BINARY)
        self.assertEqual(plistlib.loads(convert(data, "xml1")), ["\r", "a\r\nb"])
        self.assertEqual(plistlib.loads(convert(convert(data, "xml1"), "binary1")), ["\r", "a\r\nb"])

    def test_uids(self):
        value = {"root": plistlib.UID(1), "many": [plistlib.UID(number) for number in [0, 255, 256, 2**32 - 1]]}
        data = plistlib.dumps(value, fmt=plistlib.FMT_BINARY)
        self.check(as_dictionaries(value), convert(data, "xml1"), plistlib.FMT_XML)
        self.check(value, convert(data, "binary1"), plistlib.FMT_BINARY)
        self.check(value, convert(convert(data, "xml1"), "binary1"), plistlib.FMT_BINARY)

    def test_many_objects_need_wide_references(self):
        for count in 300, 70_000:
            value = [str(number) for number in range(count)]
            for name, fmt in FORMATS.items():
                self.check(value, convert(plistlib.dumps(value, fmt=plistlib.FMT_BINARY), name), fmt)


class Libplist:
    """The few functions of libplist that convert between the formats in memory."""

    def __init__(self, library):
        self.library = library
        for name in ["plist_from_xml", "plist_from_bin"]:
            getattr(library, name).argtypes = [ctypes.c_char_p, ctypes.c_uint32, ctypes.POINTER(ctypes.c_void_p)]
        for name in ["plist_to_xml", "plist_to_bin"]:
            getattr(library, name).argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_void_p), ctypes.POINTER(ctypes.c_uint32)]
        library.plist_free.argtypes = [ctypes.c_void_p]
        self.release = library.plist_mem_free if hasattr(library, "plist_mem_free") else library.plist_to_xml_free
        self.release.argtypes = [ctypes.c_void_p]
        self.release.restype = None

    @classmethod
    def load(cls):
        for name in ["libplist-2.0.so.4", "libplist-2.0.so.3"]:
            try:
                return cls(ctypes.CDLL(name))
            except OSError:
                continue
        return None

    def convert(self, data, name):
        read = self.library.plist_from_bin if data.startswith(b"bplist") else self.library.plist_from_xml
        write = self.library.plist_to_xml if name == "xml1" else self.library.plist_to_bin
        node, text, length = ctypes.c_void_p(), ctypes.c_void_p(), ctypes.c_uint32()
        read(data, len(data), ctypes.byref(node))
        assert node.value, data[:200]
        try:
            write(node, ctypes.byref(text), ctypes.byref(length))
            return ctypes.string_at(text, length.value)
        finally:
            self.release(text)
            self.library.plist_free(node)


LIBPLIST = Libplist.load()


def without_early_years(value):
    if isinstance(value, dict):
        return {key: without_early_years(inner) for key, inner in value.items()}
    if isinstance(value, list):
        return list(map(without_early_years, value))
    return value.replace(year=1000 + value.year) if isinstance(value, datetime.datetime) and value.year < 1000 else value


@unittest.skipIf(LIBPLIST is None, "libplist is not installed")
class AgainstLibplist(Differential):
    def test_what_libplist_writes(self):
        for value in map(without_early_years, self.values(is_exact=False)):
            for source in FORMATS:
                theirs = LIBPLIST.convert(plistlib.dumps(value, fmt=plistlib.FMT_BINARY), source)
                for name, fmt in FORMATS.items():
                    self.check(value, convert(theirs, name), fmt)

    def test_what_libplist_reads(self):
        for value in self.values(is_exact=False):
            for name in FORMATS:
                ours = convert(plistlib.dumps(value, fmt=plistlib.FMT_BINARY), name)
                self.check(value, LIBPLIST.convert(ours, "binary1"), plistlib.FMT_BINARY)


if __name__ == "__main__":
    print(f"seed {SEED}, {ROUNDS} rounds; libplist {'is' if LIBPLIST else 'is not'} there", file=sys.stderr)
    unittest.main()
