#!/usr/bin/python3
"""The page of zuv-trace report: well-formed, harmless whatever the recording holds, and without errors in a browser."""

import base64
import hashlib
import html.parser
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree

from recordings import OBJECT, Builder, command, event, played, region_text, synchronous
from zuv_trace import report, timeline
from zuv_trace.recording import Recording

HTML = "{http://www.w3.org/1999/xhtml}"
SVG = "{http://www.w3.org/2000/svg}"
ROWS = 29 - 4  # of played(): the end of a delivery has nothing to say
PNG = "iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAAAAAA6fptVAAAACklEQVR4nGNoAAAAggCBd81ytgAAAABJRU5ErkJggg=="
HOSTILE = "</script><script>document.title = 'owned'</script><img src=x onerror=alert(1)>\"'&\x1b\udcff\u202e"


def page(builder):
    return report.page(builder.recording(), "run.jsonl")


def tree(builder):
    return ElementTree.fromstring(page(builder))


def broken():
    """A synchronous run in which an answer does not come into the region."""
    builder = synchronous().publish(command("start", "ses-1", OBJECT)).after(3)
    return builder.deliver(event("started", "ses-1", url="u")).after(250).timeout().end()


def hostile():
    builder = Builder()
    builder.add("begin", version=1, wall=0, program=HOSTILE, args=[HOSTILE], role="application")
    values = [HOSTILE] * 11
    builder.publish(values).after(1).deliver(values, [(HOSTILE, HOSTILE, HOSTILE, HOSTILE)])
    builder.publish(command("start", HOSTILE, HOSTILE)).after(1)
    builder.deliver(event("started", HOSTILE, HOSTILE, url=HOSTILE))
    for data in (HOSTILE, base64.b64encode(HOSTILE.encode("utf-8", "surrogateescape")).decode()):
        builder.add("picture", type=HOSTILE, text=HOSTILE, data=data)
    builder.region(HOSTILE, HOSTILE).region(region_text(values)).add("log", text=HOSTILE)
    return builder.add("call", name=HOSTILE, args=[HOSTILE], r=HOSTILE, d=1)


class Elements(html.parser.HTMLParser):
    """What HTML itself makes of the page, which is less strict than XML."""

    def __init__(self, text):
        super().__init__()
        self.names, self.attributes, self.open = [], [], []
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        self.names.append(tag)
        self.attributes += attrs
        self.open.append(tag)

    def handle_startendtag(self, tag, attrs):
        self.names.append(tag)
        self.attributes += attrs

    def handle_endtag(self, tag):
        assert self.open.pop() == tag, tag


class Page(unittest.TestCase):
    def test_is_well_formed(self):
        for builder in (played(), broken(), hostile(), Builder()):
            self.assertEqual(tree(builder).tag, f"{HTML}html")
            self.assertEqual(Elements(page(builder)).open, [])

    def test_has_a_row_for_every_line(self):
        rows = tree(played()).findall(f".//{HTML}section[@id='log']//{HTML}tr")
        self.assertEqual(len(rows), ROWS)

    def test_leads_from_the_timeline_to_the_log_and_back(self):
        document = tree(played())
        identifiers = {element.get("id") for element in document.iter()}
        links = [element.get("href") for element in document.iter() if element.get("href")]
        self.assertGreater(len(links), 30)
        for link in links:
            self.assertIn(link.removeprefix("#"), identifiers)

    def test_has_each_identifier_once(self):
        identifiers = [element.get("id") for element in tree(played()).iter() if element.get("id")]
        self.assertEqual(len(identifiers), len(set(identifiers)))

    def test_tells_of_violations(self):
        text = "".join(tree(broken()).find(f".//{HTML}section[@id='violations']").itertext())
        for words in ("in-region", "A synchronous request looks nowhere else.", "the call gave up after"):
            self.assertIn(words, text)
        self.assertTrue("has kept all rules" in page(played()))

    def test_says_what_could_not_be_read(self):
        records = played().recording().records
        self.assertTrue("2 lines of the recording" in report.page(Recording(records, damaged=2), "x"))


class Picture(unittest.TestCase):
    def items(self, builder, style):
        return [item for item in tree(builder).iter(f"{SVG}a") if style in item.get("class").split()]

    def test_has_an_arrow_for_each_command_and_each_answer(self):
        self.assertEqual(len(self.items(played(), "command")), 3)
        self.assertEqual(len(self.items(played(), "answer")), 3)

    def test_has_callbacks_by_what_is_held(self):
        self.assertEqual(len(self.items(played(), "callback")), 2)
        self.assertEqual(len(self.items(played(), "free")), 1)

    def test_has_the_states_of_objects(self):
        states = [group.get("class") for group in tree(played()).iter(f"{SVG}g")]
        for state in ("state Idle", "state Starting", "state Started"):
            self.assertIn(state, states)

    def test_has_the_region(self):
        self.assertEqual(len(self.items(synchronous(), "region")), 2)

    def test_has_the_pictures_beside_each_other_with_their_words(self):
        builder = played().add("picture", type="image/png", text="main video", data=PNG)
        builder.after(1).add("picture", type="image/png", text="advertisement", data=PNG)
        images = [item.find(f"{SVG}image") for item in self.items(builder, "picture")]
        self.assertEqual([image.get("aria-label") for image in images], ["main video", "advertisement"])
        self.assertEqual({image.get("href") for image in images}, {f"data:image/png;base64,{PNG}"})
        self.assertGreaterEqual(float(images[1].get("x")), float(images[0].get("x")) + timeline.PictureStrip.WIDTH)

    def test_does_not_count_who_added_a_picture_among_the_processes(self):
        builder = played().add("begin", p=7, version=1, wall=0, program="zuv-trace", args=[], role="camera")
        self.assertNotIn("zuv-trace", page(builder.add("picture", p=7, type="image/png", text="x", data=PNG)).partition(
            "violations")[0])

    def test_has_a_frame_where_a_picture_is_left_out(self):
        item, = self.items(played().add("picture", type="image/png", text="main video", data=""), "picture")
        self.assertIsNone(item.find(f"{SVG}image"))
        self.assertEqual(item.find(f"{SVG}rect").get("class"), "missing")

    def test_leaves_out_what_nobody_could_see(self):
        limit, timeline.LIMIT = timeline.LIMIT, 3
        self.addCleanup(setattr, timeline, "LIMIT", limit)
        self.assertTrue("The last 6 are left out here." in page(played()))

    def test_keeps_the_order_of_time(self):
        scale = timeline.Scale([0, 5, 10**6, 10**9, 10**10])
        places = [scale.place(moment) for moment in (0, 5, 10**6, 10**9, 10**10)]
        self.assertEqual(places, sorted(places))
        self.assertLess(scale.width, 4000)


class Safety(unittest.TestCase):
    def test_has_one_script_and_nothing_from_elsewhere(self):
        elements = Elements(page(hostile()))
        self.assertEqual(elements.names.count("script"), 1)
        self.assertNotIn("img", elements.names)
        for name, value in elements.attributes:
            self.assertFalse(name.startswith("on") or name == "src", name)
            if name == "href":
                self.assertTrue(value.startswith("#"))

    def test_permits_its_own_script_only(self):
        text = page(played())
        script = re.search(r"<script>(.*?)</script>", text, re.S).group(1)
        digest = base64.b64encode(hashlib.sha256(script.encode()).digest()).decode()
        self.assertTrue(f"script-src 'sha256-{digest}'" in text)


@unittest.skipUnless(shutil.which("chromium"), "the program chromium is missing")
class Browser(unittest.TestCase):
    # Presses keys once the page is there, and writes what happened into its title.
    KEYS = """
const press = (key) => document.activeElement.dispatchEvent(new KeyboardEvent("keydown", { key, bubbles: true }));
const where = () => document.activeElement.closest("[id]").id;
const items = document.querySelectorAll("svg .item");
items[0].focus(); press("ArrowRight"); const second = where() === items[1].id;
document.querySelector("#log tbody a").focus(); press("ArrowDown"); const row = where();
document.title = `${second} ${row} ${document.querySelectorAll("#log tr").length}`;
"""

    def dumped(self, text):
        with tempfile.TemporaryDirectory() as folder:
            file = pathlib.Path(folder) / "report.html"
            file.write_text(text, encoding="utf-8")
            result = subprocess.run(
                ["chromium", "--headless=new", "--no-sandbox", "--disable-gpu", f"--user-data-dir={folder}/profile",
                 "--no-first-run", "--host-resolver-rules=MAP * ~NOTFOUND", "--disable-background-networking",
                 "--disable-component-update", "--disable-sync", "--enable-logging=stderr", "--dump-dom",
                 file.as_uri()],
                env={"HOME": folder, "PATH": "/usr/bin:/bin", "DBUS_SESSION_BUS_ADDRESS": "disabled:"},
                capture_output=True, text=True, timeout=100, check=True)
        return result.stdout, [line for line in result.stderr.splitlines() if "CONSOLE" in line]

    def test_finds_no_error_and_all_rows(self):
        dom, console = self.dumped(page(played().add("picture", type="image/png", text="a frame", data=PNG)))
        self.assertEqual(console, [])
        self.assertEqual(dom.count('<tr id="r'), ROWS + 1)

    def test_runs_nothing_that_a_recording_holds(self):
        dom, console = self.dumped(page(hostile()))
        self.assertEqual(console, [])
        self.assertEqual(re.search("<title>(.*?)</title>", dom).group(1), "run.jsonl")

    def test_is_usable_by_keyboard(self):
        text = re.sub(r"<meta http-equiv[^>]*>", "", page(played())).replace("</script>", self.KEYS + "</script>")
        dom, console = self.dumped(text)
        self.assertEqual(console, [])
        self.assertEqual(re.search("<title>(.*?)</title>", dom).group(1), f"true r1 {ROWS}")


if __name__ == "__main__":
    sys.exit(unittest.main())
