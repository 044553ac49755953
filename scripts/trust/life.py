"""Processes that share a profile, are killed, exit, fork or reload the library, and a long queue."""
import collections
import concurrent.futures
import contextlib
import random
import re
import subprocess
import sys
import threading
import time
from xml.etree import ElementTree

from faults import DAYS, ITEM
from host import Host, Profile, environment, expect, wait_for
from peers import Nginx, Peer, keeps_silent


def expect_whole(profile):
    for name, content in profile.contents().items():
        expect("the answer is whole", name != "virk" or content in (b"0", b"1"), content)
        if name.endswith(".xml"):
            ElementTree.fromstring(content)  # raises an exception if the file is not well-formed


def watch(profile, ended):
    """@return how often the files were read until @p ended is set"""
    looks = 0
    while not ended.is_set():
        with contextlib.suppress(FileNotFoundError):
            expect_whole(profile)
            looks += 1
    return looks


def use_concurrently(peer, profile, count):
    """Each process makes two objects, and all of them start each step together."""
    with contextlib.ExitStack() as stack:
        hosts = [stack.enter_context(Host(profile, peer.url)) for _ in range(count)]
        for step in ("create", "consent 1", "notify p{}_ 2", "destroy", "create", "notify p{}_ 2 2", "destroy"):
            for number, host in enumerate(hosts):
                host.send(step.format(number))
            for host in hosts:
                host.answer()
        for host in hosts:
            host.end()


def share_profile(count, rounds):
    def case(full):
        looks = 0
        for _ in range(50 if full else rounds):
            with Peer() as peer, Profile(None) as profile, concurrent.futures.ThreadPoolExecutor() as watchers:
                ended = threading.Event()
                watcher = watchers.submit(watch, profile, ended)
                try:
                    use_concurrently(peer, profile, count)
                finally:
                    ended.set()
                looks += watcher.result()
                expect("no other files are left", sorted(profile.contents()) == [
                    "last_active_dates.xml", "uuid.xml", "virk"], profile.contents())
                ids = collections.defaultdict(list)
                for body in peer.bodies:
                    ids[re.search(r"el=p(\d+)_", body)[1]].append(re.search("cid=([^&]*)", body)[1])
            expect("each process reports", len(ids) == count, len(ids))
            for used in ids.values():
                expect("the first object uses one id", len(set(used[:2])) == 1, used)
                expect("four hits of each process arrive, the last two with the stored id", used[2:] == ids["0"][2:] and
                       len(used) == 4 and used[2] == used[3], (used, ids))
        return f"files of {count} processes read {looks} times"
    return case


def killed_while_saving(ci_rounds):
    """The file has ten years of days of use, so that saving it takes long enough for a kill."""
    def case(full):
        rounds, outcomes, longest = 500 if full else ci_rounds, collections.Counter(), 0
        old = DAYS.format("".join(ITEM.format(1 + day % 28) for day in range(3650)))
        with Peer() as peer, Profile() as profile:
            days, lock = (profile.settings() / f"last_active_dates.{suffix}" for suffix in ("xml", "lock"))
            for number in range(rounds):
                days.write_text(old)
                days.with_name("uuid.xml").unlink(missing_ok=True)
                with Host(profile, peer.url) as host:
                    host.tell("create")
                    start = time.monotonic()
                    host.send(f"consent {number % 2}", "notify n", "destroy")
                    if number % 20 != 1:
                        time.sleep(random.uniform(0, longest))
                    else:  # measures how long saving takes
                        host.answer(), host.answer(), host.answer()
                        longest = max(longest, time.monotonic() - start)
                expect_whole(profile)
                outcomes[days.read_text().count("<item>")] += 1
                outcomes["locks"] += lock.exists()
                lock.unlink(missing_ok=True)  # the documented remedy after a kill
                temporary = [name for name in profile.contents() if name.endswith(".tmp")]
                expect("at most three temporary files are left", len(temporary) <= 3, temporary)
            with Host(profile, peer.url) as host:
                host.tell("create", "notify n", "destroy")
                host.end()
        expect("no day is lost", set(outcomes) <= {3650, 3651, "locks"}, outcomes)
        return f"{rounds} kills: {outcomes[3650]} old files, {outcomes[3651]} new ones, {outcomes['locks']} lock files left"
    return case


def ending(prepare, line, logs, behave=None):
    """At most a third of the processes may hang at exit, because Wine hangs in some of them (docs/guarantees.md)."""
    def case(full):
        longest, hung, rounds = 0, 0, (40 if full else 6) if Host.windows else (20 if full else 3)
        with Peer(behave) as peer, Profile() as profile:
            for _ in range(rounds):
                with Host(profile, peer.url, logs=logs) as host:
                    host.tell(*prepare)
                    try:
                        longest = max(longest, host.end(line, 10 if Host.windows else None))
                    except subprocess.TimeoutExpired:
                        hung += 1
        expect("at least two processes in three exit", hung * 3 <= rounds, hung)
        expect("exit does not wait for the collector", longest < 4, longest)
        return f"{rounds} processes, {hung} hung, the others had status 0 after at most {longest * 1000:.0f} ms"
    return case


def endings(hosts, states):
    """Three ways to exit: return from main, call exit, or call _exit (on Windows ExitProcess)."""
    states = {"live handle": ["create", "notify n 20"]} | states
    cases = {f"host {name}, {state}, {line}": ending(commands, line, logs) for name, logs in hosts.items()
             for state, commands in states.items() for line in ("return", "leave exit", "leave")}
    return cases | {f"host {name}, silent collector, {line}": ending(states["live handle"], line, logs, keeps_silent)
                    for (name, logs), line in zip(hosts.items(), ("return", "leave exit"))}


def forked(full):
    rounds = 50 if full else 5
    for logs in (False, True):
        with Peer() as peer, Profile() as profile, Host(profile, peer.url, logs=logs) as host:
            host.tell("create", "get")
            for number in range(rounds):
                host.tell(f"notify n 100 {number * 100}")  # keeps the sending thread busy during the fork
                _, status = host.tell("fork")
                expect("the child exits with 0", status == "0", status)
            host.tell("destroy")
            host.end()
            seen = collections.Counter(re.sub(r"\d", "", label) for label in peer.arrived())
            expect("the parent's hits and those of the child's own object arrive",
                   seen == {"n": rounds * 100, "child": rounds, "shared": 1}, seen)
    return f"{2 * rounds} children used and destroyed the inherited objects, and delivered one hit each"


RELOAD = """
import _ctypes, ctypes, os, sys
def cycle():
    library = ctypes.CDLL(sys.argv[1])
    library.ostrel_create_statistic.restype = ctypes.c_void_p
    handle = ctypes.c_void_p(library.ostrel_create_statistic(b"trust", b"1"))
    library.ostrel_notify_feature_usage(handle, b"run.reloaded")
    library.ostrel_destroy_statistic(handle)
    _ctypes.dlclose(library._handle)
for rounds in 20, int(sys.argv[2]):
    for _ in range(rounds): cycle()
    print(len(os.listdir("/proc/self/fd")), len(os.listdir("/proc/self/task")),
          int(open("/proc/self/statm").read().split()[1]) * 4)
"""


def reloaded(full):
    rounds = 200 if full else 40
    library = next((Host.build / "src").glob("libostrel.so.?.?.?"))
    with Peer() as peer, Profile() as profile:
        output = subprocess.run([sys.executable, "-c", RELOAD, library, str(rounds)], stdout=subprocess.PIPE, text=True,
                                env=environment(profile, peer.url), check=True).stdout
        expect("all hits arrive", len(peer.bodies) == rounds + 20, len(peer.bodies))
    *before, old_memory, descriptors, threads, memory = map(int, output.split())
    expect("the numbers of descriptors and threads do not change", before == [descriptors, threads], output)
    expect("memory grows by less than 1 MiB", memory - old_memory < 1024, output)
    return f"{rounds} times: {before[0]} descriptors, {before[1]} threads, {memory - old_memory:+d} KiB"


def queue(ci_count):
    def case(full):
        count = 1_000_000 if full else ci_count
        with Nginx() as collector, Profile() as profile, Host(profile, collector.url) as host:
            host.tell("create warm-up", "destroy")
            before = host.state()[2]
            host.tell("create")
            queued, _ = host.tell(f"notify n {count}")
            peak = host.state()[2]
            delivered, _ = host.tell("destroy")
            after = host.state()[2]
            host.end()
            wait_for("number of hits", lambda: len(collector.arrived()), count)
            expect("hits arrive in order", collector.arrived() == [f"n{number}" for number in range(count)])
        expect("memory grows by less than 0.6 KiB a hit plus 8 MiB", peak - before < count * 0.6 + 8192, (before, peak))
        return f"{count} queued in {queued:.0f} ms, delivered in {delivered:.0f} ms; KiB: {before}, {peak}, {after}"
    return case
