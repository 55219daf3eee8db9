#!/usr/bin/env python3
"""Does to the demonstration's data what a bad day does, and compares what was brought back.

    damage-data.py damage DATA COPY     keeps a copy of DATA in COPY; then overwrites the middle of the database, empties
                                        a file, changes the read-only one, deletes a file and a whole folder
    damage-data.py compare DATA COPY    compares both: names, bytes, times to two seconds, the read-only mark

Prints what it did or found; exit status 1 for any difference.
"""
import filecmp
import os
import shutil
import stat
import sys
from pathlib import Path


def is_read_only(path):
    return not path.stat().st_mode & stat.S_IWUSR


def damage(data, copy):
    shutil.rmtree(copy, ignore_errors=True)
    shutil.copytree(data, copy)
    base = data / "gestion.db"
    with open(base, "r+b") as file:
        file.seek(base.stat().st_size // 2)
        file.write(b"\0" * 1_000_000)
    print("damaged    gestion.db: a megabyte of zeros in its middle")
    files = sorted(path for path in data.rglob("*") if path.is_file() and path != base)
    for path in (each for each in files if is_read_only(each)):
        path.chmod(0o644)
        path.write_bytes(b"otra cosa")
        path.chmod(0o444)
        print(f"damaged    {path.relative_to(data)}: other content, still read-only")
    emptied = next(path for path in files if path.stat().st_size and not is_read_only(path))
    emptied.write_bytes(b"")
    print(f"damaged    {emptied.relative_to(data)}: emptied")
    folder = next(path.parent for path in files if path.parent not in (data, *emptied.parents))
    shutil.rmtree(folder)
    print(f"damaged    {folder.relative_to(data)}: deleted with all that was in it")


def compare(data, copy):
    faults = []
    originals = sorted(copy.rglob("*"))
    for original in originals:
        name = original.relative_to(copy)
        restored = data / name
        if original.is_dir():
            if not restored.is_dir():
                faults.append(f"{name}: the folder is missing")
        elif not restored.is_file():
            faults.append(f"{name}: missing")
        elif not filecmp.cmp(original, restored, shallow=False):
            faults.append(f"{name}: other content")
        elif abs(original.stat().st_mtime - restored.stat().st_mtime) > 2:
            faults.append(f"{name}: other time")
        elif is_read_only(original) != is_read_only(restored):
            faults.append(f"{name}: the read-only mark differs")
    faults += [f"{path.relative_to(data)}: was not there before" for path in sorted(data.rglob("*"))
               if not (copy / path.relative_to(data)).exists()]
    for fault in faults:
        print(f"MISMATCH   {fault}")
    if not faults:
        files = sum(path.is_file() for path in originals)
        print(f"restored   {files} files and {len(originals) - files} folders are as they were: names, bytes, times,"
              " read-only marks")
    return not faults


if __name__ == "__main__":
    actions = {"damage": damage, "compare": compare}
    outcome = actions[sys.argv[1]](Path(os.path.abspath(sys.argv[2])), Path(os.path.abspath(sys.argv[3])))
    sys.exit(1 if outcome is False else 0)
