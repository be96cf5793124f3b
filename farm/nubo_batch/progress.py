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
        self._there = job.frames_done()

    def text(self):
        job, frames = self._job, self._job.frames_done()
        pieces = len(job.pieces) - len(job.missing())
        text = f"{pieces:,} of {len(job.pieces):,} pieces, {frames:,} of {job.frames():,} {job.call.kind.things}"
        if frames > self._there:
            gone = time.monotonic() - self._began
            text += f", {duration(gone * (job.frames() - frames) / (frames - self._there))} left"
        return text

    def show(self):
        if self._on:
            sys.stderr.write(f"\r\033[K{self.text()}")
            sys.stderr.flush()

    def clear(self):
        if self._on:
            sys.stderr.write("\r\033[K")
            sys.stderr.flush()
