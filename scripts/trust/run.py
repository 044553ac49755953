#!/usr/bin/env python3
"""Exposes hosts of the library to faults of their environment, and prints the results as tables."""
import argparse
import os
import pathlib
import signal
import sys
import time
import traceback

import faults
import host
import life
import privacy

LINUX = {
    "disks": faults.DISKS,
    "faults": faults.CASES | faults.LINUX_ONLY,
    "processes": {"16 processes on a fresh profile": life.share_profile(16, rounds=5),
                  "kill -9 while saving": life.killed_while_saving(60), "fork": life.forked,
                  "dlopen, use, dlclose": life.reloaded},
    "ends": life.endings({"without a log": False, "with log4cplus": True},
                         {"live shared object": ["get"], "four threads reporting": ["create", "busy 4"]}),
    "million": {"a long queue": life.queue(20_000)}, "privacy": privacy.CASES | privacy.LINUX_ONLY}
WINDOWS = {
    "disks": faults.DISKS,
    "faults": faults.CASES | faults.UNDER_WINE,
    "processes": {"8 processes on a fresh profile": life.share_profile(8, rounds=2),
                  "kill -9 while saving": life.killed_while_saving(30)},
    "ends": life.endings({"without a log": False}, {"four threads reporting": ["create", "busy 4 1"]}),
    "million": {"a long queue": life.queue(100_000)}, "privacy": privacy.CASES}
AS_ROOT = {"faults", "disks"}  # mount disks, enter namespaces


def hang(*_):
    raise TimeoutError("the case hangs")


def run(name, case, full):
    """@return whether the case passed"""
    start = time.monotonic()
    signal.alarm(3600 if full else 300)
    try:
        outcome, passed = case(full), True
    except Exception as error:  # the other cases still run
        outcome, passed = f"**FAILED**: {error}", False
        if not isinstance(error, host.Fault):
            traceback.print_exc()
    signal.alarm(0)
    print(f"| {name} | {outcome} | {time.monotonic() - start:.1f} |", flush=True)
    return passed


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("groups", nargs="*", help=f"groups of cases: {', '.join(LINUX)} (default: all)")
    parser.add_argument("--windows", action="store_true", help="test the Windows build, under Wine")
    parser.add_argument("--build", type=pathlib.Path, help="build tree (build/linux or build/windows)")
    parser.add_argument("--full", action="store_true", help="more repetitions (about seven minutes)")
    parser.add_argument("--case", default="", help="run only the cases whose name contains this text")
    options = parser.parse_args()
    host.Host.windows = options.windows
    host.Host.build = (options.build or pathlib.Path("build", "windows" if options.windows else "linux")).resolve()
    available = WINDOWS if options.windows else LINUX
    groups = options.groups or sorted(available)
    if unknown := set(groups) - set(available):
        parser.error(f"no such group: {', '.join(unknown)}")
    if os.geteuid() and AS_ROOT & set(groups):
        parser.error(f"needs root: {', '.join(sorted(AS_ROOT))}")
    signal.signal(signal.SIGALRM, hang)
    failed = 0
    for group in groups:
        print(f"\n| {group} | result | s |\n|---|---|---|", flush=True)
        failed += sum(not run(name, case, options.full) for name, case in available[group].items()
                      if options.case in name)
    print(f"\n{failed} cases failed")
    sys.exit(failed > 0)


if __name__ == "__main__":
    main()
