#!/usr/bin/env python3
"""Lays out the benchmark's corpora, each a host of its own.

    make-corpora.py FOLDER          base, pequenos and comprimidos, about 370 MB together
    make-corpora.py --large FOLDER  grande: one sparse file of 4.5 GiB, all zeros; muchos: 70,000 files of 1 KB

FOLDER/<corpus>/ holds Datos/Emp01/ (the data), Util.mde, Gestion.ini and an empty Backup/. The bytes come from fixed
seeds: the same on every machine with the same Python and SQLite. A corpus that is complete is left alone.
"""
import random
import shutil
import sqlite3
import sys
from pathlib import Path

MIB = 1 << 20
SYLLABLES = ("ba be bi bo ca ce co cu da de do du fa fe ga go la le li lo ma me mi mo na no pa pe po ra re ri ro sa se"
             " so ta te ti to va ve").split()
FOLDERS = ["Clientes", "Facturación", "Albaranes", "Año 2025", "Año 2026", "Informes", "Plantillas", "Correo"]


def words(rng, count):
    vocabulary = ["".join(rng.choices(SYLLABLES, k=rng.randint(1, 4))) for _ in range(6000)]
    frequency = [1 / (rank + 8) for rank in range(len(vocabulary))]
    return rng.choices(vocabulary, frequency, k=count)


def database(data, rng):
    """One database of about 120 MB: customers, invoices and their lines, with two indexes."""
    pool = words(rng, 400_000)

    def phrase(count):
        start = rng.randrange(len(pool) - count)
        return " ".join(pool[start:start + count])

    with sqlite3.connect(data / "gestion.db") as base:
        base.execute("pragma page_size = 4096")
        base.execute("pragma journal_mode = off")
        base.execute("pragma synchronous = off")
        base.execute("create table cliente(id integer primary key, nombre text, nif text, direccion text, notas text)")
        base.execute("create table linea(id integer primary key, factura integer, articulo text, unidades integer,"
                     " precio real, fecha text, descripcion text)")
        base.executemany("insert into cliente values(?,?,?,?,?)", (
            (i, phrase(3).title(), f"{rng.randrange(10**8):08d}{rng.choice('TRWAGMYFPDXBNJZ')}", phrase(6), phrase(25))
            for i in range(60_000)))
        base.executemany("insert into linea values(?,?,?,?,?,?,?)", (
            (i, i // 4, f"{rng.randrange(10**6):06d}-{rng.randrange(100):02d}", rng.randrange(1, 40),
             rng.randrange(10**6) / 100, f"2026-{rng.randint(1, 12):02d}-{rng.randint(1, 28):02d}",
             phrase(rng.randint(6, 14)))
            for i in range(860_000)))
        base.execute("create index linea_articulo on linea(articulo)")
        base.execute("create index cliente_nombre on cliente(nombre)")
        base.commit()


def small_files(data, rng):
    """5,000 files of 130 MB in all in 200 folders: four in five are text, the others hardly compress."""
    text = " ".join(words(rng, 1_200_000)).encode("cp1252")
    noise = rng.randbytes(4 * MIB)
    weights = [rng.lognormvariate(0, 1.1) for _ in range(5000)]
    scale = 130e6 / sum(weights)
    for number, weight in enumerate(weights):
        folder = data / FOLDERS[number % len(FOLDERS)] / f"{number % 25:03d}"
        folder.mkdir(parents=True, exist_ok=True)
        size = min(int(weight * scale), 3 * MIB)
        kind, source = ("txt", text) if number % 5 else ("jpg", noise)
        start = rng.randrange(len(source) - size)
        (folder / f"documento {number:05d}.{kind}").write_bytes(source[start:start + size])


def compressed(data, rng):
    """60 pictures of 2 MB each, as far as a compressor can tell: a short header and bytes without pattern."""
    for number in range(60):
        header = b"\xff\xd8\xff\xe0\x00\x10JFIF\x00\x01\x01\x00\x00\x48\x00\x48\x00\x00"
        (data / f"foto{number:03d}.jpg").write_bytes(header + rng.randbytes(2_000_000))


def large(data, _rng):
    with open(data / "grande.dat", "wb") as file:
        file.truncate(4608 * MIB)


def many(data, rng):
    """70,000 files of about 1 KB in 700 folders: more than an archive's directory counts in 16 bits."""
    text = " ".join(words(rng, 20_000)).encode("cp1252")
    for number in range(70_000):
        folder = data / f"serie {number // 1000:02d}" / f"{number // 100 % 10}"
        if number % 100 == 0:
            folder.mkdir(parents=True)
        start = rng.randrange(len(text) - 2000)
        (folder / f"ficha {number:05d}.txt").write_bytes(text[start:start + rng.randint(10, 2000)])


def lay_out(root, name, seed, fill):
    host = root / name
    complete = host / "complete"
    if complete.exists():
        return
    print(f"making the corpus {name}", flush=True)
    shutil.rmtree(host, ignore_errors=True)
    data = host / "Datos" / "Emp01"
    data.mkdir(parents=True)
    (host / "Backup").mkdir()
    rng = random.Random(seed)
    fill(data, rng)
    (host / "Util.mde").write_bytes(rng.randbytes(200_000) + bytes(300_000))
    (host / "Gestion.ini").write_text("[General]\r\nEmpresa=Emp01\r\n", encoding="cp1252", newline="")
    complete.touch()


def main():
    arguments = sys.argv[1:]
    with_large = "--large" in arguments
    root = Path([a for a in arguments if a != "--large"][0])
    if with_large:
        lay_out(root, "grande", 4, large)
        lay_out(root, "muchos", 5, many)
    else:
        lay_out(root, "base", 1, database)
        lay_out(root, "pequenos", 2, small_files)
        lay_out(root, "comprimidos", 3, compressed)


if __name__ == "__main__":
    main()
