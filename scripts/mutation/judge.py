"""Verdicts: a change is built, and tests run until one fails."""

import collections
import fnmatch
import json
import pathlib
import queue
import re
import subprocess

from .build import run

MEMORY = 1 << 30  # of a test, in bytes: a changed loop may be endless

# verdict: killed, timed out, pruned (killed by pruned tests alone), survived, known or does not compile
Result = collections.namedtuple("Result", "mutant verdict note", defaults=[""])
Test = collections.namedtuple("Test", "name text")  # text: of the file that it stands in


class Tests:
    """All tests of client_test, and the order in which they are tried on a change."""

    def __init__(self, tests, seconds):
        self.all = tests
        self.seconds = seconds
        self.killed = collections.Counter()  # {(test, function or file): changes}

    @classmethod
    def of(cls, copy, seconds):
        listing = copy.build / "tests.json"
        run(copy.program, "--gtest_list_tests", f"--gtest_output=json:{listing}")
        suites = json.loads(listing.read_text())["testsuites"]
        files = {test["file"] for suite in suites for test in suite["testsuite"]}
        texts = {file: pathlib.Path(copy.build, file).read_text() for file in files}
        return cls([Test(f"{suite['name']}.{test['name']}", texts[test["file"]])
                    for suite in suites for test in suite["testsuite"]], seconds)

    def order_for(self, mutant):
        """First what killed changes of the same function, then what names it, then what killed in the same file."""
        return sorted(self.all, key=lambda test: (
            -self.killed[test.name, mutant.function], not mutant.function or mutant.function not in test.text,
            -self.killed[test.name, mutant.source.name]))

    def first_failure(self, program, tests):
        """The name of the first test that fails, and how; None if all pass."""
        command = ["prlimit", f"--as={MEMORY}", "--core=0", program, "--from-stdin", "--gtest_fail_fast",
                   f"--seconds={self.seconds}"]
        names = "".join(test.name + "\n" for test in tests)
        result = subprocess.run(command, input=names, stdout=subprocess.PIPE, text=True, errors="replace")
        if result.returncode == 0:
            return None
        failures = re.findall("^FAILED (.*): (.*)$", result.stdout, re.MULTILINE)
        return failures[-1] if failures else ("the start of the program", "")

    def failure_for(self, mutant, program, names):
        """The same with the tests of these names, in the order for this change. The test that fails is remembered."""
        tests = [test for test in self.order_for(mutant) if test.name in names]
        failure = self.first_failure(program, tests) if tests else None
        if failure:
            self.killed.update([(failure[0], mutant.function), (failure[0], mutant.source.name)])
        return failure


class Judge:
    """Judges changes, as many at a time as there are copies of the checkout."""

    def __init__(self, copies, tests, known, pruned=()):
        self.copies = queue.Queue()
        for copy in copies:
            self.copies.put(copy)
        self.tests = tests
        self.known = known
        self.pruned = named(pruned, tests.all)
        self.kept = {test.name for test in tests.all} - self.pruned

    def judge(self, mutant):
        copy = self.copies.get()
        try:
            if refused := copy.refused_with(mutant):
                # A static_assert of a test is a test.
                by_test = refused.startswith("tests/") and refused.endswith(".o")
                return Result(mutant, "killed" if by_test else "does not compile", refused)
            return self._tested(mutant, copy.program)
        finally:
            copy.restore(mutant)
            self.copies.put(copy)

    def _tested(self, mutant, program):
        if failure := self.tests.failure_for(mutant, program, self.kept):
            return Result(mutant, "timed out" if failure[1] == "timed out" else "killed", failure[0])
        if failure := self.tests.failure_for(mutant, program, self.pruned):
            return Result(mutant, "pruned", failure[0])
        reason = self.known.get(mutant.key)
        return Result(mutant, "known" if reason else "survived", reason or "")


def named(patterns, tests):
    """The names that match patterns with * and ?. A pattern that none matches is a mistake."""
    found = {pattern: fnmatch.filter((test.name for test in tests), pattern) for pattern in patterns}
    if unknown := [pattern for pattern, names in found.items() if not names]:
        raise ValueError(f"no test is called {', '.join(unknown)}")
    return {name for names in found.values() for name in names}


def known_survivors(text):
    """{(file, function, before, after): reason} from paragraphs of: file function, - before, + after, reason."""
    known = {}
    for paragraph in re.split(r"\n\s*\n", text):
        lines = [line for line in paragraph.splitlines() if not line.startswith("#")]
        if not "".join(lines).strip():
            continue
        if len(lines) < 4 or lines[1][0] != "-" or lines[2][0] != "+":
            raise ValueError(f"not file, -, + and reason:\n{paragraph}")
        file, _, function = lines[0].partition(" ")
        known[file, function, lines[1][1:].strip(), lines[2][1:].strip()] = " ".join(lines[3:])
    return known
