"""From log files to counts in the database and to the report."""
import json
import subprocess

from support import COLLECTOR, CollectorTest, hit, lines, wait_for


class CountsTest(CollectorTest):
    def feature(self, report, name, key="category"):
        found, = [feature for feature in report["features"] if feature[key] == name]
        return found

    def test_a_file_that_arrives_twice_counts_once(self):
        content = lines([hit(f"m{n}", regular="ny"[n < 25]) for n in range(50)] * 2) + b"1.0 junk\n" + lines(
            [hit(category="unlisted")])
        self.collector.load(content)
        report = self.collector.load(content, "hits-2.log")
        feature = self.feature(report, "editor")
        self.assertEqual((feature["hits"], feature["machines"], feature["regular_machines"]), (100, 50, 25))
        self.assertEqual(report["refused"], {"not a hit": 1, "not listed": 1})
        self.assertEqual(report["unused"], [{"product": "c_host", "name": name}
                                            for name in ("debugger.attach", "editor.refactor")])
        self.assertEqual([report[key] for key in ("schema", "threshold", "sample", "backlog_files")], [1, 20, 1, 0])
        self.assertIn(",c_host,editor,open.file,100,50,25\n", (self.collector.data / "page/report.csv").read_text())

    def test_sketches_agree_with_exact_counts_and_merge_across_days(self):
        def many(first, last):
            return [hit(f"m{n}", label="many") for n in range(first, last)]
        self.collector.load(lines([hit(f"m{n}", label="few") for n in range(20)] + many(0, 12000)))
        self.collector.load(lines(many(8000, 20000)) + lines(many(10000, 30000), days_ago=1) +
                            lines(many(0, 5000), days_ago=35), "hits-2.log")
        report = self.collector.report()
        self.assertEqual(self.feature(report, "few", "label")["machines"], 20)
        latest = self.feature(report, "many", "label")
        self.assertLess(abs(latest["machines"] - 30000), 1500)
        self.assertEqual([day[1] for day in latest["days"]], [20000, 24000])
        self.assertLess(abs(latest["days"][1][2] - 20000), 1000)
        self.assertLess(abs(self.feature(report["earlier"][0], "many", "label")["machines"] - 5000), 250)

    def test_cells_below_the_threshold_are_hidden_and_cannot_be_computed(self):
        small, large = range(3), range(45)
        self.collector.load(
            lines([hit(f"a{n}", label="hidden", version="9", system="Rare") for n in small] +
                  [hit(f"b{n}", label="next", system="Second", regular="ny"[n < 2]) for n in range(25)] +
                  [hit(f"c{n}", label="shown", regular="ny"[n < 20], version=f"{n % 2}") for n in large] +
                  [hit(f"c{n}", label="shown", version="rare") for n in small] +
                  [hit(f"d{n}", product="tiny") for n in small]) +
            lines([hit(f"c{n}", label="shown", version="0") for n in small], days_ago=3))
        report = self.collector.report()
        names = {(f["category"], f["label"]): f for f in report["features"]}
        self.assertEqual(set(names), {("(other)", None), ("editor", "shown")})
        self.assertAlmostEqual(names["(other)", None]["machines"], 28, delta=1)
        self.assertIsNone(names["(other)", None]["regular_machines"])
        shown = names["editor", "shown"]
        self.assertEqual(shown["regular_machines"], 20)
        self.assertEqual(shown["days"], [["(other)", 51, 45]])
        self.assertEqual([v["machines"] for v in shown["versions"]], [24, 24])
        self.assertEqual(shown["versions"][0]["version"], "(other)")
        # The product's total is shown. If only one system's number were hidden, it could be computed from the total.
        self.assertEqual([(i["os"], i["regular_machines"]) for i in report["installations"]],
                         [("Debian", None), ("(other)", None)])
        self.assertEqual(report["products"][0]["regular_machines"], 22)
        for secret in ("hidden", "next", "rare", "Rare", "tiny"):
            self.assertNotIn(secret, json.dumps(report))

    def test_distinct_texts_per_day_are_limited(self):
        machines = [f"m{n}" for n in range(20)]
        self.collector.load(lines([hit(m, label=f"{n:04}", version=f"v{n}", system=f"s{n}")
                                   for n in range(1500) for m in machines]))
        self.collector.load(lines([hit(m, label="known.later", version="late") for m in machines]), "hits-2.log")
        for table, column in [("feature_day", "label"), ("version_day", "version"), ("installation_day", "os")]:
            with self.subTest(column):
                self.assertEqual(self.collector.sql(f"SELECT count(DISTINCT {column}) FROM {table}"), "1001")
        other = self.feature(self.collector.report(), "(other)", "label")
        self.assertEqual(other["hits"], 501 * 20)
        self.collector.load(lines([hit(label="x" * 500, version="\\\\." + "\t\\n", system="%00")]), "hits-3.log")
        self.assertEqual(self.collector.hits(), 1501 * 20 + 1)

    def test_old_days_expire_and_other_keys_and_schemas_are_refused(self):
        self.collector.load(lines([hit()]))
        self.collector.sql("UPDATE feature_day SET day = current_date - 398")
        self.collector.load(lines([hit(label="new")]), "hits-2.log")
        self.assertEqual(self.collector.sql("SELECT string_agg(label, ',') FROM feature_day"), "new")
        self.collector.sql("UPDATE setting SET value = 'another' WHERE name = 'key'")
        self.collector.drop(lines([hit(label="third")]))
        wait_for(lambda: "the key is not the one" in self.collector.log())
        self.assertTrue((self.collector.data / "hits/hits-1.log").exists())
        self.collector.sql("UPDATE setting SET value = 99 WHERE name = 'schema'")
        self.assertEqual(self.collector.stop(), 0)
        self.collector.start(wait=False)
        wait_for(lambda: "newer than this collector" in self.collector.log())
        self.collector.sql("DELETE FROM setting WHERE name = 'key'; UPDATE setting SET value = 1")

    def test_a_year_of_a_fleet_fills_all_periods(self):
        year = subprocess.run([COLLECTOR + "/simulate.py", "--days", "365", "--machines", "200",
                               "--product", "c_host"], check=True, capture_output=True).stdout
        report = self.collector.load(year)
        self.assertEqual(self.collector.hits(), year.count(b"&ec=editor&"))
        self.assertEqual(sum(bool(period["features"]) for period in report["earlier"]), 12)
