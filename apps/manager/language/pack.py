#!/usr/bin/env python3
"""Packs the language scripts into the manager's resource archive.

    pack.py ARCHIVE SCRIPT...

The same scripts give the same bytes: entries are sorted and carry a fixed time.
"""
import pathlib
import sys
import zipfile

EARLIEST = (1980, 1, 1, 0, 0, 0)  # the first moment that a zip entry can carry


def main() -> int:
    if len(sys.argv) < 3:
        print(__doc__.strip(), file=sys.stderr)
        return 2
    archive = pathlib.Path(sys.argv[1])
    archive.parent.mkdir(parents=True, exist_ok=True)
    unfinished = archive.with_suffix(".new")
    with zipfile.ZipFile(unfinished, "w", zipfile.ZIP_DEFLATED) as pack:
        for script in sorted(map(pathlib.Path, sys.argv[2:]), key=lambda path: path.name):
            entry = zipfile.ZipInfo("scripts/" + script.name, EARLIEST)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.create_system = 0
            pack.writestr(entry, script.read_bytes(), compresslevel=9)
    unfinished.replace(archive)
    return 0


if __name__ == "__main__":
    sys.exit(main())
