#!/usr/bin/env python3
# console.py COMMAND...: how `tlk host`, started by the command, goes with somebody at a terminal, whose
# keys this script presses and whose screen it keeps; and what it takes from a pipe.

import codecs
import fcntl
import os
import re
import select
import signal
import socket
import struct
import subprocess
import sys
import termios
import time
import unittest

COMMAND = sys.argv[1:]
del sys.argv[1:]
IS_NATIVE = not any(".exe" in word for word in COMMAND)
ROWS, COLUMNS = 24, 80


# What a terminal of that size shows of what it is sent.
class Screen:
    def __init__(self):
        self.lines = [" " * COLUMNS] * ROWS
        self.row = self.column = 0
        self.unread = ""

    def write(self, text):
        self.unread += text
        while found := re.match(r"\x1b\[(\??[\d;]*)([A-Za-z@])|\x1b\].*?\x07|\x1b[=>]|[^\x1b]", self.unread):
            self.unread = self.unread[found.end():]
            if found[2]:
                self.obey(found[2], found[1])
            elif len(found[0]) == 1:
                self.put(found[0])

    def put(self, character):
        if character == "\r":
            self.column = 0
        elif character == "\b":
            self.column = max(self.column - 1, 0)
        elif character == "\n":
            self.feed_line()
        elif character != "\x07":
            assert character.isprintable(), repr(character)
            if self.column == COLUMNS:  # A full line goes on in the next only with what follows.
                self.feed_line()
                self.column = 0
            self.change(self.row, self.column, self.column + 1, character)
            self.column += 1

    def feed_line(self):
        self.row += 1
        if self.row == ROWS:
            self.row -= 1
            self.lines = self.lines[1:] + [" " * COLUMNS]

    def change(self, row, begin, end, text):
        line = self.lines[row]
        self.lines[row] = (line[:begin] + text.ljust(end - begin) + line[end:])[:COLUMNS]

    def obey(self, command, numbers):
        first, *others = [int(number or 0) for number in numbers.lstrip("?").split(";")]
        count = max(first, 1)
        if command in "ABCDGH":
            self.column = min(self.column, COLUMNS - 1)
        if command in "AB":
            self.row = min(max(self.row + (count if command == "B" else -count), 0), ROWS - 1)
        elif command in "CD":
            self.column = min(max(self.column + (count if command == "C" else -count), 0), COLUMNS - 1)
        elif command == "G":
            self.column = count - 1
        elif command == "H":
            self.row, self.column = count - 1, max(others[0] if others else 1, 1) - 1
        elif command in "KJ":
            self.change(self.row, 0 if first == 2 else self.column, COLUMNS, "")
            for row in range(0 if first == 2 else self.row + 1, ROWS if command == "J" else 0):
                self.change(row, 0, COLUMNS, "")
        elif command == "P":
            line = self.lines[self.row]
            self.lines[self.row] = (line[:self.column] + line[self.column + count:]).ljust(COLUMNS)
        elif command == "@":
            line = self.lines[self.row]
            self.lines[self.row] = (line[:self.column] + " " * count + line[self.column:])[:COLUMNS]
        else:
            assert command in "hlm", command

    def text(self):
        return "\n".join(line.rstrip() for line in self.lines).rstrip("\n")


class Terminal(unittest.TestCase):
    def start(self, *options):
        self.terminal, self.line = os.openpty()
        self.addCleanup(os.close, self.terminal)
        self.addCleanup(os.close, self.line)
        fcntl.ioctl(self.line, termios.TIOCSWINSZ, struct.pack("4H", ROWS, COLUMNS, 0, 0))
        self.before = termios.tcgetattr(self.line)
        self.program = subprocess.Popen(
            [*COMMAND, *options], stdin=self.line, stdout=self.line, stderr=self.line,
            env={**os.environ, "LC_ALL": "C.UTF-8", "TERM": "xterm"}, start_new_session=True,
            preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0))
        self.addCleanup(self.program.wait)
        self.addCleanup(self.program.kill)
        self.screen = Screen()
        self.decoder = codecs.getincrementaldecoder("utf-8")()
        self.expect(r"(^|\n)>$")
        # Wine takes the keys over when a program asks for the first, a little behind its prompt.
        until = time.time() + 40
        while termios.tcgetattr(self.line)[3] & termios.ECHO:
            self.assertLess(time.time(), until, "the terminal still echoes")
            time.sleep(0.01)

    def read(self):
        self.screen.write(self.decoder.decode(os.read(self.terminal, 65536)))

    # Until the screen shows that.
    def expect(self, pattern):
        until = time.time() + 40
        while not re.search(pattern, self.screen.text()):
            left = max(until - time.time(), 0)
            self.assertTrue(select.select([self.terminal], [], [], left)[0],
                            f"{pattern} is not on the screen:\n{self.screen.text()}")
            self.read()

    def type(self, text):
        unsent = text.encode()
        while unsent:
            readable, writable, _ = select.select([self.terminal], [self.terminal], [], 20)
            self.assertTrue(readable or writable)
            if readable:
                self.read()
            if writable:
                unsent = unsent[os.write(self.terminal, unsent[:256]):]

    def expect_end(self, status):
        self.assertEqual(self.program.wait(40), status)
        if IS_NATIVE:  # Else it is Wine's terminal, and so is its state.
            self.assertEqual(termios.tcgetattr(self.line), self.before)

    # What it was told on `connect` comes with `tell`.
    def connect(self):
        with socket.create_server(("127.0.0.1", 0)) as server:
            server.settimeout(20)
            self.type(f"connect 127.0.0.1 {server.getsockname()[1]}\r")
            self.peer = server.accept()[0]
        self.addCleanup(self.peer.close)
        self.expect("pVal=1\n(.*\n)*>$")

    def tell(self, kind):
        text = (f'<TLK_Message Length="0000000" xmlns="" Type="{kind}"><From Id="0"/><To Id="1"/>'
                "</TLK_Message>")
        self.peer.sendall(text.replace("0000000", f"{len(text):07}").encode("latin-1"))

    def test_edits_completes_and_calls_back_lines(self):
        self.start("--quiet")
        self.type("sta\t\r")
        self.expect("status\nstatus hr=0x00000000 value=0\n>$")
        self.type("help wai\t\r")
        self.expect("> help wait\n  wait EVENT MS +deliver .*\n.*\n>$")
        self.type("wait \t\t")
        self.expect("\nstatus  message\n> wait$")
        self.type("m\tx7\x1b[D\x7f\r")
        self.expect("\n> wait message 7\nwait timeout\n>$")
        self.type("\x1b[A\x1b[A\x1b[A\r")
        self.expect("timeout\n> status\nstatus hr=0x00000000 value=0\n>$")
        self.type("\x04")
        self.expect_end(0)

    def test_shows_events_and_log_lines_above_the_line_being_typed(self):
        self.start()
        self.connect()
        self.type("send Hal" + "f" * 83)
        self.expect("\n> send Half{70}\nf{13}$")
        self.tell("Caf\xe9\x811m")
        self.expect('\nevent TlkMsgRecieved type="Café\\\\x811m" data=""\n(.*\n)*> send Half{70}\nf{13}$')
        self.expect("Message Recieved. Café\\\\x811m\n(.*\n)*> send Half{70}\nf{13}$")
        self.assertEqual(self.screen.text().count("send Half"), 1)
        self.type("\x7f" * 83 + "\r")
        self.expect("\n> send Hal\n(.*\n)*send hr=0x00000000\n(.*\n)*>$")
        self.type("on message quit\r")
        self.expect("> on message quit\n(.*\n)*>$")
        self.type("half a li")
        self.tell("End")
        self.expect_end(0)

    def test_takes_and_shows_text_in_the_encoding_of_the_terminal(self):
        self.start("--quiet")
        self.type("caf\xe9\r")
        self.expect('> café\nerror: unknown command "café"\n>$')
        self.type("send \u2603\r")
        self.expect("> send \u2603\nerror: the code page has no \u2603\n>$")
        self.type("exit\r")
        self.expect_end(1)

    def test_keeps_escapes_when_told_to(self):
        self.start("--quiet", "--escapes")
        self.type("caf\xe9\r")
        self.expect(r'> café\nerror: unknown command "caf\\xE9"\n>$')

    def test_takes_lines_of_any_length(self):
        self.start("--quiet")
        self.type("send " + "x" * 20000 + " <a/> end\r")
        self.expect(r"x <a/> end\nerror: wrong number of words: send TYPE \[DATA\]\n>$")

    @unittest.skipUnless(IS_NATIVE, "Windows has no such signals")
    def test_restores_the_terminal_before_a_signal_ends_it(self):
        for end in signal.SIGTERM, signal.SIGHUP, signal.SIGINT:
            self.start("--quiet")
            self.type("pump 60000\r")
            self.expect("> pump 60000$")
            self.program.send_signal(end)
            self.expect_end(-end)


class Pipe(unittest.TestCase):
    def run_lines(self, lines, *options):
        done = subprocess.run([*COMMAND, "--quiet", *options], input=lines, capture_output=True,
                              timeout=60)
        return done.returncode, done.stdout.decode(), [
            line for line in done.stderr.decode().splitlines() if line.startswith("tlk host: ")]

    def test_ends_where_a_command_fails_when_told_to(self):
        with socket.create_server(("127.0.0.1", 0)) as server:
            refused = f"connect 127.0.0.1 {server.getsockname()[1]}"
        for lines, line, why in (
                (f"# first\n\n{refused}", 3, "connect failed"),
                ("status\nwait message 1", 2, "wait ran out"),
                ('request Time "" 1', 1, "request without a reply")):
            with self.subTest(why):
                status, printed, error = self.run_lines(f"{lines}\nnew\n".encode(), "--fail")
                self.assertEqual((status, error), (3, [f"tlk host: line {line}: {why}"]))
                self.assertNotIn("new", printed)
                self.assertEqual(self.run_lines(f"{lines}\nnew\n".encode())[::2], (0, []))

    def test_takes_a_byte_order_mark_for_no_command(self):
        status = "status hr=0x00000000 value=0\n"
        self.assertEqual(self.run_lines(b"\xef\xbb\xbfstatus\nexit\nnew\n"), (0, status, []))
        self.assertEqual(self.run_lines("\ufeffstatus\n".encode("utf-16-le")), (
            1, "error: the input is UTF-16: save it in the system's code page, or as UTF-8\n", []))

    def test_keeps_the_bytes_of_a_pipe(self):
        self.assertEqual(self.run_lines(b"caf\xe9\n"), (1, 'error: unknown command "caf\\xE9"\n', []))


if __name__ == "__main__":
    unittest.main()
