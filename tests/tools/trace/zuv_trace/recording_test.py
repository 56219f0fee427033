#!/usr/bin/python3
"""How a recording is read: torn lines, the file before, bytes that are not UTF-8, and while it is written."""

import json
import os
import pathlib
import sys
import tempfile
import threading
import unittest

from recordings import Builder, played
from zuv_trace import recording

BEGIN = '{"t":1,"p":1,"th":1,"k":"begin","version":1,"wall":0,"program":"a","args":[],"role":"launcher"}\n'
END = '{"t":9,"p":1,"th":1,"k":"end"}\n'


def log(t, text="a line"):
    return json.dumps({"t": t, "p": 1, "th": 1, "k": "log", "text": text}) + "\n"


class Files(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.path = pathlib.Path(folder.name) / "run.jsonl"

    def write(self, text, suffix=""):
        data = text if isinstance(text, bytes) else text.encode()
        pathlib.Path(f"{self.path}{suffix}").write_bytes(data)

    def read(self, text):
        self.write(text)
        return recording.read(self.path)


class Read(Files):
    def test_sorts_by_time_and_keeps_the_order_of_one_moment(self):
        read = self.read(BEGIN + log(5, "third") + log(2, "first") + log(2, "second"))
        self.assertEqual([record.text for record in read.records[1:]], ["first", "second", "third"])

    def test_begins_with_the_file_before(self):
        self.write(BEGIN + log(2, "before"), ".old")
        read = self.read(log(3, "after"))
        self.assertEqual([record.k for record in read.records], ["begin", "log", "log"])
        self.assertEqual(read.records[-1].text, "after")

    def test_leaves_a_torn_line_out(self):
        read = self.read(BEGIN + log(2) + log(3)[:20])
        self.assertEqual((len(read.records), read.damaged), (2, 1))

    def test_counts_what_is_no_record(self):
        for line in ("[]", "1", "{}", "x", '{"t":"1","p":1,"th":1,"k":"end"}', '{"t":true,"p":1,"th":1,"k":"end"}',
                     '{"t":1,"p":1,"th":1,"k":"deliver","c":1,"values":[1]}', '{"t":1,"p":1,"th":1,"k":"log"}',
                     '{"t":1,"p":1,"th":1,"k":"exit","pid":1,"signal":"9"}',
                     '{"t":1' + "0" * 30 + ',"p":1,"th":1,"k":"end"}', "[" * 100000):
            self.assertEqual(self.read(BEGIN + line + "\n").damaged, 1, line)

    def test_passes_over_kinds_that_it_does_not_know(self):
        read = self.read(BEGIN + '{"t":2,"p":1,"th":1,"k":"later","x":1}\n')
        self.assertEqual((len(read.records), read.damaged), (1, 0))

    def test_passes_over_members_that_it_does_not_know(self):
        self.assertEqual(len(self.read(BEGIN + '{"t":2,"p":1,"th":1,"k":"end","x":[1]}\n').records), 2)

    def test_refuses_another_version(self):
        with self.assertRaisesRegex(recording.RecordingError, "version 2 .* reads version 1"):
            self.read(BEGIN.replace('"version":1', '"version":2'))

    def test_refuses_what_is_no_recording(self):
        with self.assertRaisesRegex(recording.RecordingError, "none of its lines"):
            self.read("Lorem ipsum\ndolor\n")

    def test_accepts_an_empty_file(self):
        self.assertEqual(self.read("").records, [])

    def test_keeps_bytes_that_are_no_utf8(self):
        text = self.read(log(1, "@").replace("@", "\\udcff")).records[0].text
        self.assertEqual(text.encode("utf-8", "surrogateescape"), b"\xff")

    def test_keeps_such_bytes_that_stand_in_the_file_itself(self):
        read = self.read(log(1, "@").encode().replace(b"@", b"\xff"))
        self.assertEqual(read.records[0].text.encode("utf-8", "surrogateescape"), b"\xff")


class Follow(Files):
    def setUp(self):
        super().setUp()
        recording.Follower.INTERVAL = 0.001
        self.seen = []
        self.changed = threading.Condition()

    def follow(self):
        for records in recording.Follower(self.path).batches():
            with self.changed:
                self.seen += [record.get("text", record.k) for record in records]
                self.changed.notify()

    def begin(self):
        thread = threading.Thread(target=self.follow)
        thread.start()
        self.addCleanup(thread.join, 10)
        return thread

    def append(self, text):
        with open(self.path, "ab", buffering=0) as file:
            file.write(text.encode())

    def await_seen(self, *expected):
        with self.changed:
            self.assertTrue(self.changed.wait_for(lambda: self.seen == list(expected), 10), self.seen)

    def test_goes_on_until_the_launcher_ends(self):
        self.write(BEGIN + log(2, "one"))
        thread = self.begin()
        self.await_seen("begin", "one")
        self.append(log(3, "two"))
        self.await_seen("begin", "one", "two")
        self.append(END)
        thread.join(10)
        self.assertFalse(thread.is_alive())

    def test_awaits_the_end_of_a_line(self):
        self.write(BEGIN)
        self.begin()
        line = log(2, "whole")
        self.append(line[:10])
        self.await_seen("begin")
        self.append(line[10:] + END)
        self.await_seen("begin", "whole", "end")

    def test_awaits_the_file(self):
        self.begin()
        self.write(BEGIN + END)
        self.await_seen("begin", "end")

    def test_goes_on_with_a_new_file(self):
        self.write(BEGIN + log(2, "one"))
        self.begin()
        self.await_seen("begin", "one")
        os.rename(self.path, f"{self.path}.old")
        self.write(log(3, "two") + END)
        self.await_seen("begin", "one", "two", "end")


class Kinds(unittest.TestCase):
    def test_that_the_tests_write_are_those_that_the_program_reads(self):
        written = {record.k for record in played().recording().records}
        self.assertLessEqual(written, set(recording.KINDS))
        self.assertEqual(Builder().begin().recording().damaged, 0)


if __name__ == "__main__":
    sys.exit(unittest.main())
