#!/usr/bin/env python3
"""Plays random sequences of commands with tlk message natively and under Wine, and compares.

usage: play.py NATIVE_BUILD WINDOWS_BUILD [COUNT [SEED]]

Wine must have been started. What differs and is not documented is printed, each with the fewest
commands that show it; the status is 1 then. A program that crashes or takes too long differs, too.
"""

import concurrent.futures
import contextlib
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import time

import rules
import sequences

RUN_IN_WINE = pathlib.Path(__file__).parents[2] / "scripts/run-in-wine.sh"
BATCH = 500
SECONDS_PER_BATCH = 120
SECONDS_TO_SHORTEN = 60
MOST_SHOWN = 10

MARK = 'parse "<m Type=\'sequence {0}\'/>"\ntype\n'
MARK_SEEN = re.compile(r'^parse loaded\ntype 0 "sequence \d+"\n', re.MULTILINE)

# What may be left out of a sequence: a command, an element with no other in it, an attribute, a text.
PARTS = [re.compile(part, re.MULTILINE) for part in (
    r"^.*\n", r"<([^\s<>/]+)[^<>]*>[^<\n]*</\1>|<[^<>]*/>", r" [^\s<>=]+=(\\\".*?\\\"|'.*?')",
    r"(?<=>)[^<\n]+(?=<)", r"<!\[CDATA\[.*?\]\]>|<!--.*?-->|<\?.*?\?>")]


class Player:
    """Plays sequences with one program, many in a process."""

    def __init__(self, *program):
        self.program = [*program, "message"]

    def play(self, played):
        """What the program says to each sequence, as lines, and how it ended if that was too soon."""
        until = time.monotonic() + SECONDS_PER_BATCH
        answers = []
        while len(answers) < len(played) and time.monotonic() < until:
            answers += self.run(played[len(answers):], until)
        return answers + [["not played for lack of time"]] * (len(played) - len(answers))

    def run(self, played, until):
        """The same for as many as the program gets through."""
        script = "".join(MARK.format(number) + text for number, text in enumerate(played))
        environment = dict(os.environ, TLK_CODE_PAGE="1252", LC_ALL="C")
        with tempfile.TemporaryFile() as commands, tempfile.TemporaryFile() as said:
            commands.write(script.encode("ascii"))
            commands.seek(0)
            with subprocess.Popen(self.program, stdin=commands, stdout=said, env=environment,
                                  stderr=subprocess.STDOUT, start_new_session=True) as process:
                try:
                    status = process.wait(max(1, until - time.monotonic()))
                except subprocess.TimeoutExpired:
                    status = "none, for lack of time"
                finally:
                    with contextlib.suppress(ProcessLookupError):
                        os.killpg(process.pid, signal.SIGKILL)
            said.seek(0)
            output = said.read().decode("latin-1").replace("\r\n", "\n")
        before, *answers = MARK_SEEN.split(output)
        if not answers:
            sys.exit(f"{self.program[0]} does not work: status {status}\n{before}")
        answers = [answer.splitlines() for answer in answers]
        if status != 0 or len(answers) < len(played):
            answers[-1].append(f"ended with status {status}")
        return answers


def differences(players, played):
    """For each sequence the first lines that differ, or None."""
    with concurrent.futures.ThreadPoolExecutor() as pool:
        native, windows = pool.map(lambda player: player.play(played), players)
    return list(map(rules.first_difference, native, windows))


def kind(difference):
    """What is said by each, without the texts."""
    return [line.split('"')[0] for line in difference or ()]


def without(text, cuts):
    kept, behind = "", 0
    for start, end in sorted(cuts):
        kept += text[behind:start]
        behind = max(behind, end)
    return kept + text[behind:]


def shortest(players, text, difference):
    """Leaves out what is not needed for a difference, the most at once that will do."""
    until = time.monotonic() + SECONDS_TO_SHORTEN
    while time.monotonic() < until:
        cuts = [found.span() for part in PARTS for found in part.finditer(text)]
        found = differences(players, [without(text, [cut]) for cut in cuts])
        needless = [cut for cut, one in zip(cuts, found) if kind(one) == kind(difference)]
        counts = sorted({len(needless) >> halvings for halvings in range(12)} - {0}, reverse=True)
        shorter = [without(text, needless[:count]) for count in counts]
        found = [pair for pair in zip(shorter, differences(players, shorter))
                 if kind(pair[1]) == kind(difference)]
        if not found:
            break
        text, difference = found[0]
    return text, difference


def main():
    native, windows = (pathlib.Path(build) / "tools/tlk" for build in sys.argv[1:3])
    count = int(sys.argv[3]) if len(sys.argv) > 3 else 1000
    seed = int(sys.argv[4]) if len(sys.argv) > 4 else 1
    players = [Player(native / "tlk"), Player(RUN_IN_WINE, windows / "tlk.exe")]
    failed = 0
    for start in range(0, count, BATCH):
        numbers = range(start, min(start + BATCH, count))
        batch = [sequences.Sequence(seed, number).text for number in numbers]
        for number, text, difference in zip(numbers, batch, differences(players, batch)):
            failed += difference is not None
            if difference is None or failed > MOST_SHOWN:
                continue
            text, lines = shortest(players, text, difference)
            print(f"\nSequence {number} of seed {seed}, shortened:", text, "natively:", lines[0],
                  "under Wine:", lines[1], sep="\n", flush=True)
    print(f"{count - failed} of {count} sequences of seed {seed} went under Wine as they do natively")
    return failed != 0


if __name__ == "__main__":
    sys.exit(main())
