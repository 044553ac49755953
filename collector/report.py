#!/usr/bin/env python3
"""Writes the counts as report.json, report.csv and one static page."""
import argparse
import base64
import csv
import datetime
import glob
import hashlib
import html
import io
import json
import os
import re
import shutil
import subprocess
import sys

from database import query, read_filters

HERE = os.path.dirname(os.path.abspath(__file__))
CHARTS = "/usr/share/javascript/chart.js/chart.min.js"
PERIODS, DAYS = 13, 30


def read_counts(threshold):
    """Returns the periods, latest first, the refused hits, the last load and the sample rate. Periods must not overlap:
    the difference of their numbers could stand for fewer machines than the threshold."""
    periods = "".join(f"SELECT period(current_date - {DAYS * (n + 1) - 1}, current_date - {DAYS * n}, :threshold);\n"
                      for n in range(PERIODS))
    *lines, refused, last_load, sample = query(periods + f"""
        SELECT coalesce(json_object_agg(reason, hits), '{{}}') FROM (SELECT reason, sum(hits) AS hits FROM refused_day
            WHERE day > current_date - {DAYS} GROUP BY reason ORDER BY reason) AS r;
        SELECT to_json(to_char(max(loaded), 'YYYY-MM-DD"T"HH24:MI:SS"Z"')) FROM loaded_file;
        SELECT coalesce(min(rate), 1) FROM sample_day WHERE day > current_date - {DAYS};
        """, threshold=threshold).split("\n")[:-1]
    return [json.loads(line) for line in lines], json.loads(refused), json.loads(last_load or "null"), float(sample)


def unused_names(period, filters):
    used = {tuple(pair) for pair in period.pop("used")}
    products = {item["product"] for item in period["products"]} | set(filters) - {None}
    return [{"product": product, "name": name} for product in sorted(products)
            for name in sorted(filters.get(None, set()) | filters.get(product, set())) if (product, name) not in used]


def make_report(arguments):
    filters = read_filters(arguments.filter)
    periods, refused, last_load, sample = read_counts(arguments.threshold)
    for period in periods:
        period["unused"] = unused_names(period, filters)
    disk = shutil.disk_usage(arguments.data)
    return {
        "schema": 1, "generated": datetime.datetime.utcnow().strftime("%Y-%m-%dT%H:%M:%SZ"),
        "threshold": arguments.threshold, "sample": round(sample, 4), **periods[0], "refused": refused,
        "last_load": last_load, "backlog_files": len(glob.glob(os.path.join(arguments.data, "hits", "hits-*.log"))),
        "disk": {"free": disk.free, "total": disk.total}, "interval": arguments.interval, "earlier": periods[1:]}


def spreadsheet_text(text):
    """Puts an apostrophe before text that a spreadsheet would read as a formula. Anyone can send such text."""
    return "'" + text if text[:1] in ("=", "+", "-", "@", "\t", "\r") else text


def make_csv(report):
    file = io.StringIO()
    writer = csv.writer(file)
    writer.writerow(["from", "to", "product", "category", "label", "hits", "machines", "regular_machines"])
    for period in [report] + report["earlier"]:
        for feature in period["features"]:
            texts = [spreadsheet_text(feature[key] or "") for key in ("product", "category", "label")]
            writer.writerow([period["from"], period["to"], *texts, feature["hits"], feature["machines"],
                             feature["regular_machines"]])
    return file.getvalue()


def feature_name(feature):
    return feature["category"] + ("." + feature["label"] if feature["label"] else "")


def table_rows(rows):
    """Returns the rows of a table in HTML. None is a number that is not shown."""
    def cell(value):
        if isinstance(value, str):
            return f"<td><bdi>{html.escape(value)}</bdi></td>"
        text = "–" if value is None else f"{value:.0%}" if isinstance(value, float) else f"{value:,}"
        return f'<td class="number">{text}</td>'
    return "\n".join("<tr>" + "".join(map(cell, row)) + "</tr>" for row in rows) or '<tr><td colspan="8">none</td></tr>'


def static_tables(report):
    """Returns the tables for a browser without scripts. Otherwise page.js replaces them."""
    machines = {product["product"]: product["machines"] for product in report["products"]}
    before = {(f["product"], f["category"], f["label"]): f["machines"] for f in report["earlier"][0]["features"]}
    features = ((f["product"], feature_name(f), f["machines"],
                 min(1.0, f["machines"] / machines.get(f["product"], f["machines"])),
                 before.get((f["product"], f["category"], f["label"])), f["regular_machines"], f["hits"],
                 ", ".join(f"{v['version']} ({v['machines']:,})" for v in f["versions"])) for f in report["features"])
    return {
        "features": table_rows(features),
        "installations": table_rows((i["product"], i["os"], i["machines"], i["regular_machines"])
                                    for i in report["installations"]),
        "unused": table_rows((u["product"], u["name"]) for u in report["unused"]),
        "refused": table_rows(report["refused"].items())}


def content_hash(text):
    return "'sha256-" + base64.b64encode(hashlib.sha256(text.encode()).digest()).decode() + "'"


def read(*path):
    with open(os.path.join(*path), encoding="utf-8") as file:
        return file.read()


def make_page(report):
    """Returns the page as one file. Its security policy allows only the scripts and the style in this file."""
    template, charts, script = read(HERE, "page.html"), read(CHARTS), read(HERE, "page.js")
    style = re.search(r"<style>(.*?)</style>", template, re.DOTALL)[1]
    fields = {
        "policy": f"default-src 'none'; script-src {content_hash(charts)} {content_hash(script)}; "
                  f"style-src {content_hash(style)}; base-uri 'none'; form-action 'none'",
        "charts": charts, "script": script, "data": json.dumps(report).replace("<", "\\u003c"),
        "from": report["from"], "to": report["to"], "generated": report["generated"],
        "last_load": report["last_load"] or "never", "threshold": str(report["threshold"]),
        "backlog": str(report["backlog_files"]), "free": f"{report['disk']['free'] / report['disk']['total']:.0%}",
        "sample": "" if report["sample"] == 1 else f"Only {report['sample']:.2%} of the machines are counted.",
        **static_tables(report)}
    return re.sub(r"@(\w+)@", lambda match: fields[match[1]], template)


def write(folder, name, text):
    path = os.path.join(folder, name)
    with open(path + ".tmp", "w", encoding="utf-8", newline="") as file:
        file.write(text)
    os.replace(path + ".tmp", path)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--data", required=True, help="data folder of the collector; writes to DATA/page")
    parser.add_argument("--threshold", type=int, default=20, help="fewest machines for which a number is shown")
    parser.add_argument("--filter", action="append", default=[], metavar="[PRODUCT=]FILE", help="event filter")
    parser.add_argument("--interval", type=int, default=60, help="seconds between two loads")
    arguments = parser.parse_args()
    try:
        report = make_report(arguments)
        folder = os.path.join(arguments.data, "page")
        write(folder, "report.json", json.dumps(report))
        write(folder, "report.csv", make_csv(report))
        write(folder, "index.html", make_page(report))
    except subprocess.CalledProcessError:
        sys.exit("report.py: the database failed, so the page was not updated")
    except OSError as error:
        sys.exit(f"report.py: the page was not updated: {error}")


if __name__ == "__main__":
    main()
