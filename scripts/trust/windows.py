"""The same faults for the Windows build, run under Wine."""
import contextlib
import pathlib
import re
import subprocess
import tempfile

import faults
import life
import peers
from host import Hang, Host, Profile, expect
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

def ending(line, prepare, silent=False):
    """Windows stops all other threads of a process that ends. If one of them holds a lock of Wine's own, Wine hangs, also
    without the library (docs/guarantees.md). Such a process is counted and killed; two in three must end."""
    def case(full):
        rounds, hung, longest = 40 if full else 6, 0, 0.0
        with Peer() as peer, Profile() as profile:
            if silent:
                peer.behave = peers.keeps_silent(peer.ended)
            for _ in range(rounds):
                with Host(profile, peer.url) as host:
                    for command in prepare:
                        host.tell(command)
                    try:
                        longest = max(longest, host.end(line, patience=10))
                    except Hang:
                        hung += 1
        expect("two processes in three end", hung * 3 <= rounds, hung)
        return f"{rounds - hung} times status 0, at most {longest * 1000:.0f} ms; {hung} times a hang"
    return case


def endings():
    for name, prepare in {"live handle": ["create", "notify n 20"],
                          "live handle, four threads reporting": ["create", "busy 4 1"]}.items():
        for line, how in (("return", "returns from main"), ("leave exit", "exit"), ("leave", "ExitProcess")):
            yield f"{name}, {how}", ending(line, prepare)
    yield "live handle, silent collector, returns from main", ending("return", ["create", "notify n 3"], silent=True)


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
