#!/usr/bin/python3
"""The table of states: that it is complete, and what the states and callbacks of a recording are by it."""

import itertools
import sys
import unittest

from recordings import (APPLICATION_THREAD, OBJECT, Builder, callbacks_of, command, event, played, region_text,
                        synchronous)
from zuv_trace import state_model, wire
from zuv_trace.state_model import TABLE, TRANSITIONS

MEDIA = (wire.MAIN_VIDEO, wire.ADVERTISEMENT)


def every_input():
    for operation in ("stop", "pause", "seek", "preload", "stopAd", "preloadAd"):
        yield {"operation": operation}
    for operation, option in itertools.product(("start", "startAd"), ("0", "other")):
        yield {"operation": operation, "option": option}
    names = ("started", "stopped", "seeked", "definition", "other")
    for name, code, medium in itertools.product(names, ("200", "other"), MEDIA):
        yield {"event": name, "code": code, "medium": medium, "url": "u", "definitions": "d"}


def every_combination_of_fields():
    for values in itertools.product(*TABLE["fields"].values()):
        fields = state_model.Fields()
        fields.update((field, {"set": "text", "empty": ""}.get(value, value))
                      for field, value in zip(TABLE["fields"], values))
        yield fields


class Table(unittest.TestCase):
    def test_has_one_entry_for_each_input_in_each_state(self):
        for fields, taken in itertools.product(every_combination_of_fields(), every_input()):
            entries = [entry for entry in TRANSITIONS if fields.is_for(entry, taken)]
            self.assertEqual(len(entries), 1, f"{taken} with {fields}")

    def test_has_no_entry_that_no_input_reaches(self):
        reached = [fields.entry_for(taken) for fields, taken in
                   itertools.product(every_combination_of_fields(), every_input())]
        self.assertEqual([entry for entry in TRANSITIONS if entry not in reached], [])

    def test_leads_to_states_that_it_lists(self):
        for fields, taken in itertools.product(every_combination_of_fields(), every_input()):
            fields.take(taken)
            for field in state_model.STATE_OF.values():
                self.assertIn(fields[field], TABLE["fields"][field])

    def test_has_the_answers_that_the_commands_have(self):
        self.assertEqual(TABLE["answers"], {name: wire.ANSWERS[name] for name in TABLE["answers"]})


class Recordings(unittest.TestCase):
    def assert_states(self, builder, medium, *states):
        histories = builder.run().states.proxy(100, OBJECT).histories
        self.assertEqual([state for _, state in histories[medium]], list(states))

    def assert_agreement(self, builder):
        callbacks = callbacks_of(builder.run())
        self.assertEqual(callbacks.recorded, callbacks.expected)

    @staticmethod
    def preloaded():
        builder = Builder().begin().created().publish(command("preload", "ses-1", OBJECT)).after(1)
        return builder.deliver(event("started", "ses-1", url="u")).after(1)

    @staticmethod
    def call_back(builder, key, value, medium=wire.MAIN_VIDEO):
        builder.add("callback", th=APPLICATION_THREAD, medium=medium, id=OBJECT, key=key, value=value)
        builder.after(0.1).add("returned", th=APPLICATION_THREAD, d=100000)
        return builder

    def test_callback_that_is_missing_is_noticed(self):
        builder = Builder().begin().created().publish(command("start", "ses-1", OBJECT)).after(1)
        callbacks = callbacks_of(builder.deliver(event("started", "ses-1", url="u")).run())
        self.assertEqual(callbacks.recorded, {(100, OBJECT): []})
        self.assertEqual(callbacks.expected, {(100, OBJECT): [(wire.MAIN_VIDEO, "url", "u")]})

    def test_definitions_are_for_a_film_that_is_not_idle(self):
        builder = Builder().begin().created().deliver(event("definition", definitions="d"))
        self.assert_agreement(builder)

    def test_start_that_takes_over_a_preloaded_film(self):
        builder = self.call_back(self.call_back(self.preloaded(), "url", "u"), "definitions", "")
        self.assert_states(builder, wire.MAIN_VIDEO, "Started", "Starting")
        self.assert_agreement(builder)
        self.assertEqual(builder.run().callbacks[0].held, "")

    def test_start_that_reads_the_answer_to_a_preload(self):
        builder = Builder().begin().created().publish(command("preload", "ses-1", OBJECT)).after(1)
        self.call_back(builder, "url", "u")
        self.assert_states(builder, wire.MAIN_VIDEO, "Starting", "Started")
        self.assert_agreement(builder)
        builder.deliver(event("started", "ses-1", url="u"))  # the same from the bus
        self.assert_agreement(builder)

    def test_start_that_takes_over_a_preloaded_advertisement(self):
        builder = Builder().begin().created().publish(command("preload", "ses-1", OBJECT, wire.ADVERTISEMENT)).after(1)
        builder.deliver(event("started", "ses-1", url="u", kind=wire.ADVERTISEMENT)).after(1)
        self.call_back(builder, "url", "u", wire.ADVERTISEMENT)
        self.assert_states(builder, wire.ADVERTISEMENT, "Starting")
        self.assert_agreement(builder)

    def test_advertisement_makes_the_film_started(self):
        builder = Builder().begin().created().publish(command("start", "ses-1", OBJECT, wire.ADVERTISEMENT)).after(1)
        builder.deliver(event("started", "ses-1", url="u", kind=wire.ADVERTISEMENT))
        self.assert_states(builder, wire.ADVERTISEMENT, "Starting")
        self.assert_states(builder, wire.MAIN_VIDEO, "Started")

    def test_failed_start_changes_nothing(self):
        builder = Builder().begin().created().publish(command("start", "ses-1", OBJECT)).after(1)
        self.assert_states(builder.deliver(event("started", "ses-1", code="500")), wire.MAIN_VIDEO, "Starting")
        self.assert_agreement(builder)

    def test_synchronous_start_finds_its_answer_in_the_region(self):
        builder = synchronous().publish(command("start", "ses-1", OBJECT)).after(2)
        builder.region(region_text(event("started", "ses-1", url="u")))
        self.call_back(builder, "url", "u")
        self.assert_states(builder, wire.MAIN_VIDEO, "Starting", "Started")
        self.assert_agreement(builder)

    def test_answer_that_comes_into_the_region_too_late_is_not_heard(self):
        builder = synchronous().publish(command("start", "ses-1", OBJECT)).after(260).timeout()
        builder.region(region_text(event("started", "ses-1", url="u")))
        self.assert_states(builder, wire.MAIN_VIDEO, "Starting")

    def test_film_that_is_played(self):
        self.assert_states(played(), wire.MAIN_VIDEO, "Starting", "Started", "Idle")


if __name__ == "__main__":
    sys.exit(unittest.main())
