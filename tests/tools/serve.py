#!/usr/bin/env python3
# serve.py TLK: what `tlk serve` answers and refuses, what it says of it, and why it fails by a
# script; and how it talks with a console.

import contextlib
import socket
import subprocess
import sys
import tempfile
import unittest

TLK = sys.argv.pop()
IDS = '<From Id="1"/><To Id="0"/></TLK_Message>'
BEGIN = '<TLK_Message Length="0000000"'
BAD_MESSAGES = [
    ("GET / HTTP/1.1\r\nHost: localhost\r\n", "no length stamp"),
    ('<TLK_Message Length="0005001" ', "length 5001 is above 5000"),
    (BEGIN + "><open></TLK_Message>", "not XML: "),
    ('<TLK_Messages Length="0000000"/>', "root is not TLK_Message"),
    (BEGIN + ' xmlns="urn:x"/>', "root is not TLK_Message"),
    (BEGIN + ">" + IDS, "root has no Type"),
    (BEGIN + ' Type="T"><To Id="0"/></TLK_Message>', "no From"),
    (BEGIN + ' Type="T"><From Id="1"/><To/></TLK_Message>', "no To"),
    ('<!--Length="0000000"--><TLK_Message Length="0000098" Type="T">' + IDS,
     "the root's Length is not the stamp"),
]
BAD_LINES = ["  accept", "servers:", "status one", "limit 0", "status -1", "colour 3", "status $FILL:",
             "status $FILL:99999999"]


def stamped(text):
    return text.replace("0000000", f"{len(text):07}", 1)


def message(kind, data="", sender=-1, receiver=0):
    return stamped(f'{BEGIN} xmlns="" Type="{kind}"><From Id="{sender}"/><To Id="{receiver}"/>'
                   f"{data}</TLK_Message>")


INDENTED = message("T", "<Data>\r\n\t\t<a/>\r\n\t</Data>\r\n")
WRITTEN = message("T", "<Data><a/></Data>").replace('"', r'\"')
# What a script says, what its client, if any, sends before it ends its side of the stream, what
# comes of it, and with which option.
SCRIPTS = [
    ("dance", None, "failed: no such command: dance"),
    ("accept now", None, "failed: wrong number of words"),
    ("expect a", None, "failed: there is no client yet"),
    ("client 1", None, "failed: there is no client 1"),
    ("accept\n pieces many", "", 'failed: "many" is not a number'),
    ("accept\n pieces -1", "", "failed: -1 is negative"),
    ("accept\n accept", "", "failed: nothing within 1000 ms"),
    ("accept\n expect ab\n expect c", "abd", 'failed: got "d"'),
    ("accept\n expect abc", "ab", 'failed: the connection ended after "ab"'),
    ("accept\n expect-close", "a", 'failed: got "a"'),
    ("accept\n expect-type T", message("U"), 'failed: got type "U"'),
    ("accept\n expect-type T", stamped(BEGIN + "/><b/>"), "failed: not XML"),
    ("accept\n expect-message T <a/>", message("T", "<Data><b/></Data>"), "failed: expected "),
    ("accept\n expect-message T <a/>", message("T", "<Data><a/></Data>", 1), "failed: expected "),
    ("accept\n expect-message T <a/>", INDENTED, "failed: expected "),
    ("accept\n expect-message T", message("T").replace("00000", "12ab5", 1), "failed: got no message"),
    ("accept\n expect-message T <a/>\n expect-close", message("T", "<Data><a/></Data>"), "stopped"),
    (f'accept\n expect "{WRITTEN}"\n expect-close', INDENTED, "stopped", "--indented"),
    (f'accept\n expect-stamped "{WRITTEN}"\n expect-close', INDENTED, "stopped", "--indented"),
    ("accept\n expect-message T <a/>\n expect-close", INDENTED, "stopped", "--indented"),
    ("accept\n expect-type T\n expect-close", INDENTED, "stopped", "--indented"),
    ('accept\n expect "<a/>"', INDENTED, "failed: expected ", "--indented"),
]


class Serve(unittest.TestCase):
    def start(self, *options):
        self.server = subprocess.Popen([TLK, "serve", *options], encoding="latin-1",
                                       stdout=subprocess.PIPE)
        self.addCleanup(self.server.communicate)
        self.addCleanup(self.server.terminate)
        self.port = int(self.server.stdout.readline().removeprefix("listening 127.0.0.1:"))

    # Its calls give up after a while.
    def connect(self, text=""):
        client = socket.create_connection(("127.0.0.1", self.port), 20)
        self.addCleanup(client.close)
        self.send(client, text)
        return client

    def send(self, client, text):
        client.sendall(text.encode("latin-1"))

    def expect(self, client, answer):
        got = client.recv(len(answer) or 1, socket.MSG_WAITALL).decode("latin-1")
        self.assertEqual(got, answer)

    def expect_lines(self, *lines):
        for line in lines:
            self.assertEqual(self.server.stdout.readline()[:len(line)], line)

    def test_answers_each_client_with_its_id_and_says_what_happens(self):
        self.start("--clients", "2")
        first = self.connect()
        data = '<Data><a x="1">caf\xe9 &amp; <b/></a></Data>'
        said = message("Say &quot;hi&quot;", data)
        second = self.connect(said)
        second.shutdown(socket.SHUT_WR)
        self.expect(second, message("Say &quot;hi&quot;", data, 0, 2))
        self.expect(second, "")
        self.send(first, message("Keep Connection Alive", "", 1))
        self.expect(first, message("Keep Connection Alive Response", "<Data/>", 0, 1))
        self.send(first, said[:40])
        first.shutdown(socket.SHUT_WR)
        self.expect(first, "")
        self.expect_lines(
            "client 1 connected\n", "client 2 connected\n",
            f'client 2 message type="Say \\"hi\\"" bytes={len(said)}\n', "client 2 closed\n",
            'client 1 message type="Keep Connection Alive" bytes=108\n',
            "client 1 lost: the stream ends within a message\n", "stopped\n", "")
        self.assertEqual(self.server.wait(20), 0)

    def test_relays_to_everybody_else(self):
        self.start("--relay")
        first, second, third = (self.connect() for _ in range(3))
        self.expect_lines("client 1 connected", "client 2 connected", "client 3 connected")
        self.send(first, message("News", "<Data><a/></Data>") + message("Keep Connection Alive"))
        self.expect(second, message("News", "<Data><a/></Data>", 1, 2))
        self.expect(third, message("News", "<Data><a/></Data>", 1, 3))
        self.expect(first, message("Keep Connection Alive Response", "<Data/>", 0, 1))

    def test_refuses_bad_clients_and_serves_the_others(self):
        self.start("--max-length", "5000")
        good = self.connect()
        self.expect_lines("client 1 connected")
        half = message("Half", f"<Data>{'x' * 4895}</Data>")
        self.assertEqual(len(half), 5000)
        for number, (text, reason) in enumerate(BAD_MESSAGES, 2):
            self.send(good, half[:50])
            self.expect(self.connect(stamped(text)), "")
            self.expect_lines(f"client {number} connected", f"client {number} refused: {reason}")
            self.send(good, half[50:])
            self.expect(good, half.replace('"-1"', '"0"').replace('To Id="0"', 'To Id="1"')
                        .replace("0005000", "0004999"))
            self.expect_lines('client 1 message type="Half" bytes=5000')

    def test_drops_a_client_that_does_not_read_and_serves_the_others(self):
        self.start("--max-queue", "100000")
        deaf = self.connect()
        with self.assertRaises(ConnectionError):
            while True:
                self.send(deaf, message("Flood", f"<Data>{'x' * 60000}</Data>"))
        self.expect(self.connect(message("Hello")), message("Hello", "", 0, 2))

    # While its input is open and still.
    def test_a_console_hears_of_a_message_and_ends(self):
        self.start()
        console = subprocess.Popen([TLK, "host", "--quiet"], encoding="latin-1",
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.addCleanup(console.communicate)
        console.stdin.write("on message quit\r\n"
                            f"connect 127.0.0.1 {self.port}\nsend Hello <a/>\n")
        console.stdin.flush()
        self.assertEqual(console.wait(20), 0)
        self.assertEqual(console.stdout.readlines()[2:], [
            "send hr=0x00000000\n",
            'event TlkMsgRecieved type="Hello" data="<Data><a/></Data>"\n'])

    def test_stops_on_a_signal_with_clients_connected(self):
        self.start()
        client = self.connect()
        self.expect_lines("client 1 connected")
        self.server.terminate()
        self.expect_lines("client 1 closed\n", "stopped\n")
        self.expect(client, "")
        self.assertEqual(self.server.wait(20), 0)

    def test_says_why_a_script_fails(self):
        for script, text, end, *options in SCRIPTS:
            with self.subTest(script, text=text), tempfile.NamedTemporaryFile("w") as file:
                file.write(f"limit 1\nserver:\n {script}\n")
                file.flush()
                self.start("--script", file.name, *options)
                if text is not None:
                    with contextlib.suppress(OSError):  # It may be over before all is sent.
                        self.connect(text).shutdown(socket.SHUT_WR)
                lines = self.server.stdout.read().splitlines()
                self.assertEqual(lines[-1][:len(end)], end)
                self.assertEqual(self.server.wait(20), 0 if end == "stopped" else 1)

    def test_refuses_a_line_that_it_cannot_place(self):
        for line in BAD_LINES:
            refused = subprocess.run([TLK, "serve", "--script", "/dev/stdin"], encoding="latin-1",
                                     input=f"limit 5\n{line}\n", capture_output=True)
            self.assertRegex(refused.stderr, "^tlk serve: /dev/stdin: line 2: ")
            self.assertEqual(refused.returncode, 1)


if __name__ == "__main__":
    unittest.main()
