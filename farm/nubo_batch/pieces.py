"""Making one piece, by whoever it falls to, and joining all."""
import os
import shutil
import subprocess
import sys
import tempfile

from .call import RECORDING, Refused, last_line, read_object
from .job import write_text


def make_piece(job, number, log, started=lambda process: None):
    """Makes a piece, with what the program says in the open file `log`. Returns why it failed, or an empty text.

    A piece that is not whole never has its name: it is made in a folder of its own, which nobody else has even where
    one who was lost goes on working, and moved with its record last."""
    changed = job.why_changed()
    if changed:
        return changed
    making = None
    try:
        making = tempfile.mkdtemp(prefix=f"making-{number:05}-", dir=job.folder)
        target, report = (os.path.join(making, os.path.basename(file))
                          for file in (job.file(number), job.record_file(number)))
        process = subprocess.Popen(call_of(job, number, target, report), cwd=job.data["cwd"],
                                   stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        started(process)
        status = process.wait()
        if status != 0:
            return f"ended by signal {-status}" if status < 0 else f"ended with {status}"
        wrong = job.why_changed() or why_wrong(job, number, read_object(report))  # while it was being made
        if wrong:
            return wrong
        os.replace(target, job.file(number))
        os.replace(report, job.record_file(number))
    except OSError as error:
        return f"{error.filename2 or error.filename or making}: {error.strerror}"
    finally:
        if making:
            shutil.rmtree(making, ignore_errors=True)
    return ""


def why_wrong(job, number, record):
    """Why what was made, by its record, is not the piece; empty if it is."""
    version, frames = (record.get(part, {}).get(name) for part, name in (("versions", "nubo"), ("result", "frames")))
    if version != job.data["version"]:
        return f"made by version {version} of the program, the job began with {job.data['version']}"
    wanted = job.pieces[number][1]
    return f"has {frames} frames of {wanted}" if job.call.kind is RECORDING and frames != wanted else ""


def call_of(job, number, target, report):
    """The call that makes a piece. It takes the settings of when the job began, and remembers its folder in none of the
    user's; it ends with whoever started it, where that can be had."""
    first, frames = job.pieces[number]
    settings = os.path.join(os.path.dirname(target), "settings.ini")
    if os.path.exists(job.path("settings.ini")):
        shutil.copyfile(job.path("settings.ini"), settings)
    words = job.call.piece(first, first + frames - 1, {"filename": target, "report": report, "settings": settings})
    return ["setpriv", "--pdeathsig", "TERM", "--", *words] if shutil.which("setpriv") else words


def last_words(file):
    """The last line that a piece's program said; what a task on a cluster said of it, if it said nothing."""
    try:
        with open(file, encoding="utf-8", errors="replace") as log:
            lines = [line.strip() for line in log if line.strip()]
    except OSError:
        lines = []
    return ([line for line in lines if not line.startswith("nubo-batch: ")] or lines or [""])[-1]


def find_joiner(program):
    """Beside the program, unless that is a script that calls it, or beside this one."""
    for beside in (os.path.realpath(program), os.path.abspath(sys.argv[0]), os.path.realpath(sys.argv[0])):
        joiner = os.path.join(os.path.dirname(beside), "nubo-join")
        if os.path.exists(joiner):
            return joiner
    raise Refused("nubo-join is not where nubo is")


def join(job):
    """Makes the target of the pieces. Raises Refused, naming the hole, if one is missing. A piece that turns out to be
    damaged counts as missing from then on."""
    missing = job.missing()
    if missing:
        raise Refused(f"{job.name(missing[0])} is missing" + (f", and {len(missing) - 1} more" if missing[1:] else ""))
    changed = job.why_changed()
    if changed:
        raise Refused(changed)
    write_text(job.path("list"), "".join(f"{frames}\t{os.path.basename(job.file(number))}\n"
                                         for number, (_, frames) in enumerate(job.pieces)))
    made = subprocess.run([find_joiner(job.call.program), "--list", job.path("list"), job.call.target],
                          stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, errors="replace")
    if made.returncode != 0:
        reason = last_line(made.stderr) or f"nubo-join ended with {made.returncode}"
        for number in range(len(job.pieces)):
            if f"{job.file(number)}: " in reason:
                os.remove(job.record_file(number))
                reason += "; --resume makes that piece again"
        raise Refused(reason)
    write_text(job.path("joined"), "")
