# SPDX-License-Identifier: MIT
"""Runs one program on the bus inside its own process, and measures it from one side or another."""

import contextlib
import os
import re
import subprocess
import tempfile


class Failed(Exception):
    pass


class Measure:
    """A scratch folder with an update file and the host's files, and the programs that are measured in it."""

    def __init__(self, build, source, update_file):
        self.launcher = os.path.join(build, "bin", "sv_bench_run")
        self.programs = {
            "tool": [os.path.join(build, "bin", "sv_updater")],
            "floor": [os.path.join(build, "bin", "sv_floor")],
            "Python": ["/usr/bin/python3", os.path.join(source, "bench", "with_smbus2.py")],
        }
        self.scratch = tempfile.TemporaryDirectory()
        self.folder = self.scratch.name
        # Under a name without the blanks and colons at which the loader would split it.
        self.bus = "./sv_bench_bus.so"
        os.symlink(os.path.join(build, "lib", "sv_bench_bus.so"), self.path(self.bus))
        self.save("new.svu", update_file)
        self.save("host/dev/temp_nic", b"45.0\n")
        self.save("host/dev/temp_disp", b"40.0\n")
        self.save("host/sys/class/gpio/gpio414/value", b"1\n")

    def path(self, name):
        return os.path.join(self.folder, name)

    def save(self, name, content):
        os.makedirs(os.path.dirname(self.path(name)), exist_ok=True)
        with open(self.path(name), "wb") as file:
            file.write(content)

    def load(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def bus_environment(self, **knobs):
        """The variables that put the bus into a program; knobs are those of preload.c, without their prefix."""
        variables = {"LD_PRELOAD": self.bus, "SV_BENCH_HOST": self.path("host")}
        return variables | {f"SV_BENCH_{name.upper()}": str(value) for name, value in knobs.items()}

    def call(self, words, variables, out="out", **options):
        with open(self.path(out), "wb") as out, open(self.path("err"), "wb") as err:
            options |= {"env": {"PATH": "/usr/bin:/bin", "LC_ALL": "C"} | variables, "stdin": subprocess.DEVNULL}
            return subprocess.run(words, cwd=self.folder, stdout=out, stderr=err, **options)

    def checked(self, words, variables, expected=0):
        status = self.call(words, variables).returncode
        if status != expected:
            raise Failed(f"{' '.join(words)} ended with {status}: {self.load('err').decode(errors='replace')[-400:]}")

    def traced(self, program, words):
        """What a run leaves: transfers, lines to the system log, both outputs, board."""
        for left_over in ("board", "back"):
            with contextlib.suppress(FileNotFoundError):
                os.remove(self.path(left_over))
        self.checked(self.programs[program] + words, self.bus_environment(state="board", trace="trace"))
        lines = self.load("trace").decode().splitlines()
        return {
            "transfers": [line for line in lines if not line.startswith("<")],
            "system log": [line for line in lines if line.startswith("<")],
            # Without the time of day, and the host's uptime of the status line
            "output": re.sub(rb"^\S+ \S+ up \S+ \S+", b"", self.load("out")),
            "log": re.sub(rb"(?m)^\[[0-9:]*\] ", b"", self.load("err")),
            "flash": self.load("board"),
            "file": self.load("back") if "--read" in words else b"",
        }

    def launched(self, words, variables, expected=0):
        """(microseconds, KiB of peak memory) of one run. The output goes nowhere: no file system is measured."""
        reader, writer = os.pipe()
        # Through env, so that the launcher itself stays without the bus.
        assignments = [f"{name}={value}" for name, value in variables.items()]
        keep = f'exec 3>&{writer}; exec "$@"'
        command = ["/bin/sh", "-c", keep, "sh", "/usr/bin/env", *assignments, self.launcher, *words]
        try:
            self.call(command, {}, os.devnull, pass_fds=[writer])
            os.close(writer)
            report = os.read(reader, 100).split()
        finally:
            os.close(reader)
        if len(report) != 3 or int(report[0]) != expected:
            raise Failed(f"{' '.join(words)}: {self.load('err').decode(errors='replace')[-400:]}")
        return float(report[1]), int(report[2])

    def check_bus(self):
        """Without the library a program would find the machine's own bus 0, and whatever is on it."""
        self.checked(self.programs["tool"] + ["--bom-version"], self.bus_environment(summary="summary"))
        if not os.path.exists(self.path("summary")):
            raise Failed("the bus was not loaded into the program")

    def wall_us(self, program, words, **knobs):
        return self.launched(self.programs[program] + words, self.bus_environment(**knobs))[0]

    def peak_kib(self, program, words):
        return self.launched(self.programs[program] + words, self.bus_environment())[1]

    def own_ms(self, program, words, khz, polls=1):
        """(wall time, time of the bus, pauses that were asked for) in ms, on a bus that takes its time."""
        wall = self.wall_us(program, words, khz=khz, polls=polls, summary="summary")
        _, bus_ns, pauses_ns = map(int, self.load("summary").split())
        return wall / 1e3, bus_ns / 1e6, pauses_ns / 1e6

    def transfers(self, program, words, **knobs):
        self.checked(self.programs[program] + words, self.bus_environment(summary="summary", **knobs))
        return int(self.load("summary").split()[0])

    def instructions(self, words, variables, expected=0):
        """In user space, the bus left out."""
        tool = ["/usr/bin/valgrind", "--tool=callgrind", "--callgrind-out-file=" + self.path("counts")]
        self.checked(tool + words, variables, expected)
        return count_instructions(self.load("counts").decode(), "sv_bench_bus.so")

    def bus_instructions(self, program, words, **knobs):
        return self.instructions(self.programs[program] + words, self.bus_environment(**knobs))

    def system_calls(self, words, variables):
        settings = [f"--env={name}={value}" for name, value in variables.items()]
        self.checked(["/usr/bin/strace", "-f", "-c", "-o", "calls", *settings, *words], {})
        total = self.load("calls").decode().splitlines()[-1].split()
        return int(total[3])


def count_instructions(profile, left_out):
    """Sum over a callgrind profile, but for the objects whose path ends with `left_out`."""
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
            # The line behind "calls=" is the cost of the callee, which stands elsewhere once more.
            if counted and not called:
                total += int(line.split()[1])
            called = False
    return total
