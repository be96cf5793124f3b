"""A line that says how far a job is."""
import sys
import time


def duration(seconds):
    minutes, seconds = divmod(int(seconds + 0.5), 60)
    hours, minutes = divmod(minutes, 60)
    return f"{hours}:{minutes:02}:{seconds:02}" if hours else f"{minutes}:{seconds:02}"


class Progress:
    """Rewritten in place on a terminal; elsewhere nothing is said until the end."""

    def __init__(self, job, quiet):
        self._job = job
        self._on = not quiet and sys.stderr.isatty()
        self._began = time.monotonic()
        self._missing = job.frames(job.missing())

    def text(self):
        job, missing = self._job, self._job.missing()
        left = job.frames(missing)
        text = f"{len(job.pieces) - len(missing):,} of {len(job.pieces):,} pieces, {job.frames() - left:,} of " \
               f"{job.frames():,} {job.call.kind.things}"
        if left < self._missing:
            gone = time.monotonic() - self._began
            text += f", {duration(gone * left / (self._missing - left))} left"
        return text

    def show(self):
        if self._on:
            sys.stderr.write(f"\r\033[K{self.text()}")
            sys.stderr.flush()

    def clear(self):
        if self._on:
            sys.stderr.write("\r\033[K")
            sys.stderr.flush()
