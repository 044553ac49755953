#!/usr/bin/env python3
"""Puts hosts of the library through what a host's process may meet, and prints what came of it as a table."""
import argparse
import os
import pathlib
import sys
import time
import traceback

import faults
import host
import life
import privacy
import windows

GROUPS = {"faults": faults.CASES, "disks": faults.DISKS, "processes": life.PROCESSES, "ends": life.ENDS,
          "storm": life.STORM, "million": life.MILLION, "privacy": privacy.CASES}
AS_ROOT = {"faults", "disks"}  # mount disks, change users
IN_CI = ["faults", "disks", "processes", "ends", "million", "privacy"]


def run(name, case, full):
    """@return whether the promise was kept"""
    start = time.monotonic()
    try:
        outcome, kept = case(full), True
    except Exception as error:  # one case must not hide the others
        outcome, kept = f"**FAILED**: {error}", False
        if not isinstance(error, host.Fault):
            traceback.print_exc()
    print(f"| {name} | {outcome} | {time.monotonic() - start:.1f} |", flush=True)
    return kept


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("groups", nargs="*", help=f"of {', '.join(GROUPS)}; without any: all but storm")
    parser.add_argument("--windows", action="store_true", help="the Windows build, under Wine")
    parser.add_argument("--build", type=pathlib.Path, help="build tree (build/linux or build/windows)")
    parser.add_argument("--full", action="store_true", help="the long counts, some seven minutes")
    parser.add_argument("--case", default="", help="only cases whose name contains this")
    options = parser.parse_args()
    system = "windows" if options.windows else "linux"
    host.Host.windows = options.windows
    host.Host.build = (options.build or pathlib.Path("build", system)).resolve()
    available = windows.GROUPS if options.windows else GROUPS
    groups = options.groups or [group for group in IN_CI if group in available]
    if unknown := set(groups) - set(available):
        parser.error(f"no such group: {', '.join(unknown)}")
    if os.geteuid() and (refused := AS_ROOT & set(groups)):
        parser.error(f"needs root: {', '.join(sorted(refused))}")
    broken = 0
    for group in groups:
        print(f"\n| {group} | what was seen | s |\n|---|---|---|", flush=True)
        broken += sum(not run(name, case, options.full) for name, case in available[group].items()
                      if options.case in name)
    print(f"\n{broken} promises broken" if broken else "\nall promises kept")
    sys.exit(broken > 0)


if __name__ == "__main__":
    main()
