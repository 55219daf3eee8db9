"""Compares an archive with the folder that it was made of, byte for byte, names and empty folders included.

    compare_archive.py ARCHIVE FOLDER
"""

import os
import sys
import zipfile


def names_below(folder):
    """The files and folders below a folder, by their archive names."""
    names = set()
    for parent, folders, files in os.walk(folder):
        relative = os.path.relpath(parent, folder)
        prefix = "" if relative == "." else relative + "/"
        names.update(prefix + name for name in files)
        names.update(prefix + name + "/" for name in folders)
    return names


def same_content(archive, name, path):
    with archive.open(name) as packed, open(path, "rb") as plain:
        while True:
            left = packed.read(1 << 20)
            right = plain.read(1 << 20)
            if left != right:
                return False
            if not left:
                return True


def main(archive_path, folder):
    problems = []
    with zipfile.ZipFile(archive_path) as archive:
        listed = archive.namelist()
        stored = set(listed)
        expected = names_below(folder)
        problems += [f"twice: {name}" for name in stored if listed.count(name) > 1]
        problems += [f"missing: {name}" for name in sorted(expected - stored)]
        problems += [f"not in the folder: {name}" for name in sorted(stored - expected)]
        for name in sorted(stored & expected):
            path = os.path.join(folder, name)
            if name.endswith("/"):
                continue
            if not same_content(archive, name, path):
                problems.append(f"differs: {name}")
    for problem in problems:
        print(problem)
    print(f"{len(listed)} entries, {len(problems)} problems")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2]))
