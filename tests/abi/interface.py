#!/usr/bin/env python3
"""The interface of the shared object, recorded and compared.

    interface.py renew FOLDER LIBRARY TYPES   writes the record of LIBRARY into FOLDER
    interface.py check FOLDER LIBRARY TYPES   fails with what differs from the record in FOLDER

LIBRARY is the shared object, TYPES a library with debug information of every class whose layout is recorded. FOLDER
holds two files: interface.txt, a line for each exported symbol, each size, slot and field, and each function of the
platform's log, for people; and library.abi, what libabigail knows of the exported functions, for abidiff. Exit
status 1: the interface differs.
"""

import difflib
import pathlib
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree

RENEWAL = """
The interface of the shared object is not the recorded one; programs built against it may break.
Not on purpose: undo the change. On purpose: describe it in docs/interface-changes.md, raise the version in
zuv_media_proxy.h as it says there, and renew the record for each architecture:
    cmake --build --preset development --target renew-interface
    cmake --build --preset armhf --target renew-interface
"""

ABIDW = ["abidw", "--no-corpus-path", "--no-show-locs", "--no-comp-dir-path"]
# What belongs to other libraries is theirs to keep. libabigail leaves the symbols out as well: it has no say in which
# ones the library exports.
SUPPRESSIONS = """
[suppress_type]
    name_not_regexp = ^velmora::|^CspDebugLevel
    drop = yes
[suppress_function]
    symbol_name_not_regexp = ^_ZN7velmora|^requestZUV
    drop = yes
"""


def run(*command, **options):
    return subprocess.run([str(word) for word in command], check=True, stdout=subprocess.PIPE, text=True,
                          **options).stdout


def demangle(names):
    text = run("c++filt", input="\n".join(names))
    text = re.sub(r"std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >", "std::string", text)
    text = re.sub(r"std::vector<std::string, std::allocator<std::string > >", "std::vector<std::string>", text)
    return dict(zip(names, text.replace("[abi:cxx11]", "").splitlines()))


def exported_symbols(library):
    lines = (line.split() for line in run("readelf", "--wide", "--dyn-syms", library).splitlines())
    symbols = [words[3:] for words in lines if len(words) > 7 and words[0].removesuffix(":").isdigit()]
    for kind, binding, _, section, name, *_ in sorted(symbols, key=lambda symbol: symbol[4]):
        if binding != "LOCAL" and section != "UND":
            yield f"symbol {name} ({binding.lower()} {kind.lower()})"


class Types:
    """The types that a library has debug information of."""

    def __init__(self, library):
        self.root = ElementTree.fromstring(run(*ABIDW, library))
        self.nodes = {node.get("id"): node for node in self.root.iter() if node.get("id")}
        self.parents = {child: node for node in self.root.iter() for child in node}

    def of(self, node):
        return self.nodes[node.get("type-id")]

    def name(self, node):
        if node.tag == "qualified-type-def":
            return self.name(self.of(node)) + (" const" if node.get("const") else " volatile")
        if node.tag == "pointer-type-def":
            return self.name(self.of(node)) + "*"
        if node.tag == "reference-type-def":
            return self.name(self.of(node)) + ("&&" if node.get("kind") == "rvalue" else "&")
        scope = self.parents[node]
        prefix = f"{scope.get('name')}::" if scope.tag == "namespace-decl" else ""
        return (prefix + node.get("name")).replace("velmora::", "")

    def result(self, function):
        return self.name(self.of(function.find("return")))

    def parameters(self, function):
        return ", ".join("..." if parameter.get("is-variadic") else self.name(self.of(parameter))
                         for parameter in function.findall("parameter"))


def layout(types):
    """Size, slots and fields of each class of the project, in their order."""
    classes = [node for node in types.root.iter("class-decl") if re.match("ZUV|IZuv|Csp", node.get("name"))]
    names = demangle([function.get("mangled-name") for node in classes for function in node.iter("function-decl")])
    for node in sorted(classes, key=lambda node: node.get("name")):
        name = node.get("name")
        if node.get("is-declaration-only"):
            sys.exit(f"interface.py: there is no debug information of {name}")
        yield f"class {name}: {int(node.get('size-in-bits')) // 8} bytes"
        for base in node.iter("base-class"):
            yield f"class {name}: base {types.name(types.of(base))} at {int(base.get('layout-offset-in-bits')) // 8}"
        for member in node.findall("member-function"):
            slot = member.get("vtable-offset")
            function = member.find("function-decl")
            signature = names[function.get("mangled-name")].removeprefix(f"velmora::{name}::")
            if member.get("destructor") and slot:
                yield f"class {name}: destructor is virtual"
            elif slot:
                yield f"class {name}: slot {slot} is {signature} -> {types.result(function)}"
        for field in node.findall("data-member"):
            if field.get("layout-offset-in-bits"):
                offset = int(field.get("layout-offset-in-bits")) // 8
                yield f"class {name}: field {field.find('var-decl').get('name')} at {offset}"


def log_functions(types):
    """C functions, whose symbols say nothing of parameters and result: types has a pointer to each."""
    for pointer in types.root.find(".//class-decl[@name='LogFunctions']").iter("var-decl"):
        function = types.of(types.of(pointer))
        yield f"function {pointer.get('name')}({types.parameters(function)}) -> {types.result(function)}"


def record(folder, library, types):
    folder.mkdir(parents=True, exist_ok=True)
    with tempfile.NamedTemporaryFile("w", suffix=".ini") as suppressions:
        suppressions.write(SUPPRESSIONS)
        suppressions.flush()
        abi = run(*ABIDW, "--suppr", suppressions.name, library)
    (folder / "library.abi").write_text(abi)
    types = Types(types)
    lines = [*exported_symbols(library), *layout(types), *log_functions(types)]
    (folder / "interface.txt").write_text("\n".join(lines) + "\n")


def differences(old, new):
    """What a line said and says, and what abidiff sees besides."""
    lines = difflib.unified_diff((old / "interface.txt").read_text().splitlines(),
                                 (new / "interface.txt").read_text().splitlines(), lineterm="", n=0)
    said = [{"-": "recorded: ", "+": "now:      "}[line[0]] + line[1:]
            for line in lines if line[0] in "+-" and line[:3] not in ("---", "+++")]
    abidiff = subprocess.run(["abidiff", "--no-show-locs", old / "library.abi", new / "library.abi"],
                             stdout=subprocess.PIPE, text=True)
    return "\n".join(said) + ("\n" + abidiff.stdout if abidiff.returncode != 0 else "")


def main():
    if len(sys.argv) != 5 or sys.argv[1] not in ("renew", "check"):
        sys.exit(__doc__)
    command, folder, library, types = sys.argv[1], *map(pathlib.Path, sys.argv[2:])
    if command == "renew":
        record(folder, library, types)
        return
    with tempfile.TemporaryDirectory() as current:
        record(pathlib.Path(current), library, types)
        if changes := differences(folder, pathlib.Path(current)):
            sys.exit(changes + RENEWAL)


if __name__ == "__main__":
    main()
