"""What regsvr32 makes of the DLL: the registry's classes before and after, and COM through them.

Run by registration.sh, which sets TARNWELL_BUILD; every test has a Wine prefix of its own. The
table of what belongs into the registry is written out here once more, so that a slip in the DLL's
shows.
"""
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ["TARNWELL_BUILD"])
CLASSES = "HKEY_LOCAL_MACHINE\\Software\\Classes"

MENU = "{0D526B21-4823-426D-A4B4-1AD3B8305EFC}"
ICON = "{F0778DA1-ECEE-4721-B055-8046A0028A87}"
TIP = "{B6F0B3F7-85B2-458A-8A87-46161C087722}"

REGISTERED = {
    ".p7": {"": "PKCS7File"},
    ".p7m": {"": "PKCS7File"},
    "*": {},
    "*\\shellex": {},
    "*\\shellex\\ContextMenuHandlers": {},
    "*\\shellex\\ContextMenuHandlers\\Tarnwell Extension": {"": MENU},
    "PKCS7File": {"": "Encrypted/signed file (PKCS#7 format)"},
    "PKCS7File\\DefaultIcon": {"": "%1"},
    "PKCS7File\\Shellex": {},
    "PKCS7File\\Shellex\\IconHandler": {"": ICON},
    "PKCS7File\\Shellex\\{00021500-0000-0000-C000-000000000046}": {"": TIP},
    "CLSID": {},
    f"CLSID\\{MENU}": {"": "Tarnwell Extension"},
    f"CLSID\\{MENU}\\InprocServer32": {"": "MODULE", "ThreadingModel": "Apartment"},
    f"CLSID\\{MENU}\\shellex": {},
    f"CLSID\\{MENU}\\shellex\\MayChangeDefaultMenu": {},
    f"CLSID\\{TIP}": {"": "Tarnwell hover tip"},
    f"CLSID\\{TIP}\\InprocServer32": {"": "MODULE", "ThreadingModel": "Apartment"},
    f"CLSID\\{ICON}": {"": "Tarnwell PKCS#7 File Icon"},
    f"CLSID\\{ICON}\\InprocServer32": {"": "MODULE", "ThreadingModel": "Apartment"},
}
LEFT_BEHIND = [".p7", ".p7m", "*", "*\\shellex", "*\\shellex\\ContextMenuHandlers", "PKCS7File",
               "CLSID"]


def wine(*arguments, check=True) -> subprocess.CompletedProcess:
    environment = os.environ | {"TARNWELL_RAW_ARGS": "1", "TARNWELL_TIMEOUT": "60"}
    # Into a file: Wine's services inherit the output and keep a pipe busy for seconds.
    with tempfile.TemporaryFile("w+", errors="replace") as output:
        done = subprocess.run([ROOT / "scripts/wine-run", *arguments], env=environment, timeout=90,
                              stdout=output, stderr=subprocess.STDOUT)
        output.seek(0)
        done.stdout = output.read()
    if check and done.returncode != 0:
        raise AssertionError(f"{arguments} ended with {done.returncode}: {done.stdout}")
    return done


def drive() -> pathlib.Path:
    return pathlib.Path(os.environ["TARNWELL_WINEPREFIX"]) / "drive_c"


def query(key: str) -> str | None:
    """What reg says of a key of the registry; nothing where there is no such key."""
    answer = wine("reg", "query", key, check=False)
    if answer.returncode == 0:
        return answer.stdout
    if "Unable to find the specified registry key" not in answer.stdout:
        raise AssertionError(f"reg query {key} ended with {answer.returncode}: {answer.stdout}")
    return None


def classes() -> dict:
    """The machine's classes, all of them: their keys, with texts plain and other data as stored."""
    wine("reg", "export", CLASSES, "C:\\classes.reg", "/y")
    keys, values = {}, {}
    exported = (drive() / "classes.reg").read_text("utf-16").replace("\\\n", "")
    for line in exported.splitlines():
        if line.startswith("["):
            values = keys.setdefault(line[len(CLASSES) + 2:-1], {})
        elif found := re.fullmatch(r'(?:@|"((?:[^"\\]|\\.)*)")=(?:"(.*)"|(.*))', line):
            name, text, other = found.groups(default="")
            values[unescaped(name)] = unescaped(text) or other
    return keys


def unescaped(text: str) -> str:
    return re.sub(r"\\(.)", r"\1", text)


def write_classes(rows: dict):
    """Puts keys and values into the machine's classes, as another program would."""
    lines = ["REGEDIT4"]
    for key, values in rows.items():
        lines.append(f"[{CLASSES}\\{key}]")
        for name, text in values.items():
            lines.append((f'"{name}"' if name else "@") + f'="{text}"')
    (drive() / "others.reg").write_text("\r\n".join(lines) + "\r\n")
    wine("regedit", "/S", "C:\\others.reg")


def with_rows(before: dict, rows: dict, module: str) -> dict:
    """`before`, with the rows' keys and values added; names are not case-sensitive."""
    spelled = {key.lower(): key for key in before}
    after = {key: dict(values) for key, values in before.items()}
    for key, values in rows.items():
        target = after.setdefault(spelled.get(key.lower(), key), {})
        target.update({name: text.replace("MODULE", module) for name, text in values.items()})
    return after


def install(folder: str) -> str:
    """Puts the DLL into a folder of drive C and returns its Windows path."""
    target = drive() / folder.replace("\\", "/")
    target.mkdir(parents=True, exist_ok=True)
    shutil.copy(BUILD / "Tarnwell.dll", target)
    return f"C:\\{folder}\\Tarnwell.dll"


def folder_for(length: int) -> str:
    """A folder so long that the DLL's path has `length` units."""
    rest = length - len("C:\\") - len("\\Tarnwell.dll")
    return "\\".join(["f" * 99, "g" * 99, "h" * (rest - 200)])


def regsvr32(*arguments, check=True) -> subprocess.CompletedProcess:
    return wine("regsvr32", "/s", *arguments, check=check)


class Registration(unittest.TestCase):
    maxDiff = 4000

    def setUp(self):
        prefixes = ROOT / "scripts/wine-prefix.sh"
        made = subprocess.run([prefixes, "new"], capture_output=True, text=True, check=True)
        os.environ["TARNWELL_WINEPREFIX"] = prefix = made.stdout.strip()
        self.addCleanup(subprocess.run, [prefixes, "drop", prefix], check=True)

    def same(self, actual: dict, expected: dict):
        """Compares registries; a difference is shown as keys, not as a megabyte of text."""
        different = {key: (actual.get(key), expected.get(key)) for key in actual | expected
                     if actual.get(key) != expected.get(key)}
        self.assertEqual(different, {}, "key: (is, should be)")

    def test_registry_after_every_step(self):
        module = install("Program Files\\Quorva\\Tarnwell\\bin")
        before = classes()
        self.assertFalse("PKCS7File" in before)
        registered = with_rows(before, REGISTERED, module)
        for _ in range(2):
            regsvr32(module)
            self.same(classes(), registered)
        regsvr32("/u", module)
        left = with_rows(before, {key: REGISTERED[key] for key in LEFT_BEHIND}, module)
        self.same(classes(), left)

    def test_what_others_put_there(self):
        module = install("Program Files\\Quorva\\Tarnwell\\bin")
        stays = {".p7": {"Content Type": "application/pkcs7-mime"},
                 ".p7\\OpenWithProgids": {"other": ""},
                 "*\\shellex\\ContextMenuHandlers\\Other": {"": "{other}"},
                 "PKCS7File\\shell\\open\\command": {"": "other.exe %1"}}
        goes = {"PKCS7File\\Shellex\\Other": {"": "x"},
                "PKCS7File\\DefaultIcon": {"stale": "x"},
                f"CLSID\\{MENU}\\Stale": {"": "x"}}
        write_classes(stays | goes)
        before = classes()
        regsvr32(module)
        expected = with_rows(before, REGISTERED, module)
        for key in ("PKCS7File\\Shellex\\Other", f"CLSID\\{MENU}\\Stale"):
            del expected[key]
        del expected["PKCS7File\\DefaultIcon"]["stale"]
        self.same(classes(), expected)
        regsvr32("/u", module)
        after = classes()
        for key, values in stays.items():
            for name, text in values.items():
                self.assertEqual(after[key][name], text, key)
        self.assertFalse([key for key in after if key.startswith("PKCS7File\\Shellex")])

    def test_module_paths_and_com(self):
        """COM finds the classes wherever the module lies, and lets the module go again."""
        for folder in ("O'Neil's \u00e9'", "a b  c", folder_for(259)):
            with self.subTest(folder=folder):
                module = install(folder)
                regsvr32(module)
                probe = self.probe(module, MENU, ICON, TIP, MENU)
                self.assertEqual(probe.stdout.split("\n")[:-1], [
                    f"{identifier} 0x00000000 held:loaded released:gone"
                    for identifier in (MENU, ICON, TIP, MENU)])
                self.assertEqual(probe.returncode, 0)
        regsvr32("/u", module)
        too_long = install(folder_for(260))
        self.assertNotEqual(regsvr32(too_long, check=False).returncode, 0)
        self.assertNotEqual(regsvr32("/u", too_long, check=False).returncode, 0)
        probe = self.probe(too_long, MENU)
        self.assertEqual(probe.stdout, f"{MENU} 0x80040154 released:gone\n")

    def probe(self, *arguments):
        return wine(BUILD / "com_probe.exe", *arguments, check=False)


if __name__ == "__main__":
    unittest.main()
