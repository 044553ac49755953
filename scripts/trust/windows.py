"""The same faults for the Windows build, run under Wine."""
import contextlib
import pathlib
import re
import subprocess
import tempfile
import time

import faults
import life
import peers
from host import Host, Profile, expect
from peers import Peer

ASKED = re.compile(r":(WSAStartup|getaddrinfo|GetAddrInfo\w*|WSASocketW|connect|WinHttpOpen|WinHttpGet\w+|"
                   r"CreateProcessInternalW) ")
CHANNELS = "-all,+winsock,+winhttp,+process"


# --- disks -------------------------------------------------------------------------------------------------------

@contextlib.contextmanager
def read_only_folder():
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run(["mount", "-t", "tmpfs", "trust", folder], check=True)
        try:
            profile = Profile(folder=folder)
            faults.prepared(profile)
            subprocess.run(["mount", "-o", "remount,ro", folder], check=True)
            yield profile
        finally:
            subprocess.run(["umount", folder], check=True)


def read_only(_full):
    with read_only_folder() as profile:
        before = {path: path.read_bytes() for path in profile.files()}
        outcome = faults.use(profile, faults.ALL)
        expect("nothing changed", {path: path.read_bytes() for path in profile.files()} == before)
    return outcome


def folder_is_a_file(_full):
    with Profile(consent=False) as profile:
        profile.virk.parent.write_text("not a folder")
        return faults.use(profile, [], made="threw")


# --- privacy -----------------------------------------------------------------------------------------------------

def traced(more_commands=(), **variables):
    """@return the calls that ask the network, the proxy settings or for a process, and the hits that arrived"""
    with tempfile.TemporaryDirectory() as folder, Peer() as peer, Profile() as profile:
        log = pathlib.Path(folder, "trace")
        prefix = ["sh", "-c", 'exec "$@" 2>"$0"', str(log)]
        with Host(profile, peer.url, prefix=prefix, WINEDEBUG=CHANNELS, **variables) as host:
            for command in ("create", "get", "notify n 3", "destroy", "release", *more_commands):
                host.tell(command)
            host.end()
        return set(ASKED.findall(log.read_text(errors="replace"))), peer.bodies


def switched_off(_full):
    for switch in ("NORVANE_STATISTICS_DISABLE", "NORVANE_DONOTSEND_FEEDBACK", "NORVANE_DISABLE_FEEDBACK"):
        for force in ({}, {"NORVANE_FORCE_FEEDBACK": "1"}):
            calls, bodies = traced(**{switch: "0"}, **force)
            expect(f"{switch}: no network, no process", not calls and not bodies, calls)
    return "each of the three switches, alone and with the forcing one: no network, no proxy settings, no process"


def allowed_shows(_full):
    """The same trace finds what it looks for if collecting is allowed."""
    calls, bodies = traced(more_commands=["child"])
    expect("calls are seen", len(bodies) == 4 and calls >= {"WSAStartup", "connect", "WinHttpOpen", "CreateProcessInternalW"},
           calls)
    return f"{len(bodies)} hits arrived; the trace shows " + ", ".join(sorted(calls))


# --- the table ---------------------------------------------------------------------------------------------------

def busy_ending(line):
    """Wine's own locks sometimes hang a process whose other threads are stopped at its exit, also without the library
    (docs/guarantees.md). Such a process is counted and killed; most rounds must end."""
    def case(full):
        rounds, hung, longest = 40 if full else 6, 0, 0.0
        with Peer() as peer, Profile() as profile:
            for _ in range(rounds):
                with Host(profile, peer.url) as host:
                    host.tell("create")
                    host.tell("busy 4 1")
                    start = time.monotonic()
                    host.send(line)
                    try:
                        status = host.process.wait(10)
                    except subprocess.TimeoutExpired:
                        hung += 1
                        continue
                    expect("the process ends with status 0", status == 0, status)
                    longest = max(longest, time.monotonic() - start)
        expect("at most one process in three hangs", hung * 3 <= rounds, hung)
        return f"{rounds - hung} times status 0, at most {longest * 1000:.0f} ms; {hung} times a hang"
    return case


def endings():
    for line, how in (("return", "returns from main"), ("leave exit", "exit"), ("leave", "ExitProcess")):
        yield f"live handle, {how}", life.ending(line, ["create", "notify n 20"], logs=False)
        yield f"live handle, four threads reporting, {how}", busy_ending(line)
    yield ("live handle, silent collector, returns from main",
           life.ending("return", ["create", "notify n 3"], False, silent=True))


FAULTS = [name for name in faults.CASES if not re.search("proxy|squid|name server", name)]
# Wine reports this reset as the regular end of the connection, which libcurl takes for the end of the headers.
AS_WINE_SEES_IT = {"reset within headers": faults.hostile(faults.ALL, peers.resets_after(b"HTTP/1.1 200 OK\r\nConte"))}
GROUPS = {
    "faults": {name: faults.CASES[name] for name in FAULTS} | AS_WINE_SEES_IT,
    "disks": {"read-only folder": read_only, "data folder is a file": folder_is_a_file,
              "disk full": faults.disk_full, "lock file left behind": faults.lock_left_behind},
    "processes": {"8 processes on a fresh profile": lambda full: life.together(full, 8, rounds_in_ci=2),
                  "TerminateProcess while saving": lambda full: life.killed_while_saving(full, (100, 30)),
                  "threads": life.threads},
    "ends": dict(endings()),
    "storm": life.STORM,
    "million": {"a long queue": lambda full: life.million(full, count_in_ci=100_000)},
    "privacy": {"a disabling switch is set": switched_off, "collecting is allowed": allowed_shows},
}
