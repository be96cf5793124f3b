"""A job on disk: what is to be made, and which of its pieces are there. Everybody who works on it, on whatever machine,
finds it by its folder, which lies beside the target."""
import fcntl
import json
import os
import shutil

from .call import Call, Refused, piece_suffix


def folder_of(target):
    return f"{target}.pieces"


def state_of(files):
    """By which a file that has changed is known."""
    state = {}
    for file in files:
        if os.path.exists(file):
            status = os.stat(file)
            state[os.path.abspath(file)] = [status.st_size, status.st_mtime_ns]
    return state


def write_whole(file, data):
    """So that nobody ever reads a half."""
    with open(f"{file}.new", "w", encoding="utf-8") as new:
        json.dump(data, new, indent=1)
        new.flush()
        os.fsync(new.fileno())
    os.replace(f"{file}.new", file)


class Lock:
    """Held by whoever is in charge of a job, as long as that lives."""

    def __init__(self, folder):
        self._file = open(os.path.join(folder, "lock"), "w", encoding="utf-8")
        try:
            fcntl.flock(self._file, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except OSError:
            raise Refused(f"{folder}: another nubo-batch is at work on it") from None


class Job:
    def __init__(self, folder):
        self.folder = folder
        try:
            with open(self.path("job.json"), encoding="utf-8") as file:
                self.data = json.load(file)
        except FileNotFoundError:
            raise Refused(f"{folder}: there is no job") from None
        self.call = Call(self.data["program"], self.data["words"])
        self.pieces = self.data["pieces"]  # [first step or row, number of frames or rows]

    @staticmethod
    def create(call, first, frames, each, record, options):
        folder = folder_of(call.target)
        pieces = [[first + at, min(each, frames - at)] for at in range(0, frames, each)]
        data = {"program": call.program, "words": call.words, "cwd": os.getcwd(), "pieces": pieces,
                "version": record["versions"]["nubo"], "inputs": state_of(record["scenes"]), "options": options}
        try:
            os.makedirs(folder, exist_ok=True)
            write_whole(os.path.join(folder, "job.json"), data)
        except OSError as error:
            raise Refused(f"{folder}: {error.strerror}") from None
        return Job(folder)

    def path(self, name):
        return os.path.join(self.folder, name)

    def file(self, number):
        return self.path(f"piece-{number:05}{piece_suffix(self.call.suffix)}")

    def record_file(self, number):
        return self.path(f"piece-{number:05}.json")

    def record(self, number):
        try:
            with open(self.record_file(number), encoding="utf-8") as file:
                return json.load(file)
        except (OSError, ValueError):
            return {}

    def is_done(self, number):
        """A finished piece has a record, which is written last, and has the size that stands there."""
        files = self.record(number).get("files", [])
        return bool(files) and os.path.exists(self.file(number)) and os.path.getsize(self.file(number)) == files[0]["bytes"]

    def missing(self):
        return [number for number in range(len(self.pieces)) if not self.is_done(number)]

    def frames(self):
        return sum(frames for _, frames in self.pieces)

    def frames_done(self):
        return sum(frames for number, (_, frames) in enumerate(self.pieces) if self.is_done(number))

    def name(self, number):
        first, frames = self.pieces[number]
        return f"piece {number} ({self.call.kind.pieces} {first}:{first + frames - 1})"

    def is_joined(self):
        return os.path.exists(self.path("joined"))

    def end(self):
        """Takes a job away that is done, unless it was begun to be kept."""
        if not self.data["options"]["keep"]:
            shutil.rmtree(self.folder, ignore_errors=True)

    def why_changed(self):
        """Why pieces that are made now would not go with those that are there; empty if they do."""
        for file, state in self.data["inputs"].items():
            if state_of([file]).get(file) != state:
                return f"{file} has changed since the job began"
        return ""
