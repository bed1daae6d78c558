#!/usr/bin/env python3
"""Compares the library with the W3C XML test suite and with docs/departures.md.

  conformance.py LIBRARY SUITE DOCUMENT

Prints, for each language, how many tests of each class are accepted, and which departures explain
the results that differ from the suite. Fails if no departure or several explain a result, if strict
reading makes another tree than a second parser, if a count in the document is wrong, or if one of
its examples does not show its departure.
"""
import ast
import os
import pathlib
import re
import sys
import tempfile
from collections import Counter, defaultdict

import departures
import suite
from library import STRICT, Library, Refusal

_KINDS = ["valid", "invalid", "not-wf", "error"]


def read(path):
    return pathlib.Path(path).read_bytes()


def is_refused(result):
    return isinstance(result, Refusal)


def has_doctype(xml):
    return b"<!DOCTYPE" in xml.replace(b"\0", b"")


def sort_cases(language, cases, results):
    """The departures with the tests that each explains, and the errors."""
    sorted_cases, errors = defaultdict(list), []
    for case in cases:
        result = results[case.path]
        if case.kind == "error" or case.is_well_formed != is_refused(result):
            continue
        document = read(case.path)
        found = (language.explain_refused(case, document, result) if is_refused(result)
                 else language.explain_accepted(case, document))
        if len(found) == 1:
            sorted_cases[found[0]].append(case)
        else:
            verdict = f"refused: {result.reason}" if is_refused(result) else "accepted"
            errors.append(f"{case.name} ({case.path}), {verdict}, explained by {found or None}")
    return sorted_cases, errors


def without_types(element):
    """An element as if no type were declared for its attributes: that changes spaces in values."""
    values = {name: b" ".join(value.split(b" ")).strip() if value else value
              for name, value in element.attributes.items()}
    values = {name: re.sub(rb" +", b" ", value) for name, value in values.items()}
    return element._replace(attributes=values, children=[*map(without_types, element.children)])


def compare_trees(cases, results):
    """How many tests both parsers accept and read alike, and the errors."""
    same, errors = 0, []
    for case in cases:
        document, tree = read(case.path), results[case.path]
        if is_refused(tree) or suite.find_error(document) is not None:
            continue
        other = suite.read_tree(document)
        if b"<!ATTLIST" in document:
            tree, other = without_types(tree), without_types(other)
        if tree == other:
            same += 1
        else:
            errors.append(f"{case.name} ({case.path}) is read as {tree}, not as {other}")
    return same, errors


def check_verdicts(language, cases, results):
    """The refused tests that are reported as well-formed: how many the suite calls so, how many by
    which departure it does not, and the errors."""
    right, explained, errors = 0, Counter(), []
    for case in cases:
        result = results[case.path]
        if case.kind == "error" or not is_refused(result) or not result.is_well_formed:
            continue
        if case.is_well_formed:
            right += 1
            continue
        found = language.explain_accepted(case, read(case.path))
        explained.update(found)
        if len(found) != 1:
            errors.append(f"{case.name} ({case.path}) is not well-formed, explained by {found}")
    return right, explained, errors


def class_rows(cases, results):
    """The rows of the document's table of classes."""
    counts = Counter()
    for case in cases:
        counts[case.kind, has_doctype(read(case.path)), is_refused(results[case.path])] += 1
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


def check_example(library, language, name, xml, folder):
    """The error of an example, if it has one."""
    path = pathlib.Path(folder, f"{name}.xml")
    path.write_bytes(xml)
    is_accepted = not is_refused(library.read(path, language.flags))
    is_right = name not in departures.OTHER_RULES and suite.is_well_formed(xml)
    shows_it = is_accepted != is_right and is_accepted == (name not in language.refused)
    return [] if shows_it else [f"the example of {name} does not show it"]


def check_document(library, language, document, lines, sorted_cases):
    """The errors of the part of the document about a language."""
    errors = [f"not in the document: {line}" for line in lines if line not in document]
    rows = read_rows(document)
    names = language.accepted + language.refused + departures.OTHER_RULES
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
            errors += check_example(library, language, name, xml, folder)
    return errors


def why_inside_doctype(cases):
    """The rows of the document about what is wrong in a declaration, by the second parser."""
    reasons = defaultdict(list)
    for case in cases:
        reasons[suite.find_error(read(case.path), case.path)].append(case.name)
    return reasons


def run(library, language, cases, document):
    """Prints how a language departs; returns the errors."""
    results = {case.path: library.read(case.path, language.flags) for case in cases}
    sorted_cases, errors = sort_cases(language, cases, results)
    lines = class_rows(cases, results)
    print(f"{language.heading.strip('# ')}: {len(cases)} tests\n")
    print("| Class | Document type declaration | Accepted | Refused |\n|---|---|--:|--:|")
    print("\n".join(lines) + "\n")
    for title, names in [("accepted, though not well-formed", language.accepted),
                         ("refused, though well-formed", language.refused),
                         ("judged by other rules in the suite", departures.OTHER_RULES)]:
        print(f"{title}: {sum(len(sorted_cases[name]) for name in names)}")
        for name in names:
            print(f"  {len(sorted_cases[name]):4} {name}")
    if language.flags == STRICT:
        right, explained, wrong = check_verdicts(language, cases, results)
        errors += wrong
        called = ", ".join(f"{count} by `{name}`" for name, count in sorted(explained.items()))
        lines += [f"`isWellFormed` is 1 for {right} of them.", f"not well-formed: {called}."]
        print(f"refused and called well-formed: {right}\nnot so by the suite: {called}")
        same, different = compare_trees(cases, results)
        errors += different
        lines.append(f"{same} of the accepted tests")
        print(f"read as by a second parser: {same}\n\nwrong in the document type declaration:")
        for reason, names in sorted(why_inside_doctype(sorted_cases["doctype"]).items()):
            lines.append(f"| {reason} | {len(names)} |")
            print(f"  {len(names)} {reason}: {' '.join(names)}")
    print()
    return errors + check_document(library, language, document, lines, sorted_cases)


def main(library_path, suite_folder, document_path):
    cases = suite.read_cases(os.path.abspath(suite_folder))
    library = Library(library_path)
    parts = re.split(r"(?m)^(?=# )", read(document_path).decode())
    errors = []
    for language in departures.LANGUAGES:
        document = "".join(part for part in parts if part.startswith(language.heading))
        errors += run(library, language, cases, document)
    for error in errors:
        print(error, file=sys.stderr)
    sys.exit(1 if errors else 0)


if __name__ == "__main__":
    main(*sys.argv[1:])
