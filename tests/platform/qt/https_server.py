#!/usr/bin/env python3
"""An HTTPS server that does what servers do wrong. Its certificates are made in FOLDER, which gets
authority.pem; one line on standard output tells the ports, such as

    good=40001 localhost=40002 wrong-host=40003 expired=40004 unknown=40005 ...

Each of tls-1.0, tls-1.1 and tls-1.2 speaks that version of TLS and no other; one that this machine's TLS
library cannot speak is not told. It ends with its standard input. usage: https_server.py FOLDER
"""

import gzip
import socket
import socketserver
import ssl
import struct
import sys
import threading
import time
import warnings
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "support"))
import certificates  # noqa: E402

HERE = "DNS:localhost,IP:127.0.0.1"
PORTS = {}
SEEN = {"plain": 0}  # connections
PIECE = bytes(range(256)) * 256
STALL = 30  # seconds; no test waits for the end of it
VERSIONS = {"tls-1.0": ssl.TLSVersion.TLSv1, "tls-1.1": ssl.TLSVersion.TLSv1_1, "tls-1.2": ssl.TLSVersion.TLSv1_2}


def pattern(size):
    """`size` bytes that are not the same everywhere."""
    return (PIECE * (size // len(PIECE) + 1))[:size]


def response(status, body=b"", headers=()):
    lines = [f"HTTP/1.1 {status} Whatever", *headers]
    if not any(line.lower().startswith(("content-length", "transfer-encoding")) for line in lines):
        lines.append(f"Content-Length: {len(body)}")
    return "\r\n".join(lines).encode() + b"\r\n\r\n" + body


def chunk(data):
    return f"{len(data):x}\r\n".encode() + data + b"\r\n"


class Answers:
    """A method for each first part of a path; the rest of the path are its arguments."""

    def __init__(self, connection, request):
        self.send = connection.sendall
        self.connection = connection
        self.request = request

    def status(self, status):
        body = b"" if status in ("204", "304") else f"body of {status}".encode()
        self.send(response(status, body))

    def empty(self):
        self.send(response(200))

    def request_head(self):
        self.send(response(200, self.request))

    def redirect(self, status, times):
        left = int(times)
        where = "/status/200" if left == 0 else f"/redirect/{status}/{left - 1}"
        self.send(response(status, b"moved", [f"Location: {where}"]))

    def redirect_far(self):
        self.send(response(302, b"", [f"Location: https://localhost:{PORTS['localhost']}/status/200"]))

    def redirect_plain(self):
        self.send(response(302, b"", [f"Location: http://127.0.0.1:{PORTS['plain']}/"]))

    def redirect_file(self):
        self.send(response(302, b"", ["Location: file:///etc/hostname"]))

    def redirect_empty(self):
        self.send(response(302, b"nowhere"))

    def redirect_endless(self):
        self.send(response(302, b"", ["Location: /status/200", "Content-Length: 2147483648"]))
        self.pour(b"x" * 65536)

    def loop(self):
        self.send(response(302, b"", ["Location: /loop"]))

    def stalled(self):
        time.sleep(STALL)

    def stalled_within(self):
        self.send(response(200, b"beginning", ["Content-Length: 1000"]))
        time.sleep(STALL)

    def stalled_headers(self):
        self.send(b"HTTP/1.1 200 OK\r\nContent-Le")
        time.sleep(STALL)

    def dripping(self, seconds, count):
        self.send(response(200, b"", [f"Content-Length: {count}"]))
        for _ in range(int(count)):
            time.sleep(float(seconds))
            self.send(b"x")

    def cut(self):
        self.send(response(200, b"x" * 500, ["Content-Length: 1000"]))

    def cut_reset(self):
        self.cut()
        self.connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))

    def cut_abrupt(self):
        self.cut()
        self.connection.close_notify = False

    def cut_missing(self):
        self.send(response(404, b"x" * 500, ["Content-Length: 1000"]))

    def cut_chunked(self):
        self.send(response(200, chunk(b"x" * 500), ["Transfer-Encoding: chunked"]))

    def cut_headers(self):
        self.send(b"HTTP/1.1 200 OK\r\nContent-Length: 0\r\n")

    def unframed(self):
        self.send(b"HTTP/1.1 200 OK\r\n\r\nup to the end")

    def unframed_cut(self):
        self.unframed()
        self.connection.close_notify = False

    def length(self, text):
        self.send(response(200, b"12345", [f"Content-Length: {text}"]))

    def announced(self, size):
        self.send(response(200, b"beginning", [f"Content-Length: {size}"]))
        time.sleep(STALL)

    def sized(self, size):
        self.send(response(200, pattern(int(size))))

    def chunked(self, size):
        self.send(response(200, b"", ["Transfer-Encoding: chunked"]))
        body = pattern(int(size))
        for start in range(0, len(body), 10000):
            self.send(chunk(body[start:start + 10000]))
        self.send(chunk(b""))

    def endless(self):
        self.send(response(200, b"", ["Transfer-Encoding: chunked"]))
        self.pour(chunk(b"x" * 65536))

    def bomb(self):
        bomb = gzip.compress(bytes(100 << 20), 1)
        self.send(response(200, bomb, ["Content-Encoding: gzip"]))

    def locked(self):
        self.send(response(401, b"who?", ['WWW-Authenticate: Basic realm="x"']))

    def cookie(self):
        self.send(response(200, b"taken", ["Set-Cookie: who=you; Max-Age=1000", "ETag: \"1\"",
                                           "Cache-Control: max-age=1000"]))

    def plain_connections(self):
        self.send(response(200, str(SEEN["plain"]).encode()))

    def pour(self, data):
        while True:
            self.send(data)


def read_head(connection):
    head = b""
    while b"\r\n\r\n" not in head:
        piece = connection.recv(4096)
        if not piece:
            raise ConnectionError
        head += piece
    return head


def say_farewell(connection):
    connection.settimeout(0)  # without waiting for the client's own
    try:
        connection.unwrap()
    except ssl.SSLError:
        pass


def make_handler(kind, context):
    class Handler(socketserver.BaseRequestHandler):
        def handle(self):
            try:
                self.answer()
            except OSError:  # the client has left, or does not want this certificate
                pass

        def answer(self):
            if kind == "plain":
                SEEN["plain"] += 1
                self.request.sendall(response(200, b"plain"))
                return
            if kind == "no-tls":
                self.request.sendall(b"Hello?\r\n" * 100)
                return
            connection = context.wrap_socket(self.request, server_side=True)
            connection.close_notify = True
            head = read_head(connection)
            if kind == "garbage":
                connection.sendall(b"\x00\xffgarbage\r\n\r\n" * 10)
            else:
                path = head.split(b" ")[1].decode()
                name, *arguments = path.lstrip("/").split("/")
                getattr(Answers(connection, head), name.replace("-", "_"))(*arguments)
            if connection.close_notify:
                say_farewell(connection)
            connection.close()

    return Handler


class Server(socketserver.ThreadingTCPServer):
    daemon_threads = True
    allow_reuse_address = True
    request_queue_size = 32


def bind(context, version):
    """Has it speak that version only, though the library may hold it for too old."""
    context.set_ciphers("ALL:@SECLEVEL=0")
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", DeprecationWarning)
        context.minimum_version = version
        context.maximum_version = version


def speaks(port, version):
    """Whether a client that is willing to gets an answer in that version."""
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_CLIENT)
    context.check_hostname = False
    context.verify_mode = ssl.CERT_NONE
    bind(context, version)
    try:
        with context.wrap_socket(socket.create_connection(("127.0.0.1", port), timeout=STALL)) as connection:
            connection.sendall(b"GET /status/200 HTTP/1.1\r\n\r\n")
            return connection.recv(4096).startswith(b"HTTP/1.1 200")
    except ssl.SSLError:
        return False


def serve(kind, certificate, folder):
    context = None
    if certificate:
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(folder / f"{certificate}.pem", folder / f"{certificate}.key")
        if kind in VERSIONS:
            bind(context, VERSIONS[kind])
    server = Server(("127.0.0.1", 0), make_handler(kind, context))
    threading.Thread(target=server.serve_forever, daemon=True).start()
    PORTS[kind] = server.server_address[1]


def main():
    folder = Path(sys.argv[1])
    certificates.make_authority(folder, "authority")
    certificates.make_authority(folder, "stranger")
    certificates.make_certificate(folder, "authority", "here", HERE)
    certificates.make_certificate(folder, "authority", "elsewhere", "DNS:elsewhere.example")
    certificates.make_certificate(folder, "authority", "late", HERE, ended=True)
    certificates.make_certificate(folder, "stranger", "strange", HERE)
    for kind, certificate in {"good": "here", "localhost": "here", "wrong-host": "elsewhere",
                              "expired": "late", "unknown": "strange", "garbage": "here",
                              "no-tls": None, "plain": None, **dict.fromkeys(VERSIONS, "here")}.items():
        serve(kind, certificate, folder)
    for kind, version in VERSIONS.items():
        if not speaks(PORTS[kind], version):
            del PORTS[kind]
    print(*(f"{kind}={port}" for kind, port in PORTS.items()), flush=True)
    sys.stdin.read()


main()
