"""Calls the library: what it makes of a file in each of its languages."""
import ctypes
from collections import namedtuple

from suite import Element

UNSUPPORTED = 0x1F00070B
LENIENT, STRICT = 0, 2  # flags of a parse

# Why a document was refused, the reported position, and whether the rest is well-formed.
Refusal = namedtuple("Refusal", "code reason offset is_well_formed")


class _Error(ctypes.Structure):
    _fields_ = [("code", ctypes.c_uint32), ("reason", ctypes.c_char_p),
                ("offset", ctypes.c_size_t), ("others", ctypes.c_size_t * 10),
                ("is_well_formed", ctypes.c_size_t), ("reserved", ctypes.c_size_t * 2)]


class _Node(ctypes.Structure):
    _fields_ = [("type", ctypes.c_int32), ("prefix", ctypes.c_char_p), ("name", ctypes.c_char_p),
                ("value", ctypes.c_char_p), ("lengths", ctypes.c_size_t * 3),
                ("parent", ctypes.c_void_p), ("next", ctypes.c_void_p),
                ("child", ctypes.c_void_p), ("attribute", ctypes.c_void_p),
                ("reserved", ctypes.c_size_t * 4)]

    @property
    def whole_name(self):
        return self.name if self.prefix is None else self.prefix + b":" + self.name


class Library:
    """The shared library of this path."""

    def __init__(self, path):
        self._calls = ctypes.CDLL(path)
        self._calls.NEB_XML_GetNodeInfo.argtypes = [ctypes.c_void_p, ctypes.POINTER(_Node)]
        self._calls.NEB_XML_FreeNode.argtypes = [ctypes.c_void_p]

    def read(self, path, flags):
        """The tree of a file, or a refusal."""
        document, error = ctypes.c_void_p(), _Error()
        code = self._calls.NEB_XML_ParseFileInfo(
            str(path).encode(), flags, ctypes.byref(document), ctypes.byref(error))
        if code != 0:
            return Refusal(code, error.reason.decode(), error.offset, error.is_well_formed == 1)
        tree = self._tree(document)
        node = document
        while node:
            following = self._node(node).next
            self._calls.NEB_XML_FreeNode(node)
            node = ctypes.c_void_p(following) if following else None
        return tree

    def _node(self, handle):
        node = _Node()
        self._calls.NEB_XML_GetNodeInfo(handle, ctypes.byref(node))
        return node

    def _chain(self, handle):
        while handle:
            node = self._node(handle)
            yield node
            handle = node.next

    def _tree(self, top):
        root = []
        open_nodes = [(self._node(top), root)]
        while open_nodes:
            node, siblings = open_nodes.pop()
            attributes = {each.whole_name: each.value or b""
                          for each in self._chain(node.attribute)}
            element = Element(node.whole_name, attributes, node.value or b"", [])
            siblings.append(element)
            open_nodes += reversed([(child, element.children)
                                    for child in self._chain(node.child)])
        return root[0]
