#!/usr/bin/env python3
# play.py NATIVE_BUILD WINDOWS_BUILD [COUNT [SEED]]: plays random sequences of commands with tlk message
# natively and under Wine, and compares.
#
# Wine must have been started. Sequences whose answers differ in a way that is not documented are printed;
# the status is 1 then. A program that crashes or takes too long differs, too.

import concurrent.futures
import contextlib
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile

import rules
import sequences

RUN_IN_WINE = pathlib.Path(__file__).parents[2] / "scripts/run-in-wine.sh"
BATCH = 500
SECONDS_PER_BATCH = 120
MOST_SHOWN = 10

MARK = 'parse "<m Type=\'sequence {0}\'/>"\ntype\n'
MARK_SEEN = re.compile(r'^parse loaded\ntype 0 "sequence \d+"\n', re.MULTILINE)


# What a program says to each sequence, as lines, and how it ended if that was too soon: then those
# behind it were not played.
def play(program, played):
    script = "".join(MARK.format(number) + text for number, text in enumerate(played))
    environment = dict(os.environ, TLK_CODE_PAGE="1252", LC_ALL="C")
    with tempfile.TemporaryFile() as commands, tempfile.TemporaryFile() as said:
        commands.write(script.encode("ascii"))
        commands.seek(0)
        with subprocess.Popen([*program, "message"], stdin=commands, stdout=said, env=environment,
                              stderr=subprocess.STDOUT, start_new_session=True) as process:
            try:
                status = process.wait(SECONDS_PER_BATCH)
            except subprocess.TimeoutExpired:
                status = "none, for lack of time"
            with contextlib.suppress(ProcessLookupError):
                os.killpg(process.pid, signal.SIGKILL)
        said.seek(0)
        output = said.read().decode("latin-1").replace("\r\n", "\n")
    before, *answers = [answer.splitlines() for answer in MARK_SEEN.split(output)]
    if not answers:
        sys.exit(f"{program[0]} does not work: status {status}\n{before}")
    if status != 0:
        answers[-1].append(f"ended with status {status}")
    return answers + [["not played"]] * (len(played) - len(answers))


# For each sequence the first lines that differ, or None.
def differences(programs, played):
    with concurrent.futures.ThreadPoolExecutor() as pool:
        native, windows = pool.map(lambda program: play(program, played), programs)
    return list(map(rules.first_difference, native, windows))


def main():
    native, windows = (pathlib.Path(build) / "tools/tlk" for build in sys.argv[1:3])
    count, seed = map(int, [*sys.argv[3:], *["1000", "1"][len(sys.argv) - 3:]])
    programs = [native / "tlk"], [RUN_IN_WINE, windows / "tlk.exe"]
    failed = 0
    for start in range(0, count, BATCH):
        numbers = range(start, min(start + BATCH, count))
        batch = [sequences.Sequence(seed, number).text for number in numbers]
        for number, text, difference in zip(numbers, batch, differences(programs, batch)):
            failed += difference is not None
            if difference is None or failed > MOST_SHOWN:
                continue
            print(f"\nSequence {number} of seed {seed}:", text, "natively:", difference[0],
                  "under Wine:", difference[1], sep="\n", flush=True)
    print(f"{count - failed} of {count} sequences of seed {seed} went under Wine as they do natively")
    return failed != 0


if __name__ == "__main__":
    sys.exit(main())
