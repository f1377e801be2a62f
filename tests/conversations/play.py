#!/usr/bin/env python3
# play.py [--windows] SERVER HOST FILE...: plays conversation files between a server and a host and checks
# what came of them.
#
# SERVER and HOST are commands for the shell, such as "tlk serve" and "tlk host". Each gets `--script FILE`
# and a temporary folder, so that the trace log in it is of this conversation alone; neither runs longer than
# twice the conversation's limit. Prints a line for each file, and below it what was not as the file says;
# the status is 1 then. Of a document, a file FILE.md, every block that is marked ```talk is a conversation.
# `--windows` says that the host is a Windows program: there the lines of text files
# end with two characters, and the DOM indents what it writes. Both are taken away before anything is
# compared.

import concurrent.futures
import os
import pathlib
import re
import socket
import subprocess
import sys
import tempfile

# What Wine takes a code page from.
LOCALES = {"CP932": "ja_JP.UTF-8"}

SHOWN_LENGTH = 400
STAMP = re.compile(r"^\d\d/\d\d/\d{4} \d\d:\d\d:\d\d\.\d{3}  \(\d+\) ", re.MULTILINE)
# A tag or the like, and the indentation behind it: in a record, and in the quotes of a line of output.
MARKUP = r"(<!--.*?-->|<!\[CDATA\[.*?\]\]>|<\?.*?\?>|<.*?>)"
INDENTED = re.compile(MARKUP + r"(?:\r\n\t*(?=<|\n|\Z))?", re.DOTALL)
INDENTED_IN_QUOTES = re.compile(MARKUP + r'(?:\\x0D\\x0A(?:\\x09)*(?=<|"))?')


# The settings and sections of a conversation. That it is one, the server sees to.
def read(file):
    parts = {"status": "0", "limit": "30", "code-page": "", "host-options": "",
             "output:": [], "log:": []}
    for line in file.read_text("latin-1").split("\n"):
        text = re.sub(r"\$FILL:(\d+)", lambda fill: "x" * int(fill[1]), line.strip(" \t\r"))
        if not text or text.startswith("#"):
            continue
        if line[0] in " \t":
            section.append(text)
        elif text.endswith(":"):
            section = parts[text] = []
        else:
            name, parts[name] = text.split(maxsplit=1)
    return parts


# What lines must fit. A `*` stands for any text, and a lone one for any number of lines.
def pattern(lines):
    return "".join("(?:.*\n)*" if line == "*" else ".*".join(map(re.escape, line.split("*"))) + "\n"
                   for line in lines)


def judge_output(expected, output):
    if re.fullmatch(pattern(expected), output):
        return
    for count, line in enumerate(expected, 1):
        if not re.match(pattern(expected[:count]), output):
            yield f"line {count} of the output is not there: {line}"
            return
    yield "there is more output than that"


# Each must be there behind the one before it; none that follows `absent ` may be there at all.
def judge_log(expected, records):
    left = iter(records)
    for line in expected:
        wanted = line.removeprefix("absent ")
        fits = re.compile(pattern([wanted])[:-1]).fullmatch
        if wanted != line and any(map(fits, records)):
            yield f"in the log, but should not be: {wanted}"
        if wanted == line and not any(map(fits, left)):
            yield f"not in the log, or not in its turn: {wanted}"


# The stamp of a message counts what is taken away.
def without_indentation(record):
    text = ""
    for piece in re.split('(?=<TLK_Message Length="[0-9]{7}")', record):
        kept = INDENTED.sub(r"\1", piece)
        lost = len(piece) - len(kept)
        text += re.sub(r'(?<=^<TLK_Message Length=")\d+', lambda stamp: f"{int(stamp[0]) - lost:07}", kept)
    return text


# A record as a conversation has it: a line break is `\n`, and what cannot be printed `\xHH`.
def shown(record):
    return re.sub(r"[^ -~]", lambda c: "\\n" if c[0] == "\n" else f"\\x{ord(c[0]):02X}", record)


# What was not as the file says, and what the two programs wrote, by titles.
def play(file, server, host, is_windows):
    said = read(file)
    with tempfile.TemporaryDirectory() as name, socket.socket() as closed:
        closed.bind(("127.0.0.1", 0))  # Nobody listens there, and nobody can while this stands.
        folder = pathlib.Path(name)
        environment = dict(os.environ, TMPDIR=name)
        if page := said["code-page"]:
            environment |= {"TLK_CODE_PAGE": page, "LC_ALL": LOCALES[page]}

        def start(command, script):
            command = f"exec timeout -k 1 {2 * int(said['limit'])} {command} --script '{script}'"
            with open(folder / "errors", "a") as errors:
                return subprocess.Popen(command, shell=True, env=environment, stderr=errors,
                                        stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)

        def text_of(written):
            return written.decode("latin-1").replace("\r\n" if is_windows else "\n", "\n")

        with start(server + " --indented" * is_windows, file) as serving:
            served = text_of(serving.stdout.readline())
            ports = {"$PORT": served.strip().rpartition(":")[2],
                     "$CLOSED_PORT": str(closed.getsockname()[1])}
            for section in ("host:", "output:", "log:"):
                for variable, port in ports.items():
                    said[section] = [line.replace(variable, port) for line in said[section]]
            (folder / "host.txt").write_text("\n".join(said["host:"]) + "\n", "latin-1")
            with start(f"{host} {said['host-options']}", folder / "host.txt") as hosting:
                output = text_of(hosting.stdout.read())
            served += text_of(serving.stdout.read())
        log = folder / "TLK_Client.log"
        records = STAMP.split(text_of(log.read_bytes() if log.exists() else b""))
        errors = (folder / "errors").read_text("latin-1")
    if is_windows:
        output = INDENTED_IN_QUOTES.sub(r"\1", output)
        records = map(without_indentation, records)
    records = [shown(record.removesuffix("\n")) for record in records if record]
    faults = [*judge_output(said["output:"], output), *judge_log(said["log:"], records)]
    if hosting.returncode != int(said["status"]):
        faults.append(f"the host ended with status {hosting.returncode}")
    if serving.returncode != 0:  # Then the rest tells nothing more.
        faults = [f"the server ended with status {serving.returncode}"]
    return faults, {"output of the server": served, "output of the host": output,
                    "standard error of both": errors, "trace log": "\n".join(records)}


# The conversations in a file, each in one of its own in a folder unless it is all there is.
def conversations(name, folder):
    if not name.endswith(".md"):
        return [name]
    blocks = re.findall(r"^```talk\n(.*?)^```$", pathlib.Path(name).read_text("latin-1"), re.M | re.S)
    files = [pathlib.Path(folder, f"{pathlib.Path(name).stem}-{n}.talk") for n in range(1, len(blocks) + 1)]
    for file, block in zip(files, blocks):
        file.write_text(block, "latin-1")
    if not files:
        sys.exit(f"{name} has no conversations")
    return files


def main():
    is_windows = sys.argv[1] == "--windows"
    server, host, *files = sys.argv[1 + is_windows:]
    failed = 0
    with tempfile.TemporaryDirectory() as folder, concurrent.futures.ThreadPoolExecutor(4) as pool:
        files = [file for name in files for file in conversations(name, folder)]
        plays = pool.map(lambda file: play(pathlib.Path(file), server, host, is_windows), files)
        for file, (faults, written) in zip(files, plays):
            if not faults:
                print("ok", file, flush=True)
                continue
            failed += 1
            print(f"FAILED {file}", *faults, sep="\n  ")
            for title, text in written.items():
                print(f"--- {title}", *(line[:SHOWN_LENGTH] for line in text.splitlines()), sep="\n  ")
    print(f"{len(files) - failed} of {len(files)} conversations went as they should")
    return failed > 0


if __name__ == "__main__":
    sys.exit(main())
