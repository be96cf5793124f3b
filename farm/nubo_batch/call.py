"""The call of the program that is to be made in pieces."""
import os
import re
import subprocess
import tempfile
import json


class Refused(Exception):
    """Why nothing is done, in one line."""


def find_option(words, name):
    """The place of an option's value among the words and the value, or None. The last one counts."""
    found = None
    for at, word in enumerate(words):
        if word == f"--{name}" and at + 1 < len(words):
            found = at + 1, words[at + 1]
        elif word.startswith(f"--{name}="):
            found = at, word.partition("=")[2]
    return found


def with_option(words, name, value):
    """The words with an option that has this value, in the place of the one that stands there, if any."""
    at = find_option(words, name)
    if at is None:
        return [f"--{name}", value, *words]
    place = at[0]
    new = f"--{name}={value}" if words[place].startswith(f"--{name}=") else value
    return [*words[:place], new, *words[place + 1:]]


class Call:
    """What the program was to be called with, and what it says that it would make."""

    def __init__(self, program, words):
        target = find_option(words, "filename")
        if target is None:
            raise Refused("--filename is missing: the call must say which video it makes")
        self.program = program
        self.words = words
        self.target = os.path.abspath(target[1])
        self.suffix = os.path.splitext(self.target)[1].lower()

    def ask(self):
        """Has the program check the call. Returns the first step, the number of frames, and the program's record."""
        with tempfile.TemporaryDirectory() as folder:
            report = os.path.join(folder, "report.json")
            words = ["--dry-run", "--quiet", *with_option(self.words, "report", report)]
            made = subprocess.run([self.program, *words], capture_output=True, text=True, stdin=subprocess.DEVNULL)
            if made.returncode != 0:
                raise Refused(made.stderr.strip() or f"{self.program} ended with {made.returncode}")
            with open(report, encoding="utf-8") as file:
                record = json.load(file)
        steps = re.match(r"steps \d+ to \d+: (\d+) frames", record.get("summary", ""))
        if not steps:
            raise Refused(f"only recordings in step can be cut into pieces, and this would make: "
                          f"{record.get('summary') or 'nothing that says its steps'}")
        first = find_option(self.words, "steps")
        return int(first[1].partition(":")[0]) if first else 0, int(steps[1]), record

    def piece(self, first, last, target, report):
        """The call that makes the frames of the steps `first` to `last`, both included."""
        words = with_option(self.words, "steps", f"{first}:{last}")
        words = with_option(with_option(words, "filename", target), "report", report)
        return [self.program, "--quiet", *words]


def piece_suffix(suffix):
    """A GIF's colours depend on all of its frames: its pieces are lossless, and it is made when they are joined."""
    return ".mkv" if suffix == ".gif" else suffix
