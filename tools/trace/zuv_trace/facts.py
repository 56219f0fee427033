"""What a run consists of: processes, requests, events, deliveries, callbacks, looks at the region. Times are those of
the records, in nanoseconds."""

import dataclasses

from . import wire

MILLISECOND = 1_000_000
# A synchronous request looks at the region at once and after each sleep; the look after the last does not count.
LOOK_INTERVAL = 50 * MILLISECOND
SYNCHRONOUS_LIMIT = 250 * MILLISECOND
CREATION_LIMIT = 200 * MILLISECOND


@dataclasses.dataclass(eq=False)
class Process:
    pid: int
    began: int
    program: str = "?"
    role: str = ""
    args: tuple = ()
    last: int = 0  # its latest record
    ended: int | None = None
    end: str = ""  # how it ended; empty for one that went on, or whose end nobody saw
    synchronous_since: int | None = None
    look: "Look | None" = None  # its latest at the region
    threads: dict = dataclasses.field(default_factory=dict)  # numbers from 1, by the kernel's identifier

    @property
    def name(self):
        return f"{self.program} {self.pid}"

    def lane(self, thread):
        return f"{self.name}/{self.threads[thread]}"


@dataclasses.dataclass(eq=False)
class Answer:
    event: "ServiceEvent"
    fault: str = ""  # "twice", "session", "object" or "name": in what it is not the answer that it should be


@dataclasses.dataclass(eq=False)
class Request:
    command: wire.Command
    t: int
    record: object
    process: Process | None  # None for one that only the monitor of the bus saw
    synchronous: bool = False
    is_published: bool = False
    on_bus: int | None = None
    timed_out: int | None = None
    followed: int | None = None  # when its thread published the next command
    answers: list = dataclasses.field(default_factory=list)

    @property
    def answer(self):
        return self.answers[0] if self.answers else None

    @property
    def limit(self):
        """How long the client waits for the answer; None where it does not."""
        if self.synchronous:
            return SYNCHRONOUS_LIMIT
        return CREATION_LIMIT if self.command.name == "create" else None


@dataclasses.dataclass(eq=False)
class Delivery:
    record: object
    process: Process
    look: "Look | None" = None  # the latest at the region, before the client had the event
    end: int | None = None

    t = property(lambda self: self.record.t)


@dataclasses.dataclass(eq=False)
class Look:
    """The region, when it was seen to have changed."""
    record: object
    process: Process
    text: wire.RegionText
    event: "ServiceEvent | None" = None

    t = property(lambda self: self.record.t)


@dataclasses.dataclass(eq=False)
class ServiceEvent:
    """An event, wherever it was seen."""
    event: wire.Event
    t: int  # when it was first seen
    record: object
    bus: object = None  # the monitor's record
    deliveries: list = dataclasses.field(default_factory=list)
    looks: list = dataclasses.field(default_factory=list)
    request: Request | None = None  # that it answers
    fault: str = ""

    def arrival(self, process):
        """When the bus brought it to the process, or showed it to the monitor; None if it did neither."""
        times = [delivery.t for delivery in self.deliveries if process in (None, delivery.process)]
        if self.bus is not None and not times:
            times = [self.bus.t]
        return min(times, default=None)

    def seen_in_region(self, process):
        return min((look.t for look in self.looks if process in (None, look.process)), default=None)


@dataclasses.dataclass(eq=False)
class Callback:
    record: object
    process: Process
    end: int | None = None
    held: str = ""  # the lock that the library holds meanwhile

    t = property(lambda self: self.record.t)


@dataclasses.dataclass(eq=False)
class ServiceLife:
    owner: str
    began: int
    ended: int | None = None
    record: object = None
