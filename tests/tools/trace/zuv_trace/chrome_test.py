#!/usr/bin/python3
"""The export for Perfetto and chrome://tracing, by the rules of the published trace event format."""

import collections
import json
import sys
import unittest

from recordings import Builder, played, synchronous
from zuv_trace import chrome

# What each phase has to have besides the members of every event.
PHASES = {
    "X": {"dur"},
    "M": {"args"},
    "b": {"cat", "id"},
    "e": {"cat", "id"},
    "s": {"cat", "id"},
    "f": {"cat", "id", "bp"},
    "i": {"s"},
}


def events_of(builder):
    """As whoever opens the file reads it."""
    return json.loads(json.dumps(chrome.trace(builder.run())))["traceEvents"]


class Format(unittest.TestCase):
    def test_every_event_has_the_members_of_its_phase(self):
        for event in [*events_of(played()), *events_of(synchronous())]:
            self.assertLessEqual({"ph", "name", "pid", "tid", "ts"} | PHASES[event["ph"]], set(event))
            for name in ("pid", "tid"):
                self.assertIsInstance(event[name], int)
            self.assertGreaterEqual(event["ts"], 0)

    def test_spans_begin_and_end(self):
        spans = collections.defaultdict(list)
        for event in events_of(played()):
            if event["ph"] in "be":
                spans[event["cat"], event["id"]].append((event["ts"], event["ph"]))
        self.assertEqual(len(spans), 3 + 1)  # the commands, and the life of the service
        for span in spans.values():
            self.assertEqual([phase for _, phase in sorted(span)], ["b", "e"])

    def test_arrows_begin_and_end_within_slices(self):
        events = events_of(played())
        arrows = [event for event in events if event["ph"] in "sf"]
        self.assertEqual(len(arrows), 6)
        for arrow in arrows:
            self.assertTrue(any(
                (event["pid"], event["tid"]) == (arrow["pid"], arrow["tid"])
                and event["ts"] <= arrow["ts"] <= event["ts"] + event["dur"] for event in events if event["ph"] == "X"),
                arrow)

    def test_slices_of_a_thread_nest(self):
        threads = collections.defaultdict(list)
        for event in events_of(played()):
            if event["ph"] == "X":
                threads[event["pid"], event["tid"]].append((event["ts"], -event["dur"]))
        for slices in threads.values():
            ends = []
            for begin, duration in sorted(slices):
                while ends and ends[-1] <= begin:
                    ends.pop()
                self.assertTrue(not ends or begin - duration <= ends[-1] + 0.001)
                ends.append(begin - duration)

    def test_names_processes_and_threads(self):
        names = {event["args"]["name"] for event in events_of(played()) if event["ph"] == "M"}
        self.assertEqual(names, {"zuv-desktop", "player", "thread 1", "thread 2"})

    def test_of_an_empty_recording(self):
        self.assertEqual(events_of(Builder()), [])


if __name__ == "__main__":
    sys.exit(unittest.main())
