# SPDX-License-Identifier: MIT
"""Runs one program with the bus inside its process, and measures it."""

import os
import pathlib
import re
import subprocess
import tempfile


class Failed(Exception):
    pass


class Measure:
    """The programs to measure, and a scratch folder with an update file to run them in."""

    def __init__(self, build, source, update_file):
        self.launcher = os.path.join(build, "bin", "sv_bench_run")
        self.programs = {
            "tool": [os.path.join(build, "bin", "sv_updater")],
            "floor": [os.path.join(build, "bin", "sv_floor")],
            "Python": ["/usr/bin/python3", os.path.join(source, "bench", "with_smbus2.py")],
        }
        self.scratch = tempfile.TemporaryDirectory()
        self.folder = self.scratch.name
        # The loader splits LD_PRELOAD at blanks and colons, which the path of the build folder may contain.
        self.bus = "./sv_bench_bus.so"
        os.symlink(os.path.join(build, "lib", "sv_bench_bus.so"), self.path(self.bus))
        with open(self.path("new.svu"), "wb") as file:
            file.write(update_file)

    def path(self, name):
        return os.path.join(self.folder, name)

    def load(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def bus_environment(self, **settings):
        """Variables that load the bus into a program. Settings are those of preload.c, without their prefix."""
        return {"LD_PRELOAD": self.bus} | {f"SV_BENCH_{name.upper()}": str(value) for name, value in settings.items()}

    def errors(self):
        return self.load("err").decode(errors="replace")[-400:]

    def call(self, words, variables, out="out", **options):
        with open(self.path(out), "wb") as out, open(self.path("err"), "wb") as err:
            options |= {"env": {"PATH": "/usr/bin:/bin", "LC_ALL": "C"} | variables, "stdin": subprocess.DEVNULL}
            return subprocess.run(words, cwd=self.folder, stdout=out, stderr=err, **options)

    def checked(self, words, variables):
        status = self.call(words, variables).returncode
        if status != 0:
            raise Failed(f"{' '.join(words)}: exit status {status}\n{self.errors()}")

    def traced(self, program, words):
        """What a run leaves: transfers, system log, both outputs, board and file."""
        pathlib.Path(self.path("back")).unlink(missing_ok=True)
        self.checked(self.programs[program] + words, self.bus_environment(state="board", trace="trace"))
        lines = self.load("trace").decode().splitlines()
        return {
            "transfers": [line for line in lines if not line.startswith("<")],
            "system log": [line for line in lines if line.startswith("<")],
            "output": self.load("out"),
            # Without the time of day
            "log": re.sub(rb"(?m)^\[[0-9:]*\] ", b"", self.load("err")),
            "flash": self.load("board"),
            "file": self.load("back") if "--read" in words else b"",
        }

    def launched(self, words, variables):
        """(wall time in microseconds, peak memory in KiB) of one run, with standard output on /dev/null."""
        reader, writer = os.pipe()
        # Through env, so that the shell runs without the bus; the launcher is static and loads nothing.
        assignments = [f"{name}={value}" for name, value in variables.items()]
        keep = f'exec 3>&{writer}; exec "$@"'
        command = ["/bin/sh", "-c", keep, "sh", "/usr/bin/env", *assignments, self.launcher, *words]
        try:
            self.call(command, {}, os.devnull, pass_fds=[writer])
            os.close(writer)
            report = os.read(reader, 100).split()
        finally:
            os.close(reader)
        if len(report) != 3 or int(report[0]) != 0:
            raise Failed(f"{' '.join(words)}: {self.errors()}")
        return float(report[1]), int(report[2])

    def check_bus(self):
        """Without the library a program would reach the machine's own bus 0, and whatever is on it."""
        self.checked(self.programs["tool"] + ["--bom-version"], self.bus_environment(summary="summary"))
        if not os.path.exists(self.path("summary")):
            raise Failed("the bus was not loaded into the program")

    def wall_us(self, program, words, **settings):
        return self.launched(self.programs[program] + words, self.bus_environment(**settings))[0]

    def peak_kib(self, program, words):
        return self.launched(self.programs[program] + words, self.bus_environment())[1]

    def own_ms(self, program, words):
        """(wall time less bus time, bus time), both in ms, on a bus that takes its time."""
        wall_us = self.wall_us(program, words, real_time=1, summary="summary")
        bus_ms = int(self.load("summary").split()[1]) / 1e6
        return wall_us / 1e3 - bus_ms, bus_ms

    def transfers(self, program, words):
        self.checked(self.programs[program] + words, self.bus_environment(summary="summary"))
        return int(self.load("summary").split()[0])

    def instructions(self, words, variables):
        """Instructions in user space, without those of the bus."""
        tool = ["/usr/bin/valgrind", "--tool=callgrind", "--callgrind-out-file=" + self.path("counts")]
        self.checked(tool + words, variables)
        return count_instructions(self.load("counts").decode(), "sv_bench_bus.so")

    def bus_instructions(self, program, words):
        return self.instructions(self.programs[program] + words, self.bus_environment())

    def system_calls(self, words, variables):
        settings = [f"--env={name}={value}" for name, value in variables.items()]
        self.checked(["/usr/bin/strace", "-f", "-c", "-o", "calls", *settings, *words], {})
        total = self.load("calls").decode().splitlines()[-1].split()
        return int(total[3])


def count_instructions(profile, left_out):
    """Sum over a callgrind profile without the objects whose path ends with `left_out`."""
    names = {}
    total = 0
    counted = True
    called = False
    for line in profile.splitlines():
        if line.startswith("ob="):
            number, _, name = line[3:].partition(" ")
            names.setdefault(number, name)
            counted = not names[number].endswith(left_out)
        elif line.startswith("cob="):
            number, _, name = line[4:].partition(" ")
            names.setdefault(number, name)
        elif line.startswith("calls="):
            called = True
        elif line[:1] in "0123456789+-*" and line:
            # The line after "calls=" is the cost of the callee, which has lines of its own.
            if counted and not called:
                total += int(line.split()[1])
            called = False
    return total
