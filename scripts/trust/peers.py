"""Collectors and proxies: Debian's nginx and tinyproxy, and a server that misbehaves as told."""
import http.server
import pathlib
import re
import shutil
import socket
import struct
import subprocess
import tempfile
import threading
import time

from host import wait_for

OK = b"HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok"


def free_port():
    with socket.create_server(("127.0.0.1", 0)) as probe:
        return probe.getsockname()[1]


def reset(connection):
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))


def labels(hits):
    return [re.search("el=([^&]*)", hit)[1][:12] for hit in hits]


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_POST(self):
        body = self.rfile.read(int(self.headers["Content-Length"])).decode()
        with self.server.lock:
            number = len(self.server.bodies)
            self.server.bodies.append(body)
        self.close_connection = not self.server.behave(self.server, self.connection, number)

    def log_message(self, *_):
        pass


class Peer(http.server.ThreadingHTTPServer):
    """Receives POST requests. behave(peer, connection, index) answers a hit, and returns whether to stay connected."""
    request_queue_size = 512

    def __init__(self, behave=None, resets=False):
        super().__init__(("127.0.0.1", 0), Handler)
        self.behave, self.resets, self.bodies = behave or answers(OK), resets, []
        self.lock, self.ended = threading.Lock(), threading.Event()
        self.address = f"127.0.0.1:{self.server_port}"
        self.url = f"http://{self.address}/collect"
        threading.Thread(target=self.serve_forever, args=(0.05,), daemon=True).start()

    def verify_request(self, request, _):
        if self.resets:
            reset(request)
        return not self.resets

    def shutdown_request(self, request):
        request.close()  # without shutdown(), which would send a FIN before the reset

    def handle_error(self, *_):
        pass  # the host has closed its connection

    def arrived(self):
        return labels(self.bodies)

    def __exit__(self, *_):
        self.ended.set()
        self.shutdown()
        self.server_close()


def answers(text, keep=True):
    return lambda _peer, connection, _number: connection.sendall(text) or keep


def closes_after_the_first(_peer, connection, number):
    return connection.sendall(OK) or number != 0


def closes_under_the_second(_peer, connection, number):
    return number != 1 and (connection.sendall(OK) or True)


def resets_after(text):
    def behave(_peer, connection, _number):
        connection.sendall(text)
        time.sleep(0.05)  # until the bytes are read; a reset discards unread ones
        reset(connection)
    return behave


def never_ends(peer, connection, _number):
    connection.sendall(b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n")
    while not peer.ended.wait(0.01):
        connection.sendall(b"3e8\r\n" + b"x" * 1000 + b"\r\n")


def keeps_silent(peer, _connection, _number):
    peer.ended.wait()


class Daemon:
    """A server that runs in the foreground, with a separate folder."""

    def __init__(self, command, configuration):
        self.folder, port = pathlib.Path(tempfile.mkdtemp(prefix="ostrel-peer-")), free_port()
        self.folder.chmod(0o777)
        self.address = f"127.0.0.1:{port}"
        file = self.folder / "conf"
        file.write_text(configuration % {"folder": self.folder, "port": port})
        self.process = subprocess.Popen([*command, "-c", file], stdout=subprocess.DEVNULL)
        with socket.socket() as probe:
            wait_for(f"{command[0]} listens", lambda: probe.connect_ex(("127.0.0.1", port)), 0)

    def stop(self):
        self.process.terminate()
        self.process.wait()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stop()
        shutil.rmtree(self.folder)


class Nginx(Daemon):
    """A collector that logs each body."""

    def __init__(self):
        # nginx reads the body, and can log it, only because it passes the request on.
        super().__init__(["/usr/sbin/nginx", "-e", "stderr"], """
daemon off; worker_processes 1; pid %(folder)s/pid; error_log %(folder)s/error;
events { worker_connections 512; }
http {
    log_format body escape=none '$request_body'; access_log off; keepalive_requests 1000000000;
    client_body_temp_path %(folder)s/a; proxy_temp_path %(folder)s/b; fastcgi_temp_path %(folder)s/c;
    uwsgi_temp_path %(folder)s/d; scgi_temp_path %(folder)s/e;
    upstream sink { server unix:%(folder)s/sink; keepalive 4; }
    server { listen unix:%(folder)s/sink; return 200 ok; }
    server {
        listen 127.0.0.1:%(port)d;
        location /collect { access_log %(folder)s/bodies body; proxy_http_version 1.1;
            proxy_set_header Connection ""; proxy_pass http://sink; }
    }
}""")
        self.url = f"http://{self.address}/collect"

    def arrived(self):
        """@return the labels, without a line that nginx is still writing"""
        return labels((self.folder / "bodies").read_text().split("\n")[:-1])


class Tinyproxy(Daemon):
    def __init__(self, more=""):
        super().__init__(["/usr/bin/tinyproxy", "-d"], "Port %(port)d\nListen 127.0.0.1\n" + more + "\n")
