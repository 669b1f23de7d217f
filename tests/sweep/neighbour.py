# SPDX-License-Identifier: MIT
"""An unprivileged user who may write to the folders of sv_ctl, and means harm."""
import fcntl
import os
import pathlib
import random
import time

NOBODY = 65534
TARGETS = {"lock": "lock", "backup": "flash.bin", "file": "new.svu", "metrics": "sorvan.prom", "temporary": "any"}


def remove(path):
    os.rmdir(path) if os.path.isdir(path) and not os.path.islink(path) else os.unlink(path)


def plant(chance, folder, name, contents):
    """Something of the neighbour's own under this name, or a lock on what stands there."""
    new = f"{folder}/mine{chance.random()}"
    path = f"{folder}/{name}"
    makers = {"link": lambda: os.symlink(f"{folder}/../outside/victim", new),
              "dangling": lambda: os.symlink(f"{folder}/../outside/new", new),
              "hard link": lambda: os.link(f"{folder}/../common", new),
              "fifo": lambda: os.mkfifo(new, 0o666),
              "folder": lambda: os.mkdir(new),
              "file": lambda: pathlib.Path(new).write_bytes(chance.choice(contents))}
    action = chance.choice([*makers, "file", "in place", "remove", "remove"])
    if action == "in place":
        with open(os.open(path, os.O_WRONLY | os.O_NONBLOCK), "wb") as file:
            file.write(chance.choice(contents))
    elif action == "remove":
        remove(path)
    else:
        makers[action]()
        if os.path.isdir(path) and not os.path.islink(path):
            os.rmdir(path)
        try:
            os.rename(new, path)
            if action == "hard link":
                with open(path, "rb") as held:
                    fcntl.flock(held, fcntl.LOCK_EX | fcntl.LOCK_NB)
                    time.sleep(chance.uniform(0, 0.1))
        except OSError:
            remove(new)


def be_neighbour(seed, folder, kind, contents, log):
    """Never returns. Logs the names of what others make here."""
    os.setgroups([])
    os.setgid(NOBODY)
    os.setuid(NOBODY)
    chance = random.Random(seed)
    pause = 10 ** chance.uniform(-3, 0.5 if kind == "backup" else -1)  # from hectic to patient
    while True:
        time.sleep(chance.uniform(0, 2 * pause))
        try:
            for entry in os.scandir(folder):
                if entry.stat(follow_symlinks=False).st_uid != NOBODY:
                    os.write(log, (entry.name + "\n").encode())
                    if chance.random() < 0.3:  # also the unfinished files of the program
                        plant(chance, folder, entry.name, contents)
            plant(chance, folder, TARGETS[kind], contents)
        except OSError:
            pass
