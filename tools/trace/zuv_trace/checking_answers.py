"""Violations in answers: to which command, with what code, how often, when and in which order."""

from . import wire
from .checking import JITTER, Violation, has, main_video_news, right_answer
from .facts import CREATION_LIMIT, SYNCHRONOUS_LIMIT
from .ledger import is_certainly_unanswered
from .text import milliseconds, quoted


def _faulty(run, fault, words):
    for request in run.requests:
        for answer in request.answers:
            if answer.fault == fault:
                yield Violation(answer.event.t, words(request, answer.event.event), (answer.event,), (request,))


def _pairs(run):
    """Commands and the answers that the client takes for theirs."""
    return [(request, answer) for request in run.requests if (answer := right_answer(request))]


def session_echoed(run):
    return _faulty(run, "session", lambda request, event:
                   f"the answer to {_named(request)} has the session {quoted(event.session)}")


def answer_name(run):
    return _faulty(run, "name", lambda request, event:
                   f"{_named(request)} is answered by {quoted(event.name)}, not by {request.command.answer}")


def object_named(run):
    return _faulty(run, "object", lambda request, event:
                   f"the answer to {_named(request)} names the object {quoted(event.object)}")


def one_answer(run):
    return _faulty(run, "twice", lambda request, _: f"{_named(request)} is answered more than once")


def kind_echoed(run):
    for request, answer in _pairs(run):
        if request.command.name in ("start", "preload", "stop") and has(answer, 9) and request.command.kind in (
                wire.MAIN_VIDEO, wire.ADVERTISEMENT) and answer.event.medium != request.command.kind:
            yield Violation(answer.t, f"the answer to {_named(request)} has the kind {quoted(answer.event.kind)}",
                            (answer,), (request,))


def code_and_detail(run):
    for request, answer in _pairs(run):
        code = answer.event.code
        if has(answer, 1) and not (len(code) == 3 and code.isascii() and code.isdigit()):
            yield Violation(answer.t, f"the answer to {_named(request)} has the code {quoted(code)}", (answer,),
                            (request,))
        elif has(answer, 8) and not answer.event.succeeded and not answer.event.detail:
            yield Violation(answer.t, f"the answer to {_named(request)}, {quoted(code)}, has no detail", (answer,),
                            (request,))


def local_url(run):
    for request, answer in _pairs(run):
        if answer.event.name == "started" and answer.event.succeeded and has(answer, 6) and not answer.event.url:
            yield Violation(answer.t, f"the answer to {_named(request)} has no local URL", (answer,), (request,))


def truthful_code(run):
    """A medium whose start failed, and where no other is started, cannot be stopped or sought, and has no
    definitions."""
    news = main_video_news(run)
    for requests in _by_medium(run).values():
        for request, failure, effects, until in _failed_starts(run, requests):
            effects += [each for each in news if each.event.object == request.command.object
                        and request.command.medium == wire.MAIN_VIDEO and failure.t < each.t <= until]
            if effects:
                yield Violation(failure.t, f"{_named(request)} was answered with {quoted(failure.event.code)}, and "
                                "took effect", (failure, *effects), (request,))


def _by_medium(run):
    media = {}
    for request in run.requests:
        if request.command.object:
            media.setdefault((request.command.object, request.command.medium), []).append(request)
    return media


def _failed_starts(run, requests):
    """(start, its failing answer, answers that a medium without a start cannot give, time of the next start), where no
    other medium was started."""
    is_started, failed = False, None
    for request in requests:
        answer = right_answer(request)
        succeeded = answer is not None and answer.event.succeeded
        if request.command.opens:
            if failed:
                yield *failed, request.t
            # One that is not answered may have succeeded.
            is_started = is_started or succeeded or answer is None
            failed = None if is_started or not has(answer, 1) else (request, answer, [])
        elif request.command.name in ("stop", "seek") and succeeded:
            if failed:
                failed[2].append(answer)
            is_started = is_started and request.command.name == "seek"
    if failed:
        yield *failed, run.ended


def answered(run):
    for request in run.requests:
        if is_certainly_unanswered(run, request):
            yield Violation(request.t, f"{_named(request)} is not answered", (), (request,))


def in_time(run):
    for request, answer in _pairs(run):
        arrival = answer.arrival(request.process) or answer.t
        needed = arrival - request.t
        if request.timed_out is not None and arrival > request.t + SYNCHRONOUS_LIMIT:
            yield Violation(answer.t, f"{_named(request)} is answered after the client has given up, "
                            f"{milliseconds(needed)} after the command", (answer,), (request,))
        elif request.command.name == "create" and needed > CREATION_LIMIT + JITTER and not request.synchronous:
            yield Violation(answer.t, f"{_named(request)} is answered after {milliseconds(needed)}", (answer,),
                            (request,))


def in_order(run):
    """By the channel that shows both answers."""
    latest = {}
    for request, answer in _pairs(run):
        if not request.command.object:
            continue
        before = latest.get(request.command.object)
        if before and answer.t < before[1].t and answer.event.session != before[1].event.session:
            yield Violation(before[1].t, f"{_named(before[0])} is answered after {_named(request)}",
                            (answer, before[1]), (before[0], request))
        if not before or answer.t > before[1].t:
            latest[request.command.object] = (request, answer)


def object_per_session(run):
    sessions, objects = {}, {}
    for request, answer in _pairs(run):
        if request.command.name != "create" or not answer.event.succeeded or not answer.event.object:
            continue
        session, identifier = request.command.session, answer.event.object
        if sessions.setdefault(session, identifier) != identifier:
            yield Violation(answer.t, f"a repeated creation gets {quoted(identifier)}, not "
                            f"{quoted(sessions[session])}", (answer,), (request,))
        elif objects.setdefault(identifier, session) != session:
            yield Violation(answer.t, f"two creations get the object {quoted(identifier)}", (answer,), (request,))


def _named(request):
    command = request.command
    words = [quoted(word) for word in (command.name, command.kind, command.object) if word]
    return f"{' '.join(words)} [{quoted(command.session)}]"
