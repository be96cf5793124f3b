"""A job on disk: what is to be made, and which of its pieces are there. Everybody who works on it, on whatever machine,
finds it by its folder, which lies beside the target."""
import fcntl
import glob
import itertools
import json
import os
import shutil

from .call import Call, Refused, piece_suffix, read_object

FOLDER_SUFFIX = ".pieces"


def folder_of(target):
    """Also of a job that is told by its folder."""
    return f"{os.path.abspath(target).removesuffix(FOLDER_SUFFIX)}{FOLDER_SUFFIX}"


def state_of(files):
    """By which a file that has changed is known."""
    state = {}
    for file in files:
        if os.path.exists(file):
            status = os.stat(file)
            state[file] = [status.st_size, status.st_mtime_ns]
    return state


def write_text(file, text):
    """What a full disk says names the file."""
    try:
        with open(file, "w", encoding="utf-8", errors="surrogateescape") as new:
            new.write(text)
            new.flush()
            os.fsync(new.fileno())
    except OSError as error:
        raise OSError(error.errno, error.strerror, file) from None


def write_whole(file, data):
    """So that nobody ever reads a half."""
    write_text(f"{file}.new", json.dumps(data, indent=1))
    os.replace(f"{file}.new", file)


class Lock:
    """Held by whoever is in charge of a job, as long as that lives."""

    def __init__(self, folder):
        file = os.path.join(folder, "lock")
        while True:
            os.makedirs(folder, exist_ok=True)
            self._file = open(file, "w", encoding="utf-8")
            try:
                fcntl.flock(self._file, fcntl.LOCK_EX | fcntl.LOCK_NB)
            except OSError:
                raise Refused(f"{folder}: another nubo-batch is at work on it") from None
            if os.path.exists(file) and os.path.samestat(os.stat(file), os.fstat(self._file.fileno())):
                break  # whoever held it before has not taken it away with its folder


class Job:
    PARTS = {"program", "words", "cwd", "pieces", "version", "inputs", "options"}

    def __init__(self, folder):
        self.folder = folder
        if not os.path.exists(self.path("job.json")):
            raise Refused(f"{folder}: there is no job")
        self.data = read_object(self.path("job.json"))
        if not self.PARTS <= self.data.keys():
            raise Refused(f"{self.path('job.json')}: tells of no job any more; take the folder away to begin anew")
        self.call = Call(self.data["program"], self.data["words"])
        self.call.target = folder[:-len(FOLDER_SUFFIX)]  # wherever this process was started
        self.pieces = self.data["pieces"]  # [first step or row, number of frames or rows]

    @staticmethod
    def plan(call, first, counts, record, options):
        """What a job is made of: pieces of so many steps or rows, one after the other."""
        pieces = [[first + end - count, count] for count, end in zip(counts, itertools.accumulate(counts))]
        return {"program": call.program, "words": call.words, "cwd": os.getcwd(), "pieces": pieces,
                "version": record["versions"]["nubo"], "inputs": state_of(call.inputs(record["scenes"])),
                "options": options}

    @staticmethod
    def begin(target, data, settings):
        """Makes the folder of a job, in which nobody else may be at work. Returns the job and its lock."""
        folder = folder_of(target)
        others = set(os.listdir(folder) if os.path.isdir(folder) else ()) - {"lock", "settings.ini", "job.json.new"}
        if others and "job.json" not in others:
            raise Refused(f"{folder}: is there, and is no job's; pieces need a folder of that name")
        lock = Lock(folder)
        if os.path.exists(os.path.join(folder, "job.json")):
            before = Job(folder)
            if not before.is_joined():
                raise Refused(f"{folder}: there is a job that is not done; --resume {target} goes on with it")
            before.sweep()
            for name in os.listdir(folder):
                if name != "lock":
                    os.remove(os.path.join(folder, name))
        try:
            if os.path.exists(settings):
                shutil.copyfile(settings, os.path.join(folder, "settings.ini"))
            write_whole(os.path.join(folder, "job.json"), data)
        except OSError:
            shutil.rmtree(folder, ignore_errors=True)
            raise
        return Job(folder), lock

    def change(self, options):
        """Those that are not None take the place of what the job was begun with."""
        self.data["options"].update({name: value for name, value in options.items() if value is not None})
        write_whole(self.path("job.json"), self.data)

    def path(self, name):
        return os.path.join(self.folder, name)

    def file(self, number):
        return self.path(f"piece-{number:05}{piece_suffix(self.call.suffix)}")

    def record_file(self, number):
        return self.path(f"piece-{number:05}.json")

    def record(self, number):
        return read_object(self.record_file(number))

    def is_done(self, number):
        """A finished piece has a record, which is written last, and has the size that stands there."""
        try:
            return os.path.getsize(self.file(number)) == self.record(number)["files"][0]["bytes"]
        except (OSError, LookupError, TypeError):
            return False

    def missing(self):
        return [number for number in range(len(self.pieces)) if not self.is_done(number)]

    def sweep(self):
        """Takes away what was being made by those who do not live any more."""
        for folder in glob.glob(f"{glob.escape(self.folder)}/making-*"):
            shutil.rmtree(folder, ignore_errors=True)

    def frames(self, numbers=None):
        return sum(self.pieces[number][1] for number in (range(len(self.pieces)) if numbers is None else numbers))

    def name(self, number):
        first, frames = self.pieces[number]
        return f"piece {number} ({self.call.kind.pieces} {first}:{first + frames - 1})"

    def bytes(self):
        """Of what was made; a pyramid's description is nothing beside its tiles."""
        files = [self.call.target]
        if self.call.suffix == ".dzi":
            tiles = f"{self.call.target[:-len(self.call.suffix)]}_files"
            files += [os.path.join(folder, name) for folder, _, names in os.walk(tiles) for name in names]
        return sum(os.path.getsize(file) for file in files)

    def is_joined(self):
        return os.path.exists(self.path("joined"))

    def end(self):
        """Takes a job away that is done, unless its pieces are to be kept."""
        if not self.data["options"]["keep"]:
            shutil.rmtree(self.folder, ignore_errors=True)

    def why_changed(self):
        """Why pieces that are made now would not go with those that are there; empty if they do."""
        for file, state in self.data["inputs"].items():
            if state_of([file]).get(file) != state:
                return f"{file} has changed since the job began"
        return ""
