#!/usr/bin/python3
"""Records applications, replays the service's side to them, and compares what they say.

    replay_test.py PROGRAMS APPLICATION [TESTS]
"""

import pathlib
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True

sys.path.insert(0, str(pathlib.Path(__file__).parents[4] / "tools" / "trace"))

import scenario_run
from zuv_trace import recording
from zuv_trace.facts import MILLISECOND
from zuv_trace.model import Run

TIMES = 3


class ReplayTest(unittest.TestCase):
    programs = application = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)


class SteeredApplication(ReplayTest):
    """Callbacks have the recorded identifiers and URLs, so that they are the same, word for word."""

    def check(self, scenario, *modes):
        for mode in modes:
            file, recorded = scenario_run.record_application(self.programs, self.application, scenario, mode,
                                                             self.folder)
            with self.subTest(mode=mode):
                command_line = [self.programs / "zuv-trace", "replay", file, "--", self.application]
                replayed = scenario_run.steer(command_line, scenario, mode, self.folder / "film.webm")
                self.assertEqual(self.told(replayed, mode), self.told(recorded, mode))

    @staticmethod
    def told(output, mode):
        """In asynchronous mode, what a call returns depends on whether the answer has come yet."""
        return [line for line in output if mode == "synchronous" or line.startswith("!")]

    def test_sees_the_same_when_all_goes_well(self):
        self.check("answer-by-both-channels", "asynchronous", "synchronous")

    def test_sees_the_same_without_an_answer(self):
        self.check("answer-missing", "asynchronous", "synchronous")

    def test_sees_the_same_when_an_answer_is_late(self):
        self.check("answer-delayed", "synchronous")

    def test_sees_the_same_when_the_answer_is_in_memory_only(self):
        self.check("answer-by-memory-only", "synchronous")

    def test_sees_the_same_when_memory_is_torn(self):
        self.check("memory-torn", "asynchronous", "synchronous")

    def test_sees_the_same_when_the_service_ends(self):
        self.check("service-exits-after-answer", "asynchronous", "synchronous")

    def test_sees_the_same_when_the_service_freezes(self):
        self.check("service-freezes", "synchronous")


class Player(ReplayTest):
    def run_player(self, launcher, mode):
        """@return the exit status, and the player's reason."""
        film = self.folder / "film.webm"
        film.write_text("a film", encoding="utf-8")
        result = subprocess.run([*launcher, "--", self.programs / "zuv-player", *mode, film], capture_output=True,
                                text=True, timeout=60, check=False)
        return result.returncode, [line for line in result.stderr.splitlines() if line.startswith("zuv-player: ")]

    def check(self, scenario, *mode):
        file = self.folder / "run.jsonl"
        recorded = self.run_player([self.programs / "zuv-desktop", "run", "--private-shm", "--engine", "simulated",
                                    "--scenario", scenario, "--record", file], mode)
        self.assertEqual((recorded[0], len(recorded[1])), (1, 1))
        for time in range(TIMES):
            with self.subTest(time=time):
                replayed = self.run_player([self.programs / "zuv-trace", "replay", file], mode)
                self.assertEqual(replayed, recorded)

    def test_fails_alike_in_asynchronous_mode(self):
        self.check("answer-wrong-code")

    def test_fails_alike_in_synchronous_mode(self):
        self.check("answer-wrong-code", "--sync")

    def test_fails_alike_when_memory_is_no_text(self):
        self.check("memory-nested-member", "--sync")


class Replay(ReplayTest):
    def recording(self):
        return scenario_run.record(self.programs, self.application, "answer-by-both-channels", "synchronous",
                                   self.folder)

    def replay(self, *arguments, **options):
        return subprocess.run([self.programs / "zuv-trace", "replay", *arguments], capture_output=True, text=True,
                              timeout=60, check=False, **options)

    def test_exits_as_the_command_does(self):
        self.assertEqual(self.replay(self.recording(), "--", "sh", "-c", "exit 7").returncode, 7)
        self.assertEqual(self.replay(self.recording(), "--", "sh", "-c", "kill -TERM $$").returncode, 128 + 15)

    def test_can_be_recorded(self):
        copy = self.folder / "copy.jsonl"
        self.replay(self.recording(), "--record", copy, "--", self.application, input="create\n")
        self.assertIn('"zuv-replay"', copy.read_text(encoding="utf-8"))

    def test_is_faster(self):
        """Than the 400 ms after which definitions follow their start."""
        copy = self.folder / "copy.jsonl"
        command_line = [self.programs / "zuv-trace", "replay", self.recording(), "--speed", "20", "--record", copy,
                        "--", self.application]
        scenario_run.steer(command_line, "answer-by-both-channels", "synchronous", self.folder / "film.webm")
        run = Run(recording.read(copy).records)
        start = next(request for request in run.requests if request.command.name == "start")
        news = next(event for event in run.events if event.event.name == "definition")
        self.assertLess(news.t - start.t, 200 * MILLISECOND)

    def test_says_what_it_does_not_answer(self):
        commands = "create\nstart film.webm\nstart film.webm\n"
        result = self.replay(self.recording(), "--", self.application, input=commands)
        self.assertIn('not in the recording, and not answered: command="start" kind="main_video"', result.stderr)

    def test_refuses_a_recording_without_commands(self):
        file = self.folder / "none.jsonl"
        file.write_text("", encoding="utf-8")
        result = self.replay(file, "--", "true")
        self.assertEqual((result.returncode, result.stderr),
                         (2, f"zuv-trace: {file}: no command to a media service is in it\n"))

    def test_refuses_wrong_usage(self):
        for arguments in (("run.jsonl",), ("run.jsonl", "--speed", "0", "--", "true"),
                          ("run.jsonl", "--speed", "fast", "--", "true")):
            self.assertEqual(self.replay(*arguments).returncode, 2)


if __name__ == "__main__":
    ReplayTest.programs, ReplayTest.application = pathlib.Path(sys.argv[1]), sys.argv[2]
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]])
