"""A recording as one page for a browser: it needs nothing else, neither files nor the network, and reads without its
script as well."""

import base64
import hashlib
import pathlib
import time

from . import ledger as ledgers
from . import ledger_text, outcome, pictures, text, verdict
from .show import command_words, list_words
from .text import milliseconds, several
from .timeline import Timeline, markup, safe

ROWS = 20000  # of the log: a browser does not like longer tables


def page(recording, name):
    """The page, as text."""
    found = verdict.Verdict(recording.records)
    ledger = ledgers.Ledger(found.run)
    timeline = Timeline(found.run)
    parts = [*_head(name), *_summary(found, recording, name), *_violations(found), *_timeline(timeline),
             *_requests(ledger), *_ledger(ledger), *_log(found, recording, timeline), *_foot()]
    return "\n".join(parts) + "\n"


def _part(name):
    return (pathlib.Path(__file__).parent / name).read_text(encoding="utf-8")


def _head(name):
    script = "\n" + _part("report.js")
    digest = base64.b64encode(hashlib.sha256(script.encode()).digest()).decode()
    yield '<!DOCTYPE html>\n<html lang="en" xmlns="http://www.w3.org/1999/xhtml">\n<head>\n<meta charset="utf-8" />'
    yield ('<meta http-equiv="Content-Security-Policy" content="default-src \'none\'; img-src data:; '
           "style-src 'unsafe-inline'; "
           f'script-src \'sha256-{digest}\'" />')
    yield '<meta name="viewport" content="width=device-width" />'
    yield f"<title>{safe(name)}</title>\n<style>\n{_part('report.css')}</style>\n</head>\n<body>"


def _foot():
    yield f"<script>\n{_part('report.js')}</script>\n</body>\n</html>"


def _summary(found, recording, name):
    run = found.run
    begun = next((record for record in recording.records if record.k == "begin"), None)
    when = time.strftime("%Y-%m-%d %H:%M:%S UTC", time.gmtime(_wall(begun))) if begun else "an unknown time"
    programs = ", ".join(f"{safe(process.name)}{' (' + safe(process.end) + ')' if process.end else ''}"
                         for process in run.processes.values() if process.role != pictures.ROLE)
    yield f"<h1>{safe(name)}</h1>"
    yield (f'<p>{text.seconds(run.ended - run.began)} s from {when}, {several(len(recording.records), "record")}. '
           f"Processes: {programs}.</p>")
    missing = run.lost + recording.damaged
    if missing:
        yield f"<p>{several(missing, 'line')} of the recording could not be written or read.</p>"


def _wall(begin):
    """Seconds, from 1970 on."""
    return max(0, min(begin.wall // 1_000_000_000, 1 << 33))


def _violations(found):
    yield '<section id="violations"><h2>Rules</h2>'
    if not found.violations:
        yield '<div class="violation none">The service has kept all rules, as far as the recording shows.</div>'
    for violation in found.violations:
        yield from _violation(found.run, violation)
    yield "</section>"


def _violation(run, violation):
    rule = violation.rule
    times = f" ({violation.times} times)" if violation.times > 1 else ""
    yield (f'<div class="violation"><strong>{safe(rule.identifier)}</strong> at '
           f"{text.seconds(violation.t - run.began)} s: {markup(violation.words)}{times}<dl>")
    seen = [("seen", words) for words in outcome.seen_by_application(run, violation)]
    for title, words in (("rule", rule.text), ("reason", rule.reason), ("consequence", rule.consequence), *seen):
        yield f"<dt>{title}</dt><dd>{markup(words)}</dd>"
    links = " ".join(_link(record) for record in violation.evidence[:8])
    yield f"<dt>evidence</dt><dd>{links}</dd></dl></div>"


def _link(record):
    return f'<a href="#r{record.number}">line {record.number + 1}</a>'


def _timeline(timeline):
    yield '<section id="timeline"><h2>Timeline</h2>'
    yield ('<p class="soft">Pauses are shortened. An arrow to the service is a command, one from it an event. Bars are '
           "states, polls of the region and callbacks, filled ones with the proxy's mutex held. Dots are the region, "
           "when it was seen to have changed. Pictures hang on the moment at which they were taken. Each leads to its "
           "line in the log; the arrow keys go from one to the next.</p>")
    if timeline.left_out:
        yield f"<p>The last {timeline.left_out} are left out here.</p>"
    yield '<div class="scroll">'
    yield from timeline.svg()
    yield "</div></section>"


def _table(heads, rows):
    yield "<table><thead><tr>" + "".join(f'<th scope="col">{head}</th>' for head in heads) + "</tr></thead><tbody>"
    for row in rows:
        yield "<tr>" + "".join(row) + "</tr>"
    yield "</tbody></table>"


def _cell(words):
    return f"<td>{markup(words)}</td>"


def _number(words):
    return f'<td class="number">{words}</td>'


def _requests(ledger):
    yield '<section id="requests"><h2>Commands</h2><div class="scroll">'
    yield from _table(("", "time (s)", "command", "outcome", "over the bus", "by the region"),
                      (_request_cells(ledger, entry) for entry in ledger.entries))
    yield "</div></section>"


def _request_cells(ledger, entry):
    request = entry.request
    yield f"<td>{_link(request.record)}</td>"
    yield _number(text.seconds(request.t - ledger.run.began))
    yield _cell(command_words(request))
    yield _cell(ledgers.OUTCOMES[entry.outcome] + ("; overwritten in the region" if entry.overwritten else ""))
    for value in (entry.over_bus, entry.by_region):
        yield _number("" if value is None else milliseconds(value))


def _ledger(ledger):
    yield '<section id="ledger"><h2>Ledger</h2>'
    yield from _table(("commands", "outcome"), ((_number(count), _cell(ledgers.OUTCOMES[outcome]))
                                                for outcome, count in ledger.counts().items()))
    yield from _table(("command", "channel", "count", "50 %", "90 %", "99 %", "longest"),
                      (_latency_cells(*row) for row in ledger.latencies()))
    yield (f"<p>Time lost to polling the region: {milliseconds(ledger.lost_to_polling())}. Time lost to starts of the "
           f"service: {milliseconds(ledger.lost_to_restarts())}.</p>")
    for title, events in ledger_text.remarkable_events(ledger):
        if events:
            yield f"<p>{title}:</p><ul>"
            yield from (f"<li>{_link(event.record)} {markup(list_words(event.event.values))}</li>" for event in events)
            yield "</ul>"
    yield "</section>"


def _latency_cells(command, channel, values):
    yield from (_cell(command), _cell(channel), _number(len(values)))
    yield from (_number(milliseconds(ledgers.percentile(values, share))) for share in (0.5, 0.9, 0.99, 1))


def _log(found, recording, timeline):
    shown = {item.record.number for item in timeline.items}
    rows = [record for record in recording.records if found.said(record) is not None]
    yield '<section id="log"><h2>Log</h2>'
    if len(rows) > ROWS:
        yield f"<p>The last {len(rows) - ROWS} lines are left out here; zuv-trace show prints all.</p>"
    yield '<div class="scroll"><table><tbody>'
    for record in rows[:ROWS]:
        moment, lane, _, words = found.said(record)
        target = f"i{record.number}" if record.number in shown else f"r{record.number}"
        yield (f'<tr id="r{record.number}"><td class="number"><a href="#{target}">{moment}</a></td>'
               f"<td>{markup(lane)}</td><td>{markup(words)}</td></tr>")
    yield "</tbody></table></div></section>"
