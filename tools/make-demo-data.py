#!/usr/bin/env python3
"""Lays out the host "Gestion" with data worth a backup.

    make-demo-data.py FOLDER      FOLDER becomes the host's program folder:

    FOLDER/Util.mde  FOLDER/Gestion.ini  FOLDER/Backup/
    FOLDER/Datos/Emp01/gestion.db        a SQLite database of more than 20 MB
    FOLDER/Datos/Emp01/…                 nested folders, Spanish names, an empty file, an empty folder, a read-only file

Everything is made from fixed seeds: two runs give the same data.
"""
import os
import random
import shutil
import sqlite3
import stat
import sys

NAMES = ["Núñez", "Peña", "Ibáñez", "Muñoz", "García", "López", "Sáenz", "Güell", "Ordóñez", "Castaño"]
ARTICLES = ["Tornillo métrico", "Cañería de cobre", "Válvula", "Bombilla LED", "Llave inglesa", "Cinta aislante"]


def write(path, content):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(content)


def make_database(path, rows):
    rng = random.Random(1)
    database = sqlite3.connect(path)
    database.executescript(
        "pragma page_size = 4096;"
        "create table clientes (id integer primary key, nombre text, nif text, saldo real);"
        "create table facturas (id integer primary key, cliente integer, fecha text, concepto text, importe real, firma blob);")
    database.executemany("insert into clientes values (?, ?, ?, ?)", (
        (i, f"{rng.choice(NAMES)} {rng.choice(NAMES)}", f"{rng.randrange(10**8):08d}{rng.choice('TRWAGMYFPD')}",
         round(rng.uniform(-500, 5000), 2)) for i in range(2000)))
    database.executemany("insert into facturas values (?, ?, ?, ?, ?, ?)", (
        (i, rng.randrange(2000), f"{rng.randrange(2019, 2027)}-{rng.randrange(1, 13):02d}-{rng.randrange(1, 29):02d}",
         f"{rng.choice(ARTICLES)} × {rng.randrange(1, 40)}", round(rng.uniform(1, 900), 2), rng.randbytes(48))
        for i in range(rows)))
    database.execute("create index por_cliente on facturas (cliente, fecha)")
    database.commit()
    database.execute("vacuum")
    database.close()


def main(folder):
    shutil.rmtree(folder, ignore_errors=True)
    data = os.path.join(folder, "Datos", "Emp01")
    rng = random.Random(2)
    write(os.path.join(folder, "Util.mde"), b"Util" + rng.randbytes(300_000))
    write(os.path.join(folder, "Gestion.ini"), "[General]\r\nEmpresa=Año Nuevo S.A.\r\n".encode("cp1252"))
    os.makedirs(os.path.join(folder, "Backup"))
    os.makedirs(data)
    make_database(os.path.join(data, "gestion.db"), 420_000)
    write(os.path.join(data, "Año 2026", "Diciembre", "Cierre del año.txt"), "Cierre: correcto\r\n".encode("cp1252") * 400)
    write(os.path.join(data, "Año 2026", "Nóminas", "Peña, José María.txt"), "1.234,56 €\r\n".encode("cp1252"))
    write(os.path.join(data, "Imágenes", "logotipo de la compañía.bin"), rng.randbytes(120_000))
    write(os.path.join(data, "sin extensión"), "archivo sin punto en el nombre, leído igual\r\n".encode("cp1252"))
    write(os.path.join(data, "vacío.txt"), b"")
    os.makedirs(os.path.join(data, "Carpeta vacía"))
    read_only = os.path.join(data, "solo lectura.cfg")
    write(read_only, b"bloqueado=1\r\n")
    os.chmod(read_only, stat.S_IRUSR | stat.S_IRGRP | stat.S_IROTH)


if __name__ == "__main__":
    main(sys.argv[1])
