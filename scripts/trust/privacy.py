"""A process that may not collect uses no network."""
import pathlib
import re
import tempfile

from host import Host, Profile, expect
from peers import Peer

LINUX = re.compile(r"^.*(?:\b(?:socket|connect|sendto|sendmsg|sendmmsg|bind|getsockopt)\(|/etc/resolv\.conf|"
                   r"/etc/hosts|/etc/nsswitch\.conf|/openssl\.cnf|/etc/ssl/).*$", re.MULTILINE)
WINDOWS = re.compile(":(WSAStartup|getaddrinfo|GetAddrInfo\\w*|WSASocketW|connect|WinHttpOpen|WinHttpGet\\w+|"
                     "CreateProcessInternalW) ")


def traced(answer="1", commands=(), **variables):
    """@return system calls for network, names, proxies and (on Windows) processes, and the hits that arrived"""
    with tempfile.TemporaryDirectory() as folder, Peer() as peer, Profile(answer) as profile:
        log = pathlib.Path(folder, "trace")
        prefix = ["strace", "-f", "-o", log, "-e", "trace=%network,openat,open"]
        if Host.windows:
            prefix = ["sh", "-c", 'exec "$@" 2>"$0"', log]
        # The domain is not in hosts(5), so the trace shows each attempt to resolve it.
        with Host(profile, peer.url, prefix=prefix, WINEDEBUG="-all,+winsock,+winhttp,+process",
                  OSTREL_CORPORATE_DOMAIN="corp.trust.example", **variables) as host:
            host.tell("create", "get", "notify n 3", "destroy", "release", *commands)
            host.end()
        return (WINDOWS if Host.windows else LINUX).findall(log.read_text(errors="replace")), peer.bodies


def switched_off(_full):
    for switch in ("NORVANE_STATISTICS_DISABLE", "NORVANE_DONOTSEND_FEEDBACK", "NORVANE_DISABLE_FEEDBACK"):
        for force in ({}, {"NORVANE_FORCE_FEEDBACK": "1"}):
            calls, hits = traced(**{switch: "0"}, **force)
            expect(f"no call with {switch}, {force}", not calls, calls[:5])
            expect(f"no hit with {switch}, {force}", not hits, hits)
    return ("each opt-out variable, alone and with NORVANE_FORCE_FEEDBACK: "
            "no network, no file of the name service or OpenSSL")


def forced(_full):
    """Checks the trace itself: it shows network calls if collection is on."""
    calls, hits = traced(NORVANE_FORCE_FEEDBACK="1", commands=["child"])
    expect("hits arrive", len(hits) == 4, hits)
    for call in (["WSAStartup", "connect", "WinHttpOpen", "CreateProcessInternalW"] if Host.windows else
                 ["socket(AF_INET", "openssl.cnf"]):
        expect(f"{call} is seen", any(call in seen for seen in calls), calls[:5])
    return f"{len(calls)} calls seen, {len(hits)} hits arrived"


def not_agreed(_full):
    for answer in (None, "0"):
        calls, hits = traced(answer)
        wrong = [call for call in calls if "ssl" in call or "connect(" in call and "AF_INET" in call and
                 "htons(53)" not in call]
        expect(f"only the name service is used with the answer {answer}", not wrong, wrong[:5])
        expect(f"no hit with the answer {answer}", not hits, hits)
    return "no answer, or a refusal: the network is used only to resolve the corporate domain"


CASES = {"an opt-out variable is set": switched_off, "forced on": forced}
LINUX_ONLY = {"no answer, refusal": not_agreed}
