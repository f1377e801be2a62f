#!/usr/bin/env python3
# load.py COMMAND...: what `tlk load`, which COMMAND starts, does to servers of every kind, and what it
# tells of them. They are native, whichever system it runs on.

import contextlib
import json
import socket
import struct
import subprocess
import sys
import threading
import time
import unittest

COMMAND = sys.argv[1:]
del sys.argv[1:]


def receive(client):
    prefix = client.recv(30, socket.MSG_WAITALL)
    if len(prefix) < 30:
        raise ConnectionError
    return prefix + client.recv(int(prefix[21:28]) - 30, socket.MSG_WAITALL)


# Echoes addressed to a client 7.
def echo(client):
    while True:
        client.sendall(receive(client).replace(b'To Id="0"', b'To Id="7"'))


class Load(unittest.TestCase):
    # A server that does `serve` with each client.
    def start(self, serve):
        def serve_one(client):
            with client, contextlib.suppress(OSError):
                serve(client)

        def accept():
            with contextlib.suppress(OSError):
                while True:
                    threading.Thread(target=serve_one, args=listener.accept()[:1], daemon=True).start()

        listener = socket.create_server(("127.0.0.1", 0), backlog=100)
        self.addCleanup(listener.close)
        self.port = listener.getsockname()[1]
        threading.Thread(target=accept, daemon=True).start()

    def load(self, status, *options):
        run = subprocess.run([*COMMAND, "load", "--to", "127.0.0.1", str(self.port), "--json", *options],
                             stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, timeout=60)
        result = json.loads(run.stdout)
        self.assertEqual(run.returncode, status, result)
        return result

    def test_counts_add_up(self):
        self.start(echo)
        for kind in (), ("--requests",):
            result = self.load(0, "--clients", "5", "--rate", "40", "--for", "2", "--ramp", "1", *kind)
            self.assertEqual(result["connections"], {"asked": 5, "made": 5, "failed": 0, "lost": 0})
            sent = result["messages"]["sent"]
            self.assertEqual(result["messages"], {"due": 80, "sent": sent, "received": sent,
                                                  "answered": sent, "unanswered": 0})
            self.assertGreater(sent, 60)
            self.assertEqual((result["errors"], result["fell_short"]), ({}, None))
            times = result["latency_us"]
            self.assertEqual(times.pop("count"), sent)
            self.assertEqual(sorted(times.values()), list(times.values()))
            self.assertGreater(times["p50"], 0)

    def test_sends_what_a_control_sends_as_fast_as_replies_come(self):
        seen = []

        def serve(client):
            for _ in range(3):
                seen.append(receive(client))
                client.sendall(seen[-1].replace(b'To Id="0"', f'To Id="{len(seen)}"'.encode()))
            receive(client)
            client.sendall(seen[0].replace(b"0000300", b"0000029"))

        self.start(serve)
        result = self.load(1, "--clients", "1", "--for", "30", "--size", "300", "--requests")
        self.assertEqual(result["errors"], {"10014": 1})
        self.assertEqual(result["messages"]["answered"], 3)
        for message, sender in zip(seen, (b"-1", b"1", b"1")):
            self.assertTrue(message.startswith(
                b'<TLK_Message Length="0000300" xmlns="" Type="Load"><From Id="%s"/><To Id="0"/>'
                b'<Data><Load>' % sender), message)
            self.assertTrue(message.endswith(b"x</Load></Data></TLK_Message>"), message)

    def test_latency_counts_from_when_a_message_was_due(self):
        def serve(client):
            for number in range(201):
                if number == 100:
                    time.sleep(0.5)
                client.sendall(receive(client))

        self.start(serve)
        for kind in (), ("--requests",):
            result = self.load(0, "--clients", "1", "--rate", "100", "--for", "2", *kind)
            self.assertEqual(result["latency_us"]["count"], 200)
            # One in 200 waited for the whole pause, forty more for a tenth of a second at least.
            self.assertGreater(result["latency_us"]["p99"], 400_000)
            self.assertGreater(result["latency_us"]["p90"], 150_000)

    def test_ends_in_time_whatever_the_server_does(self):
        def flood(client):
            while True:
                client.sendall(b"x" * 100000)

        def reset(client):
            client.recv(1)
            client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))

        ends = {"closes": (receive, "10101"), "resets": (reset, "10054"), "floods": (flood, "10014")}
        for name, (serve, error) in ends.items():
            with self.subTest(name):
                self.start(serve)
                result = self.load(1, "--clients", "3", "--for", "30", "--requests")
                self.assertEqual(result["connections"]["lost"], 3)
                self.assertEqual(result["errors"], {error: 3})

        self.start(lambda client: threading.Event().wait(30))
        result = self.load(1, "--clients", "3", "--rate", "30", "--for", "1", "--requests")
        self.assertEqual(result["messages"], {"due": 30, "sent": 3, "received": 0, "answered": 0,
                                              "unanswered": 3})
        self.assertRegex(result["fell_short"], "^0 of 30 messages a second; .* 3 messages were unanswered")
        result = self.load(1, "--clients", "1", "--rate", "50", "--size", "9999999", "--for", "1")
        self.assertLess(result["messages"]["sent"], 50)

    def test_nobody_listens(self):
        with socket.create_server(("127.0.0.1", 0)) as listener:
            self.port = listener.getsockname()[1]
        result = self.load(1, "--clients", "3", "--for", "30")
        self.assertEqual(result["errors"], {"10061": 3})
        self.assertEqual(result["fell_short"], "0 of 3 clients; the server refused 3 connections")


if __name__ == "__main__":
    unittest.main()
