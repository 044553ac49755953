"""Hosts to be watched from outside: their profile, their process, and what they answer."""
import os
import pathlib
import re
import select
import shutil
import subprocess
import tempfile
import time

PATIENCE = 120  # seconds until a host counts as hanging; generous, for machines that are busy otherwise
COMPANY = "Norvane Corporation"
ROOT = pathlib.Path(__file__).resolve().parents[2]


class Fault(Exception):
    """A promise that was not kept."""


class Hang(Fault):
    """A process that does not end."""


def expect(what, holds, seen=""):
    if not holds:
        raise Fault(f"{what}: {seen}" if seen != "" else what)


class Profile:
    """A data folder of its own, with consent on file unless told otherwise."""

    def __init__(self, consent=True, folder=None):
        self.own = folder is None
        self.folder = pathlib.Path(folder or tempfile.mkdtemp(prefix="ostrel-trust-"))
        self.virk = self.folder / COMPANY / "virk"
        if consent:
            self.virk.parent.mkdir(parents=True, exist_ok=True)
            self.virk.write_text("1")

    def settings(self, product="trust"):
        return self.folder / COMPANY / product / "settings" / "statistic"

    def files(self):
        return sorted(path for path in self.folder.rglob("*") if path.is_file())

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.own:
            shutil.rmtree(self.folder, ignore_errors=True)


def environment(profile, url, **more):
    """What a host starts with: nothing of ours from outside but where its DLLs are, and a name for the network check that
    hosts(5) knows."""
    unwanted = re.compile(r"NORVANE_|OSTREL_(?!WIN|CACHE)|PELLAR_|XDG_|https?_proxy|all_proxy|no_proxy", re.IGNORECASE)
    clean = {name: value for name, value in os.environ.items() if not unwanted.match(name)}
    clean |= {"XDG_DATA_HOME": str(profile.folder), "OSTREL_COLLECTION_URL": url, "OSTREL_CORPORATE_DOMAIN": "localhost",
              "OSTREL_TRUST_DATA": "Z:" + str(profile.folder).replace("/", "\\")}
    clean |= more
    return {name: value for name, value in clean.items() if value is not None}


class Host:
    """One driver process. Commands that take longer than PATIENCE count as hanging."""
    build = pathlib.Path("build/linux")
    windows = False  # whether the driver is a Windows program, to be run under Wine

    @classmethod
    def program(cls, name):
        path = cls.build.resolve() / "tests" / "trust" / name
        return [str(ROOT / "scripts" / "wine.sh"), "--direct", f"{path}.exe"] if cls.windows else [str(path)]

    def __init__(self, profile, url, logs=False, prefix=(), **more):
        name = "trust_driver_logs" if logs else "trust_driver"
        self.process = subprocess.Popen([*prefix, *self.program(name)], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        env=environment(profile, url, **more), bufsize=0)
        self.rest = b""

    def send(self, line):
        self.process.stdin.write(line.encode() + b"\n")

    def answer(self):
        deadline = time.monotonic() + PATIENCE
        while b"\n" not in self.rest:
            expect("the host answers", select.select([self.process.stdout], [], [], deadline - time.monotonic())[0])
            block = os.read(self.process.stdout.fileno(), 65536)
            expect("the host lives", block, f"ended with {self.process.poll()}")
            self.rest += block
        line, self.rest = self.rest.split(b"\n", 1)
        milliseconds, result = line.decode().rstrip().split(" ", 1)
        return float(milliseconds), result

    def tell(self, line):
        self.send(line)
        return self.answer()

    def state(self):
        """Descriptors (on Windows the next handle) and threads, then resident memory in KiB."""
        descriptors, threads, pages = map(int, self.tell("state")[1].split())
        return (descriptors, threads), pages * 4

    def settle(self, before):
        """Waits until descriptors and threads are those of before; what the system reaps by itself may lag."""
        deadline = time.monotonic() + 10
        while (now := self.state()[0]) != before and time.monotonic() < deadline:
            time.sleep(0.05)
        expect("no descriptor and no thread is left", now == before, f"{before} became {now}")

    def end(self, line="return", patience=PATIENCE):
        """@return seconds until the process was gone; it must have left with status 0"""
        start = time.monotonic()
        try:
            self.send(line)
            status = self.process.wait(patience)
        except subprocess.TimeoutExpired:
            self.kill()
            raise Hang(f"the process does not end after '{line}'") from None
        expect("the process ends with status 0", status == 0, status)
        return time.monotonic() - start

    def kill(self):
        self.process.kill()
        self.process.wait()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.kill()
        self.process.stdin.close()
        self.process.stdout.close()
