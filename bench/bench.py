#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Measures sv_updater, the floor and a Python script, and prints one table.

bench.py BUILD_FOLDER SOURCE_FOLDER
"""

import os
import statistics
import subprocess
import sys
import tempfile

from measure import Failed, Measure

UPDATE = ["--update", "new.svu"]
READ_BACK = ["--read", "back"]
START = ["--bom-version"]
JOBS = {"update": UPDATE, "read-back": READ_BACK}
WALL_ROUNDS = 31
START_ROUNDS = 101
PEAK_ROUNDS = 11
BUS_ROUNDS = 3
I2CTRANSFER = ["/usr/sbin/i2ctransfer", "-V"]
# Of commands of the tool. The first status or dump after a reset of the MCU also writes its reset marker.
TRANSFERS = {"--status": 116, "--status --status": 231, "--dump": 106, "--dump --dump": 211, "--version": 9, "--probe": 1}


class Table:
    """Collects rows. Only rows that are no times decide on the exit status."""

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

    def exact(self, what, expected, *counts):
        self.row(what, *counts, *[""] * (3 - len(counts)), "", f"{expected:,}", set(counts) == {expected})

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


def check_all_alike(measure, update_file):
    """The programs are comparable only if they do the same."""
    measure.check_bus()
    for job, words in JOBS.items():
        runs = {program: measure.traced(program, words) for program in measure.programs}
        tool = runs["tool"]
        for program, run in runs.items():
            for part in ["transfers", "flash", "file"] if program == "Python" else tool:
                if run[part] != tool[part]:
                    raise Failed(f"{job}: {program} differs from the tool in its {part}")
        if words == UPDATE:
            start = update_file.index(b"SVxMega\n") + 8 + 0x20000
            if tool["flash"][0x20000:0x3FE00] != update_file[start : start + 0x1FE00]:
                raise Failed("the update file is not in the flash")
        elif tool["file"] != tool["flash"][:0x42000]:
            raise Failed("the file of the read-back is not the flash")


def add_transfers(table, measure):
    for (job, words), expected in zip(JOBS.items(), (8785, 25350)):
        table.exact(f"{job}: transfers", expected, *(measure.transfers(name, words) for name in measure.programs))
    for words, expected in TRANSFERS.items():
        table.exact(f"{words}: transfers", expected, measure.transfers("tool", words.split()))


def add_work(table, measure):
    """Instructions and system calls."""
    for job, words in JOBS.items():
        counts = [measure.bus_instructions(program, words) for program in measure.programs]
        table.ratio(f"{job}: instructions", *counts, 1.3)
        calls = [measure.system_calls(words_of, measure.bus_environment()) for words_of in commands(measure, words)]
        table.excess(f"{job}: system calls", *calls, 60)
    calls = [measure.system_calls(command, measure.bus_environment()) for command in commands(measure, START)[:2]]
    table.excess("start: system calls", *calls, "", 60)


def commands(measure, words):
    return [program + words for program in measure.programs.values()]


def add_walls(table, measure):
    """Wall times without bus and pauses: the smallest of many runs in rotation."""
    times = {(job, program): [] for job in JOBS for program in measure.programs}
    for turn in range(WALL_ROUNDS):
        for job, program in times:
            if program != "Python" or turn % 8 == 0:
                times[job, program].append(measure.wall_us(program, JOBS[job]) / 1e3)
    for job in JOBS:
        best = [min(times[job, program]) for program in measure.programs]
        table.ratio(f"{job}: ms without bus and pauses", *best, 1.25, form="{:.2f}", time=True)


def add_own_times(table, measure):
    """Wall times less bus time, on a bus that takes its time."""
    own = {(job, program): [] for job in JOBS for program in measure.programs}
    bus_ms = {}
    for turn in range(BUS_ROUNDS):
        for job, program in own:
            if program != "Python" or turn == 0:
                own_ms, bus_ms[job] = measure.own_ms(program, JOBS[job])
                own[job, program].append(own_ms)
    for job in JOBS:
        best = [min(own[job, program]) for program in measure.programs]
        share = 100 * best[0] / bus_ms[job]
        what = f"{job}: own ms over {bus_ms[job] / 1e3:.3f} s of bus"
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
    """Without the bus: callgrind would count the loader's work for it."""
    tool = measure.programs["tool"]
    floor = measure.instructions(measure.programs["floor"] + START, {})
    table.most("start: instructions", measure.instructions(tool + START, {}), 200000, floor)
    starts = {"tool": tool + START, "other": I2CTRANSFER}
    times = {name: [] for name in starts}
    for _ in range(START_ROUNDS):
        for name, words in starts.items():
            times[name].append(measure.launched(words, {})[0] / 1e3)
    mine, other = min(times["tool"]), min(times["other"])
    what = f"start: ms; i2ctransfer -V takes {other:.3f}"
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
        table = Table()
        add_transfers(table, measure)
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
