"""The installer: what it leaves, by the side of what regsvr32 leaves, and each step of its life.

Run by package.sh, which sets TARNWELL_BUILD. The packages are made once; every test has a Wine prefix
of its own. An "older" package holds the same programs with the version 0.0.9 in them.
"""
import hashlib
import json
import os
import pathlib
import re
import shutil
import struct
import subprocess
import tempfile
import unittest

import registration
from registration import BUILD, ICON, MENU, ROOT, TIP, drive, wine

VERSION = re.search(r"project\(Tarnwell VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text())[1]
OLDER = "0.0.9"
PROGRAMS = ("Tarnwell.dll", "zelLog.dll", "p7tool.exe", "shellprobe.exe", "Corvane.exe")
SOURCE_KEY = r"HKLM\SYSTEM\CurrentControlSet\Services\EventLog\Application\zelss"
FOLDER = "Program Files/Quorva/Tarnwell"
NEW_PACKAGE, OLD_PACKAGE = "C:\\new.msi", "C:\\old.msi"
MANAGER = "Program Files (x86)/Quorva/Tarnwell"
WORK = tempfile.TemporaryDirectory()
AT = pathlib.Path(WORK.name)


def run(*command, **environment) -> str:
    done = subprocess.run([str(word) for word in command], env=os.environ | environment, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    if done.returncode != 0:
        raise AssertionError(f"{command} ended with {done.returncode}: {done.stdout}")
    return done.stdout


def make_certificate():
    """A throw-away authority and its certificate for signing code."""
    (AT / "extensions").write_text("extendedKeyUsage=codeSigning\nkeyUsage=digitalSignature\n")
    new = ("openssl", "req", "-newkey", "rsa:2048", "-nodes")
    run(*new, "-x509", "-subj", "/CN=Test authority", "-days", "2", "-keyout", AT / "ca.key",
        "-out", AT / "ca.pem")
    run(*new, "-subj", "/CN=Test publisher", "-keyout", AT / "code.key", "-out", AT / "code.csr")
    run("openssl", "x509", "-req", "-in", AT / "code.csr", "-CA", AT / "ca.pem", "-CAkey",
        AT / "ca.key", "-CAcreateserial", "-days", "2", "-extfile", AT / "extensions", "-out",
        AT / "code.pem")


def fixed_version(data: bytes) -> int:
    """Where the file version stands in a program: behind its record's signature and own version."""
    return data.index(struct.pack("<II", 0xFEEF04BD, 0x10000)) + 8


def file_version(path: pathlib.Path) -> str:
    data = path.read_bytes()
    high, low = struct.unpack_from("<II", data, fixed_version(data))
    return f"{high >> 16}.{high & 0xffff}.{low >> 16}"


def module_in(folder: str) -> str:
    return "C:\\" + folder.replace("/", "\\") + "\\bin\\Tarnwell.dll"


def older_programs() -> pathlib.Path:
    copy = AT / "older-bin"
    shutil.copytree(BUILD, copy, ignore=lambda _, names: [
        name for name in names if name.endswith(".exe") and name not in PROGRAMS])
    for name in PROGRAMS:
        data = bytearray((copy / name).read_bytes())
        struct.pack_into("<II", data, fixed_version(data), 0, 9 << 16)
        (copy / name).write_bytes(data)
    return copy


def pack(name: str, *options, **environment) -> pathlib.Path:
    return pathlib.Path(run("scripts/package.sh", "--out", AT / name, *options, **environment)
                        .splitlines()[-1])


def setUpModule():
    global SIGNED, PLAIN, OLD
    make_certificate()
    SIGNED = pack("signed", "--bin", BUILD, SIGN_CERT=str(AT / "code.pem"),
                  SIGN_KEY=str(AT / "code.key"))
    PLAIN = pack("plain", "--bin", BUILD)
    OLD = pack("old", "--bin", older_programs(), "--version", OLDER)


def tearDownModule():
    WORK.cleanup()


def verified(path: pathlib.Path) -> bool:
    return subprocess.run(["osslsigncode", "verify", "-CAfile", AT / "ca.pem", "-in", path],
                          stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                          check=False).returncode == 0


class Files(unittest.TestCase):
    def test_signatures(self):
        signed = [AT / "signed/files/bin" / name for name in PROGRAMS[:-1]]
        signed += [AT / "signed/files/manager/bin/Corvane.exe", SIGNED]
        for path in signed:
            with self.subTest(path.name):
                self.assertTrue(verified(path))
                data = bytearray(path.read_bytes())
                # Inside what every one of the formats covers: code, or the cabinet.
                data[len(data) // 2] ^= 1
                changed = AT / path.name
                changed.write_bytes(data)
                self.assertFalse(verified(changed))
        self.assertFalse(verified(PLAIN))

    def test_same_bytes_again(self):
        again = pack("another/place", "--bin", BUILD)
        self.assertEqual(again.read_bytes(), PLAIN.read_bytes())
        code = re.compile(r"Revision number.*")
        self.assertNotEqual(code.search(run("msiinfo", "suminfo", PLAIN))[0],
                            code.search(run("msiinfo", "suminfo", SIGNED))[0])

    def test_bill_of_materials(self):
        bill = json.loads(PLAIN.with_name(PLAIN.name + ".spdx.json").read_text())
        packages = {package["name"]: package for package in bill["packages"]}
        recipe = (ROOT / "scripts/build-deps.sh").read_text()
        for name in ("OpenSSL", "miniz"):
            self.assertIn(f"{name.lower()}_version={packages[name]['versionInfo']}\n", recipe)
            self.assertIn(packages[name]["checksums"][0]["checksumValue"], recipe)
        compiler = run("x86_64-w64-mingw32-g++-posix", "-dumpfullversion").split("-")[0]
        self.assertTrue(packages["g++-mingw-w64-x86-64-posix"]["versionInfo"].startswith(compiler))
        hashes = {file["fileName"]: file["checksums"][1]["checksumValue"] for file in bill["files"]}
        for name in PROGRAMS:
            place = "manager/bin" if name == "Corvane.exe" else "bin"
            data = (BUILD / name).read_bytes()
            self.assertEqual(hashes[f"./{place}/{name}"], hashlib.sha256(data).hexdigest())
        self.assertTrue(any(name.endswith("/libstdc++.a") for name in hashes))

    def test_one_version(self):
        self.assertEqual(re.search(r"^## (\S+)", (ROOT / "CHANGELOG.md").read_text(), re.M)[1],
                         VERSION)
        self.assertIn(f"ProductVersion\t{VERSION}\n",
                      run("msiinfo", "export", PLAIN, "Property").replace("\r", ""))
        for name in PROGRAMS:
            self.assertEqual(file_version(BUILD / name), VERSION, name)
            if name.endswith(".exe"):
                said = wine(BUILD / name, "--version", check=False).stdout
                self.assertRegex(said, rf"(^|\s){re.escape(VERSION)}\s*$", name)


class Installation(unittest.TestCase):
    maxDiff = 4000

    def setUp(self):
        self.fresh_prefix()

    def fresh_prefix(self):
        prefixes = ROOT / "scripts/wine-prefix.sh"
        prefix = run(prefixes, "new").strip().splitlines()[-1]
        os.environ["TARNWELL_WINEPREFIX"] = prefix
        self.addCleanup(run, prefixes, "drop", prefix)
        for name, package in (("new", SIGNED), ("old", OLD)):
            shutil.copy(package, drive() / f"{name}.msi")

    def msiexec(self, what: str, package: str, *properties, expect=0, interface="/qn"):
        status = wine("msiexec", what, package, interface, *properties, check=False).returncode
        # Of the installer's status the low byte is what reaches this side.
        self.assertEqual(status, expect & 0xff, f"msiexec {what} {package} {properties}")

    def installed(self, *, version: str, folder=FOLDER, manager=None):
        """That this version is there, whole, registered and answering COM."""
        package = (SIGNED if version == "new" else OLD).parent / "files"
        for path in package.rglob("*"):
            name = path.relative_to(package).as_posix()
            target = drive() / folder / name
            if name.startswith("manager/"):
                target = drive() / (manager or MANAGER) / name.removeprefix("manager/")
            if path.is_file() and (manager or not name.startswith("manager/")):
                self.assertTrue(target.is_file(), f"{target} is missing")
                self.assertEqual(target.read_bytes(), path.read_bytes(), name)
        if not manager:
            self.assertFalse((drive() / MANAGER).exists())
        self.assertEqual(file_version(drive() / folder / "bin/Tarnwell.dll"),
                         OLDER if version == "old" else VERSION)
        self.probe(folder)
        if manager and version == "new":
            doctor = wine(drive() / folder / "bin/shellprobe.exe", "doctor", "--wait=50",
                          check=False)
            self.assertEqual(doctor.returncode, 0, doctor.stdout)
        self.assertEqual(len(self.products()), 1)

    def probe(self, folder: str):
        """That COM makes objects of all classes out of this folder's DLL."""
        answer = wine(BUILD / "com_probe.exe", module_in(folder), MENU, ICON, TIP, check=False)
        self.assertEqual(answer.stdout.split("\n")[:-1], [
            f"{identifier} 0x00000000 held:loaded released:gone"
            for identifier in (MENU, ICON, TIP)])

    def gone(self, folder="Program Files/Quorva"):
        self.assertFalse((drive() / folder).exists())
        self.assertFalse((drive() / "Program Files (x86)/Quorva").exists())
        self.assertEqual(self.products(), [])
        for key in (SOURCE_KEY, r"HKLM\SOFTWARE\Quorva\Tarnwell"):
            self.assertIsNone(registration.query(key), key)

    @staticmethod
    def restart():
        """Ends the machine; the next program starts it anew, with what was put off until then."""
        run("bash", "-c", '. scripts/wine-env.sh && end_server "$TARNWELL_WINEPREFIX"')
        wine("cmd", "/c", "exit")

    @staticmethod
    def products() -> list:
        records = registration.query(registration.CLASSES + r"\Installer\Products") or ""
        return re.findall(r"\\Installer\\Products\\(\w{32})\s", records)

    @staticmethod
    def classes() -> dict:
        """The machine's classes but for the installer service's own records."""
        return {key: values for key, values in registration.classes().items()
                if not re.match(r"Installer(\\|$)", key)}

    def test_registry_is_what_regsvr32_makes_it(self):
        before = {  # what others have there, as on every Windows, and leavings of earlier times
            ".p7": {"Content Type": "application/pkcs7-mime"},
            "*\\shellex\\ContextMenuHandlers\\Other": {"": "{other}"},
            "PKCS7File\\Shellex\\Other": {"": "x"},
            "PKCS7File\\shell\\open\\command": {"": "other.exe %1"},
            f"CLSID\\{MENU}\\Stale": {"": "x"}}
        registration.write_classes(before)
        self.msiexec("/i", NEW_PACKAGE)
        by_installer = self.classes()
        source = registration.query(SOURCE_KEY)
        self.assertRegex(source, r"EventMessageFile +REG_EXPAND_SZ +C:\\Program Files\\Quorva"
                         r"\\Tarnwell\\bin\\zelLog\.dll\s")
        self.assertRegex(source, r"TypesSupported +REG_DWORD +0x7\s")
        self.msiexec("/x", NEW_PACKAGE)
        left_by_installer = self.classes()
        self.gone()

        self.fresh_prefix()
        registration.write_classes(before)
        module = registration.install("Program Files\\Quorva\\Tarnwell\\bin")
        registration.regsvr32(module)
        self.same(by_installer, self.classes())
        self.assertIn(f"CLSID\\{MENU}\\shellex\\MayChangeDefaultMenu", by_installer)
        registration.regsvr32("/u", module)
        self.same(left_by_installer, self.classes())

    def same(self, actual: dict, expected: dict):
        different = {key: (actual.get(key), expected.get(key)) for key in actual | expected
                     if actual.get(key) != expected.get(key)}
        self.assertEqual(different, {}, "key: (by the installer, by regsvr32)")

    def test_upgrade_repair_and_features(self):
        self.msiexec("/i", OLD_PACKAGE)
        self.installed(version="old")
        self.msiexec("/i", NEW_PACKAGE)
        self.installed(version="new")
        self.msiexec("/i", OLD_PACKAGE, expect=1603)
        self.installed(version="new")
        (drive() / FOLDER / "bin/zelLog.dll").unlink()
        (drive() / FOLDER / "bin/Tarnwell.dll").write_bytes(b"no program")
        wine("reg", "delete", f"{registration.CLASSES}\\CLSID\\{MENU}", "/f")
        # What /fa does with a product code, which Wine's does not know yet.
        self.msiexec("/i", NEW_PACKAGE, "REINSTALL=ALL", "REINSTALLMODE=amus")
        self.installed(version="new")
        self.msiexec("/i", NEW_PACKAGE, "ADDLOCAL=Manager")
        self.installed(version="new", manager=MANAGER)
        self.msiexec("/x", NEW_PACKAGE)
        self.gone()

    def test_folder_with_blanks_and_foreign_letters(self):
        folder = "Büro Łódź/Tar nwell"
        for interface in ("/qn", "/qf"):
            with self.subTest(interface):
                self.msiexec("/i", OLD_PACKAGE, "INSTALLDIR=C:\\" + folder.replace("/", "\\"),
                             "ADDLOCAL=Main,Manager", interface=interface)
                self.installed(version="old", folder=folder, manager=folder)
                self.msiexec("/i", NEW_PACKAGE, "ADDLOCAL=Main,Manager", interface=interface)
                self.installed(version="new", folder=folder, manager=folder)
                self.msiexec("/x", NEW_PACKAGE)
                self.gone(folder)

    def test_over_a_half_removed_installation(self):
        current = r"HKLM\Software\Microsoft\Windows\CurrentVersion"
        records = (registration.CLASSES + r"\Installer", current + r"\Installer",
                   current + r"\Uninstall")
        for lost in ("files", "records", "both"):
            with self.subTest(lost=lost):
                self.msiexec("/i", OLD_PACKAGE)
                if lost != "records":
                    shutil.rmtree(drive() / FOLDER / "docs")
                    (drive() / FOLDER / "bin/Tarnwell.dll").unlink()
                    wine("reg", "delete", f"{registration.CLASSES}\\CLSID\\{TIP}", "/f")
                if lost != "files":
                    for key in records:
                        wine("reg", "delete", key, "/f")
                self.msiexec("/i", NEW_PACKAGE)
                self.installed(version="new")
                self.msiexec("/x", NEW_PACKAGE)
                self.gone()

    def test_while_the_dll_is_loaded(self):
        self.msiexec("/i", OLD_PACKAGE)
        holder = self.hold()
        # Done but for what is in use. Windows' service moves the old file aside, so that the next
        # process has the new one at once; Wine's leaves it until the restart.
        self.msiexec("/i", NEW_PACKAGE, expect=3010)
        self.probe(FOLDER)
        self.let_go(holder)
        self.restart()
        self.installed(version="new")

        holder = self.hold()
        self.msiexec("/x", NEW_PACKAGE)  # Wine's leaves the file, Windows' takes it at the restart
        self.assertNotIn(f"CLSID\\{MENU}", registration.classes())
        self.let_go(holder)
        self.msiexec("/i", NEW_PACKAGE)
        self.installed(version="new")
        self.msiexec("/x", NEW_PACKAGE)
        self.gone()

    def hold(self) -> subprocess.Popen:
        """A process that has the DLL loaded and an object of it in hand."""
        holder = subprocess.Popen(
            [ROOT / "scripts/wine-run", BUILD / "com_probe.exe", module_in(FOLDER), "hold", MENU],
            env=os.environ | {"TARNWELL_RAW_ARGS": "1"}, stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, text=True)
        self.assertEqual(holder.stdout.readline(), f"{MENU} 0x00000000 holding\n")
        return holder

    def let_go(self, holder: subprocess.Popen):
        """Has the process release the object and unload the DLL, which it does as ever."""
        said, _ = holder.communicate(timeout=60)
        self.assertEqual((said, holder.returncode), (" held:loaded released:gone\n", 0))


if __name__ == "__main__":
    unittest.main()
