#!/usr/bin/env python3
"""Makes Doxygen's manual pages usual ones: man_pages.py FOLDER EXPORTS

Each family of functions is a page, which its functions lead to. Fails when a symbol of EXPORTS, the
list of what the shared library offers, leads nowhere.
"""
import os
import re
import sys

LINK = re.compile(r"\.so man3/(\S+)\n")


def cleaned(text, functions):
    title = re.search(r'\.TH "(\S+)"', text)[1]
    text = re.sub(r'(\.TH "\S+" 3) "[^"]*" "[^"]*"', r'\1 "" "NEB XML"', text)
    if functions:
        text = re.sub(r"(\.SH NAME\n)\S+", r"\1%s, %s" % (title, ", ".join(functions)), text)
        text = re.sub(r"(\.SH SYNOPSIS\n)\.br\n", r"\1.B #include <neb_xml.h>\n", text)
    text = re.sub(r"(\.SH NAME\n.*\n)(?s:.*?)(?=\.SH )", r"\1", text)
    text = re.sub(r'\.SH "Detailed Description"\n\.PP *\n\n(?=\.SH)', "", text)
    text = re.sub(r'\.SH "Author"\n.*', "", text, flags=re.S)
    # Doxygen breaks a line after each parameter, and once more after the last.
    return re.sub(r" +\n", "\n", text).replace("\n\n.PP\n", "\n.PP\n")


def main():
    folder, exports = sys.argv[1:]
    with open(exports, encoding="utf-8") as file:
        symbols = file.read().split()
    pages = {}
    for name in sorted(os.listdir(folder)):
        path = os.path.join(folder, name)
        with open(path, encoding="utf-8") as file:
            link = LINK.fullmatch(file.read())
        symbol = name[:-len(".3")]
        if link and symbol in symbols:
            pages.setdefault(link[1], []).append(symbol)
        elif not re.fullmatch(r"neb_xml(_\w+)?", symbol):
            os.remove(path)
    missing = set(symbols) - {symbol for group in pages.values() for symbol in group}
    if missing:
        sys.exit("not in the reference: " + " ".join(sorted(missing)))
    for name in os.listdir(folder):
        if name.startswith("neb_xml"):
            path = os.path.join(folder, name)
            with open(path, encoding="utf-8") as file:
                text = file.read()
            with open(path, "w", encoding="utf-8") as file:
                file.write(cleaned(text, pages.get(name, [])))


if __name__ == "__main__":
    main()
