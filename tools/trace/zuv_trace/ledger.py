"""The ledger of a run: what became of every command, the events that nobody asked for, latencies, and time lost."""

import dataclasses
import math

from . import wire
from .facts import LOOK_INTERVAL, MILLISECOND, SYNCHRONOUS_LIMIT

# An event replaces an answer in the region unread if it follows sooner than the client looks again.
OVERWRITTEN_WITHIN = LOOK_INTERVAL

OUTCOMES = {
    "answered": "answered once, in time",
    "late": "answered after the client had given up",
    "unread": "answered on the bus, but the request that waited did not find the answer in the region",
    "twice": "answered more than once",
    "wrong session": "answered in another session",
    "wrong object": "answered for another object",
    "wrong name": "answered by an event of another name",
    "never": "not answered",
    "unheard": "sent while no service was on the bus",
    "open": "not answered before the recording or the client ended",
}


@dataclasses.dataclass
class Entry:
    """A command and what became of it."""
    request: object
    outcome: str
    over_bus: int | None  # nanoseconds from the command to the event
    by_region: int | None
    overwritten: bool


class Ledger:
    def __init__(self, run):
        self.run = run
        self.entries = [self._entry(request) for request in run.requests]
        self.unasked = [event for event in run.events if event.event.is_news]
        self.unknown_objects = self._events_of_unknown_objects()
        self.others = [event for event in run.events
                       if event.event.is_answer and event.event.session and not event.request]

    def counts(self):
        """How many commands had each outcome, those that none had left out."""
        outcomes = [entry.outcome for entry in self.entries]
        return {outcome: outcomes.count(outcome) for outcome in OUTCOMES if outcome in outcomes}

    def latencies(self):
        """Rows (command, channel, values in nanoseconds, sorted)."""
        rows = []
        for command in wire.ANSWERS:
            mine = [entry for entry in self.entries if entry.request.command.name == command]
            for channel, values in (("bus", [each.over_bus for each in mine]),
                                    ("region", [each.by_region for each in mine])):
                known = sorted(value for value in values if value is not None)
                if known:
                    rows.append((command, channel, known))
        return rows

    def lost_to_polling(self):
        """Nanoseconds in which synchronous requests waited for nothing, or after the bus had brought their answers."""
        return sum(_lost(entry) for entry in self.entries if entry.request.synchronous)

    def lost_to_restarts(self):
        """Nanoseconds from each request for a start of the service to its next event, or to the end."""
        lost, until = 0, 0
        for start in self.run.service_starts:
            begin = max(start.t, until)
            until = min((event.t for event in self.run.events if event.t > start.t and not event.event.is_neutral),
                        default=self.run.ended)
            lost += max(0, until - begin)
        return lost

    def _entry(self, request):
        answers = [answer.event for answer in request.answers]
        arrivals = [event.arrival(request.process) for event in answers]
        looks = [event.seen_in_region(request.process) for event in answers]
        over_bus = _since(request.t, arrivals)
        by_region = _since(request.t, looks) if request.synchronous else None
        return Entry(request, self._outcome(request, over_bus), over_bus, by_region,
                     is_overwritten(self.run, request))

    def _outcome(self, request, over_bus):
        if not request.answers:
            if not self.run.service_is_up(request.t):
                return "unheard"
            return "never" if is_certainly_unanswered(self.run, request) else "open"
        faults = {answer.fault for answer in request.answers}
        for fault, outcome in (("session", "wrong session"), ("object", "wrong object"), ("name", "wrong name"),
                               ("twice", "twice")):
            if fault in faults:
                return outcome
        if is_late(request, over_bus):
            return "late"
        return "answered" if request.timed_out is None else "unread"

    def _events_of_unknown_objects(self):
        """Those of objects that no command and no creation named; known only where the whole bus was recorded."""
        if not self.run.sees_bus:
            return []
        known = {request.command.object for request in self.run.requests}
        known |= {event.event.object for event in self.run.events if event.event.name == "created"}
        return [event for event in self.run.events if event.event.object and event.event.object not in known]


def percentile(values, share):
    """The smallest of the sorted values that at least `share` of them do not exceed."""
    return values[max(0, math.ceil(share * len(values)) - 1)]


def is_late(request, over_bus):
    """Whether the client had given up when the answer came."""
    if request.timed_out is not None:
        return over_bus is None or request.t + over_bus > request.timed_out
    return request.limit is not None and not request.synchronous and over_bus is not None and over_bus > request.limit


def is_overwritten(run, request):
    """Whether a synchronous request gave up because another event had replaced its answer in the region."""
    if request.timed_out is None or not request.answers:
        return False
    answer = request.answers[0].event
    arrival = answer.arrival(None)
    if arrival is None or arrival > request.t + SYNCHRONOUS_LIMIT:
        return False
    return any(0 <= (event.arrival(None) or event.t) - arrival < OVERWRITTEN_WITHIN for event in
               run.events[run.events.index(answer) + 1:] if not event.event.is_neutral)


# A service may open a medium for five seconds before it gives up.
LONGEST_ANSWER = 5500 * MILLISECOND


def is_certainly_unanswered(run, request):
    """Whether an answer can no longer come: a later command to the object was answered, the service ended before the
    client did, or the client lived for longer than any answer takes. A command that no service heard does not count."""
    if request.answers or not run.service_is_up(request.t):
        return False
    end = run.end_of(request.process)
    service_ended = any(life.began <= request.t < (life.ended or 0) < end for life in run.service_lives)
    return service_ended or end - request.t > LONGEST_ANSWER or _is_overtaken(run, request)


def _is_overtaken(run, request):
    same_object = request.command.object
    return bool(same_object) and any(
        later.command.object == same_object and later.t > request.t and later.answers for later in run.requests)


def _since(begin, moments):
    known = [moment for moment in moments if moment is not None]
    return max(0, min(known) - begin) if known else None


def _lost(entry):
    request = entry.request
    if request.timed_out is not None:
        return request.timed_out - request.t
    end = end_of_wait(request)
    arrived = entry.by_region if entry.over_bus is None else entry.over_bus
    return 0 if end is None or arrived is None else max(0, end - request.t - arrived)


def end_of_wait(request):
    """When a synchronous request found its answer in the region, or gave up; None if nothing shows it. It looks when it
    begins to wait, and then every 50 ms."""
    if request.timed_out is not None or not request.synchronous:
        return request.timed_out
    seen = _since(request.t, [answer.event.seen_in_region(request.process) for answer in request.answers])
    if seen is None:
        return None
    end = request.t + min(SYNCHRONOUS_LIMIT, math.ceil(seen / LOOK_INTERVAL) * LOOK_INTERVAL)
    return end if request.followed is None else min(end, request.followed)
