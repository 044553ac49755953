"""What hosts talk to: Debian's nginx, tinyproxy and squid, and a server that behaves as badly as it is told."""
import pathlib
import re
import shutil
import socket
import struct
import subprocess
import tempfile
import threading
import time

OK = b"HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok"


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def reset(connection):
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))


class Peer:
    """Takes posts on loopback; behave(connection, number) answers the request of that number from 0 and returns
    whether the connection is kept."""

    def __init__(self, behave=None, on_accept=None):
        self.behave = behave or (lambda connection, _: connection.sendall(OK) or True)
        self.on_accept = on_accept or (lambda connection: True)
        self.bodies, self.connections = [], 0
        self.lock, self.ended = threading.Lock(), threading.Event()
        self.listener = socket.create_server(("127.0.0.1", 0), backlog=512)
        self.address = f"127.0.0.1:{self.listener.getsockname()[1]}"
        self.url = f"http://{self.address}/collect"
        threading.Thread(target=self.accept, daemon=True).start()

    def accept(self):
        while True:
            try:
                connection, _ = self.listener.accept()
            except OSError:
                return
            self.connections += 1
            threading.Thread(target=self.serve, args=(connection,), daemon=True).start()

    def serve(self, connection):
        with connection:
            try:
                if self.on_accept(connection):
                    while (body := self.read_request(connection)) is not None:
                        with self.lock:
                            number = len(self.bodies)
                            self.bodies.append(body)
                        if not self.behave(connection, number):
                            return
            except OSError:
                pass  # the host has gone or has given up

    @staticmethod
    def read_request(connection):
        data = b""
        while b"\r\n\r\n" not in data:
            if not (block := connection.recv(65536)):
                return None
            data += block
        head, body = data.split(b"\r\n\r\n", 1)
        if re.search(rb"(?i)expect: 100-continue", head):
            connection.sendall(b"HTTP/1.1 100 Continue\r\n\r\n")
        length = int(re.search(rb"(?i)content-length: (\d+)", head)[1])
        while len(body) < length:
            if not (block := connection.recv(1 << 20)):
                return None
            body += block
        return body.decode()

    def arrived(self):
        return [re.search("el=([^&]*)", body)[1][:12] for body in list(self.bodies)]

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.ended.set()
        self.listener.close()


# --- bad manners: each serves a request once ---------------------------------------------------------------------

def answers(text, keep=True):
    return lambda connection, _: connection.sendall(text) or keep


def resets_after(text):
    def behave(connection, _):
        connection.sendall(text)
        time.sleep(0.05)  # the bytes arrive first; a reset discards what has not been read
        reset(connection)
    return behave


def drips(peer_ended):
    def behave(connection, _):
        for byte in OK:
            if peer_ended.wait(1):
                return
            connection.sendall(bytes([byte]))
    return behave


def never_ends(peer_ended):
    def behave(connection, _):
        connection.sendall(b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n")
        while not peer_ended.wait(0.01):
            connection.sendall(b"3e8\r\n" + b"x" * 1000 + b"\r\n")
    return behave


def keeps_silent(peer_ended):
    return lambda *_: peer_ended.wait(300) and None


# --- Debian's own ------------------------------------------------------------------------------------------------

class Daemon:
    """A server in the foreground, in a folder of its own, from when it listens until it is stopped."""

    def __init__(self, command, configuration):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="ostrel-peer-"))
        self.folder.chmod(0o777)
        self.port = free_port()
        self.address = f"127.0.0.1:{self.port}"
        file = self.folder / "conf"
        file.write_text(configuration.format(folder=self.folder, port=self.port, other=free_port()))
        with open(self.folder / "output", "wb") as output:
            self.process = subprocess.Popen([part.format(conf=file) for part in command], stdout=output,
                                            stderr=output, start_new_session=True)
        self.wait()

    def wait(self):
        for _ in range(600):
            with socket.socket() as probe:
                if probe.connect_ex(("127.0.0.1", self.port)) == 0:
                    return
            if self.process.poll() is not None:
                break
            time.sleep(0.1)
        raise RuntimeError(f"{self.process.args[0]} does not start: " + (self.folder / "output").read_text()[-2000:])

    def stop(self):
        self.process.terminate()
        try:
            self.process.wait(20)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stop()
        shutil.rmtree(self.folder, ignore_errors=True)


class Nginx(Daemon):
    """A collector that logs every body it took; more is put into the collecting location."""

    def __init__(self, more="", server=""):
        # The body is read for a second server only, which is what makes it known to the log.
        super().__init__(["/usr/sbin/nginx", "-c", "{conf}"], """
daemon off; worker_processes 1; pid {folder}/pid; error_log {folder}/error;
events {{ worker_connections 512; }}
http {{
    log_format body escape=none '$request_body'; access_log off; client_max_body_size 16m;
    client_body_temp_path {folder}/a; proxy_temp_path {folder}/b; fastcgi_temp_path {folder}/c;
    uwsgi_temp_path {folder}/d; scgi_temp_path {folder}/e; keepalive_requests 1000000000;
    upstream sink {{ server unix:{folder}/sink; keepalive 4; }}
    server {{ listen unix:{folder}/sink; return 200 ok; }}
    server {{
        listen 127.0.0.1:{port}; %s
        location /collect {{ access_log {folder}/bodies body; proxy_http_version 1.1;
            proxy_set_header Connection ""; proxy_pass http://sink; %s }}
    }}
}}
""" % (server.replace("{", "{{").replace("}", "}}"), more))
        self.url = f"http://{self.address}/collect"

    def arrived(self):
        """@return the labels; a line that is still being written does not count"""
        log = self.folder / "bodies"
        lines = [line for line in log.open() if line.endswith("\n")] if log.exists() else []
        return [label[1] if (label := re.search("el=([^&]*)", line)) else "?" for line in lines]


class Tinyproxy(Daemon):
    def __init__(self, more=""):
        super().__init__(["/usr/bin/tinyproxy", "-d", "-c", "{conf}"],
                         "Port {port}\nListen 127.0.0.1\nTimeout 60\nAllow 127.0.0.1\n" + more + "\n")


class Squid(Daemon):
    def __init__(self, access="allow"):
        super().__init__(["/usr/sbin/squid", "-N", "-f", "{conf}"], """
http_port 127.0.0.1:{port}
http_access %s all
cache deny all
pid_filename none
cache_log {folder}/cache.log
access_log none
cache_store_log none
coredump_dir {folder}
shutdown_lifetime 0 seconds
pinger_enable off
max_filedescriptors 1024
visible_hostname trust
""" % access)
