"""The ledger as text, for a terminal."""

from . import ledger as ledgers
from . import text
from .show import command_words, list_words
from .text import milliseconds, several


def lines(ledger):
    yield from _commands(ledger)
    yield from _events(ledger)
    yield from _latencies(ledger)
    yield from _time_lost(ledger)


def _commands(ledger):
    yield several(len(ledger.entries), "command")
    for outcome, count in ledger.counts().items():
        yield f"  {count:>6}  {ledgers.OUTCOMES[outcome]}"
    overwritten = sum(entry.overwritten for entry in ledger.entries)
    if overwritten:
        yield f"  {overwritten:>6}  of them with an answer that was overwritten in the region before it was read"
    for entry in ledger.entries:
        yield f"  {_moment(ledger, entry.request.t)}  {entry_words(entry):<32}  {command_words(entry.request)}"


def entry_words(entry):
    words = entry.outcome + (", overwritten" if entry.overwritten else "")
    channels = [f"{milliseconds(value)} {name}" for name, value in
                (("bus", entry.over_bus), ("region", entry.by_region)) if value is not None]
    return f"{words} {', '.join(channels)}".rstrip()


def remarkable_events(ledger):
    """(what they are, events), for events that answer nothing in the recording."""
    return (("Events that no command asked for", ledger.unasked),
            ("Events of objects that nobody knows", ledger.unknown_objects),
            ("Answers to commands that are not in the recording", ledger.others))


def _events(ledger):
    for title, events in remarkable_events(ledger):
        yield f"{title}: {len(events)}"
        for event in events:
            yield f"  {_moment(ledger, event.t)}  {list_words(event.event.values)}"


def _latencies(ledger):
    yield "latency      by        count        50 %        90 %        99 %     longest"
    for command, channel, values in ledger.latencies():
        shares = [milliseconds(ledgers.percentile(values, share)) for share in (0.5, 0.9, 0.99, 1)]
        yield f"  {command:<10} {channel:<8} {len(values):>6}" + "".join(f"{each:>12}" for each in shares)


def _time_lost(ledger):
    yield f"time lost to polling the region: {milliseconds(ledger.lost_to_polling())}"
    yield f"time lost to starts of the service: {milliseconds(ledger.lost_to_restarts())}"


def _moment(ledger, t):
    return f"{text.seconds(t - ledger.run.began):>11}"
