"""Makes recordings for the tests: a client, a service and the monitor of a bus, with a clock that the test sets."""

import json
import pathlib
import sys
import typing

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).parents[4] / "tools" / "trace"))

from zuv_trace import wire
from zuv_trace.model import Run
from zuv_trace.recording import Lines, Recording

CLIENT, LAUNCHER = 100, 10
APPLICATION_THREAD, DELIVERY_THREAD = 100, 101
OBJECT = "obj-1"


def command(name, session, identifier="", kind=wire.MAIN_VIDEO, url="", position="", option=""):
    if name in ("create", "inspect", "seek"):
        kind = ""
    return [name, kind, session, identifier, "1.000000", position, url, "", "", option, ""]


def event(name, session="", identifier=OBJECT, code="200", url="", definitions="", detail="OK", kind=wire.MAIN_VIDEO):
    return [name, code, session, identifier, "", "", url, definitions, detail, kind, ""]


def region_text(values):
    return json.dumps({str(position): value for position, value in enumerate(values)}, separators=(",", ":"))


class Builder:
    """Writes records. `ms` is the clock: it goes on by the milliseconds that each method is given first."""

    def __init__(self, bus=True):
        self.lines = []
        self.ms = 0.0
        self._bus = bus

    def add(self, kind, p=CLIENT, th=APPLICATION_THREAD, **members):
        self.lines.append(json.dumps({"t": round(self.ms * 1e6), "p": p, "th": th, "k": kind, **members}))
        return self

    def after(self, milliseconds):
        self.ms += milliseconds
        return self

    def begin(self, service=True):
        """A run with a launcher, an application and, on the bus, a service."""
        self.add("begin", p=LAUNCHER, th=LAUNCHER, version=1, wall=0, program="zuv-desktop", args=["zuv-desktop"],
                 role="launcher")
        self.after(1).add("begin", version=1, wall=0, program="player", args=["player", "clip.webm"],
                          role="application")
        self.add("connect", c=1)
        if service:
            self.owner_changed("", ":1.5")
        return self.after(1)

    def end(self):
        self.after(1).add("end")
        if self._bus:
            self.after(1).owner_changed(":1.5", "")
        return self.after(1).add("end", p=LAUNCHER, th=LAUNCHER)

    def owner_changed(self, old, new):
        return self.bus("signal", "org.freedesktop.DBus", "NameOwnerChanged",
                        strings=[wire.SERVICE_NAME, old, new]) if self._bus else self

    def bus(self, kind, sender, member, **members):
        return self.add("bus", p=LAUNCHER, th=LAUNCHER, type=kind, sender=sender, destination="", path="/",
                        interface="", member=member, serial=1, reply=0, **members)

    def publish(self, values, th=APPLICATION_THREAD, topic=wire.COMMAND_TOPIC):
        self.add("publish", th=th, c=1, topic=topic, values=values, r=0, d=1000)
        if self._bus:
            self.bus("signal", ":1.7", "Published", topic=topic, values=values)
        return self

    def on_bus(self, values):
        """An event of the service as the monitor sees it."""
        return self.bus("signal", ":1.5", "Published", topic=wire.EVENT_TOPIC, values=values) if self._bus else self

    def deliver(self, values, callbacks=()):
        """An event of the service, on the bus and to the client, with callbacks (medium, identifier, key, value)."""
        self.on_bus(values)
        self.add("deliver", th=DELIVERY_THREAD, c=1, values=values)
        for medium, identifier, key, value in callbacks:
            self.add("callback", th=DELIVERY_THREAD, medium=medium, id=identifier, key=key, value=value)
            self.after(0.5).add("returned", th=DELIVERY_THREAD, d=500000)
        return self.after(0.1).add("delivered", th=DELIVERY_THREAD, c=1, d=100000)

    def map(self, result=0):
        return self.add("map", name="/ZUV_PROXY", size=4096, r=result)

    def region(self, text, seen="poll", th=APPLICATION_THREAD):
        return self.add("region", th=th, text=text, seen=seen)

    def answer(self, values, callbacks=()):
        """An event that the client sees in the region first, and then hears from the bus."""
        self.region(region_text(values), "deliver", DELIVERY_THREAD)
        return self.deliver(values, callbacks)

    def timeout(self):
        return self.add("log", text="[B-LOG] a.cpp:1:wait(): Task timeout: 250/250", level=1000, module=0x5F)

    def created(self, session="ses-c"):
        """A client with an object."""
        self.publish(command("create", session))
        return self.after(2).deliver(event("created", session, kind="")).after(60)

    def text(self):
        return "".join(f"{line}\n" for line in self.lines)

    def recording(self):
        lines = Lines()
        records = [lines.record(line.encode()) for line in self.lines]
        assert lines.damaged == 0, "the test writes a damaged line"
        return Recording(records)

    def run(self):
        return Run(self.recording().records)


class Callbacks(typing.NamedTuple):
    """Of each proxy: those that were recorded, and those that follow from the table of states."""
    recorded: dict
    expected: dict


def callbacks_of(run):
    recorded, expected = {}, {}
    for proxy in run.states.proxies:
        recorded[proxy.pid, proxy.object], expected[proxy.pid, proxy.object] = [], proxy.callbacks
    for callback in run.callbacks:
        of_proxy = recorded.setdefault((callback.record.p, callback.record.id), [])
        of_proxy.append((callback.record.medium, callback.record.key, callback.record.value))
    return Callbacks(recorded, expected)


def played(bus=True):
    """A run in asynchronous mode in which all is well: created, started, stopped."""
    url = "http://127.0.0.1:4711/token/clip.webm"
    builder = Builder(bus).begin().created()
    builder.publish(command("start", "ses-1", OBJECT, url="/media/clip.webm", option="1"))
    builder.after(3).deliver(event("started", "ses-1", url=url), [(wire.MAIN_VIDEO, OBJECT, "url", url)])
    builder.after(410).deliver(event("definition", definitions='[{"definition":"240p","url":"' + url + '"}]'),
                               [(wire.MAIN_VIDEO, OBJECT, "definitions", "[]")])
    builder.after(50).publish(command("stop", "ses-2", OBJECT))
    builder.after(2).deliver(event("stopped", "ses-2"))
    return builder.after(500).end()


def synchronous():
    """A client in synchronous mode with an object, just before its next request."""
    builder = Builder().begin()
    builder.map().region("{}", "map")
    builder.publish(command("create", "ses-c"))
    builder.after(2).answer(event("created", "ses-c", kind=""))
    builder.after(50).publish(command("create", "ses-c"))
    return builder.after(2).deliver(event("created", "ses-c", kind="")).after(60)
