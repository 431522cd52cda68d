#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Examples of use in the documentation of headers: what stands between @code and @endcode.

examples.py check HEADER...           tells which class, struct or header has none, and which is too short or too long
examples.py extract SOURCE HEADER...  writes a source that compiles all of them

A struct without functions may say "@see NAME" instead, if the example of NAME shows it.
"""
import re
import sys
from pathlib import Path
from typing import Dict, List, NamedTuple, Tuple

FEWEST_LINES = 3
MOST_LINES = 10
ROOT = Path(__file__).resolve().parents[2]
DOCUMENTATION = re.compile(r"\s*/// ?(.*)")
BESIDE = re.compile(r"template <|// clang-format")  # between a documentation and what it is about
DECLARED = re.compile(r"(class|struct) (?:\w+_EXPORT )?(\w+)(?: final)?(?: :.*)?$")
CALLED = re.compile(r"(?:#define |(?! ).*?\b)(\w+)\(")
SEE = re.compile(r"@see (\w+)")
NAMESPACES = {  # by folder
    "FiberInspection": ["FiberInspection"],
    "Records": ["Records", "FiberInspection"],
    "Reports": ["Reports", "Records", "FiberInspection"],
}
TYPE = re.compile(r"(class|struct) \w+")

Lines = List[Tuple[int, str]]  # with their numbers


class Example(NamedTuple):
    header: str
    line: int  # of its first line
    lines: List[str]


class Reference(NamedTuple):
    place: str
    struct: str
    target: str  # whose example is to show it


class Header(NamedTuple):
    path: str
    examples: List[Example]
    faults: List[str]  # and where
    shown: Dict[str, str]  # the code of an example, by what it is the documentation of
    references: List[Reference]


def examples_of(header: Header, documentation: Lines) -> List[Example]:
    found: List[Example] = []
    inside = None
    previous = "text"
    for number, text in documentation:
        if text.strip() == "@code":
            inside = Example(header.path, number + 1, [])
        elif text.strip() == "@endcode" and inside:
            found.append(inside)
            inside = None
        elif inside:
            inside.lines.append(text)
        elif text.startswith("    ") and not previous.strip():
            header.faults.append(f"{header.path}:{number}: code that nobody compiles: @code is missing")
        previous = text
    if inside:
        sys.exit(f"{header.path}:{inside.line - 1}: @code without @endcode")
    return found


def has_functions(body: List[str]) -> bool:
    code = "\n".join(re.sub(r"//.*", "", line) for line in body)
    while "<" in code and re.search(r"<[^<>]*>", code):
        code = re.sub(r"<[^<>]*>", "", code)
    return "(" in re.sub(r"\s=\s[^;]*", "", code)


def body_behind(lines: List[str], number: int) -> List[str]:
    return lines[number:lines.index("};", number)]


def look_at(header: Header, lines: List[str], number: int, documentation: Lines) -> bool:
    """Whether that line declares a type."""
    line = lines[number - 1]
    examples = examples_of(header, documentation)
    header.examples.extend(examples)
    declared = DECLARED.match(line)
    name = declared or CALLED.match(line)
    if examples and name:
        header.shown[name[name.lastindex]] = "\n".join("\n".join(example.lines) for example in examples)
    if not declared or examples:
        return bool(declared)
    place = f"{header.path}:{number}"
    see = SEE.search("\n".join(text for _, text in documentation))
    if see and declared[1] == "struct" and not has_functions(body_behind(lines, number)):
        header.references.append(Reference(place, declared[2], see[1]))
    else:
        header.faults.append(f"{place}: {declared[1]} {declared[2]} has no example of use")
    return True


def read(path: str) -> Header:
    header = Header(path, [], [], {}, [])
    lines = Path(path).read_text(encoding="utf-8").splitlines()
    documentation: Lines = []
    has_types = False
    for number, line in enumerate(lines, 1):
        text = DOCUMENTATION.match(line)
        if text:
            documentation.append((number, text[1]))
        elif not BESIDE.match(line):
            has_types = look_at(header, lines, number, documentation) or has_types
            documentation = []
    if not has_types and not header.examples:
        header.faults.append(f"{path}:1: the header has no example of use")
    return header


def name_of(header: str) -> str:
    path = Path(header).resolve()
    source = ROOT / "src"
    return str(path.relative_to(source if source in path.parents else ROOT))


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


def check(paths: List[str]) -> int:
    headers = [read(path) for path in paths]
    faults = [fault for header in headers for fault in header.faults]
    shown = {name: code for header in headers for name, code in header.shown.items()}
    for header in headers:
        for example in header.examples:
            length = sum(1 for line in example.lines if line.strip())
            if not FEWEST_LINES <= length <= MOST_LINES:
                faults.append(f"{header.path}:{example.line}: an example of {length} lines")
        for place, struct, target in header.references:
            if not re.search(rf"\b{struct}\b", shown.get(target, "")):
                faults.append(f"{place}: no example of {target} shows {struct}")
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
