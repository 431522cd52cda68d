#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Examples of use in the documentation of headers: what stands between @code and @endcode.

examples.py check HEADER...           tells which class has none, and which example is too short or too long
examples.py extract SOURCE HEADER...  writes a source that compiles all of them
"""
import re
import sys
from typing import List, NamedTuple

FEWEST_LINES = 3
MOST_LINES = 10
DOCUMENTATION = re.compile(r"\s*/// ?(.*)")
CLASS = re.compile(r"class (?:\w+_EXPORT )?(\w+)(?: final)?(?: :.*)?$")
NAMESPACES = {"FiberInspection": ["FiberInspection"], "Records": ["Records", "FiberInspection"]}  # by folder
TYPE = re.compile(r"(class|struct) \w+")


class Example(NamedTuple):
    header: str
    line: int  # of its first line
    lines: List[str]


class Header(NamedTuple):
    examples: List[Example]
    faults: List[str]  # and where


def read(path: str) -> Header:
    found = Header([], [])
    has_example = False  # in the documentation at hand
    inside = None
    previous = "text"
    with open(path, encoding="utf-8") as lines:
        for number, line in enumerate(lines, 1):
            text = DOCUMENTATION.match(line)
            if not text:
                declared = CLASS.match(line.rstrip("\n"))
                if declared and not has_example:
                    found.faults.append(f"{path}:{number}: class {declared[1]} has no example of use")
                has_example = False
                previous = "text"
                continue
            if text[1].strip() == "@code":
                inside = Example(path, number + 1, [])
            elif text[1].strip() == "@endcode" and inside:
                found.examples.append(inside)
                has_example = True
                inside = None
            elif inside:
                inside.lines.append(text[1])
            elif text[1].startswith("    ") and not previous.strip():
                found.faults.append(f"{path}:{number}: code that nobody compiles: @code is missing")
            previous = text[1]
    if inside:
        sys.exit(f"{path}:{inside.line - 1}: @code without @endcode")
    return found


def name_of(header: str) -> str:
    return re.sub(r".*/src/(?!.*/src/)", "", header)


def function_with(example: Example, number: int) -> str:
    """Its types stand before the function: moc sees none inside of one."""
    types: List[str] = []
    statements: List[str] = []
    inside_type = False
    for offset, line in enumerate(example.lines):
        inside_type = inside_type or bool(TYPE.match(line)) and not line.endswith(";")
        target = types if inside_type else statements
        target += [f'#line {example.line + offset} "{example.header}"', line]
        if line.startswith("};"):
            inside_type = False
    body = ["{", *statements, "}"]
    for name in NAMESPACES.get(name_of(example.header).split("/")[0], []):
        types.insert(0, f"using namespace {name};")
    return "\n".join([f"namespace example{number} {{", *types, "void use();", "void use()", *body, "}", ""])


def extract(source: str, headers: List[str]) -> None:
    examples = [example for header in headers for example in read(header).examples]
    text = "".join(f'#include "{name_of(header)}"\n' for header in headers)
    text += "#include <QGuiApplication>\n#include <QtCore>\n#include <QtQml>\n#include <cstdio>\n"
    text += "".join(function_with(example, number) for number, example in enumerate(examples))
    text += f'#line 1 "examples"\nint main()\n{{\n    std::puts("{len(examples)} examples compile");\n}}\n'
    if any("Q_OBJECT" in line for example in examples for line in example.lines):
        text += '#include "examples.moc"\n'
    with open(source, "w", encoding="utf-8") as file:
        file.write(text)


def check(headers: List[str]) -> int:
    faults: List[str] = []
    for header in headers:
        found = read(header)
        faults += found.faults
        for example in found.examples:
            length = sum(1 for line in example.lines if line.strip())
            if not FEWEST_LINES <= length <= MOST_LINES:
                faults.append(f"{header}:{example.line}: an example of {length} lines")
    print(*faults, sep="\n", end="\n" if faults else "")
    print(f"{len(headers)} headers, {len(faults)} faults")
    return 1 if faults or not headers else 0


def main() -> int:
    if len(sys.argv) >= 3 and sys.argv[1] == "check":
        return check(sys.argv[2:])
    if len(sys.argv) >= 4 and sys.argv[1] == "extract":
        extract(sys.argv[2], sys.argv[3:])
        return 0
    print(__doc__, file=sys.stderr)
    return 64


sys.exit(main())
