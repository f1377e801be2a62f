#!/usr/bin/env python3
# tap.py TLK...: what `tlk tap` passes on between a client and a server of this script's own, what it shows and
# records of it, and that `tlk serve` plays that back. TLK... is how the program is started, in Wine or not.

import contextlib
import pathlib
import re
import socket
import struct
import subprocess
import sys
import tempfile
import time
import unittest

TLK = sys.argv[1:]
del sys.argv[1:]
LIMIT = 60
IN_WINE = len(TLK) > 1
RESET = struct.pack("ii", 1, 0)


def message(kind, data="<Data/>", sender=-1, receiver=0):
    text = (f'<TLK_Message Length="0000000" xmlns="" Type="{kind}"><From Id="{sender}"/>'
            f'<To Id="{receiver}"/>{data}</TLK_Message>')
    return text.replace("0000000", f"{len(text):07}", 1).encode("latin-1")


def receive(peer, size):
    got = bytearray()
    while len(got) < size and (piece := peer.recv(1 << 16)):
        got += piece
    return bytes(got)


class Tap(unittest.TestCase):
    maxDiff = None

    def start(self, *options, clients=1):
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.listener.settimeout(LIMIT)
        self.addCleanup(self.listener.close)
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.tap = subprocess.Popen(
            [*TLK, "tap", "--to", "localhost", str(self.listener.getsockname()[1]),
             "--clients", str(clients), "--for", str(LIMIT), *options],
            encoding="utf-8", stdout=subprocess.PIPE, cwd=self.folder.name)
        self.addCleanup(self.tap.communicate)
        self.addCleanup(self.tap.terminate)
        self.port = int(self.tap.stdout.readline().removeprefix("listening 127.0.0.1:"))

    # Both ends of a connection through the tap.
    def connect(self):
        client = socket.create_connection(("127.0.0.1", self.port), LIMIT)
        server = self.listener.accept()[0]
        server.settimeout(LIMIT)
        for peer in (client, server):
            self.addCleanup(peer.close)
        return client, server

    # One side resets, and the other is to see that. Under Wine a reset that comes while the tap does not just
    # read is an end.
    def reset(self, peer, other):
        peer.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, RESET)
        peer.close()
        self.expect_reset(other)

    def expect_reset(self, peer):
        with contextlib.suppress(ConnectionError) if IN_WINE else self.assertRaises(ConnectionError):
            self.assertEqual(peer.recv(1), b"")
        peer.close()

    # What the tap has shown until its end, without times.
    def shown(self):
        text = self.tap.stdout.read()
        self.assertEqual(self.tap.wait(LIMIT), 0)
        self.assertNotRegex(text, r"[^\n -~\xA0-\uFFFF]")
        return re.sub(r"(?m)^\d\d:\d\d:\d\d\.\d{3} ", "", text)

    def test_passes_every_byte_on_and_shows_what_it_means(self):
        self.start()
        client, server = self.connect()
        hello = message("Say &quot;h\xefi&quot;", '<Data><a x=">">caf\xe9 \x9b2J\n1</a><b/></Data>')
        for byte in hello:
            client.sendall(bytes([byte]))
        self.assertEqual(receive(server, len(hello)), hello)
        bad = message("No", "", 0, -1) + message("Broken", "<Data>", 0, 1)
        server.sendall(bad + b"GET / HTTP/1.1\r\n" + b"\0" * 20)
        server.shutdown(socket.SHUT_WR)
        self.assertEqual(receive(client, 1 << 20), bad + b"GET / HTTP/1.1\r\n" + b"\0" * 20)
        client.sendall(hello[:40])  # The other half still works.
        client.close()
        self.assertEqual(receive(server, 1 << 20), hello[:40])
        self.assertEqual(self.shown(), f"""client 1 connected
client 1 > type="Say \\"h\xefi\\"" from=-1 to=0 bytes={len(hello)}
  <a x=">">caf\xe9 \u203a2J
    1</a>
  <b/>
client 1 < type="No" from=0 to=-1 bytes=90
  ! remark at byte 0: no Data; a host is told an empty body, its log an error
  ! remark at byte 71: a message for -1 teaches a client no id
client 1 < bytes=99
  not XML: end tag does not match start tag at byte 87
  {chr(34)}{bad[90:].decode().replace(chr(34), chr(92) + chr(34))}{chr(34)}
  ! fault at byte 87: not XML: end tag does not match start tag
client 1 < messages cannot be told apart any more
  ! fault at byte 189: no length stamp in the first 30 bytes
client 1 < end
client 1 > end
  ! fault at byte {len(hello) + 40}: the stream ends, but the message at byte {len(hello)} lacks {len(hello) - 40} bytes
client 1 closed
stopped
""")

    def test_passes_a_reset_on_and_tells_of_a_server_that_is_not_there(self):
        self.start(clients=3)
        for resetting in (0, 1):
            sides = self.connect()
            sides[0].sendall(b"<")
            self.assertEqual(sides[1].recv(2), b"<")
            self.reset(sides[resetting], sides[1 - resetting])
        self.listener.close()
        with self.assertRaises(ConnectionError):
            with socket.create_connection(("127.0.0.1", self.port), LIMIT) as client:
                client.recv(1)
        shown = self.shown()
        self.assertRegex(shown, "\nclient 3 cannot reach localhost:[0-9]+: .*refused")
        within = "  ! fault at byte 1: the stream ends within the stamp of the message at byte 0\n"
        if not IN_WINE:
            self.assertIn(f"""client 1 connected
client 1 reset by the client
{within}client 2 connected
client 2 reset by the server
{within}client 3 connected
""", shown)

    def test_records_what_can_be_played_back(self):
        self.start("--record", "talk.txt", clients=2)
        hello, odd = message("Hello", "<Data>$FILL:3</Data>"), message("Odd").replace(b"Type", b"Tipe")
        answer = message('"'.join(["A", "B"]).replace('"', "&quot;"), "<Data>caf\xe9\r\n</Data>", 0, 7)
        first, server_of_first = self.connect()
        first.sendall(hello)
        receive(server_of_first, len(hello))
        second, server_of_second = self.connect()
        server_of_first.sendall(answer)
        self.assertEqual(receive(first, len(answer)), answer)
        first.sendall(odd)
        receive(server_of_first, len(odd))
        first.close()
        self.assertEqual(server_of_first.recv(1), b"")
        server_of_first.close()
        server_of_second.sendall(answer[:50])
        self.assertEqual(receive(second, 50), answer[:50])
        self.reset(server_of_second, second)
        self.shown()
        file = pathlib.Path(self.folder.name, "talk.txt")
        if not IN_WINE:
            self.assertEqual(file.stat().st_mode & 0o777, 0o600)

        with subprocess.Popen([*TLK, "serve", "--script", file.name], encoding="utf-8",
                              stdout=subprocess.PIPE, cwd=file.parent) as playing:
            listening = playing.stdout.readline()
            if not listening and playing.wait(LIMIT) == 2:
                self.skipTest("this build has no tlk serve")
            self.port = int(listening.rpartition(":")[2])
            first = socket.create_connection(("127.0.0.1", self.port), LIMIT)
            first.sendall(hello)
            second = socket.create_connection(("127.0.0.1", self.port), LIMIT)
            self.assertEqual(receive(first, len(answer)), answer)
            first.sendall(odd)
            first.close()
            self.assertEqual(receive(second, 50), answer[:50])
            self.expect_reset(second)
            self.assertEqual(playing.stdout.read().splitlines()[-1], "stopped")

    def test_hides_bodies_from_the_output_and_the_record(self):
        self.start("--record", "talk.txt", "--hide-data")
        client, server = self.connect()
        sent = (message("A", "<Data><a>SECRET</a></Data>") + message("A", "<Data>SECRET</Data><Data>SECRET</Data>")
                + message("A", "<Data>SECRET") + b"SECRET" * 9)
        client.sendall(sent)
        receive(server, len(sent))
        server.sendall(sent)
        receive(client, len(sent))
        server.close()
        client.close()
        shown = self.shown()
        self.assertIn("(13 bytes of Data left out)", shown)
        record = pathlib.Path(self.folder.name, "talk.txt").read_text()
        self.assertEqual(record.count("stamped"), 2)
        self.assertNotIn("SECRET", shown + record)

    def test_refuses_to_write_into_a_file_that_is_there(self):
        with tempfile.NamedTemporaryFile() as file:
            refused = subprocess.run([*TLK, "tap", "--to", "localhost", "1", "--record", pathlib.Path(file.name).name],
                                     cwd=pathlib.Path(file.name).parent, capture_output=True, timeout=LIMIT)
        self.assertEqual(refused.returncode, 1)
        self.assertIn(b"is there already", refused.stderr)

    # As at a terminal that somebody has stopped.
    def test_output_that_nobody_reads_holds_nobody_up(self):
        self.start("--record", "talk.txt")
        client, server = self.connect()
        much = message("Much", f"<Data>{'x' * 50000}</Data>")
        for _ in range(200):
            client.sendall(much)
            self.assertEqual(receive(server, len(much)), much)
        server.close()
        self.assertEqual(client.recv(1), b"")
        client.close()
        record = pathlib.Path(self.folder.name, "talk.txt")
        end = time.monotonic() + LIMIT
        while not record.read_text().endswith("close\n") and time.monotonic() < end:
            time.sleep(0.01)
        self.assertEqual(record.read_text().count("expect-type"), 200)
        shown = self.shown()
        left_out = sum(map(int, re.findall(r"\.\.\. (\d+) not shown", shown)))
        self.assertGreater(left_out, 0)
        self.assertEqual(left_out + len(re.findall("(?m)^client 1", shown)), 1 + 200 + 3)

    # What waits lies in the buffers of the system, not in the tap.
    def test_stops_reading_while_the_other_side_does_not_read(self):
        self.start("--hide-data")
        client, server = self.connect()
        client.settimeout(3)
        sent = 0
        with self.assertRaises(TimeoutError):
            while sent < 200_000_000:
                sent += client.send(message("Flood", f"<Data>{'x' * 60000}</Data>"))
        client.shutdown(socket.SHUT_WR)
        self.assertEqual(len(receive(server, sent + 1)), sent)
        server.close()
        self.assertEqual(self.shown()[-24:], "client 1 closed\nstopped\n")


if __name__ == "__main__":
    unittest.main()
