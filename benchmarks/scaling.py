#!/usr/bin/env python3
"""What pieces cost on this machine, and what that means for one to a thousand nodes.

    scaling.py BUILD [--work FOLDER] [--measured FILE]

Measures with the programs in BUILD/bin, prints the tables of docs/scaling.md and leaves the figures in
FOLDER/scaling.json; --measured FILE simulates with such figures and measures nothing. The simulation is the same each
time.

A piece of s steps takes start + load + first + s * item seconds on its node. Each figure is the slope or the rest of
two measurements, each the least of three, which other work disturbs least: of recordings of few and many steps, and of
few and many joined pieces. Loading is told by the program's own record. Encoding is what the processors have to do more
than for uncompressed frames.
"""
import argparse
import heapq
import json
import math
import os
import random
import statistics
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
ROUNDS = 3
NODES = (1, 3, 10, 30, 100, 300, 1000)
SIZE = ["--width", "1280", "--height", "720", "--sync", "yes"]


class Measure:
    def __init__(self, build, work):
        self.programs = os.path.join(build, "bin")
        self.work = work

    def path(self, name):
        return os.path.join(self.work, name)

    def run(self, *words):
        """Seconds that passed, and seconds of processors, of all that the call started."""
        begin, before = time.perf_counter(), os.times()
        subprocess.run(words, check=True, stdout=subprocess.DEVNULL)
        after = os.times()
        return (time.perf_counter() - begin, after.children_user + after.children_system - before.children_user
                - before.children_system)

    def call(self, scene, words, part, rounds_wanted=ROUNDS):
        """The least of a call of the program: its seconds, those of processors, and those of loading."""
        rounds = []
        for _ in range(rounds_wanted):
            words_now = [os.path.join(self.programs, "nubo"), "--quiet", "--settings", self.path("settings.ini"),
                         "--report", self.path("report.json"), *part, *scene, *words]
            seconds = self.run(*words_now)
            with open(self.path("report.json"), encoding="utf-8") as file:
                rounds.append((*seconds, json.load(file)["seconds"]["scene"]))
        return [min(column) for column in zip(*rounds)]

    def pieces(self, scene, words, few, many):
        """Start, load, first and item of pieces that are told by ways to make few and many items: ([words], number)."""
        (wall_few, cpu_few, load), (wall_many, cpu_many, _) = (self.call(scene, [*words, *after], before)
                                                              for (before, after, _) in (few, many))
        start = min(self.run(os.path.join(self.programs, "nubo"), "--list-commands")[0] for _ in range(ROUNDS))
        item = (wall_many - wall_few) / (many[2] - few[2])
        return {"start": start, "load": load, "first": max(0.0, wall_few - few[2] * item - start - load), "item": item,
                "processors": (cpu_many - cpu_few) / (many[2] - few[2])}

    def recording(self, scene, steps, name, few, many):
        made = self.pieces([*steps, *scene], ["grabvideo", "--filename", self.path(name), *SIZE],
                           (["--steps", f"0:{few - 1}"], [], few), (["--steps", f"0:{many - 1}"], [], many))
        made["bytes"] = os.path.getsize(self.path(name)) / many
        return made

    def poster(self, scene, width, rows):
        band = self.path("rows.tif.band")
        few, many = ([], ["--band", f"{rows // 2}:{rows // 2}"], 1), ([], ["--band", f"{rows // 2}:{rows // 2 + 2}"], 3)
        made = self.pieces(scene, ["grabposter", "--filename", band, "--width", str(width)], few, many)
        made["bytes"] = os.path.getsize(band) / 3
        return made

    def join(self, name):
        """Seconds of joining, for each piece and for each frame: 10,000 frames in many pieces and in few."""
        seconds = {}
        for frames, count in ((10, 1), (10, 1000), (100, 100)):
            piece = self.path(f"{frames}{os.path.splitext(name)[1]}")
            self.call(["--steps", f"0:{frames - 1}", "builtin"], ["grabvideo", "--filename", piece, *SIZE], [], 1)
            with open(self.path("list"), "w", encoding="utf-8") as file:
                file.write(f"{frames}\t{os.path.basename(piece)}\n" * count)
            call = [os.path.join(self.programs, "nubo-join"), "--list", self.path("list"), self.path(name)]
            seconds[count] = min(self.run(*call)[0] for _ in range(ROUNDS))
        piece = (seconds[1000] - seconds[100]) / 900
        return {"piece": piece, "join": (seconds[100] - seconds[1] - 99 * piece) / 9990}

    def join_poster(self, scene, width):
        """Seconds of joining for each megabyte of bands."""
        bands = []
        for number in range(4):
            bands.append(self.path(f"{number}.tif.band"))
            self.call(scene, ["grabposter", "--filename", bands[-1], "--width", str(width), "--band",
                              f"{5 * number}:{5 * number + 4}"], [], 1)
        seconds, _ = self.run(os.path.join(self.programs, "nubo-join"), self.path("poster.tif"), *bands)
        return seconds / sum(os.path.getsize(band) / 1e6 for band in bands)

    def all(self):
        mesh = subprocess.run([sys.executable, os.path.join(HERE, "make_meshes.py"), self.work], check=True,
                              capture_output=True, text=True).stdout.splitlines()[1]
        plain = ["--look", "plain"]
        hour = self.recording([*plain, mesh], ["--turntable", "1000"], "a.mp4", 20, 120)
        raw = self.recording([*plain, mesh], ["--turntable", "1000"], "a.y4m", 20, 120)
        short = self.recording(["builtin"], [], "a.mp4", 20, 120)
        poster = self.poster(["builtin"], 100000, 110)
        hour["encode"] = hour["processors"] - raw["processors"]
        hour["model bytes"] = os.path.getsize(mesh)
        joining = self.join("a.mp4")
        # A poster of 20 rows of the same tiles.
        row = self.join_poster(["builtin"], 18000) * poster["bytes"] / 1e6
        return {"hour": hour | joining, "short": short | joining, "poster": poster | {"piece": 0, "join": row}}


# What a cluster is taken to be like, which no single machine tells.
SUBMIT = 5  # seconds until a task that is queued may start
DISPATCH = 100  # tasks that the scheduler starts in a second
SHARED = 1e9  # bytes that the file system gives in a second, to all nodes together
SPREAD = 0.1  # of the logarithm of what a piece takes
SLOW, SLOWER = 0.02, 3  # so many pieces take so many times as long
LOST = 0.005  # so many pieces are lost halfway
MOST_TASKS = 1000
JOBS = {"hour": ("an hour of 1m, 60 frames per second", 216000, 10), "short": ("300 steps, built-in scene", 300, 10),
        "poster": ("poster, 100,000 × 56,250", 110, 1)}
SEED, DRAWS = 1, 15


def whole(cost, items):
    """Seconds of one call that makes all."""
    return cost["start"] + cost["load"] + cost["first"] + items * cost["item"]


def overhead(cost):
    return cost["start"] + cost["load"] + cost["first"]


def one_round(cost, sizes, nodes, random_source):
    """The seconds until the last of these pieces has ended, those of all nodes together, and the lost pieces."""
    free = [float(SUBMIT)] * min(nodes, len(sizes))
    # Nodes keep what they have read once.
    first_read = max(0.0, len(free) * cost.get("model bytes", 0) / SHARED - cost["load"])
    is_new = [True] * len(free)
    queue = [(at, node) for node, at in enumerate(free)]
    heapq.heapify(queue)
    work, lost = 0.0, []
    for number, size in enumerate(sizes):
        at, node = heapq.heappop(queue)
        seconds = (overhead(cost) + size * cost["item"]) * math.exp(random_source.gauss(0, SPREAD))
        if random_source.random() < SLOW:
            seconds *= SLOWER
        if random_source.random() < LOST:
            seconds /= 2
            lost.append(size)
        seconds += first_read * is_new[node]
        is_new[node] = False
        work += seconds
        heapq.heappush(queue, (max(at, SUBMIT + number / DISPATCH) + seconds, node))
    return max(at for at, _ in queue), work, lost


def simulate(cost, items, nodes, pieces):
    """Seconds and node hours until the video or poster is there: medians."""
    source, runs = random.Random(SEED), []
    for _ in range(DRAWS):
        sizes = [items * (number + 1) // pieces - items * number // pieces for number in range(pieces)]
        work = items * cost["join"] + pieces * cost["piece"]
        seconds = SUBMIT + work  # the join is a task, too
        while sizes:
            more, done, sizes = one_round(cost, sizes, nodes, source)
            seconds, work = seconds + more, work + done
        runs.append((seconds, work / 3600))
    return [statistics.median(column) for column in zip(*runs)]


def best(cost, items, nodes):
    """The number of pieces with which it is there soonest."""
    numbers = {min(items, MOST_TASKS, max(1, round(nodes * each))) for each in
               (1, 1.5, 2, 3, 4, 6, 8, 12, 16, 24, 32, 48, 64, 96, 128)}
    return min(numbers, key=lambda pieces: simulate(cost, items, nodes, pieces)[0])


def clock(seconds):
    if seconds < 90:
        return f"{seconds:.0f} s"
    return f"{seconds / 60:.0f} min" if seconds < 5400 else f"{seconds / 3600:.1f} h"


def print_costs(measured):
    print("| | start | load | first | item | encode | piece | join | size of an item |\n" + "|---" * 9 + "|")
    for job, (name, _, _) in JOBS.items():
        cost = measured[job]
        encode = f"{cost['encode'] * 1e3:.1f} ms" if "encode" in cost else ""
        print(f"| {name} | {cost['start']:.2f} s | {cost['load']:.2f} s | {cost['first']:.2f} s "
              f"| {cost['item'] * 1e3:.0f} ms ({cost['processors'] * 1e3:.0f} ms of processors) | {encode} "
              f"| {cost['piece'] * 1e3:.2f} ms | {cost['join'] * 1e3:.3f} ms | {cost['bytes'] / 1e3:,.0f} kB |")


def print_scaling(measured, per_node):
    for job, (name, items, least) in JOBS.items():
        cost = measured[job]
        alone = whole(cost, items)
        print(f"\n{name}: {clock(alone)} in one call\n")
        print("| nodes | pieces | time | times as fast | node hours | best | time |\n" + "|---" * 7 + "|")
        for nodes in NODES:
            pieces = min(items, MOST_TASKS, max(nodes, min(per_node * nodes, items // least)))
            seconds, hours = simulate(cost, items, nodes, pieces)
            number = best(cost, items, nodes)
            print(f"| {nodes} | {pieces} | {clock(seconds)} | {alone / seconds:.1f} | {hours:.2f} | {number} "
                  f"| {clock(simulate(cost, items, nodes, number)[0])} |")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", nargs="?", default="build/release")
    parser.add_argument("--work", default=tempfile.gettempdir())
    parser.add_argument("--measured", metavar="FILE")
    parser.add_argument("--per-node", type=int, default=4, help="pieces for each node, as nubo-batch cuts by itself")
    arguments = parser.parse_args()
    if arguments.measured:
        with open(arguments.measured, encoding="utf-8") as file:
            measured = json.load(file)
    else:
        measured = Measure(arguments.build, arguments.work).all()
        with open(os.path.join(arguments.work, "scaling.json"), "w", encoding="utf-8") as file:
            json.dump(measured, file, indent=1)
    print_costs(measured)
    print_scaling(measured, arguments.per_node)


if __name__ == "__main__":
    main()
