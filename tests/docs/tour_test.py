"""Types what the tours of docs/ tell to type, and compares what comes with what they show.

    tour_test.py FILE           fails at the first difference
    tour_test.py --write FILE   puts what came into the document instead

What is typed stands in blocks that begin with ```console, behind "$ "; a line that ends with a
backslash goes on in the next one. A block ```console second is typed in a second terminal, whose
commands may wait: an empty line there is the Enter key. A line of dots stands for any lines, and a
time, a process or a row version for any other; blanks count as one. TARNWICK and TARNWICK_SERVER name the programs, TARNWICK_SAMPLES a folder, SERVER a program that
tells where a database server listens and serves until its input ends."""

import getpass
import os
import pathlib
import re
import select
import shutil
import socket
import subprocess
import sys
import tempfile
import time

PATIENCE = 60
SERVER_IN_DOCUMENT = ("Provider=MSOLEDBSQL;Data Source=db.example.org;Integrated Security=SSPI")
ANY_LINES = "..."


class Terminal:
    """A shell whose commands share its input, as on a terminal."""

    def __init__(self, folder, environment):
        self.output, output = os.pipe()
        self.shell = subprocess.Popen(["bash", "--norc", "--noprofile"], stdin=subprocess.PIPE,
                                      stdout=output, stderr=output, cwd=folder, env=environment,
                                      start_new_session=True)
        os.close(output)
        self.unread = b""

    def send(self, text):
        self.shell.stdin.write(text.encode())
        self.shell.stdin.flush()

    def read_until(self, finished, patience=PATIENCE):
        """What was said, once `finished` finds it complete."""
        end = time.monotonic() + patience
        while not finished(self.unread):
            ready, _, _ = select.select([self.output], [], [], max(0, end - time.monotonic()))
            some = os.read(self.output, 65536) if ready else b""
            if not some:
                break
            self.unread += some
        said, self.unread = self.unread, b""
        return said.decode()

    def run(self, command):
        """What the command said, and its exit code."""
        self.send(f"{command}\nprintf '\\0%d\\0' $?\n")
        said, code, _ = (self.read_until(lambda said: said.count(b"\0") == 2) + "\0\0").split("\0", 2)
        return said, int(code or -1)

    def close(self):
        self.shell.stdin.close()
        self.shell.wait(PATIENCE)
        os.close(self.output)


class Block:
    """One block of a document: the commands, each with the lines that it says."""

    def __init__(self, second, lines):
        self.second = second
        self.steps = []
        typing = False
        for line in lines:
            if typing:
                self.steps[-1][0] += "\n" + line
            elif line.startswith("$ "):
                self.steps.append([line[2:], []])
            elif not self.steps:
                if line:
                    raise ValueError(f"nothing is typed before '{line}'")
                self.steps.append(["", []])  # the Enter key
            else:
                self.steps[-1][1].append(line)
            typing = (typing or line.startswith("$ ")) and line.endswith("\\")

    def lines(self):
        for typed, said in self.steps:
            yield from (f"$ {typed}" if typed else "").split("\n")
            yield from said


def blocks_of(text):
    """The document in pieces: texts, and Blocks."""
    pieces = re.split(r"^```console( second)?\n(.*?)^```$", text, flags=re.MULTILINE | re.DOTALL)
    for i in range(0, len(pieces) - 1, 3):
        yield pieces[i]
        yield Block(bool(pieces[i + 1]), pieces[i + 2].split("\n")[:-1])
    yield pieces[-1]


# What is different each time.
VARIABLE = re.compile(r"""
      \d{4}-\d\d-\d\d(?:[ ]\d\d:\d\d(?::\d\d)?)?
    | \d{1,2}/\d{1,2}/\d{4}[ ]\d{1,2}:\d\d:\d\d[ ][AP]M
    | \d+[ ]s[ ]\d+               # how long a row has been held, and the process
    | process[ ]\d+
    | \b[0-9A-F]{16}\b            # a row version
    """, re.VERBOSE)


def pattern_of(lines):
    """What matches what these lines stand for."""
    patterns = []
    for line in lines:
        if line == ANY_LINES:
            patterns.append(r"(?:.*\n)*?")
            continue
        words = " ".join(line.split())
        pattern, at = "", 0
        for found in VARIABLE.finditer(words):
            pattern += re.escape(words[at:found.start()])
            pattern += re.sub(r"[0-9A-F]+", "[0-9A-FPM]+", found.group()).replace(" ", r"\ ")
            at = found.end()
        pattern += re.escape(words[at:])
        patterns.append(r"[ \t]*" + pattern.replace(r"\ ", r"[ \t]+") + r"[ \t]*\n")
    return re.compile("".join(patterns))


class Tour:
    """A document with the two terminals of the person who follows it."""

    def __init__(self, folder, environment, server):
        self.first = Terminal(folder, environment)
        self.second = Terminal(folder, environment)
        # What is this machine's, and how the document calls it.
        self.names = [(re.escape(str(folder)), "/home/jensen"),
                      (rf"\b{re.escape(socket.gethostname())}\b", "velmar-admin"),
                      (rf"\b{re.escape(getpass.getuser())}$", "jensen")]
        self.server = server

    def as_told(self, said):
        said = said.replace("\r\n", "\n")
        for real, told in self.names:
            said = re.sub(real, told, said, flags=re.MULTILINE)
        return said

    def take(self, block, write):
        for step in block.steps:
            typed, told = step
            command = typed.replace(SERVER_IN_DOCUMENT, self.server or SERVER_IN_DOCUMENT)
            pattern = pattern_of(told)
            code = 0
            if block.second:
                self.second.send(command + "\n")
                # Nobody knows when what is not told yet is complete.
                said = self.second.read_until(
                    lambda said: not write and pattern.fullmatch(self.as_told(said.decode())),
                    5 if write else PATIENCE)
            else:
                said, code = self.first.run(command)
            said = self.as_told(said)
            if not pattern.fullmatch(said):
                if not write:
                    raise AssertionError(f"{typed}\nsays\n{said}\nand not\n" + "\n".join(told))
                step[1] = [line.rstrip() for line in said.rstrip("\n").split("\n")] if said else []
            if code != 0 and "tarnwick: " not in said and not said.startswith("Nothing"):
                raise AssertionError(f"{typed}\nends with {code} and says\n{said}")

    def close(self):
        self.first.close()
        self.second.close()


def follow(document, write):
    text = document.read_text(encoding="utf-8")
    server = None
    if SERVER_IN_DOCUMENT in text:
        server = subprocess.Popen([os.environ["SERVER"]], stdin=subprocess.PIPE,
                                  stdout=subprocess.PIPE, text=True)
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        programs = folder / "bin"
        programs.mkdir()
        for variable in ("TARNWICK", "TARNWICK_SERVER"):
            program = pathlib.Path(os.environ[variable])
            (programs / program.name).symlink_to(program)
        shutil.copytree(os.environ["TARNWICK_SAMPLES"], folder / "samples")
        environment = {key: value for key, value in os.environ.items()
                       if not key.startswith(("TARNWICK", "DBUS", "XDG", "DISPLAY"))}
        environment.update(HOME=str(folder), PATH=f"{programs}:{environment['PATH']}",
                           LC_ALL="C.UTF-8", PS1="")
        if server:
            environment["ODBCSYSINI"] = str(folder / "bin")
            environment["ODBCINI"] = "/dev/null"
            (folder / "bin" / "odbcinst.ini").write_text("[FreeTDS]\nDriver=libtdsodbc.so\n")
        tour = Tour(folder, environment, server and server.stdout.readline().rstrip("\n"))
        pieces = list(blocks_of(text))
        commands = 0
        try:
            for block in pieces:
                if isinstance(block, Block):
                    tour.take(block, write)
                    commands += len(block.steps)
        finally:
            tour.close()
            if server:
                server.stdin.close()
                server.wait(PATIENCE)
    if commands == 0:
        raise AssertionError("the document tells nothing to type")
    if write:
        document.write_text("".join(
            piece if isinstance(piece, str)
            else "```console" + (" second" if piece.second else "") + "\n"
            + "".join(f"{line}\n" for line in piece.lines()) + "```"
            for piece in pieces), encoding="utf-8")
    print(f"{commands} commands say what {document.name} tells.")


def main():
    write = sys.argv[1:2] == ["--write"]
    try:
        follow(pathlib.Path(sys.argv[-1]), write)
    except AssertionError as difference:
        sys.exit(str(difference))


if __name__ == "__main__":
    main()
