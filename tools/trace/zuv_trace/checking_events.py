"""Violations in events: their form, those that nobody asked for, and their distance from answers."""

import bisect

from . import wire
from .checking import JITTER, Violation, main_video_news, right_answer, service_events
from .facts import LOOK_INTERVAL, MILLISECOND, SYNCHRONOUS_LIMIT
from .text import milliseconds, quoted, several

DEFINITIONS_DELAY = 400 * MILLISECOND
_CLOSE = 100  # starts of an object that could be open at one time
DEFINITIONS_DELAY_AFTER_LATE = 100 * MILLISECOND


def eleven_entries(run):
    for event in service_events(run):
        # The region does not say how long a list is.
        is_listed = event.bus is not None or event.deliveries
        if is_listed and len(event.event.values) != wire.ENTRIES:
            name = quoted(event.event.name) if event.event.values else "an event"
            yield Violation(event.t, f"{name} has {several(len(event.event.values), 'entry', 'entries')}", (event,))


def event_name(run):
    for event in service_events(run):
        if event.event.values and event.event.name not in wire.EVENT_NAMES:
            yield Violation(event.t, f"there is no event {quoted(event.event.name)}", (event,))


def asked_for(run):
    for event in service_events(run):
        if not event.event.is_answer or event.request is not None:
            continue
        if not event.event.session:
            yield Violation(event.t, f"{quoted(event.event.name)} without a session", (event,))
        elif run.sees_bus and run.service_lives and event.t > run.service_lives[0].began:
            yield Violation(event.t, f"{quoted(event.event.name)} in the session {quoted(event.event.session)}, which "
                            "no command has", (event,))


def known_object(run):
    """Only where every object was seen to be created."""
    if not run.service_lives or run.service_lives[0].began == run.began:
        return
    known = {event.event.object for event in run.events if event.event.name == "created"}
    known |= {request.command.object for request in run.requests}
    for event in service_events(run):
        if event.event.is_news and event.event.object and event.event.object not in known:
            yield Violation(event.t, f"{quoted(event.event.name)} of {quoted(event.event.object)}, which nobody "
                            "created", (event,))


def definitions_after_answer(run):
    starts = {}
    for request in run.requests:
        if request.command.opens and request.command.medium == wire.MAIN_VIDEO and right_answer(request):
            starts.setdefault(request.command.object, []).append(request)
    for news in main_video_news(run):
        same_object = starts.get(news.event.object, [])
        before = bisect.bisect_right(same_object, news.t, key=lambda request: request.t)
        for request in reversed(same_object[:before][-_CLOSE:]):
            answer = right_answer(request)
            if news.t - answer.t > DEFINITIONS_DELAY:
                break
            if answer.t > news.t:
                yield Violation(news.t, "definitions come before the answer to their start", (news, answer), (request,))
            elif news.t - answer.t < _delay_after(request, answer) - JITTER:
                yield Violation(news.t, "definitions come too soon after the answer to their start, as soon as "
                                f"{milliseconds(news.t - answer.t)} after it", (news, answer), (request,))


def _delay_after(request, answer):
    is_late = answer.t - request.t > SYNCHRONOUS_LIMIT
    # An answer that only the region shows may have been there since the look before.
    unnoticed = LOOK_INTERVAL if answer.arrival(None) is None else 0
    return (DEFINITIONS_DELAY_AFTER_LATE if is_late else DEFINITIONS_DELAY) - unnoticed


def answer_kept(run):
    answer = None
    for event in service_events(run):
        if event.event.is_answer and event.request is not None:
            answer = event
        elif answer and event.event.is_news and event.t - answer.t < LOOK_INTERVAL:
            yield Violation(event.t, f"{quoted(event.event.name)} replaces the answer to "
                            f"{quoted(answer.request.command.name)} [{quoted(answer.event.session)}] before a client "
                            "may have read it", (answer, event), (answer.request,))
