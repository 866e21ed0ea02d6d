"""Icons and tips of the registered DLL, as shellprobe and the system's shell get them. Run by
icons.sh, which prepares the prefix in TARNWELL_WINEPREFIX.

What the pictures should show is put together here from the overlays' .ico files, what the tips
should say from the corpus's manifest, whose answers come from other programs."""

import csv
import functools
import itertools
import re
import runpy
import shutil
import struct
import subprocess
import unittest
from pathlib import Path

from driver import (BUILD, DRIVE, assert_flat, openssl, probe, probe_all, texts, windows, wine)

CORPUS = Path("tests/data/corpus")
PAPERS = DRIVE / "Papers"
OVERLAYS = BUILD.parent / "generated/icons"
CONTACT_SHEET = runpy.run_path("scripts/contact-sheet")  # it reads the same pictures
OK, PENDING, FAIL = "0x00000000", "0x8000000A", "0x80004005"

# What is laid over the icon of the enclosed type, the topmost first. "valid" is made in setUpClass.
KINDS = {
    "valid.txt.p7": (None, ["valid", "signed"]),
    "invalid.txt.p7": ("bc-rsa.p7", ["invalid", "signed"]),
    "tampered.txt.p7": ("hand-bad-content.p7", ["invalid", "signed"]),
    "encrypted.txt.p7m": ("nss-env.p7m", ["encrypted"]),
    "both.txt.p7m": ("capi-sae-1x1.p7m", ["signedencrypted"]),
    "other.txt.p7": ("capi-data.p7", ["other"]),
    "unreadable.txt.p7": ("nonp7-text.p7", []),
}
LANGUAGES = {  # the date of 2 January 2024 as the language's people write it
    "en": ("en_US.UTF-8", r"0?1/0?2/(20)?24"),
    "fr": ("fr_FR.UTF-8", r"02/01/(20)?24"),
    "es": ("es_ES.UTF-8", r"0?2/0?1/(20)?24"),
    "pl": ("pl_PL.UTF-8", r"0?2\.01\.(20)?24|2024-01-02"),
}


def pixels_of(rows):
    """Rows of bytes as rows of pixels, each red, green, blue, straight alpha."""
    return [[tuple(row[i:i + 4]) for i in range(0, len(row), 4)] for row in rows]


def png_pixels(data):
    return pixels_of(CONTACT_SHEET["MAKE_ICON"]["decoded"](data))


@functools.cache
def overlay_images(name):
    """The images in an overlay's .ico, by size."""
    images = CONTACT_SHEET["icon_images"](OVERLAYS / f"overlay_{name}.ico")
    return {size: pixels_of(rows) for size, rows in images.items()}


def hidden_pixels(name):
    """What the masks of an overlay's .ico hide, as rows of 0 and 1, by size. The largest image is a
    PNG, which has none."""
    data = (OVERLAYS / f"overlay_{name}.ico").read_bytes()
    masks = {}
    for entry in range(6, 6 + 16 * data[4], 16):
        size = data[entry]
        row = (size + 31) // 32 * 4
        last = (struct.unpack_from("<I", data, entry + 12)[0] + 40 + 4 * size * size +
                row * (size - 1))
        if size:
            masks[size] = [[data[last - row * y + x // 8] >> (7 - x % 8) & 1 for x in range(size)]
                           for y in range(size)]
    return masks


def lightness(pixel):
    """How light a pixel is on a grey ground, 0 to 255."""
    red, green, blue, alpha = pixel
    return ((299 * red + 587 * green + 114 * blue) // 1000 * alpha + 128 * (255 - alpha)) // 255


def change_registry(keys):
    file = PAPERS / "change.reg"
    file.write_text("REGEDIT4\n\n" + "".join(f"[{key}]\n{value}\n\n" for key, value in keys.items()))
    status, _, said = wine("regedit", "/S", windows(file))
    assert status == 0, said


class Drawings(unittest.TestCase):
    """The overlays as they are drawn, before they are laid over anything."""

    def test_each_size_marks_its_own_lower_corner_and_is_unmistakable_without_colour(self):
        for is_left, names in ((True, ("signed", "encrypted", "signedencrypted", "other")),
                               (False, ("valid", "invalid"))):
            for size in (256, 48, 32, 24, 16):
                greys = []
                for name in names:
                    with self.subTest(name, size=size):
                        self.check_corner(name, size, is_left)
                    greys.append([lightness(pixel) for row in overlay_images(name)[size]
                                  for pixel in row])
                for one, other in itertools.combinations(greys, 2):
                    differing = sum(abs(a - b) > 64 for a, b in zip(one, other, strict=True))
                    self.assertGreaterEqual(differing / size ** 2, 0.02, (names, size))

    def check_corner(self, name, size, is_left):
        """Halves that never meet: a verdict fits beside any kind."""
        pixels = overlay_images(name)[size]
        self.assertEqual({len(row) for row in pixels}, {size})
        opaque = sum(pixel[3] == 255 for row in pixels for pixel in row)
        self.assertGreater(opaque, size * size / 10, "hardly anything is drawn")
        shown = [(x, y) for y in range(size) for x in range(size) if pixels[y][x][3]]
        (left, top), (right, bottom) = (tuple(map(limit, zip(*shown))) for limit in (min, max))
        half, last = size // 2, size - 1
        self.assertTrue(left == 0 and right < half if is_left else left >= half and right == last,
                        (left, right))
        # Two glyphs have no room beside each other in eight pixels, so they are stacked.
        stacked = (name, size) == ("signedencrypted", 16)
        self.assertTrue(top >= (2 if stacked else half) and bottom == last, (top, bottom))
        if size < 256:
            clear = [[int(pixel[3] == 0) for pixel in row] for row in pixels]
            self.assertEqual(hidden_pixels(name)[size], clear)


class Handlers(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        PAPERS.mkdir()
        ca, key = PAPERS / "ca.pem", PAPERS / "ca.key"
        openssl("req", "-x509", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=Somebody's root",
                "-days", "9", "-keyout", key, "-out", ca)
        subprocess.run(["scripts/trust", DRIVE.parent, ca], check=True)
        for name, (source, _) in KINDS.items():
            if source:
                shutil.copy(CORPUS / source, PAPERS / name)
            else:
                openssl("cms", "-sign", "-binary", "-nodetach", "-in", key, "-outform", "DER",
                        "-signer", ca, "-inkey", key, "-out", PAPERS / name)
        cls.files = [windows(PAPERS / name) for name in KINDS]

    def icons(self, *arguments):
        return dict(zip(KINDS, probe_all("icon", *arguments, *self.files)[1], strict=True))

    def test_the_icon_of_every_kind_and_size(self):
        for large, small in ((256, 16), (48, 24)):
            answers = self.icons(f"--large={large}", f"--small={small}",
                                 f"--png=C:\\Papers\\shot{large}")
            for name, (_, layers) in KINDS.items():
                expected = {"location": OK, "flags": "0x18", "extract": OK,
                            "large": [large, large], "small": [small, small]}
                if not layers:
                    expected |= {"location": FAIL, "extract": FAIL, "large": None, "small": None,
                                 "flags": answers[name]["flags"]}
                self.assertEqual(answers[name], expected, name)
            self.check_pictures(f"shot{large}", "large", large)
            self.check_pictures(f"shot{large}", "small", small)

    def check_pictures(self, shot, which, size):
        """Where the topmost overlay is opaque, the picture is the overlay's; where all are fully
        transparent, it is what every other kind shows there."""
        base = {}
        for number, (name, (_, layers)) in enumerate(KINDS.items(), 1):
            picture = PAPERS / f"{shot}-{number}-{which}.png"
            self.assertEqual(picture.exists(), bool(layers))
            if not layers:
                continue
            pixels = png_pixels(picture.read_bytes())
            overlays = [overlay_images(layer)[size] for layer in layers]
            shown = {layer: 0 for layer in layers} | {"base": 0}
            for y, x in itertools.product(range(size), repeat=2):
                layer = next((i for i, o in enumerate(overlays) if o[y][x][3]), None)
                if layer is None:
                    shown["base"] += 1
                    expected = base.setdefault((x, y), pixels[y][x])
                elif overlays[layer][y][x][3] == 255:
                    shown[layers[layer]] += 1
                    expected = overlays[layer][y][x]
                else:
                    continue  # how pixels blend is a matter of its own
                if pixels[y][x] != expected:
                    self.assertEqual(pixels[y][x], expected, (name, which, x, y))
            self.assertGreater(min(shown.values()), size, (name, which, shown))
        self.assertGreater(len({pixel for pixel in base.values() if pixel[3]}), 2, "an empty icon")

    def test_signed_files_are_judged_in_the_background(self):
        answers = self.icons("--async", "--small=0")
        for name, (_, layers) in KINDS.items():
            answer = answers[name]
            self.assertEqual(answer["location"],
                             FAIL if not layers else PENDING if "signed" in layers else OK, name)
            self.assertEqual((answer["large"], answer["small"]),
                             ([32, 32] if layers else None, None), name)

    def test_the_systems_shell_tells_the_same(self):
        def pictures(which):
            return {file.name.removeprefix(which): file.read_bytes()
                    for file in PAPERS.glob(which + "-*.png")}

        own = self.icons("--png=C:\\Papers\\own")
        own_tips = probe_all("tip", *self.files)[1]
        self.assertNotEqual(self.icons("--through-shell"), own)
        # Wine's shell looks for handlers below the extension, not below the type.
        classes = {icon: re.search(r"{.*}", wine("reg", "query", "HKCR\\PKCS7File\\Shellex\\" + key,
                                                 "/ve")[1].splitlines()[-2])[0]
                   for icon, key in (("{000214FA-0000-0000-C000-000000000046}", "IconHandler"),
                                     ("{00021500-0000-0000-C000-000000000046}",) * 2)}
        keys = {f"HKEY_LOCAL_MACHINE\\Software\\Classes\\{extension}\\ShellEx\\{interface}": handler
                for extension in (".p7", ".p7m") for interface, handler in classes.items()}
        change_registry({key: f'@="{handler}"' for key, handler in keys.items()})
        try:
            self.assertEqual(self.icons("--through-shell", "--png=C:\\Papers\\shell"), own)
            self.assertEqual(pictures("shell"), pictures("own"))
            self.assertEqual(probe_all("tip", "--through-shell", *self.files)[1], own_tips)
        finally:
            change_registry({"-" + key: "" for key in keys})

    def test_the_tip_of_every_signed_file_in_four_languages(self):
        with open(CORPUS / "manifest.tsv", encoding="utf-8", newline="") as file:
            rows = list(csv.DictReader(file, delimiter="\t", quoting=csv.QUOTE_NONE))
        for language, (locale, _) in LANGUAGES.items():
            answers = probe_all("tip", *(windows(CORPUS / row["file"]) for row in rows),
                                locale=locale)[1]
            told = 0
            for row, answer in zip(rows, answers, strict=True):
                expected = self.expected_tip(row, texts(language)["tarnwellDLL"])
                if expected is None:
                    self.assertEqual(answer, {"tip": None, "result": FAIL}, row["file"])
                elif expected:
                    self.assertEqual(answer["result"], OK, row["file"])
                    self.assertRegex(answer["tip"], expected, row["file"])
                    told += 1
            self.assertGreater(told, 100)

    @staticmethod
    def expected_tip(row, words):
        """A pattern; None for no tip, "" where the manifest does not say enough."""
        if row["type"] not in ("0", "2"):
            return None
        names = list(zip(row["signer_cn"].split(";"), row["issuer_cn"].split(";"),
                         row["signing_time"].split(";")))
        if len(names) != int(row["signers"]) or "[DISAGREE" in row["note"] or any(
                name in ("-", "?") or "\\" in name for signer in names for name in signer[:2]):
            return ""
        tip = ""
        for number, (subject, issuer, time) in enumerate(names):
            tip += f"signer :{number}\n" if len(names) > 1 else ""
            tip += re.escape(f"{words['signed_by']}: {subject.split('|')[-1]}"
                             f"({issuer.split('|')[-1]})\n{words['signed_on']}: ")
            clock = r"[^\n]*?\d\d:\d\d[^\n]*?"
            if time == "-":  # none, or a day that the calendar does not have
                tip += f"({clock})?"
            # The container reads UTCTime only, and its clock ends with 2038.
            elif "1970" <= time[:4] <= "2038" and "GeneralizedTime" not in row["note"]:
                tip += clock
        return f"^{tip}\\Z"

    def test_times_are_spelt_as_the_user_does(self):
        content = (CORPUS / "hand-base.p7").read_bytes()
        attribute = content.rindex(bytes.fromhex("06092a864886f70d010905"))
        stamp = re.search(rb"\x17\x0d\d{12}Z", content[attribute:])
        file = PAPERS / "dated.p7"
        file.write_bytes(content.replace(stamp[0], b"\x17\x0d240102120000Z"))
        for language, (locale, date) in LANGUAGES.items():
            answer = probe("tip", windows(file), locale=locale)[1]
            self.assertRegex(answer["tip"].splitlines()[-1], date, language)
        answer = probe("tip", windows(CORPUS / "bc-noattr.p7"))[1]
        self.assertEqual(answer["tip"], "Signed by: Bruno Kask(Orchard Issuing CA)\nSigned on: ")

    def test_files_without_a_tip(self):
        for name in ("gpgsm-sign-nocerts.p7", "nss-env.p7m", "nonp7-text.p7"):
            shutil.copy(CORPUS / name, PAPERS / name)
            status, answer, _ = probe("tip", windows(PAPERS / name))
            self.assertEqual((status, answer), (1, {"tip": None, "result": FAIL}), name)

    def test_nothing_grows(self):
        status, answer, _ = probe("stress", "--rounds=100", *self.files)
        self.assertEqual(status, 0)
        signed = sum("signed" in layers or "signedencrypted" in layers
                     for _, layers in KINDS.values())
        self.assertEqual(answer["answered"], {
            "menu": 100 * len(KINDS), "icon": 100 * (len(KINDS) - 1), "tip": 100 * signed})
        assert_flat(self, answer)


if __name__ == "__main__":
    unittest.main(verbosity=2)
