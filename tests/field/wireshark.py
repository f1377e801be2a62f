#!/usr/bin/env python3
# wireshark.py DISSECTOR TABLE: whether tshark shows by this dissector what the table says, of captures that are made
# of its segments; and whether it gets through what no peer means. With a third word: writes the capture of that case.

import concurrent.futures
import os
import pathlib
import random
import re
import struct
import subprocess
import sys
import tempfile

DISSECTOR, TABLE, *WANTED = sys.argv[1:]
FIELDS = {"frame": "frame.number", "info": "_ws.col.Info", "expert": "_ws.expert.message"} | {
    name: f"tlk.{name}" for name in ("length type from to data keep_alive keep_alive_answer request_in "
                                     "response_in response_time stray").split()}


def message(by_client, kind, body):
    sender, receiver = (1, 0) if by_client else (0, 1)
    text = (f'<TLK_Message Length="0000000" xmlns="" Type="{kind}"><From Id="{sender}"/><To Id="{receiver}"/>'
            f'{"" if body == "-" else f"<Data>{body}</Data>"}</TLK_Message>')
    return text.replace("0000000", f"{len(text):07}", 1)


def packet(milliseconds, by_client, sequence, payload, client_port=40000):
    ports = (client_port, 1371) if by_client else (1371, client_port)
    hosts = b"\x7f\0\0\1\x7f\0\0\2" if by_client else b"\x7f\0\0\2\x7f\0\0\1"
    tcp = struct.pack(">HHIIBBHHH", *ports, sequence, 1, 0x50, 0x18, 65535, 0, 0) + payload
    ip = struct.pack(">BBHHHBBH", 0x45, 0, 20 + len(tcp), 0, 0, 64, 6, 0) + hosts + tcp
    return struct.pack("<IIII", milliseconds // 1000, milliseconds % 1000 * 1000, len(ip), len(ip)) + ip


# The packets of a line of the table.
def packets(line, sequences):
    time, arrow, text = line.split(" ", 2)
    text, _, cuts = text.partition(" / ")
    lengths, _, order = cuts.partition(" : ")
    by_client = arrow == ">"
    text = re.sub(r"\\x(..)", lambda byte: chr(int(byte[1], 16)), text)
    text = re.sub(r"(?s)\[([^]|]*)\|?(.*?)\]", lambda said: message(by_client, said[1], said[2]), text).encode("latin-1")
    pieces = []
    for length in [*map(int, lengths.split()), len(text)]:
        pieces.append((sequences[by_client], text[:length]))
        text = text[length:]
        sequences[by_client] += len(pieces[-1][1])
    for late, which in enumerate(map(int, order.split()) if order else range(1, len(pieces) + 1)):
        yield packet(int(time) + late, by_client, *pieces[which - 1])


def capture(case):
    sequences = [1000, 5000]
    records = [record for line in case if line[:1].isdigit() for record in packets(line, sequences)]
    return struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 262144, 101) + b"".join(records)


def tshark(captured, *options):
    with tempfile.TemporaryDirectory() as home:
        pathlib.Path(home, "capture").write_bytes(captured)
        ran = subprocess.run(["tshark", "-2", "-X", f"lua_script:{DISSECTOR}", "-r", f"{home}/capture", *options],
                             env=os.environ | {"HOME": home, "LC_ALL": "C.UTF-8"}, capture_output=True, timeout=60)
    if ran.returncode or b"Lua" in ran.stdout + ran.stderr: print((ran.stdout + ran.stderr).decode())
    return ran.stdout.decode()


def is_shown(case):
    title, *lines = case.splitlines()
    options = [word for line in lines if line.startswith("with ") for word in line.split()[1:]]
    rows = tshark(capture(lines), "-Y", "tlk", "-T", "fields", "-E", "aggregator=|", *options,
                  *(word for field in FIELDS.values() for word in ("-e", field))).splitlines()
    got = ["= " + " ".join(f"{name}={value}" for name, value in zip(FIELDS, row.split("\t")) if value) for row in rows]
    if got and got == [line for line in lines if line.startswith("= ")]: return True
    print(f"FAILED {title}", *got, sep="\n")
    return False


# Captures of words that mean something here, in any order.
def gets_through_garbage():
    chance = random.Random(17)
    words = [b"<TLK_Message", b' Length="', b"0000000", b"0000045", b"-000001", b"9999999", b'"', b" Type='", b"<To Id='7",
             b"<Data", b"</TLK_Message>", b"\0\x1B", b" " * 40, message(True, "Word", "").encode()]
    records = [packet(0, chance.randrange(2), i % 10 * 120, b"".join(chance.choices(words, k=8)), 1025 + i // 10)
               for i in range(3000)]
    shown = tshark(capture([]) + b"".join(records) + packet(9, True, 1000, message(True, "Last", "").encode()),
                   "-V", "-d", "tcp.port==1371,tlk")
    return "Lua" not in shown and "Last (1 → 0" in shown or print("FAILED garbage")


cases = re.split(r"^== ", pathlib.Path(TABLE).read_text(), flags=re.M)[1:]
if WANTED:
    sys.stdout.buffer.write(capture(next(case for case in cases if case.startswith(WANTED[0])).splitlines()))
else:
    with concurrent.futures.ThreadPoolExecutor(4) as pool:
        good = [gets_through_garbage(), *pool.map(is_shown, cases)]
    sys.exit(f"{good.count(True)} of {len(good)} captures show what they should" if not all(good) else 0)
