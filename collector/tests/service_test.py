"""The running collector: clients, load, kills, rotation, privacy, several instances."""
import contextlib
import hashlib
import http.client
import os
import random
import re
import shutil
import signal
import subprocess
import tempfile
import threading
import time
import unittest

from support import COLLECTOR, FILTER, PROGRAMS, ROOT, Collector, free_port, hit, lines, processes, wait_for

C_HOST = os.path.join(ROOT, "build/linux/examples/c_host/c_host")


def post_many(collector, clients, hits):
    """Posts from some connections until each has had its number of 200 answers; returns the other answers."""
    failures = []

    def client(number):
        with contextlib.closing(http.client.HTTPConnection("127.0.0.1", collector.port)) as connection:
            for n in range(hits):
                try:
                    status = collector.request(body=hit(f"m{number}-{n}"), connection=connection)
                except OSError as error:
                    status = error
                if status != 200:
                    failures.append(status)

    threads = [threading.Thread(target=client, args=(number,)) for number in range(clients)]
    for thread in threads:
        thread.start()
    return threads, failures


def join(threads):
    for thread in threads:
        thread.join()


class ServiceTest(unittest.TestCase):
    def start(self, *options, **more):
        collector = Collector(*options, **more)
        self.addCleanup(collector.remove)
        return collector

    def wrk(self, collector, connections, seconds):
        """Runs the load generator; returns how many answers it had, all of them 200."""
        script = os.path.join(collector.outer, "post.lua")
        with open(script, "w", encoding="utf-8") as file:
            file.write(f'wrk.method = "POST"; wrk.body = "{hit()}"')
        text = subprocess.run(["wrk", "-t2", f"-c{connections}", f"-d{seconds}s", "--timeout", "30s", "-s", script,
                               f"http://127.0.0.1:{collector.port}/collect"], check=True, capture_output=True, text=True).stdout
        self.assertNotRegex(text, "Non-2xx|Socket errors")
        return int(re.search(r"(\d+) requests in", text)[1])

    def test_a_hosts_features_reach_the_page(self):
        collector = self.start("--filter", f"c_host={FILTER}", "--threshold", "1")
        environment = {name: value for name, value in os.environ.items()
                       if "NORVANE" not in name and "proxy" not in name.lower()}
        subprocess.run([C_HOST], check=True, stdout=subprocess.DEVNULL, env={
            **environment, "XDG_DATA_HOME": collector.outer, "OSTREL_CORPORATE_DOMAIN": "localhost",
            "OSTREL_COLLECTION_URL": f"http://127.0.0.1:{collector.port}/collect"})
        wait_for(lambda: len(collector.report()["features"]) == 5)
        features = {(f["category"], f["label"], f["hits"], f["machines"]) for f in collector.report()["features"]}
        self.assertEqual(features, {(category, label, 1, 1) for category, label in [
            ("debugger.attach", None), ("editor", "open.file"), ("editor.refactor", "rename"),
            ("editor", "recent.résumé 日本"), ("run", "build")]})
        self.assertEqual(collector.report()["features"][0]["versions"], [{"version": "2.7.312 & more", "machines": 1}])

    def test_every_post_is_answered_200_and_no_address_is_kept(self):
        collector = self.start("--filter", FILTER, "--listen", "127.0.0.1")
        big = b"x" * 70000
        for status, method, path, body, headers in [
                (200, "POST", "/collect", hit(), {}), (200, "POST", "/collect", b"\xff\0", {}),
                (200, "POST", "/collect", "", {}), (200, "POST", "/collect", big, {}),
                (200, "POST", "/collect", iter([hit(label="x" * 60000).encode()]), {"Transfer-Encoding": "chunked"}),
                (405, "GET", "/collect", None, {}), (405, "PUT", "/collect", "x", {}), (404, "GET", "/", None, {}),
                (404, "POST", "/other", hit(), {})]:
            with self.subTest(f"{method} {path}"):
                self.assertEqual(collector.request(method, path, body, headers), status)
        curl = subprocess.run(["curl", "-s", "-o", "/dev/null", "-w", "%{http_code}", "-H", "Expect: 100-continue", "-d",
                               "x" * 70000, f"http://127.0.0.1:{collector.port}/collect"], capture_output=True, check=True)
        self.assertEqual(curl.stdout, b"200")
        wait_for(lambda: collector.loaded_hits() == 2)
        self.assertEqual(self.search(collector, b"127.0.0.1"), [])
        self.assertEqual(os.stat(collector.data).st_mode & 0o777, 0o700)
        self.assertEqual(subprocess.run(["find", collector.data, "-perm", "/077"], capture_output=True, check=True).stdout, b"")

    def search(self, collector, *texts):
        """Files of the data folder with one of the texts, but for those that PostgreSQL or run.sh write at their start."""
        found = []
        for folder, _, names in os.walk(collector.data):
            for name in names:
                with open(os.path.join(folder, name), "rb") as file:
                    content = file.read()
                if name not in ("pg_hba.conf", "postgresql.conf", "pg_hba.conf.sample") and any(t in content for t in texts):
                    found.append(name)
        return found

    def test_no_machine_id_and_no_hash_of_one_is_on_the_disk(self):
        collector = self.start("--filter", FILTER)
        machine = "5E0F1A2B-AAAA-BBBB-CCCC-0123456789AB"
        with open(collector.path("key"), "rb") as file:
            key = hashlib.sha256(file.read()).digest()
        digest = hashlib.blake2b(machine.encode(), digest_size=8, key=key).digest()
        number = int.from_bytes(digest, "little", signed=True)
        traces = [machine.encode(), digest, digest[::-1], b"%d" % number]
        for _ in range(20):
            collector.request(body=hit(machine))
        wait_for(lambda: collector.loaded_hits() == 20)
        collector.sql("CHECKPOINT")
        self.assertEqual(self.search(collector, *traces), [])
        collector.sql(f"CREATE TABLE planted AS SELECT '{machine}' AS text, {number}::bigint AS number")
        collector.sql("CHECKPOINT")
        for trace in traces[:2]:
            self.assertGreater(len(self.search(collector, trace)), 1)  # in the table and in the write-ahead log
        # The digest is what the loader computes, so the search looked for the right bytes.
        collector.sql("DROP TABLE planted")
        self.assertEqual(collector.sql(f"SELECT hll_cardinality(machines || hll_add(hll_empty(12, 5, 0, 1), ({number})::bigint"
                                       "::hll_hashval)) = hll_cardinality(machines) FROM feature_day"), "t")

    def test_hundreds_of_clients_and_rotations_lose_nothing(self):
        collector = self.start("--filter", FILTER)
        for connections in (400, 2000):
            with self.subTest(connections):
                before = collector.loaded_hits()
                answers = self.wrk(collector, connections, 2)
                self.assertGreater(answers, connections)
                collector.wait_until_settled()
                counted = collector.loaded_hits() - before
                # What was under way when the load generator ended was taken, too.
                self.assertGreaterEqual(counted, answers)
                self.assertLessEqual(counted, answers + connections)
        self.assertGreater(collector.text().count("loaded hits-"), 2)

    def test_killed_loaders_and_databases_lose_nothing_and_count_nothing_twice(self):
        collector = self.start("--filter", FILTER)
        threads, failures = post_many(collector, 4, 500)
        content = lines([hit(f"m{n % 3000}") for n in range(50_000)])
        kills = 0
        for n in range(8):
            collector.drop(content + b"%d.000 round\n" % n, f"hits-{n}.log")
            loader = wait_for(lambda: processes(f"load.py --data {collector.data}"))[0]
            time.sleep(random.random() / 2)
            victim = loader if n % 2 else processes(f"postgres -D {collector.data}")[0]
            try:
                os.kill(victim, signal.SIGKILL)
                kills += 1
            except ProcessLookupError:
                pass
        join(threads)
        self.assertEqual(failures, [])
        collector.wait_until_settled()
        self.assertGreaterEqual(kills, 4)
        self.assertEqual(collector.loaded_hits(), 8 * 50_000 + 2000)
        self.assertEqual(collector.report()["refused"], {"not a hit": 8})

    def test_sigterm_loses_nothing_and_ends_everything_and_so_does_a_kill(self):
        collector = self.start("--filter", FILTER)
        threads, failures = post_many(collector, 4, 100)
        join(threads)
        self.assertEqual((failures, collector.stop()), ([], 0))
        self.assertEqual(processes(collector.data), [])
        collector.start()
        self.assertEqual(collector.loaded_hits(), 400)
        collector.request(body=hit())
        time.sleep(1.5)  # the flush interval: only what is older survives a kill of nginx
        nginx = processes(f"nginx: master process nginx -p {collector.runtime()}")[0]
        os.kill(nginx, signal.SIGKILL)
        wait_for(lambda: processes(f"nginx: master process nginx -p {collector.runtime()}"))
        wait_for(lambda: collector.loaded_hits() == 401)
        self.assertEqual(collector.request(body=hit()), 200)
        collector.process.kill()
        collector.process.wait()
        wait_for(lambda: not processes(collector.data))
        collector.start()
        self.assertEqual(collector.loaded_hits(), 402)

    def test_two_receivers_share_a_database_over_tcp(self):
        folder = tempfile.mkdtemp(prefix="collector-test-", dir="/tmp")
        self.addCleanup(shutil.rmtree, folder)
        port = free_port()
        os.chmod(folder, 0o777)
        user = ["setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups"] if os.geteuid() == 0 else []
        initdb = [*user, PROGRAMS + "initdb", "-D", folder + "/db", "-U", "boss", "-A", "trust", "-E", "UTF8", "--locale=C"]
        subprocess.run(initdb, check=True, stdout=subprocess.DEVNULL, cwd="/")
        server = subprocess.Popen([*user, PROGRAMS + "postgres", "-D", folder + "/db", "-p", str(port), "-k", folder],
                                  stderr=subprocess.DEVNULL, cwd="/")
        self.addCleanup(lambda: (server.send_signal(signal.SIGINT), server.wait()))
        variables = {"PGHOST": "127.0.0.1", "PGPORT": str(port), "PGUSER": "boss", "PGDATABASE": "postgres"}
        first = self.start("--filter", FILTER, environment=variables)
        second = self.start("--filter", FILTER, "--threshold", "1", environment=variables)
        same = lines([hit("m1"), hit("m2")])
        first.load(same)
        feature = second.load(same)["features"][0]
        self.assertEqual((feature["hits"], feature["machines"]), (4, 2))
        self.assertFalse(os.path.exists(first.path("database")))
        third = self.start(environment=variables, key="another")
        wait_for(lambda: "the key is not the one" in third.text())

    def test_sampling_keeps_whole_machines_and_limits_answer_200(self):
        program = os.path.join(tempfile.mkdtemp(dir="/tmp"), "collector")
        self.addCleanup(shutil.rmtree, os.path.dirname(program))
        shutil.copytree(COLLECTOR, program)
        os.symlink(os.path.join(ROOT, "scripts"), os.path.join(os.path.dirname(program), "scripts"))
        collector = self.start("--filter", FILTER, "--sample", "0.25", "--threshold", "1", program=program)
        for n in range(400):
            self.assertEqual(collector.request(body=hit(f"m{n // 2}")), 200)
        report = wait_for(lambda: collector.report() if collector.report()["features"] else None)
        feature = report["features"][0]
        self.assertEqual(report["sample"], 0.25)
        self.assertTrue(25 <= feature["machines"] <= 80, feature)
        self.assertLessEqual(abs(feature["hits"] - 2 * feature["machines"]), 8)
        collector.stop()
        subprocess.run(["sed", "-i", "s/#limit://", os.path.join(program, "nginx.conf.in")], check=True)
        collector.options = ("--filter", FILTER)
        collector.start()
        threads, failures = post_many(collector, 4, 300)
        join(threads)
        self.assertEqual(failures, [])
        wait_for(lambda: collector.loaded_hits() >= feature["hits"] + 500)
        self.assertLess(collector.loaded_hits(), feature["hits"] + 1200)
