"""A run as a picture: an SVG with a lane for the service, each thread and the region, and the states of objects."""

import dataclasses
import html

from . import pictures, states, text, wire
from .facts import MILLISECOND
from .ledger import end_of_wait
from .show import command_words, list_words
from .text import milliseconds

MARGIN = 230  # for the names of the lanes
LANE = 34
LIMIT = 3000  # events and requests; more of them would only blacken the picture


class Scale:
    """Places moments from left to right. Pauses are shortened: what happens within milliseconds stays readable."""

    NEAR = 10 * MILLISECOND
    NEAR_PIXELS, FAR_PIXELS = 16.0, 0.2  # for a millisecond up to NEAR, and beyond

    def __init__(self, moments):
        self._moments = sorted(set(moments)) or [0]
        self._places = [float(MARGIN)]
        for before, after in zip(self._moments, self._moments[1:]):
            self._places.append(self._places[-1] + self._width(after - before))
        self._place_of = dict(zip(self._moments, self._places))

    @property
    def width(self):
        return self._places[-1]

    def place(self, t):
        """Of one of the moments."""
        return self._place_of[t]

    def ticks(self, distance=90):
        """(moment, place), at least `distance` apart."""
        last = -distance
        for moment, place in zip(self._moments, self._places):
            if place - last >= distance:
                yield moment, place
                last = place

    def _width(self, nanoseconds):
        near = min(nanoseconds, self.NEAR) / MILLISECOND
        far = max(0, nanoseconds - self.NEAR) / MILLISECOND
        return near * self.NEAR_PIXELS + far * self.FAR_PIXELS


@dataclasses.dataclass
class Item:
    """Something on the timeline. `record` is the row of the log that it leads to."""
    t: int
    record: object
    style: str
    words: str
    begin: tuple  # (moment, lane)
    end: tuple
    shape: str = "arrow"  # or "bar", "mark" or "picture"


class Timeline:
    def __init__(self, run):
        self._run = run
        self._lanes = {}  # name -> number
        self._bars = []  # (lane, begin, end, style, words)
        self._lane("service")
        self.left_out = 0
        self.items = sorted(self._items(), key=lambda item: item.t)
        if len(self.items) > LIMIT:
            self.left_out = len(self.items) - LIMIT
            self.items = self.items[:LIMIT]
        self._add_lives()
        self._add_waits()
        self._add_states()

    def svg(self):
        """The picture, as an element of a page in which the rows of the log have the identifiers "r" and a number."""
        moments = [moment for item in self.items for moment in (item.begin[0], item.end[0])]
        moments += [moment for bar in self._bars for moment in bar[1:3]]
        scale = Scale([*moments, self._run.began])
        height = (len(self._lanes) + 1) * LANE
        strip = PictureStrip(scale, [item for item in self.items if item.shape == "picture"], height)
        width = max(scale.width, strip.right) + 60
        yield (f'<svg xmlns="http://www.w3.org/2000/svg" width="{width:.0f}" height="{strip.bottom}" '
               f'viewBox="0 0 {width:.0f} {strip.bottom}" role="group" aria-label="Timeline">')
        yield from self._ticks(scale, height)
        yield from self._lane_lines(width)
        yield from (self._bar(scale, *bar) for bar in self._bars)
        yield from (self._drawn(scale, strip, item) for item in self.items)
        yield "</svg>"

    def _lane(self, name):
        return self._lanes.setdefault(name, len(self._lanes))

    def _lane_of(self, record):
        return self._lane(self._run.process_at(record).lane(record.th))

    # ---- What there is to see

    def _items(self):
        yield from self._requests()
        yield from self._events()
        yield from self._callbacks()
        yield from self._looks()
        yield from self._pictures()
        for start in self._run.service_starts:
            yield Item(start.t, start, "life", "asks for a start of the service", (start.t, self._lane_of(start)),
                       (start.t, 0))

    def _requests(self):
        for request in self._run.requests:
            lane = self._lane_of(request.record)
            yield Item(request.t, request.record, "command", command_words(request), (request.t, lane), (request.t, 0))

    def _events(self):
        for event in self._run.events:
            sent = event.bus.t if event.bus else event.t
            for delivery in event.deliveries:
                yield Item(delivery.t, delivery.record, _style(event), self._event_words(event, delivery.t),
                           (min(sent, delivery.t), 0), (delivery.t, self._lane_of(delivery.record)))
            if not event.deliveries and event.bus:
                yield Item(sent, event.bus, _style(event), self._event_words(event, sent), (sent, 0), (sent, 0), "mark")

    def _callbacks(self):
        for callback in self._run.callbacks:
            end = callback.t if callback.end is None else callback.end
            held = f", holding {callback.held}" if callback.held else ", holding no lock"
            lane = self._lane_of(callback.record)
            yield Item(callback.t, callback.record, "callback" if callback.held else "callback free",
                       f"callback {text.quoted(callback.record.key)} for {milliseconds(end - callback.t)}{held}",
                       (callback.t, lane), (end, lane), "bar")

    def _looks(self):
        for look in self._run.looks:
            words = list_words(look.event.event.values) if look.event else text.quoted(look.record.text)
            lane = self._lane(f"region, as {look.process.name} saw it")
            style = "failure" if look.text.fault else "region"
            yield Item(look.t, look.record, style, f"region ({text.quoted(look.record.seen)}): {words}", (look.t, lane),
                       (look.t, lane), "mark")

    def _pictures(self):
        for record in self._run.records:
            if record.k == "picture":
                yield Item(record.t, record, "picture", text.escaped(record.text), (record.t, 0), (record.t, 0),
                           "picture")

    @staticmethod
    def _event_words(event, t):
        words = list_words(event.event.values)
        if event.request:
            words += f", {milliseconds(t - event.request.t)} after {text.quoted(event.request.command.name)}"
        return words

    def _add_lives(self):
        for life in self._run.service_lives:
            self._bars.append((0, life.began, life.ended or self._run.ended, "alive", "the service is on the bus"))

    def _add_waits(self):
        """The polls of synchronous requests."""
        for request in self._run.requests:
            end = end_of_wait(request)
            if request.process is not None and end is not None:
                words = f"polls the region for {milliseconds(end - request.t)}"
                self._bars.append((self._lane_of(request.record), request.t, end, "wait", words))

    def _add_states(self):
        for proxy in self._run.states.proxies:
            for medium, name in ((wire.MAIN_VIDEO, "main video"), (wire.ADVERTISEMENT, "advertisement")):
                history = proxy.histories[medium]
                if not history and medium == wire.ADVERTISEMENT:
                    continue
                lane = self._lane(f"{proxy.object[:12]} {name}")
                begins = [(proxy.first, states.IDLE), *history]
                ends = [t for t, _ in begins[1:]] + [self._run.ended]
                for (begin, state), end in zip(begins, ends):
                    self._bars.append((lane, begin, end, f"state {state}", state))

    # ---- How it is drawn

    def _ticks(self, scale, height):
        for moment, place in scale.ticks():
            words = text.seconds(moment - self._run.began)[:-3]
            yield (f'<g class="tick"><line x1="{place:.1f}" y1="0" x2="{place:.1f}" y2="{height}" />'
                   f'<text x="{place + 3:.1f}" y="{height - 4}">{words}</text></g>')

    def _lane_lines(self, width):
        for name, lane in self._lanes.items():
            y = _y(lane)
            yield (f'<g class="lane"><line x1="{MARGIN}" y1="{y}" x2="{width:.0f}" y2="{y}" />'
                   f'<text x="4" y="{y + 4}">{safe(name[:34])}</text></g>')

    @staticmethod
    def _bar(scale, lane, begin, end, style, words):
        x, width = scale.place(begin), max(1.0, scale.place(end) - scale.place(begin))
        label = ""
        if width > 60 and style != "wait":
            label = f'<text x="{x + 4:.1f}" y="{_y(lane) + 4}">{markup(words)}</text>'
        return (f'<g class="{style}"><title>{markup(words)}</title><rect x="{x:.1f}" y="{_y(lane) - 9}" '
                f'width="{width:.1f}" height="18" />{label}</g>')

    @staticmethod
    def _drawn(scale, strip, item):
        shape = {"arrow": _arrow, "bar": _box, "mark": _mark, "picture": strip.picture}[item.shape](scale, item)
        return (f'<a id="i{item.record.number}" href="#r{item.record.number}" class="item {item.style}">'
                f'<title>{markup(item.words)}</title>{shape}</a>')


class PictureStrip:
    """The pictures below the lanes: each at its moment or, where there is no room, behind the one before it."""

    WIDTH, HEIGHT, GAP = 160, 120, 8

    def __init__(self, scale, items, top):
        self._top = top
        self._places = {}  # by the number of the record
        self.right = 0
        for item in items:
            self._places[item.record.number] = max(scale.place(item.t), self.right + self.GAP)
            self.right = self._places[item.record.number] + self.WIDTH
        self.bottom = top + (self.HEIGHT + LANE if items else 0)

    def picture(self, scale, item):
        """A line down from the moment, the picture, and its words."""
        moment, x = scale.place(item.t), self._places[item.record.number]
        words = markup(text.shortened(item.words, 24))
        return (f'<path class="moment" d="M{moment:.1f} 0V{self._top}L{x:.1f} {self._top + 4}" />'
                f"{self._image(item, x)}"
                f'<text x="{x:.1f}" y="{self._top + self.HEIGHT + 20}">{words}</text>')

    def _image(self, item, x):
        url = pictures.data_url(item.record)
        place = f'x="{x:.1f}" y="{self._top + 4}" width="{self.WIDTH}" height="{self.HEIGHT}"'
        if not url:  # in a redacted recording
            return f'<rect class="missing" {place} />'
        return (f'<image {place} preserveAspectRatio="xMinYMin" role="img" aria-label="{markup(item.words)}" '
                f'href="{url}" />')


def _style(event):
    if event.event.is_neutral:
        return "neutral"
    if event.request is None:
        return "news"
    return "answer" if event.event.succeeded and not event.fault else "failure"


def _y(lane):
    return lane * LANE + LANE // 2


def _ends(scale, item):
    return scale.place(item.begin[0]), _y(item.begin[1]), scale.place(item.end[0]), _y(item.end[1])


def _arrow(scale, item):
    x1, y1, x2, y2 = _ends(scale, item)
    tail = 7 if y2 < y1 else -7
    return (f'<line x1="{x1:.1f}" y1="{y1}" x2="{x2:.1f}" y2="{y2}" />'
            f'<path d="M{x2:.1f} {y2}l-4 {tail}h8z" />')


def _box(scale, item):
    x1, y, x2, _ = _ends(scale, item)
    return f'<rect x="{x1:.1f}" y="{y - 6}" width="{max(3.0, x2 - x1):.1f}" height="12" />'


def _mark(scale, item):
    x, y, *_ = _ends(scale, item)
    return f'<circle cx="{x:.1f}" cy="{y}" r="4" />'


def safe(foreign):
    """Foreign text for a page: visible, on one line, and nothing but text."""
    return markup(text.escaped(foreign))


def markup(words):
    """Words that are already safe on a terminal, for a page."""
    return html.escape(words)
