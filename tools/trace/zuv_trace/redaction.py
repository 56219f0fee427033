"""Takes the media out of a recording, so that it can be handed on: every URL and path of a medium becomes a label, the
same one wherever it stands."""

import json
import re

from . import wire
from .recording import Record

_URL = re.compile(r"[A-Za-z][A-Za-z0-9+.-]*://[^\s\"'<>\\)\]},]+")
_SHORTEST_NAME = 4  # of a file: a shorter one stands in too many other words


class Redaction:
    """Learns what the media of some records are called. Their URLs become "url-1", "url-2" and so on."""

    def __init__(self, records):
        self._labels = {}
        self._folders = set()
        for record in records:
            for values in _lists(record):
                self._learn_list(record, values)
        ordered = sorted(self._labels, key=len, reverse=True)
        known = [re.escape(word) for word in ordered]
        known += [re.escape(folder) + r"/[^\s\"'\\]*" for folder in sorted(self._folders, key=len, reverse=True)]
        self._words = re.compile("|".join([*known, _URL.pattern]))

    def redacted(self, record):
        members = {name: value if name == "k" else self._without_media(value)
                   for name, value in record.members.items()}
        if record.k == "picture":
            members["data"] = ""
        return Record(members)

    def _learn_list(self, record, values):
        listed = wire.Entries(values)
        if record.get("topic", wire.EVENT_TOPIC) == wire.COMMAND_TOPIC:
            words = [listed[6]] if listed.name in ("start", "preload") else []
        else:
            words = [listed[6], *_URL.findall(listed[7])]
        for word in filter(None, words):
            self._learn(word)

    def _learn(self, url):
        """The word itself, as it stands in JSON, and the name of its file."""
        label = self._label(url)
        for written in (json.dumps(url)[1:-1], json.dumps(url, ensure_ascii=False)[1:-1]):
            self._labels.setdefault(written, label)
            self._labels.setdefault(json.dumps(written)[1:-1], label)
        folder, slash, name = url.rpartition("/")
        if slash and len(name) >= _SHORTEST_NAME:
            self._labels.setdefault(name, label)
        if folder.startswith("/"):
            self._folders.add(folder)

    def _label(self, word):
        return self._labels.setdefault(word, f"url-{len(set(self._labels.values())) + 1}")

    def _without_media(self, value):
        if isinstance(value, str):
            return self._words.sub(lambda found: self._label(found.group()), value)
        if isinstance(value, list):
            return [self._without_media(each) for each in value]
        return value


def _lists(record):
    if record.get("values") is not None:
        yield record.values
    if record.k == "region":
        event = wire.RegionText(record.text).event
        if event is not None:
            yield event.values
