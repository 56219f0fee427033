"""Violations in the shared region: its text, and what it holds compared with the bus. Applications in asynchronous mode
do not map it, so that their recordings say nothing of it."""

from . import wire
from .checking import Violation, service_events
from .facts import LOOK_INTERVAL
from .text import quoted, shortened

_CANNOT_OPEN = "service not work,  restart zuv service."


def _faulty(run, fault, words):
    for look in run.looks:
        if look.text.fault == fault:
            yield Violation(look.t, f"{words}: {quoted(shortened(look.record.text, 60))}", records=(look.record,))


def whole_text(run):
    return _faulty(run, "text", "the region holds no JSON object")


def string_members(run):
    return _faulty(run, "member", "a member of the text in the region is no string")


def region_end(run):
    return _faulty(run, "end", "the text in the region has no end")


def refusal_on_bus_only(run):
    for event in service_events(run):
        if event.event.name == wire.REFUSAL and event.looks:
            yield Violation(event.looks[0].t, "a refusal is in the region", (event,), records=(event.looks[0].record,))


def on_bus(run):
    for event, look in _seen_in_region_only(run):
        if _twin(run, event) is None:
            yield Violation(look.t, f"the answer to {quoted(event.request.command.name)} "
                            f"[{quoted(event.event.session)}] is in the region only", (event,), (event.request,),
                            (look.record,))


def same_event(run):
    for event, look in _seen_in_region_only(run):
        twin = _twin(run, event)
        if twin is not None:
            differing = [str(position) for position, (here, there) in
                         enumerate(zip(event.event.key, twin.event.key)) if here != there]
            yield Violation(look.t, f"the answer to {quoted(event.request.command.name)} "
                            f"[{quoted(event.event.session)}] differs between region and bus in entry "
                            f"{', '.join(differing)}", (event, twin), (event.request,), (look.record,))


def _seen_in_region_only(run):
    """Answers in the region that the bus cannot bring any more, because it has brought later ones."""
    for event in service_events(run):
        if event.request is None or event.bus is not None or event.deliveries or not event.looks:
            continue
        look = event.looks[0]
        if any((delivered := later.arrival(look.process)) and delivered > look.t for later in run.events
               if not later.event.is_neutral):
            yield event, look


def _twin(run, event):
    """The event of the same answer as the bus brought it."""
    return next((other for other in run.events if other is not event and _is_twin(other, event)
                 and other.arrival(None) is not None), None)


def _is_twin(event, other):
    """Whether both are the answer to one command, whatever they say."""
    same_session = event.event.session and event.event.session == other.event.session
    return bool(same_session) and event.event.name == other.event.name


def in_region(run):
    for event, process in _delivered_before_region(run):
        if not _is_seen_later(event, process):
            yield Violation(event.t, f"{_what(event)} is on the bus, and not in the region", (event,), _asked(event))


def region_first(run):
    for event, process in _delivered_before_region(run):
        if _is_seen_later(event, process):
            yield Violation(event.t, f"{_what(event)} is on the bus before it is in the region", (event,),
                            _asked(event))


def _is_seen_later(event, process):
    """In the region that the process has mapped, not in another one that it maps later."""
    return any(look.process is process and look.record.seen != "map" for look in event.looks)


def _delivered_before_region(run):
    """(event, process) where the bus brought an event while the process saw an older one in the region."""
    for event in service_events(run):
        if event.event.name == wire.REFUSAL or not event.event.values or not event.deliveries:
            continue
        delivery = event.deliveries[0]
        shown = delivery.look.event if delivery.look else None
        was_seen = any(look.process is delivery.process and look.t <= delivery.t for look in event.looks)
        if shown is not None and not was_seen and _is_older(shown, event):
            yield event, delivery.process


def _is_older(shown, event):
    """Whether the region shows another event, which certainly was sent before `event`."""
    if shown.event.key == event.event.key or _is_twin(shown, event):
        return False
    arrival = event.arrival(None) or event.t
    if shown.arrival(None) is not None:
        return shown.arrival(None) < arrival
    # One that the bus did not bring has no place among the others: it may have been sent just before it was seen.
    return shown.t < (event.request.t if event.request else arrival - LOOK_INTERVAL)


def _asked(event):
    return (event.request,) if event.request else ()


def _what(event):
    if event.request:
        return f"the answer to {quoted(event.request.command.name)} [{quoted(event.event.session)}]"
    return f"the event {quoted(event.event.name)}"


def region_opens(run):
    for record in run.maps:
        if record.r < 0 and run.service_is_up(record.t):
            yield Violation(record.t, f"{quoted(record.name)} cannot be mapped", records=(record,))
    for record in run.logs:
        if _CANNOT_OPEN in record.text and run.service_is_up(record.t):
            yield Violation(record.t, "an application cannot open the region", records=(record,))
