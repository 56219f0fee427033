#!/usr/bin/python3
"""Each rule: a run that breaks it, and that alone; and runs that break none."""

import pathlib
import sys
import unittest

from recordings import APPLICATION_THREAD, OBJECT, Builder, command, event, played, region_text, synchronous
from scenario_rules import BROKEN_RULES
from zuv_trace import checking, rules, wire

URL = "http://127.0.0.1:1/clip"


def broken(builder):
    """The identifiers of the rules that the run breaks."""
    return {violation.rule.identifier for violation in checking.violations(builder.run(), rules.RULES)}


def start(builder, session="ses-1", **members):
    return builder.publish(command("start", session, OBJECT, url="/clip", option="1", **members)).after(3)


def started(session="ses-1", **members):
    return event("started", session, **{"url": URL, **members})


def asynchronous():
    return start(Builder().begin().created())


class NoViolation(unittest.TestCase):
    def test_of_a_run_in_asynchronous_mode(self):
        self.assertEqual(broken(played()), set())

    def test_of_a_run_that_only_the_seam_recorded(self):
        self.assertEqual(broken(played(bus=False)), set())

    def test_of_a_run_in_synchronous_mode(self):
        builder = start(synchronous())
        builder.answer(started()).after(60)
        builder.publish(command("stop", "ses-2", OBJECT)).after(3).answer(event("stopped", "ses-2"))
        self.assertEqual(broken(builder.end()), set())

    def test_of_a_command_whose_answer_the_client_did_not_live_to_see(self):
        self.assertEqual(broken(asynchronous().end()), set())

    def test_of_a_creation_that_no_service_heard(self):
        builder = Builder().begin(service=False).publish(command("create", "ses-0")).after(200)
        builder.owner_changed("", ":1.5").after(10)
        self.assertEqual(broken(builder.created().end()), set())

    def test_of_the_clients_own_neutral_event(self):
        builder = Builder().begin().created()
        builder.publish(["unknown"] + [""] * 9, topic=wire.EVENT_TOPIC).after(1)
        builder.deliver(["unknown"] + [""] * 9)
        self.assertEqual(broken(builder.end()), set())

    def test_of_definitions_100_ms_after_an_answer_for_which_nobody_waits(self):
        builder = asynchronous().after(300).deliver(started())
        self.assertEqual(broken(builder.after(100).deliver(event("definition", definitions="[]")).end()), set())

    def test_of_a_service_that_the_client_has_restarted(self):
        builder = Builder().begin().created()
        builder.add("startService", c=1, r=0, d=1000).after(500)
        self.assertEqual(broken(builder.owner_changed(":1.5", "").after(1000).add("end")), set())

    def test_of_answers_to_an_application_that_is_not_in_the_recording(self):
        builder = Builder(bus=False).begin().created()
        self.assertEqual(broken(builder.deliver(event("started", "ses-x", "obj-2", url=URL)).end()), set())


    def test_of_an_event_that_the_region_replaced_before_the_bus_had_brought_it(self):
        builder = synchronous().publish(command("inspect", "ses-0")).publish(command("stop", "ses-1", OBJECT)).after(3)
        builder.region(region_text(event("stopped", "ses-1"))).deliver(event("status", "ses-0", "", kind=""))
        self.assertEqual(broken(builder.deliver(event("stopped", "ses-1")).end()), set())

    def test_of_an_event_beside_one_that_only_the_region_has(self):
        builder = synchronous().publish(command("inspect", "ses-0"))
        start(builder).region(region_text(started())).deliver(event("status", "ses-0", "", kind=""))
        self.assertEqual(broken(builder.after(100).add("end")) - {"on-bus"}, set())


class Violation(unittest.TestCase):
    def assert_breaks(self, identifier, builder):
        self.assertEqual(broken(builder), {identifier})

    def test_eleven_entries(self):
        self.assert_breaks("eleven-entries", asynchronous().deliver(started()[:3]).end())

    def test_event_name(self):
        self.assert_breaks("event-name", Builder().begin().created().deliver(event("Started")).end())

    def test_session_echoed(self):
        self.assert_breaks("session-echoed", asynchronous().deliver(started("ses-other")).end())

    def test_answer_name(self):
        self.assert_breaks("answer-name", asynchronous().deliver(event("stopped", "ses-1")).end())

    def test_object_named(self):
        self.assert_breaks("object-named", asynchronous().deliver(started(identifier="obj-2")).end())

    def test_kind_echoed(self):
        builder = start(Builder().begin().created(), kind=wire.ADVERTISEMENT)
        self.assert_breaks("kind-echoed", builder.deliver(started(kind=wire.MAIN_VIDEO)).end())

    def test_code_and_detail_has_three_digits(self):
        self.assert_breaks("code-and-detail", asynchronous().deliver(started(code="OK")).end())

    def test_code_and_detail_of_a_failure(self):
        self.assert_breaks("code-and-detail", asynchronous().deliver(started(code="404", detail="")).end())

    def test_truthful_code_by_a_stop(self):
        builder = asynchronous().deliver(started(code="500", detail="no")).after(10)
        builder.publish(command("stop", "ses-2", OBJECT)).after(3).deliver(event("stopped", "ses-2"))
        self.assert_breaks("truthful-code", builder.end())

    def test_truthful_code_by_definitions(self):
        builder = asynchronous().deliver(started(code="500", detail="no")).after(410)
        self.assert_breaks("truthful-code", builder.deliver(event("definition", definitions="[]")).end())

    def test_a_failed_start_leaves_the_medium_before_it_as_it_was(self):
        builder = asynchronous().deliver(started()).after(10)
        start(builder, "ses-2").deliver(started("ses-2", code="404", detail="none")).after(10)
        builder.publish(command("stop", "ses-3", OBJECT)).after(3).deliver(event("stopped", "ses-3"))
        self.assertEqual(broken(builder.end()), set())

    def test_local_url(self):
        self.assert_breaks("local-url", asynchronous().deliver(started(url="")).end())

    def test_answered_because_a_later_command_was(self):
        builder = asynchronous().after(100).publish(command("stop", "ses-2", OBJECT)).after(3)
        self.assert_breaks("answered", builder.deliver(event("stopped", "ses-2")).end())

    def test_answered_because_the_client_waited_long_enough(self):
        self.assert_breaks("answered", asynchronous().after(6000).end())

    def test_one_answer(self):
        self.assert_breaks("one-answer", asynchronous().deliver(started()).after(1).deliver(started()).end())

    def test_in_time_for_a_synchronous_request(self):
        builder = start(synchronous()).after(250).timeout().after(50)
        self.assert_breaks("in-time", builder.answer(started()).end())

    def test_in_time_for_a_creation(self):
        builder = Builder().begin().publish(command("create", "ses-1")).after(300)
        self.assert_breaks("in-time", builder.deliver(event("created", "ses-1", kind="")).end())

    def test_in_order(self):
        builder = asynchronous().publish(command("stop", "ses-2", OBJECT)).after(3)
        self.assert_breaks("in-order", builder.deliver(event("stopped", "ses-2")).after(1).deliver(started()).end())

    def test_object_per_session_for_one_session(self):
        builder = Builder().begin().created().publish(command("create", "ses-c")).after(2)
        self.assert_breaks("object-per-session", builder.deliver(event("created", "ses-c", "obj-2", kind="")).end())

    def test_object_per_session_for_two_sessions(self):
        builder = Builder().begin().created().publish(command("create", "ses-d")).after(2)
        self.assert_breaks("object-per-session", builder.deliver(event("created", "ses-d", kind="")).end())

    def test_asked_for(self):
        builder = asynchronous().deliver(started()).after(100)
        self.assert_breaks("asked-for", builder.deliver(event("status")).end())

    def test_known_object(self):
        builder = Builder().begin().created().after(100)
        self.assert_breaks("known-object", builder.deliver(event("definition", identifier="obj-9")).end())

    def test_definitions_after_answer(self):
        builder = asynchronous().deliver(started()).after(200)
        self.assert_breaks("definitions-after-answer", builder.deliver(event("definition")).end())

    def test_definitions_before_the_answer(self):
        builder = asynchronous().deliver(event("definition")).after(100)
        self.assert_breaks("definitions-after-answer", builder.deliver(started()).end())

    def test_answer_kept(self):
        builder = Builder().begin().created(session="ses-c")
        builder.publish(command("inspect", "ses-1")).after(2).deliver(event("status", "ses-1", "", kind="")).after(10)
        self.assert_breaks("answer-kept", builder.deliver(event("definition")).end())

    def test_on_bus(self):
        builder = start(synchronous()).region(region_text(started())).after(60)
        builder.publish(command("stop", "ses-2", OBJECT)).after(3).answer(event("stopped", "ses-2"))
        self.assert_breaks("on-bus", builder.end())

    def test_in_region(self):
        builder = start(synchronous()).deliver(started()).after(250).timeout()
        self.assert_breaks("in-region", builder.end())

    def test_region_first(self):
        builder = start(synchronous()).deliver(started()).after(30).region(region_text(started()))
        self.assert_breaks("region-first", builder.end())

    def test_same_event(self):
        builder = start(synchronous()).region(region_text(started(url="http://127.0.0.1:1/another"))).after(1)
        self.assert_breaks("same-event", builder.deliver(started()).end())

    def test_whole_text(self):
        for text in ("this is no JSON", region_text(started())[:40], "[1]", "[" * 1500 + "]" * 1500):
            builder = start(synchronous()).region(text).deliver(started()).after(250).timeout()
            self.assert_breaks("whole-text", builder.end())

    def test_string_members(self):
        builder = start(synchronous()).region('{"0":"started","1":"200","2":"ses-1","8":{"text":"OK"}}')
        self.assert_breaks("string-members", builder.deliver(started()).end())

    def test_region_end(self):
        builder = start(synchronous()).region(region_text(started()).ljust(wire.REGION_SIZE))
        self.assert_breaks("region-end", builder.deliver(started()).end())

    def test_refusal_on_bus_only(self):
        refusal = event("unknown", "", "", "400", detail="A command has 11 entries", kind="")
        self.assert_breaks("refusal-on-bus-only", synchronous().answer(refusal).end())

    def test_region_opens(self):
        self.assert_breaks("region-opens", Builder().begin().created().map(-1).end())

    def test_service_stays(self):
        builder = Builder().begin().created().owner_changed(":1.5", "").after(1000)
        self.assert_breaks("service-stays", builder.add("end", th=APPLICATION_THREAD))


class Table(unittest.TestCase):
    def test_every_rule_has_a_test(self):
        tested = " ".join(name.replace("_", "-") for name in vars(Violation))
        for rule in rules.RULES:
            self.assertIn(rule.identifier, tested)

    def test_says_of_every_scenario_which_rules_it_breaks(self):
        scenarios = pathlib.Path(__file__).parents[4] / "desktop" / "scenarios"
        self.assertEqual(set(BROKEN_RULES), {file.stem for file in scenarios.glob("*.json")})
        known = {rule.identifier for rule in rules.RULES}
        for asynchronous, synchronous_mode, _ in BROKEN_RULES.values():
            self.assertLessEqual({*asynchronous, *synchronous_mode}, known)

    def test_says_everything_of_every_rule(self):
        for rule in rules.RULES:
            for words in (rule.text, rule.reason, rule.consequence):
                self.assertTrue(words.endswith("."), words)

    def test_has_each_identifier_once(self):
        self.assertEqual(len({rule.identifier for rule in rules.RULES}), len(rules.RULES))


if __name__ == "__main__":
    sys.exit(unittest.main())
