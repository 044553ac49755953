"""Collectors, proxies, name servers and disks that fail."""
import contextlib
import subprocess
import tempfile

import peers
from host import Host, Profile, expect, wait_for
from peers import OK, Nginx, Peer, Tinyproxy

ALL = ["n0", "n1", "n2"]
FIRST = ["n0"]


def deliver(profile, url, arrived, expected, between=None, first="notify n", **more):
    """Reports three features. When the first hit has arrived, calls @p between."""
    with Host(profile, url, **more) as host:
        before = host.state()
        made, _ = host.tell("create")
        wait_for("the object has one thread", lambda: host.state()[1] - before[1], 1, 10)
        calls = [host.tell(first)[0]]
        if between:
            wait_for("the first hit arrives", arrived, expected[:1])
            between()
        calls += [host.tell(f"notify n 1 {number}")[0] for number in (1, 2)]
        gone, _ = host.tell("destroy")
        host.settle(before)
        host.end()
    expect("hits that arrived", arrived() == expected, arrived())
    expect("reporting does not wait for the network", max(calls) < 2000, calls)
    expect("destruction is bounded", gone < 60_000, gone)
    return f"{len(expected)} arrived; create {made:.0f} ms, caller {max(calls):.1f} ms, destructor {gone:.0f} ms"


def hostile(expected, behave=None, resets=False, **more):
    def case(_full):
        with Peer(behave, resets) as peer, Profile() as profile:
            return deliver(profile, peer.url, peer.arrived, expected, **more)
    return case


def nginx(expected, dies=False):
    def case(_full):
        with Nginx() as collector, Profile() as profile:
            return deliver(profile, collector.url, collector.arrived, expected, collector.stop if dies else None)
    return case


def through(make_proxy, expected, dies=False):
    def case(_full):
        with make_proxy() as proxy, Nginx() as collector, Profile() as profile:
            return deliver(profile, collector.url, collector.arrived, expected, proxy.stop if dies else None,
                           http_proxy="http://" + proxy.address)
    return case


def silent_name_server(_full):
    """The loopback interface of a network namespace drops packets to the name server."""
    with tempfile.NamedTemporaryFile("w") as resolv, Profile() as profile:
        resolv.write("nameserver 192.0.2.1\noptions timeout:1 attempts:2\n")
        resolv.flush()
        prefix = ["unshare", "-nm", "sh", "-c", 'ip link set lo up; ip route add 192.0.2.1 dev lo; '
                  'mount --bind "$0" /etc/resolv.conf; exec "$@"', resolv.name]
        return "; ".join(
            f"{rule}: " + deliver(profile, "http://collector.trust.example/", list, [], prefix=prefix, **variables)
            for rule, variables in {"network check": {"OSTREL_CORPORATE_DOMAIN": "corp.trust.example"},
                                    "forced": {"NORVANE_FORCE_FEEDBACK": "1"}}.items())


CASES = {
    "nginx, 200": nginx(ALL),
    "nginx stops after the first hit": nginx(FIRST, dies=True),
    "silence": hostile(FIRST, peers.keeps_silent),
    "reset before the request is read": hostile([], resets=True),
    "reset before headers": hostile(FIRST, peers.resets_after(b"")),
    "reset within headers": hostile(FIRST, peers.resets_after(b"HTTP/1.1 200 OK\r\nConte")),
    "reset after headers": hostile(FIRST, peers.resets_after(b"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n")),
    "body without end": hostile(FIRST, peers.never_ends),
    "garbage": hostile(FIRST, peers.answers(bytes(range(256)) * 64, keep=False)),
    "HTTP/1.0": hostile(ALL, peers.answers(b"HTTP/1.0 200 OK\r\n\r\nok", keep=False)),
    "100, then 200": hostile(ALL, peers.answers(b"HTTP/1.1 100 Continue\r\n\r\n" + OK)),
    "hit of 2 MB with Expect: 100-continue": hostile(["n" * 12, "n1", "n2"], first="notify " + "n" * 2_000_000),
    "connection closed between two hits": hostile(ALL, peers.closes_after_the_first, between=lambda: None),
    "connection closed after a hit without an answer: libcurl sends it again": hostile(
        ["n0", "n1", "n1", "n2"], peers.closes_under_the_second, between=lambda: None),
}
# Wine reports an orderly close instead of the reset. libcurl then accepts the incomplete headers.
UNDER_WINE = {"reset within headers": hostile(ALL, peers.resets_after(b"HTTP/1.1 200 OK\r\nConte"))}
LINUX_ONLY = {
    "tinyproxy": through(Tinyproxy, ALL),
    "tinyproxy denies (403)": through(lambda: Tinyproxy("Deny 127.0.0.1"), []),
    "tinyproxy stops after the first hit": through(Tinyproxy, FIRST, dies=True),
    "proxy stalls": through(lambda: Peer(peers.keeps_silent), []),
    "name server that never answers": silent_name_server,
}


UUID = '<?xml version="1.0"?>\n<bag>\n  <UUID type="string">{}</UUID>\n</bag>\n'
ITEM = '  <item>\n    <D type="int">{}</D>\n    <M type="int">3</M>\n    <Y type="int">2014</Y>\n  </item>\n'
DAYS = '<?xml version="1.0"?>\n<bag>\n{}</bag>\n'


def fill(folder):
    with contextlib.suppress(OSError), open(folder + "/filler", "wb", buffering=0) as filler:
        while filler.write(b"x" * 4096):
            pass


def make_read_only(folder):
    subprocess.run(["mount", "-o", "remount,ro", folder], check=True)


@contextlib.contextmanager
def disk(spoil, answer):
    """A profile on a separate disk. With @p answer it has the files of an earlier process, otherwise no files."""
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run(["mount", "-t", "tmpfs", "-o", "size=64k", "trust", folder], check=True)
        try:
            profile = Profile(answer, folder)
            if answer:
                profile.settings().joinpath("uuid.xml").write_text(UUID.format("3F2A0C91-7B44-E012-9C5D-0A1B2C3D4E5F"))
                profile.settings().joinpath("last_active_dates.xml").write_text(DAYS.format(ITEM.format(9)))
            profile.settings()
            spoil(folder)
            before = profile.contents()
            yield profile
            expect("files stay as they are", profile.contents() == before, list(profile.contents()))
        finally:
            subprocess.run(["umount", folder], check=True)


def old_profile(spoil):
    def case(_full):
        with disk(spoil, "1") as profile, Peer() as peer:
            return deliver(profile, peer.url, peer.arrived, ALL)
    return case


def new_answer(_full):
    with disk(fill, None) as profile, Peer() as peer, Host(profile, peer.url) as host:
        host.tell("create")
        must_ask = host.tell("consent 1")[1]
        expect("the user must be asked again if the answer was not saved", must_ask == "1", must_ask)
        host.tell("notify n", "destroy")
        host.end()
        expect("nothing arrives", not peer.bodies, peer.bodies)
    return "nothing arrived, the host has to ask again"


DISKS = {"disk full": old_profile(fill), "disk full, no answer yet": new_answer,
         "disk read-only": old_profile(make_read_only)}
