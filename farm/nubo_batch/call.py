"""The call of the program that is to be made in pieces."""
import collections
import json
import os
import re
import subprocess
import tempfile
import urllib.parse


class Refused(Exception):
    """Why nothing is done, in one line."""

    status = 1


class WrongCall(Refused):
    """One that no call like this could do."""

    status = 2


def last_line(text):
    """Where programs say what they died of; empty if they said nothing."""
    return ([line.strip() for line in text.splitlines() if line.strip()] or [""])[-1]


def read_object(file):
    """The object in a JSON file; an empty one if there is none, or what is there is damaged."""
    try:
        with open(file, encoding="utf-8") as text:
            data = json.load(text)
    except (OSError, ValueError):
        return {}
    return data if isinstance(data, dict) else {}


# Where the text of a model names the files that belong to it: glTF, COLLADA, URDF, and OBJ with its materials.
NAMED_FILE = re.compile(r'"uri"\s*:\s*"(?!data:)([^"]+)|<init_from>([^<]+)|\bfilename="([^"]+)|'
                        r"^(?:mtllib|map_\w+|bump|norm)[ \t]+([^\r\n]+)", re.MULTILINE)
TEXTS_OF_MODELS = (".gltf", ".dae", ".urdf", ".obj", ".mtl")
MOST_TEXT = 1 << 24  # of a larger one such names stand at its head


def with_named_files(file):
    """A model's file and those that it names, as far as they are there."""
    found, left = set(), [os.path.abspath(file)]
    while left:
        file = left.pop()
        if file in found or not os.path.isfile(file):
            continue
        found.add(file)
        if suffix_of(file) in TEXTS_OF_MODELS:
            with open(file, encoding="utf-8", errors="replace") as text:
                names = ["".join(groups).strip() for groups in NAMED_FILE.findall(text.read(MOST_TEXT))]
            left += [os.path.normpath(os.path.join(os.path.dirname(file), name)) for whole in names if whole
                     for name in (whole, urllib.parse.unquote(whole), whole.split()[-1])]
    return found


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


class Kind(collections.namedtuple("Kind", "option pieces things pattern at_least")):
    """What can be made in pieces: the option that says which part of it one call makes, what parts are counted in,
    where the program's summary tells how many there are, and how many make a piece worth its start."""


RECORDING = Kind("steps", "steps", "frames", re.compile(r"steps \d+ to \d+: (\d+) frames"), 10)
POSTER = Kind("band", "rows", "rows",
              re.compile(r"[\d,]+ × [\d,]+ pixels in ([\d,]+) rows of tiles(?!.* of it )"), 1)
POSTER_SUFFIXES = (".tif", ".tiff", ".dzi")
# Options that the program takes, but that mean a single call.
OF_ONE_CALL = {"report": "tells of one call, and pieces are made by many",
               "duration": "ends a call before it has all of its steps, and none of a piece may be missing"}


def suffix_of(file):
    """With its dot, in lower case. A name may consist of it."""
    stem, dot, suffix = os.path.basename(file).rpartition(".")
    return f"{dot}{suffix}".lower() if dot else ""


class Call:
    """What the program was to be called with, and what it says that it would make."""

    def __init__(self, program, words):
        target = find_option(words, "filename")
        if target is None:
            raise WrongCall("--filename is missing: the call must say which video or poster it makes")
        self.program = program
        self.words = words
        self.target = os.path.abspath(target[1])
        self.suffix = suffix_of(self.target)
        self.kind = POSTER if self.suffix in POSTER_SUFFIXES else RECORDING
        self._check_words(target[1])

    def _check_words(self, target):
        """What the program takes, but means a single call."""
        if "-" in self.words or target.startswith("-."):
            raise WrongCall("what comes from standard input or goes to standard output cannot be made in pieces")
        if "--dry-run" in self.words:
            raise WrongCall("--dry-run stands before the -- here")
        for option, reason in OF_ONE_CALL.items():
            if find_option(self.words, option):
                raise WrongCall(f"--{option} {reason}")
        if (find_option(self.words, "view") or ("", ""))[1] == "all":
            raise WrongCall("--view all makes several files, each of which can be made in pieces of its own")

    def ask(self):
        """Has the program check the call. Returns the first step or row, the number of frames or rows, and the
        program's record."""
        with tempfile.TemporaryDirectory() as folder:
            report = os.path.join(folder, "report.json")
            words = ["--dry-run", "--quiet", *with_option(self.words, "report", report)]
            made = subprocess.run([self.program, *words], capture_output=True, text=True, errors="replace",
                                  stdin=subprocess.DEVNULL)
            if made.returncode != 0:
                refusal = WrongCall if made.returncode == WrongCall.status else Refused
                raise refusal(last_line(made.stderr) or f"{self.program} ended with {made.returncode}")
            record = read_object(report)
        found = self.kind.pattern.match(record.get("summary", ""))
        if not found:
            raise WrongCall(f"only recordings in step and whole posters can be cut into pieces, and this would make: "
                            f"{record.get('summary') or 'nothing that says its steps'}")
        first = find_option(self.words, self.kind.option)  # the summary counts from there
        return int(first[1].partition(":")[0]) if first else 0, int(found[1].replace(",", "")), record

    def settings_file(self):
        """Whose values hold for all pieces."""
        given = find_option(self.words, "settings")
        configuration = os.environ.get("XDG_CONFIG_HOME") or os.path.expanduser("~/.config")
        return given[1] if given else os.path.join(configuration, "nubo", "nubo.ini")

    def inputs(self, scenes):
        """Files that what is made depends on: models with what belongs to them, and those that options name, such as points
        and panoramas."""
        values = [word.partition("=")[2] if word.startswith("--") else word for word in self.words]
        files = {found for file in (*scenes, *values) for found in with_named_files(file)}
        return sorted(files - {self.target, os.path.abspath(self.settings_file())})

    def piece(self, first, last, options):
        """The call that makes the steps or rows `first` to `last`, both included, with these options."""
        words = self._with_part(f"{first}:{last}")
        for name, value in options.items():
            words = with_option(words, name, value)
        return [self.program, "--quiet", *words]

    def _with_part(self, part):
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
