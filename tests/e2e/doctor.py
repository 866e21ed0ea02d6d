"""What doctor says of a sound installation and of ones that are broken in one way each: exactly the
checks that the damage concerns change, and tell what to do."""

import ctypes
import json
import os
import re
import resource
import tempfile
import time
import unittest
import zipfile
from contextlib import contextmanager
from pathlib import Path

from driver import ARCHIVE, BUILD, DRIVE, MANAGER, texts, wine

DLL = DRIVE / "Program Files/Quorva/Tarnwell/bin/Tarnwell.dll"
CLASSES = "HKEY_LOCAL_MACHINE\\Software\\Classes"
MENU = "{0D526B21-4823-426D-A4B4-1AD3B8305EFC}"
ICON = "{F0778DA1-ECEE-4721-B055-8046A0028A87}"
TIP = "{B6F0B3F7-85B2-458A-8A87-46161C087722}"
USER = "HKEY_CURRENT_USER\\Software\\"
WINDOWS = USER + "Microsoft\\Windows\\CurrentVersion\\"
BLOCKED = WINDOWS + "Shell Extensions\\Blocked"
POLICIES = WINDOWS + "Policies\\Explorer"
CHOICE = WINDOWS + "Explorer\\FileExts\\.p7m\\UserChoice"
SAMPLE = ("sample's menu", "sample's icon", "sample's tip")
CHECKS = ("menu class", "icon class", "tip class", "menu key", "file extensions", "file type",
          "permission", "language", "archive", "texts", "other languages", "manager",
          "manager's port", "manager's answer", "trace", "secure zone", *SAMPLE)


@contextmanager
def file(path, change):
    """Gives a file what `change` makes of its bytes: other bytes, or None for no file."""
    before = path.read_bytes() if path.exists() else None
    for content in (change(before), before):
        path.unlink(missing_ok=True)
        if content is not None:
            path.write_bytes(content)
        if content is not before:
            yield


@contextmanager
def registry(*lines, undo=()):
    """Changes the registry; without an `undo`, registering the DLL again puts it right."""
    regedit(lines)
    yield
    if undo:
        regedit(undo)
    else:
        wine("regsvr32", "/s", "C:\\Program Files\\Quorva\\Tarnwell\\bin\\Tarnwell.dll")


def regedit(lines):
    (DRIVE / "edit.reg").write_text("\r\n".join(["REGEDIT4", *lines, ""]))
    wine("regedit", "/S", "C:\\edit.reg")


@contextmanager
def manager(behaviour):
    """A manager that behaves so, in the place of the real one."""
    os.environ["FAKE_MANAGER"] = behaviour
    with file(MANAGER, lambda _: (BUILD / "fake_manager.exe").read_bytes()):
        yield


@contextmanager
def unlocked():
    """Lets no program lock memory. The superuser's may, so that this privilege goes, for good."""
    drop_from_bounding_set, lock_memory = 24, 14  # PR_CAPBSET_DROP, CAP_IPC_LOCK
    ctypes.CDLL(None).prctl(drop_from_bounding_set, lock_memory)
    limit = resource.getrlimit(resource.RLIMIT_MEMLOCK)
    resource.setrlimit(resource.RLIMIT_MEMLOCK, (0, limit[1]))
    yield
    resource.setrlimit(resource.RLIMIT_MEMLOCK, limit)


def removed(_):
    return None


def other_version(dll):
    at = dll.index(b"\xbd\x04\xef\xfe") + 8  # VS_FIXEDFILEINFO: the signature, the file's version
    return dll[:at] + bytes([9, 0, 9, 0]) + dll[at + 4:]


def without_text(language, key):
    """The archive without one text of one language."""
    def change(_):
        with tempfile.TemporaryFile() as made:
            with zipfile.ZipFile(made, "w") as archive:
                for code in ("en", "fr", "es", "pl"):
                    catalogue = texts(code)
                    if code == language:
                        del catalogue["tarnwellDLL"][key]
                    archive.writestr(f"scripts/language.{code}.js", json.dumps(catalogue))
            made.seek(0)
            return made.read()
    return change


def fails(*checks):
    return dict.fromkeys(checks, "FAIL")


def warns(*checks):
    return dict.fromkeys(checks, "WARN")


THREE = CHECKS[:3]
BROKEN = {
    "DLL removed": (lambda: file(DLL, removed), fails(*THREE, *SAMPLE), "put Tarnwell.dll"),
    "DLL of another version": (lambda: file(DLL, other_version), warns(*THREE), "version 9.9."),
    "DLL that is none": (lambda: file(DLL, lambda _: b"text"), fails(*THREE, *SAMPLE),
                         "no 64-bit DLL"),
    "DLL of something else": (
        lambda: file(DLL, lambda _: (BUILD / "zelLog.dll").read_bytes()),
        fails(*THREE, *SAMPLE), "does not make this class"),
    "class not registered": (lambda: registry(f"[-{CLASSES}\\CLSID\\{ICON}]"),
                             fails("icon class", "sample's icon"), "regsvr32 \"C:"),
    "class of another threading model": (
        lambda: registry(f"[{CLASSES}\\CLSID\\{TIP}\\InprocServer32]", '"ThreadingModel"="Free"'),
        fails("tip class", "sample's tip"), 'is "Free" and should be "Apartment"'),
    "extension taken": (lambda: registry(f"[{CLASSES}\\.p7m]", '@="Other.File"'),
                        fails("file extensions"), "another program"),
    "icon handler taken": (
        lambda: registry(f"[{CLASSES}\\PKCS7File\\shellex\\IconHandler]", '@="{other}"'),
        fails("file type", "sample's icon"), "regsvr32"),
    "menu key removed": (
        lambda: registry(f"[-{CLASSES}\\*\\shellex\\ContextMenuHandlers\\Tarnwell Extension]"),
        fails("menu key", "sample's menu"), "regsvr32"),
    "handler blocked": (
        lambda: registry(f"[{BLOCKED}]", f'"{TIP}"=""', undo=[f"[-{BLOCKED}]"]),
        fails("permission"), "remove its value from HKEY_CURRENT_USER"),
    "handlers not approved": (
        lambda: registry(f"[{POLICIES}]", '"EnforceShellExtensionSecurity"=dword:00000001',
                         undo=[f"[-{POLICIES}]"]), fails("permission"), "Extensions\\Approved"),
    "user chose another program": (
        lambda: registry(f"[{CHOICE}]", '"ProgId"="Other.File"', undo=[f"[-{CHOICE}]"]),
        warns("permission"), '.p7m is opened with "Other.File"'),
    "user's own class": (
        lambda: registry(f"[{USER}Classes\\CLSID\\{TIP}\\InprocServer32]", '@="C:\\\\evil.dll"',
                         undo=[f"[-{USER}Classes\\CLSID]"]), fails("tip class"), "find out who"),
    "all unregistered": (
        lambda: registry(f"[-{CLASSES}\\.p7]", f"[-{CLASSES}\\PKCS7File]",
                         *(f"[-{CLASSES}\\CLSID\\{name}]" for name in (MENU, ICON, TIP))),
        fails(*THREE, "file extensions", "file type", "archive", "manager", "trace", *SAMPLE),
        "regsvr32 Tarnwell.dll"),
    "archive removed": (lambda: file(ARCHIVE, removed), fails("archive", "sample's menu", "sample's tip"),
                        "looked for at C:\\Program Files (x86)\\Quorva\\Tarnwell\\resources"),
    "archive cut": (lambda: file(ARCHIVE, lambda whole: whole[:-30]),
                    fails("archive", "sample's menu", "sample's tip"), "is damaged"),
    "text missing": (lambda: file(ARCHIVE, without_text("en", "general_error_title")),
                     fails("texts"), "tarnwellDLL.general_error_title"),
    "text of another language missing": (lambda: file(ARCHIVE, without_text("pl", "signed_by")),
                                         warns("other languages"), "pl lacks tarnwellDLL.signed_by"),
    "manager removed": (lambda: file(MANAGER, removed), fails("manager"), "install or repair"),
    "another program before the manager": (
        lambda: file(DRIVE / "Program.exe", lambda _: b"MZ"), fails("manager"),
        "C:\\Program.exe would be started"),
    "manager that is none": (lambda: file(MANAGER, lambda _: b"text"), fails("manager's port"),
                             "does not start"),
    "manager writes nothing": (lambda: manager("writes nothing"), fails("manager's port"),
                               "nothing for 1 s and was ended"),
    "manager ends at once": (lambda: manager("silent"), fails("manager's port"),
                             "ends without writing"),
    "manager adds a line end": (lambda: manager("line end"), fails("manager's port"), "no port"),
    "manager answers nothing": (lambda: manager("answers nothing"), fails("manager's answer"),
                                "timed out"),
    "manager answers nonsense": (lambda: manager("nonsense"), fails("manager's answer"),
                                 "not HTTP"),
    "trace into a folder that is not there": (
        lambda: registry("[HKEY_LOCAL_MACHINE\\Software\\Quorva]", '"TraceFile"="C:\\\\no\\\\t.log"',
                         undo=["[-HKEY_LOCAL_MACHINE\\Software\\Quorva]"]),
        warns("trace"), "make its folder"),
    "trace into a file of something else": (
        lambda: registry("[HKEY_LOCAL_MACHINE\\Software\\Quorva]",
                         '"TraceFile"="C:\\\\windows\\\\win.ini"',
                         undo=["[-HKEY_LOCAL_MACHINE\\Software\\Quorva]"]),
        warns("trace"), "name another file"),
    "trace library removed": (lambda: file(DLL.parent / "zelLog.dll", removed), warns("trace"),
                              "zelLog.dll beside the DLL"),
    "memory not to be locked": (unlocked, warns("secure zone"), "working set"),
}
# What comes after the first of these in a report is left out where that one fails.
FOLLOWERS = {"archive": ("texts", "other languages"), "manager's port": ("manager's answer",),
             "manager": ("manager's port", "manager's answer")}


def doctor(*arguments, locale="C.UTF-8"):
    return wine(BUILD / "shellprobe.exe", "doctor", *arguments, locale=locale)


def running():
    """The managers that still run in the prefix."""
    marks = b"WINEPREFIX=" + os.environ["TARNWELL_WINEPREFIX"].encode(), b"Corvane.exe"
    found = []
    for process in Path("/proc").glob("[0-9]*"):
        try:
            if (marks[1] in (process / "cmdline").read_bytes()
                    and marks[0] in (process / "environ").read_bytes().split(b"\0")):
                found.append(process.name)
        except OSError:
            pass  # it is gone, or not ours
    return found


class Doctor(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        os.environ["CORVANE_HOME"] = "C:\\corvane"
        os.environ["CORVANE_NO_OPEN"] = "1"

    def check(self, answer, broken):
        """Compares every line's verdict and the exit status; gives the lines."""
        status, out, said = answer
        lines = [json.loads(line) for line in out.splitlines()]
        missing = {name for check in broken if broken[check] == "FAIL"
                   for name in FOLLOWERS.get(check, ())}
        self.assertEqual({line["check"]: line["verdict"] for line in lines},
                         {name: broken.get(name, "OK") for name in CHECKS if name not in missing},
                         out + said)
        worst = "FAIL" in broken.values()
        self.assertEqual(status, 2 if worst else len(broken) > 0)
        for line in lines:
            self.assertEqual(line["remedy"] is None, line["verdict"] == "OK", line)
        return lines

    def test_as_installed(self):
        lines = {line["check"]: line["found"] for line in self.check(doctor("--json", "--wait=120"), {})}
        version = re.search(r"project\(Tarnwell VERSION (\S+)", Path("CMakeLists.txt").read_text())
        self.assertIn(version[1], lines["tip class"])
        self.assertIn("404", lines["manager's answer"])
        self.assertIn("Tarnwell sample", lines["sample's tip"])
        self.assertEqual(list((DRIVE / "users").glob("*/**/shellprobe-*")), [])
        status, out, _ = doctor(locale="fr_FR.UTF-8")
        self.assertEqual((status, len(out.splitlines())), (0, len(CHECKS)), out)
        self.assertIn("\nOK    language: fr, for fr-FR ", out)
        self.assertIn(texts("fr")["tarnwellDLL"]["recover_veryfy"], out)

    def test_broken(self):
        for name, (damage, broken, words) in BROKEN.items():
            with self.subTest(name):
                started = time.monotonic()
                with damage():
                    answer = doctor("--json", f"--wait={1 if 'nothing' in name else 60}")
                    left = running() if "nothing" in name else []
                lines = self.check(answer, broken)
                told = [line["found"] + ". " + line["remedy"] for line in lines if line["remedy"]]
                self.assertTrue(any(words in text for text in told), told)
                self.assertEqual(left, [])
                print(f"{name}: {time.monotonic() - started:.1f} s", flush=True)


if __name__ == "__main__":
    unittest.main()
