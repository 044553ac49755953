#!/usr/bin/env python3
"""Writes a log file with the hits of simulated machines, to test reports and to measure."""
import argparse
import bisect
import datetime
import itertools
import math
import random
import sys
import urllib.parse

AREAS = ("editor", "debugger", "project", "search", "build", "terminal", "report", "review")
VERBS = ("open", "close", "save", "attach", "rename", "move", "print", "compare", "export", "import", "undo",
         "format", "find", "replace", "step", "watch", "fold", "split", "preview", "archive", "compile", "test", "run",
         "stop", "sort")
SYSTEMS = ("Debian GNU/Linux 12 (bookworm)", "Ubuntu 24.04 LTS", "Fedora Linux 41", "Windows 10 Pro",
           "Windows 11 Enterprise", "Undefined Windows Version", "Arch Linux")


def feature_names(count):
    names = [f"{area}.{verb}" for verb in VERBS for area in AREAS]
    return [names[i % len(names)] + (f"_{i // len(names) + 1}" if i >= len(names) else "") for i in range(count)]


class Fleet:
    def __init__(self, options):
        self.random = random.Random(options.seed)
        self.options = options
        self.features = feature_names(options.features)
        weights = [1 / (rank + 1) ** 0.9 for rank in range(len(self.features))]
        # The use of every fifth feature grows over time, the use of every seventh feature falls.
        self.growth = [2 if rank % 5 == 3 else -1 if rank % 7 == 6 else 0 for rank in range(len(weights))]
        self.weights = weights
        self.machines = [self.machine(number) for number in range(options.machines)]

    def machine(self, number):
        rng = self.random
        identity = "%08X-%04X-%04X-%04X-%012X" % (number, *(rng.getrandbits(16) for _ in range(3)), rng.getrandbits(48))
        system = urllib.parse.quote(SYSTEMS[min(int(rng.expovariate(0.6)), len(SYSTEMS) - 1)], safe="")
        return identity, system, rng.random(), rng.random()  # how late it upgrades, and how often it is used

    def version(self, lag, progress):
        newest = progress * self.options.versions - lag * 2
        return f"2.{max(0, min(math.floor(newest), self.options.versions - 1))}"

    def day_of_hits(self, progress):
        options = self.options
        total = list(itertools.accumulate(
            weight * (1 + growth * progress if growth >= 0 else 1.02 - progress)
            for weight, growth in zip(self.weights, self.growth)))
        for identity, system, lag, use in self.machines:
            if self.random.random() > 0.2 + 0.6 * use:
                continue
            head = (f"v=1&tid=UA-40271936-07&cid={identity}&an={options.product}&av={self.version(lag, progress)}"
                    f"&cd1=win32&cd2={system}&t=event&ec=")
            for _ in range(max(1, int(self.random.expovariate(1 / options.hits)))):
                name = self.features[bisect.bisect(total, self.random.random() * total[-1])]
                category, _, label = name.partition(".")
                yield f"{head}{category}&el={label}&cd3={'y' if use > 0.4 else 'n'}"


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--days", type=int, default=30)
    parser.add_argument("--last", type=datetime.date.fromisoformat,
                        default=datetime.datetime.now(datetime.timezone.utc).date(), help="last day (today, in UTC)")
    parser.add_argument("--machines", type=int, default=1000)
    parser.add_argument("--hits", type=float, default=5, help="mean number of hits per day of an active machine")
    parser.add_argument("--features", type=int, default=200)
    parser.add_argument("--versions", type=int, default=5)
    parser.add_argument("--product", default="my_host")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--print-filter", action="store_true", help="print the event filter and exit")
    options = parser.parse_args()
    if options.print_filter:
        names = AREAS + ("macro", "plugin.install", "editor.dictation")
        events = "".join(f'<event><name type="string">{name}</name></event>' for name in names)
        print(f"<bag>{events}</bag>")
        return
    fleet = Fleet(options)
    for day in range(options.days):
        date = options.last - datetime.timedelta(days=options.days - 1 - day)
        second = (date.toordinal() - 719163) * 86400
        progress = (day + 1) / options.days
        sys.stdout.writelines(f"{second}.{number % 1000:03} {hit}\n"
                              for number, hit in enumerate(fleet.day_of_hits(progress)))


if __name__ == "__main__":
    main()
