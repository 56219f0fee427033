#!/usr/bin/python3
"""Records an application whose service plays a scenario, in both modes. Looks for the rules that it breaks, and
compares the callbacks with those that follow from the table of states.

    scenario_test.py PROGRAMS APPLICATION SCENARIO
"""

import pathlib
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).parents[4] / "tools" / "trace"))

import scenario_run
from recordings import callbacks_of
from scenario_rules import BROKEN_RULES
from zuv_trace import recording, verdict
from zuv_trace.model import Run

RUNS = 3


class Scenario(unittest.TestCase):
    programs = application = name = None

    def test_asynchronous_mode(self):
        self.check("asynchronous", BROKEN_RULES[self.name][0])

    def test_synchronous_mode(self):
        self.check("synchronous", BROKEN_RULES[self.name][1])

    def check(self, mode, expected):
        """On a machine that is busy with other things, any service is late now and then, and a client gives it up."""
        for _ in range(RUNS):
            records = self.recorded(mode)
            found = verdict.Verdict(records)
            callbacks = callbacks_of(Run(records))
            broken = sorted({violation.rule.identifier for violation in found.violations})
            if broken == sorted(expected) and callbacks.recorded == callbacks.expected:
                return
        self.assertEqual(broken, sorted(expected), "\n" + "\n".join(found.lines()))
        self.assertEqual(callbacks.recorded, callbacks.expected)

    def recorded(self, mode):
        with tempfile.TemporaryDirectory() as folder:
            recorded = recording.read(scenario_run.record(self.programs, self.application, self.name, mode, folder))
        self.assertEqual(recorded.damaged, 0)
        return recorded.records


if __name__ == "__main__":
    Scenario.programs, Scenario.application, Scenario.name = sys.argv[1:]
    unittest.main(argv=sys.argv[:1])
