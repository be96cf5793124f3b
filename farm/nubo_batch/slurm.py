"""Pieces on a cluster: an array of tasks, and a task after it that joins, or has made again what is missing."""
import collections
import os
import re
import shlex
import shutil
import subprocess
import sys
import time

from .call import Refused, WrongCall, last_line, read_object
from .job import FOLDER_SUFFIX, write_text, write_whole
from .pieces import join, last_words, make_piece
from .progress import Progress

# How often it is looked whether a job is done, and how many looks later the controller, which serves all, is asked.
LOOK_SECONDS = 2
LOOKS_FOR_ASKING = 5
# So often it may not answer, since it is started anew now and then: minutes, as each question waits for it.
MOST_UNANSWERED = 30
FAILED_TASK = 1


def slurm(*words):
    try:
        made = subprocess.run(words, capture_output=True, text=True, errors="replace", stdin=subprocess.DEVNULL)
    except FileNotFoundError:
        raise Refused(f"there is no Slurm here ({words[0]} was not found)") from None
    if made.returncode != 0:
        said = "\n".join(line for line in made.stderr.splitlines() if not line.startswith("Try "))
        raise Refused(last_line(said) or f"{words[0]} ended with {made.returncode}")
    return made.stdout


def most_tasks():
    """Of one array. Its numbers end one below what is told."""
    found = re.search(r"^MaxArraySize\s*=\s*(\d+)", slurm("scontrol", "show", "config"), re.MULTILINE)
    return max(1, int(found[1]) - 1) if found else 1000


def workers(options):
    """Nodes that work, where these options for sbatch send what is queued."""
    places = [option for option in options if option.startswith(("--partition=", "-p", "--clusters=", "-M"))]
    return max(1, len(working_nodes(*places)))


def working_nodes(*options):
    """Asked for by their states there would be those among them that are drained."""
    lines = slurm("sinfo", "--noheader", "--Node", "--format=%N %t", *options).splitlines()
    return {node for node, state in map(str.split, lines) if re.fullmatch(r"(idle|alloc|mix|comp)[^*]?", state)}


def ranges(numbers):
    """0,1,2,5 as 0-2,5."""
    found = []
    for number in numbers:
        if found and found[-1][1] == number - 1:
            found[-1][1] = number
        else:
            found.append([number, number])
    return ",".join(str(a) if a == b else f"{a}-{b}" for a, b in found)


def scripts(folder, data, numbers, round_number, excluded):
    """The words and the script of the array, and of the task that follows it, for the job with this data.

    They say themselves where what they say goes: Slurm reads names of logs as patterns, and in some folders' names would
    find what it replaces."""
    program = shlex.join([sys.executable, os.path.abspath(sys.argv[0])])
    name = os.path.basename(folder).removesuffix(FOLDER_SUFFIX)
    place = shlex.quote(folder)
    common = ["--output=/dev/null", f"--chdir={data['cwd']}", *data["options"]["sbatch"]]
    array = ["sbatch", "--parsable", f"--array={ranges(numbers)}", f"--job-name=nubo {name}", *common]
    if excluded:
        array.append(f"--exclude={','.join(excluded)}")
    after = ["sbatch", "--parsable", f"--job-name=join {name}", *common]
    log = f'{place}/piece-"$(printf %05d "$SLURM_ARRAY_TASK_ID")".log'
    return ((array, f'#!/bin/sh\nexec {program} --piece "$SLURM_ARRAY_TASK_ID" {place} >{log} 2>&1\n'),
            (after, f"#!/bin/sh\nexec {program} --after {round_number} {place} >>{place}/join.log 2>&1\n"))


def submit(job, numbers, round_number, excluded=()):
    """Queues the pieces, and after any end of theirs the join. Their numbers are kept with the job."""
    (array, array_script), (after, after_script) = scripts(job.folder, job.data, numbers, round_number, excluded)
    write_text(job.path("array.sh"), array_script)
    write_text(job.path("after.sh"), after_script)
    pieces = queued(*array, job.path("array.sh"))
    try:
        joining = queued(*after, f"--dependency=afterany:{pieces}", job.path("after.sh"))
        write_whole(job.path("slurm.json"), {"array": pieces, "after": joining, "round": round_number})
    except BaseException:
        slurm("scancel", pieces)  # of which nobody would know
        raise


def queued(*words):
    """The number of a job that sbatch queues. Some of its options have it queue nothing."""
    number = slurm(*words).strip().partition(";")[0]
    if not number.isdecimal():
        raise Refused("sbatch queued nothing with these options")
    return number


def run_task(job, number):
    """On a node: makes one piece, and says what it says. A failure names the node, for the next try."""
    failure = make_piece(job, number, sys.stderr)
    if failure:
        print(f"nubo-batch: {failure}", file=sys.stderr)
        note_failure(job, os.environ.get("SLURMD_NODENAME", ""))
    return FAILED_TASK if failure else 0


def note_failure(job, node):
    with open(job.path("failed-nodes"), "a", encoding="utf-8") as file:
        file.write(f"{node}\n")


def excluded_nodes(job):
    """Those on which more pieces failed than on others: all on which one did, unless nothing else would be left."""
    try:
        with open(job.path("failed-nodes"), encoding="utf-8") as file:
            failures = collections.Counter(line.strip() for line in file if line.strip())
    except OSError:
        return []
    least = min((failures[node] for node in working_nodes()), default=0)
    return sorted(node for node, count in failures.items() if count > least)


def ended_badly(job):
    """Number of a task, and how Slurm says that it ended, for those that did not end well. Notes the nodes of those that
    were killed with all that they had started, and so could not."""
    try:
        text = slurm("scontrol", "show", "job", numbers_of(job)["array"])
    except Refused:  # it has forgotten
        return {}
    states = {}
    for block in text.split("\n\n"):
        fields = dict(re.findall(r"(\w+)=(\S+)", block))
        if not fields.get("ArrayTaskId", "").isdecimal() or fields.get("JobState") in (None, "COMPLETED"):
            continue
        states[int(fields["ArrayTaskId"])] = fields["JobState"]
        if fields.get("ExitCode") != f"{FAILED_TASK}:0" and re.fullmatch(r"[\w.-]+", fields.get("NodeList", "")):
            note_failure(job, fields["NodeList"])
    return states


def after(job, round_number):
    """On a node, when the array has ended: joins, or has made again what is missing."""
    missing = job.missing()
    if not missing:
        try:
            join(job)
        except Refused as error:
            write_whole(job.path("failure.json"), {"text": str(error)})
            raise
        if job.data["options"]["detach"]:
            job.end()  # nobody waits who would
        return 0
    job.sweep()
    states = ended_badly(job)
    reason = last_words(job.path(f"piece-{missing[0]:05}.log")) or states.get(missing[0], "it left no word")
    if job.why_changed() or round_number >= job.data["options"]["retries"]:
        text = f"{job.name(missing[0])} could not be made: {reason}"
        text += f", and {len(missing) - 1} more pieces" if missing[1:] else ""
        write_whole(job.path("failure.json"), {"text": text})
        raise Refused(text)
    print(f"{job.name(missing[0])}: {reason}; {len(missing)} pieces are tried again", flush=True)
    submit(job, missing, round_number + 1, excluded_nodes(job))
    return 0


def numbers_of(job):
    numbers = read_object(job.path("slurm.json"))
    if not {"array", "after"} <= numbers.keys():
        raise Refused(f"{job.folder}: nothing was submitted")
    return numbers


def is_queued(job):
    numbers = numbers_of(job)
    queued = slurm("squeue", "--noheader", "--format=%A %F").split()
    return numbers["array"] in queued or numbers["after"] in queued


def failure_of(job):
    return read_object(job.path("failure.json")).get("text", "")


def wait(job, quiet):
    """Until the pieces are joined. Raises Refused if they will not be."""
    progress = Progress(job, quiet)
    idle = looks = unanswered = 0
    try:
        while not job.is_joined():
            failure = failure_of(job)
            if failure:
                raise Refused(f"{failure}; what is there is kept for --resume")
            # A task submits the next before it ends, so that twice nothing in a row is the end.
            if looks % LOOKS_FOR_ASKING == 0:
                try:
                    idle, unanswered = 0 if is_queued(job) else idle + 1, 0
                except Refused:
                    unanswered += 1
                    if unanswered > MOST_UNANSWERED:
                        raise
            looks += 1
            if idle > 1 and not job.is_joined() and not failure_of(job):
                raise Refused(f"{job.folder}: the cluster has nothing of it queued any more; --resume goes on")
            progress.show()
            time.sleep(LOOK_SECONDS)
    finally:
        progress.clear()


def check(options):
    """Those for sbatch, before anything is asked of it."""
    if not shutil.which("sbatch"):
        raise WrongCall("there is no Slurm here (sbatch was not found)")
    for option in options:
        if not option.startswith("-"):
            raise WrongCall(f"--sbatch={option}: an option of sbatch begins with a dash, as in --sbatch=--time=60")
        if option.startswith(("-a", "--arr")):
            raise WrongCall(f"--sbatch={option}: which tasks there are is said with --pieces")
