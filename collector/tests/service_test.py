"""The running collector: clients, load, kills, rotation, privacy, several instances."""
import concurrent.futures
import hashlib
import os
import re
import shutil
import signal
import socket
import subprocess
import tempfile
import time
import unittest

from support import COLLECTOR, ROOT, Collector, CollectorTest, ask, free_port, hit, lines, processes, wait_for

POSTGRES = "/usr/lib/postgresql/15/bin/"


def post_some(collector, client, hits):
    """@return the set of HTTP statuses"""
    with collector.client() as connection:
        return {ask(connection, body=hit(f"m{client}-{n // 2}")) for n in range(hits)}


def files_with(folder, text):
    """Files in the folder that contain the text, without the configuration that initdb writes."""
    return subprocess.run(["grep", "-rlaF", "--exclude=pg_hba.conf", "--exclude=postgresql.conf", "-f", "-", folder],
                          input=text, stdout=subprocess.PIPE, env={"LC_ALL": "C"}).stdout.splitlines()


class SharedCollectorTest(CollectorTest):
    options = ("--threshold", "1")

    def test_a_hosts_features_reach_the_page(self):
        subprocess.run([ROOT + "/build/linux/examples/c_host/c_host"], check=True, stdout=subprocess.DEVNULL, env={
            "XDG_DATA_HOME": self.collector.outer, "OSTREL_CORPORATE_DOMAIN": "localhost",
            "OSTREL_COLLECTION_URL": f"http://127.0.0.1:{self.collector.port}/collect"})
        features = wait_for(lambda: len(found := self.collector.report()["features"]) == 5 and found)
        self.assertEqual({(f["category"], f["label"]) for f in features}, {
            ("debugger.attach", None), ("editor", "open.file"), ("editor.refactor", "rename"),
            ("editor", "recent.résumé 日本"), ("run", "build")})
        self.assertEqual({(f["hits"], f["machines"], f["versions"][0]["version"]) for f in features},
                         {(1, 1, "2.7.312 & more")})

    def test_posts_to_collect_get_200_and_no_address_is_kept(self):
        chunked = iter([hit(label="x" * 60000).encode()])
        for status, method, path, body, headers in [
                (200, "POST", "/collect", hit(), {}), (200, "POST", "/collect", b"\xff\0", {}),
                (200, "POST", "/collect", "", {}), (200, "POST", "/collect", b"x" * 70000, {}),
                (200, "POST", "/collect", chunked, {"Transfer-Encoding": "chunked"}),
                (405, "GET", "/collect", None, {}), (404, "GET", "/", None, {}), (404, "POST", "/other", hit(), {})]:
            with self.subTest(f"{method} {path}"), self.collector.client() as connection:
                self.assertEqual(ask(connection, method, path, body, headers), status)
        curl = ["curl", "-so/dev/null", "-w%{http_code}", "-HExpect: 100-continue", "-d@/bin/bash",
                f"http://127.0.0.1:{self.collector.port}/collect"]
        self.assertEqual(subprocess.run(curl, capture_output=True, check=True).stdout, b"200")
        wait_for(lambda: self.collector.hits() == 2)
        self.assertEqual(files_with(self.collector.data, b"127.0.0.1"), [])
        find = ["find", self.collector.data, "-perm", "/077", "-not", "-type", "l"]
        self.assertEqual(subprocess.run(find, capture_output=True, check=True).stdout, b"")

    def test_neither_machine_ids_nor_their_hashes_are_on_disk(self):
        name = "5E0F1A2B-AAAA-BBBB-CCCC-0123456789AB"
        key = hashlib.sha256((self.collector.data / "key").read_bytes()).digest()
        digest = hashlib.blake2b(name.encode(), digest_size=8, key=key).digest()
        number = int.from_bytes(digest, "little", signed=True)
        with self.collector.client() as connection:
            for _ in range(20):
                ask(connection, body=hit(name))
        wait_for(lambda: self.collector.hits() == 20)
        self.collector.sql("CHECKPOINT")
        for trace in (name.encode(), digest, digest[::-1], b"%d" % number):
            with self.subTest(trace):
                self.assertEqual(files_with(self.collector.data, trace), [])
        # Checks the test: the sketch holds this hash, and the search finds copies in a table and the write-ahead log.
        self.assertEqual(self.collector.sql(f"SELECT machines = hll_add(machines, ({number})::bigint::hll_hashval) "
                                            "FROM feature_day"), "t")
        self.collector.sql(f"CREATE TABLE planted AS SELECT '{name}' AS text, {number}::bigint AS number; CHECKPOINT")
        for trace in (name.encode(), digest):
            with self.subTest(trace):
                self.assertGreater(len(files_with(self.collector.data, trace)), 1)

    def test_thousands_of_clients_and_rotations_lose_nothing(self):
        script = self.collector.outer / "post.lua"
        script.write_text(f'wrk.method = "POST"; wrk.body = "{hit()}"')
        for clients in (400, 2000):
            before = self.collector.hits()
            text = subprocess.run(["wrk", "-t2", f"-c{clients}", "-d2s", "--timeout", "30s", "-s", script,
                                   f"http://127.0.0.1:{self.collector.port}/collect"], capture_output=True, text=True).stdout
            answers = int(re.search(r"(\d+) requests in", text)[1])
            with self.subTest(clients):
                self.assertNotRegex(text, "Non-2xx|Socket errors")
                # When the load generator stops, each client may have one more post under way. It is counted too.
                wait_for(lambda: self.collector.hits() - before >= answers)
                self.collector.wait_until_loaded()
                self.assertLessEqual(self.collector.hits() - before, answers + clients)


class OwnCollectorTest(unittest.TestCase):
    def start(self, *options, **more):
        collector = Collector(*options, **more)
        self.addCleanup(collector.remove)
        return collector

    def test_kills_of_loader_and_database_leave_counts_exact(self):
        collector = self.start()
        content = lines([hit(f"m{n % 3000}") for n in range(50_000)])
        load = f"-v rate=1.0 -v receiver={(collector.data / 'receiver').read_text()}"
        with concurrent.futures.ThreadPoolExecutor() as clients:
            answers = [clients.submit(post_some, collector, client, 500) for client in range(4)]
            for n in range(8):
                collector.drop(content + b"%d.000 round\n" % n, f"hits-{n}.log")
                wait_for(lambda: processes(load))
                time.sleep(0.05 * n)
                for victim in processes(f"{'load.py --data' if n % 2 else 'postgres -D'} {collector.data}")[:1]:
                    os.kill(victim, signal.SIGKILL)
        self.assertEqual(set().union(*(each.result() for each in answers)), {200})
        collector.wait_until_loaded()
        wait_for(lambda: collector.hits() >= 8 * 50_000 + 2000)
        collector.wait_until_loaded()
        self.assertEqual(collector.hits(), 8 * 50_000 + 2000)
        self.assertEqual(collector.report()["refused"], {"not a hit": 8})

    def test_stops_and_kills_lose_no_flushed_hit(self):
        collector = self.start()
        self.assertEqual(post_some(collector, 1, 100), {200})
        self.assertEqual(collector.stop(), 0)
        self.assertEqual(processes(str(collector.data)), [])
        collector.start()
        self.assertEqual(collector.hits(), 100)
        post_some(collector, 1, 10)
        log = collector.data / "hits/hits.log"
        wait_for(lambda: log.stat().st_size or collector.hits() == 110)
        nginx = f"master process nginx -p {(collector.data / 'run').readlink()}"
        killed = processes(nginx)
        os.kill(killed[0], signal.SIGKILL)
        wait_for(lambda: processes(nginx) not in ([], killed) and collector.hits() == 110)
        self.assertEqual(post_some(collector, 1, 10), {200})
        collector.process.kill()
        collector.process.wait()
        collector.start()
        self.assertEqual(collector.hits(), 120)

    def test_port_in_use_fails_the_start(self):
        collector = self.start()
        collector.stop()
        with socket.create_server(("127.0.0.1", 0)) as other:
            collector.options = ("--port", str(other.getsockname()[1]))
            with self.assertRaisesRegex(AssertionError, "nginx did not start"):
                collector.start()
        self.assertEqual(collector.log().count("hits to"), 1)

    def test_receivers_share_a_database_over_tcp_or_have_their_own(self):
        folder, port = tempfile.mkdtemp(prefix="collector-test-", dir="/tmp"), free_port()
        self.addCleanup(shutil.rmtree, folder)
        os.chmod(folder, 0o777)
        user = ["setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups"] if os.geteuid() == 0 else []
        subprocess.run([*user, POSTGRES + "initdb", "-D", folder + "/db", "-U", "boss", "-A", "trust", "-E", "UTF8",
                        "--locale=C"], check=True, stdout=subprocess.DEVNULL, cwd="/")
        server = subprocess.Popen([*user, POSTGRES + "postgres", "-D", folder + "/db", "-p", str(port), "-k", folder],
                                  stderr=subprocess.DEVNULL, cwd="/")
        self.addCleanup(lambda: (server.send_signal(signal.SIGINT), server.wait()))
        there = {"PGHOST": "127.0.0.1", "PGPORT": str(port), "PGUSER": "boss", "PGDATABASE": "postgres"}
        first = self.start(environment=there)
        second = self.start("--threshold", "1", environment=there)
        same = lines([hit("m1"), hit("m2")])
        first.load(same)
        feature = second.load(same)["features"][0]
        self.assertEqual((feature["hits"], feature["machines"]), (4, 2))
        self.assertFalse((first.data / "database").exists())
        alone = self.start("--threshold", "1")
        self.assertEqual(alone.load(same)["features"][0]["hits"], 2)
        third = self.start(environment=there, key="another")
        wait_for(lambda: "the key is not the one" in third.log())

    def test_sampling_keeps_whole_machines_and_rate_limit_answers_200(self):
        folder = tempfile.mkdtemp(prefix="collector-test-", dir="/tmp")
        self.addCleanup(shutil.rmtree, folder)
        os.symlink(ROOT + "/scripts", folder + "/scripts")
        program = shutil.copytree(COLLECTOR, folder + "/collector")
        collector = self.start("--sample", "0.25", "--threshold", "1", program=program)
        self.assertEqual(post_some(collector, 1, 400), {200})
        report = wait_for(lambda: (found := collector.report())["features"] and found)
        feature = report["features"][0]
        self.assertEqual(report["sample"], 0.25)
        self.assertTrue(50 <= feature["hits"] <= 160, feature)
        self.assertLessEqual(abs(feature["hits"] - 2 * feature["machines"]), 4)
        collector.stop()
        subprocess.run(["sed", "-i", "s/#limit://", program + "/nginx.conf.in"], check=True)
        collector.options = ()
        collector.start()
        collector.clear()
        self.assertEqual(post_some(collector, 2, 1500), {200})
        wait_for(lambda: collector.hits() >= 500)
        self.assertEqual(collector.stop(), 0)
        collector.start()
        self.assertLess(collector.hits(), 1500)
