#!/usr/bin/env python3
# serve.py TLK: what `tlk serve` answers and refuses, what it says of it, and how a script fails by what a
# client sends; and how it talks with a console. TLK may be several words, the last one a program for Windows.

import contextlib
import json
import pathlib
import re
import socket
import subprocess
import sys
import tempfile
import unittest

TLK = sys.argv[1:]
del sys.argv[1:]
WINDOWS = TLK[-1].endswith(".exe")
natively = unittest.skipIf(WINDOWS, "Wine lets no signal through, and a host needs a module")


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
        # Wine breaks down now and then when a server is ended that waits for a client.
        if WINDOWS and "--script" not in options:
            options = [*options, "--for", "6"]
        self.server = subprocess.Popen([*TLK, "serve", *options], encoding="latin-1",
                                       stdout=subprocess.PIPE)
        self.addCleanup(self.server.communicate)
        if not WINDOWS:
            self.addCleanup(self.server.terminate)
        self.port = int(self.server.stdout.readline().removeprefix("listening 127.0.0.1:"))

    @contextlib.contextmanager
    def file(self, text):
        with tempfile.NamedTemporaryFile("w", encoding="latin-1", newline="") as file:
            file.write(text)
            file.flush()
            yield file.name

    # Its calls give up after a while.
    def connect(self, text=""):
        client = socket.create_connection(("127.0.0.1", self.port), 20)
        self.addCleanup(client.close)
        self.send(client, text)
        return client

    def send(self, client, text):
        client.sendall(text.encode("latin-1"))

    # An empty answer is the end of the stream.
    def expect(self, client, answer):
        got = b""
        while piece := client.recv(max(len(answer), 1) - len(got)):
            got += piece
            if len(got) >= len(answer):
                break
        self.assertEqual(got.decode("latin-1"), answer)

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
        self.expect_lines("client 1 message", "client 1 message")

    @natively
    def test_stops_when_it_is_told_to(self):
        self.start()
        client = self.connect()
        self.expect_lines("client 1 connected\n")
        self.server.terminate()
        self.expect_lines("client 1 closed\n", "stopped\n")
        self.expect(client, "")
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
        self.expect(self.connect(message("Hello")), message("Hello", "<Data/>", 0, 2))

    # What is sent is in the shape that a client is used to, however it came.
    def test_puts_what_it_passes_on_in_order(self):
        self.start()
        rest = '<Data>\r\n\t<a>&#8364;</a>\r\n</Data>\r\n<b xmlns:p="u"/>\r\n'
        said = stamped(f"<TLK_Message Length=\"0000000\" p:x='\"' xmlns:p=\"urn\" Type='a\">b'>\r\n\t"
                       f"<To Id='0'>x</To><From Id='-1'/>{rest}</TLK_Message>\r\n")
        expected = stamped("<TLK_Message Length=\"0000000\" xmlns=\"\" Type='a\">b' p:x='\"' xmlns:p=\"urn\">"
                           '<From Id="0"/><To Id="1"/><Data><a>&#8364;</a></Data><b xmlns:p="u"/></TLK_Message>')
        self.expect(self.connect(said), expected)

    # Nobody but those who leave most is refused.
    def test_holds_little_for_all_clients_together(self):
        self.start("--relay", "--max-memory", "3000000")
        reader, *others = (self.connect() for _ in range(4))
        self.expect_lines(*(f"client {n} connected" for n in range(1, 5)))
        for client, count in zip(others, (500000, 2500000)):
            self.send(client, f'<TLK_Message Length="9999999" {"x" * count}')
        self.expect_lines("client 3 refused: does not finish: ")
        self.send(others[2], message("Hello"))
        self.expect(reader, message("Hello", "<Data/>", 4, 1))

    def test_refuses_the_slowest_reader_first(self):
        self.start("--relay", "--max-memory", "3000000")
        reader, deaf, sender = (self.connect() for _ in range(3))
        self.expect_lines(*(f"client {n} connected" for n in range(1, 4)))
        flood = message("Flood", f"<Data>{'x' * 400000}</Data>")
        deaf.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
        line = "client 3 message"
        while line.startswith("client 3 message"):
            self.send(sender, flood)
            self.expect(reader, message("Flood", f"<Data>{'x' * 400000}</Data>", 3, 1))
            line = self.server.stdout.readline()
        self.assertRegex(line, "client 2 refused: does not read: [1-9][0-9]+ bytes wait; all clients together")

    def test_answers_by_type_and_shows_what_it_says(self):
        with self.file('on Q message A <a/>\non Q message B "<b>caf\xe9</b>"\non N nothing\non * message E\n') as name:
            self.start("--answer", name, "--show", "--clients", "1")
            client = self.connect(message("Q", "<Data><q>\x9b1m</q></Data>") + message("N") + message("X"))
            self.expect(client, message("A", "<Data><a/></Data>", 0, 1) +
                        message("B", "<Data><b>caf\xe9</b></Data>", 0, 1) + message("E", "<Data/>", 0, 1))
            client.close()
            shown = re.sub(r"\d\d:\d\d:\d\d\.\d{3}", "TIME", self.server.stdout.read())
        self.assertIn("TIME client 1 > type=\"Q\" from=-1 to=0 bytes=112\n  <q>\u203a1m</q>\n"
                      "TIME client 1 < type=\"A\" from=0 to=1 bytes=105\n  <a/>\n"
                      "TIME client 1 < type=\"B\" from=0 to=1 bytes=112\n  <b>caf\xe9</b>\n"
                      "client 1 message type=\"N\" bytes=89\n", shown.encode("latin-1").decode())

    def test_answers_as_the_document_says(self):
        page = pathlib.Path(__file__).parents[2].joinpath("docs/conversations.md").read_text()
        answers, table = re.search(r"```answers\n(.*?)```.*\| sent \| answered \|\n\|[-|]*\n(.*)", page, re.S).groups()
        with self.file(answers) as name:
            self.start("--answer", name)
            client = self.connect()
            alive = message("Keep Connection Alive Response", "<Data/>", 0, 1)
            for row in table.splitlines():
                asked, *said = re.findall("`(.*?)`", row)
                self.send(client, message(asked))
                replies = [message(*pair, 0, 1) for pair in zip(said[::2], said[1::2])]
                self.send(client, message("Keep Connection Alive"))
                self.expect(client, "".join([*replies, alive]))
            self.assertEqual(len(table.splitlines()), 4)

    def test_says_what_is_wrong_with_a_file(self):
        for option, text, error in rows("wrong-files.txt"):
            with self.subTest(text), self.file(text.encode("latin-1").decode("unicode_escape")) as name:
                run = subprocess.run([*TLK, "serve", option, name], capture_output=True, encoding="latin-1")
                place = f"tlk serve: {'cannot read ' * ('line' not in error)}{name}: {error}"
                self.assertEqual((run.stderr[:len(place)], run.stdout, run.returncode), (place, "", 1))

    def test_warns_who_is_not_this_machine_s_alone(self):
        for address, listens, warning in (("0.0.0.0", "listening 0.0.0.0:", "warning: other machines can connect"),
                                          ("127.0.0.2", "listening 127.0.0.2:", "")):
            run = subprocess.run([*TLK, "serve", "--bind", address, "--for", "1"], capture_output=True, text=True)
            self.assertEqual((run.stdout[:len(listens)], run.returncode), (listens, 0))
            self.assertIn(warning, run.stderr) if warning else self.assertEqual(run.stderr, "")

    @natively
    # While its input is open and still.
    def test_a_console_hears_of_a_message_and_ends(self):
        self.start()
        console = subprocess.Popen([*TLK, "host", "--quiet"], encoding="latin-1",
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.addCleanup(console.communicate)
        console.stdin.write("on message quit\r\n"
                            f"connect 127.0.0.1 {self.port}\nsend Hello <a/>\n")
        console.stdin.flush()
        self.assertEqual(console.wait(20), 0)
        self.assertEqual(console.stdout.readlines()[2:], [
            "send hr=0x00000000\n",
            'event TlkMsgRecieved type="Hello" data="<Data><a/></Data>"\n'])

    def test_serves_many_clients_at_once(self):
        self.start("--clients", "300")
        run = subprocess.run([*TLK, "load", "--to", "127.0.0.1", str(self.port), "--clients", "300",
                              "--rate", "600", "--for", "1", "--json"], stdout=subprocess.PIPE)
        result = json.loads(run.stdout)
        self.assertEqual(result["connections"], {"asked": 300, "made": 300, "failed": 0, "lost": 0})
        self.assertEqual(result["messages"]["unanswered"], 0)
        sent = result["messages"]["sent"]
        self.assertEqual(result["messages"]["received"], sent)
        lines = self.server.stdout.readlines()
        self.assertEqual(sum('message type="Load" bytes=200' in line for line in lines), sent)

    def test_says_why_a_script_fails(self):
        for script, text, end, *options in rows("scripts.txt"):
            script = "\n ".join(["limit 1\nserver:", *script.split("; ")])
            with self.subTest(script, text=text), self.file(script) as name:
                self.start("--script", name, *options)
                with contextlib.suppress(OSError):  # It may be over before all is sent.
                    self.connect(stamped(text)).shutdown(socket.SHUT_WR)
                lines = self.server.stdout.read().splitlines()
                self.assertEqual(lines[-1][:len(end)], end)
                self.assertEqual(self.server.wait(20), 0 if end == "stopped" else 1)


if __name__ == "__main__":
    unittest.main()
