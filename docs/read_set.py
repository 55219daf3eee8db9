#!/usr/bin/env python3
"""Reads backup sets without the library, as set-format.md describes them.

    read_set.py [--into FOLDER] FILE…

One FILE is a set. Several are the volumes of one, in the order of its disks, with headers or without. Shows the header,
lists what the set holds, and with --into extracts it below FOLDER. Exit status 1 for what is no set, or a damaged one.
"""
import argparse
import shutil
import sys
import tempfile
import zipfile

FIRST = {"program": 12, "date": 17, "total": 21, "number": 20, "directory": 14}  # where a value begins, counted from 1


def text_of(line):
    """The text of a header line: its labels tell whether it is in code page 1252 or in UTF-8."""
    texts = [line.decode(page, "replace") for page in ("cp1252", "utf-8")]
    return next((text for text in texts if ";Fecha Creación : " in text), texts[0])


def read_header(file):
    """The values of the header line; the file then stands at the payload. None for a bare slice, which has no header."""
    start = file.read(1 << 20)
    line, end, _ = start.partition(b"\r\n")
    if not end or not line.startswith(b"Programa : "):
        file.seek(0)
        return None
    file.seek(len(line) + 2)
    fields = text_of(line).split(";")
    if len(fields) < len(FIRST):
        raise ValueError("fields of the header are missing")
    return {name: field[first - 1:].strip() for (name, first), field in zip(FIRST.items(), fields)}


def read_set(paths, folder):
    with tempfile.TemporaryFile() as archive:
        for place, path in enumerate(paths, 1):
            with open(path, "rb") as file:
                header = read_header(file)
                print(path, header or "has no header", sep="\n  ")
                if header and (int(header["number"]), int(header["total"])) != (place, len(paths)):
                    raise ValueError(f"{path} is volume {header['number']} of {header['total']}")
                shutil.copyfileobj(file, archive, 1 << 20)
        with zipfile.ZipFile(archive) as zip_file:
            zip_file.printdir()
            if damaged := zip_file.testzip():
                raise ValueError(f"{damaged} is damaged")
            if folder:
                zip_file.extractall(folder)


if __name__ == "__main__":
    arguments = argparse.ArgumentParser(description="Reads backup sets.")
    arguments.add_argument("--into", metavar="FOLDER")
    arguments.add_argument("files", metavar="FILE", nargs="+")
    given = arguments.parse_args()
    try:
        read_set(given.files, given.into)
    except (OSError, ValueError, KeyError, zipfile.BadZipFile) as error:
        sys.exit(f"read_set: {error}")
