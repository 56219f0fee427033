"""The states of a proxy: what each call of the application and each event of the service does, as the table in
state_model.json says. docs/states.md shows the table, and a test of the client walks through it."""

import json
import pathlib

from . import wire

TABLE = json.loads(pathlib.Path(__file__).with_name("state_model.json").read_text(encoding="utf-8"))
TRANSITIONS = TABLE["transitions"]

STATE_OF = {wire.MAIN_VIDEO: "state", wire.ADVERTISEMENT: "adState"}
_EVENT_NAMES = {entry["input"].get("event") for entry in TRANSITIONS} - {"other"}


class Fields(dict):
    """The fields of a proxy, by name: the names of its states, URLs and definitions."""

    def __init__(self):
        super().__init__(TABLE["initial"])

    def entry_for(self, taken):
        """The only entry of the table for this input."""
        return next(entry for entry in TRANSITIONS if self.is_for(entry, taken))

    def take(self, taken):
        """Changes the fields as the table says.

        @return the callbacks that come, as (medium, key, value).
        """
        entry = self.entry_for(taken)
        for field, value in entry.get("sets", {}).items():
            self[field] = taken[value[1:]] if value.startswith("$") else value
        return [(medium, key, self[field]) for medium, key, field in entry.get("callbacks", ())]

    def is_for(self, entry, taken):
        return (entry["input"].items() <= taken.items()
                and all(self._kind_of(field) in wanted if isinstance(wanted, list) else self._kind_of(field) == wanted
                        for field, wanted in entry.get("from", {}).items()))

    def _kind_of(self, field):
        """The field's value as the table tells values apart."""
        if field in STATE_OF.values():
            return self[field]
        return "set" if self[field] else "empty"


def event_input(listed):
    """What an event of the proxy is in the table."""
    return {"event": listed.name if listed.name in _EVENT_NAMES else "other",
            "code": wire.SUCCESS if listed.succeeded else "other",
            "medium": listed.medium, "url": listed.url, "definitions": listed.definitions}


def command_input(command):
    """The operation that sends a command; None where no operation of a proxy does."""
    return next((entry["input"] for entry in TRANSITIONS if entry.get("command") == [command.name, command.kind]), None)


def taking_over(medium):
    """A start with option 0, which takes over what a preload has brought."""
    return next(entry["input"] for entry in TRANSITIONS if entry["input"].get("option") == "0"
                and entry.get("callbacks", [[None]])[0][0] == medium)
