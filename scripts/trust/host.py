"""A host process under test, with a separate data folder."""
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import time

COMPANY = "Norvane Corporation"
ROOT = pathlib.Path(__file__).resolve().parents[2]


class Fault(Exception):
    """A failed check."""


def expect(what, holds, seen=""):
    if not holds:
        raise Fault(f"expected: {what}; seen: {seen}")


def wait_for(what, get, wanted, seconds=60):
    deadline = time.monotonic() + seconds
    while (seen := get()) != wanted:
        expect(what, time.monotonic() < deadline, f"{seen} instead of {wanted}")
        time.sleep(0.01)


class Profile:
    """A data folder. By default the user has agreed."""

    def __init__(self, answer="1", folder=None):
        self.folder = pathlib.Path(folder or tempfile.mkdtemp(prefix="ostrel-trust-"))
        self.virk = self.folder / COMPANY / "virk"
        if answer:
            self.virk.parent.mkdir()
            self.virk.write_text(answer)

    def settings(self, product="trust"):
        folder = self.folder / COMPANY / product / "settings" / "statistic"
        folder.mkdir(parents=True, exist_ok=True)
        return folder

    def contents(self):
        return {path.name: path.read_bytes() for path in self.folder.rglob("*") if path.is_file()}

    def __enter__(self):
        return self

    def __exit__(self, *_):
        shutil.rmtree(self.folder, ignore_errors=True)


def environment(profile, url, **more):
    """Returns the caller's environment for a host. Removes the library's variables, except those for Wine and DLLs.

    hosts(5) contains the corporate domain, so no DNS is needed."""
    unwanted = re.compile(r"NORVANE_|OSTREL_(?!WIN|CACHE)|PELLAR_|XDG_|https?_proxy|all_proxy|no_proxy", re.IGNORECASE)
    return {name: value for name, value in os.environ.items() if not unwanted.match(name)} | {
        "XDG_DATA_HOME": str(profile.folder), "OSTREL_TRUST_DATA": "Z:" + str(profile.folder).replace("/", "\\"),
        "OSTREL_COLLECTION_URL": url, "OSTREL_CORPORATE_DOMAIN": "localhost"} | more


class Host:
    """One process of tests/trust/driver.cpp."""
    build = pathlib.Path("build/linux")
    windows = False  # whether the driver is a Windows program, which runs under Wine

    def __init__(self, profile, url, logs=False, prefix=(), **more):
        path = str(self.build / "tests" / "trust" / ("trust_driver_logs" if logs else "trust_driver"))
        program = [str(ROOT / "scripts/wine.sh"), "--direct", path + ".exe"] if self.windows else [path]
        self.process = subprocess.Popen([*prefix, *program], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True,
                                        bufsize=1, env=environment(profile, url, **more))

    def send(self, *lines):
        for line in lines:
            self.process.stdin.write(line + "\n")

    def answer(self):
        """@return milliseconds and result of one command"""
        line = self.process.stdout.readline()
        expect("the host answers", line, self.process.poll())
        milliseconds, result = line.rstrip().split(" ", 1)
        return float(milliseconds), result

    def tell(self, *lines):
        """@return the answer to the last command"""
        for line in lines:
            self.send(line)
            answer = self.answer()
        return answer

    def state(self):
        """@return numbers of descriptors (on Windows the value of a new handle) and threads, resident memory in KiB"""
        descriptors, threads, pages = map(int, self.tell("state")[1].split())
        return descriptors, threads, pages * 4

    def settle(self, before):
        """Waits until both numbers are as before: the system may remove descriptors and threads after a delay."""
        wait_for("descriptors and threads", lambda: self.state()[:2], before[:2], 10)

    def end(self, line="return", timeout=None):
        """@return seconds until the process has exited"""
        start = time.monotonic()
        self.send(line)
        status = self.process.wait(timeout)
        expect("the process exits with status 0", status == 0, status)
        return time.monotonic() - start

    def __enter__(self):
        return self

    def __exit__(self, *_):
        with self.process:
            self.process.kill()
