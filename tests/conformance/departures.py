"""The ways in which each language departs from XML 1.0, each as a rule that sorts files.

A file that is accepted although it is not well-formed belongs to the one departure whose undoing
makes it well-formed. A file that is refused although it is well-formed is sorted by the reason and
the position that the library reports.
"""
import re
from collections import namedtuple

from library import LENIENT, STRICT, UNSUPPORTED
from suite import is_well_formed

_DECLARATION = re.compile(rb"(?:\xef\xbb\xbf)?\s*<\?xml\s.*?\?>", re.S)
_MISC = re.compile(rb"\s*(?:<\?.*?\?>\s*|<!--.*?-->\s*)*", re.S)
# Markup in a document; the group is a tag.
_MARKUP = re.compile(rb"<!--.*?-->|<\?.*?\?>|<!\[CDATA\[.*?\]\]>"
                     rb"|(?P<tag></?(?![!?])(?:[^<>\"']|\"[^\"]*\"|'[^']*')+>)", re.S)
_QUOTED = re.compile(rb"(\"[^\"]*\"|'[^']*')")
_NAME_START = (":A-Z_a-z\xc0-\xd6\xd8-\xf6\xf8-\u02ff\u0370-\u037d\u037f-\u1fff\u200c\u200d"
               "\u2070-\u218f\u2c00-\u2fef\u3001-\ud7ff\uf900-\ufdcf\ufdf0-\ufffd"
               "\U00010000-\U000effff")
_NAME = re.compile(f"[{_NAME_START}][{_NAME_START}.0-9\xb7\u0300-\u036f\u203f\u2040-]*")
_BAD_CHARACTER = re.compile("[^\t\n\r\x20-\ud7ff\ue000-\ufffd\U00010000-\U0010ffff]")


def split_doctype(document):
    """Splits a document before and behind its document type declaration, as the library does."""
    begin = _MISC.match(document).end()
    if not document.startswith(b"<!DOCTYPE", begin):
        return b"", b"", document
    depth = 0
    for part in re.finditer(rb"<|>|\"[^\"]*\"", document[begin:]):
        depth += {b"<": 1, b">": -1}.get(part.group(), 0)
        if depth == 0:
            break
    return document[:begin], document[begin:begin + part.end()], document[begin + part.end():]


def _behind_declaration(change):
    """Applies a change to what follows the declaration."""
    return lambda document: re.sub(b"(" + _DECLARATION.pattern + b")?(.*)",
                                   lambda m: (m[1] or b"") + change(m[2]), document, 1, re.S)


def _in_markup(pattern, change):
    """Applies a change to each markup behind the declaration that matches a pattern."""
    return _behind_declaration(lambda document: _MARKUP.sub(
        lambda m: change(m.group()) if re.match(pattern, m.group()) else m.group(), document))


def _in_tags(outside_quotes=lambda part: part, in_quotes=lambda part: part):
    """Applies a change to the parts of tags in quotes, and another to the rest of them."""
    def change(tag):
        parts = _QUOTED.split(tag)
        parts[::2] = map(outside_quotes, parts[::2])
        parts[1::2] = map(in_quotes, parts[1::2])
        return b"".join(parts)

    return lambda document: _MARKUP.sub(
        lambda m: change(m.group()) if m.group("tag") else m.group(), document)


def _valid_name(match):
    name = match.group().decode("utf-8", "surrogateescape")
    is_unchanged = _NAME.fullmatch(name) or _BAD_CHARACTER.search(name)
    return match.group() if is_unchanged else b"n" + match.group().hex().encode()


def _escape_section_ends(document):
    return re.sub(_MARKUP.pattern + rb"|\]\]>",
                  lambda m: b"]]&gt;" if m.group() == b"]]>" else m.group(), document, flags=re.S)


# A tag with comments and processing instructions between its words.
_CUT_TAG = re.compile(rb"</?(?![!?])(?:[^<>\"']|<!--.*?-->|<\?.*?\?>|\"[^\"]*\"|'[^']*')+>", re.S)


def _without_markup_in_tags(document):
    return _CUT_TAG.sub(lambda m: re.sub(
        rb"(\"[^\"]*\"|'[^']*')|<!--.*?-->|<\?.*?\?>", lambda part: part.group(1) or b" ",
        m.group(), flags=re.S), document)


def _close_ancestors(document):
    open_names = []
    for markup in _MARKUP.finditer(document):
        tag = markup.group("tag") or b"/>"
        if tag.startswith(b"</"):
            del open_names[-1:]
        elif not tag.endswith(b"/>"):
            open_names.append(re.match(rb"<\s*([^\s>]*)", tag).group(1))
    return document + b"".join(b"</" + name + b">" for name in reversed(open_names))


# How to undo each departure in a document without document type declaration.
_UNDO = {
    "declaration": lambda document: _DECLARATION.sub(b"<?xml version='1.0'?>", document, count=1)
    if not document[:1].isspace() else document,
    "space-before-declaration": bytes.lstrip,
    "instruction-target": _in_markup(
        rb"<\?", lambda markup: re.sub(rb"<\?[^\s?]*\s*", b"<?target ", markup, count=1)),
    "comment-hyphens": _in_markup(
        rb"<!--", lambda markup: b"<!--" + markup[4:-3].replace(b"-", b"_") + b"-->"),
    "characters": lambda document: _BAD_CHARACTER.sub(
        "a", document.decode("utf-8", "surrogateescape")).encode("utf-8", "surrogateescape"),
    "names": _in_tags(lambda part: re.sub(
        rb"(?<=[\s</])[^\s/=<>][^\s=<>]*?(?=[\s=]|/?>|\Z)", _valid_name, part)),
    "space-before-name": _in_tags(lambda part: re.sub(rb"^(</?)\s+", rb"\1", part)),
    "bracket-in-attribute": _in_tags(in_quotes=lambda part: part.replace(b"<", b"&lt;")),
    "section-end-in-text": _escape_section_ends,
    "markup-in-tag": _without_markup_in_tags,
    "open-ancestors": _close_ancestors,
    "several-roots": _behind_declaration(lambda document: b"<root>" + document + b"</root>"),
}


def _explain_by_other_rules(case, document):
    """Rules of the suite that are not those of XML 1.0, fifth edition; None if it is not them."""
    if case.editions and "5" not in case.editions.split():
        return ["earlier-editions"]
    if not is_well_formed(document, case.path):
        return None
    if case.version == "1.1":
        return ["xml-1.1"]
    return [] if is_well_formed(document, case.path, with_namespaces=True) else ["namespaces"]


def _explain_accepted(case, document):
    found = _explain_by_other_rules(case, document)
    if found is not None:
        return found
    before, _, behind = split_doctype(document)
    rest = before + behind
    if is_well_formed(rest):
        return ["doctype"]
    return [departure for departure, undo in _UNDO.items() if is_well_formed(undo(rest))]


# The reason that the library reports, the bytes at the position that it reports, and the departure.
_REFUSALS = [
    ("'&' does not begin a known reference", rb"&[^#\s;]+;", "entity-reference"),
    ("text beside child elements", rb"[^<]|<!\[CDATA\[", "mixed-content"),
    ("text is followed by something other", rb"<[^!?/]", "mixed-content"),
    ("text is followed by something other", rb"<!--|<\?", "markup-in-text"),
    ("'>' or \"/>\" without a tag", rb"/?>", "tag-end-in-text"),
    ("name begins or ends with ':'", rb"<?[^\s=/>]*:", "colon"),
    ("the document is in UTF-16", rb"\xff\xfe|\xfe\xff", "utf-16"),
    ("text outside of the elements", rb"[ -~].*\]\s*>", "doctype-end"),
    ("document type declaration is not closed", rb"<!DOCTYPE|\"", "doctype-end"),
]


def _explain_refused(case, document, refusal):
    position = document[refusal.offset:]
    found = [departure for reason, pattern, departure in _REFUSALS
             if reason in refusal.reason and re.match(pattern, position, re.S)]
    if not found and case.version == "1.1" and not is_well_formed(document, case.path):
        found.append("xml-1.1")
    return found


_DOCTYPE = re.compile(
    rb"<!DOCTYPE(?:[^\[<>\"']|\"[^\"]*\"|'[^']*')*(?:\[(?:[^\]<]|<!--.*?-->|<\?.*?\?>"
    rb"|<![A-Z](?:[^<>\"']|\"[^\"]*\"|'[^']*')*>)*\]\s*)?>", re.S)


def _explain_accepted_strictly(case, document):
    found = _explain_by_other_rules(case, document)
    if found is not None:
        return found
    is_declaration = is_well_formed(_DOCTYPE.sub(b"", document, count=1))
    return ["doctype"] if _DOCTYPE.search(document) and is_declaration else []


# The reason of a refusal that is no verdict on the document, and the departure.
_UNSUPPORTED = [
    ("an entity is declared or used", "entity-reference"),
    ("mixed content", "mixed-content"),
    ("name begins or ends with ':'", "colon"),
    ("the declared encoding", "other-encoding"),
    ("the document is in UTF-16", "utf-16"),
]


def _explain_refused_strictly(case, document, refusal):
    if refusal.code == UNSUPPORTED:
        return [departure for reason, departure in _UNSUPPORTED if reason in refusal.reason]
    is_other = case.version == "1.1" and not is_well_formed(document, case.path)
    return ["xml-1.1"] if is_other else []


def _names(rows):
    return [*dict.fromkeys(row[-1] for row in rows)]


# No departures from XML 1.0, although the suite has another verdict.
OTHER_RULES = ["namespaces", "xml-1.1", "earlier-editions"]

# How a language reads, the part of the document about it, and the departures: what explains that a
# test is accepted or refused, and their names.
Language = namedtuple(
    "Language", "flags heading explain_accepted explain_refused accepted refused")
LANGUAGES = [
    Language(LENIENT, "# Departures from XML 1.0", _explain_accepted, _explain_refused,
             ["doctype", *_UNDO], _names(_REFUSALS)),
    Language(STRICT, "# Strict reading", _explain_accepted_strictly, _explain_refused_strictly,
             ["doctype"], _names(_UNSUPPORTED)),
]
