#!/usr/bin/env python3
"""Turns the measurements into tables and one picture.

    bench_report.py FOLDER [wall]

FOLDER holds bench.json, heap.json and fresh.json, and gets report.txt and report.svg. Times are CPU
times, which do not grow by what other programs do; with wall, those of fresh processes are not.
"""
import json
import math
import os
import statistics
import sys
from html import escape

REFERENCE = "NEB-XML/session"
COLORS = {"NEB-XML": "#1f6fb4", "floor": "#9a9a9a", "pugixml": "#e08214", "RapidXML": "#b2182b",
          "TinyXML-2": "#7b5aa6", "libxml2": "#35978f", "Mini-XML": "#8c6d31"}
# In resident memory, smaller documents are lost among the pages of the libraries themselves.
SMALLEST_PEAK = 1 << 20


class Measurements:
    """Medians by row (operation, document) and subject (library, mode).

    A cell of warm and fresh rows is a pair: seconds, and bytes of input a second.
    """

    def __init__(self, folder, clock="cpu"):
        bench = load(os.path.join(folder, "bench.json")) or {"benchmarks": []}
        if not bench["benchmarks"]:
            sys.exit("nothing was measured")
        self.context = bench["context"]
        self.notes = {f"{name.removeprefix('skipped ')}: skipped, {reason}": None
                      for name, reason in self.context.items() if name.startswith("skipped ")}
        self.warm = {}
        subjects = self.read_warm(bench["benchmarks"])
        self.heap = {}
        for entry in load(os.path.join(folder, "heap.json")):
            cells = self.heap.setdefault(entry["document"], {})
            cells[entry["subject"]] = (entry["held"] / entry["bytes"],
                                       entry["peak"] / entry["bytes"])
        self.fresh, self.faults, self.peaks = {}, {}, {}
        fresh = load(os.path.join(folder, "fresh.json"))
        self.loaded = fresh["loaded"]
        self.read_fresh(fresh["results"], clock)
        rank = {"NEB-XML": 0, "floor": 1}
        self.subjects = sorted(subjects, key=lambda s: rank.get(s.split("/")[0], len(rank)))

    def read_warm(self, runs):
        samples = {}
        # The runs are in random order.
        for run in sorted(runs, key=lambda run: run["family_index"]):
            if run.get("run_type") == "iteration":
                samples.setdefault(run["run_name"], []).append(run)
        subjects = {}
        for name, runs in samples.items():
            operation, document, subject = name.split("/", 2)
            subjects[subject] = None
            cells = self.warm.setdefault((operation, document), {})
            remark = runs[0].get("error_message") or runs[0].get("label")
            if remark:
                self.notes[f"{operation} {document}: {subject} {remark}"] = None
            if not runs[0].get("error_occurred"):
                cells[subject] = (statistics.median(map(seconds, runs)),
                                  statistics.median(run["bytes_per_second"] for run in runs))
        return subjects

    def read_fresh(self, results, clock):
        operations = list(dict.fromkeys(result["operation"] for result in results))
        for result in sorted(results, key=lambda result: operations.index(result["operation"])):
            document = result["document"]
            cells = self.fresh.setdefault((result["operation"], document), {})
            for subject, figures in result["subjects"].items():
                time = statistics.median(figures[clock])
                cells[subject] = (time, result["bytes"] / time)
                if result["operation"] == "first parse":
                    faults = self.faults.setdefault(document, {})
                    faults[subject] = statistics.median(figures["faults"])
                if "peak" in figures and result["bytes"] >= SMALLEST_PEAK:
                    peaks = self.peaks.setdefault(document, {})
                    peaks[subject] = statistics.median(figures["peak"]) / result["bytes"]

    def version(self, subject):
        library = subject.split("/")[0]
        version = self.context.get("version " + library)
        return f"{library} {version}" if version else library

    def versions(self):
        return ", ".join(dict.fromkeys(self.version(s) for s in self.subjects
                                       if not s.startswith("floor")))


def load(path):
    """None if the file is empty, as the benchmark program leaves it if no name matches."""
    with open(path, encoding="utf-8") as file:
        return json.load(file) if os.path.getsize(path) else None


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


def measured(data, rows):
    """The subjects that any of these rows has, in the order of the report."""
    return [s for s in data.subjects if any(s in cells for cells in rows.values())]


def time_table(data, rows):
    others = [subject for subject in measured(data, rows) if subject != REFERENCE]
    lines = header([REFERENCE] + others, "MB/s")
    for (operation, document), cells in rows.items():
        base = cells.get(REFERENCE)
        if not base:
            continue
        lines.append([f"{operation} {document}", f"{base[1] / 1e6:.0f}", duration(base[0])] +
                     [f"{cells[s][0] / base[0]:.2f}" if s in cells else "-" for s in others])
    for operation in dict.fromkeys(operation for operation, _ in rows):
        ratios = means(rows, operation, others)
        if ratios:
            lines.append([f"{operation}: mean", "", ""] +
                         [f"{ratios[s]:.2f}" if s in ratios else "-" for s in others])
    return aligned(lines)


def means(rows, operation, subjects):
    """The geometric mean of each subject's ratios over what it accepts, if there are several."""
    cells = [row for (name, _), row in rows.items() if name == operation and REFERENCE in row]
    ratios = {s: [row[s][0] / row[REFERENCE][0] for row in cells if s in row] for s in subjects}
    return {s: statistics.geometric_mean(values) for s, values in ratios.items()
            if values and len(cells) > 1}


def figure_table(data, rows, show):
    subjects = measured(data, rows)
    lines = header(subjects)
    for document, cells in rows.items():
        lines.append([document] + [show(cells[s]) if s in cells else "-" for s in subjects])
    return aligned(lines)


def sizes(data):
    return ["  " + library + ": " +
            (", ".join(f"{name} {size / 1e3:.0f} KB" for name, size in files.items()) or
             "linked into the program")
            for library, files in data.loaded.items()]


def warm_report(data):
    lines = ["Warm: all in one process, which keeps its memory.",
             "", *time_table(data, data.warm)]
    if data.heap:
        lines += ["", "Heap held by a parsed document, in bytes for each byte of input.", "",
                  *figure_table(data, data.heap, lambda cell: f"{cell[0]:.2f}"),
                  "", "Most heap held at any time during the parse, likewise.", "",
                  *figure_table(data, data.heap, lambda cell: f"{cell[1]:.2f}")]
    return lines


def fresh_report(data, clock):
    if not data.fresh:
        return []
    lines = ["", "As it comes: fresh processes with the default allocator"
             + (", wall times." if clock == "wall" else "."),
             "", *time_table(data, data.fresh),
             "", "Page faults of the first parse.", "",
             *figure_table(data, data.faults, lambda cell: f"{cell:.0f}")]
    if data.peaks:
        lines += ["", "Growth of the peak of resident memory from file to tree, in bytes for each "
                  "byte of input.", "",
                  *figure_table(data, data.peaks, lambda cell: f"{cell:.2f}")]
    return lines + ["", "Shared libraries that these processes load beside the C and C++ ones.", "",
                    *sizes(data)]


def report(data, clock):
    lines = ["Libraries: " + data.versions(),
             f"Measured: {data.context['date']}, {data.context['num_cpus']} CPUs at "
             f"{data.context['mhz_per_cpu']} MHz, load "
             + " ".join(f"{load:.2f}" for load in data.context["load_avg"]),
             "", f"Time. The first columns are {REFERENCE}; the others take that many times as "
             "long.",
             "Means are geometric.", "", *warm_report(data), *fresh_report(data, clock)]
    if data.notes:
        lines += ["", "Notes", *("  " + note for note in data.notes)]
    return "\n".join(lines) + "\n"


LABELS, PANEL, BETWEEN, ROW, TOP = 200, 370, 30, 24, 130
TICKS = (0.5, 1, 2, 5, 10, 20, 50)


def text_at(x, y, text, size=12, anchor="start", fill="#333"):
    return (f'<text x="{x:.1f}" y="{y:.1f}" font-size="{size}" text-anchor="{anchor}" '
            f'fill="{fill}">{escape(text)}</text>')


def line(x1, y1, x2, y2, color):
    return f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" stroke="{color}"/>'


def dot(x, y, library, filled):
    color = COLORS.get(library, "#555")
    if library == "floor":
        return f'<rect x="{x - 1.5:.1f}" y="{y - 6:.1f}" width="3" height="12" fill="{color}"/>'
    return (f'<circle cx="{x:.1f}" cy="{y:.1f}" r="4.5" stroke="{color}" stroke-width="1.5" '
            f'fill="{color if filled else "#fff"}"/>')


def fastest(ratios):
    """The fastest mode of each library."""
    best = {}
    for subject in sorted(ratios, key=ratios.get):
        best.setdefault(subject.split("/")[0], subject)
    return set(best.values())


class Scale:
    """Ratios on a logarithmic axis; what lies beyond its ends is drawn at them."""

    def __init__(self, left, low, high):
        self.left, self.low, self.high = left, low, high

    def __call__(self, ratio):
        part = math.log(ratio / self.low) / math.log(self.high / self.low)
        return self.left + min(max(part, 0), 1) * PANEL


def panel(title, left, rows, range_):
    """Rows are pairs: the name, and a ratio for each subject."""
    scale, bottom = Scale(left, *range_), TOP + len(rows) * ROW
    body = [text_at(left, TOP - 26, title, 14)]
    for tick in (tick for tick in TICKS if range_[0] <= tick <= range_[1]):
        x, color = scale(tick), "#1f6fb4" if tick == 1 else "#ddd"
        body += [line(x, TOP - 4, x, bottom, color),
                 text_at(x, TOP - 8, f"{tick:g}", 11, "middle", "#777")]
    for index, (_, ratios) in enumerate(rows):
        y, best = TOP + (index + 0.5) * ROW, fastest(ratios)
        for subject in sorted(ratios, key=lambda s: s in best):
            body.append(dot(scale(ratios[subject]), y, subject.split("/")[0], subject in best))
    return body


def ratio_rows(data, rows, operation, documents):
    subjects = [s for s in measured(data, rows) if s != REFERENCE]
    listed = []
    for document in documents:
        cells = rows.get((operation, document), {})
        listed.append((document, {s: cells[s][0] / cells[REFERENCE][0] for s in subjects
                                  if s in cells and REFERENCE in cells}))
    return listed + [("geometric mean", means(rows, operation, subjects))]


def legend(data):
    body, x = [], 10
    for library in dict.fromkeys(s.split("/")[0] for s in data.subjects):
        name = "without a session, or strictly" if library == "NEB-XML" else library
        body += [dot(x + 5, 67, library, library != "NEB-XML"), text_at(x + 14, 71, name)]
        x += 30 + 7 * len(name)
    return body + [text_at(x, 71, f"Beyond {TICKS[-1]}: drawn at {TICKS[-1]}.")]


def plot(data):
    documents = [document for (operation, document), cells in data.warm.items()
                 if operation == "parse" and REFERENCE in cells]
    panels = [("warm: parse and free", ratio_rows(data, data.warm, "parse", documents)),
              ("as it comes: first parse", ratio_rows(data, data.fresh, "first parse", documents))]
    ratios = [ratio for _, rows in panels for _, cells in rows for ratio in cells.values()]
    range_ = (min([TICKS[0], *ratios]), min(max([2, *ratios]), TICKS[-1]))
    height, width = TOP + (len(documents) + 1) * ROW + 10, LABELS + 2 * PANEL + BETWEEN + 20
    body = [text_at(10, 26, "Time of a parse, as a multiple of the time with a session "
                    "(further right is slower)", 17),
            text_at(10, 46, data.versions() +
                    ". Filled: the fastest mode. floor: the memory work alone."), *legend(data)]
    for index, (name, _) in enumerate(panels[0][1]):
        y = TOP + index * ROW
        body.append(text_at(LABELS - 12, y + 16, name, 12, "end"))
        body.append(line(10, y, width - 10, y, "#eee"))
    for index, (title, rows) in enumerate(panels):
        body += panel(title, LABELS + index * (PANEL + BETWEEN), rows, range_)
    return (f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
            f'viewBox="0 0 {width} {height}" font-family="sans-serif">\n'
            '<rect width="100%" height="100%" fill="#fff"/>\n' + "\n".join(body) + "\n</svg>\n")


def main(folder, clock="cpu"):
    data = Measurements(folder, clock)
    text = report(data, clock)
    for name, content in (("report.txt", text), ("report.svg", plot(data))):
        with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
            file.write(content)
    print(text, end="")


if __name__ == "__main__":
    if len(sys.argv) < 2 or sys.argv[2:] not in ([], ["wall"]):
        sys.exit(__doc__)
    main(*sys.argv[1:])
