#!/usr/bin/env python3
"""Prints a document as JSON, by Python's own parsers: what the tool prints of its root element."""
import json
import sys
from xml.dom import minidom


def mapping(element):
    children = [node for node in element.childNodes if node.nodeType == node.ELEMENT_NODE]
    texts = (node.data for node in element.childNodes if node.nodeType != node.ELEMENT_NODE)
    text = "" if children else "".join(texts)
    members = {"@" + name: value for name, value in element.attributes.items()}
    if not members and not children:
        return text
    if text:
        members["#text"] = text
    named = {}
    for child in children:
        named.setdefault(child.tagName, []).append(mapping(child))
    return members | {name: all_ if all_[1:] else all_[0] for name, all_ in named.items()}


root = minidom.parse(sys.argv[1]).documentElement
print(json.dumps(mapping(root), ensure_ascii=False, separators=(",", ":")))
