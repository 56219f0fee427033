"""The states of each proxy, as its application would read them: Idle, Starting and Started, of the main video and of
the advertisement. An advertisement never is Started: its start makes the main video's state Started."""

import dataclasses

from . import wire

IDLE, STARTING, STARTED = "Idle", "Starting", "Started"


@dataclasses.dataclass
class Proxy:
    """What one process knows of one object. The histories are lists of (time, state)."""
    pid: int
    object: str
    histories: dict = dataclasses.field(default_factory=lambda: {wire.MAIN_VIDEO: [], wire.ADVERTISEMENT: []})
    urls: dict = dataclasses.field(default_factory=lambda: {wire.MAIN_VIDEO: "", wire.ADVERTISEMENT: ""})
    first: int = 0

    def state(self, medium):
        history = self.histories[medium]
        return history[-1][1] if history else IDLE

    def enter(self, t, medium, state):
        if self.state(medium) != state:
            self.histories[medium].append((t, state))


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
        if not command.object or request.process is None or command.medium not in (wire.MAIN_VIDEO, wire.ADVERTISEMENT):
            return
        proxy = self._known(request.process.pid, command.object, request.t)
        if command.name == "start":
            proxy.enter(request.t, command.medium, STARTING)
        elif command.name == "stop":
            proxy.enter(request.t, command.medium, IDLE)
        if command.name in ("stop", "preload"):
            proxy.urls[command.medium] = ""

    def taken_over(self, callback):
        """A start with option 0 calls back with a URL.

        @return whether the URL had arrived before.
        """
        proxy = self._proxies.get((callback.p, callback.id))
        if proxy is None or callback.medium not in proxy.urls:
            return False
        proxy.enter(callback.t, callback.medium, STARTING)
        return proxy.urls[callback.medium] == callback.value

    def heard(self, event, process, t):
        """An event that reached the process."""
        listed = event.event
        if listed.name == "created" and listed.succeeded and event.request and event.request.process is process:
            self._known(process.pid, listed.object, t)
        proxy = self._proxies.get((process.pid, listed.object))
        if proxy and listed.name == "started" and listed.succeeded:
            proxy.urls[listed.medium] = listed.url
            proxy.enter(t, wire.MAIN_VIDEO, STARTED)

    def _known(self, pid, identifier, t):
        return self._proxies.setdefault((pid, identifier), Proxy(pid, identifier, first=t))
