#!/usr/bin/env python3
"""Draws an SVG from the benchmarks' JSON: the cost of a notification against the number of names, threads and hits."""

import argparse
import json
import math

WIDTH, HEIGHT, LEFT, TOP, GAP = 300, 200, 60, 50, 70
PANELS = (
    ("names in the filter", (("routed", "notify/routed/"), ("not in the filter", "notify/missed/")), "cpu_time"),
    ("concurrent threads", (("routed, each thread", "threads/"),), "ns"),
    ("consecutive hits", (("routed", "hits/"),), "real_time"),
)
COLOURS = ("#1f5fa8", "#c2571a")


def points(runs, prefix, figure):
    """Returns (argument, nanoseconds) of every run with that prefix, sorted by argument."""
    found = {}
    for run in runs:
        name = run["name"]
        if name.startswith(prefix):
            found[int(name[len(prefix):].split("/")[0])] = run[figure]
    return sorted(found.items())


def round_up(value):
    """Rounds up to 1, 2 or 5 times a power of ten."""
    power = 10 ** math.floor(math.log10(value))
    return next(step * power for step in (1, 2, 5, 10) if step * power >= value)


def text(x, y, content, anchor="middle", extra=""):
    return f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" {extra}>{content}</text>'


def panel(left, title, curves):
    """Draws one diagram: the x axis is logarithmic, the y axis is linear and starts at zero."""
    arguments = [argument for _, curve in curves for argument, _ in curve]
    highest = round_up(max(value for _, curve in curves for _, value in curve))
    first, last = math.log10(min(arguments)), math.log10(max(arguments))

    def x_of(argument):
        return left + WIDTH * (math.log10(argument) - first) / (last - first)

    def y_of(value):
        return TOP + HEIGHT * (1 - value / highest)

    parts = [text(left + WIDTH / 2, TOP + HEIGHT + 36, title)]
    for quarter in range(5):
        value = highest * quarter / 4
        parts.append(f'<path d="M{left} {y_of(value):.1f}h{WIDTH}" stroke="#ddd"/>')
        parts.append(text(left - 6, y_of(value) + 4, f"{value:g}", "end"))
    for argument in sorted(set(arguments)):
        parts.append(text(x_of(argument), TOP + HEIGHT + 16, f"{argument:,}"))
    for number, (label, curve) in enumerate(curves):
        line = " ".join(f"{x_of(argument):.1f},{y_of(value):.1f}" for argument, value in curve)
        parts.append(f'<polyline points="{line}" fill="none" stroke="{COLOURS[number]}" stroke-width="2"/>')
        for argument, value in curve:
            parts.append(f'<circle cx="{x_of(argument):.1f}" cy="{y_of(value):.1f}" r="3" fill="{COLOURS[number]}"/>')
        parts.append(text(left, TOP - 22 + 14 * number, label, "start", f'fill="{COLOURS[number]}"'))
    return parts


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("figures", help="JSON file of the benchmarks")
    parser.add_argument("drawing", help="SVG file to write")
    arguments = parser.parse_args()
    with open(arguments.figures, encoding="utf-8") as source:
        runs = json.load(source)["benchmarks"]
    parts = []
    for number, (title, curves, figure) in enumerate(PANELS):
        left = LEFT + number * (WIDTH + GAP)
        parts += panel(left, title, [(label, points(runs, prefix, figure)) for label, prefix in curves])
    width = LEFT + len(PANELS) * (WIDTH + GAP)
    with open(arguments.drawing, "w", encoding="utf-8") as target:
        target.write(f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{TOP + HEIGHT + 50}" '
                     'font-family="sans-serif" font-size="12">\n<rect width="100%" height="100%" fill="white"/>\n')
        target.write(text(8, 16, "processor time of the caller, ns per notification", "start") + "\n")
        target.write("\n".join(parts) + "\n</svg>\n")


main()
