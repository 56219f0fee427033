"""A run as it was: the records of all processes joined to requests and answers, events, callbacks and lives."""

from . import wire
from .facts import Callback, Delivery, Look, Process, ServiceLife
from .joining import Joiner
from .states import ObjectStates


class Run:
    """Joins records. They come one after the other, so that a run can be shown while it happens."""

    def __init__(self, records=()):
        self.processes = {}
        self.requests = []
        self.events = []
        self.callbacks = []
        self.looks = []
        self.maps = []
        self.service_lives = []
        self.service_starts = []
        self.calls = []
        self.logs = []
        self.records = []
        self.lost = 0
        self.sees_bus = False
        self.states = ObjectStates()
        self._joiner = Joiner(self)
        self._deliveries = {}
        self._open_callbacks = {}
        for record in records:
            self.add(record)

    began = property(lambda self: self.records[0].t if self.records else 0)
    ended = property(lambda self: self.records[-1].t if self.records else 0)

    def add(self, record):
        """Joins a record.

        @return what it became, where it became something: a Request, a ServiceEvent, a Callback, a Look, a ServiceLife.
        """
        self.records.append(record)
        process = self._process(record)
        handler = getattr(self, f"_on_{record.k}", None)
        return handler(record, process) if handler else None

    def process_at(self, record):
        return self.processes[record.p]

    @property
    def service_began(self):
        """When the present service came to the bus, or the recording began."""
        return self.service_lives[-1].began if self.service_lives else self.began

    def service_is_up(self, t):
        if self.service_lives:
            return any(life.began <= t and (life.ended is None or t < life.ended) for life in self.service_lives)
        return any(event.t <= t for event in self.events if not event.event.is_neutral)

    def end_of(self, process):
        """When the process ended, or was last known to live."""
        if process is None:
            return self.ended
        if process.ended is not None:
            return process.ended
        return process.last

    def _process(self, record):
        process = self.processes.get(record.p)
        if process is None or (record.k == "begin" and not record.get("again") and process.ended is not None):
            process = self.processes[record.p] = Process(record.p, record.t)
        process.last = max(process.last, record.t)
        process.threads.setdefault(record.th, len(process.threads) + 1)
        return process

    def _on_begin(self, record, process):
        process.program, process.role, process.args = record.program, record.role, tuple(record.args)

    def _on_end(self, record, process):
        process.ended, process.end = record.t, process.end or "ended"

    def _on_exit(self, record, _):
        child = self.processes.get(record.pid)
        if child is None:
            return
        signal = record.get("signal")
        child.ended = min(child.ended or record.t, record.t)
        child.end = f"status {record.get('status', 0)}" if signal is None else f"signal {signal}"

    def _on_publish(self, record, process):
        if record.topic == wire.COMMAND_TOPIC:
            request = self._joiner.published(record, process)
            self.states.sent(request)
            return request
        return None

    def _on_bus(self, record, _):
        self.sees_bus = True
        if record.get("member") == "NameOwnerChanged":
            return self._owner_changed(record)
        if record.type != "signal" or record.get("values") is None:
            return None
        if record.get("topic") == wire.COMMAND_TOPIC:
            return self._joiner.command_on_bus(record)
        if record.get("topic") == wire.EVENT_TOPIC:
            return self._joiner.event_on_bus(record)
        return None

    def _owner_changed(self, record):
        name, old, new, *_ = [*record.get("strings", ()), "", "", ""]
        if name != wire.SERVICE_NAME:
            return None
        life = None
        if old:
            life = next((life for life in self.service_lives if life.owner == old and life.ended is None), None)
            if life is None:  # it began before the recording
                life = ServiceLife(old, self.began)
                self.service_lives.append(life)
            life.ended, life.record = record.t, record
        if new:
            life = ServiceLife(new, record.t, record=record)
            self.service_lives.append(life)
        return life

    def _on_deliver(self, record, process):
        delivery = Delivery(record, process, process.look)
        self._deliveries.setdefault((record.p, record.th), []).append(delivery)
        event = self._joiner.delivered(delivery)
        self.states.heard(event, process, record.t)
        return event

    def _on_delivered(self, record, _):
        open_deliveries = self._deliveries.get((record.p, record.th))
        if open_deliveries:
            open_deliveries.pop().end = record.t

    def _on_map(self, record, process):
        if process.synchronous_since is None:
            process.synchronous_since = record.t
        self.maps.append(record)

    def _on_region(self, record, process):
        look = Look(record, process, wire.RegionText(record.text))
        process.look = look
        self.looks.append(look)
        self._joiner.looked(look)
        if look.event and self._completes_request(look):
            self.states.heard(look.event, process, record.t)
        return look

    @staticmethod
    def _completes_request(look):
        """Whether a synchronous request finds its answer in the region."""
        request, listed = look.event.request, look.event.event
        return (request is not None and request.process is look.process and request.synchronous
                and request.timed_out is None and look.t - request.t < request.limit
                and (listed.session, listed.name) == (request.command.session, request.command.answer))

    def _on_call(self, record, process):
        if record.name == "createNewZUVMediaProxySync" and process.synchronous_since is None:
            process.synchronous_since = record.t
        self.calls.append(record)

    def _on_callback(self, record, process):
        callback = Callback(record, process)
        if record.key == "url":
            # Under the proxy's mutex, except where the URL had arrived before the start that reports it.
            takes_over = self._takes_over(record)
            known = self.states.taken_over(record) if takes_over else False
            callback.held = "" if known else "the proxy's mutex"
        self.callbacks.append(callback)
        self._open_callbacks.setdefault((record.p, record.th), []).append(callback)
        return callback

    def _takes_over(self, record):
        """Whether a start with option 0 calls back: it sends no command, and reports what a preload has brought."""
        request = self._joiner.latest_of_thread(record)
        answers_start = (request is not None and request.synchronous and request.command.name == "start"
                         and request.answer is not None and request.answer.event.event.url == record.value)
        return not self._deliveries.get((record.p, record.th)) and not answers_start

    def _on_returned(self, record, _):
        callbacks = self._open_callbacks.get((record.p, record.th))
        if callbacks:
            callbacks.pop().end = record.t

    def _on_startService(self, record, _):
        self.service_starts.append(record)

    def _on_log(self, record, _):
        self.logs.append(record)
        if "Task timeout: " in record.text:
            self._joiner.timed_out(record)

    def _on_lost(self, record, _):
        self.lost += record.n
