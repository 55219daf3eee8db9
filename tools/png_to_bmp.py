#!/usr/bin/env python3
"""Turns rendered PNG pictures into what the resource compiler takes: bitmaps and an icon.

    png_to_bmp.py bmp IN.png OUT.bmp
    png_to_bmp.py ico OUT.ico IN.png [IN.png ...]

Bitmap: BITMAPFILEHEADER, a plain 40-byte BITMAPINFOHEADER (BI_RGB, 32 bits, bottom-up), then BGRA rows with the colour
multiplied by alpha, which is what AlphaBlend with AC_SRC_ALPHA expects.

Icon: ICONDIR, one ICONDIRENTRY per picture in the order given, then the pictures. A picture of 256 pixels stays a PNG
stream; a smaller one is a 32-bit DIB (straight alpha, height doubled) followed by its 1-bit AND mask.

Input: PNG, 8-bit RGBA, not interlaced, which is what rsvg-convert writes. Anything else is refused with a message and
exit code 1. Nothing but the pixels goes into the output: the same input gives the same bytes.
"""

import struct
import sys
import zlib

PNG_SIGNATURE = b"\x89PNG\r\n\x1a\n"
BYTES_PER_PIXEL = 4
INFO_HEADER_SIZE = 40
PNG_ICON_SIZE = 256


class BadPng(Exception):
    """The file is not a PNG that this tool reads."""


def png_chunks(data):
    """Yields (type, content) of every chunk up to IEND; checks lengths and checksums."""
    if not data.startswith(PNG_SIGNATURE):
        raise BadPng("no PNG signature")
    offset = len(PNG_SIGNATURE)
    while True:
        if offset + 12 > len(data):
            raise BadPng("the file ends before IEND")
        length, kind = struct.unpack_from(">I4s", data, offset)
        if offset + 12 + length > len(data):
            raise BadPng("a chunk is longer than the file")
        content = data[offset + 8:offset + 8 + length]
        (checksum,) = struct.unpack_from(">I", data, offset + 8 + length)
        if zlib.crc32(kind + content) != checksum:
            raise BadPng("checksum of chunk %r does not match" % kind)
        if kind == b"IEND":
            return
        yield kind, content
        offset += 12 + length


def paeth(left, above, corner):
    """The PNG predictor: whichever neighbour is nearest to left + above - corner."""
    estimate = left + above - corner
    to_left, to_above, to_corner = abs(estimate - left), abs(estimate - above), abs(estimate - corner)
    if to_left <= to_above and to_left <= to_corner:
        return left
    return above if to_above <= to_corner else corner


def unfilter(kind, row, previous):
    """Undoes one row's PNG filter in place; `previous` is the finished row above it, zeros for the first."""
    step = BYTES_PER_PIXEL
    if kind == 0:
        return
    for i in range(len(row)):
        left = row[i - step] if i >= step else 0
        above = previous[i]
        if kind == 1:
            guess = left
        elif kind == 2:
            guess = above
        elif kind == 3:
            guess = (left + above) // 2
        elif kind == 4:
            guess = paeth(left, above, previous[i - step] if i >= step else 0)
        else:
            raise BadPng("unknown filter type %d" % kind)
        row[i] = (row[i] + guess) & 0xFF


def decode_png(data):
    """Returns (width, height, rows): top-down rows of straight-alpha RGBA bytes."""
    header, packed = None, b""
    for kind, content in png_chunks(data):
        if kind == b"IHDR":
            if len(content) != 13:
                raise BadPng("IHDR has %d bytes instead of 13" % len(content))
            header = struct.unpack(">IIBBBBB", content)
        elif kind == b"IDAT":
            packed += content
    if header is None:
        raise BadPng("no IHDR")
    width, height, depth, colour, compression, filtering, interlace = header
    if (depth, colour, compression, filtering, interlace) != (8, 6, 0, 0, 0):
        raise BadPng("only 8-bit RGBA without interlace is read")
    stride = width * BYTES_PER_PIXEL
    try:
        raw = zlib.decompress(packed)
    except zlib.error as error:
        raise BadPng("pixel data: %s" % error) from error
    if width == 0 or height == 0 or len(raw) != (stride + 1) * height:
        raise BadPng("pixel data does not fit %d x %d" % (width, height))
    rows, previous = [], bytearray(stride)
    for start in range(0, len(raw), stride + 1):
        row = bytearray(raw[start + 1:start + 1 + stride])
        unfilter(raw[start], row, previous)
        rows.append(row)
        previous = row
    return width, height, rows


def bgra(row, premultiplied):
    """One RGBA row as BGRA. A fully transparent pixel is four zeros either way."""
    out = bytearray(len(row))
    for i in range(0, len(row), BYTES_PER_PIXEL):
        red, green, blue, alpha = row[i:i + BYTES_PER_PIXEL]
        if alpha == 0:
            continue
        if premultiplied:
            red, green, blue = ((c * alpha + 127) // 255 for c in (red, green, blue))
        out[i:i + BYTES_PER_PIXEL] = bytes((blue, green, red, alpha))
    return bytes(out)


def info_header(width, height, image_bytes):
    """BITMAPINFOHEADER: one plane, 32 bits, BI_RGB; a positive height means bottom-up."""
    return struct.pack("<IiiHHIIiiII", INFO_HEADER_SIZE, width, height, 1, 32, 0, image_bytes, 0, 0, 0, 0)


def bitmap_file(png):
    """The whole .bmp for a PNG's bytes."""
    width, height, rows = decode_png(png)
    pixels = b"".join(bgra(row, premultiplied=True) for row in reversed(rows))
    start = 14 + INFO_HEADER_SIZE
    file_header = struct.pack("<2sIHHI", b"BM", start + len(pixels), 0, 0, start)
    return file_header + info_header(width, height, len(pixels)) + pixels


def and_mask(row):
    """One mask row: a set bit for each fully transparent pixel, padded to 32 bits."""
    width = len(row) // BYTES_PER_PIXEL
    out = bytearray((width + 31) // 32 * 4)
    for x in range(width):
        if row[x * BYTES_PER_PIXEL + 3] == 0:
            out[x // 8] |= 0x80 >> (x % 8)
    return bytes(out)


def icon_image(png):
    """(size in pixels, image bytes) of one icon picture."""
    width, height, rows = decode_png(png)
    if width != height or width > PNG_ICON_SIZE:
        raise BadPng("an icon is square and at most 256 pixels, not %d x %d" % (width, height))
    if width == PNG_ICON_SIZE:
        return width, png
    pixels = b"".join(bgra(row, premultiplied=False) for row in reversed(rows))
    mask = b"".join(and_mask(row) for row in reversed(rows))
    return width, info_header(width, height * 2, len(pixels) + len(mask)) + pixels + mask


def icon_file(pngs):
    """The whole .ico for a list of PNGs' bytes."""
    images = [icon_image(png) for png in pngs]
    offset = 6 + 16 * len(images)
    directory = struct.pack("<HHH", 0, 1, len(images))
    for size, image in images:
        directory += struct.pack("<BBBBHHII", size & 0xFF, size & 0xFF, 0, 0, 1, 32, len(image), offset)
        offset += len(image)
    return directory + b"".join(image for _, image in images)


def read(path):
    with open(path, "rb") as file:
        return file.read()


def write(path, data):
    with open(path, "wb") as file:
        file.write(data)


def main(arguments):
    if len(arguments) == 3 and arguments[0] == "bmp":
        write(arguments[2], bitmap_file(read(arguments[1])))
    elif len(arguments) >= 3 and arguments[0] == "ico":
        write(arguments[1], icon_file([read(path) for path in arguments[2:]]))
    else:
        sys.stderr.write("usage: png_to_bmp.py bmp IN.png OUT.bmp\n"
                         "       png_to_bmp.py ico OUT.ico IN.png [IN.png ...]\n")
        return 2
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main(sys.argv[1:]))
    except (BadPng, OSError) as error:
        sys.stderr.write("png_to_bmp.py: %s\n" % error)
        sys.exit(1)
