"""The violations of a recording, with the lines that show them and what the application saw."""

from . import checking, rules, show
from .outcome import seen_by_application
from .text import seconds, several

_EVIDENCE_SHOWN = 8


class Verdict:
    def __init__(self, records):
        lines = show.Lines()
        self._said = {record.number: lines.said(record) for record in records}
        self.run = lines.run
        self.violations = checking.violations(self.run, rules.RULES)

    def said(self, record):
        """(time, lane, style, words) of a record; None where it has nothing to say."""
        return self._said[record.number]

    def lines(self):
        for violation in self.violations:
            yield from self._violation(violation)
        broken = {violation.rule.identifier for violation in self.violations}
        if broken:
            yield f"{several(len(self.violations), 'violation')} of {several(len(broken), 'rule')}"
        else:
            yield f"no violation of {len(rules.RULES)} rules"

    def _violation(self, violation):
        rule = violation.rule
        times = f" ({violation.times} times)" if violation.times > 1 else ""
        yield f"{seconds(violation.t - self.run.began)} s  {rule.identifier}: {violation.words}{times}"
        yield f"    rule         {rule.text}"
        yield f"    reason       {rule.reason}"
        yield f"    consequence  {rule.consequence}"
        for words in seen_by_application(self.run, violation):
            yield f"    seen         {words}"
        for record in violation.evidence[:_EVIDENCE_SHOWN]:
            moment, lane, _, words = self.said(record)
            yield f"    evidence     {moment}  {lane}  {words}"
        yield ""
