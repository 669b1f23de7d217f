#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Disturbs real processes of sv_ctl on the simulated board: with signals at random times, and, if run as root, with an
unprivileged neighbour who may write to its folders. Prints a table; exits with status 1 if a status was not true."""
import argparse
import collections
import json
import multiprocessing
import os
import pathlib
import random
import shutil
import signal
import stat
import subprocess
import sys
import tempfile
import time

sys.dont_write_bytecode = True  # the tree stays as it is
from neighbour import NOBODY, TARGETS, be_neighbour

FLASH_SIZE, REGION_SIZE, PROGRAMMED = 0x42000, 0x20000, 255 * 512
SIGNALS = {"INT": ["INT"], "TERM": ["TERM"], "HUP": ["HUP"], "QUIT": ["QUIT"], "TSTP, CONT": ["TSTP"],
           "KILL": ["KILL"], "all but KILL": ["INT", "TERM", "HUP", "QUIT", "TSTP"]}
FOLDER_MODES = {"sticky": 0o1777, "open": 0o777}
STALL, GIVE_UP, LOCK_WAIT = 20, 60, 1  # seconds
BAD_ENDS = "UNTRUE", "STALLED"
SLOW_RUNS = 0.03  # whole regions compared, or the whole flash read
Ended = collections.namedtuple("Ended", "status out err seconds notes")
setup = argparse.Namespace()


class Board:
    """What a state file of sv_board holds."""

    def __init__(self, path):
        content = pathlib.Path(path).read_bytes()
        self.flash = content[:FLASH_SIZE]
        lines = dict(line.split("=", 1) for line in content[FLASH_SIZE:].decode().splitlines())
        self.regions = {name: value for name, value in lines.items() if name.startswith(("running", "region"))}

    def runs(self, version):
        number = int(self.regions["running"])
        wanted = setup.firmware[version, number].ljust(PROGRAMMED, b"\xff")
        return number >= 0 and self.flash[number * REGION_SIZE :][:PROGRAMMED] == wanted

    def __eq__(self, other):
        return self.flash == other.flash and self.regions == other.regions


def read_text(path):
    return pathlib.Path(path).read_text("utf-8", "replace")


def has_begun():
    return "the update begins" in read_text("err")


def run_ctl(words, disturb=None, program="exec sv_ctl"):
    """Runs sv_ctl with the board of the current folder; disturb(pid, pidfd) acts on its process meanwhile, and yields
    what it notices."""
    for name in ("pid", "trace"):
        pathlib.Path(name).write_bytes(b"")
    start = time.monotonic()
    with open("out", "wb") as out, open("err", "wb") as err:
        # A process group of its own that has a parent in the session: the kernel does not stop orphaned groups.
        board = subprocess.Popen(["sv_board", "run", "--fast", "--state", "board", "--trace", "trace", "--", "sh", "-c",
                                  f'echo $$ >pid; {program} "$@"', "sh", *words],
                                 stdin=subprocess.DEVNULL, stdout=out, stderr=err, process_group=0)
    notes = []
    if disturb:
        while not read_text("pid").endswith("\n"):
            time.sleep(0.001)
        pid = int(read_text("pid"))
        try:
            with os.fdopen(os.pidfd_open(pid)) as process:
                notes.extend(disturb(pid, process.fileno()))
        except (ProcessLookupError, FileNotFoundError):
            pass  # it has ended
    try:
        status = board.wait(GIVE_UP)
    except subprocess.TimeoutExpired:
        os.killpg(board.pid, signal.SIGKILL)
        status = board.wait()
    return Ended(status, read_text("out"), read_text("err"), time.monotonic() - start, notes)


def complaint(ended, before, version):
    """What is not true. Nothing disturbs the board, and signals have no effect once it is being changed. Without a
    version: a run that changes nothing."""
    after = Board("board")
    same = after == before
    runs = after.runs(version) if version else same
    is_true = {0: runs, 3: runs and same, 4: same and not has_begun(), 75: same and not has_begun()}
    if not is_true.get(ended.status):
        return f"status {ended.status} is not true"
    try:
        if json.loads(ended.out).get("exit", ended.status) != ended.status:
            return "JSON and exit status differ"
    except (ValueError, AttributeError):
        return "standard output is not one JSON object"
    return "violation of the board's rules" if "violation" in ended.err else ""


def signals_at(chance, names, span):
    """Returns a disturbance that sends some of these signals, and yields what each TSTP does."""
    count = 1 if len(names) == 1 else chance.randint(2, 5)
    plan = sorted((chance.uniform(0, span), chance.choice(names)) for _ in range(count))

    def disturb(pid, pidfd):
        start = time.monotonic()
        for moment, name in plan:
            time.sleep(max(0, start + moment - time.monotonic()))
            begun = has_begun()
            signal.pidfd_send_signal(pidfd, signal.Signals["SIG" + name])
            if name == "TSTP":
                time.sleep(0.01)
                stopped = read_text(f"/proc/{pid}/stat").rpartition(")")[2].split()[0] == "T"
                yield "stopped while changing" if stopped and begun else "stop" if stopped else ""
                signal.pidfd_send_signal(pidfd, signal.SIGCONT)

    return disturb


def try_signals(kind, number):
    """Returns how sv_ctl ended, what is wrong, and the run."""
    chance = random.Random(f"{setup.seed} {kind} {number}")
    shutil.copy(f"{setup.folder}/{chance.choice(['fresh', 'updated'])}", "board")  # to v1
    before = Board("board")
    slow = chance.random() < SLOW_RUNS
    version = chance.choice(["v1", "v2"]) if slow else "v2"
    words = ["update", "--json", f"{setup.folder}/{version}.svu"]
    words += ["--backup", "flash"] if slow and version == "v2" else []
    ended = run_ctl(words, signals_at(chance, SIGNALS[kind], 0.9 * setup.seconds))
    if ended.status == 128 + signal.SIGKILL and kind == "KILL":
        again = run_ctl(words[:3])
        problem = complaint(again, before, version) if again.status != 3 else ""
        return "killed", problem or ("" if Board("board").runs(version) else "the file does not run"), ended
    if ended.status in [128 + signal.Signals["SIG" + name] for name in SIGNALS[kind]] and os.path.getsize("trace") == 0:
        # Before the program could catch anything
        return "early", "" if Board("board") == before and ended.out == "" else "ended early, but changed", ended
    stopped = "stopped while changing"
    return str(ended.status), complaint(ended, before, version) or (stopped if stopped in ended.notes else ""), ended


def start_neighbour(seed, folder, kind, contents):
    log = os.open("foreign", os.O_WRONLY | os.O_CREAT | os.O_APPEND)
    child = os.fork()
    if child == 0:
        try:
            if kind == "file":
                (folder / TARGETS[kind]).write_bytes(contents[0])
                os.chown(folder / TARGETS[kind], NOBODY, NOBODY)
            be_neighbour(seed, str(folder), kind, contents, log)
        finally:
            os._exit(1)
    os.close(log)
    return child


def complaint_about_race(kind, mode, ended, before, target):
    problem = complaint(ended, before, None if kind == "metrics" else "v2")
    if not problem and ended.status == 0 and mode == "sticky" and kind in ("backup", "metrics"):
        # In a sticky folder a file of root's stays what it was.
        content, status = target.read_bytes(), target.lstat()
        whole = content == before.flash if kind == "backup" else b"sorvan_up 1\n" in content
        if not whole or status.st_uid != 0 or not stat.S_ISREG(status.st_mode):
            return "the output is not what was written"
    foreign = [name for name in read_text("foreign").split() if name != TARGETS[kind] and not name.startswith("mine")]
    return f"made {foreign[0]} in the temporary folder" if kind == "temporary" and foreign else problem


def try_race(kind, number):
    kind, mode = kind.split(", ")
    folder, outside = pathlib.Path("shared").resolve(), pathlib.Path("outside")
    shutil.copy(f"{setup.folder}/fresh", "board")
    folder.mkdir()
    outside.mkdir()
    # Root's files: one that the neighbour's links lead to, and one that he may lock and link
    for path, rights in ((outside / "victim", 0o600), (pathlib.Path("common"), 0o666)):
        path.write_bytes(b"root's own")
        path.chmod(rights)
    os.chmod(".", 0o755)
    folder.chmod(FOLDER_MODES[mode])
    paths = {"lock": "lock", "file": f"{setup.folder}/v2.svu", kind: str(folder / TARGETS[kind])}
    words = ["--lock", paths["lock"], "--lock-wait", str(LOCK_WAIT), "--json"]
    words += ["metrics", "--output", paths["metrics"]] if kind == "metrics" else ["update", paths["file"]]
    words += ["--backup", paths["backup"]] if kind == "backup" else []

    def outside_state():
        return [(path.name, path.read_bytes(), path.lstat()[:6], path.lstat().st_mtime_ns) for path in outside.iterdir()]

    before, was_outside = Board("board"), outside_state()
    seed = f"{setup.seed} {kind} {mode} {number}"
    good = pathlib.Path(f"{setup.folder}/v2.svu").read_bytes()
    flipped = good[:-70000] + bytes([good[-70000] ^ 1]) + good[-69999:]
    child = start_neighbour(seed, folder, kind, [good, good, flipped, good[:100000]])
    time.sleep(random.Random(seed).uniform(0, 0.03))
    ended = run_ctl(words, program=f"exec env TMPDIR={folder} sv_ctl")
    os.kill(child, signal.SIGKILL)
    problem = complaint_about_race(kind, mode, ended, before, folder / TARGETS[kind])
    if not os.WIFSIGNALED(os.waitpid(child, 0)[1]):
        problem = "the neighbour has failed"
    if outside_state() != was_outside:
        problem = "a file outside was changed"
    return str(ended.status), problem, ended


def work_on(task):
    """The kind, and words for what came of it."""
    kind, number = task
    work = tempfile.mkdtemp(dir=setup.folder)
    os.chdir(work)
    end, problem, ended = (try_signals if kind in SIGNALS else try_race)(kind, number)
    # Waiting takes no time on this board, but its clock counts it.
    counted = json.loads(ended.out).get("seconds", 0) if ended.out and not problem else 0
    stalled = max(ended.seconds, counted) > STALL
    if problem or stalled:
        print(f"{kind}, run {number}: {problem or 'stalled'}\n{ended}", file=sys.stderr)
    shutil.rmtree(work)
    return kind, [end] + ["UNTRUE"] * bool(problem) + ["STALLED"] * stalled + [note for note in ended.notes if note]


def prepare(options):
    """Makes update files, a fresh board and one that runs v1, and measures an undisturbed run."""
    setup.seed = options.seed
    os.environ["TMPDIR"] = setup.folder
    os.environ["PATH"] = os.path.realpath(options.programs) + ":" + os.environ["PATH"]
    firmware = os.path.realpath(options.source) + "/examples/firmware"
    os.chmod(setup.folder, 0o755)
    os.chdir(setup.folder)
    setup.firmware = {}
    for version in ("v1", "v2"):
        regions = [f"{firmware}/{version}-region{number}.bin" for number in (0, 1)]
        setup.firmware.update({(version, number): pathlib.Path(regions[number]).read_bytes() for number in (0, 1)})
        subprocess.run(["sv_image", "pack", "--region0", regions[0], "--region1", regions[1], "-o", version + ".svu",
                        "--swid", f"0x020{version[1]}"], check=True, stdout=subprocess.DEVNULL)
    subprocess.run(["sv_board", "run", "--state", "fresh", "--", "true"], check=True)
    shutil.copy("fresh", "board")
    ended = run_ctl(["update", "--json", "v1.svu"])
    if ended.status != 0:
        raise RuntimeError(f"an undisturbed update fails: {ended}")
    setup.seconds = ended.seconds
    os.rename("board", "updated")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("programs", help="folder of the programs")
    parser.add_argument("source", help="source folder")
    parser.add_argument("--runs", type=int, default=1000, help="runs with signals")
    parser.add_argument("--races", type=int, default=100, help="races for each of the neighbour's targets")
    parser.add_argument("--seed", type=int, default=1)
    options = parser.parse_args()
    signal.signal(signal.SIGHUP, signal.SIG_DFL)  # nohup would be inherited
    tasks = [(list(SIGNALS)[number % len(SIGNALS)], number) for number in range(options.runs)]
    if os.getuid() == 0:
        tasks += [(f"{kind}, {list(FOLDER_MODES)[number % 2]}", number) for kind in TARGETS
                  for number in range(options.races)]
    else:
        print("not root: no races with a neighbour")
    with tempfile.TemporaryDirectory() as setup.folder:
        prepare(options)
        with multiprocessing.Pool(os.cpu_count()) as pool:
            rows = pool.map(work_on, tasks, chunksize=1)
        os.chdir("/")
    for kind in dict.fromkeys(kind for kind, _ in rows):
        ends = collections.Counter(word for row_kind, words in rows for word in words if row_kind == kind)
        print(f"{kind:18}" + ", ".join(f"{word}: {count}" for word, count in sorted(ends.items())))
    sys.exit(any(bad in words for _, words in rows for bad in BAD_ENDS))


if __name__ == "__main__":
    main()
