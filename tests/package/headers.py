#!/usr/bin/env python3
"""Compiles and links all installed headers: headers.py INCLUDE-DIRECTORY LIBRARY

A program for each header includes that alone. One for all of them holds all inline functions that they bring, and
refers to every function and every table of virtual functions that they declare: what the library does not show, though
a header promises it, fails to link.
"""
import concurrent.futures
import json
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

INCLUDE, LIBRARY = Path(sys.argv[1]).resolve(), Path(sys.argv[2]).resolve()
STRICT = ["-std=c++20", "-Wall", "-Wextra", "-Wpedantic", "-Werror"]
FUNCTIONS = ("FunctionDecl", "CXXMethodDecl", "CXXConstructorDecl", "CXXDestructorDecl")


def build(folder, headers, references=(), *options):
    """Compiles and links a program that includes headers and refers to symbols; what the compiler and linker say."""
    source = Path(folder, f"{headers[0].replace('/', '-')}.cpp")
    table = "".join(f".quad {symbol}\\n" for symbol in references)
    source.write_text("".join(f'#include "{header}"\n' for header in headers) +
                      f'__asm__(".pushsection .data.references, \\"aw\\"\\n{table}.popsection\\n");\n'
                      "int main() {}\n")
    done = subprocess.run(["g++", *STRICT, *options, f"-I{INCLUDE}", source, LIBRARY, "-Wl,--no-undefined",
                           "-o", source.with_suffix("")], capture_output=True, text=True)
    return f"{' '.join(headers[:2])}:\n{done.stderr}" if done.returncode != 0 else ""


def declarations(folder, headers):
    """The syntax trees, as clang has them, of what the library's namespaces hold."""
    source = Path(folder, "all.cpp")
    source.write_text("".join(f'#include "{header}"\n' for header in headers))
    for space in ("Core", "Util", "Data"):
        text = subprocess.run(["clang++-14", "-std=c++20", f"-I{INCLUDE}", "-fsyntax-only", "-Xclang", "-ast-dump=json",
                               "-Xclang", f"-ast-dump-filter={space}::", source], check=True, capture_output=True,
                              text=True).stdout
        decoder, at = json.JSONDecoder(), 0
        while found := re.compile(r"\s*(?=\{)").match(text, at):
            tree, at = decoder.raw_decode(text, found.end())
            yield tree


def look_for_symbols(tree, outside, inline):
    """Sorts the functions of a syntax tree: those that the library defines, and those that each user compiles."""
    inner = [one for one in tree.get("inner", []) if one]
    kinds = {one["kind"] for one in inner}
    if tree["kind"].startswith(("ClassTemplate", "FunctionTemplate", "Friend")) or "_" == tree.get("name", "")[:1]:
        return
    if tree["kind"] in FUNCTIONS and "mangledName" in tree:
        compiled = tree.get("inline") or tree.get("constexpr") or tree.get("isImplicit") or "CompoundStmt" in kinds
        absent = tree.get("pure") or tree.get("explicitlyDeleted") or tree.get("explicitlyDefaulted")
        if compiled:
            inline.add(tree["mangledName"])
        elif not absent and "VisibilityAttr" not in kinds:
            outside.add(tree["mangledName"])
            # The first of these makes the compiler leave the table of virtual functions to the library.
            name = re.match(r"_ZN?K?(N.*[0-9A-Za-z_])(?:[CD]\dE)", tree["mangledName"])
            if tree.get("virtual") and name:
                outside.add(f"_ZTV{name[1]}E")
                outside.add(f"_ZTI{name[1]}E")
    for one in inner:
        look_for_symbols(one, outside, inline)


def main():
    headers = sorted(str(path.relative_to(INCLUDE)) for path in INCLUDE.rglob("*.h"))
    with tempfile.TemporaryDirectory() as folder, concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        alone = [pool.submit(build, folder, [header]) for header in headers]
        outside, inline = set(), set()
        for tree in declarations(folder, headers):
            look_for_symbols(tree, outside, inline)
        references = sorted(outside - inline)
        faults = [build(folder, headers, references, "-fkeep-inline-functions"), *(one.result() for one in alone)]
    faults = [fault for fault in faults if fault]
    print("".join(faults), end="")
    print(f"{len(headers)} headers, {len(references)} references, {len(faults)} faults")
    sys.exit(1 if faults or len(references) < 100 else 0)


main()
