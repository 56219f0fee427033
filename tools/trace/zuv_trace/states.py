"""The states of each proxy, as its application would read them, and the callbacks that it should have had. All of it
follows from the table of states (state_model.py)."""

import dataclasses

from . import state_model, wire

IDLE = state_model.TABLE["initial"]["state"]


@dataclasses.dataclass
class Proxy:
    """What one process knows of one object. The histories are lists of (time, state), the callbacks of (medium, key,
    value)."""
    pid: int
    object: str
    histories: dict = dataclasses.field(default_factory=lambda: {wire.MAIN_VIDEO: [], wire.ADVERTISEMENT: []})
    callbacks: list = dataclasses.field(default_factory=list)
    fields: state_model.Fields = dataclasses.field(default_factory=state_model.Fields)
    first: int = 0

    def take(self, t, taken):
        before = dict(self.fields)
        self.callbacks += self.fields.take(taken)
        for medium, field in state_model.STATE_OF.items():
            if self.fields[field] != before[field]:
                self.histories[medium].append((t, self.fields[field]))


class ObjectStates:
    def __init__(self):
        self._proxies = {}

    @property
    def proxies(self):
        return list(self._proxies.values())

    def proxy(self, pid, identifier):
        return self._proxies.get((pid, identifier))

    def sent(self, request):
        """A command that the process published."""
        command = request.command
        operation = state_model.command_input(command)
        if operation is None or not command.object or request.process is None:
            return
        self._known(request.process.pid, command.object, request.t).take(request.t, operation)

    def taken_over(self, callback):
        """A start with option 0 calls back with a URL.

        @return whether the URL had arrived before.
        """
        proxy = self._proxies.get((callback.p, callback.id))
        if proxy is None or callback.medium not in state_model.STATE_OF:
            return False
        start = state_model.taking_over(callback.medium)
        had_arrived = "callbacks" in proxy.fields.entry_for(start)
        proxy.take(callback.t, start)
        if not had_arrived:  # it is in the event that the start has read
            proxy.take(callback.t, {"event": "started", "code": wire.SUCCESS, "medium": callback.medium,
                                    "url": callback.value})
        return had_arrived

    def heard(self, event, process, t):
        """An event that reached the process."""
        listed = event.event
        if listed.name == "created" and listed.succeeded and event.request and event.request.process is process:
            self._known(process.pid, listed.object, t)
        proxy = self._proxies.get((process.pid, listed.object))
        if proxy:
            proxy.take(t, state_model.event_input(listed))

    def _known(self, pid, identifier, t):
        return self._proxies.setdefault((pid, identifier), Proxy(pid, identifier, first=t))
