"""The development manager as a process: its port, its answers, its files, its log.

Run by manager.sh, which sets TARNWELL_BUILD and TARNWELL_WINEPREFIX. What the manager makes is
judged by the openssl command line, and what openssl makes is recovered by the manager.
"""
import os
import pathlib
import re
import shutil
import socket
import struct
import subprocess
import tempfile
import time
import unittest
import urllib.parse

from driver import BUILD, openssl, windows, wine

WINE_RUN = "scripts/wine-run"
EXTENSION = {"Origin": "tarnwell.localhost", "Host": "127.0.0.1"}
AWKWARD = "r\u00e9port, final (1).txt"


class Manager:
    """A running standalone manager; `log` is what it wrote after it has ended."""

    def __init__(self, scratch, *arguments, home="home", opens=False):
        self.log_path = scratch / "manager.log"
        self.log_path.unlink(missing_ok=True)
        self.log = ""
        environment = os.environ | {"CORVANE_HOME": windows(scratch / home)}
        if not opens:
            environment["CORVANE_NO_OPEN"] = "1"
        # As the extension does: both outputs are one pipe.
        self.process = subprocess.Popen(
            [WINE_RUN, BUILD / "Corvane.exe", "/standalone",
             "--log=" + windows(self.log_path), *arguments],
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, env=environment)
        self.written = os.read(self.process.stdout.fileno(), 64)
        self.port = int(self.written) if self.written.isdigit() else 0

    def talk(self, request: bytes, end=False) -> bytes:
        with socket.create_connection(("127.0.0.1", self.port), timeout=30) as link:
            link.sendall(request)
            if end:
                link.shutdown(socket.SHUT_WR)
            return b"".join(iter(lambda: link.recv(65536), b""))

    def get(self, target, headers) -> tuple[int, str]:
        lines = [f"GET {target} HTTP/1.0", "User-Agent: ZELSS"]
        lines += [f"{name}: {value}" for name, value in headers.items()]
        answer = self.talk(("\r\n".join(lines) + "\r\n\r\n").encode())
        head, _, body = answer.decode().partition("\r\n\r\n")
        return int(head.split()[1]), body

    def ask(self, action, paths) -> tuple[int, str]:
        joined = ",".join(windows(path) for path in paths)
        files = urllib.parse.quote(joined, safe="!()*-._~")
        return self.get(f"/dyn/tarnwell_init?action={action}&files={files}", EXTENSION)

    def end(self) -> int:
        status = self.process.wait(90)
        os.set_blocking(self.process.stdout.fileno(), False)
        self.written += self.process.stdout.read() or b""
        self.process.stdout.close()
        self.log = self.log_path.read_text("utf-8") if self.log_path.exists() else ""
        return status


class ManagerTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scratch = pathlib.Path(tempfile.mkdtemp(prefix="manager "))
        cls.identity = cls.scratch / "home/demo-identity"
        # A process that waits keeps the prefix's services up: each start after a pause would cost
        # seconds. It comes first, since the services keep the outputs of whoever started them.
        cls.holder = subprocess.Popen(
            [WINE_RUN, "cmd", "/c", "echo up& set /p x="],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        cls.holder.stdout.readline()
        Manager(cls.scratch, "--idle-seconds=1").end()  # makes it

    @classmethod
    def tearDownClass(cls):
        cls.holder.stdin.close()
        cls.holder.wait(60)
        cls.holder.stdout.close()
        shutil.rmtree(cls.scratch)

    def setUp(self):
        started = time.monotonic()
        self.addCleanup(lambda: print(f"{time.monotonic() - started:.1f} s ", end="", flush=True))
        self.folder = self.scratch / f"files of {self._testMethodName}"
        self.folder.mkdir()

    def file(self, name, content="text"):
        path = self.folder / name
        path.write_bytes(content.encode())
        return path

    def names(self):
        return sorted(path.name for path in self.folder.iterdir())

    def run_action(self, action, paths, *, status=0, **options):
        manager = Manager(self.scratch, **options)
        code, body = manager.ask(action, paths)
        self.assertEqual(code, 200, body)
        self.assertEqual(manager.end(), status, manager.log)
        self.assertRegex(manager.written, rb"^[0-9]{1,5}$", "more than the port was written")
        return manager

    # The start.

    def test_explains_itself_from_a_shell(self):
        for arguments, status, text in [
                ([], 0, "Corvane.exe --help"),
                (["--help"], 0, "demo-identity"),
                (["--version"], 0, "Corvane "),
                (["/standalone", "--idle-seconds=0"], 2, "--idle-seconds needs"),
                (["--nonsense"], 2, "There is no option \"--nonsense\"")]:
            ended, said, _ = wine(BUILD / "Corvane.exe", *arguments)
            self.assertEqual(ended, status, arguments)
            self.assertIn(text, said)

    def test_tells_its_port_in_digits_listens_on_loopback_only_and_goes(self):
        start = time.monotonic()
        manager = Manager(self.scratch, "--idle-seconds=2")
        self.assertRegex(manager.written, rb"^[0-9]{1,5}$")
        table = pathlib.Path("/proc/net/tcp").read_text()
        self.assertRegex(table, rf"0100007F:{manager.port:04X} 00000000:0000 0A")
        self.assertEqual(manager.end(), 4, manager.log)
        self.assertRegex(manager.written, rb"^[0-9]{1,5}$")
        self.assertIn("no request came within 2 s", manager.log)
        self.assertGreater(time.monotonic() - start, 2)

    def test_makes_one_identity_when_two_start_at_once(self):
        managers = [Manager(self.scratch, "--idle-seconds=1", home="fresh") for _ in range(2)]
        for manager in managers:
            self.assertEqual(manager.end(), 4)
        home = self.scratch / "fresh"
        self.assertEqual([path.name for path in home.iterdir()], ["demo-identity"])
        made = home / "demo-identity"
        self.assertEqual(sorted(path.name for path in made.iterdir()),
                         ["ca.key.pem", "ca.pem", "signer.key.pem", "signer.pem"])
        self.assertEqual(made.stat().st_mode & 0o007, 0, "others may read the keys")
        openssl("verify", "-x509_strict", "-purpose", "smimesign", "-CAfile", made / "ca.pem",
                made / "signer.pem")
        text = openssl("x509", "-noout", "-text", "-in", made / "signer.pem").decode()
        self.assertIn("Public-Key: (3072 bit)", text)
        self.assertIn("sha256WithRSAEncryption", text)

    def test_never_touches_a_certificate_store(self):
        imports = subprocess.run(["x86_64-w64-mingw32-objdump", "-p", BUILD / "Corvane.exe"],
                                 capture_output=True, text=True, check=True).stdout
        self.assertIn("ShellExecuteExW", imports)
        self.assertNotRegex(imports, r"\bCert(Add|Delete|Save|Control|Set)")

    # The work.

    def test_signs(self):
        paths = [self.file("plain.txt"), self.file(AWKWARD, "text \u00e9"),
                 self.file("with blank.tar.gz", ""), self.file("no extension")]
        self.file("plain.txt.p7", "in the way")
        manager = self.run_action("SIGN", paths)
        self.assertEqual(
            self.names(),
            sorted([path.name for path in paths] + [path.name + ".p7" for path in paths] +
                   ["plain.txt (2).p7"]))
        self.assertEqual((self.folder / "plain.txt.p7").read_bytes(), b"in the way")
        for path in paths:
            made = "plain.txt (2).p7" if path.name == "plain.txt" else path.name + ".p7"
            content = openssl("cms", "-verify", "-inform", "DER", "-binary", "-CAfile",
                              self.identity / "ca.pem", "-in", self.folder / made)
            self.assertEqual(content, path.read_bytes())
            self.assertIn(windows(self.folder / made), manager.log)
        self.assertIn("SIGN: 4 of 4 files done", manager.log)

    def test_encrypts(self):
        path = self.file(AWKWARD, "secret " * 1000)
        self.run_action("ENCRYPT", [path])
        made = self.folder / (AWKWARD + ".p7")
        self.assertNotIn(b"secret", made.read_bytes())
        content = openssl("cms", "-decrypt", "-inform", "DER", "-binary", "-inkey",
                          self.identity / "signer.key.pem", "-recip",
                          self.identity / "signer.pem", "-in", made)
        self.assertEqual(content, path.read_bytes())

    def test_signs_and_encrypts_and_recovers(self):
        path = self.file(AWKWARD, "secret")
        self.run_action("SIGNENCRYPT", [path])
        made = self.folder / (AWKWARD + ".p7")
        structure = openssl("asn1parse", "-inform", "DER", "-in", made).decode()
        self.assertIn("pkcs7-signedAndEnvelopedData", structure)
        self.assertNotIn(b"secret", made.read_bytes())
        path.unlink()
        manager = self.run_action("RECOVER", [made])
        self.assertEqual(path.read_bytes(), b"secret")
        self.assertIn("1 of 1 signatures match", manager.log)
        self.assertIn("not opened, as asked", manager.log)

    def test_recovers_what_others_made_behind_a_file_that_fails(self):
        noise = self.file("noise.p7")
        path = self.file("letter.txt", "foreign")
        openssl("cms", "-encrypt", "-des3", "-binary", "-outform", "DER", "-in", path, "-out",
                self.folder / "letter.txt.p7", self.identity / "signer.pem")
        path.write_text("edited since")
        manager = self.run_action("RECOVER", [noise, self.folder / "letter.txt.p7"], status=1)
        self.assertEqual(self.names(),
                         ["letter (2).txt", "letter.txt", "letter.txt.p7", "noise.p7"])
        self.assertEqual((self.folder / "letter (2).txt").read_text(), "foreign")
        self.assertIn("RECOVER: 1 of 2 files done", manager.log)

    def test_opens_what_it_recovered(self):
        marker = windows(self.scratch / "marker.txt")
        batch = self.scratch / "open.bat"
        batch.write_text(f'@copy %1 "{marker}" >nul\r\n')
        for key, value in [(r"HKLM\Software\Classes\.opentest", "opentest"),
                           (r"HKLM\Software\Classes\opentest\shell\open\command",
                            f'cmd /c ""{windows(batch)}" "%1""')]:
            self.assertEqual(wine("reg", "add", key, "/ve", "/d", value, "/f")[0], 0)
        path = self.file("note 1.opentest", "shown")
        self.run_action("SIGN", [path])
        path.unlink()
        manager = self.run_action("RECOVER", [self.folder / "note 1.opentest.p7"], opens=True)
        self.assertIn("opened ", manager.log)
        for _ in range(600):
            if (self.scratch / "marker.txt").exists():
                break
            time.sleep(0.1)
        self.assertEqual((self.scratch / "marker.txt").read_text(), "shown")

    def test_does_the_work_for_a_client_that_leaves_early(self):
        path = self.file("a.txt")
        manager = Manager(self.scratch)
        with socket.create_connection(("127.0.0.1", manager.port), timeout=30) as link:
            # Closing with the rest of the answer unread resets the connection.
            link.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
            link.sendall((f"GET /dyn/tarnwell_init?action=SIGN&files="
                          f"{urllib.parse.quote(windows(path))} HTTP/1.0\r\n"
                          "Origin: tarnwell.localhost\r\nHost: 127.0.0.1\r\n\r\n").encode())
            self.assertEqual(link.recv(8), b"HTTP/1.1")
        self.assertEqual(manager.end(), 0, manager.log)
        self.assertEqual(self.names(), ["a.txt", "a.txt.p7"])

    def test_signs_under_a_path_longer_than_260_units(self):
        deep = self.folder / ("d" * 100) / ("e" * 100)
        deep.mkdir(parents=True)
        path = deep / ("f" * 60 + ".txt")
        path.write_text("deep")
        self.run_action("SIGN", [path])
        self.assertTrue((deep / (path.name + ".p7")).exists())

    def test_takes_two_hundred_files_in_one_request(self):
        paths = [self.file(f"{number:04}, \u4e2d\u6587 {'x' * 120}") for number in range(200)]
        manager = Manager(self.scratch)
        start = time.monotonic()
        code, body = manager.ask("SIGN", paths)
        answered = time.monotonic() - start
        self.assertEqual((code, body), (200, "SIGN: 200 files\r\n"))
        self.assertLess(answered, 10)
        self.assertEqual(manager.end(), 0, manager.log[-500:])
        self.assertEqual(len(self.names()), 400)

    # What is refused.

    def test_refuses_and_does_nothing(self):
        path = self.file("victim.txt")
        good = f"/dyn/tarnwell_init?action=SIGN&files={urllib.parse.quote(windows(path))}"
        for expected, target, headers in [
                (403, good, EXTENSION | {"Origin": "http://evil.example"}),
                (400, good.replace("SIGN", "FORMAT"), EXTENSION),
                (422, good + urllib.parse.quote("," + windows(self.folder)), EXTENSION)]:
            manager = Manager(self.scratch)
            code, body = manager.get(target, headers)
            self.assertEqual(code, expected, target)
            self.assertEqual(manager.end(), 3, manager.log)
            self.assertIn(f"refused with status {expected}: {body.strip()}", manager.log)
        self.assertEqual(self.names(), ["victim.txt"])

    def test_answers_noise(self):
        for request, expected in [
                (b"\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03" + bytes(300), 400),
                (b"GET /" + b"x" * (17 << 20), 431)]:
            manager = Manager(self.scratch)
            answer = manager.talk(request, end=True)
            self.assertRegex(answer, rb"^HTTP/1\.1 %d " % expected)
            self.assertEqual(manager.end(), 3, manager.log)

    def test_log_names_every_step(self):
        path = self.file("a.txt")
        manager = self.run_action("SIGN", [path])
        lines = manager.log.splitlines()
        for line in lines:
            self.assertRegex(line, r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ \[\d+\] \S")
        steps = [re.sub(r"^\S+ \S+ ", "", line) for line in lines]
        self.assertTrue(steps[0].startswith("Corvane "), steps)
        self.assertEqual(steps[1], f"waiting for one request on 127.0.0.1:{manager.port}")
        self.assertEqual(steps[-4:], [
            "request: SIGN, 1 file",
            f"1/1 signed {windows(path)} -> {windows(path)}.p7",
            "SIGN: 1 of 1 file done",
            "exits with status 0"])


if __name__ == "__main__":
    unittest.main()
