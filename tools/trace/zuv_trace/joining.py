"""Joins what several processes and channels saw of one command or one event, and events to the commands they answer."""

from . import facts, wire


class Joiner:
    def __init__(self, run):
        self._run = run
        self._requests = {}  # by the command's entries: a repeated creation has the same ones
        self._sessions = {}
        self._events = {}  # by the event's entries
        self._brought = {}  # how many events with these entries each channel has brought
        self._latest_of_thread = {}

    def published(self, record, process):
        command = wire.Command(record.values)
        request = self._first(self._requests.get(command.key, ()), lambda each: not each.is_published)
        if request is None:
            request = self._new_request(command, record)
        request.is_published = True
        request.t, request.record, request.process = record.t, record, process
        since = process.synchronous_since
        request.synchronous = since is not None and since <= record.t
        if (before := self.latest_of_thread(record)) is not None:
            before.followed = record.t
        self._latest_of_thread[(record.p, record.th)] = request
        return request

    def command_on_bus(self, record):
        command = wire.Command(record.values)
        request = self._first(self._requests.get(command.key, ()), lambda each: each.on_bus is None)
        if request is None:
            request = self._new_request(command, record)
        request.on_bus = record.t
        return request

    def latest_of_thread(self, record):
        """The request that the record's thread published last, if any."""
        return self._latest_of_thread.get((record.p, record.th))

    def timed_out(self, record):
        request = self.latest_of_thread(record)
        if request is not None:
            request.timed_out = record.t
            request.synchronous = True

    def event_on_bus(self, record):
        event = self._event(record.values, record, "bus")
        event.bus = record
        return event

    def delivered(self, delivery):
        event = self._event(delivery.record.values, delivery.record, (delivery.process, delivery.record.c))
        event.deliveries.append(delivery)
        return event

    def looked(self, look):
        if look.text.event is None:
            return
        known = self._events.get(look.text.event.key)
        look.event = known[-1] if known else self._new_event(look.text.event, look.record)
        look.event.looks.append(look)

    @staticmethod
    def _first(candidates, fits):
        return next(filter(fits, candidates), None)

    def _new_request(self, command, record):
        request = facts.Request(command, record.t, record, None)
        self._requests.setdefault(command.key, []).append(request)
        self._sessions.setdefault(command.session, []).append(request)
        self._run.requests.append(request)
        return request

    def _event(self, values, record, channel):
        """The first event of these values that the channel has not brought yet. What the bus carries is whole, so its
        list replaces one that was read from the region."""
        listed = wire.Event(values)
        known = self._events.get(listed.key, ())
        brought = self._brought.get((listed.key, channel), 0)
        self._brought[listed.key, channel] = brought + 1
        if brought >= len(known):
            return self._new_event(listed, record)
        event = known[brought]
        if event.bus is None and not event.deliveries:
            event.event = listed
        return event

    def _new_event(self, listed, record):
        event = facts.ServiceEvent(listed, record.t, record)
        self._events.setdefault(listed.key, []).append(event)
        self._run.events.append(event)
        self._answer(event)
        return event

    def _answer(self, event):
        same_session = self._sessions.get(event.event.session, ()) if event.event.session else ()
        if same_session:
            self._answer_in_session(event, same_session)
        elif event.event.session and event.event.is_answer:
            self._answer_in_other_session(event)

    def _answer_in_session(self, event, requests):
        waiting = [request for request in requests if not request.answers]
        heard = self._first(waiting, lambda each: each.t >= self._run.service_began)
        request = heard or self._first(waiting, lambda _: True) or requests[-1]
        event.fault = _fault(event, request)
        event.request = request
        request.answers.append(facts.Answer(event, event.fault))

    def _answer_in_other_session(self, event):
        """Most likely the answer to the oldest command that awaits one like it. Of creations and inspections, which
        name no object, that is certain only where the commands of all applications are known."""
        def awaits(request):
            listed = event.event
            about_it = request.command.object == listed.object if request.command.object else self._run.sees_bus
            return not request.answers and request.command.answer == listed.name and about_it

        event.request = self._first(self._run.requests, awaits)
        if event.request is not None:
            event.fault = "session"
            event.request.answers.append(facts.Answer(event, event.fault))


def _fault(event, request):
    listed = event.event
    if any(_is_the_same_way(event, answer.event) for answer in request.answers):
        return "twice"
    if listed.name == wire.REFUSAL and not listed.succeeded:
        return ""
    if listed.name != request.command.answer:
        return "name"
    if len(listed.values) > 3 and not _names_object(listed, request.command):
        return "object"
    return ""


def _is_the_same_way(event, before):
    """An answer comes twice if the bus brings two, or the region has two; one each may be one answer that differs."""
    is_before_on_bus = before.bus is not None or bool(before.deliveries)
    return is_before_on_bus == (event.record.k != "region")


def _names_object(listed, command):
    if command.name == "create":
        return bool(listed.object) or not listed.succeeded
    return not command.object or listed.object == command.object
