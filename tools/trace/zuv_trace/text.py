"""Foreign text made harmless for a terminal, and numbers as people read them."""

import re

_BARE = re.compile(r"[A-Za-z0-9_.:/+-]{1,80}\Z", re.ASCII)
_NAMED = {"\\": "\\\\", "\n": "\\n", "\r": "\\r", "\t": "\\t"}
SHOWN = 120  # characters of a long text


def _escaped_character(character):
    if character in _NAMED:
        return _NAMED[character]
    if character.isprintable():
        return character
    code = ord(character)
    if 0xDC80 <= code <= 0xDCFF:  # a byte that is not UTF-8
        return f"\\x{code - 0xDC00:02x}"
    return f"\\x{code:02x}" if code < 0x100 else f"\\u{code:04x}" if code < 0x10000 else f"\\U{code:08x}"


def escaped(text):
    """The text on one line, without anything that a terminal obeys: controls, directions, bytes that are not UTF-8."""
    if text.isprintable() and "\\" not in text:
        return text
    return "".join(map(_escaped_character, text))


def shortened(text, limit=SHOWN):
    return text if len(text) <= limit else f"{text[:limit]}... ({len(text)} characters)"


def quoted(text, limit=SHOWN):
    """Foreign text as a word of a line: in quotes, unless it is a plain identifier or path."""
    if _BARE.match(text) and len(text) <= limit:
        return text
    return '"' + escaped(shortened(text, limit)).replace('"', '\\"') + '"'


def milliseconds(nanoseconds):
    """A duration, such as "3.214 ms"; whole seconds from ten on."""
    if abs(nanoseconds) >= 10_000_000_000:
        return f"{nanoseconds / 1e9:.1f} s"
    return f"{nanoseconds / 1e6:.3f} ms"


def seconds(nanoseconds):
    """A moment of a recording, such as "1.234567"."""
    return f"{nanoseconds / 1e9:.6f}"


def several(count, noun, plural=""):
    return f"{count} {noun if count == 1 else plural or noun + 's'}"
