"""Holds the HTTP client against servers nobody here wrote, and against hostile ones.

    http_peers.py CLIENT...      CLIENT is the command of tests/programs/http_client

Every server listens on 127.0.0.1 and a port of the system's choice, and ends with this script.
Each case says what the client has to print; the script prints the cases and fails if one differs.
"""

import contextlib
import functools
import hashlib
import http.server
import pathlib
import random
import re
import shutil
import socket
import socketserver
import struct
import subprocess
import sys
import tempfile
import threading
import time

# The most a server may have sent before a client that limits heads has hung up: its limit of 1 MiB
# and what the system's buffers hold.
HEAD_LIMIT = 1 << 20
BUFFERS = 24 << 20


def sha256(data):
    return hashlib.sha256(data).hexdigest().upper()


def answer(status, headers, body):
    return f"{status}; {headers} headers; body {len(body)} bytes, sha256 {sha256(body)}"


class Case:
    """An address, what the client must print (a text or a set of texts), and a check behind it.

    The options stand before the address for the client, and so for all that follow."""

    def __init__(self, name, address, expected, options=(), check=None):
        self.name = name
        self.address = address
        self.expected = {expected} if isinstance(expected, str) else expected
        self.options = options
        self.check = check


# Servers nobody here wrote


def python_server(folder, context=None):
    """The standard library's file server, over TLS where there is a context for it."""

    class Quiet(http.server.SimpleHTTPRequestHandler):
        def log_message(self, *_):
            pass

        def do_POST(self):
            body = self.rfile.read(int(self.headers["Content-Length"]))
            self.send_response(201, "Made")
            self.end_headers()
            self.wfile.write(posted(self.headers["Content-Type"], body))

    class Server(http.server.ThreadingHTTPServer):
        daemon_threads = True

        def handle_error(self, *_):
            pass  # clients that leave are what the tests are about

    server = Server(("127.0.0.1", 0), functools.partial(Quiet, directory=folder))
    if context:
        server.socket = context.wrap_socket(server.socket, server_side=True,
                                            do_handshake_on_connect=False)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return server.server_address[1]


def posted(content_type, body):
    return f"{content_type} {len(body)} {sha256(body)}".encode()


NGINX = """
daemon off; master_process off; pid {state}/pid; error_log {state}/error.log warn;
events {{ worker_connections 32; }}
http {{
    access_log off; default_type text/plain;
    client_body_temp_path {state}/body; proxy_temp_path {state}/proxy;
    fastcgi_temp_path {state}/fastcgi; uwsgi_temp_path {state}/uwsgi; scgi_temp_path {state}/scgi;
    server {{
        listen 127.0.0.1:{port} {tls}; root {root}; client_max_body_size 0;
        location = /dyn/tarnwell_init {{
            return 200 "$http_origin $http_user_agent $http_host $arg_action $arg_files";
        }}
        location = /form {{ return 200 $content_length; }}
        location = /failing {{ return 500 "no luck"; }}
        location = /moved {{ return 301 http://127.0.0.1/elsewhere; }}
    }}
}}
"""


@contextlib.contextmanager
def nginx_server(folder, state, tls=""):
    """nginx with a configuration of its own, `tls` behind its port; gives the port, another one
    than was tried first where that has been taken."""
    program = shutil.which("nginx") or shutil.which("nginx", path="/usr/sbin")
    if not program:
        sys.exit("nginx is missing. Run: scripts/install-packages.sh test")
    for _ in range(5):
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 0))
            port = probe.getsockname()[1]
        config = pathlib.Path(state, "nginx.conf")
        config.write_text(NGINX.format(state=state, port=port, tls=tls, root=folder))
        process = subprocess.Popen(
            [program, "-p", state, "-c", config, "-e", f"{state}/error.log"])
        try:
            if wait_for(port, process):
                yield port
                return
        finally:
            process.terminate()
            process.wait(10)
    sys.exit("nginx does not start: " + pathlib.Path(state, "error.log").read_text())


def wait_for(port, process):
    for _ in range(200):
        if process.poll() is not None:
            return False
        with socket.socket() as probe:
            if probe.connect_ex(("127.0.0.1", port)) == 0:
                return True
        time.sleep(0.05)
    return False


# Hostile servers


class Hostile:
    """Serves one behaviour, a function of the connected socket, and counts what it sent."""

    def __init__(self, behaviour, scheme="http"):
        self.sent = 0
        outer = self

        class Handler(socketserver.BaseRequestHandler):
            def handle(self):
                self.request.settimeout(60)
                with contextlib.suppress(OSError):
                    behaviour(self.request, outer)

        class Server(socketserver.ThreadingTCPServer):
            daemon_threads = True

        self.server = Server(("127.0.0.1", 0), Handler)
        threading.Thread(target=self.server.serve_forever, daemon=True).start()
        self.address = f"{scheme}://localhost:{self.server.server_address[1]}/"

    def send(self, peer, data):
        peer.sendall(data)
        self.sent += len(data)

    def gave_up_in_time(self):
        return None if self.sent <= HEAD_LIMIT + BUFFERS else f"the client took {self.sent} bytes"


def read_request(peer):
    data = b""
    while not data.endswith(b"\r\n\r\n"):
        piece = peer.recv(4096)
        if not piece:
            return
        data += piece


def reset(peer):
    """Resets the connection while the client waits."""
    time.sleep(0.3)
    peer.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    peer.close()


def hangs_up(peer, _):
    pass


def hangs_up_after_the_request(peer, _):
    read_request(peer)


DRIPPED = b"HTTP/1.1 200 Drip\r\nX-A :  b c  \r\nX-A: \r\n\r\n" + b"drop " * 20


def drips(peer, server):
    read_request(peer)
    peer.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
    for byte in DRIPPED:
        server.send(peer, bytes([byte]))
        time.sleep(0.002)


def endless(start, block):
    def behaviour(peer, server):
        read_request(peer)
        server.send(peer, start)
        while server.sent < 4 * (HEAD_LIMIT + BUFFERS):
            server.send(peer, block)

    return behaviour


def says(data):
    def behaviour(peer, server):
        read_request(peer)
        server.send(peer, data)

    return behaviour


def resets_in(data):
    def behaviour(peer, server):
        read_request(peer)
        server.send(peer, data)
        reset(peer)

    return behaviour


HTTP2 = (b"PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n"
         # an empty SETTINGS frame, as RFC 9113, section 3.4, lets a server begin
         + b"\0\0\0\4\0\0\0\0\0")


def hostile_cases():
    bad = "error Bad HTTP response"
    was_reset = "error Unable to receive data: Connection reset by peer"
    noise = random.Random(7).randbytes(100_000)
    head = b"HTTP/1.1 200 OK\r\nA: b\r\n"
    # Who closes without reading may reset; where the client notices is a matter of time.
    any_end = {bad, was_reset} | {
        f"error Unable to send data: {text}"
        for text in ("Connection reset by peer", "Software caused connection abort",
                     "Can't send after socket shutdown")}

    def case(name, behaviour, expected, bounded=False):
        server = Hostile(behaviour)
        return Case(name, server.address, expected,
                    check=server.gave_up_in_time if bounded else None)

    return [
        case("closes at once", hangs_up, any_end),
        case("closes after the request", hangs_up_after_the_request, bad),
        case("drips a byte at a time", drips, answer("200 Drip", 2, b"drop " * 20)),
        case("endless status line", endless(b"HTTP/1.1 200 ", b"x" * 65536), bad, True),
        case("endless header line", endless(head, b"x" * 65536), bad, True),
        case("endless headers", endless(head, b"Name: value\r\n" * 5000), bad, True),
        case("endless carriage returns", endless(head, b"\r" * 65536), bad, True),
        case("HTTP/2 preface", says(HTTP2), bad),
        case("HTTP/2 status line", says(b"HTTP/2 200 OK\r\n\r\n"), bad),
        case("binary noise", says(noise), bad),
        case("noise behind a good head", says(head + b"\r\n" + noise), answer("200 OK", 1, noise)),
        case("reset in the head", resets_in(head), was_reset),
        case("reset in the body", resets_in(head + b"\r\nhalf"), was_reset),
        case("ends in the head", says(head), answer("200 OK", 1, b"")),
        case("an error with a head", says(b"HTTP/1.0 500 Internal Server Error\r\n\r\n"),
             answer("500 Internal Server Error", 0, b"")),
    ]


def address_cases(silent_port):
    return [
        Case("nobody listens", f"http://127.0.0.1:{silent_port}/",
             "error Connection failed: Connection refused"),
        Case("port with a letter", "http://127.0.0.1:80x/", "error Invalid URL format"),
        Case("another scheme", "ftp://127.0.0.1/", "error Invalid protocol : ftp"),
        Case("no such name", f"http://{'h' * 300}/", f'error Host "{"h" * 300}" not found'),
    ]


def friendly_cases(python, nginx, small, large):
    python, nginx = (f"http://127.0.0.1:{port}" for port in (python, nginx))
    query = "/dyn/tarnwell_init?action=SIGN&files=C%3A%5Ca%20b.txt%2CD%3A%5C%C3%A9.txt"
    seen = b"tarnwell.localhost ZELSS 127.0.0.1 SIGN C%3A%5Ca%20b.txt%2CD%3A%5C%C3%A9.txt"
    found = [(python, "http.server", 5), (nginx, "nginx", 8)]
    for address, name, headers in found:
        yield Case(f"{name}: small file", f"{address}/small.txt",
                   answer("200 OK", headers, small))
        yield Case(f"{name}: 3 MB file", f"{address}/large.bin", answer("200 OK", headers, large))
        yield Case(f"{name}: no such file", f"{address}/none", re.compile(r"404 .*; body \d{3} .*"))
    yield Case("http.server: a form", f"{python}/form",
               answer("201 Made", 2, posted("application/x-www-form-urlencoded", b"a=b&c=%20d")),
               options=["--form=a=b&c=%20d"])
    yield Case("nginx: the request as the manager gets it", nginx + query,
               answer("200 OK", 5, seen))
    yield Case("nginx: failing page", f"{nginx}/failing",
               answer("500 Internal Server Error", 5, b"no luck"))
    yield Case("nginx: a redirection is not followed", f"{nginx}/moved",
               re.compile(r"301 Moved Permanently; 6 headers; .*"))


def run(client, cases):
    """Runs the client over all cases at once, those with options last; returns whether all is as
    expected."""
    cases = sorted(cases, key=lambda case: bool(case.options))
    command = list(client)
    for case in cases:
        command += [*case.options, case.address]
    try:
        result = subprocess.run(command, stdout=subprocess.PIPE, timeout=150, check=False)
        output, status = result.stdout, result.returncode
    except subprocess.TimeoutExpired as late:
        output, status = late.stdout or b"", "hanging"
    lines = output.decode("utf-8", "replace").replace("\r\n", "\n").split("\n")
    good = status == 0
    if not good:
        print(f"the client ended with status {status}")
    for case, line in zip(cases, lines + ["nothing"] * len(cases)):
        fault = case.check() if case.check else None
        if isinstance(case.expected, re.Pattern):
            matches, wanted = case.expected.fullmatch(line), case.expected.pattern
        else:
            matches, wanted = line in case.expected, " or ".join(sorted(case.expected))
        if matches and not fault:
            print(f"ok    {case.name}")
        else:
            good = False
            print(f"FAIL  {case.name}: {fault or line}\n      expected {wanted}")
    return good


def main(client):
    small = b"a small file\n"
    large = random.Random(3).randbytes(3_000_000)
    with tempfile.TemporaryDirectory() as folder, tempfile.TemporaryDirectory() as state:
        pathlib.Path(folder).chmod(0o755)
        pathlib.Path(folder, "small.txt").write_bytes(small)
        pathlib.Path(folder, "large.bin").write_bytes(large)
        python = python_server(folder)
        with nginx_server(folder, state) as nginx, socket.socket() as silent:
            silent.bind(("127.0.0.1", 0))  # taken, but nobody listens
            cases = [*friendly_cases(python, nginx, small, large), *hostile_cases(),
                     *address_cases(silent.getsockname()[1])]
            return 0 if run(client, cases) else 1


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    sys.exit(main(sys.argv[1:]))
