"""The W3C XML test suite: its catalogue, and the verdict of a second parser on a document."""
import os
import pathlib
import re
import xml.etree.ElementTree as ElementTree
from collections import namedtuple
from dataclasses import dataclass
from xml.parsers import expat

_XML_BASE = "{http://www.w3.org/XML/1998/namespace}base"
_CATALOGUE = "cleaned/xmlconf-flattened.xml"
_FILES = "xmlconf"
_CONTRADICTED_MARK = re.compile(
    rb"\xef\xbb\xbf<\?xml[^>]*\sencoding\s*=\s*[\"'](?!utf-8)", re.I)


# An element: its name, attributes and text, and the elements in it.
Element = namedtuple("Element", "name attributes text children")


@dataclass(frozen=True)
class Case:
    """One test of the catalogue."""

    name: str
    kind: str  # valid, invalid, not-wf or error
    path: str
    version: str  # "" is any version of XML
    editions: str  # of XML 1.0; "" is any

    @property
    def is_well_formed(self):
        return self.kind in ("valid", "invalid")


def read_cases(folder):
    """All tests of a suite, in the order of the catalogue."""
    def visit(element, base):
        if element.tag == "TEST":
            path = os.path.normpath(os.path.join(base, element.get("URI")))
            yield Case(element.get("ID"), element.get("TYPE"), path,
                       element.get("VERSION", ""), element.get("EDITION", ""))
        for child in element:
            yield from visit(child, os.path.join(base, element.get(_XML_BASE, "")))

    catalogue = ElementTree.parse(os.path.join(folder, _CATALOGUE)).getroot()
    return list(visit(catalogue, os.path.join(folder, _FILES)))


def read_tree(document):
    """What the second parser reads. Default values of attributes and entities are not in it."""
    top, texts = Element(b"", {}, b"", []), [[]]
    open_elements = [top]

    def start(name, attributes):
        values = {key.encode(): value.encode() for key, value in attributes.items()}
        element = Element(name.encode(), values, b"", [])
        open_elements[-1].children.append(element)
        open_elements.append(element)
        texts.append([])

    def end(_name):
        element, text = open_elements.pop(), "".join(texts.pop())
        is_layout = element.children and not text.strip(" \t\n\r")
        siblings = open_elements[-1].children
        siblings[-1] = element._replace(text=b"" if is_layout else text.encode())

    parser = expat.ParserCreate()
    parser.specified_attributes = True
    parser.StartElementHandler, parser.EndElementHandler = start, end
    parser.CharacterDataHandler = lambda text: texts[-1].append(text)
    parser.Parse(document, True)
    return top.children[0]


def is_well_formed(document, path=None, with_namespaces=False):
    """Whether the second parser accepts a document as well-formed; see find_error."""
    return find_error(document, path, with_namespaces) is None


def find_error(document, path=None, with_namespaces=False):
    """Why the second parser, which knows all of XML 1.0, refuses a document; None if it does not.

    path  the file of the document; external entities are read relative to it, and none without it.
    """
    if _CONTRADICTED_MARK.match(document):  # which that parser accepts
        return "another encoding than that of the byte order mark"
    parser = expat.ParserCreate(namespace_separator="\n" if with_namespaces else None)
    parsers = [parser]  # of the document and of the entities that are being read, innermost last
    if path is not None:
        parser.SetParamEntityParsing(expat.XML_PARAM_ENTITY_PARSING_ALWAYS)
        parser.SetBase(path)

        def read_entity(context, base, system_id, _public_id):
            entity_path = os.path.join(os.path.dirname(base), system_id or "")
            if not os.path.isfile(entity_path):
                return 1
            entity_parser = parsers[-1].ExternalEntityParserCreate(context)
            entity_parser.SetBase(entity_path)
            parsers.append(entity_parser)
            entity_parser.Parse(pathlib.Path(entity_path).read_bytes(), True)
            parsers.pop()
            return 1

        parser.ExternalEntityRefHandler = read_entity
    try:
        parser.Parse(document, True)
    except (expat.ExpatError, ValueError, LookupError) as error:
        return str(error).split(":", maxsplit=1)[0]
    return None
