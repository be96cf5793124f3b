"""What nubo-batch does with its command line."""
import os
import shlex
import shutil
import sys

from . import local, options as command_line, slurm
from .call import Call, Refused, WrongCall
from .job import Job, Lock, folder_of
from .pieces import join
from .progress import Progress

DONE, FAILED, INTERRUPTED = 0, 1, 130
DEFAULT_RETRIES = 2
PIECES_PER_WORKER = 4  # so that a slow or lost one holds up little


def find_program(given):
    beside = os.path.join(os.path.dirname(os.path.abspath(sys.argv[0])), "nubo")
    found = given or (beside if os.path.exists(beside) else "nubo")
    path = shutil.which(found)
    if not path:
        raise WrongCall(f"{found}: there is no such program")
    return os.path.abspath(path)


class Batch:
    def __init__(self, options, words):
        self._options = options
        self._words = words

    def say(self, text):
        if not self._options.quiet:
            print(f"nubo-batch: {text}", file=sys.stderr, flush=True)

    def start(self):
        options = self._options
        if options.pieces and options.piece_steps:
            raise WrongCall("--pieces and --piece-steps say the same; one is enough")
        if options.slurm:
            slurm.check(options.sbatch)
        elif options.sbatch or options.detach:
            raise WrongCall("--sbatch and --detach go with --slurm")
        call = Call(find_program(options.program), self._words)
        first, count, record = call.ask()
        kept = {name: getattr(options, name) for name in ("slurm", "sbatch", "detach", "keep")}
        kept["retries"] = DEFAULT_RETRIES if options.retries is None else options.retries
        kept["processes"] = options.processes or local.usual_processes()
        data = Job.plan(call, first, self.cut(call.kind, count, kept["processes"]), record, kept)
        if options.dry_run:
            return self.tell(call, data, record["summary"])
        job, lock = Job.begin(call.target, data, call.settings_file())
        try:
            return self.go_on(job, lock)
        except Refused:
            if options.slurm and not os.path.exists(job.path("slurm.json")):
                shutil.rmtree(job.folder)  # the cluster took nothing
            raise

    def cut(self, kind, count, processes):
        """Numbers of steps or rows, which differ by one at most unless somebody has said how large pieces are."""
        options, each = self._options, self._options.piece_steps
        most = slurm.most_tasks() if options.slurm else count
        if each:
            pieces = -(-count // each)
            if pieces <= most:
                return [min(each, count - at) for at in range(0, count, each)]
        elif options.pieces:
            pieces = options.pieces
        else:
            workers = slurm.workers(options.sbatch) if options.slurm else processes
            pieces = max(workers, min(PIECES_PER_WORKER * workers, count // kind.at_least))
        pieces = min(count, most, pieces)
        return [count * (number + 1) // pieces - count * number // pieces for number in range(pieces)]

    def tell(self, call, data, summary):
        counts = [count for _, count in data["pieces"]]
        sizes = "-".join(str(size) for size in sorted({min(counts), max(counts)}))
        print(f"{call.target}: {summary}; {len(counts)} pieces of {sizes} {call.kind.pieces}")
        if data["options"]["slurm"]:
            for words, script in slurm.scripts(folder_of(call.target), data, range(len(counts)), 0, ()):
                print(f"\n{shlex.join(words)} <<'END'\n{script}END")
        return DONE

    def resume(self, target):
        options = self._options
        settled = {"--": self._words, "--slurm": options.slurm, "--pieces": options.pieces,
                   "--piece-steps": options.piece_steps, "--program": options.program}
        for name in filter(settled.get, settled):
            raise WrongCall(f"--resume takes no {name}: it goes on with what the job began with")
        job = Job(folder_of(target))
        if (options.detach or options.sbatch) and not job.data["options"]["slurm"]:
            raise WrongCall("--sbatch and --detach go with --slurm")
        lock = Lock(job.folder)
        job.change({"processes": options.processes, "retries": options.retries, "keep": options.keep or None,
                    "detach": options.detach, "sbatch": options.sbatch or None})
        return self.go_on(job, lock)

    def go_on(self, job, lock):
        if not job.is_joined():
            self.make(job)
        if not job.is_joined():
            return DONE  # it goes on without this program
        made = f"{job.call.target} ({job.frames():,} {job.call.kind.things}, {job.bytes():,} bytes)"
        job.end()
        del lock
        if not self._options.quiet:
            print(made, flush=True)
        return DONE

    def make(self, job):
        changed = job.why_changed()
        if changed:
            raise Refused(f"{changed}; take {job.folder} away to begin anew")
        kept = job.data["options"]
        if not kept["slurm"]:
            local.run(job, kept["processes"], kept["retries"], self._options.quiet, self.say)
            return join(job)
        self.queue(job)
        if kept["detach"]:
            return None
        try:
            return slurm.wait(job, self._options.quiet)
        except KeyboardInterrupt:
            raise KeyboardInterrupt(f"the cluster goes on; --resume {job.call.target} waits for it again") from None

    def queue(self, job):
        """What still waits in the queue would be made twice."""
        if os.path.exists(job.path("slurm.json")) and slurm.is_queued(job):
            return self.say("the cluster still has it queued")
        for leftover in ("failure.json", "failed-nodes"):
            if os.path.exists(job.path(leftover)):
                os.remove(job.path(leftover))
        job.sweep()
        missing = job.missing()
        return slurm.submit(job, missing, 0) if missing else join(job)

    def status(self, target):
        if self._words or self._options.resume:
            raise WrongCall("--status stands alone")
        job = Job(folder_of(target))
        print(Progress(job, True).text())
        for number in job.missing()[:10]:
            print(f"missing: {job.name(number)}")
        failure = slurm.failure_of(job)
        if failure:
            print(f"failed: {failure}")
        return DONE

    def run(self):
        options = self._options
        if options.piece:
            return slurm.run_task(Job(options.piece[1]), int(options.piece[0]))
        if options.after:
            return slurm.after(Job(options.after[1]), int(options.after[0]))
        if options.manual:
            print(command_line.manual(), end="")
            return DONE
        if options.status:
            return self.status(options.status)
        if options.resume:
            return self.resume(options.resume)
        if not self._words:
            raise WrongCall("a call of nubo is needed after --; nubo-batch --help tells more")
        return self.start()


def complete(words):
    try:
        program = find_program(None)
    except Refused:
        program = None
    print(*command_line.completions(words, program), sep="\n")
    return DONE


def main(arguments):
    try:
        if arguments[:1] == ["--complete"]:
            return complete(arguments[1:])
        return Batch(*command_line.read(arguments)).run()
    except Refused as error:
        print(f"nubo-batch: {error}", file=sys.stderr)
        return error.status
    except OSError as error:
        print(f"nubo-batch: {error.filename2 or error.filename or 'standard output'}: {error.strerror}", file=sys.stderr)
        return FAILED
    except KeyboardInterrupt as interrupt:
        print(f"nubo-batch: ended; {str(interrupt) or 'what is finished is kept for --resume'}", file=sys.stderr)
        return INTERRUPTED
