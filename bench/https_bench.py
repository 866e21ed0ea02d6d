#!/usr/bin/env python3
"""100 MiB over TLS between nginx and the HTTPS client, down and up, beside the same transfer by curl.

    https_bench.py [CLIENT...]     CLIENT is the command of tests/programs/http_client

Rates are those of the fastest of many runs, taken in turn; the ratio is to curl's.
"""

import os
import pathlib
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).parents[1] / "tests" / "e2e"))
import https_pki  # noqa: E402
from http_peers import nginx_server  # noqa: E402

SIZE = 100 << 20
TARGET = 0.8
ROUNDS = 20  # of five, none may have been left alone by the rest of the machine


def seconds(command):
    return float(subprocess.run(list(map(str, command)), check=True, stdout=subprocess.PIPE,
                                text=True).stdout)


def main(client):
    with tempfile.TemporaryDirectory() as folder, tempfile.TemporaryDirectory() as state:
        pki = pathlib.Path(folder)
        pki.chmod(0o755)
        https_pki.Authority(pki, "root", "http://127.0.0.1").issue(
            "right", https_pki.server("DNS:localhost"))
        (pki / "body").write_bytes(os.urandom(SIZE))
        slow = False
        for version in ("TLSv1.2", "TLSv1.3"):
            # A proxy takes a request whole before it finds that there is nobody to pass it on to.
            tls = (f"ssl; ssl_protocols {version}; ssl_certificate {pki}/right.pem; "
                   f"location = /sink {{ proxy_pass http://127.0.0.1:1; }} "
                   f"ssl_certificate_key {pki}/server.key")
            with nginx_server(folder, state, tls) as port:
                address = f"https://localhost:{port}"
                ours = [*client, "--time", f"--trust={pki}/right.der"]
                curl = ["curl", "-s", "-o", "/dev/null", "-w", "%{time_total}", "-H", "Expect:",
                        "--cacert", pki / "root.pem"]
                for name, mine, other in (
                        ("down", [*ours, f"{address}/body"], [*curl, f"{address}/body"]),
                        ("up", [*ours, f"--post={SIZE}", f"{address}/sink"],
                         [*curl, "--data-binary", f"@{pki}/body", f"{address}/sink"])):
                    times = [(seconds(mine), seconds(other)) for _ in range(ROUNDS)]
                    mine, other = (min(column) for column in zip(*times))
                    slow = slow or other / mine < TARGET
                    print(f"https/{version}/{name}: {SIZE / mine / 1e6:.0f} MB/s, "
                          f"curl {SIZE / other / 1e6:.0f} MB/s, ratio {other / mine:.2f} "
                          f"(target {TARGET})")
        return 1 if slow else 0


if __name__ == "__main__":
    build = pathlib.Path(os.environ.get("TARNWELL_BUILD", "build/native/bin"))
    sys.exit(main(sys.argv[1:] or [build / "http_client"]))
