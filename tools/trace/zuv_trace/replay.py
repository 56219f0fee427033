"""Gives an application the recorded service's side again: makes a script of what the service did after each command,
and has zuv-replay play it in the service's place."""

import dataclasses
import json
import os
import pathlib
import signal
import subprocess
import tempfile

from .facts import LOOK_INTERVAL, MILLISECOND, ServiceLife
from .model import Run
from .recording import RecordingError

SCRIPT_VARIABLE = "ZUV_REPLAY_SCRIPT"
KILLED = "signal 9"


@dataclasses.dataclass(eq=False)
class Trigger:
    """What the service's steps follow: a command, or its own start."""
    t: int
    request: object = None
    steps: list = dataclasses.field(default_factory=list)

    def add(self, t, **action):
        self.steps.append((max(0, t - self.t), action))

    def script(self, speed):
        steps = sorted(self.steps, key=lambda step: step[0])
        return [{"after": round(delay / MILLISECOND / speed), **action} for delay, action in steps]


class LifeScript:
    """What one service did, from its start to its end. When something was written that only the region had, nobody saw:
    at some time since the look before."""

    def __init__(self, run, life, ended):
        self._ended = ended
        self._start = Trigger(life.began)
        requests = [request for request in run.requests if self.includes(_sent(request))]
        self._triggers = [Trigger(_sent(request), request) for request in sorted(requests, key=_sent)]
        self._last_event = life.began

    def includes(self, t):
        return self._start.t <= t and (self._ended is None or t < self._ended)

    def add_event(self, event):
        """An event, as the bus and the region brought it."""
        t = _seen(event)
        if event.bus is None and not event.deliveries:
            t -= LOOK_INTERVAL // 2
        action = {}
        if event.looks:
            action["memory"] = event.looks[0].text.text
        if event.bus is not None or event.deliveries:
            action["bus"] = event.event.values
        self._trigger_of(event).add(t, **action)
        self._last_event = max(self._last_event, t)

    def add_text(self, look):
        """A text in the region that is no event. What was there before the first command was there from the start."""
        trigger = self._latest(look.t)
        trigger.add(trigger.t if trigger is self._start else look.t - LOOK_INTERVAL // 2, memory=look.text.text)

    def add_end(self, was_killed):
        """A service that was killed had not answered for some time: it froze before the first command that it left."""
        if not was_killed:
            return self._latest(self._ended).add(self._ended, end="exit")
        left = next((trigger for trigger in self._triggers if trigger.t > self._last_event), None)
        if left is not None:
            return left.add(left.t, end="freeze")
        return self._latest(self._last_event).add(self._last_event, end="freeze")

    def script(self, speed):
        return {"beginning": self._start.script(speed),
                "commands": [{"name": trigger.request.command.name, "kind": trigger.request.command.kind,
                              "session": trigger.request.command.session, "steps": trigger.script(speed)}
                             for trigger in self._triggers]}

    def _trigger_of(self, event):
        """The command that it answers; for news, the latest one about the same object."""
        seen = _seen(event)
        answered = [trigger for trigger in self._triggers if trigger.request is event.request]
        about = [trigger for trigger in self._triggers
                 if trigger.t <= seen and event.event.object and trigger.request.command.object == event.event.object]
        return (answered or about or [self._latest(seen)])[-1]

    def _latest(self, t):
        """The latest command before, or the service's start."""
        return next((trigger for trigger in reversed(self._triggers) if trigger.t <= t), self._start)


def script(run, speed):
    """What the services of the run did, for zuv-replay."""
    lives = run.service_lives or [ServiceLife("", run.began)]
    scripts = [LifeScript(run, life, _end_of(run, life)) for life in lives]

    def life_at(t):
        return next((each for each in scripts if each.includes(t)), None)

    for event in run.events:
        life = life_at(_seen(event))
        if life is not None and not event.event.is_neutral:
            life.add_event(event)
    for look in run.looks:
        life = life_at(look.t)
        if life is not None and look.event is None:
            life.add_text(look)
    for life, each in zip(lives, scripts):
        if _end_of(run, life) is not None:
            each.add_end(_was_killed(run, life))
    return {"lives": [each.script(speed) for each in scripts]}


def _sent(request):
    """By the monitor of the bus, if there was one, so that the times are those of one observer."""
    return request.t if request.on_bus is None else request.on_bus


def _seen(event):
    if event.bus is not None:
        return event.bus.t
    return event.t if event.arrival(None) is None else event.arrival(None)


def _end_of(run, life):
    """When the service ended before the applications did; None if it outlived them."""
    applications = [run.end_of(process) for process in run.processes.values() if process.role == "application"]
    return life.ended if life.ended is not None and life.ended < max(applications, default=run.ended) else None


def _was_killed(run, life):
    services = [process for process in run.processes.values()
                if process.role == "service" and process.began <= life.began]
    return bool(services) and services[-1].end == KILLED


def replay(recorded, speed, record, command, programs):
    """Runs the command with the recorded service's side.

    @param programs the folder of zuv-desktop and zuv-replay.
    @param record the file that this run is recorded into; "" for none.
    @return the command's exit status, or the reason of zuv-desktop why there is none.
    """
    run = Run(recorded.records)
    if not run.requests:
        raise RecordingError("no command to a media service is in it")
    with tempfile.TemporaryDirectory(prefix="zuv-trace-") as folder:
        file = pathlib.Path(folder) / "script.json"
        file.write_bytes(_encoded(script(run, speed)))
        options = ["--service", programs / "zuv-replay", *(["--record", record] if record else [])]
        return _status([programs / "zuv-desktop", "run", *options, "--", *command],
                       {**os.environ, SCRIPT_VARIABLE: str(file)})


def _encoded(document):
    try:
        return json.dumps(document, ensure_ascii=False).encode("utf-8", "surrogateescape")
    except UnicodeEncodeError as error:
        raise RecordingError("a text in it cannot be sent") from error


def _status(command_line, environment):
    """The exit status of a program to which signals are passed on, as a shell reports it."""
    with subprocess.Popen(command_line, env=environment) as process:
        signal.signal(signal.SIGINT, lambda *_: None)  # the terminal sends it to the program as well
        for each in (signal.SIGTERM, signal.SIGHUP):
            signal.signal(each, lambda number, _: process.send_signal(number))
        status = process.wait()
    return status if status >= 0 else 128 - status
