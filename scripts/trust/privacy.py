"""That a process which may not collect touches no network."""
import pathlib
import re
import tempfile

from host import Host, Profile, expect
from peers import Peer

SWITCHES = ["NORVANE_STATISTICS_DISABLE", "NORVANE_DONOTSEND_FEEDBACK", "NORVANE_DISABLE_FEEDBACK"]
NETWORK = re.compile(r"\b(socket|connect|sendto|sendmsg|sendmmsg|bind|getsockopt)\(|/etc/(resolv\.conf|hosts|nsswitch\.conf)"
                     r"|/openssl\.cnf|/etc/ssl/")


def traced(answer="1", **variables):
    """@param answer content of the consent file; None: no such file
    @return lines of the system calls that use the network or resolve names, and the bodies that arrived"""
    with tempfile.TemporaryDirectory() as folder, Peer() as peer, Profile(consent=answer is not None) as profile:
        if answer is not None:
            profile.virk.write_text(answer)
        log = pathlib.Path(folder, "trace")
        prefix = ["strace", "-f", "-o", str(log), "-e", "trace=%network,openat,open"]
        # Any name but those that hosts(5) knows: resolving it would show.
        with Host(profile, peer.url, prefix=prefix, OSTREL_CORPORATE_DOMAIN="corp.trust.example", **variables) as host:
            for command in ("create", "get", "notify n 3", "destroy", "release"):
                host.tell(command)
            host.end()
        return [line for line in log.read_text(errors="replace").splitlines() if NETWORK.search(line)], peer.bodies


def switched_off(_full):
    for switch in SWITCHES:
        for force in ({}, {"NORVANE_FORCE_FEEDBACK": "1"}):
            lines, bodies = traced(**{switch: "0"}, **force)
            expect(f"{switch}: no socket, no name resolved, no OpenSSL", not lines and not bodies, lines[:5])
    return "each of the three switches, alone and against the forcing one: no socket, no file of the name service or OpenSSL"


def allowed_shows(_full):
    """The same look finds what it looks for where collecting is allowed."""
    lines, bodies = traced(NORVANE_FORCE_FEEDBACK="1")
    expect("sockets are seen", any("socket(AF_INET" in line for line in lines) and len(bodies) == 4, lines[:5])
    expect("OpenSSL is seen", any("openssl.cnf" in line for line in lines), lines[:5])
    return f"{len(lines)} calls seen, {len(bodies)} hits arrived: the look is not blind"


def not_agreed(answer, what):
    def case(_full):
        lines, bodies = traced(answer)
        connects = [line for line in lines if "connect(" in line and "AF_INET" in line and "htons(53)" not in line]
        expect("nothing is sent", not bodies and not connects, connects[:5])
        expect("no OpenSSL", not any("ssl" in line for line in lines), lines[:5])
        return f"{what}: no connection to the collector; {len(lines)} calls to resolve the corporate domain remain"
    return case


CASES = {"a disabling switch is set": switched_off, "forced on": allowed_shows, "no answer": not_agreed(None, "no answer on file"),
         "refusal": not_agreed("0", "a refusal on file")}
