#!/usr/bin/python3
"""The script that a recording becomes: what the service does after each command."""

import unittest

from recordings import OBJECT, Builder, command, event, region_text
from zuv_trace import replay
from zuv_trace.model import Run

STARTED = event("started", "ses-1", url="u")
START = command("start", "ses-1", OBJECT)


def lives(builder, speed=1):
    return replay.script(Run(builder.recording().records), speed)["lives"]


def steps(builder, name, speed=1):
    """Of the last life's first command of this name."""
    return next(each["steps"] for each in lives(builder, speed)[-1]["commands"] if each["name"] == name)


def running():
    return Builder().begin().created()


class Script(unittest.TestCase):
    def test_answers_after_the_recorded_time(self):
        builder = running().publish(START).after(30).on_bus(STARTED).after(1).end()
        self.assertEqual(steps(builder, "start"), [{"after": 30, "bus": STARTED}])
        self.assertEqual(steps(builder, "start", speed=2), [{"after": 15, "bus": STARTED}])

    def test_has_a_command_without_an_answer(self):
        self.assertEqual(steps(running().publish(START).after(300).end(), "start"), [])

    def test_writes_what_the_region_had(self):
        text = region_text(STARTED) + " "
        builder = running().publish(START).after(30).on_bus(STARTED).after(9).region(text).after(1).end()
        self.assertEqual(steps(builder, "start"), [{"after": 30, "memory": text, "bus": STARTED}])

    def test_writes_what_only_the_region_had_before_it_was_seen(self):
        builder = running().publish(START).after(50).region("torn").after(1).end()
        self.assertEqual(steps(builder, "start"), [{"after": 25, "memory": "torn"}])

    def test_gives_an_answer_in_the_region_to_its_command_however_soon_it_was_seen(self):
        builder = running().publish(START).after(1).region(region_text(STARTED)).after(1).end()
        self.assertEqual(steps(builder, "start"), [{"after": 0, "memory": region_text(STARTED)}])

    def test_writes_what_was_in_the_region_before_the_first_command_at_once(self):
        builder = Builder().begin().after(900).region("{}", "map").after(1).created().end()
        self.assertEqual(lives(builder)[0]["beginning"], [{"after": 0, "memory": "{}"}])

    def test_gives_news_to_the_latest_command_about_its_object(self):
        news = event("definition", definitions="[]")
        builder = running().publish(START).after(1).on_bus(STARTED).publish(command("create", "ses-2"))
        builder.after(400).on_bus(news).end()
        self.assertEqual(steps(builder, "start")[1:], [{"after": 401, "bus": news}])

    def test_leaves_out_what_the_client_publishes_itself(self):
        neutral = ["unknown", *[""] * 10]
        builder = running().publish(START).deliver(neutral).after(1).end()
        self.assertEqual(steps(builder, "start"), [])

    def test_ends_as_the_service_did_and_goes_on_as_the_next_one(self):
        builder = running().publish(START).after(20).owner_changed(":1.5", "").after(100).owner_changed("", ":1.9")
        builder.publish(command("create", "ses-3")).after(1).on_bus(
            event("created", "ses-3", "obj-2")).after(1).add("end")
        self.assertEqual([len(life["commands"]) for life in lives(builder)], [2, 1])
        self.assertEqual(lives(builder)[0]["commands"][1]["steps"], [{"after": 20, "end": "exit"}])

    def test_does_not_end_with_the_run(self):
        self.assertEqual(steps(running().end(), "create")[1:], [])

    def test_freezes_where_a_service_that_was_killed_left_its_first_command(self):
        builder = Builder().begin(service=False)
        builder.add("begin", p=200, th=200, version=1, wall=0, program="zuv-service", args=[], role="service")
        builder.owner_changed("", ":1.5").created().publish(START).after(2000).owner_changed(":1.5", "")
        builder.add("exit", p=10, th=10, pid=200, signal=9).after(10).publish(START).add("end")
        self.assertEqual(steps(builder, "start"), [{"after": 0, "end": "freeze"}])

    def test_needs_no_monitor_of_the_bus(self):
        builder = Builder(bus=False).begin().created().publish(START).after(30).deliver(STARTED).end()
        self.assertEqual(steps(builder, "start"), [{"after": 30, "bus": STARTED}])


if __name__ == "__main__":
    unittest.main()
