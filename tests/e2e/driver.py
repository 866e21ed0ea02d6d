"""What the tests that run programs of ours under Wine share. They run in the prefix in
TARNWELL_WINEPREFIX, which for those that drive shellprobe installed.sh prepares."""

import json
import os
import subprocess
import tempfile
import zipfile
from pathlib import Path

BUILD = Path(os.environ["TARNWELL_BUILD"])
DRIVE = Path(os.environ["TARNWELL_WINEPREFIX"]) / "drive_c"
MANAGER = DRIVE / "Program Files (x86)/Quorva/Tarnwell/bin/Corvane.exe"
ARCHIVE = MANAGER.parent.parent / "resources/kestrix.bin"


def wine(program, *arguments, locale="C.UTF-8"):
    """Runs a program and gives its exit status, its output and what it said on standard error."""
    # Into files: a program that this one opened keeps a pipe busy for as long as it runs.
    with tempfile.TemporaryFile() as out, tempfile.TemporaryFile() as err:
        status = subprocess.run(
            ["scripts/wine-run", str(program), *map(str, arguments)],
            stdout=out, stderr=err, timeout=300, check=False,
            env={**os.environ, "TARNWELL_LOCALE": locale, "TARNWELL_RAW_ARGS": "1"}).returncode
        out.seek(0)
        err.seek(0)
        return status, out.read().decode("utf-8"), err.read().decode("utf-8", "replace")


def probe_all(*arguments, locale="C.UTF-8"):
    """Runs shellprobe and gives its exit status and its JSON objects."""
    status, out, said = wine(BUILD / "shellprobe.exe", *arguments, locale=locale)
    if said:
        print(said)
    return status, [json.loads(line) for line in out.splitlines()]


def probe(*arguments, locale="C.UTF-8"):
    """Runs shellprobe and gives its exit status, its JSON object (None without one) and what it
    said on standard error."""
    status, out, said = wine(BUILD / "shellprobe.exe", *arguments, locale=locale)
    lines = out.splitlines()
    answer = json.loads(lines[0]) if len(lines) == 1 and lines[0].startswith("{") else None
    return status, answer, said


def texts(language):
    """The manager's catalogue, read without any code of ours."""
    with zipfile.ZipFile(ARCHIVE) as archive:
        script = archive.read(f"scripts/language.{language}.js").decode("utf-8")
    return json.JSONDecoder().raw_decode(script[script.index("{"):])[0]


def windows(path):
    """A path as Windows spells it: on the prefix's drive, or on Z:, which has all others."""
    path = Path(path).absolute()
    on_drive = path.is_relative_to(DRIVE)
    spelt = f"C:/{path.relative_to(DRIVE)}" if on_drive else f"Z:{path}"
    return spelt.replace("/", "\\")


def openssl(*arguments):
    """Runs openssl and gives what it wrote."""
    done = subprocess.run(["openssl", *map(str, arguments)], capture_output=True, timeout=60,
                          check=False)
    assert done.returncode == 0, f"openssl {arguments}: {done.stderr.decode()}"
    return done.stdout


def assert_flat(test, answer):
    """That a stress left the process as the warm-up had left it."""
    warm, end = answer["warm"], answer["end"]
    for what in ("handles", "gdi", "heapBlocks"):
        test.assertLessEqual(end[what], warm[what] + 4, f"{what}: {answer}")
    test.assertLessEqual(end["heapBytes"], warm["heapBytes"] + 4096, answer)
    test.assertLessEqual(end["committedBytes"], warm["committedBytes"] + 131072, answer)
    test.assertGreater(warm["gdi"], 0)  # the counting itself works
    test.assertGreater(warm["handles"], 0)
