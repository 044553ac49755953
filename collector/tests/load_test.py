"""Parsing of bodies and log lines, without a database."""
import datetime
import io
import json
import os
import tempfile
import time
import unittest

from support import ROOT, hit, lines

import load


def read(content, filters):
    reader = load.Reader(filters, b"key", datetime.datetime.now(datetime.timezone.utc).date())
    with reader.kinds:
        rows = list(reader.rows(io.BytesIO(content)))
    return len(rows), {reason: hits for (_, reason), hits in reader.refusals.items()}


class ReadingTest(unittest.TestCase):
    def test_parsed_bodies_match_the_shared_table(self):
        with open(os.path.join(ROOT, "tests/data/hit_bodies.json"), encoding="utf-8") as file:
            cases = json.load(file)
        for case in cases:
            with self.subTest(case["name"]):
                expected = None if case.get("malformed") else load.Hit(*(case[field] for field in load.Hit._fields))
                self.assertEqual(load.parse_hit(case["body"].encode("latin-1")), expected)

    def test_log_escapes_are_decoded(self):
        self.assertEqual(load.unescape_json(rb'a\"b\\n\n\u001F\t\b\f\r' + b"\xff"), b'a"b\\n\n\x1f\t\b\f\r\xff')

    def test_hostile_lines_are_refused_in_linear_time(self):
        head = "v=1&tid=UA-40271936-07&cid="
        hostile = [b"\0\xff", b"", b" ", b"\\", b"\\u00", os.urandom(65536).replace(b"\n", b""), hit().encode()[:-1],
                   (head + "&an=x&av=" * 20000).encode(), (head + "&an=" + "a" * 64000).encode(),
                   hit(label="%41" * 20000 + "%").encode()]
        content = b"".join(b"%d.000 %s\n" % (time.time(), body) for body in hostile)
        start = time.process_time()
        self.assertEqual(read(content, {}), (0, {"not a hit": len(hostile)}))
        self.assertLess(time.process_time() - start, 1)

    def test_lines_with_wrong_times_are_refused(self):
        for stamp in ("", "x", "1.000", "99999999999.000", "-1", "9" * 5000):
            with self.subTest(stamp[:20]):
                self.assertEqual(read(f"{stamp} {hit()}\n".encode(), {None: {"editor"}}), (0, {"wrong time": 1}))

    def test_listed_names_and_run_dot_name_are_counted(self):
        filters = {None: {"editor"}, "c_host": {"debugger.attach"}}
        for count, body in [(1, hit()), (1, hit(product="any")), (1, hit(category="debugger.attach", label=None)),
                            (0, hit(category="debugger.attach", product="any")), (0, hit(category="editors")),
                            (1, hit(category="run", label="build")), (0, hit(category="run", label="build.release")),
                            (0, hit(category="run", label=None))]:
            with self.subTest(body):
                self.assertEqual(read(lines([body]), filters), (count, {} if count else {"not listed": 1}))

    def test_open_files_are_not_loaded(self):
        with tempfile.TemporaryDirectory() as folder, open(folder + "/hits-1.log", "wb"):
            with open(folder + "/hits-2.log", "wb") as closed:
                pass
            self.assertEqual(load.closed_files(folder, patience=0), [os.path.realpath(closed.name)])
