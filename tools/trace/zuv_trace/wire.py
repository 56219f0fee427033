"""The commands and events of the bus, and the text of the shared region, by the names of their entries."""

import json

COMMAND_TOPIC = "tovik.sl2.vstr.videoplayer.zuv.command"
EVENT_TOPIC = "tovik.sl2.vstr.videoplayer.zuv.event"
SERVICE_NAME = "velmora.zuv.Service"

ENTRIES = 11
SUCCESS = "200"
MAIN_VIDEO = "main_video"
ADVERTISEMENT = "advertisement"

# The name of the event that answers each command.
ANSWERS = {
    "create": "created",
    "start": "started",
    "stop": "stopped",
    "seek": "seeked",
    "preload": "started",
    "inspect": "status",
}
DEFINITION = "definition"
REFUSAL = "unknown"
EVENT_NAMES = {*ANSWERS.values(), DEFINITION, REFUSAL}

REGION_SIZE = 4096


class Entries:
    """A list of strings, whose missing entries read as empty ones. Equal to another if the client cannot tell them."""

    def __init__(self, values):
        self.values = list(values)

    def __getitem__(self, position):
        return self.values[position] if position < len(self.values) else ""

    @property
    def key(self):
        return tuple(self[position] for position in range(max(ENTRIES, len(self.values))))

    name = property(lambda self: self[0])
    session = property(lambda self: self[2])
    object = property(lambda self: self[3])


class Command(Entries):
    kind = property(lambda self: self[1])
    position = property(lambda self: self[5])
    url = property(lambda self: self[6])
    option = property(lambda self: self[9])
    answer = property(lambda self: ANSWERS.get(self.name, ""))

    @property
    def medium(self):
        """The kind of medium that the command concerns: a seek, which names none, concerns the main video."""
        return MAIN_VIDEO if self.name == "seek" else self.kind

    @property
    def opens(self):
        return self.name in ("start", "preload")


class Event(Entries):
    code = property(lambda self: self[1])
    url = property(lambda self: self[6])
    definitions = property(lambda self: self[7])
    detail = property(lambda self: self[8])
    kind = property(lambda self: self[9])

    @property
    def succeeded(self):
        return self.code == SUCCESS

    @property
    def is_neutral(self):
        """The event that the client itself publishes before some requests."""
        return self.name == REFUSAL and not any(self.values[1:])

    @property
    def is_answer(self):
        return self.name in ANSWERS.values()

    @property
    def is_news(self):
        return not self.session and not self.is_neutral and bool(self.values)

    @property
    def medium(self):
        return ADVERTISEMENT if self.kind == ADVERTISEMENT else MAIN_VIDEO


class RegionText:
    """The text of the shared region. `event` is None where it holds none; `fault` says what is wrong with the text."""

    def __init__(self, text):
        self.text = text
        self.event = None
        self.fault = ""
        if len(text.encode("utf-8", "surrogateescape")) >= REGION_SIZE:
            self.fault = "end"
        members = _object(text)
        if members is None:
            self.fault = self.fault or ("text" if text else "")
        elif any(not isinstance(value, str) for value in members.values()):
            self.fault = self.fault or "member"
        elif members:
            self.event = Event(_values(members))


def _object(text):
    try:
        members = json.loads(text, strict=False)
    except (ValueError, RecursionError):
        return None
    return members if isinstance(members, dict) else None


def _values(members):
    given = [int(name) for name in members if name.isascii() and name.isdigit() and int(name) < ENTRIES]
    return [members.get(str(position), "") for position in range(max(given, default=-1) + 1)]
