"""The guides: every command in them is run, here or by the test that RUN_BY names; what they link to
and name is there; their lists are those of the sources.

In a fenced block without a language, a line that starts at its margin is a command, ended by two
blanks or the line's end; indented lines explain. Run by native_guides.sh.
"""
import os
import re
import shlex
import subprocess
import tempfile
import unittest
from pathlib import Path

ROOT = Path.cwd()
BUILD = Path(os.environ.get("TARNWELL_BUILD", ROOT / "build/native/bin"))
GUIDES = [ROOT / name for name in ("README.md", "docs/USER.md", "docs/ADMIN.md")]
DOCUMENTS = sorted({*ROOT.glob("*.md"), *ROOT.glob("docs/*.md"), *ROOT.glob("packaging/*.md")})
P7TOOL = "build/native/bin/p7tool"

FRESH = "scripts/fresh-check", "--list"
PACKAGE, DOCTOR = "tests/e2e/package.py", "tests/e2e/doctor.py"
MSI = "Tarnwell-0.1.0-x64.msi"
# What is too long or too foreign to be run here: who runs it, and by what words.
RUN_BY = {
    "make demo": FRESH,
    "make test": FRESH,
    "make p7tool": ("Makefile", "scripts/build.sh native \"a minute from nothing\" p7tool"),
    "make package": (PACKAGE, '"scripts/package.sh"'),
    r'regsvr32 "C:\Program Files\Quorva\Tarnwell\bin\Tarnwell.dll"':
        ("scripts/install-layout", r"'C:\Program Files\Quorva\Tarnwell\bin\Tarnwell.dll'"),
    f"msiexec /i {MSI} /qn": (PACKAGE, 'msiexec("/i", NEW_PACKAGE)'),
    f"msiexec /i {MSI} /qn ADDLOCAL=Main,Manager":
        (PACKAGE, 'msiexec("/i", NEW_PACKAGE, "ADDLOCAL=Main,Manager", interface=interface)'),
    fr"msiexec /i {MSI} /qn INSTALLDIR=D:\Tools\Tarnwell": (PACKAGE, r'"INSTALLDIR=C:\\" + folder'),
    f"msiexec /i {MSI} /qn REINSTALL=ALL REINSTALLMODE=amus":
        (PACKAGE, 'msiexec("/i", NEW_PACKAGE, "REINSTALL=ALL", "REINSTALLMODE=amus")'),
    f"msiexec /x {MSI} /qn": (PACKAGE, 'msiexec("/x", NEW_PACKAGE)'),
    "shellprobe doctor": (DOCTOR, "doctor(locale="),
    "shellprobe doctor --json": (DOCTOR, 'doctor("--json"'),
}


def blocks(text):
    return re.findall(r"^```(\w*)\n(.*?)^```$", text, re.M | re.S)


def commands(guide):
    return [re.split(r"  +", line)[0] for language, block in blocks(guide.read_text())
            if not language for line in block.splitlines() if line and not line[0].isspace()]


def anchors(document):
    headings = re.findall(r"^#+ (.*)$", re.sub(r"^```.*?^```$", "", document.read_text(),
                                               flags=re.M | re.S), re.M)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


class Guides(unittest.TestCase):
    def test_every_command_is_run(self):
        here = []
        for guide in GUIDES:
            for command in commands(guide):
                with self.subTest(guide.name, command=command):
                    if command.startswith(P7TOOL):
                        here.append(command)
                        continue
                    self.assertIn(command, RUN_BY, "nobody runs this command")
                    place, words = RUN_BY[command]
                    if (place, words) == FRESH:
                        listed = subprocess.run([ROOT / place, words], text=True, check=True,
                                                stdout=subprocess.PIPE).stdout
                        self.assertIn(command, listed.splitlines())
                    else:
                        self.assertTrue(words in (ROOT / place).read_text(),
                                        f"{place} does not run it any more: there is no {words}")
        self.assertGreater(len(here), 4)
        with tempfile.TemporaryDirectory() as folder:
            work = Path(folder)
            subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout",
                            "key.pem", "-out", "cert.pem", "-subj", "/CN=Guide"], cwd=work,
                           check=True, stderr=subprocess.DEVNULL)
            (work / "report.pdf").write_text("report")
            for command in here:
                with self.subTest(command=command):
                    words = shlex.split(command.replace(P7TOOL, str(BUILD / "p7tool")))
                    said = subprocess.run(words, cwd=work, text=True, stdout=subprocess.PIPE,
                                          stderr=subprocess.STDOUT, check=False)
                    self.assertEqual(said.returncode, 0, said.stdout)
            self.assertTrue((work / "report.pdf.p7").exists())

    def test_no_row_is_stale(self):
        told = {command for guide in GUIDES for command in commands(guide)}
        self.assertEqual(set(RUN_BY) - told, set())

    def test_what_is_named_is_there(self):
        targets = set(re.findall(r"^([a-z0-9]+):", (ROOT / "Makefile").read_text(), re.M))
        version = re.search(r"project\(Tarnwell VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text())
        for document in DOCUMENTS:
            text = document.read_text()
            for link, anchor in re.findall(r"\]\(([^)#]*)#?([^)]*)\)", text):
                with self.subTest(document.name, link=link, anchor=anchor):
                    target = document.parent / link if link else document
                    self.assertTrue(target.is_file())
                    if target.suffix == ".png":
                        self.assertTrue(target.read_bytes().startswith(b"\x89PNG\r\n"))
                    if anchor:
                        self.assertIn(anchor, anchors(target))
            called = [command for command in commands(document) if command.startswith("make ")]
            for target in re.findall(r"`make ([a-z0-9]+)[` ]", text) + [c.split()[1] for c in called]:
                self.assertIn(target, targets, document.name)
            for script in re.findall(r"`(scripts/[\w./-]+)", text):
                self.assertTrue(os.access(ROOT / script, os.X_OK), f"{document.name}: {script}")
            for named in re.findall(r"Tarnwell-([\d.]+)-x64", text):
                self.assertEqual(named, version[1], document.name)

    def test_lists_are_those_of_the_sources(self):
        admin, user = ((ROOT / f"docs/{name}.md").read_text() for name in ("ADMIN", "USER"))
        table = (ROOT / "src/tarnwell/core/registration_table.cpp").read_text()
        texts = (ROOT / "apps/manager/language/language.en.js").read_text()
        expected = [
            (admin, [key.replace("\\\\", "\\") for key in re.findall(r'\{u"([^"]+)", k\w+, Def', table)]),
            (admin, re.findall(r"\{[0-9A-F-]{36}\}", (ROOT / "src/tarnwell/core/registration_table.h")
                               .read_text())),
            (admin, re.findall(r'"([a-z\' ]+)"', re.search(
                r"\nSAMPLE = (.*?)\n\n", (ROOT / DOCTOR).read_text(), re.S)[1])),
            (user, [f"**{text}**" for text in re.findall(
                r'"(?:open|sign|encrypt|signencrypt|recover\w{0,8}|general_error_title|open_file\w+)": '
                r'"(.*)"', texts)]),
        ]
        for guide, names in expected:
            self.assertGreater(len(names), 2)
            for name in names:
                self.assertIn(name, guide)


if __name__ == "__main__":
    unittest.main()
