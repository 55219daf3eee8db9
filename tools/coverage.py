#!/usr/bin/env python3
"""Prints how many lines of the native part (src/ without windows, registry or COM) its tests have run.

    tools/coverage.py BUILD            after the tests of that build, which is made with --coverage
    tools/coverage.py BUILD --reset    before them: forgets earlier runs

Counts what gcov counts: lines that have code. A line of a header counts once, and as run if any file of the part has run
it; what the linker took from a test's own copy of an inline function counts as not run, so the figure is on the low side.
The share of each file, and its lines that were not run, go to BUILD/coverage.txt.
"""
import json
import subprocess
import sys
from collections import defaultdict
from pathlib import Path


def main():
    build = Path(sys.argv[1]).resolve()
    if sys.argv[2:] == ["--reset"]:
        for data in build.rglob("*.gcda"):
            data.unlink()
        return
    root = Path(__file__).resolve().parent.parent
    source = root / "src"
    notes = sorted(build.glob("CMakeFiles/qev_logic.dir/**/*.gcno"))
    if not any(build.rglob("*.gcda")):
        sys.exit("coverage: the tests have not been run")

    lines = defaultdict(dict)
    for note in notes:
        report = subprocess.run(["gcov", "--json-format", "--stdout", note], cwd=build, check=True, capture_output=True)
        for document in report.stdout.splitlines():
            told = json.loads(document)
            for file in told["files"]:
                path = (Path(told["current_working_directory"]) / file["file"]).resolve()
                if source not in path.parents:
                    continue
                for line in file["lines"]:
                    number = line["line_number"]
                    lines[path][number] = lines[path].get(number, 0) + line["count"]

    run = total = 0
    with open(build / "coverage.txt", "w", encoding="utf-8") as table:
        for path in sorted(lines):
            missed = sorted(number for number, count in lines[path].items() if count == 0)
            run += len(lines[path]) - len(missed)
            total += len(lines[path])
            share = 100 * (1 - len(missed) / len(lines[path]))
            table.write(f"{share:6.1f} %  {path.relative_to(root)}  {' '.join(map(str, missed))}\n")
    print(f"coverage: native part: {100 * run / total:.1f} % of lines ({run} of {total})")


main()
