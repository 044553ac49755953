"""Collectors, proxies and disks that fail in every way that could be thought of."""
import contextlib
import pathlib
import subprocess
import tempfile
import time

import peers
from host import Host, Profile, expect
from peers import OK, Nginx, Peer, Squid, Tinyproxy

HITS = 3
ALL = ["n0", "n1", "n2"]
WAIT = 90_000  # ms; an attempt is bounded by 5 s, there are two at most, and the machine may be busy


def wait_for(what, holds):
    deadline = time.monotonic() + 60
    while not holds():
        expect(what, time.monotonic() < deadline)
        time.sleep(0.01)


def deliver(url, arrived, expected, between=None, big=False, **more):
    """Three hits, something between the first and the others, and the end of the object. What arrived is exact."""
    with Profile() as profile, Host(profile, url, **more) as host:
        host.tell("create warm-up")
        host.tell("destroy")
        before = host.state()[0]
        host.tell("create")
        waits = [host.tell("notify n" + " 1 0")[0] if not big else host.tell("notify " + "n" * 2_000_000)[0]]
        if between:
            wait_for("the first hit arrives", lambda: arrived() == expected[:1])
            between()
        waits += [host.tell(f"notify n 1 {number}")[0] for number in range(1, HITS)]
        gone = host.tell("destroy")[0]
        expect("the destructor returns in time", gone < WAIT, gone)
        expect("callers never wait for the network", max(waits) < 2000, waits)
        host.settle(before)
        host.end()
    seen = arrived()
    expect("what arrived", seen == expected, seen)
    return (f"arrived {len(seen)}, dropped {HITS - len(set(seen))}; caller {max(waits):.1f} ms, "
            f"destructor {gone:.0f} ms; nothing left")


def hostile(expected, behave=None, on_accept=None, needs_end=False, **how):
    def case(_full):
        with Peer(on_accept=on_accept) as peer:
            if behave:
                peer.behave = behave(peer.ended) if needs_end else behave
            return deliver(peer.url, peer.arrived, expected, **how)
    return case


def nginx(expected, more="", server="", dies=False):
    def case(_full):
        with Nginx(more, server) as collector:
            return deliver(collector.url, collector.arrived, expected, collector.stop if dies else None)
    return case


def through(proxy, expected, dies=False):
    """@param proxy makes a running proxy"""
    def case(_full):
        with proxy() as middle, Nginx() as collector:
            return deliver(collector.url, collector.arrived, expected, middle.stop if dies else None,
                           http_proxy="http://" + middle.address)
    return case


class Nobody:
    """An address at which nobody listens."""
    def __enter__(self):
        self.address = f"127.0.0.1:{peers.free_port()}"
        return self

    def __exit__(self, *_):
        pass


def closes_between(_full):
    with Peer() as peer:
        peer.behave = lambda connection, number: connection.sendall(OK) or number != 0
        return deliver(peer.url, peer.arrived, ALL, lambda: time.sleep(0.2))


def closes_under_a_hit(_full):
    """The server takes the second hit on the kept connection and hangs up: libcurl posts it once more."""
    with Peer() as peer:
        peer.behave = lambda connection, number: number != 1 and (connection.sendall(OK) or True)
        return deliver(peer.url, peer.arrived, ["n0", "n1", "n1", "n2"], lambda: None)


def big_hit(_full):
    with Peer() as peer:
        return deliver(peer.url, peer.arrived, ["n" * 12, "n1", "n2"], big=True)


SILENT_RESOLVER = """
exec 3<&0
ip link set lo up
mount --bind "$0" /etc/resolv.conf
python3 -c '
import os, socket, time
name_server, parent = socket.socket(socket.AF_INET, socket.SOCK_DGRAM), os.getppid()
name_server.bind(("127.0.0.1", 53))
print(flush=True)
while os.getppid() == parent: time.sleep(0.1)
' </dev/null 2>/dev/null 3<&- | { read -r; exec "$@" <&3 3<&-; }
"""


def silent_resolver(_full):
    """A name server that never answers, in a network and mount namespace of the host's own."""
    url = "http://collector.trust.example/collect"
    with tempfile.TemporaryDirectory() as folder, Profile() as profile:
        resolv = pathlib.Path(folder, "resolv.conf")
        resolv.write_text("nameserver 127.0.0.1\noptions timeout:1 attempts:2\n")
        prefix = ["unshare", "-n", "-m", "bash", "-c", SILENT_RESOLVER, str(resolv)]
        times = []
        for variables in ({"OSTREL_CORPORATE_DOMAIN": "corp.trust.example"}, {"NORVANE_FORCE_FEEDBACK": "1"}):
            with Host(profile, url, prefix=prefix, **variables) as host:
                before = host.state()[0]
                times += [host.tell(command)[0] for command in ("create", "notify n 3", "destroy")]
                host.settle(before)
                host.process.kill()  # not its own end: the shell waits for the name server
    made, _, gone, _, caller, forced = times
    expect("bounded by the resolver's own patience", max(times) < WAIT, times)
    return (f"network check: create {made:.0f} ms, then nothing is sent, destructor {gone:.0f} ms; forced past the "
            f"check: caller {caller:.1f} ms, destructor {forced:.0f} ms; nothing left")


FIRST = ["n0"]
UNREAD = ["?"]  # nginx answers one hit without looking at its body
CASES = {
    "nginx, 200": nginx(ALL),
    "nginx, connection closed after each": nginx(ALL, server="keepalive_timeout 0;"),
    "nginx, 204": nginx(UNREAD, "return 204;"),
    "nginx, 301": nginx(UNREAD, "return 301 /elsewhere;"),
    "nginx, 500": nginx(UNREAD, "return 500;"),
    "nginx dies between two hits": nginx(FIRST, dies=True),
    "tinyproxy": through(Tinyproxy, ALL),
    "squid": through(Squid, ALL),
    "squid denies (403)": through(lambda: Squid("deny"), []),
    "tinyproxy asks for credentials (407)": through(lambda: Tinyproxy("BasicAuth user secret"), []),
    "tinyproxy dies between two hits": through(Tinyproxy, FIRST, dies=True),
    "nobody at the proxy's address": through(Nobody, []),
    "proxy stalls": through(lambda: Peer(on_accept=lambda _: time.sleep(120)), []),
    "silence": hostile(FIRST, peers.keeps_silent, needs_end=True),
    "reset before the request is read": hostile([], on_accept=lambda connection: peers.reset(connection)),
    "reset before headers": hostile(FIRST, peers.resets_after(b"")),
    "reset within headers": hostile(FIRST, peers.resets_after(b"HTTP/1.1 200 OK\r\nConte")),
    "reset after headers": hostile(FIRST, peers.resets_after(b"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n")),
    "one byte a second": hostile(FIRST, peers.drips, needs_end=True),
    "body without end": hostile(FIRST, peers.never_ends, needs_end=True),
    "garbage": hostile(FIRST, peers.answers(bytes(range(256)) * 64, keep=False)),
    "HTTP/1.0": hostile(ALL, peers.answers(b"HTTP/1.0 200 OK\r\n\r\nok", keep=False)),
    "chunked": hostile(ALL, peers.answers(
        b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\nok\r\n0\r\n\r\n")),
    "100, then 200": hostile(ALL, peers.answers(b"HTTP/1.1 100 Continue\r\n\r\n" + OK)),
    "hit of 2 MB, asked for with 100": big_hit,
    "kept connection closed between two hits": closes_between,
    "kept connection closed under a hit": closes_under_a_hit,
    "name server that never answers": silent_resolver,
}


# --- disks and folders -------------------------------------------------------------------------------------------

OLD_DAYS = '<?xml version="1.0"?>\n<bag>\n  <item>\n    <D type="int">9</D>\n    <M type="int">3</M>\n' \
           '    <Y type="int">2014</Y>\n  </item>\n</bag>\n'


def prepared(profile, days=OLD_DAYS):
    """A profile that an earlier process left: an id and one day of use."""
    folder = profile.settings()
    folder.mkdir(parents=True, exist_ok=True)
    folder.joinpath("uuid.xml").write_text(
        '<?xml version="1.0"?>\n<bag>\n  <UUID type="string">3F2A0C91-7B44-E012-9C5D-0A1B2C3D4E5F</UUID>\n</bag>\n')
    folder.joinpath("last_active_dates.xml").write_text(days)
    return folder


def use(profile, expected, made="made", collector=None, consent=False, **more):
    with Peer() as peer, Host(profile, peer.url, **more) as host:
        before = host.state()[0]
        made_after, result = host.tell("create")
        expect("create", result == made, result)
        if result == "made":
            asked = host.tell("consent 1")[1] if consent else ""
            host.tell("notify n 3")
            gone, _ = host.tell("destroy")
            host.settle(before)
        host.end()
        expect("what arrived", peer.arrived() == expected, peer.arrived())
    if result == "threw":
        return f"create threw after {made_after:.0f} ms, the process lived; nothing left"
    return (f"arrived {len(expected)}, dropped {HITS - len(expected)}; create {made_after:.0f} ms, "
            f"destructor {gone:.0f} ms; nothing left" + (f"; has to ask afterwards: {asked}" if consent else ""))


@contextlib.contextmanager
def full_disk(fresh):
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run(["mount", "-t", "tmpfs", "-o", "size=64k", "trust", folder], check=True)
        try:
            profile = Profile(consent=not fresh, folder=folder)
            if fresh:
                profile.settings().mkdir(parents=True)
            else:
                prepared(profile)
            with contextlib.suppress(OSError), open(pathlib.Path(folder, "filler"), "wb", buffering=0) as filler:
                while True:
                    filler.write(b"x" * 4096)
            yield profile
        finally:
            subprocess.run(["umount", folder], check=True)


def names(profile):
    return [path.name for path in profile.files() if path.name != "filler"]


def disk_full(_full):
    with full_disk(fresh=False) as profile:
        outcome = use(profile, ALL)
        expect("the old days stand", profile.settings().joinpath("last_active_dates.xml").read_text() == OLD_DAYS)
        expect("files", names(profile) == ["last_active_dates.xml", "uuid.xml", "virk"], names(profile))
    return outcome


def disk_full_and_fresh(_full):
    with full_disk(fresh=True) as profile:
        outcome = use(profile, [], consent=True)
        expect("no answer is made up, no half file stays", names(profile) == [], names(profile))
    return outcome


# May look everywhere, as the tree that is tried may lie in a folder of root's alone; may write nowhere.
NOBODY = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", "--inh-caps=-all,+dac_read_search",
          "--ambient-caps=-all,+dac_read_search"]


def read_only(fresh):
    def case(_full):
        with Profile() as profile:
            if not fresh:
                prepared(profile)
            for path in [profile.folder, *profile.folder.rglob("*")]:
                path.chmod(0o755 if path.is_dir() else 0o644)
            before = {path: path.read_bytes() for path in profile.files()}
            outcome = use(profile, [], made="threw", prefix=NOBODY) if fresh else use(profile, ALL, prefix=NOBODY)
            expect("nothing changed", {path: path.read_bytes() for path in profile.files()} == before)
        return outcome
    return case


def no_home(_full):
    with Profile(consent=False) as profile:
        return use(profile, [], consent=True, XDG_DATA_HOME=None, HOME=None)


def folder_is_a_file(_full):
    with Profile(consent=False) as profile:
        profile.folder.joinpath("data").write_text("not a folder")
        return use(profile, [], made="threw", XDG_DATA_HOME=str(profile.folder / "data"))


def lock_left_behind(_full):
    with Profile() as profile:
        lock = prepared(profile) / "last_active_dates.lock"
        lock.touch()
        outcome = use(profile, ALL)
        expect("the lock and the old days stand",
               lock.exists() and lock.with_suffix(".xml").read_text() == OLD_DAYS, names(profile))
    return outcome


DISKS = {
    "disk full": disk_full,
    "disk full, nothing kept yet": disk_full_and_fresh,
    "read-only folder, ordinary user": read_only(fresh=False),
    "read-only folder, nothing kept yet": read_only(fresh=True),
    "no HOME": no_home,
    "data folder is a file": folder_is_a_file,
    "lock file left behind": lock_left_behind,
}
