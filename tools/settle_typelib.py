"""Takes the time of its making out of a type library.

    settle_typelib.py FILE

The type library compiler writes a text, "Created by WIDL version 7.0 at <date>", and the same moment as a 32-bit number
into every library. Both become the start of 1970, so that two builds of the same sources give the same bytes.
"""
import re
import struct
import sys

MADE = re.compile(rb"(Created by WIDL version [\d.]+ at )([^\n]{24})(\nW*\x13\x00)(.{4})(WW)", re.DOTALL)
EPOCH = b"Thu Jan  1 00:00:00 1970"


def settle(content):
    settled, count = MADE.subn(rb"\g<1>" + EPOCH + rb"\g<3>" + struct.pack("<I", 0) + rb"\g<5>", content)
    if count == 0 and b"Created by WIDL" in content:
        raise SystemExit("settle_typelib: the compiler's mark has another form than the one known here")
    return settled


def main():
    path = sys.argv[1]
    with open(path, "rb") as file:
        content = file.read()
    with open(path, "wb") as file:
        file.write(settle(content))


if __name__ == "__main__":
    main()
