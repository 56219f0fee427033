"""A recording as text: one line an event, commands joined to their answers."""

import dataclasses

from . import facts, model, text, wire
from .text import milliseconds, quoted, several

_COLOURS = {"command": "36", "answer": "32", "failure": "31", "callback": "35", "news": "33", "life": "1", "dim": "2"}
_LEVELS = {"milestones": 1, "failures": 1000, "progress": 4000, "dump": 5000}
LEVELS = tuple(_LEVELS)


@dataclasses.dataclass(frozen=True)
class Filter:
    """Which records are shown. An empty member lets everything pass."""
    objects: tuple = ()
    sessions: tuple = ()
    kinds: tuple = ()
    level: str = ""

    def lets_pass(self, record, joined):
        if self.kinds and record.k not in self.kinds:
            return False
        if self.level and _level(record) > _LEVELS[self.level]:
            return False
        if not self.objects and not self.sessions:
            return True
        return self._names(record, joined)

    def _names(self, record, joined):
        listed = getattr(joined, "command", None) or getattr(joined, "event", None)
        listed = getattr(listed, "event", listed)  # of a look at the region
        words = {record.get("id", "")} if listed is None else {listed[2], listed[3]}
        spoken = record.get("text", "") if record.k in ("log", "line") else ""
        return any(wanted in words or (spoken and wanted in spoken) for wanted in (*self.objects, *self.sessions))


def _failed(record):
    """Whether an operation of the bus failed. One that was left by an exception has no result."""
    result = record.get("r", -1)
    return not isinstance(result, int) or result < 0


def _level(record):
    """Of a line of a log; that of a milestone for everything else."""
    level = record.get("level", 1) if record.k in ("log", "line") else 1
    return _LEVELS.get(level, 1) if isinstance(level, str) else level


class Lines:
    """Says the lines of a run, record by record, and joins the records on the way."""

    def __init__(self, colour=False):
        self._colour = colour
        self.run = model.Run()

    def of(self, record, chosen=Filter()):
        """The record's line, without its end; None where it has nothing to say or is not chosen."""
        said = self.said(record, chosen)
        if said is None:
            return None
        moment, lane, style, words = said
        return f"{moment:>11}  {lane:<22}  {self._styled(style, words)}"

    def said(self, record, chosen=Filter()):
        """(time, lane, style, words) of the record, safe on any terminal; or None, as above."""
        joined = self.run.add(record)
        if not chosen.lets_pass(record, joined):
            return None
        said = Description(self.run).of(record, joined)
        if said is None:
            return None
        lane = self.run.process_at(record).lane(record.th)
        return text.seconds(record.t - self.run.began), text.escaped(lane), *said

    def _styled(self, style, words):
        if not self._colour or style not in _COLOURS:
            return words
        return f"\033[{_COLOURS[style]}m{words}\033[0m"


class Description:
    """What a record says, in words that are safe on any terminal."""

    def __init__(self, run):
        self._run = run

    def of(self, record, joined):
        """A style and words; None for a record that says nothing of its own."""
        describe = getattr(self, f"_{record.k}", None)
        return describe(record, joined) if describe else None

    def _begin(self, record, _):
        words = " ".join(quoted(arg) for arg in record.args)
        return "life", f"begins{' again' if record.get('again') else ''}: {words or quoted(record.program)}"

    def _end(self, record, _):
        return "life", "ends"

    def _spawn(self, record, _):
        return "life", f"starts process {record.pid}: {' '.join(quoted(arg) for arg in record.args)}"

    def _exit(self, record, _):
        process = self._run.processes.get(record.pid)
        how = f"signal {record.signal}" if record.get("signal") is not None else f"status {record.get('status', 0)}"
        return "life", f"process {record.pid}{' (' + text.escaped(process.program) + ')' if process else ''}: {how}"

    def _connect(self, record, _):
        return "dim", f"connection {record.c}"

    def _disconnect(self, record, _):
        return "dim", f"connection {record.c} ends"

    def _initialize(self, record, _):
        return ("failure", "no bus") if _failed(record) else ("dim", "connected")

    def _startService(self, record, _):
        failed = ": failed" if _failed(record) else ""
        return "life", f"asks for a start of the service{failed}, {milliseconds(record.d)}"

    def _publish(self, record, joined):
        if isinstance(joined, facts.Request):
            return "command", "-> " + command_words(joined) + (" NOT SENT" if _failed(record) else "")
        return "dim", f"-> {quoted(record.topic)} {list_words(record.values)}"

    def _read(self, record, _):
        return "dim", f"reads the current event: {list_words(record.values)}, {milliseconds(record.d)}"

    def _deliver(self, record, event):
        return self._event_words(event, "<-", record.t)

    def _bus(self, record, joined):
        if isinstance(joined, facts.ServiceLife):
            return "life", "the service ends" if joined.ended is not None else "the service is on the bus"
        if isinstance(joined, facts.ServiceEvent):
            return self._event_words(joined, "bus:", record.t)
        if isinstance(joined, facts.Request):
            return "dim", f"bus: {command_words(joined)}"
        return None

    def _region(self, record, look):
        if look.text.fault:
            return "failure", f"region: {fault_words(look.text)}: {quoted(record.text)}"
        if look.event is None:
            return "dim", f"region: no event: {quoted(record.text)}"
        return self._event_words(look.event, "region:", record.t)

    def _event_words(self, event, arrow, t):
        listed = event.event
        words = f"{arrow} {list_words(listed.values)}"
        style = "dim" if listed.is_neutral else "news" if listed.is_news else "answer"
        if event.request:
            elapsed = milliseconds(t - event.request.t)
            words += f"  = {quoted(event.request.command.name)} after {elapsed}{answer_fault(event.fault)}"
            style = "answer" if listed.succeeded and not event.fault else "failure"
        return style, words

    def _callback(self, record, callback):
        held = f", holding {callback.held}" if callback.held else ""
        return "callback", (f"callback {quoted(record.medium)} {quoted(record.id)} {quoted(record.key)} "
                            f"{quoted(record.value)}{held}")

    def _returned(self, record, _):
        return "dim", f"callback returns after {milliseconds(record.d)}"

    def _call(self, record, _):
        args = ", ".join(quoted(arg) for arg in record.args)
        result = f" = {quoted(record.r)}" if isinstance(record.get("r"), str) else ""
        return "life", f"{quoted(record.name)}({args}){result} took {milliseconds(record.d)}"

    def _map(self, record, _):
        if record.r < 0:
            return "failure", f"cannot map {quoted(record.name)}"
        return "dim", f"maps {quoted(record.name)}, {record.size} bytes"

    def _state(self, record, _):
        return "life", f"connection {record.c}: the state of the bus changed"

    def _log(self, record, _):
        return "failure" if _level(record) == 1000 else "dim", f"log {text.escaped(record.text)}"

    def _line(self, record, _):
        return "dim", f"log {text.escaped(record.text)}"

    def _lost(self, record, _):
        return "failure", f"{several(record.n, 'line')} of this recording could not be written"

    def _picture(self, record, _):
        return "life", f"picture: {quoted(record.text)}"


def command_words(request):
    command = request.command
    words = [quoted(word) for word in (command.name, command.kind, command.object) if word]
    if command.position:
        words.append(f"at {quoted(command.position)}")
    if command.url:
        words.append(quoted(command.url))
    if command.option:
        words.append(f"option {quoted(command.option)}")
    words.append(f"[{quoted(command.session)}]")
    if len(command.values) != wire.ENTRIES:
        words.append(f"of {len(command.values)} entries")
    return " ".join(words) + (" synchronously" if request.synchronous else "")


def list_words(values):
    listed = wire.Event(values)
    if not values:
        return "an empty list"
    words = [quoted(value) for value in (listed.name, listed.code, listed.object, listed.kind, listed.url,
                                         listed.definitions, listed.detail) if value]
    if listed.session:
        words.append(f"[{quoted(listed.session)}]")
    if len(values) != wire.ENTRIES:
        words.append(f"of {several(len(values), 'entry', 'entries')}")
    return " ".join(words)


def fault_words(region):
    return {"end": "a text without an end", "text": "no JSON object", "member": "a member that is no string"}[
        region.fault]


def answer_fault(fault):
    return {"": "", "twice": ", again", "session": ", in another session", "object": ", for another object",
            "name": ", by another name"}[fault]


def wants_colour(output, environment):
    return output.isatty() and not environment.get("NO_COLOR") and environment.get("TERM") != "dumb"


def lines_of(records, colour=False, chosen=Filter()):
    """The lines of records, as they come."""
    lines = Lines(colour)
    return filter(None, (lines.of(record, chosen) for record in records))
