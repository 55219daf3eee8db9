#!/usr/bin/env python3
"""Runs the programs in turn over the corpora and prints the tables: backups, then restores.

    measure.py [--rounds N] [--large] DRIVE_C TABLE_FILE

DRIVE_C holds Bench/<corpus> (make-corpora.py) and QevBackup/ with the programs. Needs a display and Wine's environment;
bench/run.sh sets all this up.
"""
import argparse
import filecmp
import os
import re
import shutil
import statistics
import subprocess
import sys
import zipfile
from dataclasses import dataclass, field
from pathlib import Path

MIB = 1 << 20
TIMES_LARGER = 1.05  # what CopiaAuto may take of the bare engine's time
MEMORY_LIMIT = 64    # MiB of the host above an empty host

CORPORA = {
    "base": "one database, 120 MB",
    "comprimidos": "60 pictures, 120 MB",
    "pequenos": "5,000 files, 130 MB",
    "grande": "one sparse file, 4.5 GiB",
    "muchos": "70,000 files, 70 MB",
}
SAFE = "CopiaAuto, Verificar"  # the same with the setting Verificar = 1
USUAL = ("base", "comprimidos", "pequenos")
LARGE = ("grande", "muchos")


@dataclass
class Run:
    seconds: float
    peak: float  # MiB
    size: float  # MiB


@dataclass
class Measured:
    name: str
    runs: list = field(default_factory=list)

    def median(self, what):
        return statistics.median(getattr(run, what) for run in self.runs)

    def times(self, other):
        """The median of the ratios of the rounds: what disturbs a round disturbs both."""
        return statistics.median(mine.seconds / its.seconds for mine, its in zip(self.runs, other.runs))

    def spread(self):
        seconds = [run.seconds for run in self.runs]
        return f"{min(seconds):.2f}-{max(seconds):.2f}"


class Failed(Exception):
    pass


def execute(command, folder):
    """Runs a command to its end: its output, the seconds it took, its peak memory in MiB."""
    timed = ["/usr/bin/time", "-q", "-o", "/dev/fd/3", "-f", "%e %M", *command]
    reading, writing = os.pipe()
    script = 'exec 3>&"$1"; shift; exec "$@"'
    with open(reading) as report:
        done = subprocess.run(["bash", "-c", script, "measure", str(writing), *timed], cwd=folder, pass_fds=[writing],
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                              errors="replace", check=False)
        os.close(writing)
        seconds, kib = report.readline().split()
    return done, float(seconds), float(kib) / 1024


def program(name, *arguments):
    return ["wine", rf"C:\QevBackup\{name}", *arguments]


def checked(command, folder, codes=(0,)):
    done, seconds, peak = execute(command, folder)
    if done.returncode not in codes:
        raise Failed(f"{command[1]}: status {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout, seconds, peak


class Machine:
    """What every job needs: the drive, and what the start of a program costs."""

    def __init__(self, drive_c):
        self.drive_c = drive_c
        self.start = 0.0  # seconds from the start to the end of a Windows program that does nothing
        self.empty = 0.0  # MiB of a host that does nothing

    def learn_start(self):
        """A program's start, and a host's memory, without any work."""
        starts, peaks = [], []
        for _ in range(4):
            starts.append(checked(program("BareEngine.exe"), self.drive_c, codes=(2,))[1])
            peaks.append(checked(program("HostBackup.exe", "--empty"), self.drive_c)[2])
        self.start = statistics.median(starts[1:])
        self.empty = statistics.median(peaks)


class Backups:
    """Four programs archive the same files; the first of them in safe mode too."""

    def __init__(self, machine):
        self.machine = machine
        self.drive_c = machine.drive_c

    # One run of each program: its seconds and its peak.

    def copia_auto(self, corpus):
        output, _, peak = checked(program("HostBackup.exe", rf"C:\Bench\{corpus}"), self.drive_c)
        return float(re.search(r"ms ([\d.]+)", output)[1]) / 1000, peak

    def copia_auto_safe(self, corpus):
        output, _, peak = checked(program("HostBackup.exe", rf"C:\Bench\{corpus}", "Verificar"), self.drive_c)
        return float(re.search(r"ms ([\d.]+)", output)[1]) / 1000, peak

    def bare_engine(self, corpus):
        host = rf"C:\Bench\{corpus}"
        output, _, peak = checked(
            program("BareEngine.exe", "-q", "\\", rf"{host}\Backup\motor.zip", "querty", rf"{host}\Datos\Emp01\*.*",
                    rf"{host}\Util.mde", rf"{host}\Gestion.ini"), self.drive_c)
        return float(re.search(r"(\d+) ms", output)[1]) / 1000, peak

    def seven_zip(self, corpus):
        host = rf"Bench\{corpus}"
        _, seconds, peak = checked(
            program("7za.exe", "a", "-tzip", "-bd", "-bso0", rf"{host}\Backup\siete.zip", rf"{host}\Datos\Emp01",
                    rf"{host}\Util.mde", rf"{host}\Gestion.ini"), self.drive_c)
        return seconds - self.machine.start, peak

    def native_zip(self, corpus):
        host = f"Bench/{corpus}"
        _, seconds, peak = checked(
            ["zip", "-r", "-q", f"{host}/Backup/nativo.zip", f"{host}/Datos/Emp01", f"{host}/Util.mde",
             f"{host}/Gestion.ini"], self.drive_c)
        return seconds, peak

    programs = {
        "CopiaAuto": copia_auto,
        SAFE: copia_auto_safe,
        "bare engine": bare_engine,
        "7-Zip (Windows)": seven_zip,
        "zip (native)": native_zip,
    }

    def archive(self, corpus):
        made = list((self.drive_c / "Bench" / corpus / "Backup").iterdir())
        if len(made) != 1:
            raise Failed(f"{corpus}: one archive was to be made, not {[path.name for path in made]}")
        return made[0]

    def prepare(self, corpus):
        pass

    def clear(self, corpus):
        for path in (self.drive_c / "Bench" / corpus / "Backup").iterdir():
            path.unlink()

    def size(self, corpus):
        return self.archive(corpus).stat().st_size

    def outcome(self, corpus):
        """How many files the archive holds, and their bytes in all: every program must make the same of a corpus."""
        with zipfile.ZipFile(self.archive(corpus)) as opened:
            files = [entry for entry in opened.infolist() if not entry.is_dir()]
        return len(files), sum(entry.file_size for entry in files)


class Restores:
    """Four programs restore one archive, the payload of a set that CopiaAuto made."""

    def __init__(self, machine, backups):
        self.machine = machine
        self.drive_c = machine.drive_c
        self.backups = backups

    def window(self, corpus):
        output, _, peak = checked(
            program("HostRestore.exe", rf"C:\Bench\{corpus}\copia.qev", f"C:\\Bench\\{corpus}\\Restaurado\\"),
            self.drive_c)
        return float(re.search(r"ms ([\d.]+)", output)[1]) / 1000, peak

    def bare_engine(self, corpus):
        output, _, peak = checked(
            program("BareEngine.exe", "-q", "-x", rf"C:\Bench\{corpus}\Restaurado", rf"C:\Bench\{corpus}\copia.zip"),
            self.drive_c)
        return float(re.search(r"(\d+) ms", output)[1]) / 1000, peak

    def seven_zip(self, corpus):
        _, seconds, peak = checked(
            program("7za.exe", "x", "-bd", "-bso0", "-y", rf"-oBench\{corpus}\Restaurado", rf"Bench\{corpus}\copia.zip"),
            self.drive_c)
        return seconds - self.machine.start, peak

    def native_unzip(self, corpus):
        host = f"Bench/{corpus}"
        _, seconds, peak = checked(["unzip", "-q", "-o", f"{host}/copia.zip", "-d", f"{host}/Restaurado"], self.drive_c)
        return seconds, peak

    programs = {
        "restore window": window,
        "bare engine": bare_engine,
        "7-Zip (Windows)": seven_zip,
        "unzip (native)": native_unzip,
    }

    def prepare(self, corpus):
        self.backups.clear(corpus)
        self.backups.copia_auto(corpus)
        host = self.drive_c / "Bench" / corpus
        self.backups.archive(corpus).replace(host / "copia.qev")
        with open(host / "copia.qev", "rb") as made, open(host / "copia.zip", "wb") as bare:
            made.readline()
            shutil.copyfileobj(made, bare, MIB)

    def clear(self, corpus):
        restored = self.drive_c / "Bench" / corpus / "Restaurado"
        if restored.exists():
            shutil.rmtree(restored)
        restored.mkdir()

    def size(self, corpus):
        return (self.drive_c / "Bench" / corpus / "copia.zip").stat().st_size

    def outcome(self, corpus):
        """Which files came back wrong: none of any program."""
        host = self.drive_c / "Bench" / corpus
        sources = [path for path in (host / "Datos").rglob("*") if path.is_file()] + [host / "Util.mde", host / "Gestion.ini"]
        restored = host / "Restaurado" / "Bench" / corpus
        wrong = [str(path.relative_to(host)) for path in sources
                 if not (restored / path.relative_to(host)).is_file()
                 or not filecmp.cmp(path, restored / path.relative_to(host), shallow=False)]
        if wrong:
            raise Failed(f"{corpus}: {len(wrong)} of {len(sources)} files did not come back as they were: {wrong[:5]}")
        return len(sources)


def once(job, corpus, name):
    job.clear(corpus)
    os.sync()  # what the run before left to be written must not slow this one
    seconds, peak = job.programs[name](job, corpus)
    return Run(seconds, peak, job.size(corpus) / MIB)


def warm_up(job, corpus, names):
    """Fills the file caches, and makes sure that all do the same work."""
    outcomes = {}
    for name in names:
        once(job, corpus, name)
        outcomes[name] = job.outcome(corpus)
    if len(set(outcomes.values())) != 1:
        raise Failed(f"{corpus}: the programs differ: {outcomes}")


def measure(job, corpus, names, rounds):
    print(f"measuring {type(job).__name__.lower()}: {CORPORA[corpus]}", file=sys.stderr, flush=True)
    job.prepare(corpus)
    warm_up(job, corpus, names)
    measured = {name: Measured(name) for name in names}
    for _ in range(rounds):
        for name in names:
            measured[name].runs.append(once(job, corpus, name))
    job.clear(corpus)
    return measured


def table(title, results):
    lines = [f"{title:<26}{'program':<22}{'seconds':>9}{'from-to':>14}{'x engine':>10}{'peak MiB':>10}"
             f"{'archive MiB':>13}"]
    for corpus, measured in results.items():
        lines.append("-" * len(lines[0]))
        name = CORPORA[corpus]
        for each in measured.values():
            lines.append(f"{name:<26}{each.name:<22}{each.median('seconds'):>9.2f}{each.spread():>14}"
                         f"{each.times(measured['bare engine']):>10.3f}{each.median('peak'):>10.1f}"
                         f"{each.median('size'):>13.2f}")
            name = ""
    return lines + [""]


def verdict(target, value, met):
    return f"{target:<74}{value:>22}  {'met' if met else 'NOT MET'}"


def verdicts(made, restored, machine):
    ratios = [made[corpus]["CopiaAuto"].times(made[corpus]["bare engine"]) for corpus in ("base", "comprimidos")]
    hosts = [measured[name] for measured in made.values() for name in ("CopiaAuto", SAFE) if name in measured]
    hosts += [measured["restore window"] for measured in restored.values()]
    above = max(run.peak for host in hosts for run in host.runs) - machine.empty
    small = made["pequenos"]
    safety = [measured[SAFE].times(measured["CopiaAuto"]) for measured in made.values() if SAFE in measured]
    to_seven_zip = small["CopiaAuto"].times(small["7-Zip (Windows)"])
    sets = "every row above" if "grande" in made else "every row above (4.5 GiB: --large)"
    return [
        verdict(f"(a) CopiaAuto at most {TIMES_LARGER} x the bare engine, database and pictures",
                " and ".join(f"{ratio:.3f}" for ratio in ratios), max(ratios) <= TIMES_LARGER),
        verdict(f"(b) host less than {MEMORY_LIMIT} MiB above the empty host, {sets}", f"{above:.1f} MiB",
                above < MEMORY_LIMIT),
        verdict("(c) CopiaAuto no slower than 7-Zip, 5,000 files", f"{to_seven_zip:.3f} x 7-Zip", to_seven_zip <= 1),
        f"what safety costs: with Verificar, CopiaAuto takes {', '.join(f'{ratio:.2f}' for ratio in safety)} x its time "
        "without (in the order above)",
    ]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--large", action="store_true")
    parser.add_argument("drive_c", type=Path)
    parser.add_argument("table_file", type=Path)
    arguments = parser.parse_args()

    # The server of Windows programs stays between the runs: no run pays for its start.
    subprocess.run(["wineserver", "-p30"], check=True)
    machine = Machine(arguments.drive_c)
    machine.learn_start()
    backups = Backups(machine)
    restores = Restores(machine, backups)
    made = {corpus: measure(backups, corpus, list(Backups.programs), arguments.rounds) for corpus in USUAL}
    restored = {corpus: measure(restores, corpus, list(Restores.programs), arguments.rounds) for corpus in USUAL}
    if arguments.large:
        made |= {corpus: measure(backups, corpus, ["CopiaAuto", SAFE, "bare engine"], 1) for corpus in LARGE}
        restored |= {corpus: measure(restores, corpus, ["restore window", "bare engine"], 1) for corpus in LARGE}
    lines = table("backup of", made) + table("restore of", restored) + [
        f"rounds: {arguments.rounds}; empty host: {machine.empty:.1f} MiB; start of a Windows program, taken off 7-Zip's "
        f"seconds: {machine.start:.2f} s", ""]
    text = "\n".join(lines + verdicts(made, restored, machine)) + "\n"
    arguments.table_file.write_text(text, encoding="utf-8")
    print(text, end="")


if __name__ == "__main__":
    try:
        main()
    except Failed as failure:
        sys.exit(f"bench: {failure}")
