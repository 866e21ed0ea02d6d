"""Certificates for a test, made on the spot by the openssl program."""

import pathlib
import secrets
import subprocess

CONFIG = """
[ca]
default_ca = own
[own]
database = {name}.db
serial = {name}.serial
new_certs_dir = .
certificate = {name}.pem
private_key = {name}.key
default_md = sha256
default_days = 30
default_crl_days = 30
policy = names
unique_subject = no
[names]
commonName = supplied
[req]
distinguished_name = names
"""
AUTHORITY = ["basicConstraints = critical,CA:TRUE", "keyUsage = critical,keyCertSign,cRLSign"]


def server(names, usage="serverAuth"):
    return ["basicConstraints = CA:FALSE", f"extendedKeyUsage = {usage}",
            f"subjectAltName = {names}"]


class Authority:
    """Issues NAME.pem and NAME.der into the folder from which `address` serves its list of revoked
    certificates; with an issuer it is an intermediate, else a root."""

    def __init__(self, folder, name, address, issuer=None):
        self.folder, self.name, self.address = pathlib.Path(folder), name, address
        self.path(".cnf").write_text(CONFIG.format(name=name))
        self.path(".db").touch()
        self.path(".serial").write_text(secrets.token_hex(8))
        self.make_request(name)
        if issuer:
            issuer.issue(name, AUTHORITY, request=name)
        else:
            self.issue(name, AUTHORITY, "-selfsign", request=name)
        self.make_request("server")
        self.publish()

    def path(self, ending):
        return self.folder / (self.name + ending)

    def openssl(self, *arguments):
        done = subprocess.run(["openssl", *arguments], cwd=self.folder, check=False, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        if done.returncode != 0:
            raise RuntimeError(f"openssl {' '.join(arguments)}: {done.stdout}")

    def ca(self, *arguments):
        self.openssl("ca", "-config", self.path(".cnf").name, "-batch", *arguments)

    def make_request(self, name):
        if not (self.folder / f"{name}.key").exists():
            # Not EC: Wine takes one in some ECDSA signatures on certificates for a wrong one.
            self.openssl("genpkey", "-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:2048",
                         "-out", f"{name}.key")
            self.openssl("req", "-new", "-config", self.path(".cnf").name, "-key", f"{name}.key",
                         "-subj", f"/CN={name}", "-out", f"{name}.csr")

    def issue(self, name, extensions, *options, request="server", address=None):
        (self.folder / f"{name}.ext").write_text("\n".join(
            [*extensions,
             f"crlDistributionPoints = URI:{address or self.address}/{self.name}.crl"]))
        self.ca("-in", f"{request}.csr", "-subj", f"/CN={name}", "-extfile", f"{name}.ext",
                "-notext", "-out", f"{name}.pem", *options)
        self.openssl("x509", "-in", f"{name}.pem", "-outform", "DER", "-out", f"{name}.der")

    def revoke(self, name):
        self.ca("-revoke", f"{name}.pem")
        self.publish()

    def publish(self):
        self.ca("-gencrl", "-out", "list.pem")
        self.openssl("crl", "-in", "list.pem", "-outform", "DER", "-out", self.path(".crl").name)


def make(folder, address):
    """All certificates of the tests, for the one key server.key; returns the server's files by
    name, each a chain as a server sends it."""
    root = Authority(folder, "root", address)
    stranger = Authority(folder, "stranger", address)
    middles = {name: Authority(folder, name, address, root)
               for name in ("installed", "fallen", "unseen")}
    local = server("DNS:localhost")
    root.issue("right", local)
    root.issue("expired", local, "-startdate", "200101000000Z", "-enddate", "210101000000Z")
    root.issue("elsewhere", server("DNS:elsewhere.test"))
    root.issue("wildcard", server("DNS:*.peers.test"))
    root.issue("client", server("DNS:localhost", "clientAuth"))
    root.issue("unlisted", local, address="http://127.0.0.1:1")
    root.issue("revoked", local)
    root.revoke("revoked")
    root.revoke("fallen")
    stranger.issue("foreign", local)
    Authority(folder, "self", address).issue("self", local, "-selfsign", request="self")
    for name, middle in middles.items():
        middle.issue(f"under-{name}", local)
        chain = root.folder / f"under-{name}.pem"
        chain.write_bytes(chain.read_bytes() + (root.folder / f"{name}.pem").read_bytes())
    return root.folder
