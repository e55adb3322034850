"""Measures zeb-text and grep, sed and iconv, and prints a table for docs/benchmarks.md.

Usage: shell.py PROGRAM   zeb-text at that path

Every command runs as a process of its own on a log of 1,000,000 lines (62 MB, made here, the same each time) or on that
log in UTF-16, writes to a file, and is timed by its processor time, system calls included. What the contestants of a row
print is compared before anything is timed. The repetitions of all rows are shuffled and the medians taken.
"""

import os
import pathlib
import platform
import random
import shutil
import statistics
import subprocess
import sys
import tempfile

LINES = 1_000_000
REPETITIONS = 11

# Row: work, command of zeb-text, the peer's name, the peer's command, the aim as the peer's time over that of zeb-text.
# A command that edits "copy" in place gets a fresh copy of the log each time.
WITHIN = 1 / 1.5
ROWS = (
    ("a literal", "match error log", "GNU grep", "grep error log", WITHIN),
    ("a literal, not found", "match nothing log", "GNU grep", "grep nothing log", WITHIN),
    ("an expression", "match 'sd[ab] temp=[4-6]' log", "GNU grep", "grep -E 'sd[ab] temp=[4-6]' log", WITHIN),
    ("counted in either case", "match -ic ERROR log", "GNU grep", "grep -ic ERROR log", WITHIN),
    ("an expression, in either case", "match -ic 'SD[AB]' log", "GNU grep", "grep -icE 'SD[AB]' log", WITHIN),
    ("each match", "match -o 'temp=[0-9]+' log", "GNU grep", "grep -oE 'temp=[0-9]+' log", WITHIN),
    ("a literal, as JSON", "match --json error log", "plain output", None, 1 / 3),
    ("an expression with a group, as JSON", "match --json 'realloc=([0-9]+) error' log", "plain output", None, 1 / 3),
    ("groups replaced", r"edit 's/temp=([0-9]+) realloc=([0-9]+)/\2 \1/' log", "GNU sed",
     r"sed -E 's/temp=([0-9]+) realloc=([0-9]+)/\2 \1/' log", 1),
    ("a literal replaced", "edit 's/error/ERROR/' log", "GNU sed", "sed 's/error/ERROR/' log", 1),
    ("lines deleted", "edit '/poll/d' log", "GNU sed", "sed '/poll/d' log", 1),
    ("a literal replaced in a file", "replace error ERROR copy", "GNU sed", "sed -i 's/error/ERROR/' copy", 1),
    ("UTF-16 to UTF-8", "utf8 log16", "iconv", "iconv -f UTF-16LE -t UTF-8 log16", 1),
)


def write_log(folder):
    numbers = random.Random(1)
    ends = ("ok", "warning", "error: timeout while reading", "poll begins")
    with open(folder / "log", "w", encoding="utf-8") as log:
        for i in range(LINES):
            log.write(f"2026-11-{1 + i % 28:02} {i % 24:02}:{i % 60:02}:{i * 7 % 60:02} disk sd{'abcdef'[i % 6]} "
                      f"temp={30 + i % 50} realloc={numbers.randrange(1000)} {numbers.choice(ends)}\n")
    with open(folder / "log16", "wb") as log16:
        log16.write((folder / "log").read_text(encoding="utf-8").encode("utf-16-le"))


class Contestant:
    """A command line and how long it takes."""

    def __init__(self, folder, command):
        self.folder = folder
        self.command = command
        self.in_place = command.endswith(" copy")
        self.seconds = []

    def run(self):
        """Runs the command and returns its processor seconds."""
        if self.in_place:
            shutil.copy(self.folder / "log", self.folder / "copy")
        with open(self.folder / "out", "wb") as out:
            # A shell would be timed, too; exec leaves the command alone.
            process = subprocess.Popen(["sh", "-c", f"exec {self.command}"], cwd=self.folder, stdout=out,
                                       stderr=subprocess.DEVNULL, env={"PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8"})
            _, status, usage = os.wait4(process.pid, 0)
            process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode not in (0, 1):
            sys.exit(f"shell.py: status {process.returncode}: {self.command}")
        return usage.ru_utime + usage.ru_stime

    def result(self):
        self.run()
        return (self.folder / ("copy" if self.in_place else "out")).read_bytes()

    def time(self):
        self.seconds.append(self.run())

    def median(self):
        return statistics.median(self.seconds)

    def spread(self):
        """Half the distance of the quartiles, in percent of the median."""
        low, _, high = statistics.quantiles(self.seconds, n=4)
        return 50 * (high - low) / self.median()


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    program = str(pathlib.Path(sys.argv[1]).resolve())
    with tempfile.TemporaryDirectory() as scratch:
        folder = pathlib.Path(scratch)
        write_log(folder)
        load = os.getloadavg()[0]
        pairs = []
        for _, own, _, peer, _ in ROWS:
            ours = Contestant(folder, f"{program} {own}")
            theirs = Contestant(folder, peer or f"{program} {own.replace(' --json', '')}")
            if peer and ours.result() != theirs.result():
                sys.exit(f"shell.py: different results: zeb-text {own} and {peer}")
            pairs.append((ours, theirs))
        order = [contestant for pair in pairs for contestant in pair] * REPETITIONS
        random.shuffle(order)
        for contestant in order:
            contestant.time()

    print(f"{platform.machine()}, {os.cpu_count()} processors, {' '.join(platform.libc_ver())}, load {load:.2f} at the start\n")
    print("### Shell\n")
    print("Processor time of a command, its spread; the time of the peer as a multiple of it (above 1 zeb-text is faster);\n"
          "the multiple aimed at.\n")
    print("|  | Command | zeb-text | Others | Aim |\n| --- | --- | --: | --: | --: |")
    for (work, own, peer, _, aim), (ours, theirs) in zip(ROWS, pairs):
        ratio = theirs.median() / ours.median()
        met = "met" if ratio >= aim else f"MISSED by {aim - ratio:.2f}"
        cell = own.replace("|", "\\|")
        print(f"| {work} | `{cell}` | {1000 * ours.median():.0f} ms ±{ours.spread():.0f} % | {peer} {ratio:.2f} | "
              f"{aim:.2f} of {peer}: {met} |")


main()
