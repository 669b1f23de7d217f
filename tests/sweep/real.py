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
KINDS = {"INT": ["INT"], "TERM": ["TERM"], "HUP": ["HUP"], "QUIT": ["QUIT"], "TSTP, CONT": ["TSTP"], "KILL": ["KILL"],
         "all but KILL": ["INT", "TERM", "HUP", "QUIT", "TSTP"]}
FOLDER_MODES = {"sticky": 0o1777, "open": 0o777}
STALL = 5  # seconds, beyond those of an undisturbed run
GIVE_UP = 60  # seconds
LOCK_WAIT = 1
CHUNK = 20  # runs on one board, one after the other
Ended = collections.namedtuple("Ended", "status out err seconds notes")


class Board:
    """What a state file of sv_board holds."""

    def __init__(self, path):
        content = pathlib.Path(path).read_bytes()
        self.flash = content[:FLASH_SIZE]
        lines = dict(line.split("=", 1) for line in content[FLASH_SIZE:].decode().splitlines())
        self.regions = {name: value for name, value in lines.items() if name.startswith(("running", "region"))}

    def holds(self, number, version):
        wanted = setup.firmware[version][number].ljust(PROGRAMMED, b"\xff")
        return self.flash[number * REGION_SIZE :][:PROGRAMMED] == wanted

    def runs(self, version):
        number = int(self.regions["running"])
        return number >= 0 and self.holds(number, version)

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


def result_of(ended):
    try:
        return json.loads(ended.out)
    except ValueError:
        return None


def complaint_about_output(ended):
    result = result_of(ended)
    if not isinstance(result, dict):
        return "standard output is not one JSON object"
    if "violation" in ended.err:
        return "violation of the board's rules"
    return "" if result.get("exit", ended.status) == ended.status else "JSON and exit status differ"


def complaint_about_update(ended, before, after, version):
    """Nothing disturbs the board, and signals have no effect once it is being changed."""
    if ended.status == 0:
        problem = "" if after.runs(version) else "the file does not run"
    elif ended.status == 3:
        problem = "" if after.runs(version) and after == before else "not current"
    elif ended.status in (4, 75):
        problem = "" if after == before and not has_begun() else "refused, but changed"
    else:
        problem = f"status {ended.status}"
    return problem or complaint_about_output(ended)


def signals_at(chance, kind, span):
    """Returns a disturbance that sends signals of this kind, and yields what each TSTP does."""
    count = 1 if len(KINDS[kind]) == 1 else chance.randint(2, 5)
    plan = sorted((chance.uniform(0, span), chance.choice(KINDS[kind])) for _ in range(count))

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


def judge_signalled(ended, kind, before, version):
    """Returns a word for the table, and what is wrong."""
    after = Board("board")
    if ended.status == 128 + signal.SIGKILL and kind == "KILL":
        again = run_ctl(["update", "--json", f"{setup.folder}/{version}.svu"])
        problem = "" if again.status in (0, 3) else f"status {again.status} when repeated"
        problem = problem or "violation" in ended.err + again.err and "violation of the board's rules"
        return "killed", problem or ("" if Board("board").runs(version) else "the file does not run when repeated")
    if ended.status in [128 + signal.Signals["SIG" + name] for name in KINDS[kind]] and os.path.getsize("trace") == 0:
        # Before the program could catch anything
        return "early", "" if after == before and ended.out == "" else "ended early, but changed"
    problem = complaint_about_update(ended, before, after, version)
    return str(ended.status), problem or "stopped while changing" in ended.notes and "stopped while changing"


def try_signals(number):
    """One board; yields (kind, end, problem, stalled, stops) for each run."""
    chance = random.Random(f"{setup.seed} {number}")
    folder = tempfile.mkdtemp(dir=setup.folder)
    os.chdir(folder)
    shutil.copy(f"{setup.folder}/fresh", "board")
    rows = []
    for run in range(number * CHUNK, min((number + 1) * CHUNK, setup.runs)):
        kind = list(KINDS)[run % len(KINDS)]
        before = Board("board")
        held = {version for version in setup.firmware if before.holds(0, version) or before.holds(1, version)}
        # Comparing a whole region and reading the whole flash are slow.
        slow = "" if chance.random() > 0.03 else chance.choice(["compare", "back up"])
        version = chance.choice(sorted(held if slow == "compare" and held else setup.firmware.keys() - held))
        words = ["update", "--json", f"{setup.folder}/{version}.svu"]
        words += ["--backup", f"backup{run}"] if slow == "back up" else []
        usual = setup.usual_slow if slow else setup.usual
        ended = run_ctl(words, signals_at(chance, kind, 0.9 * usual))
        end, problem = judge_signalled(ended, kind, before, version)
        stalled = ended.seconds > STALL + usual
        if problem or stalled:
            print(f"run {run}, {kind}, {' '.join(words)}: {problem or 'stalled'}\n{ended}", file=sys.stderr)
        rows.append((kind, end, bool(problem), stalled, ended.notes.count("stop")))
    return rows


def make_outside():
    """Root's files: one that the neighbour's links lead to, and one that he may lock and link."""
    os.mkdir("outside")
    for path, mode in (("outside/victim", 0o600), ("common", 0o666)):
        pathlib.Path(path).write_bytes(b"root's own")
        os.chmod(path, mode)


def outside_state():
    state = {}
    for path in pathlib.Path("outside").iterdir():
        info = path.lstat()
        state[path.name] = path.read_bytes(), info.st_mode, info.st_uid, info.st_gid, info.st_mtime_ns
    return state


def judge_race(ended, kind, folder, sticky, before):
    after = Board("board")
    if kind == "metrics":
        problem = "" if ended.status in (0, 4, 75) and after == before else f"status {ended.status}"
        problem = problem or complaint_about_output(ended)
    else:
        problem = complaint_about_update(ended, before, after, "v2")
    # Only in a sticky folder a file of root's stays what it was.
    if ended.status == 0 and sticky and kind in ("backup", "metrics"):
        path = f"{folder}/{TARGETS[kind]}"
        content = pathlib.Path(path).read_bytes()
        whole = content == before.flash if kind == "backup" else b"sorvan_up 1\n" in content
        if not whole or os.lstat(path).st_uid != 0 or not stat.S_ISREG(os.lstat(path).st_mode):
            problem = problem or "the output is not what was written"
    foreign = [name for name in read_text("foreign").split() if name != TARGETS[kind] and not name.startswith("mine")]
    if kind == "temporary" and foreign:
        problem = problem or f"made {foreign[0]} in the temporary folder"
    return problem


def try_race(kind, mode, number):
    seed = f"{setup.seed} {kind} {mode} {number}"
    work = tempfile.mkdtemp(dir=setup.folder)
    os.chdir(work)
    shutil.copy(f"{setup.folder}/fresh", "board")
    folder = f"{work}/shared"
    os.mkdir(folder)
    make_outside()
    outside = outside_state()
    os.chmod(work, 0o755)
    os.chmod(folder, FOLDER_MODES[mode])
    paths = {"lock": f"{work}/lock", "file": f"{setup.folder}/v2.svu", "backup": "", "metrics": ""}
    paths[kind] = f"{folder}/{TARGETS[kind]}"
    words = ["--lock", paths["lock"], "--lock-wait", str(LOCK_WAIT), "--json"]
    words += ["metrics", "--output", paths["metrics"]] if kind == "metrics" else ["update", paths["file"]]
    words += ["--backup", paths["backup"]] if paths["backup"] else []
    before = Board("board")
    log = os.open("foreign", os.O_WRONLY | os.O_CREAT | os.O_APPEND)
    good = pathlib.Path(f"{setup.folder}/v2.svu").read_bytes()
    flipped = good[:-70000] + bytes([good[-70000] ^ 1]) + good[-69999:]
    child = os.fork()
    if child == 0:
        try:
            if kind == "file":
                pathlib.Path(paths[kind]).write_bytes(good)
                os.chown(paths[kind], NOBODY, NOBODY)
            be_neighbour(seed, folder, kind, [good, good, flipped, good[:100000]], log)
        finally:
            os._exit(1)
    time.sleep(random.Random(seed).uniform(0, 0.03))
    ended = run_ctl(words, program=f"exec env TMPDIR={folder} sv_ctl")
    os.kill(child, signal.SIGKILL)
    killed = os.WIFSIGNALED(os.waitpid(child, 0)[1])
    os.close(log)
    problem = judge_race(ended, kind, folder, mode == "sticky", before) if killed else "the neighbour has failed"
    if outside_state() != outside:
        problem = "a file outside was changed"
    usual = setup.usual_slow if kind == "backup" else setup.usual
    # Waiting takes no time on this board, but its clock counts it.
    waited = max(ended.seconds, (result_of(ended) or {}).get("seconds", 0) - LOCK_WAIT)
    stalled = waited > STALL + usual
    if problem or stalled:
        print(f"race {seed}: {problem or 'stalled'}\n{ended}", file=sys.stderr)
    shutil.rmtree(work)
    return f"{kind}, {mode}", str(ended.status), bool(problem), stalled, 0


def work_on(task):
    return try_signals(task) if isinstance(task, int) else [try_race(*task)]


def prepare(options):
    """Makes update files and a fresh board, and measures undisturbed runs."""
    setup.runs, setup.seed = options.runs, options.seed
    os.environ["TMPDIR"] = setup.folder
    os.environ["PATH"] = os.path.realpath(options.programs) + ":" + os.environ["PATH"]
    source = os.path.realpath(options.source)
    os.chmod(setup.folder, 0o755)
    os.chdir(setup.folder)
    setup.firmware = collections.defaultdict(list)
    for version, base, end in (("v1", "v1", b""), ("v2", "v2", b""), ("v3", "v2", b"3")):
        for number in (0, 1):
            code = pathlib.Path(f"{source}/examples/firmware/{base}-region{number}.bin").read_bytes() + end
            setup.firmware[version].append(code)
            pathlib.Path(f"region{number}").write_bytes(code)
        subprocess.run(["sv_image", "pack", "--region0", "region0", "--region1", "region1", "-o", version + ".svu",
                        "--swid", f"0x020{version[1]}"], check=True, stdout=subprocess.DEVNULL)
    subprocess.run(["sv_board", "run", "--state", "fresh", "--", "true"], check=True)
    # As many at a time as later
    with multiprocessing.Pool(os.cpu_count()) as pool:
        times = pool.map(time_undisturbed, range(os.cpu_count()))
    setup.usual, setup.usual_slow = (max(column) for column in zip(*times))


def time_undisturbed(_):
    os.chdir(tempfile.mkdtemp(dir=setup.folder))
    shutil.copy("../fresh", "board")
    rows = (["../v1.svu"], ["../v2.svu"], ["../v3.svu", "--backup", "flash"])
    undisturbed = [run_ctl(["update", "--json", *row]) for row in rows]
    if [ended.status for ended in undisturbed] != [0, 0, 0]:
        raise RuntimeError(f"undisturbed updates fail: {undisturbed}")
    return undisturbed[1].seconds, undisturbed[2].seconds


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("programs", help="folder of the programs")
    parser.add_argument("source", help="source folder")
    parser.add_argument("--runs", type=int, default=1000, help="runs with signals")
    parser.add_argument("--races", type=int, default=100, help="races for each of the neighbour's targets")
    parser.add_argument("--seed", type=int, default=1)
    options = parser.parse_args()
    signal.signal(signal.SIGHUP, signal.SIG_DFL)  # nohup would be inherited
    start = time.monotonic()
    with tempfile.TemporaryDirectory() as setup.folder:
        prepare(options)
        tasks = list(range((options.runs + CHUNK - 1) // CHUNK))
        if os.getuid() == 0:
            tasks += [(kind, list(FOLDER_MODES)[number % 2], number) for kind in TARGETS
                      for number in range(options.races)]
        else:
            print("not root: no races with a neighbour")
        with multiprocessing.Pool(os.cpu_count()) as pool:
            rows = [row for rows in pool.imap_unordered(work_on, tasks) for row in rows]
        os.chdir("/")
    bad = print_table(rows)
    print(f"seed {options.seed}; undisturbed {setup.usual:.2f} s, with a backup {setup.usual_slow:.1f} s; "
          f"{time.monotonic() - start:.0f} s in all")
    sys.exit(1 if bad else 0)


def print_table(rows):
    """Returns how many rows were not as they must be."""
    ends = sorted({row[1] for row in rows})
    columns = [*ends, "stops", "untrue", "stalls"]
    print(f"{'disturbance':18}{'runs':>6}" + "".join(f"{name:>8}" for name in columns))
    for kind in dict.fromkeys([*KINDS, *sorted(row[0] for row in rows)]):
        mine = [row for row in rows if row[0] == kind]
        counts = [sum(row[1] == end for row in mine) for end in ends]
        counts += [sum(row[column] for row in mine) for column in (4, 2, 3)]
        print(f"{kind:18}{len(mine):6}" + "".join(f"{count:8}" for count in counts))
    return sum(row[2] or row[3] for row in rows)


setup = argparse.Namespace()
if __name__ == "__main__":
    main()
