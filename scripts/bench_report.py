#!/usr/bin/env python3
"""Turns the measurements into one table and one plot.

    bench_report.py BENCH.json HEAP.json TABLE.txt PLOT.svg
"""
import json
import os
import statistics
import sys
from html import escape

REFERENCE = "NEB-XML/session"
COLORS = {"NEB-XML": "#1f6fb4", "floor": "#9a9a9a", "pugixml": "#e08214", "RapidXML": "#b2182b",
          "TinyXML-2": "#7b5aa6", "libxml2": "#35978f", "Mini-XML": "#8c6d31"}


class Measurements:
    """Medians of the repetitions, by row (operation, document) and subject (library, mode)."""

    def __init__(self, bench, heap):
        self.context = bench["context"]
        self.rows = {}  # row -> subject -> (seconds, bytes per second)
        self.subjects = []
        self.notes = {f"{name.removeprefix('skipped ')}: skipped, {reason}": None
                      for name, reason in self.context.items() if name.startswith("skipped ")}
        samples = {}
        # The runs are in random order.
        for run in sorted(bench["benchmarks"], key=lambda run: run["family_index"]):
            if run.get("run_type") == "iteration":
                samples.setdefault(run["run_name"], []).append(run)
        for name, runs in samples.items():
            operation, corpus, subject = name.split("/", 2)
            row, remark = (operation, corpus), runs[0].get("error_message") or runs[0].get("label")
            if remark:
                self.notes[f"{operation} {corpus}: {subject} {remark}"] = None
            cells = self.rows.setdefault(row, {})
            if subject not in self.subjects:
                self.subjects.append(subject)
            if not runs[0].get("error_occurred"):
                cells[subject] = (statistics.median(map(seconds, runs)),
                                  statistics.median(run["bytes_per_second"] for run in runs))
        self.heap = {}
        for entry in heap:
            cells = self.heap.setdefault(entry["document"], {})
            cells[entry["subject"]] = (entry["held"] / entry["bytes"],
                                       entry["peak"] / entry["bytes"])
        first = [subject for subject in self.subjects if subject.startswith("NEB-XML/")]
        floor = [subject for subject in self.subjects if subject.startswith("floor/")]
        self.subjects = first + floor + [s for s in self.subjects if s not in first + floor]

    def version(self, subject):
        library = subject.split("/")[0]
        version = self.context.get("version " + library)
        return f"{library} {version}" if version else library


def seconds(run):
    return run["cpu_time"] * {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1}[run["time_unit"]]


def duration(value):
    for unit, scale in (("s", 1), ("ms", 1e3), ("us", 1e6)):
        if value * scale >= 1:
            return f"{value * scale:.3g} {unit}"
    return f"{value * 1e9:.3g} ns"


def aligned(lines):
    widths = [max(len(line[i]) for line in lines) for i in range(len(lines[0]))]
    return ["  ".join(cell.ljust(width) if i == 0 else cell.rjust(width)
                      for i, (cell, width) in enumerate(zip(line, widths))).rstrip()
            for line in lines]


def header(subjects, *between):
    parts = [subject.split("/") for subject in subjects]
    return [["", *("" for _ in between), *(part[0] for part in parts)],
            ["", *between, *(part[1] for part in parts)]]


def time_table(data):
    others = [subject for subject in data.subjects if subject != REFERENCE]
    lines = header([REFERENCE] + others, "MB/s")
    for (operation, document), cells in data.rows.items():
        base = cells.get(REFERENCE)
        if not base:
            continue
        lines.append([f"{operation} {document}", f"{base[1] / 1e6:.0f}", duration(base[0])] +
                     [f"{cells[s][0] / base[0]:.2f}" if s in cells else "-" for s in others])
    lines += [[f"{operation}: mean", "", "", *cells] for operation, cells in means(data, others)]
    return aligned(lines)


def means(data, subjects):
    """For each operation, the geometric mean of each subject's ratios over what it accepts."""
    operations = dict.fromkeys(operation for operation, _ in data.rows)
    for operation in operations:
        rows = [cells for (name, _), cells in data.rows.items()
                if name == operation and REFERENCE in cells]
        ratios = {s: [cells[s][0] / cells[REFERENCE][0] for cells in rows if s in cells]
                  for s in subjects}
        if len(rows) > 1:
            yield operation, [f"{statistics.geometric_mean(ratios[s]):.2f}" if ratios[s] else "-"
                              for s in subjects]


def heap_table(data, index):
    subjects = [s for s in data.subjects if any(s in cells for cells in data.heap.values())]
    lines = header(subjects)
    for corpus, cells in data.heap.items():
        lines.append([corpus] + [f"{cells[s][index]:.2f}" if s in cells else "-" for s in subjects])
    return aligned(lines)


def table(data):
    versions = dict.fromkeys(data.version(s) for s in data.subjects if not s.startswith("floor"))
    lines = ["Libraries: " + ", ".join(versions),
             f"Measured: {data.context['date']}, {data.context['num_cpus']} CPUs at "
             f"{data.context['mhz_per_cpu']} MHz, load "
             + " ".join(f"{load:.2f}" for load in data.context["load_avg"]),
             "", f"Time. The first columns are {REFERENCE}; the others take that many times as "
             "long.",
             "Means are geometric.",
             "", *time_table(data)]
    if data.heap:
        lines += ["", "Heap held by a parsed document, in bytes for each byte of input.", "",
                  *heap_table(data, 0),
                  "", "Most heap held at any time during the parse, likewise.", "",
                  *heap_table(data, 1)]
    if data.notes:
        lines += ["", "Notes", *("  " + note for note in data.notes)]
    return "\n".join(lines) + "\n"


def text_at(x, y, text, size=11, anchor="start", fill="#333"):
    return (f'<text x="{x:.1f}" y="{y:.1f}" font-size="{size}" text-anchor="{anchor}" '
            f'fill="{fill}">{escape(text)}</text>')


def fastest(data, cells):
    """The fastest mode of every peer, and the library's own modes and the floor."""
    kept = {}
    for subject in (s for s in data.subjects if s in cells):
        library = subject.split("/")[0]
        key = subject if library == "NEB-XML" else library
        if key not in kept or cells[subject][1] > cells[kept[key]][1]:
            kept[key] = subject
    return kept.values()


def plot(data):
    left, width, bar = 250, 560, 13
    body, y = [], 74
    for (operation, document), cells in data.rows.items():
        if operation != "parse" or REFERENCE not in cells:
            continue
        shown = list(fastest(data, cells))
        base = cells[REFERENCE][1]
        scale = width / max(cells[s][1] / base for s in shown)
        body.append(text_at(10, y + 11, document, 13))
        top = y
        for subject in shown:
            speed = cells[subject][1]
            length = speed / base * scale
            body.append(f'<rect x="{left}" y="{y + 1}" width="{length:.1f}" height="{bar - 3}" '
                        f'fill="{COLORS.get(subject.split("/")[0], "#555")}"/>')
            body.append(text_at(left - 6, y + 10, subject.replace("/", " "), 10, "end"))
            body.append(text_at(left + length + 5, y + 10,
                                f"{speed / 1e6:.0f} MB/s  ({speed / base:.2f})", 10))
            y += bar
        body.append(f'<line x1="{left + scale:.1f}" x2="{left + scale:.1f}" y1="{top - 2}" '
                    f'y2="{y}" stroke="#1f6fb4" stroke-dasharray="3 3"/>')
        y += 14
    versions = dict.fromkeys(data.version(s) for s in data.subjects if not s.startswith("floor"))
    head = [text_at(10, 24, "Parse and free: speed, with a session = 1 (longer is faster)", 17),
            text_at(10, 44, ", ".join(versions), 11),
            text_at(10, 60, "Each peer in its fastest mode. floor: allocate and fill the same "
                            "records and strings, without parsing.", 11)]
    return (f'<svg xmlns="http://www.w3.org/2000/svg" width="960" height="{y}" '
            f'viewBox="0 0 960 {y}" font-family="sans-serif">\n'
            '<rect width="100%" height="100%" fill="#fff"/>\n' + "\n".join(head + body) +
            "\n</svg>\n")


def load(path):
    with open(path, encoding="utf-8") as file:
        return json.load(file)


def main(bench_path, heap_path, table_path, plot_path):
    # If no name matches, the benchmark program writes an empty file.
    bench = load(bench_path) if os.path.getsize(bench_path) else {"benchmarks": []}
    if not bench["benchmarks"]:
        sys.exit("nothing was measured")
    data = Measurements(bench, load(heap_path))
    text = table(data)
    for path, content in ((table_path, text), (plot_path, plot(data))):
        with open(path, "w", encoding="utf-8") as file:
            file.write(content)
    print(text, end="")


if __name__ == "__main__":
    if len(sys.argv) != 5:
        sys.exit(__doc__)
    main(*sys.argv[1:])
