#!/usr/bin/python3
"""Which verdict scripts/mutate gives of a change, and what it reports."""

import pathlib
import sys
import types
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).parents[2] / "scripts"))

from mutation import judge, report

TESTS = [judge.Test("A.kept", "f()"), judge.Test("A.other", "g()"), judge.Test("B.pruned", "f()")]


def mutant(killers=(), refused="", function="f", after="after"):
    """A change that the tests `killers` fail on: {name: how}."""
    source = types.SimpleNamespace(name="source.cpp")
    return types.SimpleNamespace(killers=dict(killers), refused=refused, source=source, function=function,
                                 before="before", after=after, operator="order", title="source.cpp:1 f [order]",
                                 key=("source.cpp", function, "before", after))


class Copy:
    """Stands for a copy of the checkout: its program is the change itself."""

    def __init__(self):
        self.program = self.restored = None

    def refused_with(self, change):
        self.program = change
        return change.refused

    def restore(self, change):
        self.restored = change


class FakeTests(judge.Tests):
    def first_failure(self, program, tests):
        return next(((test.name, program.killers[test.name]) for test in tests if test.name in program.killers), None)


class Verdict(unittest.TestCase):
    def judged(self, change, known=(), pruned=("B.*",)):
        copy = Copy()
        result = judge.Judge([copy], FakeTests(TESTS, 1), dict(known), pruned).judge(change)
        self.assertIs(copy.restored, change)
        return result.verdict, result.note

    def test_killed_by_a_test(self):
        self.assertEqual(self.judged(mutant({"A.other": "exit status 1"})), ("killed", "A.other"))

    def test_timed_out(self):
        self.assertEqual(self.judged(mutant({"A.other": "timed out"})), ("timed out", "A.other"))

    def test_killed_by_a_test_that_is_compiled(self):
        self.assertEqual(self.judged(mutant(refused="tests/client/a.cpp.o")), ("killed", "tests/client/a.cpp.o"))

    def test_does_not_compile_or_link(self):
        for refused in ("client/a.cpp.o", "tests/client/client_test"):
            self.assertEqual(self.judged(mutant(refused=refused)), ("does not compile", refused))

    def test_survived(self):
        self.assertEqual(self.judged(mutant()), ("survived", ""))

    def test_survived_as_known(self):
        self.assertEqual(self.judged(mutant(), {mutant().key: "why"}), ("known", "why"))

    def test_killed_by_a_pruned_test_alone(self):
        self.assertEqual(self.judged(mutant({"B.pruned": "exit status 1"})), ("pruned", "B.pruned"))

    def test_killed_by_a_kept_test_though_a_pruned_one_would(self):
        self.assertEqual(self.judged(mutant({"B.pruned": "signal 11", "A.other": "signal 11"})), ("killed", "A.other"))

    def test_killed_by_any_test_when_none_is_pruned(self):
        self.assertEqual(self.judged(mutant({"B.pruned": "signal 11"}), pruned=()), ("killed", "B.pruned"))


class Order(unittest.TestCase):
    def setUp(self):
        self.tests = FakeTests(TESTS, 1)

    def names_for(self, change):
        return [test.name for test in self.tests.order_for(change)]

    def test_begins_with_tests_that_name_the_function(self):
        self.assertEqual(self.names_for(mutant(function="g")), ["A.other", "A.kept", "B.pruned"])

    def test_begins_with_what_killed_a_change_of_the_function(self):
        self.tests.failure_for(mutant({"B.pruned": ""}), mutant({"B.pruned": ""}), {"B.pruned"})
        self.assertEqual(self.names_for(mutant(function="f"))[0], "B.pruned")
        self.assertEqual(self.names_for(mutant(function="g")), ["A.other", "B.pruned", "A.kept"])


class Pattern(unittest.TestCase):
    def test_matches_names(self):
        self.assertEqual(judge.named(["A.*", "?.pruned"], TESTS), {"A.kept", "A.other", "B.pruned"})

    def test_that_matches_none_is_refused(self):
        with self.assertRaisesRegex(ValueError, "no test is called C"):
            judge.named(["A.*", "C.*"], TESTS)


class KnownSurvivors(unittest.TestCase):
    def test_are_read_from_paragraphs(self):
        text = "# What this is.\n\na.cpp f\n- a - b;\n+ + b;\nBecause\nof this.\n\n\n\nb.h \n-   a\n+ b\nWhy.\n"
        self.assertEqual(judge.known_survivors(text), {("a.cpp", "f", "a - b;", "+ b;"): "Because of this.",
                                                       ("b.h", "", "a", "b"): "Why."})

    def test_without_a_reason_are_refused(self):
        with self.assertRaisesRegex(ValueError, "reason:\na.cpp f"):
            judge.known_survivors("a.cpp f\n- a\n+ b\n")

    def test_of_this_checkout_are_well_formed(self):
        judge.known_survivors(pathlib.Path(judge.__file__).with_name("survivors").read_text())


class Report(unittest.TestCase):
    RESULTS = [*[judge.Result(mutant(), "killed", "A.kept")] * 97, judge.Result(mutant(), "timed out", "A.kept"),
               judge.Result(mutant(), "known", "why"), judge.Result(mutant(), "does not compile")]
    PRUNED = judge.Result(mutant(), "pruned", "B.pruned")
    SURVIVED = judge.Result(mutant(), "survived")

    def test_counts(self):
        self.assertEqual(report.totals(self.RESULTS), "100 changes, 99 compile, 98 killed (99.0%), 1 of these by "
                                                      "time-out, 1 known survivors, 0 unknown survivors")

    def test_counts_with_and_without_pruned_tests(self):
        self.assertIn("100 compile, 98 killed (98.0%)", report.totals(self.RESULTS + [self.PRUNED]))
        self.assertIn("1 that only pruned tests kill, 99 killed (99.0%) with these",
                      report.totals(self.RESULTS + [self.PRUNED]))

    def test_success_is_to_know_every_survivor(self):
        self.assertTrue(report.succeeded(self.RESULTS))
        self.assertFalse(report.succeeded(self.RESULTS + [self.SURVIVED]))
        self.assertFalse(report.succeeded(self.RESULTS + [self.PRUNED]))

    def test_success_is_to_kill_enough(self):
        self.assertTrue(report.succeeded(self.RESULTS[:95] + self.RESULTS[98:99] * 5))
        self.assertFalse(report.succeeded(self.RESULTS[:94] + self.RESULTS[98:99] * 6))

    def test_names_what_only_pruned_tests_kill(self):
        text = report.document(self.RESULTS + [self.PRUNED])
        self.assertIn("## Pruned\n\n- source.cpp:1 f [order] `before` → `after`: "
                      "killed by pruned tests alone: B.pruned\n", text)
        self.assertIn("| order | 101 | 100 | 98 |", text)

    def test_names_listed_survivors_that_are_gone(self):
        known = {mutant().key: "why", mutant(after="other").key: "why"}
        survived = judge.Result(mutant(), "known", "why")
        self.assertEqual(list(report.stale(known, [mutant()], [survived])),
                         ["listed, but no change any more: source.cpp f: before → other"])
        killed = judge.Result(mutant(), "killed", "A.kept")
        self.assertEqual(list(report.stale({mutant().key: "why"}, [mutant()], [killed])),
                         [f"listed, but no survivor any more: {report.line(killed)}"])
        self.assertEqual(list(report.stale({mutant().key: "why"}, [mutant()], [killed, survived])), [])


if __name__ == "__main__":
    unittest.main()
