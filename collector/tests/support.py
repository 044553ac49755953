"""Starts a collector in a separate folder, and has helper functions for the tests."""
import contextlib
import http.client
import json
import os
import pathlib
import resource
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest

TESTS = os.path.dirname(os.path.abspath(__file__))
COLLECTOR = os.environ.get("OSTREL_TEST_COLLECTOR", os.path.dirname(TESTS))
ROOT = os.path.dirname(os.path.dirname(TESTS))
FILTER = os.path.join(ROOT, "examples/c_host/statistic/enabled_stat_events.xml")
sys.path.insert(0, COLLECTOR)
resource.setrlimit(resource.RLIMIT_NOFILE, [resource.getrlimit(resource.RLIMIT_NOFILE)[1]] * 2)  # many clients


def hit(machine="3F2A0C91-7B44-E012-9C5D-0A1B2C3D4E5F", label="open.file", category="editor", product="c_host",
        version="1.0", system="Debian", regular="n"):
    label = f"&el={label}" if label else ""
    return (f"v=1&tid=UA-40271936-07&cid={machine}&an={product}&av={version}&cd1=win32&cd2={system}"
            f"&t=event&ec={category}{label}&cd3={regular}")


def lines(bodies, days_ago=0):
    moment = time.time() - 86400 * days_ago
    return "".join(f"{moment:.0f}.{number % 1000:03} {body}\n" for number, body in enumerate(bodies)).encode()


def wait_for(condition, seconds=90):
    deadline = time.monotonic() + seconds
    while not (result := condition()):
        assert time.monotonic() < deadline, f"timeout after {seconds} s"
        time.sleep(0.05)
    return result


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def processes(words):
    """Ids of the processes whose command line contains the words."""
    found = subprocess.run(["pgrep", "-f", "--", words], stdout=subprocess.PIPE).stdout
    return [int(number) for number in found.split()]


class Collector:
    """Its key is constant, so that estimates are the same in every run."""

    def __init__(self, *options, program=COLLECTOR, environment=None, key="key"):
        self.outer = pathlib.Path(tempfile.mkdtemp(prefix="collector-test-", dir="/tmp"))
        self.outer.chmod(0o755)
        (self.outer / "key").write_text(key)
        self.data, self.page = self.outer / "data", self.outer / "data/page/index.html"
        self.port, self.page_port = free_port(), free_port()
        self.options, self.program = options, program
        # The PATH of a Debian user other than root: nginx is not in it.
        self.environment = {**os.environ, "PATH": "/usr/local/bin:/usr/bin:/bin", **(environment or {})}
        self.start()

    def start(self, wait=True):
        self.page.unlink(missing_ok=True)
        command = [f"{self.program}/run.sh", "--data", self.data, "--port", str(self.port), "--page-port",
                   str(self.page_port), "--interval", "1", "--key", self.outer / "key", "--filter", FILTER]
        with open(self.outer / "log", "a", encoding="utf-8") as log:
            self.process = subprocess.Popen([*command, *self.options], stderr=log, stdout=log, env=self.environment)
        wait_for(lambda: not wait or self.page.exists() or self.process.poll() is not None)
        assert self.process.poll() is None, self.log()

    def log(self):
        return (self.outer / "log").read_text()

    def report(self):
        return json.loads((self.data / "page/report.json").read_text())

    def drop(self, content, name="hits-1.log"):
        """Gives the loader a rotated file."""
        file = self.data / "new"
        file.write_bytes(content)
        shutil.chown(file, self.data.owner(), self.data.group())
        file.rename(self.data / "hits" / name)

    def wait_until_loaded(self):
        """Waits until every rotated file is loaded and the page has been written after that."""
        wait_for(lambda: not list(self.data.glob("hits/hits-*.log")))
        loaded = time.time()
        wait_for(lambda: self.page.exists() and self.page.stat().st_mtime > loaded)

    def load(self, content, name="hits-1.log"):
        self.drop(content, name)
        self.wait_until_loaded()
        return self.report()

    def sql(self, text):
        return subprocess.run(["psql", "-XqAt", "-h", self.data / "run", "-U", "collector", "postgres", "-c",
                               "SET search_path = collector, public", "-c", text], text=True, check=True,
                              capture_output=True).stdout.strip()

    def clear(self):
        self.sql("TRUNCATE feature_day, version_day, installation_day, refused_day, loaded_file, period_cache")

    def hits(self):
        return int(self.sql("SELECT coalesce(sum(hits), 0) FROM feature_day"))

    def client(self):
        return contextlib.closing(http.client.HTTPConnection("127.0.0.1", self.port))

    def stop(self):
        self.process.send_signal(signal.SIGTERM)
        return self.process.wait(60)

    def remove(self):
        self.stop()
        shutil.rmtree(self.outer)


class CollectorTest(unittest.TestCase):
    """Tests that share a collector, which is empty before each."""
    options = ()

    @classmethod
    def setUpClass(cls):
        cls.collector = Collector(*cls.options)
        cls.addClassCleanup(cls.collector.remove)

    def setUp(self):
        self.collector.clear()


def ask(connection, method="POST", path="/collect", body=None, headers=None):
    connection.request(method, path, body, headers or {}, encode_chunked=True)
    answer = connection.getresponse()
    answer.read()
    return answer.status
