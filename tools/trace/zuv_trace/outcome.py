"""What an application saw of a violation: callbacks, time-outs, and the failures in its log."""

from .facts import MILLISECOND
from .text import escaped, milliseconds, quoted, shortened

# How long after a violation its effects are looked for where no request says when they end.
EFFECT = 500 * MILLISECOND
_SHOWN = 3


def seen_by_application(run, violation):
    """Sentences, without a full stop."""
    requests = [request for request in violation.requests if request.process is not None]
    if requests:
        return [words for request in requests[:1] for words in _of_request(run, request)]
    processes = {delivery.process for event in violation.events for delivery in event.deliveries}
    end = violation.t + EFFECT
    return list(_log_lines(run, processes, violation.t, end)) or ["nothing"]


def _of_request(run, request):
    end = min((later.t for later in run.requests if later.process is request.process and later.t > request.t
               and later.command.object == request.command.object), default=run.ended)
    if request.timed_out is not None:
        yield f"the call gave up after {milliseconds(request.timed_out - request.t)}"
    if request.command.name == "start":
        yield from _callbacks(run, request, end)
    yield from _log_lines(run, {request.process}, request.t, end)


def _callbacks(run, request, end):
    mine = [callback for callback in run.callbacks if callback.process is request.process
            and callback.record.id == request.command.object and request.t <= callback.t <= end]
    for callback in mine:
        yield f"callback {quoted(callback.record.key)} after {milliseconds(callback.t - request.t)}"
    sees_callbacks = any(record.name == "setZUVCallback" and record.p == request.process.pid for record in run.calls)
    if sees_callbacks and not any(callback.record.key == "url" for callback in mine):
        yield "no callback url"


def _log_lines(run, processes, begin, end):
    """The failures in the log; lines without a level count, for only what is enabled is recorded."""
    found = [record for record in run.logs if run.process_at(record) in processes and begin <= record.t <= end
             and record.get("level", 1000) in (1, 1000)]
    for record in found[:_SHOWN]:
        yield f"log {escaped(shortened(record.text, 160))}"
    if len(found) > _SHOWN:
        yield f"and {len(found) - _SHOWN} more lines in the log"
