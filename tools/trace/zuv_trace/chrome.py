"""A run in the trace event format, which Perfetto and chrome://tracing open. Times there are microseconds."""

from . import text, wire
from .show import command_words, list_words


def trace(run):
    """The document, to be written as JSON."""
    events = [*_names(run), *_requests(run), *_deliveries(run), *_callbacks(run), *_calls(run), *_instants(run),
              *_lives(run)]
    return {"traceEvents": events, "displayTimeUnit": "ms"}


def _event(phase, name, record, t, **more):
    return {"ph": phase, "name": text.escaped(name), "pid": record.p, "tid": record.th, "ts": t / 1000, **more}


def _slice(name, record, begin, duration, category, **args):
    return _event("X", name, record, begin, dur=max(0, duration) / 1000, cat=category, args=_safe(args))


def _safe(args):
    return {name: text.escaped(value) for name, value in args.items()}


def _names(run):
    for process in run.processes.values():
        yield {"ph": "M", "name": "process_name", "pid": process.pid, "tid": 0, "ts": 0,
               "args": {"name": text.escaped(process.program)}}
        for thread, number in process.threads.items():
            yield {"ph": "M", "name": "thread_name", "pid": process.pid, "tid": thread, "ts": 0,
                   "args": {"name": f"thread {number}"}}


def _requests(run):
    """Each as a span from the command to its answer, and an arrow between the two."""
    for number, request in enumerate(run.requests, 1):
        name = request.command.name or "?"
        words = {"command": command_words(request)}
        yield _slice(f"publish {name}", request.record, request.t, request.record.get("d", 0), "command", **words)
        if not request.answers:
            continue
        answer = request.answers[0].event
        landing, t = _landing(answer)
        end = max(request.t, t)
        yield _event("b", name, request.record, request.t, cat="request", id=number, args=_safe(words))
        yield _event("e", name, request.record, end, cat="request", id=number,
                     args=_safe({"answer": list_words(answer.event.values)}))
        yield _event("s", name, request.record, request.t, cat="answer", id=number)
        yield _event("f", name, landing, end, cat="answer", id=number, bp="e")


def _landing(event):
    """(record, time) of the slice that stands for an event: its first delivery, or where else it was seen."""
    delivery = event.deliveries[0] if event.deliveries else event
    return delivery.record, delivery.t


def _deliveries(run):
    for event in run.events:
        words = list_words(event.event.values)
        if not event.deliveries:
            yield _slice(f"event {event.event.name}", event.record, event.t, 0, "event", event=words)
        for delivery in event.deliveries:
            end = delivery.t if delivery.end is None else delivery.end
            yield _slice(f"event {event.event.name}", delivery.record, delivery.t, end - delivery.t, "event",
                         event=words)


def _callbacks(run):
    for callback in run.callbacks:
        record = callback.record
        end = callback.t if callback.end is None else callback.end
        yield _slice(f"callback {record.key}", record, callback.t, end - callback.t, "callback", id=record.id,
                     value=record.value, held=callback.held or "nothing")


def _calls(run):
    for record in run.calls:
        yield _slice(record.name, record, record.t, record.d, "call", args=", ".join(record.args))
    for record in run.service_starts:
        yield _slice("startService", record, record.t, record.d, "call")


def _instants(run):
    for record in run.records:
        if record.k in ("log", "line"):
            yield _event("i", record.text, record, record.t, cat="log", s="t")
    for look in run.looks:
        words = list_words(look.event.event.values) if look.event else look.record.text
        yield _event("i", "region", look.record, look.t, cat="region", s="p", args=_safe({"text": words}))


def _lives(run):
    for number, life in enumerate(run.service_lives, 1):
        if life.record is None:
            continue
        end = run.ended if life.ended is None else life.ended
        span = {"cat": "service", "id": number}
        yield _event("b", wire.SERVICE_NAME, life.record, life.began, **span)
        yield _event("e", wire.SERVICE_NAME, life.record, end, **span)
