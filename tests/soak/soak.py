#!/usr/bin/env python3
# soak.py TLK [WAVES CLIENTS BURSTS SECONDS]: waves of connections to `tlk serve`, each of so many clients, on
# each of which so many bursts of messages go both ways, and nothing left behind. Every message comes back
# once and in order. After each wave `tlk host`, whose controls the clients are, has as many descriptors and
# threads as before all, and its heap does not grow. Prints a line for each wave. The server ends after so
# many seconds.

import atexit
import collections
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import threading

TURNS = 5  # Connections of a client in a wave.
BURST = 10  # The first message of a burst is a request.
MAX_HEAP_GROWTH = 512 << 10
SERVER_LIMIT = 20_000
FOLDER = tempfile.mkdtemp(prefix="tlk-soak-")
# All that a program makes is in one heap then. That of a sanitizer cannot be seen from outside.
ENVIRONMENT = os.environ | {"MALLOC_ARENA_MAX": "1", "MALLOC_MMAP_MAX_": "0", "TMPDIR": FOLDER}


def body(size):
    return rf"<a>\xE9&lt;{'x' * size}</a>"


# How a connection ends. The server closes it for a message beyond its limit, which resets it when there is
# more of the message to come.
RESET = f'send Long "{body(5 * SERVER_LIMIT)}"'
ENDS = ["disconnect", "destroy", f'send Long "{body(SERVER_LIMIT + 2_000)}"', RESET]


def check(holds, what):
    if not holds:
        sys.exit(f"soak: {what} (the trace log is in {FOLDER})")


def in_background(call, *arguments):
    threading.Thread(target=call, args=arguments, daemon=True).start()


def start(*command):
    program = subprocess.Popen([sys.argv[1], *map(str, command)], bufsize=1, text=True, env=ENVIRONMENT,
                               stdin=subprocess.PIPE, stdout=subprocess.PIPE)
    atexit.register(program.kill)
    return program


# Events of different controls come in any order.
def source(line):
    return line.startswith("event ") and line.rpartition(" control=")[2]


class Host:
    def __init__(self):
        self.program = start("host", "--quiet")
        self.commands = ""
        self.expected = collections.defaultdict(collections.deque)
        self.last = 1

    # Has a command run at the next settling, and expects lines: its own, and of events.
    def run(self, command, *lines):
        self.commands += command + "\n"
        for line in lines:
            self.expected[source(line)].append(line)

    # Runs the commands, and reads all lines that are expected; no other may come.
    def settle(self):
        in_background(self.program.stdin.write, self.commands)
        self.commands = ""
        for _ in range(sum(map(len, self.expected.values()))):
            line = self.program.stdout.readline().rstrip("\n")
            lines = self.expected[source(line)]
            wanted = lines.popleft() if lines else "nothing of the kind"
            check(line == wanted, f"the host prints {line[:200]}, not {wanted[:200]}")

    def new(self):
        self.last += 1
        self.run("new", f"new {self.last}")
        return self.last

    def use(self, control):
        self.run(f"use {control}", f"use {control}")

    # Mostly small messages; one of ten is larger, and one of a hundred large.
    def send(self, control, first):
        self.use(control)
        for i in range(first, first + BURST):
            data = body(15_000 if i % 100 == 15 else 2_000 if i % 10 == 3 else i % 80)
            sent = rf'"<\xE9 & {i}" "{data}"'
            back = rf'type="<\xE9 & {i}" data="<Data>{data}</Data>"'
            if i == first:
                self.run(f"request {sent} 60000", f"request hr=0x00000000 {back}")
            else:
                self.run(f"send {sent}", "send hr=0x00000000",
                         f"event TlkMsgRecieved {back} control={control}")

    # Returns the control that connects next. What a reset one has left unsent would go out then.
    def end(self, control, end):
        self.use(control)
        if end != "destroy":
            self.run(end, f"{end.split()[0]} hr=0x00000000",
                     f"event ConnStatusChanged status=0 control={control}")
            self.settle()
        if end not in ("destroy", RESET):
            return control
        self.run("destroy", f"destroy {control}")
        return self.new()

    # The size of the heap, and how many descriptors and threads there are at least: the log's file comes and
    # goes.
    def holdings(self):
        folder = pathlib.Path(f"/proc/{self.program.pid}")
        heap = re.search(r"^(\w+)-(\w+) .*\[heap\]$", (folder / "maps").read_text(), re.MULTILINE)
        size = int(heap[2], 16) - int(heap[1], 16) if heap else 0
        looks = (tuple(len(os.listdir(folder / what)) for what in ("fd", "task")) for _ in range(1000))
        return size, min(looks)


def soak(waves=10, clients=200, bursts=5, seconds=300):
    server = start("serve", "--clients", waves * TURNS * clients, "--for", seconds,
                   "--max-length", SERVER_LIMIT)
    port = server.stdout.readline().strip().rpartition(":")[2]
    in_background(server.stdout.read)
    host = Host()
    host.run("disconnect", "event ConnStatusChanged status=0", "disconnect hr=0x00000000")
    controls = [host.new() for _ in range(clients)]
    host.settle()
    _, before = host.holdings()
    heaps = []
    for wave in range(waves):
        for turn in range(TURNS):
            for control in controls:
                host.use(control)
                host.run(f"connect 127.0.0.1 {port}", "connect hr=0x00000000 pVal=1",
                         f"event ConnStatusChanged status=3 control={control}")
            for burst in range(bursts):
                host.settle()
                for control in controls:
                    host.send(control, (turn * bursts + burst) * BURST)
            host.settle()
            controls = [host.end(control, ENDS[(client + turn) % len(ENDS)])
                        for client, control in enumerate(controls)]
            host.settle()
        heap, now = host.holdings()
        heaps.append(heap)
        print(f"wave {wave}: heap {heap}, {now[0]} descriptors, {now[1]} threads", flush=True)
        check(now <= before, "descriptors are left open, or threads running")
    # While the log lies behind it may be larger.
    check(min(heaps[waves // 2:]) <= heaps[0] + MAX_HEAP_GROWTH, "the heap has grown")
    check(host.program.communicate()[0] == "", "the host prints more than it should")
    check(host.program.returncode == 0 and server.wait() == 0, "a program has failed")
    shutil.rmtree(FOLDER)


if __name__ == "__main__":
    soak(*map(int, sys.argv[2:]))
