"""Makes the archives that other programs write, for the tests that read them.

    make_archives.py FOLDER

FOLDER is made anew. It gets "tree", a small tree of files, and archives of it by 7-Zip (7zz), Info-ZIP's zip and Python's
zipfile. Those that are encrypted have the password that ends their name: "clave" or "contraseña".
"""

import os
import shutil
import subprocess
import sys
import zipfile

DATE = 1104919620  # 5 January 2005, 10:07 UTC: even seconds, which every format stores


def write(path, content):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(content)


def make_tree(tree):
    write(f"{tree}/a.txt", b"hola\r\n")
    write(f"{tree}/vacío.txt", b"")
    write(f"{tree}/Datos/gestión.db", b"".join(b"%d;cliente;%d\r\n" % (n, n * 7919) for n in range(90000)))
    write(f"{tree}/Datos/Sub Año/más hondo/Ñandú ÁÉÍÓÚ.txt", "pájaro".encode())
    write(f"{tree}/Datos/日本/名前.txt", b"3")
    write(f"{tree}/Datos/azar.bin", os.urandom(200000))
    os.makedirs(f"{tree}/hueca")
    for folder, _, files in os.walk(tree):
        for name in files:
            os.utime(os.path.join(folder, name), (DATE, DATE))
    os.chmod(f"{tree}/a.txt", 0o444)


def run(tree, *command, **options):
    subprocess.run(command, cwd=tree, check=True, stdout=subprocess.DEVNULL, **options)


def by_7zip(tree, archive, *options):
    run(tree, "7zz", "a", "-tzip", *options, archive, ".")


def by_info_zip(tree, archive, *options):
    run(tree, "zip", "-q", "-r", *options, archive, ".")


def streamed_by_info_zip(tree, archive, *options):
    """To a pipe: sizes and checksums follow the data."""
    with subprocess.Popen(["zip", "-q", "-r", *options, "-", "."], cwd=tree, stdout=subprocess.PIPE) as packer:
        with open(archive, "wb") as file:
            shutil.copyfileobj(packer.stdout, file)
    if packer.returncode != 0:
        raise RuntimeError(f"zip answered {packer.returncode}")


class Unseekable:
    """A file that can only be written onwards."""

    def __init__(self, file):
        self.file = file

    def write(self, data):
        return self.file.write(data)

    def flush(self):
        self.file.flush()


def by_python(tree, archive, method=zipfile.ZIP_DEFLATED, streamed=False, zip64=False):
    with open(archive, "wb") as file:
        with zipfile.ZipFile(Unseekable(file) if streamed else file, "w", method) as packer:
            for folder, folders, files in sorted(os.walk(tree)):
                for name in sorted(folders):
                    packer.write(os.path.join(folder, name), os.path.relpath(os.path.join(folder, name), tree))
                for name in sorted(files):
                    path = os.path.join(folder, name)
                    entry = zipfile.ZipInfo.from_file(path, os.path.relpath(path, tree))
                    entry.compress_type = method
                    with open(path, "rb") as source, packer.open(entry, "w", force_zip64=zip64) as target:
                        shutil.copyfileobj(source, target)


def main(folder):
    shutil.rmtree(folder, ignore_errors=True)
    tree = os.path.join(folder, "tree")
    make_tree(tree)

    def at(name):
        return os.path.join(os.path.abspath(folder), name)

    by_7zip(tree, at("7zip-deflate.zip"))
    by_7zip(tree, at("7zip-store.zip"), "-mx0")
    by_7zip(tree, at("7zip-utf8.zip"), "-mcu=on")
    by_7zip(tree, at("7zip-bzip2.zip"), "-mm=BZip2")
    by_7zip(tree, at("7zip-lzma.zip"), "-mm=LZMA")
    by_7zip(tree, at("7zip-deflate64.zip"), "-mm=Deflate64")
    by_7zip(tree, at("7zip-zipcrypto-clave.zip"), "-mem=ZipCrypto", "-pclave")
    by_7zip(tree, at("7zip-aes-clave.zip"), "-mem=AES256", "-pclave")
    by_info_zip(tree, at("info-zip-deflate.zip"))
    by_info_zip(tree, at("info-zip-store.zip"), "-0")
    by_info_zip(tree, at("info-zip-zip64.zip"), "-fz")
    by_info_zip(tree, at("info-zip-contraseña.zip"), "-P", "contraseña")
    streamed_by_info_zip(tree, at("info-zip-streamed.zip"))
    streamed_by_info_zip(tree, at("info-zip-streamed-clave.zip"), "-P", "clave")
    by_python(tree, at("python-deflate.zip"))
    by_python(tree, at("python-store.zip"), zipfile.ZIP_STORED)
    by_python(tree, at("python-zip64.zip"), zip64=True)
    by_python(tree, at("python-streamed.zip"), streamed=True)
    by_python(tree, at("python-streamed-zip64.zip"), streamed=True, zip64=True)
    by_python(tree, at("python-bzip2.zip"), zipfile.ZIP_BZIP2)
    by_python(tree, at("python-lzma.zip"), zipfile.ZIP_LZMA)


if __name__ == "__main__":
    main(sys.argv[1])
