#!/usr/bin/env python3
"""Loads rotated log files of the receiver into the database, one transaction a file, and deletes them.

Anyone can post to the receiver. A line that is not a valid hit is counted as refused and does not stop the load.
"""
import argparse
import collections
import datetime
import glob
import hashlib
import os
import re
import subprocess
import sys
import tempfile
import time
import urllib.parse

from database import PSQL, SESSION, query, read_filters, variables

ESCAPED = rb"[\w.~-]*(?:%[0-9A-Fa-f]{2}[\w.~-]*)*"
# Machine id and version are free text, so the whole body must match. The atomic group matches the first product and
# never backtracks. Otherwise a hostile body could make matching take quadratic time.
HIT = re.compile(
    rb"(?>v=1&tid=UA-40271936-07&cid=(.*?)&an=(" + ESCAPED + rb")&av=)(.*)&cd1=win32&cd2=(" + ESCAPED +
    rb")&t=event&ec=(" + ESCAPED + rb")(?:&el=(" + ESCAPED + rb"))?&cd3=([yn])", re.DOTALL)
Hit = collections.namedtuple("Hit", "machine_id product version os category label regular_user")

JSON_ESCAPE = re.compile(rb"\\(u[0-9A-Fa-f]{4}|.)", re.DOTALL)
JSON_LETTERS = {b"n": b"\n", b"r": b"\r", b"t": b"\t", b"b": b"\b", b"f": b"\f"}
COPY_ESCAPES = str.maketrans({"\\": "\\\\", "\t": "\\t", "\n": "\\n", "\r": "\\r", "\0": "\ufffd"})
LONGEST_TEXT = 400  # bytes; an index row has space for four such texts
NOT_A_HIT, NOT_LISTED, WRONG_TIME = "not a hit", "not listed", "wrong time"


def unescape_json(text):
    def replace(match):
        escape = match[1]
        return bytes([int(escape[1:], 16) & 255]) if len(escape) == 5 else JSON_LETTERS.get(escape, escape)
    return JSON_ESCAPE.sub(replace, text) if b"\\" in text else text


def decode(parts):
    """Returns a hit from the matched bytes, or raises UnicodeDecodeError."""
    machine_id, product, version, system, category, label, regular = parts
    unquote = urllib.parse.unquote_to_bytes
    return Hit(machine_id.decode(), unquote(product).decode(), version.decode(), unquote(system).decode(),
               unquote(category).decode(), None if label is None else unquote(label).decode(), regular == b"y")


def parse_hit(body):
    """Parses a posted body. Returns None if it is not a hit."""
    match = HIT.fullmatch(body)
    try:
        return match and decode(match.groups())
    except UnicodeDecodeError:
        return None


def is_counted(hit, filters):
    if hit.category in filters.get(None, ()) or hit.category in filters.get(hit.product, ()):
        return True
    return hit.category == "run" and bool(hit.label) and "." not in hit.label


def copy_row(*texts):
    return "\t".join(text.translate(COPY_ESCAPES) if len(text.encode()) <= LONGEST_TEXT else "(other)"
                     for text in texts) + "\n"


class Reader:
    """Converts the lines of one file to rows. Hits are of the same kind if only machine and regular user differ.

    The kinds and refusals are complete after the last row of rows()."""

    def __init__(self, filters, key, today):
        self.filters, self.key = filters, key
        self.first = (today - datetime.timedelta(days=400)).toordinal()
        self.last = (today + datetime.timedelta(days=1)).toordinal()
        self.today = today.toordinal()
        self.numbers, self.count = {}, 0
        self.kinds = tempfile.TemporaryFile("w+", encoding="utf-8")
        self.refusals = collections.Counter()
        self.hits = 0

    def rows(self, lines):
        for line in lines:
            stamp, _, body = line.rstrip(b"\n").partition(b" ")
            day = self.day_of(stamp)
            kind, match = self.kind_of(day, body)
            if match is None:
                self.refusals[day if self.first <= day <= self.last else self.today, kind] += 1
                continue
            self.hits += 1
            digest = hashlib.blake2b(match[1], digest_size=8, key=self.key).digest()
            yield "%d\t%d\t%s\n" % (kind, int.from_bytes(digest, "little", signed=True), match[7].decode())

    @staticmethod
    def day_of(stamp):
        seconds = stamp.partition(b".")[0]
        return int(seconds) // 86400 + 719163 if len(seconds) < 12 and seconds.isdigit() else 0

    def kind_of(self, day, body):
        """Returns (number of the kind, match) for a counted hit, and (reason, None) for a refused hit."""
        match = HIT.fullmatch(unescape_json(body))
        if not match:
            return NOT_A_HIT, None
        if not self.first <= day <= self.last:
            return WRONG_TIME, None
        parts = (day,) + match.group(2, 3, 4, 5, 6)
        kind = self.numbers.get(parts)
        if kind is None or not match[1].isascii():
            kind = self.number(parts, match)
        return kind, match if isinstance(kind, int) else None

    def number(self, parts, match):
        try:
            hit = decode(match.groups())
        except UnicodeDecodeError:
            return NOT_A_HIT
        if not is_counted(hit, self.filters):
            return NOT_LISTED
        if parts in self.numbers:
            return self.numbers[parts]
        if len(self.numbers) >= 100_000:
            self.numbers.clear()  # a kind may then get a second number; merge adds both
        self.count += 1
        self.numbers[parts] = self.count
        date = datetime.date.fromordinal(parts[0]).isoformat()
        self.kinds.write(f"{self.count}\t{date}\t" +
                         copy_row(hit.product, hit.category, hit.label or "", hit.version, hit.os))
        return self.count

    def refusal_rows(self):
        for (day, reason), hits in self.refusals.items():
            yield f"{datetime.date.fromordinal(day).isoformat()}\t{reason}\t{hits}\n"


def content_hash(path):
    with open(path, "rb") as file:
        return hashlib.file_digest(file, "sha256").hexdigest()


def open_paths():
    """Returns all files that processes of this user have open."""
    paths = set()
    for link in glob.iglob("/proc/[0-9]*/fd/*"):
        try:
            paths.add(os.readlink(link))
        except OSError:
            pass
    return paths


def closed_files(folder, patience=3):
    """Returns the rotated files that no process has open. nginx closes a file shortly after its rotation."""
    deadline = time.monotonic() + patience
    while True:
        files = sorted(glob.glob(os.path.join(os.path.realpath(folder), "hits-*.log")))
        busy = open_paths() & set(files)
        if not busy or time.monotonic() > deadline:
            return [file for file in files if file not in busy]
        time.sleep(0.05)


class Loader:
    def __init__(self, arguments):
        self.filters = read_filters(arguments.filter)
        with open(arguments.key, "rb") as file:
            self.key = hashlib.sha256(file.read().strip()).digest()
        with open(os.path.join(arguments.data, "receiver"), encoding="ascii") as file:
            self.receiver = file.read().strip()
        self.folder = os.path.join(arguments.data, "hits")
        self.sample = arguments.sample
        self.fingerprint = hashlib.sha256(b"fingerprint" + self.key).hexdigest()

    def run(self):
        query("SELECT check_key(:'fingerprint'); SELECT retire();", fingerprint=self.fingerprint)
        for path in closed_files(self.folder):
            try:
                self.load(path)
            except OSError as error:
                print(f"load.py: not loaded, the next load tries again: {error}", file=sys.stderr)

    def load(self, path):
        content = content_hash(path)
        identity = {"receiver": self.receiver, "content": content}
        known = query("SELECT 1 FROM loaded_file WHERE (receiver, content) = (:'receiver', :'content');", **identity)
        if os.path.getsize(path) and not known:
            self.insert(path, identity)
        os.unlink(path)

    def insert(self, path, identity):
        started = time.monotonic()
        reader = Reader(self.filters, self.key, datetime.datetime.now(datetime.timezone.utc).date())
        values = variables({"rate": self.sample, **identity, "fingerprint": self.fingerprint})
        # The last line that psql reads is "COMMIT". If this process is killed earlier, nothing is counted.
        with subprocess.Popen(PSQL + values, stdin=subprocess.PIPE, stdout=subprocess.DEVNULL, text=True,
                              encoding="utf-8") as psql:
            with open(path, "rb") as file, reader.kinds:
                self.write(psql.stdin, reader, file)
            psql.stdin.close()
        if psql.returncode:
            raise subprocess.CalledProcessError(psql.returncode, "psql")
        print(f"loaded {os.path.basename(path)}: {reader.hits} hits, {sum(reader.refusals.values())} refused, "
              f"{time.monotonic() - started:.1f} s", flush=True)

    @staticmethod
    def write(psql, reader, lines):
        psql.write(SESSION + "BEGIN;\nSELECT check_key(:'fingerprint');\n"
                   "INSERT INTO loaded_file VALUES (:'receiver', :'content');\nSELECT stage();\n")
        copy(psql, "staged_hit", reader.rows(lines))
        reader.kinds.seek(0)
        copy(psql, "staged_kind", reader.kinds)
        copy(psql, "staged_refusal", reader.refusal_rows())
        psql.write("SELECT merge(:rate);\nCOMMIT;\n")


def copy(psql, table, rows):
    psql.write(f"COPY {table} FROM STDIN;\n")
    psql.writelines(rows)
    psql.write("\\.\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__.partition("\n")[0])
    parser.add_argument("--data", required=True, help="data folder of the collector")
    parser.add_argument("--key", help="file with the key for hashing machine ids (DATA/key)")
    parser.add_argument("--filter", action="append", default=[], metavar="[PRODUCT=]FILE", help="event filter")
    parser.add_argument("--sample", type=float, default=1, help="share of the machines whose hits the receiver stores")
    arguments = parser.parse_args()
    arguments.key = arguments.key or os.path.join(arguments.data, "key")
    try:
        Loader(arguments).run()
    except subprocess.CalledProcessError:
        sys.exit("load.py: the remaining files wait for the next time")


if __name__ == "__main__":
    main()
