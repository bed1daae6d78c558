#!/usr/bin/env python3
"""Compares the library with the W3C XML test suite and with docs/departures.md.

  conformance.py NEBXML SUITE DOCUMENT

Prints how many tests of each class are accepted, and which departures explain the results that
differ from the suite. Fails if no departure or several explain a result, if a count in the document
is wrong, or if one of its examples does not show its departure.
"""
import ast
import os
import pathlib
import re
import subprocess
import sys
import tempfile
from collections import Counter, defaultdict, namedtuple

import departures
import suite

_KINDS = ["valid", "invalid", "not-wf", "error"]
_FILES_AT_ONCE = 500


# Why a document was refused, and the reported position.
Refusal = namedtuple("Refusal", "reason offset")


def find_refusals(tool, paths):
    """The refusals of some files, by path."""
    refusals = {}
    for begin in range(0, len(paths), _FILES_AT_ONCE):
        some = paths[begin:begin + _FILES_AT_ONCE]
        run = subprocess.run([tool, "check", *some], stdout=subprocess.PIPE,
                             stderr=subprocess.PIPE, check=False)
        if run.returncode not in (0, 1):
            sys.exit(f"{tool} check: exit code {run.returncode}")
        report = run.stderr.decode("utf-8", "replace")
        for path, line, column, reason in re.findall(r"(?m)^(/[^:\n]+):(\d+):(\d+): (.*)$", report):
            if path not in refusals and not reason.startswith("the start tag is here"):
                refusals[path] = Refusal(reason, offset_of(path, int(line), int(column)))
        if (run.returncode == 1) != any(path in refusals for path in some):
            sys.exit(f"{tool} check: its exit code and its report differ")
    return refusals


def read(path):
    return pathlib.Path(path).read_bytes()


def offset_of(path, line, column):
    lines = read(path).split(b"\n")
    return len(b"\n".join([*lines[:line - 1], b""])) + column - 1


def has_doctype(xml):
    return b"<!DOCTYPE" in xml.replace(b"\0", b"")


def sort_cases(cases, refusals):
    """The departures with the tests that each explains, and the errors."""
    sorted_cases, errors = defaultdict(list), []
    for case in cases:
        refusal = refusals.get(case.path)
        if case.kind == "error" or case.is_well_formed == (refusal is None):
            continue
        found = departures.explain(case, read(case.path), refusal)
        if len(found) == 1:
            sorted_cases[found[0]].append(case)
        else:
            verdict = "accepted" if refusal is None else f"refused: {refusal.reason}"
            errors.append(f"{case.name} ({case.path}), {verdict}, explained by {found or None}")
    return sorted_cases, errors


def class_rows(cases, refusals):
    """The rows of the document's table of classes."""
    counts = Counter()
    for case in cases:
        counts[case.kind, has_doctype(read(case.path)), case.path in refusals] += 1
    return [f"| {kind} | {'with' if doctype else 'without'} | {counts[kind, doctype, False]} "
            f"| {counts[kind, doctype, True]} |" for kind in _KINDS for doctype in (False, True)]


def read_rows(document):
    """The departures that the document lists: name, example, and count of tests."""
    rows = {}
    for name, example, count in re.findall(
            r"(?m)^\| `([a-z0-9.-]+)` \| .* \| `([^`]+)` \| (\d+) \|$", document):
        xml = ast.literal_eval('b"' + example.replace('"', '\\"') + '"')
        rows[name] = (xml, int(count))
    return rows


def check_example(tool, name, xml, folder):
    """The error of an example, if it has one."""
    path = pathlib.Path(folder, f"{name}.xml")
    path.write_bytes(xml)
    is_accepted = not find_refusals(tool, [str(path)])
    is_right = name not in departures.OTHER_RULES and suite.is_well_formed(xml)
    shows_it = is_accepted != is_right and is_accepted == (name not in departures.REFUSED)
    return [] if shows_it else [f"the example of {name} does not show it"]


def check_document(tool, document, rows_of_classes, sorted_cases):
    """The errors of the document."""
    errors = [f"not in the document: {row}" for row in rows_of_classes
              if row not in document.splitlines()]
    rows = read_rows(document)
    names = departures.ACCEPTED + departures.REFUSED + departures.OTHER_RULES
    errors += [f"the document has {name}, which is no departure" for name in rows
               if name not in names]
    with tempfile.TemporaryDirectory() as folder:
        for name in names:
            count = len(sorted_cases[name])
            if name not in rows:
                errors.append(f"{name} ({count} tests) is not in the document")
                continue
            xml, listed = rows[name]
            if listed != count:
                errors.append(f"{name}: {count} tests, the document says {listed}")
            errors += check_example(tool, name, xml, folder)
    return errors


def main(tool, suite_folder, document_path):
    cases = suite.read_cases(os.path.abspath(suite_folder))
    refusals = find_refusals(tool, sorted({case.path for case in cases}))
    sorted_cases, errors = sort_cases(cases, refusals)
    rows = class_rows(cases, refusals)
    print(f"{len(cases)} tests\n")
    print("| Class | Document type declaration | Accepted | Refused |\n|---|---|--:|--:|")
    print("\n".join(rows) + "\n")
    for title, names in [("accepted, though not well-formed", departures.ACCEPTED),
                         ("refused, though well-formed", departures.REFUSED),
                         ("judged by other rules in the suite", departures.OTHER_RULES)]:
        print(f"{title}: {sum(len(sorted_cases[name]) for name in names)}")
        for name in names:
            print(f"  {len(sorted_cases[name]):4} {name}")
    errors += check_document(tool, read(document_path).decode(), rows, sorted_cases)
    for error in errors:
        print(error, file=sys.stderr)
    sys.exit(1 if errors else 0)


if __name__ == "__main__":
    main(*sys.argv[1:])
