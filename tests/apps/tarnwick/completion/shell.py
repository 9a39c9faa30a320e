"""A real shell on a terminal of its own, at whose keys a test sits. TARNWICK names the program."""

import fcntl
import os
import pathlib
import pty
import re
import select
import shlex
import signal
import struct
import subprocess
import termios
import time

PATIENCE = 60  # seconds, after which a test gives up
PROMPT = "ready> "
RAN = "-ran-"
END = "\x01"
TAB = "\t"
# Keys that make the shell tell the line that is being edited.
TELL_LINE = "\x18d"
CLEAR_LINE = "\x15"
# By which the colours of the screen and the place on it are chosen.
SEQUENCE = re.compile(r"\x1b(\[[0-9;?]*[ -/]*[@-~]|[()][0-9A-B])")


class Shell:
    """`folder` is the test's own. In it the shell stands, in a folder of its own; what would be run
    as `tarnwick` tells its arguments instead, but for the questions of the shell."""

    def __init__(self, folder, environment):
        self.folder = pathlib.Path(folder)
        self.place = self.folder / "place"
        self.place.mkdir(exist_ok=True)
        self.pipe = self.folder / "told"
        os.mkfifo(self.pipe)
        self.told = os.open(self.pipe, os.O_RDWR | os.O_NONBLOCK)
        self.write_program()
        self.screen = ""
        self.terminal, inner = pty.openpty()
        fcntl.ioctl(self.terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 60, 120, 0, 0))
        self.process = subprocess.Popen(
            self.command(), stdin=inner, stdout=inner, stderr=inner, cwd=self.place,
            preexec_fn=self.begin,
            env={"PATH": f"{self.folder / 'bin'}:{os.environ['PATH']}", "HOME": str(self.folder),
                 "TERM": "xterm", "LC_ALL": "C.UTF-8", **environment, **self.counting()})
        os.close(inner)
        self.wait_for_prompt()

    @staticmethod
    def counting():
        """Where a build that counts what runs (scripts/coverage) has it counted."""
        return {name: value for name, value in os.environ.items() if name == "LLVM_PROFILE_FILE"}

    @staticmethod
    def begin():
        os.setsid()
        fcntl.ioctl(0, termios.TIOCSCTTY, 0)
        for number in (signal.SIGHUP, signal.SIGINT, signal.SIGTERM):
            signal.signal(number, signal.SIG_DFL)

    def write_program(self):
        program = self.folder / "bin/tarnwick"
        program.parent.mkdir(exist_ok=True)
        program.write_text(f"""#!/bin/sh
case $1 in complete | completion) exec {shlex.quote(os.environ["TARNWICK"])} "$@" ;; esac
echo '{RAN}'
{{ printf '%s\\n' "$@"; printf '\\001'; }} >{shlex.quote(str(self.pipe))}
""")
        program.chmod(0o755)

    def write_rc(self, name, text):
        file = self.folder / name
        file.write_text(text.replace("@PIPE@", shlex.quote(str(self.pipe))).replace("@PROMPT@",
                                                                                    PROMPT))
        return file

    def read(self, until, what):
        """Reads what the shell shows and what is told, until `until` holds of what was told."""
        told = ""
        deadline = time.monotonic() + PATIENCE
        while not until(told):
            ready, _, _ = select.select([self.terminal, self.told], [], [],
                                        max(0, deadline - time.monotonic()))
            if not ready:
                raise AssertionError(f"no {what} came; the screen shows: {self.screen!r}")
            if self.terminal in ready:
                try:
                    self.screen += os.read(self.terminal, 65536).decode(errors="replace")
                except OSError:
                    raise AssertionError(f"the shell has ended: {self.screen!r}") from None
            if self.told in ready:
                told += os.read(self.told, 65536).decode()
        return told.removesuffix(END)

    def wait_for_prompt(self):
        self.read(lambda _: PROMPT in self.screen, "prompt")

    def type(self, keys):
        os.write(self.terminal, keys.encode())

    def line_after(self, keys):
        """What stands in the line when these keys were pressed."""
        self.type(CLEAR_LINE)
        self.screen = ""
        self.type(keys + TELL_LINE)
        line = self.read(lambda told: told.endswith(END), "line")
        # Whatever was shown had been written before the line was told.
        while select.select([self.terminal], [], [], 0)[0]:
            self.screen += os.read(self.terminal, 65536).decode(errors="replace")
        return line.removesuffix("\n")

    def arguments_after(self, keys):
        """The arguments that the program is given when the line that these keys make is entered."""
        self.type(CLEAR_LINE)
        self.screen = ""
        self.type(keys + "\r")
        arguments = self.read(lambda told: told.endswith(END), "arguments").split("\n")[:-1]
        self.read(lambda _: PROMPT in self.screen.rpartition(RAN)[2], "prompt")
        return arguments

    def shown_after(self, keys):
        """What is shown on the screen when what the keys begin is not to be decided."""
        self.line_after(keys + self.LIST)
        return SEQUENCE.sub("", self.screen)

    def close(self):
        try:
            os.killpg(self.process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        self.process.wait()
        os.close(self.terminal)
        os.close(self.told)


class Bash(Shell):
    NAME = "bash"
    LIST = TAB + TAB

    def command(self):
        return ["bash", "--noprofile", "--rcfile", str(self.write_rc("bashrc", self.RC)), "-i"]

    RC = """
PS1='@PROMPT@'
bind 'set bell-style none' 'set completion-query-items 0' 'set page-completions off'
bind 'set enable-bracketed-paste off'
bind -x '"\\C-xd": printf "%s\\001" "$READLINE_LINE" >@PIPE@'
source <(tarnwick completion bash)
"""


class Zsh(Shell):
    NAME = "zsh"
    LIST = TAB

    def command(self):
        self.write_rc(".zshrc", self.RC)
        return ["zsh", "-i"]

    RC = """
PS1='@PROMPT@'
LISTMAX=1000
unsetopt prompt_sp prompt_cr
autoload -Uz compinit
compinit -u
tell-line() { printf '%s\\001' "$BUFFER" >@PIPE@ }
zle -N tell-line
bindkey '^Xd' tell-line
source <(tarnwick completion zsh)
"""


class Fish(Shell):
    NAME = "fish"
    LIST = TAB

    def command(self):
        return ["fish", "-i", "-C", f"source {self.write_rc('config.fish', self.RC)}"]

    RC = """
function fish_prompt
    printf '%s' '@PROMPT@'
end
set -g fish_greeting
set -g fish_autosuggestion_enabled 0
bind \\cxd 'printf "%s\\001" (commandline) >@PIPE@'
tarnwick completion fish | source
"""


ALL = (Bash, Zsh, Fish)
