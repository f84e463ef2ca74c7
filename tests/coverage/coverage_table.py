"""What tests reach of the product, from gcovr's JSON on standard input.

coverage_table.py FOLDER... [-- FOLDER...]: prints a line for each folder with the share of lines and
of branches that ran, and for the folders before "--" (the daemon) and those behind it the sum; then,
file by file, the lines that never ran. Exit code 1 when a sum is below the limits.
"""

import json
import sys

LIMITS = {"lines": 95.0, "branches": 90.0}


def ranges(numbers):
    """[1, 2, 3, 7] as "1-3, 7"."""
    texts = []
    for number in sorted(numbers):
        if texts and number == texts[-1][1] + 1:
            texts[-1][1] = number
        else:
            texts.append([number, number])
    return ", ".join(str(a) if a == b else f"{a}-{b}" for a, b in texts)


def share(reached, whole):
    return 100.0 * reached / whole if whole else 100.0


class Count:
    def __init__(self):
        self.lines = [0, 0]
        self.branches = [0, 0]

    def add(self, line):
        self.lines[0] += line["count"] > 0
        self.lines[1] += 1
        for branch in line["branches"]:
            self.branches[0] += branch["count"] > 0
            self.branches[1] += 1

    def add_all(self, other):
        for mine, its in ((self.lines, other.lines), (self.branches, other.branches)):
            mine[0] += its[0]
            mine[1] += its[1]

    def print(self, name):
        print(
            f"{name:10} {share(*self.lines):5.1f} % of {self.lines[1]:5} lines, "
            f"{share(*self.branches):5.1f} % of {self.branches[1]:5} branches"
        )

    def is_enough(self):
        return share(*self.lines) >= LIMITS["lines"] and share(*self.branches) >= LIMITS["branches"]


def counted(files, folders):
    """Count of each folder, and of each file the lines that did not run, or not in every way."""
    counts = {folder: Count() for folder in folders}
    missed = {}
    for entry in files:
        folder = entry["file"].split("/")[0]
        if folder not in counts:
            continue
        for line in entry["lines"]:
            if line.get("gcovr/noncode"):
                continue
            counts[folder].add(line)
            ways = [branch["count"] for branch in line["branches"]]
            kind = 0 if line["count"] == 0 else 1 if 0 in ways else None
            if kind is not None:
                missed.setdefault(entry["file"], ([], []))[kind].append(line["line_number"])
    return counts, missed


def main(arguments):
    files = json.load(sys.stdin)["files"]
    at = arguments.index("--") if "--" in arguments else len(arguments)
    is_enough = True
    all_missed = {}
    for name, folders in (("daemon", arguments[:at]), ("the tool", arguments[at + 1 :])):
        if not folders:
            continue
        counts, missed = counted(files, folders)
        all_missed.update(missed)
        whole = Count()
        for folder, count in counts.items():
            count.print(folder)
            whole.add_all(count)
        whole.print(f"= {name}")
        is_enough = is_enough and whole.is_enough()
    print("\nLines that never ran, and lines that did not run in every way:")
    for file, (never, partly) in sorted(all_missed.items()):
        print(f"{file}: {ranges(never) or '-'}; {ranges(partly) or '-'}")
    if not is_enough:
        limits = " and ".join(f"{limit:.0f} % of {what}" for what, limit in LIMITS.items())
        print(f"\nbelow the limits: {limits}")
    return 0 if is_enough else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
