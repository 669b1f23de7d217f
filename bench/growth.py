# SPDX-License-Identifier: MIT
"""How the cost of an update grows with the pages, the polls and the bus."""

import random
import struct

UPDATE = ["--update", "new.svu"]
REGION_SIZE, MEMORY_SIZE, PAGE_SIZE, REGION_PAGES = 0x20000, 0x42000, 0x200, 255
ROUNDS = 1


def crc16(data):
    crc = 0xFFFF
    for byte in data:
        crc ^= byte
        for _ in range(8):
            crc = crc >> 1 ^ 0xA001 if crc & 1 else crc >> 1
    return crc


def make_update_file(pages):
    """An update file that marks the first pages of both regions."""
    content = random.Random(pages).randbytes(pages * PAGE_SIZE)
    region = content.ljust(REGION_SIZE, b"\xff")
    image = (region + region).ljust(MEMORY_SIZE, b"\xff")
    marks = b"\1" * pages + b"\0" * (256 - pages)
    page_map = (marks + marks).ljust(MEMORY_SIZE // PAGE_SIZE, b"\0")
    checksum = crc16(region[: REGION_PAGES * PAGE_SIZE])
    info = struct.pack("<6HIHI", 0, 0x0101, 0x0101, checksum, checksum, 0, REGION_SIZE, PAGE_SIZE, MEMORY_SIZE)
    body = image + page_map + bytes(6) + info
    return b"SVxMega\n" + body + struct.pack("<H", crc16(body))


def print_line(measure, first_cell, khz=400, polls=1):
    transfers = measure.transfers("tool", UPDATE, polls=polls)
    instructions = [measure.bus_instructions(program, UPDATE, polls=polls) for program in ("tool", "floor")]
    own = {}
    for _ in range(ROUNDS):
        for program in ("tool", "floor"):
            wall, bus, pauses = measure.own_ms(program, UPDATE, khz, polls)
            own.setdefault(program, []).append(wall - bus - pauses)
    counts = [f"{count:,}" for count in (transfers, *instructions)]
    times = [f"{bus / 1e3:.3f}", f"{pauses / 1e3:.3f}", *(f"{min(own[program]):.1f}" for program in ("tool", "floor"))]
    print(first_cell.rjust(8) + "".join(cell.rjust(14) for cell in counts + times))


def print_head(what):
    heads = ["transfers", "instructions", "of the floor", "bus, s", "pauses, s", "own, ms", "of the floor"]
    print("\n" + what.rjust(8) + "".join(head.rjust(14) for head in heads))


def print_all(measure):
    complete = measure.load("new.svu")
    print_head("pages")
    for pages in 0, 1, 64, 128, 255:
        measure.save("new.svu", make_update_file(pages))
        print_line(measure, str(pages))
    measure.save("new.svu", complete)
    print_head("polls")
    for polls in 1, 2, 3, 5:
        print_line(measure, str(polls), polls=polls)
    print_head("kHz")
    for khz in 100, 400, 1000:
        print_line(measure, str(khz), khz=khz)
