#!/usr/bin/env python3
"""Prints how much code and constants programs link: sizes.py LIMIT SIZE_TOOL PROGRAM...

The first program calls nothing of the library. A program for a board has the library in a section
of its own; of others, what they have more than the first one counts, with the functions of the C
library that they need. Fails if a program that edits documents has LIMIT bytes or more.
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
    measured = {}
    for program in programs:
        found = sections(tool, program)
        measured[program] = (found.get(".library"), sum(found.get(name, 0) for name in WHOLE))
    nothing = measured.pop(programs[0])[1]
    isSmall = True
    print(f"{'program':24} {'library':>8} {'whole':>8}")
    for program, (library, whole) in measured.items():
        name = pathlib.Path(program).stem
        library = whole - nothing if library is None else library
        isSmall = isSmall and ("editing" not in name or 0 < library < int(limit))
        print(f"{name:24} {library:8} {whole:8}")
    sys.exit(0 if isSmall else f"a program that edits documents has {limit} bytes or more")


main()
