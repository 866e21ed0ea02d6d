"""Holds the HTTPS client against servers nobody here wrote, and against hostile ones; and the
server side against such clients.

    https.py PREFIX CLIENT... -- SERVER...

CLIENT and SERVER are the commands of tests/programs/http_client and https_server. PREFIX is the Wine
prefix that both run in, into which the test's root is put; "" for native programs, which have no
system to ask for trust and believe in one certificate that they are given.
"""

import contextlib
import os
import pathlib
import re
import socket
import ssl
import subprocess
import sys
import tempfile

import https_pki
from http_peers import (Case, answer, hostile, nginx_server, posted, python_server, read_request,
                        reset, resets_in, run, says, sha256)

UNTRUSTED = "error SSL connect failed: untrusted certificate chain"
FORM = "application/x-www-form-urlencoded"
SMALL = b"a small file\n"
MIB = 1 << 20


def pattern(count):
    return (bytes(range(251)) * (count // 251 + 1))[:count]


def server_context(pki, name):
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(pki / f"{name}.pem", pki / f"{'self' if name == 'self' else 'server'}.key")
    context.minimum_version = ssl.TLSVersion.TLSv1_3
    return context


def transfers(stack, pki, folder, large):
    """Good servers, nginx for version 1.2 and Python's for 1.3, small and large bodies both ways."""
    python = f"https://localhost:{python_server(folder, server_context(pki, 'right'))}"
    state = stack.enter_context(tempfile.TemporaryDirectory())
    nginx = stack.enter_context(nginx_server(
        folder, state, f"ssl; ssl_protocols TLSv1.2; ssl_certificate {pki}/right.pem; "
                       f"ssl_certificate_key {pki}/server.key"))
    nginx = f"https://localhost:{nginx}"
    yield Case("nginx: small file", f"{nginx}/small.txt", answer("200 OK", 8, SMALL))
    yield Case("python: large file", f"{python}/large.bin", answer("200 OK", 5, large))
    yield Case("nginx: a request of 1 MiB", f"{nginx}/form", answer("200 OK", 5, b"1048576"),
               options=(f"--post={MIB}",))
    yield Case("python: a large request", python,
               answer("201 Made", 2, posted(FORM, large)), options=(f"--post={len(large)}",))


# Hostile servers


def in_the_clear(data):
    def behaviour(peer):
        peer.recv(4096)
        peer.sendall(data)

    return behaviour


def resets_on_the_greeting(peer):
    peer.recv(4096)
    reset(peer)


def secured(pki, behaviour):
    """Behaves well until the handshake is over, and never says TLS's farewell."""
    context = server_context(pki, "right")

    def secure(peer):
        with context.wrap_socket(peer, server_side=True) as session:
            behaviour(session)

    return secure


def garbage(session):
    read_request(session)
    os.write(session.fileno(), b"HTTP/1.1 200 OK\r\n\r\nin the clear")


def hostile_cases(pki):
    refused = "error SSL connect failed: "
    # The socket has nothing to say where TLS itself finds the fault.
    broken = "error Unable to receive data: No error"
    for name, behaviour, expected in (
            ("answers in the clear", in_the_clear(b"HTTP/1.1 400 Bad Request\r\n\r\n"),
             refused + "error:0A00010B:SSL routines::wrong version number"),
            ("answers with noise", in_the_clear(b"\x16\x03\x03\x00\x05noise" + b"\xff" * 100),
             re.compile(refused + "error:0A[0-9A-F]{6}:SSL routines::.+")),
            ("closes in the handshake", in_the_clear(b""),
             refused + "error:0A000126:SSL routines::unexpected eof while reading"),
            ("resets in the handshake", resets_on_the_greeting, refused),
            ("garbage behind the handshake", secured(pki, garbage), broken),
            ("no farewell: all that came is the body",
             secured(pki, says(b"HTTP/1.1 200 OK\r\n\r\nhalf")), answer("200 OK", 0, b"half")),
            ("resets behind the handshake", secured(pki, resets_in(b"")),
             "error Unable to receive data: Connection reset by peer")):
        yield Case(name, hostile(behaviour, "https"), expected)


# Trust


def trust_cases(pki, folder):
    """What the chain engine says of servers, by what they show.

    These are Wine's answers; nobody has seen Windows' own here. Wine's policy by itself would pass
    "foreign" and "under-unseen", whose chains have no root. It keeps a wrong answer for a revoked
    certificate that it is asked about twice, so each is asked about once."""
    for name, trusted in (("under-installed", True), ("expired", False), ("elsewhere", False),
                          ("client", False), ("revoked", False), ("unlisted", False), ("foreign", False),
                          ("self", False), ("under-unseen", False), ("under-fallen", False)):
        port = python_server(folder, server_context(pki, name))
        yield Case(f"trust: {name}", f"https://localhost:{port}/small.txt",
                   answer("200 OK", 5, SMALL) if trusted else UNTRUSTED)
    for host, verdict in (("a.peers.test", "trusted"), ("A.PEERS.TEST", "trusted"),
                          ("peers.test", "untrusted"), ("a.b.peers.test", "untrusted"),
                          ("a.peers.test.evil.test", "untrusted")):
        yield Case(f"trust: wildcard for {host}", host, verdict,
                   options=(f"--judge={pki}/wildcard.der",))


# The server side


def server_side(command, pki, large, wine):
    """Foreign clients, one after the other; returns whether each got and left what it should."""
    good = True
    with subprocess.Popen([*command, pki / "right.pem", pki / "server.key"], text=True,
                          stdout=subprocess.PIPE) as server:
        port = int(server.stdout.readline().split()[1])
        address = f"https://localhost:{port}"

        def check(name, log, expected, client):
            nonlocal good
            try:
                got = client()
            except OSError as error:
                got = str(error)
            line = server.stdout.readline().rstrip("\n")
            fits = got == expected and re.fullmatch(log, line)
            good = good and bool(fits)
            print(f"ok    {name}" if fits else f"FAIL  {name}: {got[:200]!r}, server: {line}\n"
                                               f"      expected {expected[:200]!r}, server: {log}")

        def curl(path, *options, body=None):
            return subprocess.run(
                ["curl", "-s", "--cacert", pki / "root.pem", "-H", "Expect:", *options,
                 *(["--data-binary", "@-"] if body else []), address + path],
                input=body, stdout=subprocess.PIPE, timeout=60, check=False).stdout

        def leaves(last):
            with socket.create_connection(("127.0.0.1", port)) as peer:
                peer.sendall(last)
                if not last:
                    reset(peer)
            return b""

        def told(body):
            return f"{len(body)} {sha256(body)}\r\n".encode()

        small = pattern(MIB)
        for version in ("1.2", "1.3"):
            options = [f"--tlsv{version}", "--tls-max", version]
            check(f"curl {version}: 1 MiB", f"GET /bytes/{MIB}", small,
                  lambda options=options: curl(f"/bytes/{MIB}", *options))
            check(f"curl {version}: a request of 1 MiB", "POST /", told(small),
                  lambda options=options: curl("/", *options, body=small))
        check("curl: a large body", f"GET /bytes/{len(large)}", large,
              lambda: curl(f"/bytes/{len(large)}"))
        check("curl: a large request", "POST /", told(large), lambda: curl("/", body=large))
        refused = "error SSL accept failed: "
        check("a client without TLS", refused + "1error:0A00009C:SSL routines::http request",
              b"", lambda: leaves(b"GET / HTTP/1.0\r\n\r\n"))
        check("a client that believes in nobody",
              refused + "1error:0A000418:SSL routines::tlsv1 alert unknown ca", b"",
              lambda: curl("/", "--cacert", pki / "stranger.pem"))
        ended = refused + "1error:0A000126:SSL routines::unexpected eof while reading"
        check("a client that leaves in the greeting", ended, b"",
              lambda: leaves(b"\x16\x03\x01"))
        # Wine's select, which the server's deadline needs, swallows the reset.
        was_reset = "5error:00000000:lib.0.::reason.0. /// Connection reset by peer"
        check("a client that resets", ended if wine else refused + was_reset, b"",
              lambda: leaves(b""))
        check("the end", "GET /quit", told(b""), lambda: curl("/quit"))
        return server.wait(20) == 0 and good


def main(prefix, client, server):
    large = pattern(10 * MIB)
    with contextlib.ExitStack() as stack:
        folder = pathlib.Path(stack.enter_context(tempfile.TemporaryDirectory()))
        pki = pathlib.Path(stack.enter_context(tempfile.TemporaryDirectory()))
        for readable in (folder, pki):
            readable.chmod(0o755)
        (folder / "small.txt").write_bytes(SMALL)
        (folder / "large.bin").write_bytes(large)
        https_pki.make(pki, f"http://127.0.0.1:{python_server(pki)}")
        cases = [*transfers(stack, pki, folder, large), *hostile_cases(pki)]
        if prefix:
            for store, name in (("Root", "root"), ("CA", "installed"), ("CA", "fallen")):
                subprocess.run(["scripts/trust", prefix, pki / f"{name}.pem", store], check=True)
            cases += trust_cases(pki, folder)
        else:
            client = [*client, f"--trust={pki}/right.der"]
            port = python_server(folder, server_context(pki, "elsewhere"))
            cases.append(Case("another certificate", f"https://localhost:{port}/", UNTRUSTED))
        return 0 if run(client, cases) & server_side(server, pki, large, prefix) else 1


if __name__ == "__main__":
    if len(sys.argv) < 5 or "--" not in sys.argv:
        sys.exit(__doc__)
    split = sys.argv.index("--")
    sys.exit(main(sys.argv[1], sys.argv[2:split], sys.argv[split + 1:]))
