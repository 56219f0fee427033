"""Reads the lines of a recording: the file before the current one, torn lines, and lines of later versions of the
program, as docs/recordings.md describes them."""

import json
import os
import time

VERSION = 1

# What the members of each kind have to be. A line in which one is missing or something else is damaged.
_TEXTS = (list, str)
KINDS = {
    "begin": {"version": int, "wall": int, "program": str, "args": _TEXTS, "role": str},
    "end": {},
    "connect": {"c": int},
    "disconnect": {"c": int},
    "initialize": {"c": int, "d": int},
    "start": {"c": int, "d": int},
    "startService": {"c": int, "d": int},
    "publish": {"c": int, "topic": str, "values": _TEXTS, "d": int},
    "read": {"c": int, "topic": str, "values": _TEXTS, "d": int},
    "deliver": {"c": int, "values": _TEXTS},
    "delivered": {"c": int, "d": int},
    "state": {"c": int},
    "log": {"text": str},
    "callback": {"medium": str, "id": str, "key": str, "value": str},
    "returned": {"d": int},
    "call": {"name": str, "args": _TEXTS, "d": int},
    "map": {"name": str, "size": int, "r": int},
    "region": {"text": str, "seen": str},
    "line": {"text": str},
    "spawn": {"pid": int, "args": _TEXTS},
    "exit": {"pid": int},
    "bus": {"type": str},
    "lost": {"n": int},
    "picture": {"type": str, "text": str, "data": str},
}
_EVERY_LINE = {"t": int, "p": int, "th": int, "k": str}
# Optional members that readers use.
_OPTIONAL = {"topic": str, "values": _TEXTS, "strings": _TEXTS, "status": int, "signal": int, "r": (int, str),
             "sender": str, "destination": str, "interface": str, "member": str, "level": (int, str), "module": int}

_LARGEST = 1 << 63


class RecordingError(Exception):
    """The file is no recording that this program can read."""


class Record:
    """A line of a recording. Its members are attributes; `number` counts the records in the order of time."""

    def __init__(self, members):
        self.__dict__.update(members)
        self.__dict__.pop("get", None)
        self.members = members
        self.number = 0

    def get(self, name, default=None):
        return self.members.get(name, default)


class Recording:
    """All records of a file and of the one before it, in the order of time."""

    def __init__(self, records, damaged=0):
        self.records = sorted(records, key=lambda record: record.t)
        self.damaged = damaged
        for number, record in enumerate(self.records):
            record.number = number


class Lines:
    """Decodes lines to records. `damaged` counts those that are none."""

    def __init__(self):
        self.damaged = 0

    def record(self, line):
        """The line's record; None for a damaged line and for one of an unknown kind.

        @throws RecordingError for a recording of another version.
        """
        try:
            members = json.loads(line.decode("utf-8", "surrogateescape"))
        except (ValueError, RecursionError):
            members = None
        if not isinstance(members, dict) or not _fits(members, _EVERY_LINE):
            self.damaged += 1
            return None
        kind = members["k"]
        if kind == "begin" and members.get("version") != VERSION:
            raise RecordingError(f"it has version {members.get('version')!r} of the format; this program reads "
                                 f"version {VERSION}")
        if kind not in KINDS:
            return None
        if not _fits(members, KINDS[kind]) or not _fits(members, _present(members)):
            self.damaged += 1
            return None
        return Record(members)


def _present(members):
    required = KINDS[members["k"]]
    return {name: _OPTIONAL[name] for name in members if name in _OPTIONAL and name not in required}


def _fits(members, expected):
    return all(name in members and _is(members[name], kind) for name, kind in expected.items())


def _is(value, kind):
    if kind is _TEXTS:
        return isinstance(value, list) and all(isinstance(each, str) for each in value)
    if isinstance(value, bool) or not isinstance(value, kind):
        return False
    return not isinstance(value, int) or -_LARGEST <= value < _LARGEST


def _lines_of(path):
    with open(path, "rb") as file:
        return file.read().split(b"\n")


def read(path):
    """The recording in the file `path`, and in `path`.old if that exists.

    @throws RecordingError; OSError if the file cannot be read.
    """
    lines = Lines()
    raw = _lines_of(f"{path}.old") if os.path.exists(f"{path}.old") else []
    raw += _lines_of(path)
    records = [record for line in raw if line.strip() and (record := lines.record(line))]
    if not records and lines.damaged:
        raise RecordingError("none of its lines is one of a recording")
    return Recording(records, lines.damaged)


class Follower:
    """Reads a recording while it is written. It goes on with the new file where the recorder has begun one."""

    INTERVAL = 0.1  # seconds between two looks

    def __init__(self, path):
        self._path = path
        self._lines = Lines()
        self._file = None
        self._rest = b""

    def batches(self):
        """The records so far, then those that are appended, sorted within each list. Ends after the launcher's end."""
        try:
            if os.path.exists(f"{self._path}.old"):
                yield self._sorted(_lines_of(f"{self._path}.old"))
            yield from self._until_the_launcher_ends()
        finally:
            self._close()

    def _until_the_launcher_ends(self):
        launchers = set()
        while True:
            records = self._sorted(self._appended())
            yield records
            launchers.update(record.p for record in records if record.k == "begin" and record.role == "launcher")
            if any(record.k == "end" and record.p in launchers for record in records):
                return
            if not records:
                time.sleep(self.INTERVAL)

    def _close(self):
        if self._file is not None:
            self._file.close()
            self._file = None

    def _sorted(self, raw):
        records = [record for line in raw if line.strip() and (record := self._lines.record(line))]
        return sorted(records, key=lambda record: record.t)

    def _appended(self):
        """Whole lines; the rest of a line waits for its end."""
        if self._file is None:
            self._file = self._opened()
        data = self._file.read() if self._file else b""
        if self._file and not data and self._is_replaced():
            self._close()
        *lines, self._rest = (self._rest + data).split(b"\n")
        return lines

    def _opened(self):
        try:
            return open(self._path, "rb")
        except FileNotFoundError:
            return None

    def _is_replaced(self):
        try:
            return os.stat(self._path).st_ino != os.fstat(self._file.fileno()).st_ino
        except FileNotFoundError:
            return False
