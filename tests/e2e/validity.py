"""The verdict on signed files, from Wine's own certificate chains.

Run by validity.sh, which sets TARNWELL_BUILD and TARNWELL_WINEPREFIX. The authorities, certificates
and revocation lists are made here with the openssl command line; the lists are served on loopback.

Where Wine's chains are not Windows':
- a list past its next update counts as up to date (Windows: revocation unknown; the verdict is the
  same, since both tolerate that);
- once the answer "revoked" is in the cache of lists, a second question about the certificate gets
  "good": each revoked certificate here is asked about once only;
- Windows also looks for a missing intermediate where the certificate says it is published
  (authority information access); Wine does not, and the certificates here do not say.
"""
import collections
import datetime
import http.server
import pathlib
import shutil
import socket
import subprocess
import tempfile
import threading
import unittest

from driver import BUILD, DRIVE, openssl, windows, wine

VALID, INVALID = "208", "209"

# Bits of CERT_TRUST_STATUS::dwErrorStatus.
NOT_IN_TIME, REVOKED, BAD_SIGNATURE, UNTRUSTED_ROOT = 0x1, 0x4, 0x8, 0x20
REVOCATION_UNKNOWN, PARTIAL_CHAIN, OFFLINE = 0x40, 0x10000, 0x1000000

CONFIG = """
[ca]
default_ca = authority
[authority]
database = {folder}/index.txt
new_certs_dir = {folder}
certificate = {folder}/ca.pem
private_key = {folder}/ca.key
default_md = sha256
default_crl_days = 7
rand_serial = yes
policy = any
unique_subject = no
[any]
commonName = supplied
"""


def days_from_now(days: int) -> str:
    now = datetime.datetime.now(datetime.timezone.utc)
    return (now + datetime.timedelta(days)).strftime("%Y%m%d%H%M%SZ")


def new_key(path):
    openssl("genpkey", "-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:2048", "-out", path)
    return path


class Authority:
    """A certificate authority, root or below `parent`, that publishes its list under `url`."""

    def __init__(self, folder, name, url, parent=None):
        self.folder, self.url, self.certificate = folder, url, folder / "ca.pem"
        folder.mkdir()
        (folder / "index.txt").touch()
        (folder / "config").write_text(CONFIG.format(folder=folder))
        key = new_key(folder / "ca.key")
        extensions = "basicConstraints=critical,CA:true\nkeyUsage=critical,keyCertSign,cRLSign\n" \
                     "subjectKeyIdentifier=hash\n"
        if parent:
            parent.issue(self.certificate, name, key, extensions=extensions)
        else:
            (folder / "extensions").write_text(extensions)
            openssl("req", "-new", "-key", key, "-subj", f"/CN={name}", "-out", folder / "request")
            openssl("x509", "-req", "-in", folder / "request", "-signkey", key, "-days", 30,
                    "-extfile", folder / "extensions", "-out", self.certificate)

    def issue(self, target, name, key, *, start=-1, end=30, url=None, extensions=None, keyid=True):
        """A certificate from day `start` to day `end` from now; url "" gives it no list."""
        url = self.url if url is None else url
        lines = extensions or "keyUsage=critical,digitalSignature\nsubjectKeyIdentifier=hash\n"
        lines += "authorityKeyIdentifier=keyid\n" if keyid else "authorityKeyIdentifier=none\n"
        lines += f"crlDistributionPoints=URI:{url}\n" if url else ""
        (self.folder / "extensions").write_text(lines)
        request = self.folder / "request"
        openssl("req", "-new", "-key", key, "-subj", f"/CN={name}", "-out", request)
        openssl("ca", "-batch", "-notext", "-config", self.folder / "config", "-in", request,
                "-out", target, "-extfile", self.folder / "extensions",
                "-startdate", days_from_now(start), "-enddate", days_from_now(end))
        return target

    def revoke(self, certificate):
        openssl("ca", "-config", self.folder / "config", "-revoke", certificate)

    def revocations(self, *options) -> bytes:
        listing = self.folder / "crl.pem"
        openssl("ca", "-config", self.folder / "config", "-gencrl", "-out", listing, *options)
        return openssl("crl", "-in", listing, "-outform", "DER")


class Lists:
    """A web server on loopback; `pages` are what it serves, `asked` counts the requests."""

    def __init__(self):
        self.pages, self.asked = {}, collections.Counter()
        lists = self

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                lists.asked[self.path] += 1
                body = lists.pages.get(self.path)
                self.send_response(404 if body is None else 200)
                self.send_header("Content-Length", str(len(body or b"")))
                self.end_headers()
                self.wfile.write(body or b"")

            def log_message(self, *_):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    def url(self, name) -> str:
        return f"http://127.0.0.1:{self.server.server_port}/{name}"

    def close(self):
        self.server.shutdown()
        self.server.server_close()


def install(store: str, certificate: pathlib.Path):
    """Puts a certificate into a store of the user's: "Root", or "CA", where being known is all."""
    subprocess.run(["scripts/trust", DRIVE.parent, certificate, store], check=True)


class ValidityTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scratch = pathlib.Path(tempfile.mkdtemp(prefix="validity "))
        cls.addClassCleanup(shutil.rmtree, cls.scratch)
        cls.lists = Lists()
        cls.addClassCleanup(cls.lists.close)
        url = cls.lists.url
        cls.root = Authority(cls.scratch / "root", "Test Root", url("root.crl"))
        cls.twin = Authority(cls.scratch / "twin", "Test Root", url("twin.crl"))
        cls.known = Authority(cls.scratch / "known", "Known Root", url("known.crl"))
        cls.below = Authority(cls.scratch / "below", "Test Issuer", url("below.crl"), cls.root)
        cls.lost = Authority(cls.scratch / "lost", "Lost Issuer", url("lost.crl"), cls.root)
        cls.key = new_key(cls.scratch / "signer.key")
        cls.closed = socket.socket()  # a port that nobody answers on
        cls.addClassCleanup(cls.closed.close)
        cls.closed.bind(("127.0.0.1", 0))

    def certificate(self, name, issuer=None, **options):
        return (issuer or self.root).issue(self.scratch / f"{name}.pem", name, self.key, **options)

    def sign(self, name, *certificates, options=()):
        """A signed file with one signer a certificate."""
        text, target = self.scratch / "text", self.scratch / f"{name}.p7"
        text.write_text("Forty baskets.\n")
        signers = [part for one in certificates for part in ("-signer", one, "-inkey", self.key)]
        openssl("cms", "-sign", "-binary", "-nodetach", "-outform", "DER", "-in", text, "-out",
                target, *signers, *options)
        return target

    def publish(self):
        for authority in (self.root, self.twin, self.known, self.below, self.lost):
            name = "/" + authority.url.rsplit("/", 1)[1]
            self.lists.pages[name] = authority.revocations()

    def judge(self, rows: dict):
        """Compares verdicts and error bits of {file: (verdict, [bits])}."""
        status, answers, said = wine(BUILD / "validity.exe", *map(windows, rows))
        answers = answers.splitlines()
        self.assertEqual((status, len(answers)), (0, len(rows)), said)
        for (file, (verdict, bits)), answer in zip(rows.items(), answers):
            with self.subTest(file.stem):
                expected = [verdict, *(f"0x{each:08X}" for each in bits)]
                self.assertEqual(answer, " ".join(expected))

    def test_verdicts(self):
        url = self.lists.url
        good = self.certificate("good")
        revoked = self.certificate("revoked")
        intact = self.sign("intact", self.certificate("intact", url=url("never.crl"))).read_bytes()
        tampered = self.scratch / "tampered.p7"
        tampered.write_bytes(intact.replace(b"Forty", b"Fifty"))

        # Issuer and serial number of the right certificate, but another key.
        original = self.certificate("original")
        serial = openssl("x509", "-in", original, "-noout", "-serial").decode().strip()
        other_key = new_key(self.scratch / "other.key")
        request, swapped = self.scratch / "request", self.scratch / "swapped.pem"
        openssl("req", "-new", "-key", other_key, "-subj", "/CN=original", "-out", request)
        openssl("x509", "-req", "-in", request, "-CA", self.root.certificate, "-CAkey",
                self.root.folder / "ca.key", "-set_serial", serial.replace("serial=", "0x"),
                "-out", swapped)

        self.root.revoke(revoked)
        self.publish()
        self.lists.pages["/stale.crl"] = self.root.revocations(
            "-crl_lastupdate", days_from_now(-9), "-crl_nextupdate", days_from_now(-2))
        self.lists.pages["/noise.crl"] = b"<html>no list</html>"
        alone = self.scratch / "alone.pem"
        openssl("req", "-x509", "-key", self.key, "-subj", "/CN=alone", "-out", alone)
        # A root that is in none of the stores is as if it were missing.
        self.judge({self.sign("root unknown", good): (INVALID, [PARTIAL_CHAIN | OFFLINE])})
        install("Root", self.root.certificate)
        for authority in (self.below, self.known):
            install("CA", authority.certificate)

        unreachable = f"http://127.0.0.1:{self.closed.getsockname()[1]}/root.crl"
        unknown = OFFLINE | REVOCATION_UNKNOWN
        lost = self.certificate("lost", self.lost)
        self.judge({
            self.sign("good", good): (VALID, [0]),
            self.sign("two good", good, self.certificate("second")): (VALID, [0, 0]),
            self.sign("below an issuer", self.certificate("b", self.below)): (VALID, [0]),
            self.sign("expired", self.certificate("e", start=-9, end=-2)):
                (INVALID, [NOT_IN_TIME]),
            self.sign("not yet valid", self.certificate("n", start=2)):
                (INVALID, [NOT_IN_TIME]),
            self.sign("issuer of the same name", self.certificate("t", self.twin)):
                (INVALID, [PARTIAL_CHAIN | OFFLINE]),
            self.sign("same name, no key named", self.certificate("k", self.twin, keyid=False)):
                (INVALID, [BAD_SIGNATURE]),
            self.sign("intermediate missing", lost): (INVALID, [PARTIAL_CHAIN | OFFLINE]),
            # What the file carries besides is not consulted.
            self.sign("intermediate in the file", lost,
                      options=("-certfile", self.lost.certificate)):
                (INVALID, [PARTIAL_CHAIN | OFFLINE]),
            self.sign("revoked", revoked): (INVALID, [REVOKED]),
            self.sign("unreachable", self.certificate("u", url=unreachable)): (VALID, [OFFLINE]),
            self.sign("gone", self.certificate("g", url=url("gone.crl"))): (VALID, [OFFLINE]),
            self.sign("noise", self.certificate("x", url=url("noise.crl"))): (VALID, [OFFLINE]),
            self.sign("stale", self.certificate("s", url=url("stale.crl"))): (VALID, [0]),
            self.sign("no list", self.certificate("w", url="")): (VALID, [unknown]),
            self.sign("root not trusted", self.certificate("o", self.known)):
                (INVALID, [UNTRUSTED_ROOT]),
            self.sign("self-signed", alone): (INVALID, [UNTRUSTED_ROOT | unknown]),
            tampered: (INVALID, []),
            self.sign("swapped", original, options=("-nocerts", "-certfile", swapped)):
                (INVALID, []),
        })
        self.assertGreater(self.lists.asked["/root.crl"], 0)
        self.assertEqual(self.lists.asked["/never.crl"], 0)


if __name__ == "__main__":
    unittest.main(verbosity=2)
