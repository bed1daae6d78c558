#!/usr/bin/env python3
"""Compares nebxml check with xmllint, on the documents of the W3C XML test suite that have no
document type declaration, since nebxml reads none.

  compare_check.py TOOL SUITE

Prints how many documents both accept or refuse, and how many differ for which reason. Fails if
nothing explains a difference.
"""
import json
import os
import subprocess
import sys
from collections import Counter

import suite
from conformance import has_doctype, read

# Words of a report that gives no verdict on the document, and what the document has.
_UNSUPPORTED = [
    ("mixed content", "mixed content"),
    ("begins or ends with ':'", "a colon at an end of a name"),
    ("encoding", "another encoding"),
    ("the document is in UTF-", "another encoding"),
]
_KNOWN = "well-formed, but "


def find_failures(tool, paths):
    """What nebxml reports, by the path of the document."""
    reports = subprocess.run([tool, "check", "--format", "json", *paths],
                             stdout=subprocess.PIPE, check=False).stdout
    return {report["file"]: report for report in json.loads(reports)}


def is_accepted_by_xmllint(path):
    """Whether xmllint calls a document well-formed."""
    return subprocess.run(["xmllint", "--noout", "--nonet", path], check=False,
                          stderr=subprocess.DEVNULL).returncode == 0


def explain_unsupported(message, is_accepted):
    """Why nebxml neither accepts nor refuses a document; None if it should."""
    if message.startswith(_KNOWN):
        return "well-formed by both, but not supported by nebxml" if is_accepted else None
    what = next((what for words, what in _UNSUPPORTED if words in message), None)
    other = "accepted" if is_accepted else "refused"
    return what and f"no verdict by nebxml, {other} by xmllint: {what}"


def compare(case, failure, is_accepted):
    """How the two judge a document; None if nothing explains a difference."""
    status = failure["status"] if failure else "well-formed"
    if status == "unsupported":
        return explain_unsupported(failure["message"], is_accepted)
    if status not in ("well-formed", "malformed"):
        return None
    if (status == "well-formed") == is_accepted:
        return "accepted by both" if is_accepted else "refused by both"
    is_as_in_suite = case.kind != "error" and case.is_well_formed != is_accepted
    return "as in the suite by nebxml, but not by xmllint" if is_as_in_suite else None


def main(tool, suite_folder):
    cases = {case.path: case for case in suite.read_cases(os.path.abspath(suite_folder))
             if not has_doctype(read(case.path))}
    failures = find_failures(tool, cases)
    counts, unexplained = Counter(), []
    for path, case in cases.items():
        failure, is_accepted = failures.get(path), is_accepted_by_xmllint(path)
        judged = compare(case, failure, is_accepted)
        counts[judged] += 1
        if judged is None:
            verdict = failure["message"] if failure else "accepted"
            other = "accepts" if is_accepted else "refuses"
            unexplained.append(f"{case.name} ({path}): {verdict}, but xmllint {other} it")
    print(f"nebxml check and xmllint: {len(cases)} documents without document type declaration\n")
    for judged, count in sorted(counts.items(), key=str):
        print(f"  {count:4} {judged or 'not explained'}")
    for line in unexplained:
        print(line, file=sys.stderr)
    sys.exit(1 if unexplained else 0)


if __name__ == "__main__":
    main(*sys.argv[1:])
