#!/usr/bin/env python3
"""Runs the programs and sessions of the documents, and compares the output with what they show.

  shown.py extract FOLDER DOCUMENT...
      Writes each program of the documents with its expected output and each terminal session
      into FOLDER, and samples.cmake, which lists them all.
  shown.py run [--file NAME] [--with FOLDER] EXPECTED COMMAND...
      Runs a command in a fresh folder and compares its output, or a file that it writes, with a
      file. The fresh folder holds a copy of the folder of --with.
  shown.py session [--with FOLDER] SESSION
      Runs the commands of a session in a shell and compares their output.
  shown.py references DOCUMENT...
      Checks that everything exists that the documents refer to: other documents and their
      sections, files of the project, names of the interface and of the build.
  shown.py layers DOCUMENT
      Compares the folders of the library, and those of the tool, with the document's tables of
      layers, lowest first. A folder includes its own headers and those of folders before it in its
      table.

A code block in C or C++ is a program, or without a main the body of one. The block after
"It prints" is its output. A block whose language is followed by a name is a file in the folder in
which the programs run. A block whose first line begins with "$ " is a session. A command of it goes
on in the next line if its line ends in a backslash.
"""
import argparse
import collections
import contextlib
import difflib
import functools
import glob
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

BODY = """#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "neb_xml.h"

int main(void) {{
{line}
{code}
  return 0;
}}
"""
SUFFIXES = {"c": ".c", "cpp": ".cpp"}


# Code between fences, indented code, and a heading or a paragraph.
BLOCK = re.compile(r"^```(?P<info>.*)\n(?P<fenced>(?:.*\n)*?)```$"
                   r"|(?P<indented>(?:^    .*\n(?:\s*\n(?=    ))?)+)"
                   r"|(?P<paragraph>^.*\S.*(?:\n(?!```).*\S.*)*)", re.M)


def blocks(text):
    """Yields (kind, line number, text): headings, paragraphs, and code with its info string."""
    for block in BLOCK.finditer(text):
        kind, content = block.lastgroup, block[block.lastgroup]
        if kind != "paragraph":
            content = re.sub("^    ", "", content, flags=re.M) if kind == "indented" else content
            kind = "code " + (block["info"] or "").strip()
        elif content.startswith("```"):
            sys.exit("code without an end: " + content)
        elif content.startswith("#"):
            kind = "heading"
        yield kind, text.count("\n", 0, block.start(block.lastgroup)) + 1, content


def program(code, language, location):
    line = '#line %d "%s"' % (location[1], location[0])
    if re.search(r"\bmain\(", code):
        return line + "\n" + code
    if language == "cpp":
        sys.exit("%s:%d: a C++ program must have a main" % location)
    return BODY.format(line=line, code=code.rstrip("\n"))


def read(path):
    return pathlib.Path(path).read_text()


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    if not os.path.exists(path) or read(path) != text:
        pathlib.Path(path).write_text(text)


def extract_one(folder, document):
    name = os.path.splitext(os.path.basename(document))[0].lower()
    parts = list(blocks(read(document)))
    heading, count, listed = name, collections.Counter(), []

    def unique():
        count[heading] += 1
        return heading if count[heading] == 1 else "%s_%d" % (heading, count[heading])

    os.makedirs(os.path.join(folder, name, "files"), exist_ok=True)
    for at, (kind, line, text) in enumerate(parts):
        words = kind.split()
        if kind == "heading":
            title = text.lstrip("#").strip().lower().replace("+", "p")
            heading = re.sub(r"\W+", "_", title).strip("_")
        elif words[0] == "code" and len(words) == 3:
            write(os.path.join(folder, name, "files", words[2]), text)
        elif words[0] == "code" and words[1:] and words[1] in SUFFIXES:
            expected_parts = parts[at + 1:at + 3]
            if len(expected_parts) < 2 or not expected_parts[0][2].startswith("It prints"):
                sys.exit('%s:%d: a program that is not followed by "It prints"' % (document, line))
            sample = unique()
            path = os.path.join(folder, name, sample)
            source = path + SUFFIXES[words[1]]
            write(source, program(text, words[1], (document, line)))
            write(path + ".expected", expected_parts[1][2])
            listed.append("neb_xml_add_program(%s %s %s)" % (name, sample, source))
        elif words[0] == "code" and text.startswith("$ "):
            sample = unique()
            write(os.path.join(folder, name, sample + ".session"), text)
            listed.append("neb_xml_add_session(%s %s)" % (name, sample))
    return listed


def extract(arguments):
    listed = [line for document in arguments.documents
              for line in extract_one(arguments.folder, document)]
    write(os.path.join(arguments.folder, "samples.cmake"), "\n".join(listed) + "\n")


def report(errors):
    print("\n".join(errors))
    return 1 if errors else 0


def compare(expected, found):
    return report(list(difflib.unified_diff(expected.split("\n"), found.split("\n"), "expected",
                                            "found", lineterm="")))


@contextlib.contextmanager
def fresh_folder(arguments):
    with tempfile.TemporaryDirectory() as folder:
        if arguments.files:
            shutil.copytree(arguments.files, folder, dirs_exist_ok=True)
        yield folder


def run(arguments):
    with fresh_folder(arguments) as folder:
        done = subprocess.run(arguments.command, cwd=folder, stdout=subprocess.PIPE, text=True)
        found = done.stdout
        if done.returncode == 0 and arguments.file:
            found = read(os.path.join(folder, arguments.file))
    if done.returncode != 0:
        sys.exit("%s ended with %d\n%s" % (arguments.command[0], done.returncode, found))
    return compare(read(arguments.expected), found)


def session(arguments):
    expected, found = read(arguments.session), ""
    with fresh_folder(arguments) as folder:
        for command in re.findall(r"^\$ ((?:.*\\\n)*.*\n)", expected, re.M):
            done = subprocess.run(["sh", "-c", command], cwd=folder, stdout=subprocess.PIPE,
                                  stderr=subprocess.STDOUT, text=True)
            found += "$ " + command + done.stdout
    return compare(expected, found)


def name_of(heading):
    """The name by which a link refers to a heading."""
    return re.sub(r"[^\w -]", "", heading.lstrip("#").strip().lower()).replace(" ", "-")


def headings(document):
    return {name_of(text) for kind, _, text in blocks(read(document)) if kind == "heading"}


def broken(document):
    """The references of a document to what does not exist."""
    text, folder = read(document), os.path.dirname(document)
    for target in re.findall(r"\]\(([^)\s]+)\)", text):
        path, _, section = target.partition("#")
        if "://" in path:
            continue
        path = os.path.normpath(os.path.join(folder, path)) if path else document
        if not os.path.exists(path) or (section and section not in headings(path)):
            yield "link to " + target
    for path in re.findall(r"`((?:[\w.*-]+/)+[\w.*-]*)`", text):
        bases = (".", folder, "support/xml", "tools/nebxml")
        paths = (os.path.join(base, path) for base in bases)
        if not path.startswith("build/") and not any(map(glob.glob, paths)):
            yield path
    for name in re.findall(r"\b(?:NEB_XML|XML)_[A-Z][a-z]\w*|\bNEB_XML_[A-Z_]+\b", text):
        if name not in known_names():
            yield name


@functools.lru_cache
def known_names():
    # A build may hold links that lead out of it.
    folders = [folder for folder in glob.glob("*/") if folder != "build/"]
    paths = ["support/xml/neb_xml.h", *glob.glob("support/platform/*.h"), "CMakeLists.txt",
             *(path for folder in folders
               for path in glob.glob(folder + "**/CMakeLists.txt", recursive=True)),
             *glob.glob("cmake/*.*")]
    return {name for path in paths for name in re.findall(r"\w+", read(path))}


def references(arguments):
    return report(["%s: %s does not exist" % (document, what) for document in arguments.documents
                   for what in broken(document)])


# The tables of layers: the heading of the first column, and the folders that it lists.
LAYERS = {"Layer": ["support/xml/*", "support/platform"], "Room": ["tools/nebxml/*"]}


def misplaced(heading, order):
    """What contradicts the layers in this order, the lowest first."""
    folders = {os.path.basename(folder): folder
               for pattern in LAYERS[heading] for folder in glob.glob(pattern)
               if glob.glob(folder + "/*.h")}
    for layer in sorted(folders.keys() ^ set(order)):
        yield "the folder %s/ or its row in the table is missing" % layer
    for at, layer in enumerate(order):
        for path in sorted(glob.glob(folders.get(layer, "missing") + "/*.*")):
            for included in re.findall(r'^#include "(\w+)/', read(path), re.M):
                if included not in order[:at + 1]:
                    yield "%s includes from %s/, which is not below %s/" % (path, included, layer)


def layers(arguments):
    document = read(arguments.document)
    tables = {heading: document.partition("\n| %s |" % heading)[2].partition("\n\n")[0]
              for heading in LAYERS}
    return report([what for heading, table in tables.items() for what in misplaced(
        heading, re.findall(r"^\| `(?:support/)?(\w+)/` \|", table, re.M))])


# The arguments of each command.
COMMANDS = {
    extract: {"folder": {}, "documents": {"nargs": "+"}},
    run: {"--file": {}, "--with": {"dest": "files"}, "expected": {},
          "command": {"nargs": argparse.REMAINDER}},
    session: {"--with": {"dest": "files"}, "session": {}},
    references: {"documents": {"nargs": "+"}},
    layers: {"document": {}},
}


def main():
    parser = argparse.ArgumentParser()
    commands = parser.add_subparsers(required=True)
    for function, arguments in COMMANDS.items():
        command = commands.add_parser(function.__name__)
        command.set_defaults(run=function)
        for name, options in arguments.items():
            command.add_argument(name, **options)
    arguments = parser.parse_args()
    return arguments.run(arguments)


if __name__ == "__main__":
    sys.exit(main())
