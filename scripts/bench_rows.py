#!/usr/bin/env python3
"""Prints rows of both tables as Markdown.

    bench_rows.py FOLDER [wall] [DOCUMENT...]

FOLDER and wall are as for bench_report.py. The documents are ten of different kinds by default.
"""
import sys

from bench_report import REFERENCE, Measurements, duration, means

SUBJECTS = ["NEB-XML/strict", "pugixml/default", "pugixml/fastest", "RapidXML/checked",
            "TinyXML-2/default", "libxml2/fastest", "Mini-XML/opaque"]
DOCUMENTS = ["freedesktop.org.xml", "Gtk-3.0.gir", "psx.xml", "de.xml", "bamboo_01.svg",
             "content.xml", "vim-types.xsd", "iso_639-3.xml", "activemq-parent-5.17.2.pom",
             "tiny-275B"]
OPERATIONS = {"warm": ["parse"],
              "as it comes": ["first parse", "file to tree", "first print", "parse again"]}


def size(count):
    for unit, scale in (("MB", 1e6), ("KB", 1e3)):
        if count >= scale:
            return f"{count / scale:.3g} {unit}"
    return f"{count} bytes"


def row(cells):
    return "| " + " | ".join(cells) + " |"


def markdown(data, rows, operation, documents):
    subjects = [s for s in SUBJECTS if any(s in cells for (name, _), cells in rows.items()
                                           if name == operation)]
    yield row(["document", "NEB XML", "MB/s"] + [s.replace("/", ", ") for s in subjects])
    yield row(["---"] * (3 + len(subjects)))
    for document in documents:
        cells = rows.get((operation, document), {})
        if REFERENCE in cells:
            time, speed = cells[REFERENCE]
            length = size(int(data.context["bytes " + document]))
            yield row([f"`{document}`, {length}", duration(time), f"{speed / 1e6:.0f}"] +
                      [f"{cells[s][0] / time:.2f}" if s in cells else "-" for s in subjects])
    ratios, count = means(rows, operation, subjects), sum(name == operation for name, _ in rows)
    yield row([f"geometric mean of all {count} documents", "", ""] +
              [f"{ratios[s]:.2f}" if s in ratios else "-" for s in subjects])


def main(folder, *names):
    clock = "wall" if names[:1] == ("wall",) else "cpu"
    data = Measurements(folder, clock)
    documents = names[clock == "wall":] or DOCUMENTS
    for table, rows in (("warm", data.warm), ("as it comes", data.fresh)):
        for operation in OPERATIONS[table]:
            print(f"{table}: {operation}\n", *markdown(data, rows, operation, documents), "",
                  sep="\n")


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    main(*sys.argv[1:])
