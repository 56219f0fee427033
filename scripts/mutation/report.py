"""What came of the changes, in numbers and as a document."""

import collections

SHARE_WANTED = 0.95
WORDS = {"killed": "killed by", "timed out": "timed out in", "pruned": "killed by pruned tests alone:",
         "known": "survived, known:"}


def line(result):
    mutant = result.mutant
    words = f"{WORDS.get(result.verdict, result.verdict)} {result.note}".strip()
    return f"{mutant.title} `{mutant.before}` → `{mutant.after}`: {words}"


def share(results, *killers):
    """How many have one of the verdicts, how many compile, and the one as a part of the other."""
    compiled = [result for result in results if result.verdict != "does not compile"]
    killed = [result for result in compiled if result.verdict in killers]
    return len(killed), len(compiled), len(killed) / len(compiled) if compiled else 1.0


def totals(results):
    killed, compiled, part = share(results, "killed", "timed out")
    count = collections.Counter(result.verdict for result in results)
    text = (f"{len(results)} changes, {compiled} compile, {killed} killed ({part:.1%}), {count['timed out']} of these "
            f"by time-out, {count['known']} known survivors, {count['survived']} unknown survivors")
    if count["pruned"]:
        killed, _, part = share(results, "killed", "timed out", "pruned")
        text += f"; {count['pruned']} that only pruned tests kill, {killed} killed ({part:.1%}) with these"
    return text


def succeeded(results):
    missed = any(result.verdict in ("survived", "pruned") for result in results)
    return not missed and share(results, "killed", "timed out")[2] >= SHARE_WANTED


def document(results):
    lines = ["# Changes of client/src, and the tests that fail on them", "", totals(results), "",
             "| Operator | Changes | Compile | Killed |", "|---|---|---|---|"]
    for operator in sorted({result.mutant.operator for result in results}):
        group = [result for result in results if result.mutant.operator == operator]
        killed, compiled, _ = share(group, "killed", "timed out")
        lines.append(f"| {operator} | {len(group)} | {compiled} | {killed} |")
    for verdict in ("survived", "pruned", "known", "timed out", "killed", "does not compile"):
        found = [f"- {line(result)}" for result in results if result.verdict == verdict]
        lines += ["", f"## {verdict.capitalize()}", "", *found] if found else []
    return "\n".join(lines) + "\n"


def stale(known, mutants, results):
    """Of the listed survivors: which are no changes, or no survivors, any more."""
    for file, function, before, after in known.keys() - {mutant.key for mutant in mutants}:
        yield f"listed, but no change any more: {file} {function}: {before} → {after}"
    survived = {result.mutant.key for result in results if result.verdict == "known"}  # one key may be several changes
    for result in results:
        if result.mutant.key in known.keys() - survived:
            yield f"listed, but no survivor any more: {line(result)}"
