"""The rules that a media service has to keep towards the client, as data: what each demands, why, and what an
application sees when it is broken. The functions that find violations are in the modules checking_*."""

import dataclasses
from typing import Callable

from . import checking_answers, checking_events, checking_region, checking_service


@dataclasses.dataclass(frozen=True)
class Rule:
    identifier: str
    text: str
    reason: str
    consequence: str
    find: Callable  # (run) -> violations


RULES = (
    Rule("eleven-entries", "An event is a list of 11 strings; an entry that says nothing is empty.",
         "The client reads entries by position, and one that is missing as empty.",
         "What is missing counts as empty: without an object the event reaches no proxy, without a kind it concerns "
         "the main video.",
         checking_events.eleven_entries),
    Rule("event-name", "An event is named `created`, `started`, `stopped`, `seeked`, `status` or `definition`, in "
         "lower case; `unknown` refuses an invalid command.",
         "The client compares the whole name.",
         "The event is dropped.",
         checking_events.event_name),
    Rule("session-echoed", "An answer repeats the session of its command, entry 2.",
         "A synchronous request knows its answer by the session and the name.",
         "A synchronous request times out after 250 ms; the bus brings the answer all the same.",
         checking_answers.session_echoed),
    Rule("answer-name", "`create` is answered by `created`, `start` and `preload` by `started`, `stop` by `stopped`, "
         "`seek` by `seeked`, `inspect` by `status`.",
         "The client waits for that name, and acts by it.",
         "A synchronous request times out, and the proxy does not change.",
         checking_answers.answer_name),
    Rule("object-named", "An answer names the object of its command, entry 3; a successful `created`, the new one.",
         "Events are given to proxies by the object alone.",
         "No callback: the event is dropped, or another proxy takes it.",
         checking_answers.object_named),
    Rule("kind-echoed", "The answer to a start, a preload or a stop repeats the kind of its command, entry 9.",
         "Whatever is not `advertisement` concerns the main video.",
         "The answer for an advertisement changes the main video, with its callback and its local URL.",
         checking_answers.kind_echoed),
    Rule("code-and-detail", "An answer has a code of three digits, entry 1; one other than 200 has a detail, entry 8.",
         "200 alone is success; the detail is all that a log says of a failure.",
         "A success counts as a failure; nobody learns why something failed.",
         checking_answers.code_and_detail),
    Rule("truthful-code", "What is answered with a code other than 200 has not happened.",
         "The client believes the code.",
         "No callback and no state Started for a medium that plays.",
         checking_answers.truthful_code),
    Rule("local-url", "A successful `started` has a local URL, entry 6.",
         "An empty local URL means to the client that the answer has not come.",
         "The callback has an empty URL; a start of a preloaded medium looks for the answer again.",
         checking_answers.local_url),
    Rule("answered", "Every command is answered.",
         "The client does not repeat commands, except creations.",
         "No callback, and the state stays Starting; a synchronous request times out.",
         checking_answers.answered),
    Rule("one-answer", "A command is answered once.",
         "A second answer finds another state than the first.",
         "A second callback for an advertisement; the answer to a creation stays for the next one, which takes a wrong "
         "object.",
         checking_answers.one_answer),
    Rule("in-time", "A synchronous request is answered within 250 ms, and every creation within 200 ms.",
         "That is how long the client waits.",
         "A synchronous request times out and takes effect later; a creation is sent again, and its objects pile up.",
         checking_answers.in_time),
    Rule("in-order", "Commands to one object are answered in the order in which they were sent.",
         "A proxy goes by its state, not by sessions.",
         "After a stop, the answer to the start before it makes the state Started, with a local URL that is not "
         "served.",
         checking_answers.in_order),
    Rule("object-per-session", "Every creation makes an object of its own; one that repeats a session gets the same.",
         "A synchronous creation sends its command twice.",
         "Two proxies share an object, or an object stays that nobody uses.",
         checking_answers.object_per_session),
    Rule("asked-for", "`created`, `started`, `stopped`, `seeked` and `status` come as answers only, with the session "
         "of a command.",
         "The client acts on them whoever has asked: a `created` or `status` wakes whatever waits.",
         "A second callback for an advertisement; a creation that is woken gets the object of an earlier one.",
         checking_events.asked_for),
    Rule("known-object", "News concerns an object that exists.",
         "The client finds no proxy for another one.",
         "The event is dropped, with a line in the log.",
         checking_events.known_object),
    Rule("definitions-after-answer", "`definition` comes no sooner than 400 ms after the answer to its start, or 100 "
         "ms after one that came too late for a synchronous request.",
         "A synchronous request looks for its answer for 250 ms.",
         "A synchronous request times out; the callback `definitions` comes before `url`.",
         checking_events.definitions_after_answer),
    Rule("answer-kept", "No news replaces an answer within 50 ms.",
         "The region holds one event, and a client that waits looks every 50 ms.",
         "A synchronous request times out; the bus brings its answer all the same.",
         checking_events.answer_kept),
    Rule("on-bus", "What is in the region is also published.",
         "An application in asynchronous mode does not look into the region.",
         "No callback in asynchronous mode.",
         checking_region.on_bus),
    Rule("in-region", "Every answer and all news is written into the region.",
         "A synchronous request looks nowhere else.",
         "A synchronous request times out; the bus brings the answer all the same.",
         checking_region.in_region),
    Rule("region-first", "An event is in the region before it is published.",
         "What the bus has brought may be read from the region at once.",
         "A start of a preloaded medium reads an older event, and there is no callback.",
         checking_region.region_first),
    Rule("same-event", "Region and bus carry the same strings.",
         "The client acts on both.",
         "What an application is told depends on its mode.",
         checking_region.same_event),
    Rule("whole-text", "The region holds one JSON object, whole whenever it is read.",
         "The client copies the region, and parses the copy.",
         "A synchronous request times out, with `Fail to parse json string` in the log.",
         checking_region.whole_text),
    Rule("string-members", "The members \"0\" to \"10\" are strings.",
         "The client converts them; an object or an array cannot be converted.",
         "The call of the application throws the JSON reader's exception.",
         checking_region.string_members),
    Rule("region-end", "The text in the region ends with a zero byte, within 4096 bytes.",
         "There is no other sign of its end.",
         "The client cuts the text off, and may not be able to parse it.",
         checking_region.region_end),
    Rule("refusal-on-bus-only", "`unknown` is published, and not written into the region.",
         "The region may hold an answer that another application waits for.",
         "A synchronous request of another application times out.",
         checking_region.refusal_on_bus_only),
    Rule("region-opens", "While the service runs, /ZUV_PROXY can be opened and resized.",
         "An application maps it when it turns to synchronous mode.",
         "A synchronous creation takes 2 s longer, and later requests time out.",
         checking_region.region_opens),
    Rule("service-stays", "The service does not end while an application lives that has used it.",
         "The objects of a service end with it.",
         "Later commands bring 404 or nothing, and the local URL is not served; the next creation starts a service.",
         checking_service.service_stays),
)
