"""shellprobe's window, driven with real mouse and key events. Run by view.sh, which prepares the
screen in DISPLAY and the prefix in TARNWELL_WINEPREFIX. The window tells what it shows and does in
lines of JSON: each step waits for its line, none for time to pass."""

import itertools
import json
import os
import queue
import subprocess
import threading
import time
import unittest

from driver import BUILD, DRIVE, openssl, texts, windows

PAPERS = DRIVE / "Papers"
PATIENCE = 90  # seconds; the machine may be busy with other tests
OK, FAIL = "0x00000000", "0x80004005"
PLAIN, SIGNED, ENCRYPTED, OPENED = "Notes.txt", "b.p7m", "c.p7m", "plan.nobodyknows.p7"


def screen(point=None):
    """The pixels of the screen, or those of the large icon around a point."""
    crop = ["-crop", f"48x48+{point[0] - 24}+{point[1] - 24}"] if point else []
    return subprocess.run(["import", "-window", "root", *crop, "rgb:-"], check=True,
                          capture_output=True).stdout


def xdotool(*arguments):
    subprocess.run(["xdotool", *map(str, arguments)], check=True)


class View(unittest.TestCase):
    def setUp(self):
        self.folder = PAPERS / self.id().rsplit("_", 1)[-1]
        self.folder.mkdir(parents=True)
        for name in (PLAIN, "other.txt"):
            (self.folder / name).write_text("Some notes.\n", encoding="utf-8")
        certificate, key = self.folder.parent / "c.pem", self.folder.parent / "k.pem"
        openssl("req", "-x509", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=Ann Other",
                "-days", "2", "-keyout", key, "-out", certificate)
        for name in (SIGNED, OPENED):
            openssl("cms", "-sign", "-binary", "-nodetach", "-in", self.folder / PLAIN, "-outform",
                    "DER", "-signer", certificate, "-inkey", key, "-out", self.folder / name)
        openssl("smime", "-encrypt", "-binary", "-aes256", "-in", self.folder / PLAIN, "-outform",
                "DER", "-out", self.folder / ENCRYPTED, certificate)
        xdotool("mousemove", 799, 599)
        self.start()

    def start(self):
        self.window = subprocess.Popen(
            ["scripts/wine-run", str(BUILD / "shellprobe.exe"), "view", windows(self.folder)],
            stdout=subprocess.PIPE, env={**os.environ, "TARNWELL_RAW_ARGS": "1"})
        self.lines = queue.Queue()

        def read():
            for line in self.window.stdout:
                self.lines.put(json.loads(line))
        self.reader = threading.Thread(target=read)
        self.reader.start()
        self.listed = self.expect("listed")
        self.expect("view", "ready")
        self.icons = {line["icon"]: line
                      for line in (self.expect("icon") for _ in self.listed["listed"])}

    def tearDown(self):
        # The window, and what its commands have opened.
        subprocess.run(["bash", "-c", '. scripts/lib.sh; . scripts/wine-env.sh; end_server "$0"',
                        os.environ["TARNWELL_WINEPREFIX"]], check=True)
        self.window.wait()
        self.reader.join()
        self.window.stdout.close()

    def expect(self, name, *values):
        """The next line with a member of that name, and of one of the values where some are given;
        other lines are passed over."""
        end = time.monotonic() + PATIENCE
        while True:
            try:
                line = self.lines.get(timeout=max(end - time.monotonic(), 0.01))
            except queue.Empty:
                self.fail(f"the window never told of {name} {values}")
            if name in line and (not values or line[name] in values):
                return line

    def expect_file(self, name):
        while name not in self.expect_listed()["listed"]:
            pass

    def expect_listed(self):
        self.listed = self.expect("listed")
        return self.listed

    def point(self, name):
        return self.listed["at"][self.listed["listed"].index(name)]

    def until(self, what, condition):
        end = time.monotonic() + PATIENCE
        while not condition():
            self.assertLess(time.monotonic(), end, what)
            time.sleep(0.2)

    def expect_change(self, before):
        self.until("the screen never changed", lambda: screen() != before)

    def focus(self):
        """Clicks where no file is: the keyboard is the window's, and nothing is selected."""
        x, y = self.point(self.listed["listed"][0])
        xdotool("mousemove", x, y + 200, "click", 1)

    def menu_rows(self):
        group = texts("en")["tarnwellDLL"]
        return ["&Open", "-", group["sign"], group["encrypt"], group["signencrypt"]]

    def test_hover_and_icons(self):
        how = {name: (line["from"], line["background"]) for name, line in self.icons.items()}
        self.assertEqual(how, {PLAIN: ("system", False), "other.txt": ("system", False),
                               SIGNED: ("handler", True), OPENED: ("handler", True),
                               ENCRYPTED: ("handler", False)})
        self.until("plain files should look alike, and others not", lambda: (
            screen(self.point(PLAIN)) == screen(self.point("other.txt")) and
            all(screen(self.point(one)) != screen(self.point(other)) for one, other in
                itertools.combinations((PLAIN, SIGNED, ENCRYPTED), 2))))

        before = screen()
        xdotool("mousemove", *self.point(SIGNED))
        tip = self.expect("tip")
        self.assertEqual((tip["file"], tip["result"]), (windows(self.folder / SIGNED), OK))
        self.assertRegex(tip["tip"], r"\A.+: Ann Other\(Ann Other\)\n.+: .+\Z")
        self.expect_change(before)
        xdotool("mousemove", *self.point(ENCRYPTED))
        self.assertIsNone(self.expect("tip")["tip"])
        self.until("the tip should go", lambda: screen() == before)

    def test_menu_signs(self):
        before = screen()
        xdotool("mousemove", *self.point(PLAIN), "click", 3)
        menu = self.expect("menu")
        self.assertEqual(menu["menu"], self.menu_rows())
        self.expect_change(before)
        xdotool("mousemove", *menu["at"][2], "click", 1)
        files = [windows(self.folder / PLAIN)]
        self.assertEqual(self.expect("invoke"), {"invoke": OK, "offset": 0, "files": files})
        self.expect_file(PLAIN + ".p7")
        self.until("a new file has its icon", lambda: self.expect("icon")["icon"] == PLAIN + ".p7")

        # The selection outlives a file that comes before it, and is what the menu key is for.
        (self.folder / "a first.txt").write_text("x", encoding="utf-8")
        self.expect_file("a first.txt")
        xdotool("key", "Menu")
        self.assertEqual(self.expect("menu")["menu"], self.menu_rows())
        xdotool("key", "Down", "Down", "Down", "Return")
        self.assertEqual(self.expect("invoke"), {"invoke": OK, "offset": 1, "files": files})
        self.expect_file(PLAIN + " (2).p7")

    def test_keys_and_modes(self):
        self.focus()
        for key, mode in (("ctrl+2", "small"), ("ctrl+3", "details")):
            before = screen()
            xdotool("key", key)
            self.assertEqual(self.expect_listed()["mode"], mode)
            self.expect_change(before)
        xdotool("key", "Home", "End", "Up", "Down", "shift+F10")
        self.assertEqual(len(self.expect("menu")["menu"]), 2)
        xdotool("key", "Escape")
        self.expect("chosen", None)
        xdotool("key", "Return")
        self.expect_file(OPENED.removesuffix(".p7"))
        # No program opens such a file, which is said in a box; the list behind it is up to date.
        xdotool("search", "--sync", "--onlyvisible", "--name", "extracted", "windowactivate",
                "--sync")
        xdotool("key", "Return")
        files = [windows(self.folder / OPENED)]
        self.assertEqual(self.expect("invoke"), {"invoke": FAIL, "offset": 0, "files": files})

    def test_nothing_grows_and_it_closes(self):
        self.focus()
        counts = []
        for _ in range(50):
            xdotool("key", "F5")
            counts.append(self.expect("gdi"))
            counts[-1]["images"] = self.expect_listed()["images"]
            for _ in self.listed["listed"]:
                self.expect("icon")
        for what in ("gdi", "handles", "images"):
            self.assertLessEqual(counts[-1][what], counts[10][what] + 4, counts)
            self.assertGreater(counts[0][what], 0)
        xdotool("key", "alt+F4")
        self.expect("view", "closed")
        self.assertEqual(self.window.wait(PATIENCE), 0)


if __name__ == "__main__":
    unittest.main(verbosity=2)
