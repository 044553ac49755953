"""Many processes at once, kills, ends of processes, forks, reloading, threads, and a very long queue."""
import collections
import contextlib
import multiprocessing
import os
import pathlib
import random
import re
import subprocess
import sys
import time
import xml.etree.ElementTree

from host import Host, Profile, environment, expect
from peers import OK, Nginx, Peer, keeps_silent

ID = re.compile(r"[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}")


# --- processes that share a profile ------------------------------------------------------------------------------

def flaw(path):
    """What is wrong with a file of ours; nothing where it is well-formed or has just gone."""
    try:
        content = path.read_bytes()
    except OSError:
        return None
    if path.suffix in (".tmp", ".lock"):
        return None  # drafts and locks are not read by anybody
    if path.name == "virk":
        return None if content in (b"0", b"1") else f"virk holds {content!r}"
    try:
        root = xml.etree.ElementTree.fromstring(content)
    except xml.etree.ElementTree.ParseError as error:
        return f"{path.name}: {error}: {content[:80]!r}"
    if path.name == "uuid.xml" and not ID.fullmatch(root.findtext("UUID") or ""):
        return f"uuid.xml holds {content!r}"
    return None


def watch(profile, stop, results):
    company = profile.virk.parent
    paths = [profile.virk, *(company / "trust/settings/statistic" / name
                             for name in ("uuid.xml", "last_active_dates.xml"))]
    looks, flaws = 0, []
    while not stop.is_set():
        for path in paths:
            looks += 1
            if (found := flaw(path)) and len(flaws) < 5:
                flaws.append(found)
    results.put((looks, flaws))


def all_at_once(peer, profile, count):
    hosts = [Host(profile, peer.url) for _ in range(count)]
    try:
        for commands in (["create"], ["consent 1"], [f"notify p{{}}_ 2"], ["destroy"], ["create", "notify p{}_ 2 2"],
                         ["destroy"]):
            for number, host in enumerate(hosts):
                for command in commands:
                    host.send(command.format(number))
            for host in hosts:
                for _ in commands:
                    host.answer()
        for host in hosts:
            host.end()
    finally:
        for host in hosts:
            host.__exit__()


def together(full, count, rounds_in_ci):
    rounds, looks, ids = 50 if full else rounds_in_ci, 0, 0
    for _ in range(rounds):
        with Peer() as peer, Profile(consent=False) as profile:
            stop, results = multiprocessing.Event(), multiprocessing.Queue()
            watcher = multiprocessing.Process(target=watch, args=(profile, stop, results))
            watcher.start()
            try:
                all_at_once(peer, profile, count)
            finally:
                stop.set()
                seen, flaws = results.get(timeout=60)
                watcher.join()
            expect("files are well-formed whenever looked at", not flaws, flaws)
            expect("nothing but the files is left", [path.name for path in profile.files()] ==
                   ["last_active_dates.xml", "uuid.xml", "virk"], profile.files())
            of_process = collections.defaultdict(list)
            for body in peer.bodies:
                of_process[re.search("el=p(\\d+)_", body)[1]].append(re.search("cid=([^&]*)", body)[1])
            # Two objects of one process: each keeps its id; the second reads the one that was written last.
            for number, used in of_process.items():
                expect("one id for an object's life", len(used) == 4 and len(set(used[:2])) == len(set(used[2:])) == 1,
                       (number, used))
            expect("all report", len(of_process) == count, len(of_process))
            expect("all later objects have the id on file", len({used[2] for used in of_process.values()}) == 1)
            looks, ids = looks + seen, max(ids, len({used[0] for used in of_process.values()}))
    return (f"{rounds} rounds of {count}: {looks} looks at files, each well-formed; all {count * 4} hits of each "
            f"round arrived, one id for each object; up to {ids} ids before the first was on file")


def sixteen_processes(full):
    return together(full, 16, rounds_in_ci=5)


def killed_while_saving(full, counts=(500, 60)):
    """The days of use of ten years, so that saving takes a while, and a kill somewhere in it."""
    rounds, outcomes, locks, drafts = counts[0 if full else 1], collections.Counter(), 0, 0
    item = '  <item>\n    <D type="int">{}</D>\n    <M type="int">3</M>\n    <Y type="int">2014</Y>\n  </item>\n'
    old = '<?xml version="1.0"?>\n<bag>\n' + "".join(item.format(1 + day % 28) for day in range(3650)) + "</bag>\n"
    with Peer() as peer, Profile() as profile:
        folder = profile.settings()
        folder.mkdir(parents=True)
        days, lock = folder / "last_active_dates.xml", folder / "last_active_dates.lock"
        longest = 0.02
        for number in range(rounds):
            days.write_text(old)
            before = profile.virk.read_text()
            folder.joinpath("uuid.xml").unlink(missing_ok=True)
            with Host(profile, peer.url) as host:
                host.tell("create") if number % 4 else host.send("create")
                host.send(f"consent {number % 2}")
                host.send("notify n 1")
                if number % 4:
                    host.answer(), host.answer()
                if number % 20 == 1:  # how long it takes when it is left alone
                    longest = max(longest, host.tell("destroy")[0] / 1000)
                else:
                    host.send(f"die {random.uniform(0, longest) * 1000}")
                    host.send("destroy")
                    # A TerminateProcess may hang in Wine, with the threads stopped. What is left is killed here.
                    with contextlib.suppress(subprocess.TimeoutExpired):
                        host.process.wait(10)
            now = days.read_text()
            expect("the days are the old or the new ones", now == old or (now.startswith(old[:-7]) and
                   now.count("<item>") == 3651 and now.endswith("</item>\n</bag>\n")), now[-200:])
            for path in profile.files():
                expect("a file is whole", not (found := flaw(path)), found)
            expect("the answer is the old or the new one", profile.virk.read_text() in (before, str(number % 2)))
            outcomes["old" if now == old else "new"] += 1
            locks += lock.exists()
            lock.unlink(missing_ok=True)  # by hand, as documented
            left = [path.name for path in profile.files() if path.suffix == ".tmp"]
            expect("drafts do not pile up", len(left) <= 3, left)
            drafts = max(drafts, len(left))
        with Host(profile, peer.url) as host:
            for command in ("create", "notify n 1", "destroy"):
                host.tell(command)
            host.end()
    return (f"{rounds} kills: days of use {outcomes['old']} times the old, {outcomes['new']} times the new file, never "
            f"another; {locks} times the lock file stayed; never more than {drafts} drafts (.tmp) beside the files")


# --- ends of processes -------------------------------------------------------------------------------------------

def ending(line, prepare, logs, silent=False):
    def case(full):
        rounds, longest = 20 if full else 3, 0.0
        with Peer() as peer, Profile() as profile:
            if silent:
                peer.behave = keeps_silent(peer.ended)
            for _ in range(rounds):
                with Host(profile, peer.url, logs=logs) as host:
                    for command in prepare:
                        host.tell(command)
                    longest = max(longest, host.end(line))
        expect("ends at once", longest < 4 or not silent, longest)
        return f"{rounds} times status 0, at most {longest * 1000:.0f} ms"
    return case


def endings():
    live = {"live handle": ["create", "notify n 20"], "live shared object": ["get"],
            "live handle, four threads reporting": ["create", "busy 4"]}
    for logs, who in ((False, "host without a log"), (True, "host with log4cplus")):
        for name, prepare in live.items():
            for line, how in (("return", "returns from main"), ("leave exit", "exit"), ("leave _exit", "_exit")):
                yield f"{who}, {name}, {how}", ending(line, prepare, logs)
    yield "live handle, silent collector, returns from main", ending("return", ["create", "notify n 3"], False, True)
    yield "live handle, silent collector, exit, log4cplus", ending("leave exit", ["create", "notify n 3"], True, True)


def forked(full):
    rounds = 50 if full else 5
    for logs in (False, True):
        with Peer() as peer, Profile() as profile, Host(profile, peer.url, logs=logs) as host:
            host.tell("create")
            host.tell("get")
            for number in range(rounds):
                host.tell(f"notify n 100 {number * 100}")  # the sending thread is at work when the fork comes
                expect("the child ends", (ended := host.tell("fork")[1]) == "exit 0", ended)
            host.tell("destroy")
            host.end()
            seen = collections.Counter(re.sub(r"\d", "", name) for name in peer.arrived())
            expect("the parent delivers, the child what is its own",
                   seen == {"n": rounds * 100, "child": rounds, "shared": 1}, seen)
    return (f"2 x {rounds} forks with hits in flight: every child used and destroyed what it inherited, delivered from an "
            f"object of its own and exited with 0; the parent delivered all {2 * rounds * 100}")


RELOAD = """
import _ctypes, ctypes, os, sys
def state(): return [len(os.listdir("/proc/self/fd")), len(os.listdir("/proc/self/task")),
                     int(open("/proc/self/statm").read().split()[1]) * 4]
def cycle():
    library = ctypes.CDLL(sys.argv[1])
    library.ostrel_create_statistic.restype = ctypes.c_void_p
    handle = ctypes.c_void_p(library.ostrel_create_statistic(b"trust", b"1"))
    library.ostrel_notify_feature_usage(handle, b"run.reloaded")
    library.ostrel_destroy_statistic(handle)
    _ctypes.dlclose(library._handle)
for _ in range(20): cycle()
before = state()
for _ in range(int(sys.argv[2])): cycle()
print(*before, *state(), int("libostrel" in open("/proc/self/maps").read()))
"""


def reloaded(full):
    rounds = 200 if full else 40
    library = next((Host.build / "src").glob("libostrel.so.?.?.?"))
    with Peer() as peer, Profile() as profile:
        run = subprocess.run([sys.executable, "-c", RELOAD, str(library), str(rounds)], capture_output=True, text=True,
                             timeout=600, env=environment(profile, peer.url), check=False)
        expect("the host lives and ends with 0", run.returncode == 0, (run.returncode, run.stderr[-500:]))
        *numbers, mapped = map(int, run.stdout.split())
        expect("all arrived", len(peer.bodies) == rounds + 20, len(peer.bodies))
    expect("descriptors and threads stay", numbers[:2] == numbers[3:5], numbers)
    expect("memory stays", numbers[5] - numbers[2] < 1024, numbers)
    return (f"{rounds} times: {numbers[0]} descriptors and {numbers[1]} threads before and after, resident memory "
            f"{numbers[5] - numbers[2]:+d} KiB; the library is {'still' if mapped else 'not'} mapped afterwards")


def threads(_full):
    with Peer() as peer, Profile() as profile, Host(profile, peer.url) as host:
        (_, bare), _ = host.state()
        host.tell("create")
        host.tell("notify n 1")
        (_, one), _ = host.state()
        host.tell("get")
        (_, two), _ = host.state()
        host.tell("destroy")
        host.tell("release")
        (_, none), _ = host.state()
        host.end()
    expect("one thread an object", (one, two, none) == (bare + 1, bare + 2, bare), (bare, one, two, none))
    return f"{bare} in a host that has only loaded the library (log4cplus's pool); +1 for each object, none afterwards"


# --- many threads, many hits -------------------------------------------------------------------------------------

def storm(full):
    rounds = 50 if full else 10
    with Peer() as peer, Profile() as profile, Host(profile, peer.url) as host:
        for _ in range(rounds):  # a fresh list of days for each, so that eight threads record the first one
            profile.settings("storm").joinpath("last_active_dates.xml").unlink(missing_ok=True)
            host.tell("storm")
        host.end()
        return f"{rounds} rounds of 8 threads; {len(peer.bodies)} hits arrived over {peer.connections} connections"


def million(full, count_in_ci=20_000):
    count = 1_000_000 if full else count_in_ci
    with Nginx() as collector, Profile() as profile, Host(profile, collector.url) as host:
        host.PATIENCE = 3600
        host.tell("create warm-up")
        host.tell("destroy")
        (_, before) = host.state()
        host.tell("create")
        queued_in, _ = host.tell(f"notify n {count}")
        (_, peak) = host.state()
        start = time.monotonic()
        host.send("destroy")
        while (seen := len(collector.arrived())) < count:
            expect("hits keep arriving", time.monotonic() - start < 1800, seen)
            expect("the host lives", host.process.poll() is None, host.process.poll())
            time.sleep(2 if count > 20_000 else 0.1)
        host.answer()
        (_, after) = host.state()
        host.end()
        seen = collector.arrived()
        expect("all arrive in order", seen == [f"n{number}" for number in range(count)], len(seen))
    expect("memory is bounded by the queue", peak - before < count * 0.6 + 8192, (before, peak))
    return (f"{count} hits, queued in {queued_in / 1000:.1f} s, delivered after {time.monotonic() - start:.0f} s more, in "
            f"order; resident {before} KiB before, {peak} with the queue full "
            f"({(peak - before) * 1024 / count:.0f} bytes a hit), {after} after")


PROCESSES = {"16 processes on a fresh profile": sixteen_processes, "kill -9 while saving": killed_while_saving,
             "fork": forked, "dlopen, use, dlclose": reloaded, "threads": threads}
ENDS = dict(endings())
STORM = {"eight threads": storm}
MILLION = {"a long queue": million}
