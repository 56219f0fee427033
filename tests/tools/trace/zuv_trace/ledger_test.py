#!/usr/bin/python3
"""The ledger: what became of each command, latencies, and time lost."""

import sys
import unittest

from recordings import OBJECT, Builder, command, event, played, region_text, synchronous
from zuv_trace import ledger, ledger_text, wire


def ledger_of(builder):
    return ledger.Ledger(builder.run())


def start(builder):
    return builder.publish(command("start", "ses-1", OBJECT)).after(3)


def started(session="ses-1", **members):
    return event("started", session, **{"url": "u", **members})


class Outcome(unittest.TestCase):
    def outcome(self, builder):
        return ledger_of(builder).entries[-1].outcome

    def test_answered(self):
        self.assertEqual(ledger_of(played()).counts(), {"answered": 3})

    def test_late(self):
        self.assertEqual(self.outcome(start(synchronous()).after(250).timeout().after(50).answer(started())), "late")

    def test_unread_and_overwritten(self):
        builder = start(synchronous()).deliver(started()).after(1)
        builder.answer(event("definition", definitions="[]")).after(250).timeout()
        entry = ledger_of(builder).entries[-1]
        self.assertEqual((entry.outcome, entry.overwritten), ("unread", True))

    def test_twice(self):
        builder = start(Builder().begin().created()).deliver(started()).after(1).deliver(started())
        self.assertEqual(self.outcome(builder), "twice")

    def test_wrong_session(self):
        self.assertEqual(self.outcome(start(Builder().begin().created()).deliver(started("ses-x"))), "wrong session")

    def test_wrong_object(self):
        builder = start(Builder().begin().created()).deliver(started(identifier="obj-2"))
        self.assertEqual(self.outcome(builder), "wrong object")

    def test_wrong_name(self):
        self.assertEqual(self.outcome(start(Builder().begin().created()).deliver(event("seeked", "ses-1"))),
                         "wrong name")

    def test_never(self):
        self.assertEqual(self.outcome(start(Builder().begin().created()).after(6000).add("end")), "never")

    def test_open(self):
        self.assertEqual(self.outcome(start(Builder().begin().created()).add("end")), "open")

    def test_unheard(self):
        self.assertEqual(self.outcome(Builder().begin(service=False).publish(command("create", "ses-0")).after(10)
                                      .owner_changed("", ":1.5")), "unheard")

    def test_every_outcome_has_words(self):
        self.assertEqual({name.removeprefix("test_").split("_and_")[0].replace("_", " ") for name in vars(Outcome)
                          if name.startswith("test_") and "every" not in name}, set(ledger.OUTCOMES))


class Events(unittest.TestCase):
    def test_that_no_command_asked_for(self):
        self.assertEqual([each.event.name for each in ledger_of(played()).unasked], ["definition"])

    def test_of_objects_that_nobody_knows(self):
        found = ledger_of(Builder().begin().created().deliver(event("definition", identifier="obj-9")))
        self.assertEqual([each.event.object for each in found.unknown_objects], ["obj-9"])

    def test_answers_to_somebody_else(self):
        found = ledger_of(Builder(bus=False).begin().created().deliver(started("ses-x", identifier="obj-9")))
        self.assertEqual(len(found.others), 1)


class Figures(unittest.TestCase):
    def test_percentiles_are_values_that_there_were(self):
        values = list(range(1, 101))
        self.assertEqual([ledger.percentile(values, share) for share in (0.5, 0.9, 0.99, 1)], [50, 90, 99, 100])
        self.assertEqual(ledger.percentile([7], 0.5), 7)

    def test_latencies_by_command_and_channel(self):
        builder = start(synchronous()).answer(started())
        rows = {(name, channel): values for name, channel, values in ledger_of(builder).latencies()}
        self.assertEqual(rows["start", "bus"], [3_000_000])
        self.assertEqual(rows["start", "region"], [3_000_000])

    def test_time_until_the_next_look_is_lost(self):
        before = ledger_of(synchronous()).lost_to_polling()
        lost = ledger_of(start(synchronous()).answer(started())).lost_to_polling() - before
        self.assertEqual(lost, 47_000_000)

    def test_time_of_a_request_that_gave_up_is_lost(self):
        before = ledger_of(synchronous()).lost_to_polling()
        lost = ledger_of(start(synchronous()).after(250).timeout()).lost_to_polling() - before
        self.assertEqual(lost, 253_000_000)

    def test_time_from_a_start_of_the_service_to_its_first_event_is_lost(self):
        builder = Builder().begin(service=False).add("startService", c=1, r=0, d=1000).after(500)
        builder.owner_changed("", ":1.5").publish(command("create", "ses-c")).after(2)
        self.assertEqual(ledger_of(builder.deliver(event("created", "ses-c"))).lost_to_restarts(), 502_000_000)


class Text(unittest.TestCase):
    def test_says_everything(self):
        text = "\n".join(ledger_text.lines(ledger_of(played())))
        for words in ("3 commands", "answered 3.000 ms bus", "Events that no command asked for: 1", "start      bus"):
            self.assertIn(words, text)

    def test_is_printable(self):
        builder = Builder().begin().publish(["\x1b"] * 11).deliver(["\x1b", "200", "", "\n"])
        builder.region(region_text(["\x1b"] * 11))
        for line in ledger_text.lines(ledger_of(builder)):
            self.assertTrue(line.isprintable(), repr(line))

    def test_of_an_empty_recording(self):
        self.assertIn("0 commands", list(ledger_text.lines(ledger_of(Builder()))))
        self.assertEqual(wire.ENTRIES, 11)


if __name__ == "__main__":
    sys.exit(unittest.main())
