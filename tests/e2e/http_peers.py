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
import typing


def sha256(data):
    return hashlib.sha256(data).hexdigest().upper()


def answer(status, headers, body):
    return f"{status}; {headers} headers; body {len(body)} bytes, sha256 {sha256(body)}"


class Case(typing.NamedTuple):
    """An address and what the client must print: a text, or a pattern of it.

    The options stand before the address for the client, and so for all that follow."""

    name: str
    address: str
    expected: str | re.Pattern
    options: tuple = ()


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


def hostile(behaviour, scheme="http"):
    """Starts a server of one behaviour, a function of the connected socket; gives its address."""

    class Handler(socketserver.BaseRequestHandler):
        def handle(self):
            self.request.settimeout(60)
            with contextlib.suppress(OSError):
                behaviour(self.request)

    class Server(socketserver.ThreadingTCPServer):
        daemon_threads = True

    server = Server(("127.0.0.1", 0), Handler)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return f"{scheme}://localhost:{server.server_address[1]}/"


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


def says(data):
    def behaviour(peer):
        read_request(peer)
        peer.sendall(data)

    return behaviour


def resets_in(data):
    def behaviour(peer):
        read_request(peer)
        peer.sendall(data)
        reset(peer)

    return behaviour


def hostile_cases():
    bad = "error Bad HTTP response"
    noise = random.Random(7).randbytes(100_000)
    head = b"HTTP/1.1 200 OK\r\nA: b\r\n"
    for name, behaviour, expected in (
            ("head without end", says(head + b"Name: value\r\n" * 500_000), bad),
            ("binary noise", says(noise), bad),
            ("noise behind a good head", says(head + b"\r\n" + noise), answer("200 OK", 1, noise)),
            ("ends in the head", says(head), answer("200 OK", 1, b"")),
            ("reset in the body", resets_in(head + b"\r\nhalf"),
             "error Unable to receive data: Connection reset by peer")):
        yield Case(name, hostile(behaviour), expected)


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
        is_pattern = isinstance(case.expected, re.Pattern)
        if case.expected.fullmatch(line) if is_pattern else case.expected == line:
            print(f"ok    {case.name}")
        else:
            good = False
            print(f"FAIL  {case.name}: {line}\n      expected {case.expected}")
    return good


def main(client):
    small = b"a small file\n"
    large = random.Random(3).randbytes(3_000_000)
    with tempfile.TemporaryDirectory() as folder, tempfile.TemporaryDirectory() as state:
        pathlib.Path(folder).chmod(0o755)
        pathlib.Path(folder, "small.txt").write_bytes(small)
        pathlib.Path(folder, "large.bin").write_bytes(large)
        python = python_server(folder)
        with nginx_server(folder, state) as nginx:
            cases = [*friendly_cases(python, nginx, small, large), *hostile_cases()]
            return 0 if run(client, cases) else 1


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    sys.exit(main(sys.argv[1:]))
