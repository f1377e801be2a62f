#!/usr/bin/env python3
# wireshark.py DISSECTOR TABLE: whether tshark shows by this dissector what the table says, of captures that are
# made of the table's segments; and whether it gets through what no peer means, garbage and the like.

import concurrent.futures
import os
import pathlib
import random
import re
import struct
import subprocess
import sys
import tempfile

DISSECTOR, TABLE = sys.argv[1:]
FIELDS = {"frame": "frame.number", "info": "_ws.col.Info", "expert": "_ws.expert.message", "fault": "_ws.lua.text"} | {
    name: f"tlk.{name}" for name in ("length type from to data keep_alive keep_alive_answer request_in "
                                     "response_in response_time stray").split()}


# [TYPE|BODY], of which the client has the id 1; a body of - is no Data at all.
def message(sent_by_client, match):
    kind, _, body = match[1].partition("|")
    sender, receiver = (1, 0) if sent_by_client else (0, 1)
    text = (f'<TLK_Message Length="0000000" xmlns="" Type="{kind}"><From Id="{sender}"/><To Id="{receiver}"/>'
            f'{"" if body == "-" else f"<Data>{body}</Data>"}</TLK_Message>')
    return text.replace("0000000", f"{len(text):07}", 1)


# A packet of raw IP as it stands in a capture.
def packet(milliseconds, sent_by_client, sequence, payload, client_port=40000):
    ports = (client_port, 1371) if sent_by_client else (1371, client_port)
    tcp = struct.pack(">HHIIBBHHH", *ports, sequence, 1, 0x50, 0x18, 65535, 0, 0) + payload
    hosts = b"\x7f\0\0\1\x7f\0\0\2" if sent_by_client else b"\x7f\0\0\2\x7f\0\0\1"
    ip = struct.pack(">BBHHHBBH", 0x45, 0, 20 + len(tcp), 0, 0, 64, 6, 0) + hosts + tcp
    return struct.pack("<IIII", milliseconds // 1000, milliseconds % 1000 * 1000, len(ip), len(ip)) + ip


# The packets of a line "MILLISECONDS > TEXT / LENGTHS : ORDER": what the client sends (or the server, with <), in
# pieces of these lengths and one of the rest, which come in this order, one each millisecond.
def packets(line, sequences):
    time, arrow, text = line.split(" ", 2)
    text, _, cuts = text.partition(" / ")
    lengths, _, order = cuts.partition(" : ")
    by_client = arrow == ">"
    text = re.sub(r"\\x(..)", lambda byte: chr(int(byte[1], 16)), text)
    text = re.sub(r"(?s)\[(.*?)\]", lambda match: message(by_client, match), text).encode("latin-1")
    pieces = []
    for length in [*map(int, lengths.split()), len(text)]:
        pieces.append((sequences[by_client], text[:length]))
        text = text[length:]
        sequences[by_client] += len(pieces[-1][1])
    for late, which in enumerate(map(int, order.split()) if order else range(1, len(pieces) + 1)):
        yield packet(int(time) + late, by_client, *pieces[which - 1])


def tshark(records, *options):
    with tempfile.TemporaryDirectory() as home:
        capture = pathlib.Path(home, "capture.pcap")
        capture.write_bytes(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 262144, 101) + b"".join(records))
        ran = subprocess.run(["tshark", "-X", f"lua_script:{DISSECTOR}", "-r", capture, *options], timeout=60,
                             env=os.environ | {"HOME": home, "LC_ALL": "C.UTF-8"}, capture_output=True)
        said = ran.stdout.decode() + ran.stderr.decode()
        assert ran.returncode == 0 and "Lua" not in said, said[-2000:]
        return ran.stdout.decode()


# What a case's capture shows, a line for each packet of ours.
def shown(case):
    sequences = [1000, 5000]
    lines = [line for line in case if line[:1].isdigit()]
    options = [word for line in case if line.startswith("with ") for word in line.split()[1:]]
    rows = tshark([record for line in lines for record in packets(line, sequences)], "-2", "-Y", "tlk", "-T", "fields",
                  "-E", "aggregator=|", *options, *(word for field in FIELDS.values() for word in ("-e", field)))
    for row in rows.splitlines():
        yield " ".join(f"{name}={value}" for name, value in zip(FIELDS, row.split("\t")) if value)


def judge(case):
    title, *lines = case.splitlines()
    expected = [line[2:] for line in lines if line.startswith("= ")]
    got = list(shown(lines))
    if got == expected and got: return True
    print(f"FAILED {title}", *(f"= {line}" for line in got), sep="\n")
    return False


def main():
    cases = re.split(r"^== ", pathlib.Path(TABLE).read_text(), flags=re.M)[1:]
    with concurrent.futures.ThreadPoolExecutor(4) as pool:
        failed = list(pool.map(judge, cases)).count(False)
    print(f"{len(cases) - failed} of {len(cases)} captures show what they should")
    return failed > 0


if __name__ == "__main__":
    sys.exit(main())
