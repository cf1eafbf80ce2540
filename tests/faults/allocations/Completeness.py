#!/usr/bin/env python3
"""Whether each operation that the library exports has a case with failing allocations.

The cases are the lines `each("Class::operation (variant)", ...)` of AllocationFailure*Tests.cpp; each must really call what its name says.
"""
import os
import pathlib
import re
import sys

HERE = pathlib.Path(__file__).resolve().parent
ROOT = pathlib.Path(os.environ.get("ZT_SOURCE_DIR", HERE.parents[2]))

# What needs no case, with the reason.
EXEMPT = {
    r"detail::.*": "called by templates of the headers; those that hosts reach have cases all the same",
    r".*::~\w+": "destructors allocate nothing, or what they do is tried with whatever ends an object's life",
    r"NSFile(?!Manager)\w+": "names of attributes, constants",
    r"Qv(RootDirectoryPath|VolumesDirectoryPath|PropertyListDidSaveValuesNotification)": "constants",
    r"kNaturalComparisonUCCollateOptions": "a constant",
    r"QvCompare\w+|ZtRectFromPoints": "compare and compute machine numbers",
    r"NSObject::destroy": "the end of an object's life",
}

CASE = re.compile(r'\beach\(\s*(?:std::string\()?"([^"]+)"|forEachFailingAllocation<[^>]+>\(\s*"([^"]+)"')
PRIVATE = re.compile(r"^\s*(?:private|protected):")
PUBLIC = re.compile(r"^\s*public:")


def exported_operations():
    """The names without parameters, of functions and constants."""
    names = set()
    for line in (ROOT / "tests/install/exported-symbols.txt").read_text().splitlines():
        if line.startswith("typeinfo"):
            continue
        line = line.replace("ZtFoundation::", "").replace("(anonymous namespace)::", "")
        names.add(re.sub(r"\[abi:\w+\]", "", line.split("(")[0]).strip())
    return names


def hidden_members():
    """Members that the headers declare behind `private:` or `protected:`, as Class::member."""
    hidden = set()
    for header in (ROOT / "include").rglob("*.h"):
        owner, is_hidden = None, False
        for line in header.read_text().splitlines():
            start = re.match(r"class (?:ZT_EXPORT )?(\w+)[^;]*\{", line)
            if start:
                owner, is_hidden = start.group(1), True
            elif line.startswith("};"):
                owner = None
            elif owner and PUBLIC.match(line):
                is_hidden = False
            elif owner and PRIVATE.match(line):
                is_hidden = True
            elif owner:
                for name in re.findall(r"([A-Za-z_]\w*)\(", line.split("//")[0]):
                    (hidden.add if is_hidden else hidden.discard)(f"{owner}::{name}")
    return hidden


def cases():
    """Each case as its name and its text."""
    for source in sorted(HERE.glob("AllocationFailure*Tests.cpp")):
        text = source.read_text()
        found = list(CASE.finditer(text))
        for case, following in zip(found, found[1:] + [None]):
            yield case.group(1) or case.group(2), text[case.end() : following.start() if following else len(text)]


def does_what_it_says(operation, text):
    *owner, last = operation.split("::")
    if owner and owner[-1] == last:
        return last in text
    return re.search(rf"\b{re.escape(last)}\b", text) or last in SHOWN_BY and re.search(SHOWN_BY[last], text)


# Operations that are not called by their names.
SHOWN_BY = {
    "operator<<": "<<",
    "classObject": "classObject",
    "newString": "Ref<NSString>",
    "newStringObject": "Ref<NSObject>",
    "newNumber": "Ref<NSObject>",
    "decodePascalString": "stringWithPascalString",
    "decodeSJIS": "stringWithSJISDataBytes_length",
    "throwMessageToNone": r"Ref<NSString>\(\)->",
    "bindSlowly": r"send\b|send<|->bind\(",
    "initialiseAsXML": "initWithPath",
    "initialiseInFormat": "initWithPath_format",
    "requireSameEncoding": "send<",
    "raiseWrongObject": "send<",
    "propertyListFromData_mutabilityOption_format_errorDescription": r"\bread\(",
    "requireImplementation": "callMethod<",
}


def main():
    covered = set()
    complaints = []
    for name, text in cases():
        operation = name.split(" (")[0]
        covered.add(operation)
        if not does_what_it_says(operation, text):
            complaints.append(f"{name}: the case calls something else")
    hidden = hidden_members()
    for operation in sorted(exported_operations() - covered):
        if operation not in hidden and not any(re.fullmatch(pattern, operation) for pattern in EXEMPT):
            complaints.append(f"{operation}: no case")
    print("\n".join(complaints) or f"{len(covered)} operations have cases")
    return 1 if complaints else 0


sys.exit(main())
