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
      Compares the folders of the library with the document's table of layers, lowest first. A
      folder includes its own headers and those of folders before it in the table.

A code block in C or C++ is a program, or without a main the body of one. The block after
"It prints" is its output. A block whose language is followed by a name is a file in the folder in
which the programs run. A block whose first line begins with "$ " is a session.
"""
import argparse
import difflib
import functools
import glob
import os
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


def blocks(text):
    """Yields (kind, line number, text): headings, paragraphs, and code with its info string."""
    lines = text.split("\n") + [""]
    at = 0
    while at < len(lines):
        start = at
        if lines[at].startswith("```"):
            info = lines[at][3:].strip()
            at += 1
            while not lines[at].startswith("```"):
                at += 1
            yield "code " + info, start + 2, "\n".join(lines[start + 1:at]) + "\n"
            at += 1
        elif lines[at].startswith("    "):
            while lines[at].startswith("    ") or (
                    not lines[at].strip() and lines[min(at + 1, len(lines) - 1)].startswith("    ")):
                at += 1
            yield "code ", start + 1, "".join(line[4:] + "\n" for line in lines[start:at])
        elif lines[at].strip():
            while lines[at].strip() and not lines[at].startswith("```"):
                at += 1
            kind = "heading" if lines[start].startswith("#") else "paragraph"
            yield kind, start + 1, "\n".join(lines[start:at])
        else:
            at += 1


def program(code, language, location):
    line = '#line %d "%s"' % (location[1], location[0])
    if re.search(r"\bmain\(", code):
        return line + "\n" + code
    if language == "cpp":
        sys.exit("%s:%d: a C++ program must have a main" % location)
    return BODY.format(line=line, code=code.rstrip("\n"))


def read(path):
    with open(path) as file:
        return file.read()


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    if not os.path.exists(path) or read(path) != text:
        with open(path, "w") as file:
            file.write(text)


def extract_one(folder, document):
    name = os.path.splitext(os.path.basename(document))[0].lower()
    parts = list(blocks(read(document)))
    heading, count, listed = name, {}, []

    def unique():
        count[heading] = count.get(heading, 0) + 1
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


def compare(expected, found):
    if expected == found:
        return 0
    lines = difflib.unified_diff(expected.splitlines(True), found.splitlines(True),
                                 "expected", "found")
    sys.stdout.write("".join(lines) + "\n")
    return 1


def fresh_folder(arguments, temporary):
    folder = os.path.join(temporary, "here")
    if arguments.files:
        shutil.copytree(arguments.files, folder)
    else:
        os.mkdir(folder)
    return folder


def run(arguments):
    with tempfile.TemporaryDirectory() as temporary:
        folder = fresh_folder(arguments, temporary)
        done = subprocess.run(arguments.command, cwd=folder, stdout=subprocess.PIPE, text=True)
        found = done.stdout
        if done.returncode == 0 and arguments.file:
            found = read(os.path.join(folder, arguments.file))
    if done.returncode != 0:
        sys.exit("%s ended with %d\n%s" % (arguments.command[0], done.returncode, found))
    return compare(read(arguments.expected), found)


def session(arguments):
    expected, found = read(arguments.session), ""
    with tempfile.TemporaryDirectory() as temporary:
        folder = fresh_folder(arguments, temporary)
        for line in expected.splitlines():
            if line.startswith("$ "):
                done = subprocess.run(["sh", "-c", line[2:]], cwd=folder, stdout=subprocess.PIPE,
                                      stderr=subprocess.STDOUT, text=True)
                found += line + "\n" + done.stdout
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
        paths = (os.path.join(base, path) for base in (".", folder, "support/xml"))
        if not path.startswith("build/") and not any(map(glob.glob, paths)):
            yield path
    for name in re.findall(r"\b(?:NEB_XML|XML)_[A-Z][a-z]\w*|\bNEB_XML_[A-Z_]+\b", text):
        if name not in known_names():
            yield name


@functools.lru_cache
def known_names():
    paths = ["support/xml/neb_xml.h", *glob.glob("**/CMakeLists.txt", recursive=True),
             *glob.glob("cmake/*")]
    return {name for path in paths for name in re.findall(r"\w+", read(path))}


def references(arguments):
    found = ["%s: %s does not exist" % (document, what) for document in arguments.documents
             for what in broken(document)]
    print("\n".join(found))
    return 1 if found else 0


def misplaced(order):
    """What contradicts the layers in this order, the lowest first."""
    folders = {os.path.basename(folder): folder
               for folder in [*glob.glob("support/xml/*"), "support/platform"]
               if os.path.isdir(folder)}
    for layer in sorted(folders.keys() ^ set(order)):
        yield "the folder %s/ or its row in the table is missing" % layer
    for at, layer in enumerate(order):
        for path in sorted(glob.glob(folders.get(layer, "missing") + "/*.*")):
            for included in re.findall(r'^#include "(\w+)/', read(path), re.M):
                if included not in order[:at + 1]:
                    yield "%s includes from %s/, which is not below %s/" % (path, included, layer)


def layers(arguments):
    table = read(arguments.document).partition("\n| Layer |")[2].partition("\n\n")[0]
    found = list(misplaced(re.findall(r"^\| `(?:support/)?(\w+)/` \|", table, re.M)))
    print("\n".join(found))
    return 1 if found else 0


def main():
    parser = argparse.ArgumentParser()
    commands = parser.add_subparsers(required=True)
    command = commands.add_parser("extract")
    command.add_argument("folder")
    command.add_argument("documents", nargs="+")
    command.set_defaults(run=extract)
    command = commands.add_parser("run")
    command.add_argument("--file")
    command.add_argument("--with", dest="files")
    command.add_argument("expected")
    command.add_argument("command", nargs=argparse.REMAINDER)
    command.set_defaults(run=run)
    command = commands.add_parser("session")
    command.add_argument("--with", dest="files")
    command.add_argument("session")
    command.set_defaults(run=session)
    command = commands.add_parser("references")
    command.add_argument("documents", nargs="+")
    command.set_defaults(run=references)
    command = commands.add_parser("layers")
    command.add_argument("document")
    command.set_defaults(run=layers)
    arguments = parser.parse_args()
    return arguments.run(arguments)


if __name__ == "__main__":
    sys.exit(main())
