#!/usr/bin/env python3
# compare_tap: what a tap costs a connection. Sends 1,000 messages a second, each in turn straight to a server
# and through a tap, and takes the time until each comes back. Prints lines as the other measurements do.

import json
import pathlib
import socket
import subprocess
import time

TLK = pathlib.Path(__file__).resolve().parent.parent / "tools/tlk/tlk"
SECONDS, RATE = 20, 1000
MESSAGE = (b'<TLK_Message Length="0000227" xmlns="" Type="Hello"><From Id="-1"/><To Id="0"/><Data><Text>'
           + b"Good morning" * 9 + b"</Text></Data></TLK_Message>")


def start(*options):
    program = subprocess.Popen([TLK, *options], stdout=subprocess.PIPE, bufsize=0)
    port = program.stdout.readline().decode().strip().rpartition(":")[2]
    subprocess.Popen(["cat"], stdin=program.stdout, stdout=subprocess.DEVNULL)  # Somebody reads along.
    return program, port


def connect(port):
    connection = socket.create_connection(("127.0.0.1", int(port)), 20)
    connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
    return connection


# The time until a message has come back, in microseconds.
def ask(connection):
    begin = time.perf_counter_ns()
    connection.sendall(MESSAGE)
    length = int(connection.recv(30, socket.MSG_WAITALL)[21:28])
    connection.recv(length - 30, socket.MSG_WAITALL)
    return (time.perf_counter_ns() - begin) / 1000


def show(what, figure, bound):
    print(json.dumps({"subject": "tap", "what": what, "unit": "us", "ours": figure, "bound": f"<= {bound}",
                      "met": figure <= bound, "rivals": []}))


def main():
    server, port = start("serve")
    tap, tapped = start("tap", "--to", "127.0.0.1", port)
    ways = [connect(port), connect(tapped)]
    times = [[], []]
    begin = time.perf_counter()
    for count in range(SECONDS * RATE):
        for way in (count % 2, 1 - count % 2):
            times[way].append(ask(ways[way]))
        time.sleep(max(0, begin + (count + 1) / RATE - time.perf_counter()))
    for program in (tap, server):
        program.terminate()
        program.wait()
    straight, through = (sorted(way[RATE:]) for way in times)
    for name, share, bound in (("median", 0.5, 1000), ("99th percentile", 0.99, 1000)):
        at = int(len(straight) * share)
        show(f"{name} of a message there and back, more through a tap than the {straight[at]:.0f} us without",
             through[at] - straight[at], bound)


main()
