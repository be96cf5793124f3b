"""The command line of nubo-batch."""
import argparse
import os
import shlex
import shutil
import sys

from . import local, slurm
from .call import Call, Refused
from .job import Job, Lock, folder_of
from .pieces import join
from .progress import Progress

DONE, FAILED, WRONG_CALL, INTERRUPTED = 0, 1, 2, 130


def parser():
    made = argparse.ArgumentParser(
        prog="nubo-batch", usage="nubo-batch [options] -- NUBO-ARGUMENTS\n       nubo-batch --status|--resume TARGET",
        description="Makes a recording in step or a poster in pieces, each by a call of nubo, and joins them to the "
        "video or poster that one call would have made.",
        epilog="Pieces lie in a folder beside the target, TARGET.pieces, until it is made. Exit status: 0 done, 1 "
        "failed, 2 the call was wrong, 130 ended by Ctrl-C; what was finished is kept for --resume.")
    made.add_argument("--pieces", type=positive, metavar="N", help="cuts the whole into N pieces")
    made.add_argument("--piece-steps", type=positive, metavar="N",
                      help="cuts it into pieces of N steps, or of N rows of a poster's tiles")
    made.add_argument("--processes", type=positive, metavar="N",
                      help=f"works on so many pieces at a time on this machine ({local.usual_processes()})")
    made.add_argument("--retries", type=int, default=2, metavar="N", help="tries a piece that fails again so often (2)")
    made.add_argument("--slurm", action="store_true", help="has the pieces made by a Slurm cluster")
    made.add_argument("--sbatch", action="append", default=[], metavar="OPTION",
                      help="hands an option to sbatch, such as --sbatch=--partition=render; can be repeated")
    made.add_argument("--detach", action="store_true", help="with --slurm: does not wait until it is done")
    made.add_argument("--dry-run", action="store_true", help="tells what would be done, and with --slurm the scripts")
    made.add_argument("--keep", action="store_true", help="keeps the pieces when they are joined")
    made.add_argument("--program", metavar="FILE", help="the nubo to call (the one beside this program)")
    made.add_argument("--status", metavar="TARGET", help="tells how far a job is")
    made.add_argument("--resume", metavar="TARGET", help="goes on with a job: makes only what is missing")
    made.add_argument("--quiet", action="store_true", help="says nothing but why it failed")
    for internal in ("--piece", "--after"):  # what tasks on a cluster are called with
        made.add_argument(internal, type=int, help=argparse.SUPPRESS)
    made.add_argument("words", nargs="*", help=argparse.SUPPRESS)
    return made


def positive(text):
    value = int(text)
    if value < 1:
        raise ValueError
    return value


def find_program(given):
    beside = os.path.join(os.path.dirname(os.path.abspath(sys.argv[0])), "nubo")
    found = given or (beside if os.path.exists(beside) else shutil.which("nubo"))
    if not found or not shutil.which(found):
        raise Refused(f"{given or 'nubo'}: there is no such program")
    return os.path.abspath(shutil.which(found))


class Batch:
    def __init__(self, options):
        self._options = options

    def say(self, text):
        if not self._options.quiet:
            print(f"nubo-batch: {text}", file=sys.stderr, flush=True)

    def start(self):
        options = self._options
        if options.slurm:
            slurm.check_there()
        elif options.sbatch or options.detach:
            raise Refused("--sbatch and --detach go with --slurm")
        call = Call(find_program(options.program), options.words)
        first, frames, record = call.ask()
        processes = options.processes or local.usual_processes()
        each = options.piece_steps or -(-frames // min(options.pieces or 4 * processes, frames))
        if options.slurm:
            each = slurm.each_at_least(frames, each)
        kept = {name: getattr(options, name) for name in ("slurm", "sbatch", "detach", "retries", "keep")}
        kept["processes"] = processes
        if options.dry_run:
            return self.tell(call, first, frames, each, record, kept)
        folder = folder_of(call.target)
        if os.path.exists(os.path.join(folder, "job.json")):
            lock = Lock(folder)  # says so if somebody is at work
            if not Job(folder).is_joined():
                raise Refused(f"{folder}: there is a job that is not done; --resume {call.target} goes on with it")
            shutil.rmtree(folder)  # nobody was there any more when it was done
            del lock
        return self.go_on(Job.create(call, first, frames, each, record, kept))

    def tell(self, call, first, frames, each, record, kept):
        print(f"{call.target}: {record['summary']}; {-(-frames // each)} pieces of {each} {call.kind.pieces}")
        if kept["slurm"]:
            job = Job.__new__(Job)
            job.folder, job.call = folder_of(call.target), call
            job.data = {"cwd": os.getcwd(), "options": kept}
            for words, script in slurm.scripts(job, range(-(-frames // each)), 0, ()):
                print(f"\n{shlex.join(words)} <<'END'\n{script}END")
        return DONE

    def go_on(self, job):
        lock = Lock(job.folder)
        if not job.is_joined():
            self.make(job)
        if not job.is_joined():
            return DONE  # it goes on without this program
        size = os.path.getsize(job.call.target)
        print(f"{job.call.target} ({job.frames():,} {job.call.kind.things}, {size:,} bytes)", flush=True)
        job.end()
        del lock
        return DONE

    def make(self, job):
        changed = job.why_changed()
        if changed:
            raise Refused(f"{changed}; take {job.folder} away to begin anew")
        kept = job.data["options"]
        if not kept["slurm"]:
            local.run(job, kept["processes"], kept["retries"], self._options.quiet, self.say)
            return join(job)
        missing = job.missing()
        for leftover in ("failure.json", "failed-nodes"):
            if os.path.exists(job.path(leftover)):
                os.remove(job.path(leftover))
        # What still waits in the queue would be made twice.
        if os.path.exists(job.path("slurm.json")) and slurm.is_queued(job):
            self.say("the cluster still has it queued")
        else:
            slurm.submit(job, missing, 0) if missing else join(job)
        if not self._options.detach:
            slurm.wait(job, self._options.quiet)

    def status(self, target):
        job = Job(folder_of(os.path.abspath(target)))
        print(Progress(job, True).text())
        for number in job.missing()[:10]:
            print(f"missing: {job.name(number)}")
        failure = slurm.failure_of(job)
        if failure:
            print(f"failed: {failure}")
        return DONE

    def run(self):
        options = self._options
        if options.piece is not None:
            return slurm.run_task(Job(options.words[0]), options.piece)
        if options.after is not None:
            return slurm.after(Job(options.words[0]), options.after)
        if options.status:
            return self.status(options.status)
        if options.resume:
            return self.go_on(Job(folder_of(os.path.abspath(options.resume))))
        if not options.words:
            raise Refused("a call of nubo is needed after --; nubo-batch --help tells more")
        return self.start()


def main(arguments):
    options = parser().parse_args(arguments)
    try:
        return Batch(options).run()
    except Refused as error:
        print(f"nubo-batch: {error}", file=sys.stderr)
        return FAILED
    except KeyboardInterrupt:
        print("nubo-batch: ended; what is finished is kept for --resume", file=sys.stderr)
        return INTERRUPTED
