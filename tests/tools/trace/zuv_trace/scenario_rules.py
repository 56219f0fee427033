"""Which rules a service breaks that plays a scenario, as a recording in each mode shows. The tests compare it with real
recordings, and scripts/rules-table writes it into docs/service-rules.md."""

# scenario: (in asynchronous mode, in synchronous mode, remark)
_ONLY_MAPPED = "an application in asynchronous mode does not look into the region"
BROKEN_RULES = {
    "answer-by-both-channels": ((), (), "as ever: no rule is broken"),
    "answer-by-bus-only": ((), ("in-region",), _ONLY_MAPPED),
    "answer-by-memory-only": (("answered",), ("on-bus",), "without the region, the answer is not seen at all"),
    "answer-delayed": ((), ("in-time",), "a start may take its time, unless a client waits for it"),
    "answer-empty": (("answered", "eleven-entries"), ("answered", "eleven-entries"), "an empty list answers nothing"),
    "answer-missing": (("answered",), ("answered",), ""),
    "answer-other-object": (("object-named",), ("object-named",), ""),
    "answer-other-session": (("session-echoed",), ("session-echoed",), ""),
    "answer-too-short": (("eleven-entries",), ("eleven-entries",), ""),
    "answer-twice": (("one-answer",), ("one-answer",), ""),
    "answer-wrong-code": (("truthful-code",), ("truthful-code",), ""),
    "answers-out-of-order": (("in-order",), ("in-order", "in-time"), ""),
    "events-definitions": (("answer-kept", "definitions-after-answer"), ("answer-kept", "definitions-after-answer"),
                           ""),
    "events-started-again": (("asked-for",), ("asked-for",), ""),
    "events-status-storm": (("answer-kept", "asked-for"), ("answer-kept", "asked-for"), ""),
    "memory-deep-nesting": ((), ("whole-text",), _ONLY_MAPPED),
    "memory-nested-member": ((), ("string-members",), _ONLY_MAPPED),
    "memory-no-zero-byte": ((), ("region-end",), _ONLY_MAPPED),
    "memory-not-json": ((), ("whole-text",), _ONLY_MAPPED),
    "memory-oversize": ((), ("region-end",), _ONLY_MAPPED),
    "memory-recreated": ((), ("in-region",), _ONLY_MAPPED),
    "memory-removed": ((), ("region-opens",), _ONLY_MAPPED),
    "memory-root-array": ((), ("whole-text",), _ONLY_MAPPED),
    "memory-torn": ((), ("whole-text",), _ONLY_MAPPED),
    "service-aborts": (("answered", "service-stays"), ("answered", "service-stays"), ""),
    "service-exits": (("answered", "service-stays"), ("answered", "service-stays"), ""),
    "service-exits-after-answer": (("service-stays",), ("service-stays",), ""),
    "service-freezes": (("answered",), ("answered",), ""),
    "service-freezes-after-answer": (("answered",), ("answered",), "of the commands that follow"),
}
