#!/usr/bin/env python3
"""How the shared object is hardened, what it needs of others, and how large it is without debug information.

    hardening.py LIBRARY STRIP LIMIT

Prints a line for each property, and fails if one does not hold. STRIP is the architecture's strip; LIMIT is in bytes.
"""

import os
import re
import subprocess
import sys
import tempfile

# Who may bring what the library lacks: by the symbol's version, or by its name where its library has no versions.
VERSIONS = {"GLIBC": "C library", "GLIBCXX": "C++ runtime", "CXXABI": "C++ runtime", "GCC": "C++ runtime",
            "UUID": "libuuid"}
NAMES = {
    "JsonCpp": r"_Z(N|NK|TI|TIN|TV|TVN)4Json",
    "platform": r"_ZN7velmora14ZUVModelAccess[CD]|cspDebugCheckLevelGetFrameAndChunk$|cspDebugOutput0$|blog_base_name$",
    "start-up code": r"_ITM_(de)?registerTMCloneTable$|__gmon_start__$",
}


def readelf(*arguments):
    return subprocess.run(["readelf", "--wide", *arguments], check=True, stdout=subprocess.PIPE, text=True).stdout


def undefined(library):
    lines = (line.split() for line in readelf("--dyn-syms", library).splitlines())
    return [words[7] for words in lines if len(words) > 7 and words[6] == "UND"]


def provider(symbol):
    name, _, version = symbol.partition("@")
    if version:
        return VERSIONS.get(version.strip("@").split("_")[0])
    return next((who for who, names in NAMES.items() if re.match(names, name)), None)


def stripped_size(library, strip):
    with tempfile.NamedTemporaryFile() as stripped:
        subprocess.run([strip, "-o", stripped.name, library], check=True)
        return os.path.getsize(stripped.name)


def main():
    library, strip, limit = sys.argv[1], sys.argv[2], int(sys.argv[3])
    segments, dynamic, symbols = readelf("--segments", library), readelf("--dynamic", library), undefined(library)
    stack = re.search(r"GNU_STACK.* (R?W?E?) +0x", segments)
    strangers = [symbol for symbol in symbols if provider(symbol) is None]
    checked = [symbol.split("@")[0] for symbol in symbols if "_chk@" in symbol]
    size = stripped_size(library, strip)
    report = [
        ("relocations are read-only once done (RELRO)", "GNU_RELRO" in segments, ""),
        ("symbols are bound at load time (BIND_NOW)", re.search(r"BIND_NOW|Flags:.*NOW", dynamic), ""),
        ("the stack is not executable (NX)", stack and "E" not in stack[1], ""),
        ("no segment is writable and executable", not re.search(r"LOAD.* RWE ", segments), ""),
        ("no relocation changes code (TEXTREL)", "TEXTREL" not in dynamic, ""),
        ("the stack is protected", any(symbol.startswith("__stack_chk_fail") for symbol in symbols), ""),
        ("the C library checks buffers (FORTIFY)", [name for name in checked if name != "__stack_chk_fail"],
         " ".join(checked)),
        ("nothing is needed but platform, JsonCpp, libuuid, C and C++ runtime", not strangers, " ".join(strangers)),
        (f"at most {limit} bytes without debug information", size <= limit, f"{size} bytes"),
    ]
    for sentence, holds, detail in report:
        print(f"{'yes' if holds else 'NO '} {sentence}{': ' + detail if detail else ''}")
    sys.exit(0 if all(holds for _, holds, _ in report) else 1)


if __name__ == "__main__":
    main()
