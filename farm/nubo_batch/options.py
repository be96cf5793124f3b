"""The options of nubo-batch, and what is made of their table: the help, the manual page, and completion in shells."""
import argparse
import glob
import os
import subprocess

from . import local
from .call import WrongCall
from .job import FOLDER_SUFFIX

WRONG_CALL_HINT = "nubo-batch --help tells more"


class Parser(argparse.ArgumentParser):
    """Says what is wrong in one line, as the program does."""

    def error(self, message):
        raise WrongCall(f"{message}; {WRONG_CALL_HINT}")


def number_from(least):
    def number(text):
        if not text.isdecimal() or int(text) < least:
            raise argparse.ArgumentTypeError(f"{text!r} is no number from {least} on")
        return int(text)
    return number


def parser():
    made = Parser(
        prog="nubo-batch", usage="nubo-batch [options] -- NUBO-ARGUMENTS\n       nubo-batch --status|--resume TARGET",
        description="Makes a recording in step or a poster in pieces, each by a call of nubo, and joins them to the "
        "video or poster that one call would have made.",
        epilog="Pieces lie in a folder beside the target, TARGET.pieces, until it is made. Exit status: 0 done, 1 "
        "failed, 2 the call was wrong, 130 ended by Ctrl-C; what was finished is kept for --resume, which takes "
        "--processes, --retries, --sbatch, --detach, --keep and --quiet anew.", allow_abbrev=False)
    made.add_argument("--pieces", type=number_from(1), metavar="N",
                      help="cuts the whole into N pieces (four for each process or node, of at least ten steps)")
    made.add_argument("--piece-steps", type=number_from(1), metavar="N",
                      help="cuts it into pieces of N steps, or of N rows of a poster's tiles")
    made.add_argument("--processes", type=number_from(1), metavar="N",
                      help="works on so many pieces at a time on this machine (one for two cores, at least two)")
    made.add_argument("--retries", type=number_from(0), metavar="N", help="tries a piece that fails again so often (2)")
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
    made.add_argument("--manual", action="store_true", help="prints the manual page")
    made.add_argument("--complete", metavar="WORD...",
                      help="prints how the last of the words may go on; shells ask for it")
    for internal in ("--piece", "--after"):  # what tasks on a cluster are called with, and the job's folder
        made.add_argument(internal, nargs=2, help=argparse.SUPPRESS)
    return made


def table():
    """The options that users may know of: how they are written, the name of their value or an empty text, and what they
    mean."""
    return [(", ".join(sorted(action.option_strings, key=len, reverse=True)), action.metavar or "", action.help)
            for action in parser()._actions if action.help != argparse.SUPPRESS]


def read(arguments):
    """The options, and the words that the program is to be called with. Raises WrongCall."""
    end = arguments.index("--") if "--" in arguments else len(arguments)
    options, others = parser().parse_known_args(arguments[:end])
    if others:
        hint = "what nubo is called with stands after --" if end == len(arguments) else WRONG_CALL_HINT
        raise WrongCall(f"{others[0]}: there is no such option; {hint}")
    return options, arguments[end + 1:]


def completions(words, program):
    """Lines for the shells' functions: candidates, each with a tab and what it means, and ":files"."""
    *before, typed = words or [""]
    if "--" in before and program:
        made = subprocess.run([program, "--complete", *before[before.index("--") + 1:], typed], capture_output=True,
                              text=True)
        return made.stdout.splitlines()
    previous = before[-1] if before else ""
    if previous in ("--status", "--resume"):
        folders = glob.glob(f"{glob.escape(typed)}*{FOLDER_SUFFIX}")
        return [f"{folder.removesuffix(FOLDER_SUFFIX)}\ta job" for folder in folders]
    if previous == "--program":
        return [":files"]
    if previous == "--processes":
        return [f"{local.usual_processes()}\tusual here"]
    if previous in (written for written, value, _ in table() if value):
        return []
    lines = [f"{written.split(', ')[0]}\t{meaning}" for written, _, meaning in table()]
    return [line for line in (*lines, "--\tthe call of nubo follows") if line.startswith(typed)]


def troff(text):
    """A text that stands for itself."""
    text = text.replace("\\", "\\e").replace("-", "\\-")
    return f"\\&{text}" if text[:1] in (".", "'") else text


def manual():
    made = parser()
    lines = ['.TH NUBO\\-BATCH 1 "" "nubo" "User Commands"', ".SH NAME",
             "nubo\\-batch \\- records and makes posters in pieces",
             ".SH SYNOPSIS", ".B nubo\\-batch", troff("[options] -- NUBO-ARGUMENTS"), ".br", ".B nubo\\-batch",
             troff("--status|--resume TARGET"), ".SH DESCRIPTION", troff(made.description), ".SH OPTIONS"]
    for written, value, meaning in table():
        lines += [".TP", f"\\fB{troff(f'{written} {value}'.strip())}\\fR", troff(f"{meaning[0].upper()}{meaning[1:]}.")]
    examples = (
        ("nubo-batch -- --turntable 3600 machine.step grabvideo --filename machine.mp4 --width 1920 --height 1080",
         "records in pieces on the processors of this machine."),
        ("nubo-batch --slurm --detach --sbatch=--partition=render -- plant.glb grabposter --filename plant.tif "
         "--width 100000", "has a cluster make a poster, and leaves."),
        ("nubo-batch --status plant.tif", "tells how far that is."),
        ("nubo-batch --resume machine.mp4", "goes on with what was ended."))
    lines.append(".SH EXAMPLES")
    for written, meaning in examples:
        lines += [".TP", f"\\fB{troff(written)}\\fR", troff(meaning)]
    lines += [".SH NOTES", troff(made.epilog), ".SH SEE ALSO", ".BR nubo (1),", ".BR nubo\\-join (1)", ""]
    return "\n".join(lines)
