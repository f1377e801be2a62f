#!/usr/bin/env python3
# wireshark.py DISSECTOR TABLE: whether tshark shows by this dissector what the table says, of captures that are made
# of its segments; and whether it gets through what no peer means. With a third word: writes the capture of that case.

import concurrent.futures
import random
import re
import struct
import subprocess
import sys
import tempfile

FIELDS = {"frame": "frame.number", "info": "_ws.col.Info", "expert": "_ws.expert.message"} | {
    name: f"tlk.{name}" for name in ("length type from to data keep_alive keep_alive_answer request_in "
                                     "response_in response_time stray").split()}


def message(by_client, kind, body):
    text = '<TLK_Message Length="0000000" xmlns="" Type="%s"><From Id="%d"/><To Id="%d"/>%s</TLK_Message>' % (
        kind, by_client, not by_client, "" if body == "-" else f"<Data>{body}</Data>")
    return text.replace("0000000", f"{len(text):07}", 1)


# A record of a capture of raw IP.
def packet(milliseconds, by_client, sequence, payload, client=40000):
    ports, hosts = ((client, 1371), b"\x7f\0\0\1\x7f\0\0\2") if by_client else ((1371, client), b"\x7f\0\0\2\x7f\0\0\1")
    tcp = struct.pack(">HHIIBBHHH", *ports, sequence, 1, 0x50, 0x18, 65535, 0, 0) + payload
    ip = struct.pack(">BBHHHBBH", 0x45, 0, 20 + len(tcp), 0, 0, 64, 6, 0) + hosts + tcp
    return struct.pack("<IIII", milliseconds // 1000, milliseconds % 1000 * 1000, len(ip), len(ip)) + ip


# The records of the segments that a line of the table stands for.
def packets(line, sent):
    time, way, text, lengths, order = re.fullmatch(r"(\d+) ([<>]) (.*?)(?: / ([\d ]+))?(?: : ([\d ]+))?", line).groups("")
    text = re.sub(r"\\x(..)", lambda byte: chr(int(byte[1], 16)), text)
    text = re.sub(r"(?s)\[([^]|]*)\|?(.*?)\]", lambda said: message(way == ">", said[1], said[2]), text).encode("latin-1")
    pieces = []
    for length in [*map(int, lengths.split()), len(text)]:
        pieces.append((1000 + sent[way], text[:length]))
        sent[way], text = sent[way] + len(text[:length]), text[length:]
    for late, which in enumerate(map(int, order.split()) if order else range(1, len(pieces) + 1)):
        yield packet(int(time) + late, way == ">", *pieces[which - 1])


def capture(case, sent):
    records = [record for line in re.findall(r"^\d.*", case, re.M) for record in packets(line, sent)]
    return struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 262144, 101) + b"".join(records)


def tshark(captured, *options):
    with tempfile.NamedTemporaryFile() as file:
        file.write(captured)
        file.flush()
        command = ["tshark", "-2", "-X", f"lua_script:{sys.argv[1]}", "-r", file.name, *options]
        return subprocess.run(command, check=True, stdout=subprocess.PIPE, timeout=60).stdout.decode()


def is_shown(case):
    options = " ".join(re.findall(r"(?<=^with ).*", case, re.M)).split()
    fields = [word for field in FIELDS.values() for word in ("-e", field)]
    rows = tshark(capture(case, {">": 0, "<": 0}), "-Y", "tlk", "-T", "fields", "-E", "aggregator=|", *options, *fields)
    got = ["= " + " ".join(f"{name}={value}" for name, value in zip(FIELDS, row.split("\t")) if value)
           for row in rows.splitlines()]
    return got == re.findall("^= .*", case, re.M) != [] or print(f"FAILED {case.splitlines()[0]}", *got, sep="\n")


# Words that mean something here, in any order, and a message behind.
def gets_through_garbage():
    chance = random.Random(17)
    words = [b"<TLK_Message", b' Length="', b"0000000", b"0000045", b"-000001", b"9999999", b'"', b" Type='", b"<To Id='7",
             b"<Data", b"</TLK_Message>", b"\0\x1B", b" " * 40, message(True, "Word", "").encode()]
    records = [packet(0, chance.randrange(2), i % 10 * 120, b"".join(chance.choices(words, k=8)), 1025 + i // 10)
               for i in range(3000)] + [packet(9, True, 1, message(True, "Last", "").encode())]
    shown = tshark(capture("", {}) + b"".join(records), "-V", "-d", "tcp.port==1371,tlk")
    return ("Lua Error" not in shown and "Last (1 → 0" in shown) or print("FAILED garbage")


cases = re.split(r"^== ", open(sys.argv[2], encoding="utf-8").read(), flags=re.M)[1:]
if wanted := sys.argv[3:]:
    sys.exit(sys.stdout.buffer.write(capture(next(filter(re.compile(*wanted).match, cases)), {">": 0, "<": 0})) == 0)
with concurrent.futures.ThreadPoolExecutor(4) as pool:
    sys.exit(not all([gets_through_garbage(), *pool.map(is_shown, cases)]))
