#!/usr/bin/env python3
"""Builds a Windows icon from SVG drawings: make-icon.py [--soft] OUT.ico SIZE=DRAWING.svg...
or only the pixels of one: make-icon.py --pixels OUT SIZE=DRAWING.svg

Each SIZE=DRAWING gives one square image of 32 bits a pixel, so that a size can have a drawing of its
own. A pixel is either opaque or fully transparent (alpha 255 or 0, the limit at one half): menus on
older themes draw a half-transparent edge as a dark fringe. With --soft the drawing's own alpha stays,
for icons that are blended over others. --pixels writes the rows from the top down, each pixel blue,
green, red, straight alpha. Needs rsvg-convert.
"""

import struct
import subprocess
import sys
import zlib


def unfiltered(data, width, height, pixel_size):
    """Undoes the row filters of PNG (RFC 2083, section 6) and gives the rows."""
    stride = width * pixel_size
    previous = bytearray(stride)
    rows = []
    for y in range(height):
        start = y * (stride + 1)
        kind, row = data[start], bytearray(data[start + 1 : start + 1 + stride])
        for i in range(stride):
            left = row[i - pixel_size] if i >= pixel_size else 0
            up = previous[i]
            corner = previous[i - pixel_size] if i >= pixel_size else 0
            if kind == 1:
                guess = left
            elif kind == 2:
                guess = up
            elif kind == 3:
                guess = (left + up) // 2
            elif kind == 4:
                base = left + up - corner
                guess = min((left, up, corner), key=lambda value: abs(base - value))
            else:
                guess = 0
            row[i] = (row[i] + guess) & 255
        rows.append(row)
        previous = row
    return rows


def decoded(png):
    """Gives a PNG file's rows, top first, of 4 bytes a pixel: red, green, blue, straight alpha. Takes
    only what rsvg-convert writes: 8 bits a channel, not interlaced, without alpha if all is opaque."""
    position, packed, header = 8, b"", None
    while position < len(png):
        length, kind = struct.unpack(">I4s", png[position : position + 8])
        body = png[position + 8 : position + 8 + length]
        if kind == b"IHDR":
            header = struct.unpack(">IIBBBBB", body)
        elif kind == b"IDAT":
            packed += body
        position += length + 12
    if header is None or header[2:] not in ((8, 2, 0, 0, 0), (8, 6, 0, 0, 0)):
        sys.exit(f"unexpected kind of PNG: {header}")
    pixel_size = 4 if header[3] == 6 else 3
    rows = unfiltered(zlib.decompress(packed), header[0], header[1], pixel_size)
    if pixel_size == 4:
        return rows
    return [bytearray(b"".join(row[i : i + 3] + b"\xff" for i in range(0, len(row), 3)))
            for row in rows]


def drawn(drawing, size):
    """Draws the SVG and gives it as a PNG file."""
    return subprocess.run(
        ["rsvg-convert", "--width", str(size), "--height", str(size), "--format", "png", drawing],
        check=True, stdout=subprocess.PIPE).stdout


def square(png, size, drawing):
    """Gives the rows of a PNG file that must have that size."""
    rows = decoded(png)
    if len(rows) != size or len(rows[0]) != 4 * size:
        sys.exit(f"{drawing}: is not square")
    return rows


def bitmap(rows, size, soft):
    """Gives the icon's image: a DIB header, the pixels bottom-up as BGRA, then the mask of 1 bit,
    which is set where a pixel is fully transparent."""
    pixels, mask = bytearray(), bytearray()
    for row in reversed(rows):
        hidden = 0
        for x in range(size):
            red, green, blue, alpha = row[4 * x : 4 * x + 4]
            if not soft:
                alpha = 255 if alpha >= 128 else 0
            if alpha:
                pixels += bytes((blue, green, red, alpha))
            else:
                pixels += bytes(4)
                hidden |= 1 << (size - 1 - x)
        mask_width = (size + 31) // 32 * 32
        mask += (hidden << (mask_width - size)).to_bytes(mask_width // 8, "big")
    header = struct.pack("<IiiHHIIiiII", 40, size, 2 * size, 1, 32, 0, len(pixels) + len(mask),
                         0, 0, 0, 0)
    return header + pixels + mask


def image(size, drawing, soft):
    """Gives one image. The largest soft one stays a PNG, as Windows reads it in icons since Vista:
    a few kilobytes, where the plain pixels of 256 x 256 take 260."""
    png = drawn(drawing, size)
    rows = square(png, size, drawing)
    return png if soft and size == 256 else bitmap(rows, size, soft)


def pixels(size, drawing):
    """Gives one image's bare pixels."""
    rows = square(drawn(drawing, size), size, drawing)
    return b"".join(bytes((row[i + 2], row[i + 1], row[i], row[i + 3]))
                    for row in rows for i in range(0, 4 * size, 4))


def main(arguments):
    bare = arguments[:1] == ["--pixels"]
    arguments = arguments[bare:]
    soft = arguments[:1] == ["--soft"]
    out, *wanted = arguments[soft:] or [""]
    wanted = [item.partition("=") for item in wanted]
    if not wanted or not all(size.isdigit() and 0 < int(size) <= 256 and drawing
                             for size, _, drawing in wanted):
        sys.exit(__doc__)
    wanted = [(int(size), drawing) for size, _, drawing in wanted]
    if bare:
        with open(out, "wb") as file:
            file.write(b"".join(pixels(size, drawing) for size, drawing in wanted))
        return
    images = [image(size, drawing, soft) for size, drawing in wanted]
    offset = 6 + 16 * len(images)
    directory = struct.pack("<HHH", 0, 1, len(images))
    for (size, _), data in zip(wanted, images):
        directory += struct.pack("<BBBBHHII", size & 255, size & 255, 0, 0, 1, 32, len(data), offset)
        offset += len(data)
    with open(out, "wb") as file:
        file.write(directory + b"".join(images))


if __name__ == "__main__":
    main(sys.argv[1:])
