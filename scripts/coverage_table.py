#!/usr/bin/env python3
"""Line and branch coverage of src/ from a build with --coverage, as a table of what is missing.

gcovr 5.2, which Debian has, stops at functions that one header gives to two sources, so gcov's own
JSON is added up here. Branches that only an exception takes are left out.
Usage: coverage_table.py BUILD_FOLDER
"""
import collections
import json
import pathlib
import subprocess
import sys


def merge_branches(old, new):
    """Instances of a template agree in their branches, mostly; else the better covered one counts."""
    if len(old) == len(new):
        return [a or b for a, b in zip(old, new)]
    return max(old, new, key=sum)


def read_counts(folder):
    lines, branches = collections.defaultdict(dict), collections.defaultdict(dict)
    for data in sorted(folder.rglob("*.gcda")):
        told = subprocess.run(["gcov", "--json-format", "--stdout", "--branch-probabilities",
                               str(data.resolve())], capture_output=True, check=True, cwd=folder)
        for document in told.stdout.splitlines():
            for file in json.loads(document)["files"]:
                place = file["file"].rfind("src/")
                if place < 0 or file["file"].startswith("/usr"):
                    continue
                name = file["file"][place:]
                for line in file["lines"]:
                    number = line["line_number"]
                    lines[name][number] = max(lines[name].get(number, 0), line["count"])
                    taken = [b["count"] > 0 for b in line["branches"] if not b["throw"]]
                    branches[name][number] = merge_branches(branches[name].get(number, taken), taken)
    return lines, branches


def main():
    lines, branches = read_counts(pathlib.Path(sys.argv[1]) / "src")
    sums = [0, 0, 0, 0]
    for name in sorted(lines):
        counts = [sum(n > 0 for n in lines[name].values()), len(lines[name]),
                  sum(map(sum, branches[name].values())), sum(map(len, branches[name].values()))]
        sums = [a + b for a, b in zip(sums, counts)]
        missing = [str(n) for n in sorted(lines[name]) if lines[name][n] == 0]
        if missing:
            print(f"{name}: {counts[0]}/{counts[1]} lines, {counts[2]}/{counts[3]} branches; "
                  f"not reached: {' '.join(missing)}")
    print(f"lines {sums[0]}/{sums[1]} {100 * sums[0] / sums[1]:.1f} %, "
          f"branches {sums[2]}/{sums[3]} {100 * sums[2] / sums[3]:.1f} %")


main()
