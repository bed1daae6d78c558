#!/usr/bin/env python3
"""Prints how much code and constants programs link: sizes.py LIMIT SIZE_TOOL PROGRAM...

The first program calls nothing of the library. A program for a board has the library in a section
of its own; of others, what they have more than the first one counts, with the functions of the C
library that they need. Fails if the library has LIMIT bytes or more in a program that edits
documents, unless LIMIT is 0.
"""
import pathlib
import re
import subprocess
import sys

SECTION = re.compile(r"^(\.?\w+)\s+(\d+)\s", re.MULTILINE)
WHOLE = {".library", ".text", ".rodata", "CODE", "DATA"}


def sections(tool, program):
    output = subprocess.run([tool, "-A", program], check=True, capture_output=True, text=True).stdout
    return {name: int(size) for name, size in SECTION.findall(output)}


def main():
    limit, tool, *programs = sys.argv[1:]
    nothing = None
    too_large = []
    print(f"{'program':24} {'library':>8} {'whole':>8}")
    for program in programs:
        name = pathlib.Path(program).stem
        found = sections(tool, program)
        whole = sum(found.get(section, 0) for section in WHOLE)
        nothing = nothing if nothing is not None else whole
        library = found.get(".library", whole - nothing)
        print(f"{name:24} {library:8} {whole:8}")
        if "editing" in name and 0 < int(limit) <= library:
            too_large.append(name)
    sys.exit(f"too large: {', '.join(too_large)}" if too_large else 0)


main()
