"""What the modules that look for violations share, and the check of a run by all rules."""

import dataclasses

from . import wire
from .facts import MILLISECOND

# Two processes on a busy machine see one moment as two.
JITTER = 20 * MILLISECOND


@dataclasses.dataclass
class Violation:
    """`events` and `requests` are its evidence; `times` counts violations that say the same."""
    t: int
    words: str
    events: tuple = ()
    requests: tuple = ()
    records: tuple = ()
    times: int = 1
    rule: object = None

    @property
    def evidence(self):
        """The records that show it, in the order of time."""
        found = [each.record for each in (*self.requests, *self.events)] + list(self.records)
        return sorted(set(found), key=lambda record: record.number)


def service_events(run):
    """The events that a service sent, without the client's own neutral one."""
    return [event for event in run.events if not event.event.is_neutral]


def right_answer(request):
    """The answer by which the client knows what became of its command; None without one."""
    usable = ("", "twice", "session")
    return next((answer.event for answer in request.answers if answer.fault in usable), None)


def has(event, position):
    """Whether the list reaches so far: a list that is too short breaks one rule, not all those about what it lacks."""
    return len(event.event.values) > position


def main_video_news(run):
    return [event for event in run.events if event.event.name == wire.DEFINITION]


def violations(run, rules):
    """All violations, in the order of time; those of a rule that say the same are one."""
    found = []
    for rule in rules:
        by_words = {}
        for violation in rule.find(run):
            violation.rule = rule
            first = by_words.setdefault(violation.words, violation)
            if first is not violation:
                first.times += violation.times
        found.extend(by_words.values())
    return sorted(found, key=lambda violation: violation.t)
