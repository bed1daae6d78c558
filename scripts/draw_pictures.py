#!/usr/bin/env python3
"""Draws the pictures of the documents: draw_pictures.py [--dark] FOLDER

Each function below draws one picture. The same source gives the same bytes. With --dark, the
pictures have the colours of a dark screen, for viewers that cannot select them.
"""
import os
import sys
from xml.sax.saxutils import escape

LIGHT = {"paper": "#ffffff", "ink": "#24292f", "dim": "#57606a", "edge": "#8c959f",
         "blue": "#ddf4ff", "green": "#dafbe1", "amber": "#fff8c5", "red": "#ffebe9",
         "grey": "#eaeef2", "link": "#0969da", "up": "#8250df"}
DARK = {"paper": "#161b22", "ink": "#e6edf3", "dim": "#9da7b3", "edge": "#6e7681",
        "blue": "#123a63", "green": "#14432a", "amber": "#4d3d0b", "red": "#5c2020",
        "grey": "#2b323b", "link": "#58a6ff", "up": "#bc8cff"}
FONT = "font-family:'DejaVu Sans','Segoe UI',Helvetica,Arial,sans-serif"
MONO = "font-family:'DejaVu Sans Mono',Menlo,Consolas,monospace"


def style(colours):
    rules = ["text{%s;font-size:13px;fill:%s}" % (FONT, colours["ink"]),
             ".mono{%s}" % MONO, ".big{font-size:22px}", ".small{font-size:11px}",
             ".bold{font-weight:bold}", ".dim{fill:%s}" % colours["dim"],
             ".paper{fill:%s;stroke:%s}" % (colours["paper"], colours["edge"]),
             ".line{fill:none;stroke:%s;stroke-width:1.3}" % colours["edge"]]
    for name in ("blue", "green", "amber", "red", "grey"):
        rules.append(".%s{fill:%s;stroke:%s}" % (name, colours[name], colours["edge"]))
    for name in ("link", "up"):
        rules.append(".%s{fill:none;stroke:%s;stroke-width:1.6}" % (name, colours[name]))
        rules.append(".%s-head{fill:%s}" % (name, colours[name]))
        rules.append("text.%s-text{fill:%s}" % (name, colours[name]))
    return "".join(rules)


class Picture:
    def __init__(self, width, height, title):
        self.size = (width, height)
        self.title = title
        self.parts = []

    def box(self, x, y, width, height, kind):
        self.parts.append('<rect x="%g" y="%g" width="%g" height="%g" rx="3" class="%s"/>'
                          % (x, y, width, height, kind))

    def text(self, x, y, text, kind="", anchor="start"):
        self.parts.append('<text x="%g" y="%g" class="%s" text-anchor="%s" xml:space="preserve">%s'
                          '</text>' % (x, y, kind, anchor, escape(text)))

    def labelled(self, x, y, width, height, kind, label, text_kind="mono"):
        self.box(x, y, width, height, kind)
        self.text(x + width / 2, y + height / 2 + 4.5, label, text_kind, "middle")

    def path(self, data, kind, arrow=False):
        head = ' marker-end="url(#%s)"' % kind if arrow else ""
        self.parts.append('<path d="%s" class="%s"%s/>' % (data, kind, head))

    def write(self, file, dark):
        width, height = self.size
        rules = style(DARK) if dark else (
            style(LIGHT) + "@media(prefers-color-scheme:dark){" + style(DARK) + "}")
        heads = "".join(
            '<marker id="%s" viewBox="0 0 8 8" refX="7" refY="4" markerWidth="7" markerHeight="7" '
            'orient="auto"><path d="M0 0L8 4L0 8z" class="%s-head"/></marker>' % (kind, kind)
            for kind in ("link", "up"))
        file.write('<svg xmlns="http://www.w3.org/2000/svg" width="%d" height="%d" '
                   'viewBox="0 0 %d %d" role="img">\n<title>%s</title>\n<style>%s</style>\n'
                   '<defs>%s</defs>\n<rect x="0.5" y="0.5" width="%d" height="%d" rx="6" '
                   'class="paper"/>\n' % (width, height, width, height, escape(self.title), rules,
                                          heads, width - 1, height - 1))
        file.write("\n".join(self.parts) + "\n</svg>\n")


def record():
    """The node record, as record/node.h lays it out, and its links."""
    picture = Picture(920, 600, "The node record and its links")
    fields = [(0, 4, "sessionId", "blue"), (4, 4, "marks …", "grey"), (8, 8, "name", "green"),
              (16, 8, "value", "green"), (24, 8, "prefix", "green"), (32, 4, "type …", "grey"),
              (36, 4, "boundSession", "blue"), (40, 8, "parent", "amber"), (48, 8, "next", "amber"),
              (56, 8, "prev", "amber"), (64, 8, "firstChild", "amber"),
              (72, 8, "lastChild", "amber"), (80, 8, "firstAttr", "amber"),
              (88, 120, "nameTable: 10 × 12 bytes", "red")]
    left, top, byte, row = 60, 50, 20, 26
    picture.text(20, 30, "One record, as long as its type needs", "bold")
    y = top
    for offset, size, name, kind in fields:
        if size == 4:
            x = left + (offset % 8) * byte
            picture.labelled(x, y, 4 * byte, row, kind, name, "mono small")
        else:
            height = row * 2 if size > 8 else row
            picture.labelled(left, y, 8 * byte, height, kind,
                             "" if size > 8 else name)
            if size > 8:
                picture.text(left + 4 * byte, y + 22, "nameTable", "mono", "middle")
                picture.text(left + 4 * byte, y + 40, "10 × 12 bytes", "small dim", "middle")
        if offset % 8 == 0:
            picture.text(left - 8, y + 17, str(offset), "mono small dim", "end")
        if offset % 8 == 4 or size >= 8:
            y += row * 2 if size > 8 else row
    right = left + 8 * byte
    for at, first, second in ((7, "attribute", "56 bytes"), (11, "element", "88 bytes"),
                              (13, "document", "208 bytes")):
        end = top + row * at
        picture.path("M%g %gH%g" % (right, end, right + 22), "line")
        picture.text(right + 27, end - 3, first, "bold")
        picture.text(right + 27, end + 13, second, "small dim")
    legend = [("blue", "storage"), ("green", "strings, each with its terminator"),
              ("amber", "position in the tree"), ("red", "short names, shared by nodes"),
              ("grey", "kind, ownership, marks")]
    for i, (kind, text) in enumerate(legend):
        picture.box(left - 36, 442 + 28 * i, 18, 14, kind)
        picture.text(left - 10, 454 + 28 * i, text)

    x = 390
    picture.text(x, 30, "The links of", "bold")
    picture.text(x + 94, 30, '<a n="1" m="2"><b/><c>text</c><d/></a>', "mono")

    def node(nx, ny, name, sub, kind="grey"):
        picture.labelled(nx, ny, 96, 44, kind, "")
        picture.text(nx + 48, ny + 20, name, "mono bold", "middle")
        picture.text(nx + 48, ny + 36, sub, "small dim", "middle")

    picture.parts.append('<g transform="translate(48 14)">')
    node(400, 90, "a", "document", "red")
    node(600, 90, "n", "attribute")
    node(740, 90, "m", "attribute")
    node(350, 290, "b", "element")
    node(520, 290, "c", "element")
    node(690, 290, "d", "element")
    # down
    picture.path("M420 134C410 190 392 230 386 288", "link", True)
    picture.text(392, 200, "firstChild", "mono small link-text", "end")
    picture.path("M480 134C560 170 720 200 752 288", "link", True)
    picture.text(668, 196, "lastChild", "mono small link-text")
    picture.path("M496 104H598", "link", True)
    picture.text(547, 98, "firstAttr", "mono small link-text", "middle")
    # along
    for x in (446, 616):
        picture.path("M%d 304H%d" % (x, x + 72), "link", True)
        picture.text(x + 36, 298, "next", "mono small link-text", "middle")
        picture.path("M%d 322H%d" % (x + 74, x + 2), "link", True)
        picture.text(x + 36, 338, "prev", "mono small link-text", "middle")
    picture.path("M696 104H738", "link", True)
    picture.text(717, 98, "next", "mono small link-text", "middle")
    # up
    picture.path("M412 290C426 240 434 190 438 136", "up", True)
    picture.path("M556 290C530 230 480 190 452 136", "up", True)
    picture.path("M720 290C680 220 540 200 468 136", "up", True)
    picture.text(478, 262, "parent", "mono small up-text")
    picture.path("M600 122H498", "up", True)
    picture.path("M788 136C788 168 600 164 498 130", "up", True)
    picture.parts.append("</g>")
    notes = ["A document node is the root element itself.",
             "Attributes are nodes: a single list, each with its element as parent.",
             "A walk follows parent upwards, so it needs no stack.",
             "A record has alignment 1: the allocations of a session are back to back."]
    for i, text in enumerate(notes):
        picture.text(390, 454 + 28 * i, text)
    return picture


def session():
    """The blocks of a session, and the block that an allocation comes from."""
    picture = Picture(880, 400, "A session's blocks with first fit")
    picture.text(20, 30, "A session is a chain of blocks. An allocation comes from the first block "
                 "with room for it.", "bold")
    blocks = [(30, 190, 150, "8192", "40 left"), (300, 190, 165, "8192", "24 left"),
              (570, 220, 90, "16384", "9000 left")]
    for i, (x, width, used, capacity, left) in enumerate(blocks):
        y = 130
        picture.labelled(x, y, 56, 70, "blue", "")
        for line, word in enumerate(("cursor", "room", "capacity", "next")):
            picture.text(x + 28, y + 16 + 15 * line, word, "small dim", "middle")
        picture.labelled(x + 56, y, used, 70, "green", "allocated", "")
        picture.box(x + 56 + used, y, width - used, 70, "paper")
        picture.text(x + 56, y + 90, "block %d: %s bytes" % (i + 1, capacity), "small")
        picture.text(x + 56 + width, y + 90, left, "small dim", "end")
        picture.path("M%g %gV%g" % (x + 56 + used, y + 70, y + 78), "line")
    for x, to in ((30, 300), (300, 570)):
        picture.path("M%g 200C%g 262 %g 262 %g 202" % (x + 28, x + 50, to, to + 16), "link", True)
    picture.labelled(150, 66, 90, 26, "amber", "34 bytes")
    picture.path("M226 92C232 108 238 112 242 128", "up", True)
    picture.text(250, 84, "block 1 has room", "small dim")
    picture.labelled(480, 66, 90, 26, "amber", "88 bytes")
    picture.path("M560 92C600 110 730 96 758 128", "up", True)
    picture.text(580, 84, "blocks 1 and 2 have no room, block 3 has", "small dim")
    picture.labelled(30, 300, 110, 26, "amber", "20000 bytes")
    picture.path("M140 313H190", "up", True)
    picture.labelled(196, 288, 56, 50, "grey", "new", "small")
    picture.box(252, 288, 320, 50, "grey")
    picture.text(412, 318, "block 4: 32768 bytes", "", "middle")
    picture.text(590, 309, "No block has room: one is added, as large", "small dim")
    picture.text(590, 325, "as the last, doubled until it fits.", "small dim")
    picture.text(20, 375, "Single allocations are not freed. The end of the session frees the "
                 "blocks one by one.")
    return picture


def path():
    """The parts of a path."""
    picture = Picture(860, 250, "The parts of a path")
    parts = [("app", "blue", "the node where", "the search starts"), (".", "", "", ""),
             ("x:item", "green", "a child, by prefix", "and name"), (".", "", "", ""),
             ("2", "amber", "the second of", "these children"), (".", "", "", ""),
             ("v1\\.5", "green", "a child called v1.5:", "its dot is escaped"), (".", "", "", ""),
             ("port", "green", "the first child", "of any prefix")]
    width, gap = 14.5, 10
    total = sum(len(text) * width + (2 * gap if kind else 0) for text, kind, _, _ in parts)
    x = (860 - total) / 2
    for at, (text, kind, first, second) in enumerate(parts):
        size = len(text) * width + (2 * gap if kind else 0)
        if kind:
            picture.box(x, 92, size, 44, kind)
            middle = x + size / 2
            above = at % 4 == 2
            if above:
                picture.path("M%g 92V68" % middle, "line")
                picture.text(middle, 42, first, "", "middle")
                picture.text(middle, 60, second, "", "middle")
            else:
                picture.path("M%g 136V160" % middle, "line")
                picture.text(middle, 178, first, "", "middle")
                picture.text(middle, 196, second, "", "middle")
        picture.text(x + size / 2, 121, text, "mono big", "middle")
        x += size
    picture.text(430, 232, "Segments are separated by dots. A segment of digits counts from 1.",
                 "dim", "middle")
    return picture


def main():
    dark = sys.argv[1] == "--dark"
    folder = sys.argv[-1]
    for name, draw in (("record", record), ("session", session), ("path", path)):
        with open(os.path.join(folder, name + ".svg"), "w", encoding="utf-8") as file:
            draw().write(file, dark)


if __name__ == "__main__":
    main()
