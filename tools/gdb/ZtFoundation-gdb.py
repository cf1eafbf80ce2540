"""Pretty-printers: gdb shows the library's values as what they hold.

gdb loads this file by itself where it lies beside the library or under its auto-load folder; else "source" it. It reads
the objects from memory and needs no debug information of the library, only that of the program.

    (gdb) print settings
    $1 = NSMutableDictionary of 2 = {["Name"] = "Alice", ["Sizes"] = NSArray of 2 = {800, 600}}
    (gdb) print settings->lookUp("Color")
    $2 = none
"""
import re
import struct

import gdb
import gdb.printing

REF = re.compile(r"^ZtFoundation::Ref<.*>$")
VALUES = re.compile(r"^ZtFoundation::NS(Object|Collection|(Mutable)?(String|Data|Array|Dictionary|Set)|Number|Date|URL)$")

SHOWN_BYTES = 32
SECONDS_FROM_1970 = 978307200


class Memory:
    """Reads the fields of an object one after the other, where the compiler put them."""

    def __init__(self, address):
        self.at = int(address)
        self.word = gdb.lookup_type("void").pointer().sizeof
        wide = gdb.selected_inferior().architecture().integer_type(64)
        self.wide_alignment = wide.alignof

    def read(self, size, alignment=None):
        alignment = alignment or size
        self.at += -self.at % alignment
        field = bytes(gdb.selected_inferior().read_memory(self.at, size))
        self.at += size
        return field

    def number(self, size, alignment=None):
        return int.from_bytes(self.read(size, alignment), byte_order())

    def pointer(self):
        return self.number(self.word)

    def wide_field(self):
        return self.read(8, self.wide_alignment)


def byte_order():
    return "big" if "big" in gdb.execute("show endian", to_string=True) else "little"


def unpacked(code, field):
    return struct.unpack((">" if byte_order() == "big" else "<") + code, field)[0]


class Object:
    """What every object begins with; `fields` reads on from there."""

    OTHER, STRING, NUMBER, DATE, DATA, URL, ARRAY, DICTIONARY, SET = range(9)

    def __init__(self, address):
        self.address = int(address)
        self.fields = Memory(address)
        self.methods = self.fields.pointer()
        self.fields.number(4)  # owners
        self.kind = self.fields.number(1)
        self.flags = self.fields.number(1)

    @property
    def is_mutable(self):
        return self.flags & 1 != 0

    def class_name(self):
        """The class by the symbol of its virtual table, which even a stripped library has."""
        symbol = gdb.execute(f"info symbol {self.methods}", to_string=True)
        match = re.match(r"vtable for (?:ZtFoundation::)?(.+?) (?:\+|in section)", symbol)
        return match[1] if match else "object"


class NonePrinter:
    def to_string(self):
        return "none"


class OtherPrinter:
    def __init__(self, one):
        self.one = one

    def to_string(self):
        return f"<{self.one.class_name()}: {self.one.address:#x}>"


class StringPrinter:
    WIDE = 2

    def __init__(self, one):
        self.units = one.fields.pointer()
        self.length = one.fields.pointer()
        self.is_wide = one.flags & self.WIDE != 0

    def to_string(self):
        limit = gdb.parameter("print elements") or self.length
        shown = min(self.length, limit)
        size = 2 if self.is_wide else 1
        bytes_ = bytes(gdb.selected_inferior().read_memory(self.units, shown * size)) if shown else b""
        text = bytes_.decode(self.encoding(), "surrogatepass") if self.is_wide else bytes_.decode("latin-1")
        return '"' + "".join(map(escaped, text)) + '"' + ("..." if shown < self.length else "")

    @staticmethod
    def encoding():
        return "utf-16-be" if byte_order() == "big" else "utf-16-le"


def escaped(character):
    """As C++ would have it in a literal; unpaired surrogates, which no literal can have, likewise."""
    known = {'"': '\\"', "\\": "\\\\", "\n": "\\n", "\r": "\\r", "\t": "\\t"}
    if character in known:
        return known[character]
    if character.isprintable() and can_be_printed(character):
        return character
    return f"\\u{ord(character):04x}" if ord(character) < 0x10000 else f"\\U{ord(character):08x}"


def can_be_printed(character):
    try:
        character.encode(gdb.host_charset())
        return True
    except (LookupError, UnicodeEncodeError):
        return False


class NumberPrinter:
    def __init__(self, one):
        self.type = one.flags >> 1
        self.bits = one.fields.wide_field()

    def to_string(self):
        if self.type == 0:
            return "false" if unpacked("Q", self.bits) == 0 else "true"
        return repr(unpacked({1: "q", 2: "Q"}.get(self.type, "d"), self.bits))


class DatePrinter:
    def __init__(self, one):
        self.seconds = unpacked("d", one.fields.wide_field())

    def to_string(self):
        import datetime

        start = datetime.datetime(2001, 1, 1)
        try:
            return (start + datetime.timedelta(seconds=self.seconds)).isoformat(sep=" ") + " UTC"
        except (OverflowError, ValueError):
            return f"{self.seconds!r} seconds from 2001-01-01 00:00:00 UTC"


class DataPrinter:
    def __init__(self, one):
        self.bytes = one.fields.pointer()
        self.length = one.fields.pointer()

    def to_string(self):
        shown = min(self.length, SHOWN_BYTES)
        bytes_ = bytes(gdb.selected_inferior().read_memory(self.bytes, shown)) if shown else b""
        return f"<{bytes_.hex(' ')}{' ...' if shown < self.length else ''}> of {self.length} bytes"


class ArrayPrinter:
    def __init__(self, one, element):
        one.fields.pointer()  # the next dead collection
        self.items = one.fields.pointer()
        self.count = one.fields.pointer()
        self.is_mutable, self.element, self.word = one.is_mutable, element, one.fields.word

    def to_string(self):
        return f"NS{'Mutable' if self.is_mutable else ''}Array of {self.count}"

    def children(self):
        for index in range(self.count):
            yield f"[{index}]", pointer_at(self.items + index * self.word, self.element)

    def display_hint(self):
        return "array"


class Entries:
    """The living entries of a dictionary, in order."""

    def __init__(self, one):
        one.fields.pointer()  # the next dead collection
        self.at, self.word = one.fields.pointer(), one.fields.word
        one.fields.pointer()  # hashes
        one.fields.pointer()  # index
        self.count = one.fields.pointer()
        self.used = one.fields.number(4)

    def __iter__(self):
        for slot in range(self.used):
            key = self.at + slot * 2 * self.word
            if Memory(key).pointer() != 0:
                yield key, key + self.word


class DictionaryPrinter:
    def __init__(self, one, element):
        self.entries = Entries(one)
        self.is_mutable, self.element = one.is_mutable, element

    def to_string(self):
        return f"NS{'Mutable' if self.is_mutable else ''}Dictionary of {self.entries.count}"

    def children(self):
        for number, (key, value) in enumerate(self.entries):
            yield f"key {number}", pointer_at(key, self.element)
            yield f"value {number}", pointer_at(value, self.element)

    def display_hint(self):
        return "map"


class SetPrinter:
    def __init__(self, one, element):
        one.fields.pointer()  # the next dead collection
        self.members = Entries(Object(one.fields.pointer()))
        self.is_mutable, self.element = one.is_mutable, element

    def to_string(self):
        return f"NS{'Mutable' if self.is_mutable else ''}Set of {self.members.count}"

    def children(self):
        for number, (member, _) in enumerate(self.members):
            yield f"[{number}]", pointer_at(member, self.element)

    def display_hint(self):
        return "array"


def pointer_at(address, element):
    return gdb.Value(Memory(address).pointer()).cast(element)


def element_type(known):
    """A pointer to any object; where the program knows no such type, to the class that it does know."""
    try:
        return gdb.lookup_type("ZtFoundation::NSObject").pointer()
    except gdb.error:
        return known.pointer()


def printer_of_object(address, type_):
    if int(address) == 0:
        return NonePrinter()
    one = Object(address)
    if one.kind == Object.URL:
        return StringPrinter(Object(one.fields.pointer()))
    scalars = {Object.STRING: StringPrinter, Object.NUMBER: NumberPrinter, Object.DATE: DatePrinter,
               Object.DATA: DataPrinter}
    if one.kind in scalars:
        return scalars[one.kind](one)
    collections = {Object.ARRAY: ArrayPrinter, Object.DICTIONARY: DictionaryPrinter, Object.SET: SetPrinter}
    if one.kind in collections:
        return collections[one.kind](one, element_type(type_))
    return OtherPrinter(one)


class Printers(gdb.printing.PrettyPrinter):
    """Chooses by type: a Ref, a value, or a pointer or reference to a value."""

    def __init__(self):
        super().__init__("ZtFoundation")

    def __call__(self, value):
        try:
            return self.choose(value)
        except (gdb.MemoryError, gdb.error):
            return None  # not initialised yet, or gone: gdb shows it as it is

    def choose(self, value):
        type_ = value.type.strip_typedefs()
        if type_.code == gdb.TYPE_CODE_PTR:
            target = type_.target().strip_typedefs().unqualified()
            return printer_of_object(value, target) if VALUES.match(target.tag or "") else None
        if type_.code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
            return self.choose(value.referenced_value())
        tag = type_.unqualified().tag or ""
        if REF.match(tag):
            return printer_of_object(value["object_"], type_.template_argument(0))
        if VALUES.match(tag) and value.address is not None:
            return printer_of_object(value.address, type_.unqualified())
        return None


gdb.printing.register_pretty_printer(gdb.current_objfile(), Printers(), replace=True)
