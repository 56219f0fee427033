"""C++ sources as libclang parses them: trees of nodes that know their place in the text."""

import collections
import ctypes
import functools
import pathlib
import re

from clang import cindex
from clang.cindex import CursorKind as Kind

CONTAINERS = (Kind.NAMESPACE, Kind.CLASS_DECL, Kind.STRUCT_DECL, Kind.CLASS_TEMPLATE, Kind.ENUM_DECL, Kind.LINKAGE_SPEC,
              Kind.UNEXPOSED_DECL)
FUNCTIONS = (Kind.FUNCTION_DECL, Kind.CXX_METHOD, Kind.CONSTRUCTOR, Kind.DESTRUCTOR, Kind.CONVERSION_FUNCTION,
             Kind.FUNCTION_TEMPLATE)
DIRECTIVE = re.compile(r"^[ \t]*#(?:[^\n\\]|\\.)*", re.MULTILINE | re.DOTALL)


def offset(location):
    """Where a location is written. The bindings say of a macro's argument where the macro's name is."""
    result = ctypes.c_uint()
    cindex.conf.lib.clang_getFileLocation(location, None, None, None, ctypes.byref(result))
    return result.value


class Source:
    """A file. One character of its text stands for one byte, as libclang counts."""

    def __init__(self, unit, file):
        self.name = pathlib.Path(file.name).name
        self.text = pathlib.Path(file.name).read_text(encoding="latin-1")
        self.macros = {}  # {start: end} of each use
        self.nodes = []  # functions, and what else is declared outside of functions
        self.others = {}  # of this file and what it includes: others_of_a_type()
        directives = [match.span() for match in DIRECTIVE.finditer(self.text)]
        ends = [cindex.SourceLocation.from_offset(unit, file, position) for position in (0, len(self.text))]
        tokens = unit.get_tokens(extent=cindex.SourceRange.from_locations(*ends))
        literals = [token.extent for token in tokens
                    if token.kind == cindex.TokenKind.LITERAL or token.spelling in ("true", "false")]
        self.literals = [(extent.start.offset, extent.end.offset) for extent in literals
                         if not any(start <= extent.start.offset < end for start, end in directives)]

    def function_at(self, position):
        functions = (node for node in self.nodes if node.kind in FUNCTIONS and node.start <= position < node.end)
        return next((node.cursor.spelling for node in functions), "")


class Node:
    """A cursor and its place in the text."""

    def __init__(self, cursor, source):
        self.cursor = cursor
        self.kind = cursor.kind
        self.source = source
        self.start = offset(cursor.extent.start)
        self.end = offset(cursor.extent.end)
        self.text = source.text[self.start : self.end]
        self.children = [Node(child, source) for child in cursor.get_children()]

    @property
    def is_macro(self):
        """Whether its text is the use of a macro."""
        return self.source.macros.get(self.start) == self.end

    @functools.cached_property
    def is_written(self):
        """Whether its text is its own: outside of macros, or within an argument of one."""
        return self.start < self.end and not any(
            begin == self.start and self.end <= end or begin < self.start < end <= self.end
            or self.start < begin < self.end < end for begin, end in self.source.macros.items())

    def walk(self):
        yield self
        for child in self.children:
            yield from child.walk()


def declarations(cursor):
    """What is declared outside of functions."""
    if cursor.kind not in CONTAINERS:
        return [cursor]
    return [declared for child in cursor.get_children() for declared in declarations(child)]


def others_of_a_type(cursors):
    """{USR: names}: for a constant, the next of its scope and type; for a data member, its neighbours of its type."""
    groups = collections.defaultdict(list)
    for cursor in cursors:
        is_constant = cursor.kind == Kind.VAR_DECL and cursor.type.is_const_qualified()
        if is_constant or cursor.kind in (Kind.FIELD_DECL, Kind.ENUM_CONSTANT_DECL):
            text = "".join(token.spelling for token in cursor.get_tokens())
            value = text.partition(cursor.spelling)[2] if is_constant else cursor.spelling
            groups[cursor.semantic_parent.get_usr(), cursor.type.spelling].append((cursor, value))
    others = {}
    for group in groups.values():
        for i, (cursor, value) in enumerate(group):
            names = [other.spelling for other, its in group[i + 1 :] + group[:i] if its != value]
            others[cursor.get_usr()] = {*names[:1], *(names[-1:] if cursor.kind == Kind.FIELD_DECL else ())}
    return others


def parse(path, arguments):
    """The file and those of its folder that it includes."""
    record = cindex.TranslationUnit.PARSE_DETAILED_PROCESSING_RECORD
    unit = cindex.Index.create().parse(str(path), arguments, options=record)
    if errors := [str(message) for message in unit.diagnostics if message.severity >= cindex.Diagnostic.Error]:
        raise ValueError("\n".join(errors))
    sources, named = {}, []
    for cursor in unit.cursor.get_children():
        file = cursor.location.file
        folder = pathlib.Path(file.name).parent if file else None
        if folder == path.parent and file.name not in sources:
            sources[file.name] = Source(unit, file)
        if cursor.kind == Kind.MACRO_INSTANTIATION and folder == path.parent:
            sources[file.name].macros[cursor.extent.start.offset] = cursor.extent.end.offset
        elif folder in (path.parent, path.parent.parent / "include") and not cursor.kind.is_preprocessing():
            named += (found := declarations(cursor))
            if folder == path.parent:
                sources[file.name].nodes += [Node(declared, sources[file.name]) for declared in found]
    for source in sources.values():
        source.others = others_of_a_type(named)
    return list(sources.values())
