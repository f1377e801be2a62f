#!/usr/bin/env python3
# serve.py TLK: what `tlk serve` answers and refuses, what it says of it, and how a script fails by what a
# client sends; and how it talks with a console.

import contextlib
import pathlib
import socket
import subprocess
import sys
import tempfile
import unittest

TLK = sys.argv.pop()


def stamped(text):
    return text.replace("0000000", f"{len(text):07}", 1)


def message(kind, data="", sender=-1, receiver=0):
    return stamped(f'<TLK_Message Length="0000000" xmlns="" Type="{kind}"><From Id="{sender}"/>'
                   f'<To Id="{receiver}"/>{data}</TLK_Message>')


# The rows of a table beside this file.
def rows(name):
    for line in pathlib.Path(__file__).with_name(name).read_text().splitlines():
        if not line.startswith("#"):
            yield line.replace(r"\r\n", "\r\n").split(" -> ")


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

    def test_relays_to_everybody_else_until_it_is_told_to_stop(self):
        self.start("--relay")
        first, second, third = (self.connect() for _ in range(3))
        self.expect_lines("client 1 connected", "client 2 connected", "client 3 connected")
        self.send(first, message("News", "<Data><a/></Data>") + message("Keep Connection Alive"))
        self.expect(second, message("News", "<Data><a/></Data>", 1, 2))
        self.expect(third, message("News", "<Data><a/></Data>", 1, 3))
        self.expect(first, message("Keep Connection Alive Response", "<Data/>", 0, 1))
        self.server.terminate()
        self.expect_lines("client 1 message", "client 1 message", "client 1 closed\n",
                          "client 2 closed\n", "client 3 closed\n", "stopped\n")
        self.expect(third, "")
        self.assertEqual(self.server.wait(20), 0)

    def test_refuses_bad_clients_and_serves_the_others(self):
        self.start("--max-length", "5000")
        good = self.connect()
        self.expect_lines("client 1 connected")
        half = message("Half", f"<Data>{'x' * 4895}</Data>")
        self.assertEqual(len(half), 5000)
        for number, (text, reason) in enumerate(rows("refused.txt"), 2):
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

    def test_says_why_a_script_fails(self):
        for script, text, end, *options in rows("scripts.txt"):
            with self.subTest(script, text=text), tempfile.NamedTemporaryFile("w") as file:
                file.write("\n ".join(["limit 1\nserver:", *script.split("; ")]))
                file.flush()
                self.start("--script", file.name, *options)
                with contextlib.suppress(OSError):  # It may be over before all is sent.
                    self.connect(stamped(text)).shutdown(socket.SHUT_WR)
                lines = self.server.stdout.read().splitlines()
                self.assertEqual(lines[-1][:len(end)], end)
                self.assertEqual(self.server.wait(20), 0 if end == "stopped" else 1)


if __name__ == "__main__":
    unittest.main()
