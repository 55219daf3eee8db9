#!/usr/bin/env python3
"""Reads a backup set as a stranger would and compares it with the data it was made from.

    check-set.py SET DRIVE_ROOT PATH…

Takes the header line off SET, reads the archive behind it with Python's zipfile and with 7-Zip, and compares every file
below the PATHs (files or folders on the drive whose root is DRIVE_ROOT) with its entry byte for byte, both ways, and every
folder with its entry. Prints what it finds; exit status 1 for any difference.
"""
import filecmp
import os
import subprocess
import sys
import tempfile
import zipfile


def split_set(path, archive):
    """Writes what follows the header line to `archive`; returns the line."""
    with open(path, "rb") as source:
        line = source.readline()
        if not line.endswith(b"\r\n"):
            sys.exit(f"{path}: no header line")
        with open(archive, "wb") as target:
            while block := source.read(1 << 20):
                target.write(block)
    return line[:-2].decode("cp1252")


def expected_entries(root, paths):
    """Names as they stand in the archive: files without, folders with a last slash."""
    for path in paths:
        if os.path.isfile(path):
            yield os.path.relpath(path, root)
        for folder, folders, files in os.walk(path):
            for name in files:
                yield os.path.relpath(os.path.join(folder, name), root)
            for name in folders:
                yield os.path.relpath(os.path.join(folder, name), root) + "/"


def differences(names, root, extracted):
    for name in names:
        source, copy = os.path.join(root, name), os.path.join(extracted, name)
        if name.endswith("/"):
            if not os.path.isdir(copy):
                yield f"{name}: the folder is missing"
        elif not os.path.isfile(copy):
            yield f"{name}: missing"
        elif not filecmp.cmp(source, copy, shallow=False):
            yield f"{name}: differs from its source"


def check(set_path, root, paths):
    faults = []
    with tempfile.TemporaryDirectory() as work:
        archive = os.path.join(work, "set.zip")
        header = split_set(set_path, archive)
        print(f"set        {set_path}")
        print(f"size       {os.path.getsize(set_path):,} bytes")
        print(f"header     {header}")
        expected = sorted(set(expected_entries(root, paths)))

        with zipfile.ZipFile(archive) as reader:
            names = reader.namelist()
            if (bad := reader.testzip()) is not None:
                faults.append(f"zipfile: {bad} is damaged")
            reader.extractall(os.path.join(work, "zipfile"))
        print(f"entries    {len(names)}")
        faults += [f"{name}: in the archive, but not in the data" for name in set(names) - set(expected)
                   if not (name.endswith("/") and any(path.startswith(name) for path in expected))]
        faults += [f"zipfile: {text}" for text in differences(expected, root, os.path.join(work, "zipfile"))]

        seven = ["7zz", "x", "-y", "-bso0", "-bsp0", "-o" + os.path.join(work, "7zip"), archive]
        result = subprocess.run(seven, capture_output=True, text=True)
        if result.returncode != 0:
            faults.append(f"7-Zip: {result.stdout}{result.stderr}")
        faults += [f"7-Zip: {text}" for text in differences(expected, root, os.path.join(work, "7zip"))]

    files = sum(not name.endswith("/") for name in expected)
    for fault in faults:
        print(f"MISMATCH   {fault}")
    if not faults:
        print(f"read back  by Python's zipfile and by 7-Zip: {files} files equal their sources byte for byte,"
              f" {len(expected) - files} folders present")
    return not faults


if __name__ == "__main__":
    sys.exit(0 if check(sys.argv[1], os.path.abspath(sys.argv[2]), [os.path.abspath(p) for p in sys.argv[3:]]) else 1)
