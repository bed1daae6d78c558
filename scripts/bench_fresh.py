#!/usr/bin/env python3
"""Measures each library in fresh processes, and prints the figures as JSON.

    bench_fresh.py BENCH.json PROGRAMS FOLDER...

BENCH.json is the output of neb_xml_bench: what it has measured parsing is measured here as well.
PROGRAMS is the folder of the programs neb_xml_fresh_LIBRARY, and the FOLDERs hold the documents.
"""
import itertools
import json
import os
import re
import subprocess
import sys

from bench_report import load

PROGRAMS = {"NEB-XML": "neb_xml", "pugixml": "pugixml", "RapidXML": "rapidxml",
            "TinyXML-2": "tinyxml2", "libxml2": "libxml2", "Mini-XML": "mini_xml"}
# How many processes; the last one takes the median of many repetitions in each of them.
MEASUREMENTS = {"parse": 9, "load": 9, "repeat": 3}
LARGEST = 16 << 20
# This library is measured with a session; the floor is no library.
LEFT_OUT = ("NEB-XML/hooks", "NEB-XML/strict", "floor/allocate")


def accepted(bench):
    """The subjects of each document, in the order of the report."""
    subjects = {}
    for run in sorted(bench["benchmarks"], key=lambda run: run["family_index"]):
        operation, document, subject = run["run_name"].split("/", 2)
        if operation == "parse" and not run.get("error_occurred") and subject not in LEFT_OUT:
            subjects.setdefault(document, {})[subject] = None
    return {document: list(names) for document, names in subjects.items()}


def program(folder, library):
    return os.path.join(folder, "neb_xml_fresh_" + PROGRAMS[library])


def find(folders, document):
    paths = (os.path.join(folder, document) for folder in folders)
    return next((path for path in paths if os.path.exists(path)), None)


def turns(subjects, count):
    """Every subject that often, each time beginning with another one."""
    for turn in range(count):
        begin = turn % len(subjects)
        yield from subjects[begin:] + subjects[:begin]


def measure(programs, path, subjects):
    """Operation -> subject -> figure -> one value from each process."""
    figures = {}
    for measurement, count in MEASUREMENTS.items():
        for subject in turns(subjects, count):
            library, mode = subject.split("/")
            command = [program(programs, library), mode, measurement, path]
            output = subprocess.run(command, check=True, capture_output=True).stdout
            for operation, values in json.loads(output).items():
                cells = figures.setdefault(operation, {}).setdefault(subject, {})
                for name, value in values.items():
                    cells.setdefault(name, []).append(value)
    return figures


def loaded(path):
    """The libraries that a program loads, with their sizes in bytes."""
    lines = subprocess.run(["ldd", path], check=True, capture_output=True, text=True).stdout
    return {os.path.basename(found): os.path.getsize(found)
            for found in re.findall(r"=> (/\S+)", lines)}


def own_libraries(programs, libraries):
    """What each program loads beside the libraries of the compiler."""
    common = loaded(program(programs, "RapidXML"))  # a header alone
    return {library: {name: size for name, size in loaded(program(programs, library)).items()
                      if name not in common} for library in libraries}


def main(bench_path, programs, *folders):
    bench = load(bench_path)
    if not bench:
        sys.exit("nothing was measured")
    documents = accepted(bench)
    results = []
    for document, subjects in documents.items():
        path = find(folders, document)
        if path and os.path.getsize(path) <= LARGEST:
            for operation, cells in measure(programs, path, subjects).items():
                results.append({"operation": operation, "document": document,
                                "bytes": os.path.getsize(path), "subjects": cells})
    libraries = dict.fromkeys(subject.split("/")[0]
                              for subject in itertools.chain(*documents.values()))
    json.dump({"loaded": own_libraries(programs, libraries), "results": results}, sys.stdout,
              indent=1)
    print()


if __name__ == "__main__":
    if len(sys.argv) < 4:
        sys.exit(__doc__)
    main(*sys.argv[1:])
