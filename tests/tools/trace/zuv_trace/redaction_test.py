#!/usr/bin/python3
"""What is left of media when a recording is redacted: labels, the same ones wherever a medium stands."""

import json
import sys
import unittest

from recordings import OBJECT, Builder, command, event, played, region_text
from zuv_trace import checking, rules
from zuv_trace.model import Run
from zuv_trace.redaction import Redaction

FILM = '/media/my "secret" film.webm'


def redacted(builder):
    records = builder.recording().records
    redaction = Redaction(records)
    return [redaction.redacted(record) for record in records]


def text_of(builder):
    return "\n".join(json.dumps(record.members) for record in redacted(builder))


class Redacted(unittest.TestCase):
    def test_has_no_url_and_no_path_of_a_medium(self):
        text = text_of(played())
        for secret in ("/media", "clip.webm", "127.0.0.1", "token", "://"):
            self.assertNotIn(secret, text)

    def test_has_no_picture(self):
        builder = played().add("picture", type="image/png", text="clip.webm after the seek", data="aGFtc3Rlcg==")
        self.assertIn("after the seek", text_of(builder))
        for secret in ("aGFtc3Rlcg", "clip.webm"):
            self.assertNotIn(secret, text_of(builder))

    def test_has_one_label_for_one_medium(self):
        records = {record.k: record for record in redacted(played())}
        self.assertEqual(records["begin"].args, ["player", "url-1"])
        starts = [record for record in redacted(played()) if record.k == "publish" and record.values[0] == "start"]
        self.assertEqual(starts[0].values[6], "url-1")

    def test_replaces_what_stands_in_json_and_in_quotes(self):
        builder = Builder().begin().publish(command("start", "ses-1", OBJECT, url=FILM)).after(1)
        builder.region(region_text(event("started", "ses-1", url=FILM)))
        builder.add("line", p=10, text=f"started url={json.dumps(FILM)}", level="info")
        self.assertNotIn("secret", text_of(builder))

    def test_replaces_what_a_log_has_cut_off(self):
        url = "/media/folder/" + "x" * 300
        builder = Builder().begin().publish(command("start", "ses-1", OBJECT, url=url))
        builder.add("line", p=10, text=f"started url={url[:200]}", level="info")
        self.assertNotIn("xxx", text_of(builder))

    def test_replaces_addresses_that_no_command_has(self):
        builder = Builder().begin().add("log", text="[B-LOG] asks https://example.org/secret?a=b for it")
        self.assertIn("asks url-1 for it", text_of(builder))

    def test_keeps_what_is_no_medium(self):
        text = text_of(played())
        for words in ("ses-1", OBJECT, "velmora.zuv.Service", "240p", "tovik.sl2.vstr.videoplayer.zuv.command"):
            self.assertIn(words, text)

    def test_can_be_checked_as_before(self):
        builder = Builder().begin().created().publish(command("start", "ses-1", OBJECT, url=FILM)).after(1)
        builder.deliver(event("started", "ses-1", "obj-2", url="http://127.0.0.1:1/x")).end()
        found = checking.violations(Run(redacted(builder)), rules.RULES)
        self.assertEqual([violation.rule.identifier for violation in found], ["object-named"])


if __name__ == "__main__":
    sys.exit(unittest.main())
