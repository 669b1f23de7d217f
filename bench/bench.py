#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Measures sv_updater beside the floor and a Python script, and prints one table. scripts/bench calls it.

bench.py BUILD_FOLDER SOURCE_FOLDER [--growth]
"""

import os
import statistics
import subprocess
import sys
import tempfile

import growth
from measure import Failed, Measure

UPDATE = ["--update", "new.svu"]
READ_BACK = ["--read", "back"]
JOBS = {"update": UPDATE, "read-back": READ_BACK}
WALL_ROUNDS = 31
START_ROUNDS = 101
PEAK_ROUNDS = 11
BUS_ROUNDS = 3
I2CTRANSFER = ["/usr/sbin/i2ctransfer", "-V"]


class Table:
    """Bounds on counts decide about the exit status; times are only shown."""

    def __init__(self):
        self.rows = [("what", "tool", "floor", "Python", "ratio", "limit", "held")]
        self.all_held = True

    def row(self, what, tool, floor, python, ratio="", limit="", held=None, time=False):
        cells = [f"{cell:,}" if isinstance(cell, int) else cell for cell in (tool, floor, python)]
        verdict = "" if held is None else ("yes" if held else "NO") + (" (time)" if time else "")
        self.rows.append((what, *cells, ratio, limit, verdict))
        self.all_held = self.all_held and (time or held is not False)

    def ratio(self, what, tool, floor, python, limit, form="{:,}", **kind):
        ratio = tool / floor
        cells = [form.format(value) if value is not None else "" for value in (tool, floor, python)]
        self.row(what, *cells, f"{ratio:.2f}", f"{limit:.2f}", ratio <= limit, **kind)

    def excess(self, what, tool, floor, python, limit, unit=""):
        self.row(what, tool, floor, python, f"{tool - floor:+,}{unit}", f"{limit:+,}{unit}", tool - floor <= limit)

    def most(self, what, tool, limit, floor=""):
        self.row(what, tool, floor, "", "", f"{limit:,}", tool <= limit)

    def print(self):
        widths = [max(len(row[column]) for row in self.rows) for column in range(len(self.rows[0]))]
        for row in self.rows:
            cells = [cell.rjust(width) for cell, width in zip(row[1:], widths[1:])]
            print("  ".join([row[0].ljust(widths[0]), *cells]).rstrip())


def pack(build, source):
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "new.svu")
        firmware = os.path.join(source, "examples", "firmware")
        regions = ["--region0", firmware + "/v2-region0.bin", "--region1", firmware + "/v2-region1.bin"]
        command = [build + "/bin/sv_image", "pack", *regions, "--swid", "0x0101", "--mark-all", "-o", path]
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
        with open(path, "rb") as file:
            return file.read()


def check_same(job, others, names):
    for name, other in others.items():
        if name != "tool":
            for part in names:
                if other[part] != others["tool"][part]:
                    raise Failed(f"{job}: {name} differs from the tool in its {part}")


def check_all_alike(measure, update_file):
    """The programs are comparable only if they do the same."""
    measure.check_bus()
    everything = ["transfers", "system log", "output", "log", "flash", "file"]
    for job, words in {**JOBS, "status": ["--status"]}.items():
        runs = {program: measure.traced(program, words) for program in ("tool", "floor")}
        check_same(job, runs, everything)
        if words[0] != "--status":
            runs["Python"] = measure.traced("Python", words)
            check_same(job, runs, ["transfers", "flash", "file"])
        if words == UPDATE:
            start = update_file.index(b"SVxMega\n") + 8 + 0x20000
            if runs["tool"]["flash"][0x20000:0x3FE00] != update_file[start : start + 0x1FE00]:
                raise Failed("the update file is not in the flash")
        elif words == READ_BACK and runs["tool"]["file"] != runs["tool"]["flash"][:0x42000]:
            raise Failed("the file of the read-back is not the flash")


def add_work(table, measure):
    """Instructions and system calls of the two long commands."""
    for job, words in JOBS.items():
        counts = [measure.bus_instructions(program, words) for program in measure.programs]
        table.ratio(f"{job}: instructions", *counts, 1.3)
        calls = [measure.system_calls(words_of, measure.bus_environment()) for words_of in commands(measure, words)]
        table.excess(f"{job}: system calls", *calls, 60)
    pair = [measure.bus_instructions(program, ["--status"]) for program in ("tool", "floor")]
    table.row("status: instructions", *pair, "", f"{pair[0] / pair[1]:.2f}")
    for job, words in {"status": ["--status"], "start": ["--bom-version"]}.items():
        calls = [measure.system_calls(command, measure.bus_environment()) for command in commands(measure, words)[:2]]
        table.excess(f"{job}: system calls", *calls, "", 60)


def commands(measure, words):
    return [program + words for program in measure.programs.values()]


def add_walls(table, measure):
    """Smallest of many runs in rotation, pauses skipped."""
    times = {(job, program): [] for job in JOBS for program in measure.programs}
    for turn in range(WALL_ROUNDS):
        for job, program in times:
            if program != "Python" or turn % 8 == 0:
                times[job, program].append(measure.wall_us(program, JOBS[job]) / 1e3)
    for job in JOBS:
        best = [min(times[job, program]) for program in measure.programs]
        table.ratio(f"{job}: ms without bus and pauses", *best, 1.25, form="{:.2f}", time=True)


def add_own_times(table, measure):
    """What is left of the wall time when the bus's share is taken off, at 400 kHz."""
    own = {(job, program): [] for job in JOBS for program in measure.programs}
    bus_ms = {}
    for turn in range(BUS_ROUNDS):
        for job, program in own:
            if program != "Python" or turn == 0:
                wall, bus_ms[job], _ = measure.own_ms(program, JOBS[job], khz=400)
                own[job, program].append(wall - bus_ms[job])
    for job in JOBS:
        best = [min(own[job, program]) for program in measure.programs]
        share = 100 * best[0] / bus_ms[job]
        what = f"{job}: own ms beside {bus_ms[job] / 1e3:.3f} s of bus"
        table.row(what, *(f"{ms:.1f}" for ms in best), f"{share:.2f} %", "0.40 %", share <= 0.4, time=True)


def add_peaks(table, measure):
    peaks = {(job, program): [] for job in JOBS for program in measure.programs}
    for _ in range(PEAK_ROUNDS):
        for job, program in peaks:
            peaks[job, program].append(measure.peak_kib(program, JOBS[job]))
    for job in JOBS:
        medians = [statistics.median(peaks[job, program]) for program in measure.programs]
        table.excess(f"{job}: peak memory, KiB", *medians, 307, " KiB")


def add_starts(table, measure):
    """Without the bus: what the loader does for it would be counted."""
    tool = measure.programs["tool"]
    floor = measure.instructions(measure.programs["floor"] + ["--bom-version"], {})
    table.most("start (--bom-version): instructions", measure.instructions(tool + ["--bom-version"], {}), 200000, floor)
    table.most("start (-h): instructions", measure.instructions(tool + ["-h"], {}, expected=255), 200000)
    starts = {"tool": (tool + ["--bom-version"], 0), "help": (tool + ["-h"], 255), "other": (I2CTRANSFER, 0)}
    times = {name: [] for name in starts}
    for _ in range(START_ROUNDS):
        for name, (words, status) in starts.items():
            times[name].append(measure.launched(words, {}, status)[0] / 1e3)
    other = min(times["other"])
    for name, words in {"tool": "--bom-version", "help": "-h"}.items():
        mine = min(times[name])
        what = f"start ({words}): ms; i2ctransfer -V takes {other:.3f}"
        table.row(what, f"{mine:.3f}", "", "", f"{mine / other:.2f}", "1.10", mine / other <= 1.1, time=True)


def add_size(table, measure):
    stripped = measure.path("stripped")
    subprocess.run(["/usr/bin/strip", "-o", stripped, measure.programs["tool"][0]], check=True)
    table.most("stripped program, bytes", os.path.getsize(stripped), 300000)


def main():
    build, source = (os.path.abspath(word) for word in sys.argv[1:3])
    update_file = pack(build, source)
    measure = Measure(build, source, update_file)
    try:
        check_all_alike(measure, update_file)
        if sys.argv[3:] == ["--growth"]:
            growth.print_all(measure)
            return 0
        table = Table()
        add_work(table, measure)
        add_walls(table, measure)
        add_own_times(table, measure)
        add_starts(table, measure)
        add_peaks(table, measure)
        add_size(table, measure)
    except Failed as reason:
        print(f"bench: {reason}", file=sys.stderr)
        return 1
    table.print()
    return 0 if table.all_held else 1


if __name__ == "__main__":
    sys.exit(main())
