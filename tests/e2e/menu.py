"""The context menu of the registered DLL, as shellprobe sees it. Run by menu.sh, which prepares
the prefix in TARNWELL_WINEPREFIX."""

import time
import unittest

from driver import ARCHIVE, DRIVE, MANAGER, assert_flat, openssl, probe, texts, windows

PAPERS = DRIVE / "Papers"

OK, FILLED, FAIL, INVALID = "0x00000000", "0x00000003", "0x80004005", "0x80070057"
NAMES = ["Meeting notes.txt", "été.txt", "Plan, final.txt"]


def rows(menu):
    """The menu as a list: "-" for a separator, else offset and text."""
    return ["-" if "separator" in item else (item["offset"], item["text"])
            for item in menu["items"]]


def wait_for(*paths):
    """The manager works after it has answered."""
    end = time.monotonic() + 120
    while time.monotonic() < end and not all(path.exists() and path.stat().st_size
                                             for path in paths):
        time.sleep(0.1)
    time.sleep(0.3)


class Menu(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        PAPERS.mkdir()
        cls.files = [PAPERS / name for name in NAMES]
        for file in cls.files:
            file.write_text(f"This is {file.name}.\n", encoding="utf-8")
        cls.keys = PAPERS / "keys"
        cls.keys.mkdir()
        cls.certificate, cls.key = cls.keys / "c.pem", cls.keys / "k.pem"
        openssl("req", "-x509", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=Somebody",
                "-days", "2", "-keyout", cls.key, "-out", cls.certificate)

    def sign(self, name, content=b"signed content"):
        file = PAPERS / name
        plain = self.keys / "plain"
        plain.write_bytes(content)
        openssl("cms", "-sign", "-binary", "-nodetach", "-in", plain, "-outform", "DER",
                "-signer", self.certificate, "-inkey", self.key, "-out", file)
        return file

    def encrypt(self, name):
        file = PAPERS / name
        openssl("smime", "-encrypt", "-binary", "-aes256", "-in", self.files[0], "-outform", "DER",
                "-out", file, self.certificate)
        return file

    def menu(self, *arguments, **how):
        status, answer, _ = probe("menu", *arguments, **how)
        self.assertIsNotNone(answer)
        self.assertEqual(status, 1 if answer["query"] in (None, FAIL) else 0)
        return answer

    def protect_rows(self, language="en"):
        group = texts(language)["tarnwellDLL"]
        return ["-", (0, group["sign"]), (1, group["encrypt"]), (2, group["signencrypt"]), "-"]

    def test_files_get_the_protecting_commands_with_pictures(self):
        elsewhere = PAPERS / "elsewhere"
        elsewhere.mkdir()
        other = elsewhere / "other, é.p7"
        other.write_bytes(b"x")
        for files in ([self.files[0]], self.files, [self.files[1], other]):
            menu = self.menu(*map(windows, files))
            self.assertEqual((menu["initialize"], menu["query"]), (OK, FILLED))
            self.assertEqual(rows(menu), self.protect_rows())
            commands = [item for item in menu["items"] if "id" in item]
            self.assertEqual([item["verb"] for item in commands],
                             ["sign", "encrypt", "sign+encrypt"])
            self.assertEqual([item["bitmap"] for item in commands], [[16, 16]] * 3)
            self.assertFalse(any(item["default"] for item in commands))

    def test_a_french_user_reads_french(self):
        menu = self.menu(*map(windows, self.files), locale="fr_FR.UTF-8")
        self.assertEqual(rows(menu), self.protect_rows("fr"))
        self.assertNotEqual(self.protect_rows("fr"), self.protect_rows("en"))

    def test_one_container_gets_the_opening_commands(self):
        catalogue = texts("en")
        verify = (2, catalogue["tarnwellDLL"]["recover_veryfy"])
        recover = (2, catalogue["tarnwellDLL"]["recover"])
        opening = (0, catalogue["menu"]["open"])
        broken = PAPERS / "broken.p7"
        broken.write_bytes(b"no container")
        for file, expected in ((self.sign("été, signed.txt.p7"), ["-", verify, opening, "-"]),
                               (self.encrypt("encrypted.P7"), ["-", recover, opening, "-"]),
                               (broken, ["-", opening, "-"])):
            menu = self.menu(windows(file))
            self.assertEqual((menu["query"], rows(menu)), (FILLED, expected), file.name)
            for item in menu["items"]:
                if "id" in item:
                    self.assertEqual(item["verb"], "recover")
                    self.assertIsNone(item["bitmap"])
                    self.assertEqual(item["default"], item["offset"] == 0)
        self.assertEqual(rows(self.menu(windows(self.sign("m.p7m")))), self.protect_rows())

    def test_flags_and_ids(self):
        text, container = windows(self.files[0]), windows(self.sign("ids.p7"))
        for arguments, query, count in ((["--flags=1", text], FAIL, 0),
                                        (["--last=4", text], FILLED, 5),
                                        (["--last=3", text], OK, 0),
                                        (["--flags=1", container], FILLED, 4),
                                        (["--last=3", container], FILLED, 4),
                                        (["--last=2", container], OK, 0),
                                        (["--flags=0x20", container], FILLED, 5)):
            menu = self.menu(*arguments)
            self.assertEqual((menu["query"], len(menu["items"])), (query, count), arguments)
        menu = self.menu("--first=700", text)
        self.assertEqual([item["id"] for item in menu["items"] if "id" in item], [700, 701, 702])

    def test_signing_reaches_the_manager_and_verifies(self):
        status, answer, _ = probe("invoke", "--offset=0", *map(windows, self.files))
        self.assertEqual((status, answer), (0, {"invoke": OK, "boxes": []}))
        made = [PAPERS / (name + ".p7") for name in NAMES]
        wait_for(*made)
        authority = next(DRIVE.glob("users/*/AppData/Roaming/**/ca.pem"))
        for file, original in zip(made, self.files):
            openssl("cms", "-verify", "-inform", "DER", "-in", file, "-CAfile", authority,
                    "-out", self.keys / "content")
            self.assertEqual((self.keys / "content").read_bytes(), original.read_bytes())

    def test_opening_a_signed_file_writes_its_content_beside_it(self):
        file = self.sign("settings, é.ini.p7", b"[a]\nb=c\n")
        status, answer, _ = probe("invoke", "--offset=0", windows(file))
        self.assertEqual((status, answer), (0, {"invoke": OK, "boxes": []}))
        self.assertEqual((PAPERS / "settings, é.ini").read_bytes(), b"[a]\nb=c\n")

    def test_content_without_a_program_is_said_in_one_text(self):
        file = self.sign("thing.nobodyknows.p7")
        status, answer, _ = probe("invoke", "--offset=0", windows(file))
        text = texts("en")["tarnwellDLL"]["open_file_error_message"]
        self.assertEqual((status, answer),
                         (1, {"invoke": FAIL, "boxes": [{"title": text, "text": text}]}))
        self.assertTrue((PAPERS / "thing.nobodyknows").exists())

    def test_a_missing_manager_is_said_in_the_users_language(self):
        away = MANAGER.with_suffix(".away")
        MANAGER.rename(away)
        try:
            for language, locale in (("en", "C.UTF-8"), ("fr", "fr_FR.UTF-8")):
                status, answer, _ = probe("invoke", "--offset=1", windows(self.files[0]),
                                          locale=locale)
                group = texts(language)["tarnwellDLL"]
                self.assertEqual((status, answer), (1, {"invoke": FAIL, "boxes": [{
                    "title": group["general_error_title"],
                    "text": group["general_error_message"]}]}))
        finally:
            away.rename(MANAGER)

    def test_no_command_no_catalogue_no_file(self):
        status, answer, _ = probe("invoke", "--offset=3", windows(self.files[0]))
        self.assertEqual((status, answer), (1, {"invoke": INVALID, "boxes": []}))
        away = ARCHIVE.with_suffix(".away")
        ARCHIVE.rename(away)
        try:
            menu = self.menu(windows(self.files[0]))
            self.assertEqual((menu["initialize"], menu["query"], menu["items"]), (OK, FAIL, []))
        finally:
            away.rename(ARCHIVE)
        self.assertEqual(self.menu("C:\\Papers\\gone.p7")["query"], FAIL)

    def test_nothing_grows(self):
        for file in (self.files[0], self.sign("grow.p7")):
            status, answer, _ = probe("stress", "--rounds=300", "--only=menu", windows(file))
            self.assertEqual((status, answer["rounds"]), (0, 300))
            self.assertEqual(answer["answered"]["menu"], 300)
            assert_flat(self, answer)

    def test_wrong_command_lines_are_refused_with_a_word(self):
        for arguments in ([], ["dance", "x"], ["menu"], ["menu", "--rounds=1", "x"],
                          ["invoke", "x"], ["invoke", "--offset=-1", "x"],
                          ["popup", "--at=1", "x"], ["stress", "--rounds=many", "x"]):
            status, answer, said = probe(*arguments)
            self.assertEqual((status, answer), (2, None), arguments)
            self.assertIn("--help", said)


if __name__ == "__main__":
    unittest.main(verbosity=2)
