"""The call of the program that is to be made in pieces."""
import collections
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


class Kind(collections.namedtuple("Kind", "option pieces things pattern")):
    """What can be made in pieces: the option that says which part of it one call makes, what parts are counted in, and
    where the program's summary tells how many there are."""


RECORDING = Kind("steps", "steps", "frames", re.compile(r"steps \d+ to \d+: (\d+) frames"))
POSTER = Kind("band", "rows", "rows", re.compile(r"[\d,]+ × [\d,]+ pixels in ([\d,]+) rows of tiles(?!.* of it )"))
POSTER_SUFFIXES = (".tif", ".tiff", ".dzi")


class Call:
    """What the program was to be called with, and what it says that it would make."""

    def __init__(self, program, words):
        target = find_option(words, "filename")
        if target is None:
            raise Refused("--filename is missing: the call must say which video or poster it makes")
        self.program = program
        self.words = words
        self.target = os.path.abspath(target[1])
        self.suffix = os.path.splitext(self.target)[1].lower()
        self.kind = POSTER if self.suffix in POSTER_SUFFIXES else RECORDING

    def ask(self):
        """Has the program check the call. Returns the first step or row, the number of frames or rows, and the
        program's record."""
        with tempfile.TemporaryDirectory() as folder:
            report = os.path.join(folder, "report.json")
            words = ["--dry-run", "--quiet", *with_option(self.words, "report", report)]
            made = subprocess.run([self.program, *words], capture_output=True, text=True, stdin=subprocess.DEVNULL)
            if made.returncode != 0:
                raise Refused(made.stderr.strip() or f"{self.program} ended with {made.returncode}")
            with open(report, encoding="utf-8") as file:
                record = json.load(file)
        found = self.kind.pattern.match(record.get("summary", ""))
        if not found:
            raise Refused(f"only recordings in step and whole posters can be cut into pieces, and this would make: "
                          f"{record.get('summary') or 'nothing that says its steps'}")
        first = find_option(self.words, self.kind.option)
        return int(first[1].partition(":")[0]) if first else 0, int(found[1].replace(",", "")), record

    def piece(self, first, last, target, report):
        """The call that makes the steps or rows `first` to `last`, both included."""
        words = self.with_part(f"{first}:{last}")
        words = with_option(with_option(words, "filename", target), "report", report)
        return [self.program, "--quiet", *words]

    def with_part(self, part):
        """The program takes its own options before a command, and a command's parameters after it."""
        if self.kind is POSTER and find_option(self.words, self.kind.option) is None:
            return [*self.words, f"--{self.kind.option}", part]
        return with_option(self.words, self.kind.option, part)


def piece_suffix(suffix):
    """A GIF's colours depend on all of its frames: its pieces are lossless, and it is made when they are joined. A part of
    a poster is a file of its own kind."""
    if suffix in POSTER_SUFFIXES:
        return f"{suffix}.band"
    return ".mkv" if suffix == ".gif" else suffix
