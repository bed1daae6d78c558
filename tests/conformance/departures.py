"""The ways in which the accepted language departs from XML 1.0, each as a rule that sorts files.

A file that is accepted although it is not well-formed is sorted by mending it: the one departure
whose undoing makes it well-formed is the one by which it was accepted. A file that is refused
although it is well-formed is sorted by the reason that the library gives, and by the text at the
place that it names.
"""
import re

from suite import is_well_formed

_DECLARATION = re.compile(rb"\s*<\?xml\s.*?\?>", re.S)
_MISC = re.compile(rb"\s*(?:<\?.*?\?>\s*|<!--.*?-->\s*)*", re.S)
# What may stand in a text beside character data, and what of it is a tag.
_MARKUP = re.compile(rb"<!--.*?-->|<\?.*?\?>|<!\[CDATA\[.*?\]\]>"
                     rb"|(?P<tag></?(?![!?])(?:[^<>\"']|\"[^\"]*\"|'[^']*')+>)", re.S)
_QUOTED = re.compile(rb"(\"[^\"]*\"|'[^']*')")
_NAME_START = (":A-Z_a-z\xc0-\xd6\xd8-\xf6\xf8-\u02ff\u0370-\u037d\u037f-\u1fff\u200c\u200d"
               "\u2070-\u218f\u2c00-\u2fef\u3001-\ud7ff\uf900-\ufdcf\ufdf0-\ufffd"
               "\U00010000-\U000effff")
_NAME = re.compile(f"[{_NAME_START}][{_NAME_START}.0-9\xb7\u0300-\u036f\u203f\u2040-]*")
_BAD_CHARACTER = re.compile("[^\t\n\r\x20-\ud7ff\ue000-\ufffd\U00010000-\U0010ffff]")


def split_doctype(text):
    """What stands before, in and behind the document type declaration as the library finds it."""
    begin = _MISC.match(text).end()
    if not text.startswith(b"<!DOCTYPE", begin):
        return b"", b"", text
    depth = 0
    for part in re.finditer(rb"<|>|\"[^\"]*\"", text[begin:]):
        depth += {b"<": 1, b">": -1}.get(part.group(), 0)
        if depth == 0:
            break
    return text[:begin], text[begin:begin + part.end()], text[begin + part.end():]


def _in_markup(pattern, change):
    """Applies a change to each piece of markup that a pattern finds behind the declaration."""
    def mend(text):
        declaration = _DECLARATION.match(text)
        begin = declaration.end() if declaration else 0
        return text[:begin] + _MARKUP.sub(
            lambda m: change(m.group()) if re.match(pattern, m.group()) else m.group(),
            text[begin:])

    return mend


def _in_tags(outside_quotes=lambda part: part, in_quotes=lambda part: part):
    """Applies a change to the parts of tags in quotes, and another to the rest of them."""
    def change(tag):
        parts = _QUOTED.split(tag)
        parts[::2] = map(outside_quotes, parts[::2])
        parts[1::2] = map(in_quotes, parts[1::2])
        return b"".join(parts)

    return lambda text: _MARKUP.sub(
        lambda m: change(m.group()) if m.group("tag") else m.group(), text)


def _plain_name(match):
    name = match.group().decode("utf-8", "surrogateescape")
    is_left_alone = _NAME.fullmatch(name) or _BAD_CHARACTER.search(name)
    return match.group() if is_left_alone else b"n" + match.group().hex().encode()


def _escape_section_ends(text):
    pieces, end = [], 0
    for markup in _MARKUP.finditer(text):
        pieces += [text[end:markup.start()].replace(b"]]>", b"]]&gt;"), markup.group()]
        end = markup.end()
    return b"".join(pieces) + text[end:]


# A tag in which comments and processing instructions stand between the words.
_CUT_TAG = re.compile(rb"</?(?![!?])(?:[^<>\"']|<!--.*?-->|<\?.*?\?>|\"[^\"]*\"|'[^']*')+>", re.S)


def _without_markup_in_tags(text):
    return _CUT_TAG.sub(lambda m: re.sub(
        rb"(\"[^\"]*\"|'[^']*')|<!--.*?-->|<\?.*?\?>", lambda part: part.group(1) or b" ",
        m.group(), flags=re.S), text)


def _give_one_root(text):
    declaration = _DECLARATION.match(text)
    begin = declaration.end() if declaration else 0
    return text[:begin] + b"<root>" + text[begin:] + b"</root>"


def _close_ancestors(text):
    open_names = []
    for markup in _MARKUP.finditer(text):
        tag = markup.group("tag")
        if tag is None:
            continue
        if tag.startswith(b"</"):
            if open_names:
                open_names.pop()
        elif not tag.endswith(b"/>"):
            open_names.append(re.match(rb"<\s*([^\s>]*)", tag).group(1))
    return text + b"".join(b"</" + name + b">" for name in reversed(open_names))


# How to undo each departure in a text without document type declaration.
_MENDS = {
    "declaration": lambda text: _DECLARATION.sub(b"<?xml version='1.0'?>", text, count=1)
    if not text[:1].isspace() else text,
    "space-before-declaration": bytes.lstrip,
    "instruction-target": _in_markup(
        rb"<\?", lambda markup: re.sub(rb"<\?[^\s?]*\s*", b"<?target ", markup, count=1)),
    "comment-hyphens": _in_markup(
        rb"<!--", lambda markup: b"<!--" + markup[4:-3].replace(b"-", b"_") + b"-->"),
    "characters": lambda text: _BAD_CHARACTER.sub(
        "a", text.decode("utf-8", "surrogateescape")).encode("utf-8", "surrogateescape"),
    "names": _in_tags(lambda part: re.sub(
        rb"(?<=[\s</])[^\s/=<>][^\s=<>]*?(?=[\s=]|/?>|\Z)", _plain_name, part)),
    "space-before-name": _in_tags(lambda part: re.sub(rb"^(</?)\s+", rb"\1", part)),
    "bracket-in-attribute": _in_tags(in_quotes=lambda part: part.replace(b"<", b"&lt;")),
    "section-end-in-text": _escape_section_ends,
    "markup-in-tag": _without_markup_in_tags,
    "open-ancestors": _close_ancestors,
    "several-roots": _give_one_root,
}


def explain_accepted(case, text):
    """The departures by which a text that is not well-formed may have been accepted."""
    if case.editions and "5" not in case.editions.split():
        return ["earlier-editions"]
    if is_well_formed(text, case.path):
        if case.version == "1.1":
            return ["xml-1.1"]
        return [] if is_well_formed(text, case.path, with_namespaces=True) else ["namespaces"]
    before, _, behind = split_doctype(text)
    rest = before + behind
    if is_well_formed(rest):
        return ["doctype"]
    mended = {departure: mend(rest) for departure, mend in _MENDS.items()}
    return [departure for departure, mended_text in mended.items() if is_well_formed(mended_text)]


# The reason that the library gives, the text at the place that it names, and the departure.
_REFUSALS = [
    ("'&' does not begin a known reference", rb"&[^#\s;]+;", "entity-reference"),
    ("text beside child elements", rb"[^<]|<!\[CDATA\[", "mixed-content"),
    ("text is followed by something other", rb"<[^!?/]", "mixed-content"),
    ("text is followed by something other", rb"<!--|<\?", "markup-in-text"),
    ("'>' or \"/>\" without a tag", rb"/?>", "tag-end-in-text"),
    ("name begins or ends with ':'", rb"<?[^\s=/>]*:", "colon"),
    ("text outside of the elements", rb"\xff\xfe|\xfe\xff", "utf-16"),
    ("text outside of the elements", rb"\xef\xbb\xbf", "byte-order-mark"),
    ("text outside of the elements", rb"[ -~].*\]\s*>", "doctype-end"),
    ("document type declaration is not closed", rb"<!DOCTYPE|\"", "doctype-end"),
]


def explain_refused(case, text, refusal):
    """The departures by which a well-formed text may have been refused."""
    found = [departure for reason, place, departure in _REFUSALS
             if reason in refusal.reason and re.compile(place, re.S).match(text, refusal.offset)]
    if not found and case.version == "1.1" and not is_well_formed(text, case.path):
        found.append("xml-1.1")
    return found


ACCEPTED = ["doctype", *_MENDS]
REFUSED = [*dict.fromkeys(departure for _, _, departure in _REFUSALS)]
# No departures from XML 1.0, though the suite's verdict is another one.
OTHER_RULES = ["namespaces", "xml-1.1", "earlier-editions"]
