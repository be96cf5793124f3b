"""Making one piece, by whoever it falls to, and joining all."""
import os
import shutil
import subprocess

from .call import Refused


def make_piece(job, number, log, started=lambda process: None):
    """Makes a piece, with what the program says in the open file `log`. Returns why it failed, or an empty text.

    A piece that is not whole never has its name: it is made in a folder of its own, and moved with its record last."""
    changed = job.why_changed()
    if changed:
        return changed
    first, frames = job.pieces[number]
    making = job.path(f"making-{number:05}")
    shutil.rmtree(making, ignore_errors=True)
    try:
        os.makedirs(making)
        target = os.path.join(making, os.path.basename(job.file(number)))
        report = os.path.join(making, "report.json")
        process = subprocess.Popen(job.call.piece(first, first + frames - 1, target, report), cwd=job.data["cwd"],
                                   stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        started(process)
        status = process.wait()
        if status != 0:
            return f"ended by signal {-status}" if status < 0 else f"ended with {status}"
        changed = job.why_changed()  # while it was being made
        if changed:
            return changed
        os.replace(target, job.file(number))
        os.replace(report, job.record_file(number))
    except OSError as error:
        return f"{error.filename or making}: {error.strerror}"
    finally:
        shutil.rmtree(making, ignore_errors=True)
    version = job.record(number)["versions"]["nubo"]
    if version != job.data["version"]:
        os.remove(job.record_file(number))
        return f"made by version {version} of the program, the job began with {job.data['version']}"
    return ""


def last_words(file):
    """The last line that a piece's program said; what a task on a cluster said of it, if it said nothing."""
    try:
        with open(file, encoding="utf-8", errors="replace") as log:
            lines = [line.strip() for line in log if line.strip()]
    except OSError:
        lines = []
    return ([line for line in lines if not line.startswith("nubo-batch: ")] or lines or [""])[-1]


def join(job):
    """Makes the target of the pieces. Raises Refused, naming the hole, if one is missing."""
    missing = job.missing()
    if missing:
        raise Refused(f"{job.name(missing[0])} is missing" + (f", and {len(missing) - 1} more" if missing[1:] else ""))
    changed = job.why_changed()
    if changed:
        raise Refused(changed)
    with open(job.path("list"), "w", encoding="utf-8", errors="surrogateescape") as file:
        for number, (_, frames) in enumerate(job.pieces):
            file.write(f"{frames}\t{os.path.basename(job.file(number))}\n")
    joiner = os.path.join(os.path.dirname(os.path.realpath(job.call.program)), "nubo-join")
    made = subprocess.run([joiner, "--list", job.path("list"), job.call.target], stdout=subprocess.DEVNULL,
                          stderr=subprocess.PIPE, text=True)
    if made.returncode != 0:
        raise Refused(made.stderr.strip() or f"nubo-join ended with {made.returncode}")
    with open(job.path("joined"), "w", encoding="utf-8"):
        pass
