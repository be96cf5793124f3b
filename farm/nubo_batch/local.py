"""Pieces on this machine, by some processes at a time."""
import collections
import os
import queue
import signal
import threading

from .call import Refused
from .pieces import last_words, make_piece
from .progress import Progress


class Pool:
    """Threads that each have one piece made after the other, until none is left or somebody gives up."""

    def __init__(self, job, retries):
        self._job = job
        self._retries = retries
        self._waiting = collections.deque((number, 0) for number in job.missing())
        self._mutex = threading.Lock()
        self._running = set()
        self._given_up = False
        self.failures = {}  # of pieces that will not be tried again, and why
        self.news = queue.SimpleQueue()  # of each piece what there is to say, and None at the end of each thread

    def give_up(self):
        with self._mutex:
            self._given_up = True
            for process in self._running:
                process.terminate()

    def work(self):
        try:
            while True:
                with self._mutex:
                    if self._given_up or not self._waiting:
                        break
                    number, attempt = self._waiting.popleft()
                self.news.put(self._make(number, attempt))
        finally:
            self.news.put(None)

    def _make(self, number, attempt):
        log = self._job.path(f"piece-{number:05}.log")
        ended = []

        def started(process):
            with self._mutex:
                self._running.add(process)
                if self._given_up:
                    process.terminate()
            ended.append(process)

        try:
            with open(log, "w", encoding="utf-8") as file:
                failure = make_piece(self._job, number, file, started)
        except OSError as error:
            failure = f"{log}: {error.strerror}"
        with self._mutex:
            self._running.difference_update(ended)
            if not failure or self._given_up:
                return ""
            reason = last_words(log) or failure
            if attempt < self._retries:
                self._waiting.append((number, attempt + 1))
                return f"{self._job.name(number)}: {reason}; it is tried again"
            self.failures[number] = reason
            return ""


def run(job, processes, retries, quiet, say):
    """Makes what is missing. Raises Refused if some of it could not be made, KeyboardInterrupt if it was ended."""
    job.sweep()
    pool = Pool(job, retries)
    progress = Progress(job, quiet)

    def interrupted(number, frame):
        raise KeyboardInterrupt

    signal.signal(signal.SIGTERM, interrupted)
    threads = [threading.Thread(target=pool.work) for _ in range(min(processes, max(1, len(job.missing()))))]
    for thread in threads:
        thread.start()
    try:
        progress.show()
        working = len(threads)
        while working:
            said = pool.news.get()
            working -= said is None
            if said:
                progress.clear()
                say(said)
            progress.show()
    except KeyboardInterrupt:
        pool.give_up()
        raise
    finally:
        for thread in threads:
            thread.join()
        progress.clear()
    if pool.failures:
        number, reason = min(pool.failures.items())
        more = f", and {len(pool.failures) - 1} more pieces" if len(pool.failures) > 1 else ""
        raise Refused(f"{job.name(number)} could not be made: {reason}{more}; what is there is kept for --resume")


def usual_processes():
    """One for two cores, since each draws and encodes at once; two where there are only two cores."""
    return max(2, (os.cpu_count() or 2) // 2)
