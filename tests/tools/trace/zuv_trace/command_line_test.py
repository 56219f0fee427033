#!/usr/bin/python3
"""The program zuv-trace as its users call it: options, exit statuses, and what goes where.

    command_line_test.py PROGRAM
"""

import base64
import json
import os
import pathlib
import random
import re
import signal
import subprocess
import sys
import tempfile
import unittest

from recordings import OBJECT, Builder, command, event, played, synchronous

PROGRAM = pathlib.Path(sys.argv.pop(1)) if len(sys.argv) > 1 else None


class ProgramTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def recording(self, builder):
        path = self.folder / "run.jsonl"
        path.write_text(builder.text(), encoding="utf-8")
        return path

    def run_with(self, *arguments, status=0, **environment):
        result = subprocess.run([PROGRAM, *arguments], capture_output=True, text=True, errors="surrogateescape",
                                timeout=60, check=False, env={**os.environ, **environment})
        self.assertEqual(result.returncode, status, result.stderr)
        return result


class CommandLine(ProgramTest):
    def test_shows(self):
        self.assertIn("-> start main_video obj-1", self.run_with("show", self.recording(played())).stdout)

    def test_shows_what_is_chosen(self):
        shown = self.run_with("show", self.recording(played()), "--session", "ses-2", "--kind", "publish").stdout
        self.assertEqual(len(shown.splitlines()), 1)

    def test_colours_no_file(self):
        self.assertNotIn("\x1b", self.run_with("show", self.recording(played()), TERM="xterm").stdout)

    def test_shows_in_a_locale_without_the_characters(self):
        builder = Builder().begin().add("log", text="caf\u00e9")
        self.assertIn("caf\\xe9", self.run_with("show", self.recording(builder), PYTHONIOENCODING="ascii").stdout)

    def test_ends_quietly_when_nobody_reads_on(self):
        command_line = f"'{PROGRAM}' show '{self.recording(played())}' | true; exit ${{PIPESTATUS[0]}}"
        result = subprocess.run(["bash", "-c", command_line], capture_output=True, text=True, check=False, timeout=60)
        self.assertEqual((result.returncode, result.stderr), (0, ""))

    def test_follows_until_it_is_interrupted(self):
        with subprocess.Popen([PROGRAM, "show", "--follow", self.recording(Builder().begin())],
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True) as follower:
            self.assertIn("begins", follower.stdout.readline())
            follower.send_signal(signal.SIGINT)
            _, errors = follower.communicate(timeout=10)
        self.assertEqual((follower.returncode, errors), (0, ""))

    def test_follows_to_the_end(self):
        followed = self.run_with("show", "--follow", self.recording(played())).stdout
        self.assertEqual(len(followed.splitlines()), len(self.run_with("show", self.recording(played())).stdout
                                                         .splitlines()))

    def test_reports_into_a_file(self):
        self.run_with("report", self.recording(played()), "-o", self.folder / "report.html")
        self.assertTrue((self.folder / "report.html").read_text(encoding="utf-8").startswith("<!DOCTYPE html>"))

    def test_reports_as_text(self):
        self.assertIn("3 commands", self.run_with("report", "--text", self.recording(played())).stdout)

    def test_exports_a_recording_that_says_the_same(self):
        recording = self.recording(played())
        shown = self.run_with("show", recording).stdout
        copy = self.folder / "copy.jsonl"
        copy.write_text(self.run_with("export", recording, "--format", "recording").stdout, encoding="utf-8")
        self.assertEqual(self.run_with("show", copy).stdout, shown)

    def test_exports_without_media(self):
        exported = self.run_with("export", self.recording(played()), "--format", "recording", "--redact").stdout
        self.assertNotIn("clip.webm", exported)

    def test_exports_for_chrome(self):
        exported = json.loads(self.run_with("export", self.recording(played()), "--format", "chrome").stdout)
        self.assertGreater(len(exported["traceEvents"]), 20)

    def test_checks_with_status_0_where_all_rules_are_kept(self):
        self.assertEqual(self.run_with("check", self.recording(played())).stdout, "no violation of 28 rules\n")

    def test_checks_with_status_1_where_one_is_broken(self):
        builder = synchronous().publish(command("start", "ses-1", OBJECT)).after(3)
        builder.deliver(event("started", "ses-1", url="u")).after(250).timeout().end()
        checked = self.run_with("check", self.recording(builder), status=1).stdout
        for words in ("in-region: the answer to start [ses-1] is on the bus",
                      "consequence  A synchronous request times",
                      "seen         the call gave up after 253.100 ms", "evidence     0.", "1 violation of 1 rule"):
            self.assertIn(words, checked)

    def test_adds_a_picture(self):
        recording, image = self.recording(played()), self.folder / "frame.jpeg"
        image.write_bytes(b"\xff\xd8\xff and so on")
        self.run_with("picture", recording, image, "the main video")
        self.assertIn('zuv-trace/1  picture: "the main video"',
                      re.sub(r" \d+/1 +", "/1  ", self.run_with("show", recording).stdout))
        self.run_with("report", recording, "-o", self.folder / "report.html")
        url = f"data:image/jpeg;base64,{base64.b64encode(image.read_bytes()).decode()}"
        self.assertIn(url, (self.folder / "report.html").read_text(encoding="utf-8"))

    def test_adds_no_other_file_than_a_picture(self):
        recording, image = self.recording(played()), self.folder / "frame.svg"
        before = recording.read_text(encoding="utf-8")
        for content, reason in ((b"<svg />", "it is neither PNG nor JPEG"),
                                (b"\xff\xd8\xff" * 500_000, "it has more than 1048576 bytes")):
            image.write_bytes(content)
            self.assertEqual(self.run_with("picture", recording, image, "x", status=2).stderr,
                             f"zuv-trace: {image}: {reason}\n")
        self.assertEqual(recording.read_text(encoding="utf-8"), before)

    def test_refuses_wrong_usage(self):
        recording = self.recording(played())
        for arguments in ((), ("frob",), ("show",), ("show", recording, "--kind", "frob"), ("report", recording),
                          ("export", recording), ("show", recording, "--follow", "--redact")):
            self.assertIn("zuv-trace", self.run_with(*arguments, status=2).stderr)

    def test_says_what_it_cannot_read_or_write(self):
        self.assertEqual(self.run_with("check", self.folder / "none", status=2).stderr,
                         f"zuv-trace: {self.folder}/none: No such file or directory\n")
        self.assertIn("no/page: No such file", self.run_with("report", self.recording(played()), "-o",
                                                             self.folder / "no" / "page", status=2).stderr)
        other = self.recording(Builder())
        other.write_text("what is this\n", encoding="utf-8")
        self.assertIn("none of its lines", self.run_with("check", other, status=2).stderr)

    def test_counts_damaged_lines(self):
        recording = self.recording(played())
        with open(recording, "a", encoding="utf-8") as file:
            file.write('{"t":')
        self.assertEqual(self.run_with("check", recording).stderr, "zuv-trace: 1 damaged line left out\n")

    def test_has_a_version(self):
        self.assertRegex(self.run_with("--version").stdout, r"^zuv-trace \d+\.\d+\.\d+\n$")


class Damaged(ProgramTest):
    """Whatever has become of a recording, every command reads what is left of it."""

    def test_recordings(self):
        chance = random.Random(1)
        words = ["", "1", "-1", "null", "true", "[]", "{}", '"x"', "9" * 25, '"\\ud800"', '["\\udcff"]', '"created"']
        for _ in range(8):
            lines = list(map(json.loads, [*played().lines, *synchronous().lines]))
            for _ in range(12):
                line = chance.choice(lines)
                name = chance.choice([name for name in line if name != "version"])
                line[name] = json.loads(chance.choice(words) or "0")
            chance.shuffle(lines)
            recording = self.folder / "run.jsonl"
            recording.write_text("\n".join(json.dumps(line) for line in lines), encoding="utf-8")
            self.read_in_every_way(recording)

    def read_in_every_way(self, recording):
        for arguments in (("show",), ("report", "--text"), ("report", "-o", self.folder / "page"), ("check",),
                          ("export", "--format", "chrome"), ("export", "--format", "recording", "--redact")):
            result = subprocess.run([PROGRAM, *arguments, recording], capture_output=True, text=True, timeout=60,
                                    check=False)
            self.assertNotIn("Traceback", result.stderr)
            self.assertIn(result.returncode, (0, 1) if arguments[0] == "check" else (0,), result.stderr)


if __name__ == "__main__":
    sys.exit(unittest.main())
