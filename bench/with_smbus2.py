#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""The update and the read-back as a short script writes them, with the frames of the tool.

with_smbus2.py --update FILE | --read FILE
"""

import struct
import sys
import time

from smbus2 import SMBus, i2c_msg

MCU = 0x08
REGION_SIZE, MEMORY_SIZE, PAGE_SIZE, SEGMENT_SIZE = 0x20000, 0x42000, 0x200, 0x20
WRITE_KEY, READ_KEY = 0x42, 0xDA
HEAD_WORDS = [0x80, 0x81, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88, 0x8E, 0x90, 0x8B, 0x8A, 0x96, 0x8C, 0x97, 0x00, 0x02]


def make_table():
    table = []
    for crc in range(256):
        for _ in range(8):
            crc = crc >> 1 ^ 0xA001 if crc & 1 else crc >> 1
        table.append(crc)
    return table


TABLE = make_table()


def crc16(data):
    crc = 0xFFFF
    for byte in data:
        crc = crc >> 8 ^ TABLE[(crc ^ byte) & 0xFF]
    return crc


class Mcu:
    def __init__(self, bus):
        self.bus = bus

    def write(self, start, data):
        self.bus.i2c_rdwr(i2c_msg.write(MCU, bytes([start]) + bytes(data)))

    def read(self, start, count):
        answer = i2c_msg.read(MCU, count)
        self.bus.i2c_rdwr(i2c_msg.write(MCU, [start]), answer)
        return bytes(answer)

    def run(self, start, data, register):
        self.write(start, data)
        for _ in range(5001):
            status = self.read(register, 1)[0]
            if status & 0x80:
                break
            time.sleep(0.001)
        if status != 0xC0:
            raise RuntimeError(f"command {data[-1]:02x} failed with status {status:02x}")

    def frame(self, start, data):
        self.run(start, data, 0xA6)

    def command(self, code, parameter=None):
        if parameter is not None:
            self.write(0x0C, struct.pack("<H", parameter))
        self.run(0x0E, [code], 0x0E)

    def block(self, code, count):
        self.frame(0xA6, [code])
        return self.read(0x80, count)

    def identity(self):
        version = self.block(0x00, 32)
        self.block(0x05, 32)
        return version

    def power_state(self):
        self.read(0x00, 20)
        for code in HEAD_WORDS:
            self.command(code)
            self.read(0x0C, 2)
        for code, page, count in (0x91, 5, 32), (0x92, 5, 32), (0x91, 0, 5), (0x92, 0, 5):
            self.command(code, page)
            self.read(0x60, count)
        for code, count in (0x93, 20), (0x89, 18):
            self.command(code)
            self.read(0x60, count)
        self.command(0x0B)
        self.read(0x60, 8)
        self.read(0x0C, 1)
        for offset in range(0, 32, 8):
            self.command(0x0A, offset)
            self.read(0x60, 8)
            self.read(0x0C, 1)

    def write_page(self, page, data):
        for segment in range(PAGE_SIZE // SEGMENT_SIZE):
            part = data[segment * SEGMENT_SIZE : (segment + 1) * SEGMENT_SIZE]
            self.frame(0x80, part + struct.pack("<HBHBB", page, segment, 0, WRITE_KEY, 0x40))
        self.frame(0xA0, struct.pack("<HBHBB", page, 0, crc16(data), WRITE_KEY, 0x41))

    def read_page(self, page):
        data = b""
        for segment in range(PAGE_SIZE // SEGMENT_SIZE):
            self.frame(0xA0, struct.pack("<HBHBB", page, segment, 0, READ_KEY, 0x81))
            data += self.read(0x80, SEGMENT_SIZE)
        return data


def load(path):
    with open(path, "rb") as file:
        content = file.read()
    body = content[content.index(b"SVxMega\n", 0, 1024) + 8 :]
    if len(body) != MEMORY_SIZE + 528 + 6 + 24 or crc16(body[:-2]) != struct.unpack("<H", body[-2:])[0]:
        raise RuntimeError("bad update file")
    return body[:MEMORY_SIZE], body[MEMORY_SIZE : MEMORY_SIZE + 528], struct.unpack("<4H", body[-22:-14])


def show(page, pages):
    print(f"\r{100 * page / pages:.1f}%", end="", flush=True)


def update(mcu, path):
    image, page_map, (swid, _, crc0, crc1) = load(path)
    active = mcu.identity()[6]
    mcu.block(0x01, 10)
    mcu.power_state()
    first, checksum = (256, crc1) if active == 0 else (0, crc0)
    mcu.frame(0xA5, [WRITE_KEY, 0x43])
    for page in range(first, first + 255):
        show(page - first, 255)
        if page_map[page]:
            mcu.write_page(page, image[page * PAGE_SIZE : (page + 1) * PAGE_SIZE])
    mcu.frame(0x80, struct.pack("<H33xHBB", swid, checksum, WRITE_KEY, 0x45))
    mcu.frame(0xA5, [WRITE_KEY, 0x46])
    time.sleep(0.01)
    mcu.frame(0x80, bytes([50, *range(1, 35), 0xFF - 50, 0xFF, WRITE_KEY, 0x48]))
    print("\nupdated")


def read_back(mcu, path):
    mcu.identity()
    memory = b""
    for page in range(528):
        show(page, 528)
        memory += mcu.read_page(page)
    with open(path, "wb") as file:
        file.write(memory)
    print("\nread")


if __name__ == "__main__":
    with SMBus(0) as smbus:
        {"--update": update, "--read": read_back}[sys.argv[1]](Mcu(smbus), sys.argv[2])
