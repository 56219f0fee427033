#!/usr/bin/python3
"""The lines of zuv-trace show: what they say, what they leave out, and that no recording can abuse a terminal."""

import io
import sys
import unittest

from recordings import OBJECT, Builder, command, event, played, region_text, synchronous
from zuv_trace import show

ESCAPE = "\x1b]0;owned\x07\x1b[2J\nforged line\r\x9b1m\u202e\udcff\\"


def lines(builder, **chosen):
    return list(show.lines_of(builder.recording().records, chosen=show.Filter(**chosen)))


def line_with(builder, words):
    found = [line for line in lines(builder) if words in line]
    assert found, f"no line with {words}"
    return found[0]


class Lines(unittest.TestCase):
    def test_begin_with_time_and_lane(self):
        self.assertRegex(line_with(played(), "-> start"), r"^ +0\.064100  player 100/1 +-> start main_video obj-1 ")

    def test_join_an_answer_to_its_command(self):
        self.assertRegex(line_with(played(), "<- started"), r"player 100/2 .* = start after 3\.000 ms$")

    def test_join_the_region_to_the_command(self):
        builder = synchronous().publish(command("stop", "ses-1", OBJECT)).after(4)
        self.assertIn("= stop after 4.000 ms", line_with(builder.answer(event("stopped", "ses-1")), "region: stopped"))

    def test_say_what_is_wrong_with_an_answer(self):
        builder = Builder().begin().created().publish(command("start", "ses-1", OBJECT)).after(1)
        builder.deliver(event("started", "ses-1", "obj-2"))
        self.assertIn(", for another object", line_with(builder, "<- started"))

    def test_say_what_a_callback_holds(self):
        self.assertTrue(line_with(played(), " url ").endswith("holding the proxy's mutex"))
        self.assertNotIn("holding", line_with(played(), " definitions "))

    def test_say_how_a_region_is_wrong(self):
        self.assertIn("no JSON object", line_with(Builder().begin().region("x"), "region:"))

    def test_shorten_long_texts(self):
        builder = Builder().begin().created().publish(command("start", "ses-1", OBJECT, url="/" + "x" * 1000))
        self.assertIn("(1001 characters)", line_with(builder, "-> start"))

    def test_show_every_kind_of_record(self):
        builder = Builder().begin()
        for kind, members in {
                "initialize": {"c": 1, "r": 0, "d": 1}, "startService": {"c": 1, "r": 0, "d": 1}, "state": {"c": 1},
                "read": {"c": 1, "topic": "t", "values": [], "r": 0, "d": 1},
                "call": {"name": "f", "args": ["a"], "d": 1},
                "map": {"name": "/ZUV_PROXY", "size": 4096, "r": 0}, "line": {"text": "x"}, "lost": {"n": 2},
                "spawn": {"pid": 5, "args": ["a"]}, "exit": {"pid": 5, "signal": 9}, "disconnect": {"c": 1}}.items():
            self.assertEqual(len(lines(Builder().add(kind, **members))), 1, kind)
        self.assertEqual(len(lines(builder)), 4)


class Filters(unittest.TestCase):
    def test_by_kind(self):
        self.assertEqual(len(lines(played(), kinds=("publish",))), 3)

    def test_by_session(self):
        shown = lines(played(), sessions=("ses-2",))
        self.assertEqual(len(shown), 4)
        self.assertTrue(all("[ses-2]" in line for line in shown))

    def test_by_object(self):
        self.assertTrue(any("callback" in line for line in lines(played(), objects=(OBJECT,))))
        self.assertEqual(lines(played(), objects=("obj-9",)), [])

    def test_by_the_identifiers_in_log_lines(self):
        builder = Builder().begin().add("log", text="Seek Done. obj-1", level=1, module=95)
        self.assertEqual(len(lines(builder, objects=(OBJECT,))), 1)

    def test_by_level(self):
        builder = Builder().begin()
        for level in (1, 1000, 4000, 5000):
            builder.add("log", text=f"level {level}", level=level, module=95)
        self.assertEqual(len(lines(builder, kinds=("log",), level="failures")), 2)
        self.assertEqual(len(lines(builder, kinds=("log",), level="dump")), 4)


class Safety(unittest.TestCase):
    """Whatever a recording holds, a line stays one line without anything that a terminal obeys."""

    def hostile(self):
        builder = Builder()
        builder.add("begin", version=1, wall=0, program=ESCAPE, args=[ESCAPE], role=ESCAPE)
        values = [ESCAPE] * 11
        builder.publish(values).after(1).deliver(values, [(ESCAPE, ESCAPE, ESCAPE, ESCAPE)])
        builder.publish(values, topic=ESCAPE).add("log", text=ESCAPE).add("line", text=ESCAPE, level=ESCAPE)
        builder.region(ESCAPE, ESCAPE).region(region_text(values)).add("spawn", pid=1, args=[ESCAPE])
        builder.add("call", name=ESCAPE, args=[ESCAPE], r=ESCAPE, d=1).add("map", name=ESCAPE, size=1, r=-1)
        builder.add("read", c=1, topic=ESCAPE, values=values, r=0, d=1).add("exit", pid=100, status=0)
        return builder.owner_changed(ESCAPE, ESCAPE)

    def test_of_every_line(self):
        for line in lines(self.hostile()):
            self.assertTrue(line.isprintable(), repr(line))

    def test_of_colours(self):
        for line in show.lines_of(self.hostile().recording().records, colour=True):
            self.assertLessEqual(line.count("\x1b"), 2)


class Colour(unittest.TestCase):
    class Terminal(io.StringIO):
        def isatty(self):
            return True

    def test_on_a_terminal(self):
        self.assertTrue(show.wants_colour(self.Terminal(), {"TERM": "xterm"}))

    def test_not_elsewhere(self):
        self.assertFalse(show.wants_colour(io.StringIO(), {"TERM": "xterm"}))

    def test_not_when_it_is_not_wanted(self):
        self.assertFalse(show.wants_colour(self.Terminal(), {"TERM": "xterm", "NO_COLOR": "1"}))
        self.assertFalse(show.wants_colour(self.Terminal(), {"TERM": "dumb"}))


if __name__ == "__main__":
    sys.exit(unittest.main())
