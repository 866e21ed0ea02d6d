#!/usr/bin/env python3
"""Makes an installer's bytes depend on its content alone.

    settle.py FILE.msi SECONDS

The program that writes installers puts a random package code and the current time into the summary.
Here the time becomes SECONDS (since 1970), and the code is derived from all the other bytes: the same
content has the same code, another content another one, as the installer service expects.
"""
import hashlib
import pathlib
import struct
import sys
import uuid

PACKAGES = uuid.UUID("208EC95D-BD29-4598-A451-D8B6E3FBC5DC")
# The format identifier {F29F85E0-4FF9-1068-AB91-08002B27B3D9}, which opens the one section of a
# summary; its offset stands right behind.
SUMMARY = uuid.UUID("F29F85E0-4FF9-1068-AB91-08002B27B3D9").bytes_le
SUMMARY_HEADER = 28  # bytes of the stream before that identifier
REVISION, CREATED, SAVED = 9, 12, 13  # the package code and the two times
TEXT, TIME = 30, 64
EPOCH = 116444736000000000  # 1970 as Windows counts time, in 100 ns


def places(data: bytes) -> dict:
    """Where the values of the summary's properties begin, by property, with their types."""
    identifier = data.index(SUMMARY)
    if data.find(SUMMARY, identifier + 1) != -1:
        raise ValueError("there are two summaries")
    stream = identifier - SUMMARY_HEADER
    section = stream + struct.unpack_from("<I", data, identifier + 16)[0]
    count = struct.unpack_from("<I", data, section + 4)[0]
    found = {}
    for number in range(count):
        name, offset = struct.unpack_from("<II", data, section + 8 + 8 * number)
        found[name] = (struct.unpack_from("<I", data, section + offset)[0], section + offset + 4)
    return found


def place_of(found: dict, name: int, kind: int) -> int:
    actual, place = found[name]
    if actual != kind:
        raise ValueError(f"summary property {name} is of kind {actual}")
    return place


def settled(data: bytearray, seconds: int) -> bytearray:
    found = places(data)
    for name in (CREATED, SAVED):
        struct.pack_into("<Q", data, place_of(found, name, TIME), EPOCH + seconds * 10**7)
    code = place_of(found, REVISION, TEXT) + 4  # behind the text's length
    length = len("{00000000-0000-0000-0000-000000000000}")
    if data[code:code + 1] != b"{" or data[code + length - 1:code + length] != b"}":
        raise ValueError("the summary's package code is not where it should be")
    data[code:code + length] = b"0" * length
    derived = uuid.uuid5(PACKAGES, hashlib.sha256(data).hexdigest())
    data[code:code + length] = ("{%s}" % derived).upper().encode()
    return data


def main() -> int:
    if len(sys.argv) != 3:
        print(__doc__.strip(), file=sys.stderr)
        return 2
    installer = pathlib.Path(sys.argv[1])
    installer.write_bytes(settled(bytearray(installer.read_bytes()), int(sys.argv[2])))
    return 0


if __name__ == "__main__":
    sys.exit(main())
