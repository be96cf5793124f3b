"""Measures nubo beside its rivals, in turn, several times; prints a table and writes all figures as JSON.

Run by scripts/bench, which installs the rivals and builds.
"""
import argparse
import json
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

from loading import Loading
from scenes import Scenes

HERE = os.path.dirname(os.path.abspath(__file__))
VTK = ["/usr/bin/python3", os.path.join(HERE, "rival_vtk.py")]
SIZE = "1280x720"
MESHES = ("100k", "1m", "4m")  # as make_meshes.py names them in this order
# As the encoder plug-in has them; one core is left to what draws.
FILTER = ("scale=out_color_matrix=bt709:out_range=tv:flags=bicubic+accurate_rnd+full_chroma_inp"
          ":out_h_chr_pos=0:out_v_chr_pos=128,format=yuv420p")
CODECS = {
    "mp4": ["-vf", "{flip}" + FILTER, "-c:v", "libx264", "-preset", "veryfast", "-tune", "zerolatency", "-b:v",
            "1200k", "-maxrate", "2400k", "-bufsize", "2400k"],
    "mkv": ["-vf", "{flip}format=bgra", "-c:v", "ffv1", "-level", "3", "-slicecrc", "1", "-g", "1"],
}
STILL_LIMITS = {"100k": (0.35, 0.8), "1m": (0.35, 0.7), "4m": (0.35, 0.7)}


class Run:
    """One process (or two, piped): its seconds and its (the first one's) peak memory in MB."""

    def __init__(self, command, pipe_into=None):
        start = time.perf_counter()
        first = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        last = first
        if pipe_into:
            last = subprocess.Popen(pipe_into, stdin=first.stdout, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
            first.stdout.close()
        self.output = b"" if pipe_into else first.stdout.read()
        error = last.stderr.read()
        _, status, usage = os.wait4(first.pid, 0)
        first.returncode = os.waitstatus_to_exitcode(status)
        last.wait()
        self.seconds = time.perf_counter() - start
        self.processors = usage.ru_utime + usage.ru_stime  # seconds
        self.megabytes = usage.ru_maxrss * 1024 / 1e6
        if first.returncode or last.returncode:
            sys.exit(f"failed: {' '.join(command)}\n{error.decode()}")


class Bench:
    def __init__(self, build, work, rounds):
        self.work = work
        self.rounds = rounds
        self.programs = os.path.join(build, "benchmarks")
        self.nubo = os.path.join(build, "bin", "nubo")
        # In a process of its own: a child's peak memory counts what its parent held when it was started.
        made = subprocess.run([sys.executable, os.path.join(HERE, "make_meshes.py"), work], check=True,
                              capture_output=True, text=True).stdout.splitlines()
        self.meshes = dict(zip(MESHES, made))
        self.results = []

    def path(self, name):
        return os.path.join(self.work, name)

    def run(self, command, pipe_into=None):
        return Run(command, pipe_into)

    def in_turn(self, **work):
        """Calls each several times, in turn; the runs by name."""
        runs = {name: [] for name in work}
        for _ in range(self.rounds):
            for name, call in work.items():
                runs[name].append(call())
        return runs

    def row(self, name, ours, rival, limits=(None, None), **more):
        """Compares the medians of runs; `limits` for ours / rival, of seconds and of memory."""
        figures = {"work": name}
        for who, runs in (("ours", ours), ("rival", rival)):
            figures[who + "_s"] = statistics.median(run.seconds for run in runs)
            figures[who + "_MB"] = statistics.median(run.megabytes for run in runs)
            figures[who + "_processors_s"] = statistics.median(run.processors for run in runs)
            figures[who + "_all_s"] = [run.seconds for run in runs]
        for unit, limit in zip(("s", "MB"), limits):
            figures["ratio_" + unit] = figures["ours_" + unit] / figures["rival_" + unit]
            figures["limit_" + unit] = limit
        figures.update(more)
        self.results.append(figures)
        print(f"{name:46} {figures['ours_s']:7.2f} s {figures['rival_s']:7.2f} s  {ratio(figures, 's'):14} "
              f"{figures['ours_MB']:6.0f} MB {figures['rival_MB']:6.0f} MB  {ratio(figures, 'MB')}", flush=True)

    def figure(self, name, value, limit=None, **more):
        self.results.append({"work": name, "value": value, "limit": limit, **more})
        print(f"{name:46} {value:9.3f}{verdict(value, limit)}  "
              + ", ".join(f"{key} {number:.3g}" for key, number in more.items()), flush=True)

    def grab(self, scene, output, *parameters, options=(), program=None):
        # The rivals draw as plainly.
        return Run([program or self.nubo, "--quiet", "--look", "plain", "--size", SIZE, *options, scene, *parameters,
                    "--filename", self.path(output)])

    # Pictures

    def still(self, mesh, width, samples, look="plain"):
        return self.grab(self.meshes[mesh], "ours.png", "grabimage", "--width", str(width),
                         options=["--samples", str(samples), "--look", look])

    def vtk_still(self, mesh, width, samples, *more):
        return Run([*VTK, "still", self.meshes[mesh], "--output", self.path("vtk.png"), "--width", str(width),
                    "--samples", str(samples), *more])

    def stills(self):
        for mesh in self.meshes:
            for width in (2000, 10000):
                for samples in (0, 4):
                    runs = self.in_turn(ours=lambda: self.still(mesh, width, samples),
                                        rival=lambda: self.vtk_still(mesh, width, samples))
                    limits = STILL_LIMITS[mesh] if width == 10000 else (None, None)
                    self.row(f"{mesh}, {width} px, {samples} samples / VTK", runs["ours"], runs["rival"], limits)
        # Its edges are hard as it comes, so that ours without samples are what compares.
        runs = self.in_turn(hard=lambda: self.still("100k", 2000, 0), smooth=lambda: self.still("100k", 2000, 4),
                            rival=lambda: Run(["f3d", "--quiet", "--dry-run", "--resolution", "2000,1125", "--output",
                                               self.path("f3d.png"), self.meshes["100k"]]))
        self.row("100k, 2000 px, 0 samples / F3D", runs["hard"], runs["rival"], (0.5, None))
        self.row("100k, 2000 px, 4 samples / F3D", runs["smooth"], runs["rival"])

    def parts(self, *arguments):
        runs = [json.loads(Run([os.path.join(self.programs, "still_benchmark"), *arguments]).output)
                for _ in range(self.rounds)]
        return {part: statistics.median(run[part] for run in runs) for part in runs[0]}

    def still_parts(self):
        made = {}
        for mesh, path in self.meshes.items():
            made[mesh] = self.parts(path, "--output", self.path("parts.png"))
            self.figure(f"{mesh}, 10000 px, 0 samples: seconds, by parts", sum(made[mesh].values()), **made[mesh])
        reads = [json.loads(subprocess.run([*VTK, "still", self.meshes["4m"], "--output", self.path("vtk.png"),
                                            "--width", "2000"], check=True, capture_output=True).stderr)["load"]
                 for _ in range(self.rounds)]
        self.figure("4m: load / VTK's", made["4m"]["load"] / statistics.median(reads), 1.5)
        tiles = self.parts(self.meshes["4m"], "--one-pass")
        self.figure("4m: all tiles of 512 / one pass", tiles["tiles of 512"] / tiles["one pass"], 1.15)
        # Three rounds of the larger tiles, one of the smaller.
        self.figure("4m: tiles of 64 / tiles of 512", 3 * tiles["tiles of 64"] / tiles["tiles of 512"])

    def growth(self):
        runs = self.in_turn(small=lambda: self.still("1m", 5000, 0), large=lambda: self.still("1m", 10000, 0))
        self.row("1m: 10000 px / 5000 px", runs["large"], runs["small"], (4.2, None))
        runs = self.in_turn(few=lambda: self.still("1m", 10000, 0), many=lambda: self.still("4m", 10000, 0))
        self.row("10000 px: 4m / 1m", runs["many"], runs["few"], (4.2, None))
        runs = self.in_turn(few=lambda: self.video("builtin", "mp4", 30, 4), many=lambda: self.video(
            "builtin", "mp4", 300, 4))
        self.row("built-in scene, mp4: 300 / 30 frames", runs["many"], runs["few"])

    # Looks

    def wall(self):
        """A model that covers any picture of it wholly: the panel's shape, seen from the front with nothing around."""
        name = self.path("wall.ply")
        with open(name, "w", encoding="ascii") as file:
            file.write("ply\nformat ascii 1.0\nelement vertex 4\nproperty float x\nproperty float y\nproperty float z\n"
                       "element face 1\nproperty list uchar int vertex_indices\nend_header\n"
                       "-16 0 -9\n16 0 -9\n16 0 9\n-16 0 9\n4 0 1 2 3\n")
        return name

    def looks(self):
        # With its occlusion pass the rival draws the same picture whatever samples it is asked for, so that ours without
        # samples are what compares.
        for samples, limits in ((0, (0.4, 0.5)), (4, (None, None))):
            runs = self.in_turn(ours=lambda: self.still("1m", 10000, samples, "studio"),
                                rival=lambda: self.vtk_still("1m", 10000, 4, "--physical"))
            self.row(f"1m, 10000 px, default look, {samples} samples / VTK physically", runs["ours"], runs["rival"],
                     (limits[0], None))
            runs = self.in_turn(ours=lambda: self.video(self.meshes["1m"], "mp4", 50, samples, look="studio"),
                                rival=lambda: self.vtk_video("1m", "mp4", 50, 4, "--physical"))
            self.row(f"1m, 50 frames mp4, default look, {samples} samples / VTK physically", runs["ours"],
                     runs["rival"], (limits[1], None))
        wall = self.wall()
        runs = self.in_turn(**{look: lambda look=look: self.grab(
            wall, "ours.png", "grabimage", "--width", "10000", options=["--look", look, "--view", "front"])
            for look in ("plain", "studio")})
        seconds = {look: statistics.median(run.seconds for run in all_runs) for look, all_runs in runs.items()}
        self.figure("covered 10000 px: default look - plain, seconds", seconds["studio"] - seconds["plain"], 2.0,
                    **seconds)

    # Videos

    def video(self, scene, suffix, frames, samples, program=None, look="plain"):
        return self.grab(scene, "ours." + suffix, "grabvideo", "--width", "1280", "--height", "720", "--sync", "1",
                         options=["--turntable", str(frames), "--samples", str(samples), "--look", look], program=program)

    def ffmpeg(self, source, suffix, pixels, flip=""):
        codec = [word.replace("{flip}", flip) for word in CODECS[suffix]]
        threads = str(max(1, (os.cpu_count() or 1) - 1))
        return ["ffmpeg", "-v", "error", "-y", "-f", "rawvideo", "-pix_fmt", pixels, "-s", SIZE, "-r", "25", "-i",
                source, *codec, "-g", "1" if suffix == "mkv" else "50", "-threads", threads,
                self.path("rival." + suffix)]

    def vtk_video(self, mesh, suffix, frames, samples, *more):
        return Run([*VTK, "frames", self.meshes[mesh], "--frames", str(frames), "--samples", str(samples), *more],
                   pipe_into=self.ffmpeg("-", suffix, "rgba", "vflip,"))

    def videos(self, frames=100):
        for mesh in ("100k", "1m"):
            for suffix in CODECS:
                for samples in (0, 4):
                    runs = self.in_turn(ours=lambda: self.video(self.meshes[mesh], suffix, frames, samples),
                                        rival=lambda: self.vtk_video(mesh, suffix, frames, samples))
                    limit = 0.5 if (mesh, suffix) == ("1m", "mp4") else None
                    self.row(f"{mesh}, {frames} frames {suffix}, {samples} samples / VTK", runs["ours"], runs["rival"],
                             (limit, None))

    def with_null_encoder(self, folder):
        """A copy of the program that has the null encoder, too; returns its path."""
        build = os.path.dirname(os.path.dirname(self.nubo))
        for part in ("bin", "lib"):
            shutil.copytree(os.path.join(build, part), os.path.join(folder, part))
        shutil.copy(os.path.join(self.programs, "libnull_encoder.so"), os.path.join(folder, "bin", "plugins", "video"))
        return os.path.join(folder, "bin", "nubo")

    def pipeline(self, frames=300):
        """Whether grabbing and encoding keep out of each other's way."""
        with tempfile.TemporaryDirectory(dir=self.work) as folder:
            program = self.with_null_encoder(folder)
            raw = os.path.join(folder, "frames.raw")
            self.video("builtin", "mkv", frames, 4)
            subprocess.run(["ffmpeg", "-v", "error", "-i", self.path("ours.mkv"), "-f", "rawvideo", "-pix_fmt", "bgra",
                            raw], check=True)
            runs = self.in_turn(ours=lambda: self.video("builtin", "mp4", frames, 4, program),
                                null=lambda: self.video("builtin", "null", frames, 4, program),
                                ffmpeg=lambda: Run(self.ffmpeg(raw, "mp4", "bgra")),
                                start=lambda: self.video("builtin", "null", 1, 4, program))
            seconds = {name: statistics.median(run.seconds for run in done) for name, done in runs.items()}
            longer = max(seconds["null"] - seconds["start"], seconds["ffmpeg"])
            self.figure(f"built-in scene, {frames} frames mp4 / longer part", (seconds["ours"] - seconds["start"]) / longer,
                        1.15, **seconds, MB=statistics.median(run.megabytes for run in runs["ours"]))
            self.free_recording(program, folder)

    def free_recording(self, program, folder, seconds=10):
        settings = os.path.join(folder, "settings.ini")
        with open(settings, "w", encoding="utf-8") as file:  # so small that each frame is a chunk
            file.write("[settings]\ngrabvideotempfilesize=1\n")
        self.grab(self.meshes["100k"], "free.null", "grabvideo", "--width", "1280", "--height", "720", "--sync", "0",
                  options=["--settings", settings, "--duration", str(seconds), "--samples", "0"], program=program)
        with open(self.path("free.null"), encoding="ascii") as file:
            times = [int(line.split()[1]) / 1e6 for line in file]
        gaps = sorted(after - before for before, after in zip(times, times[1:]))
        self.figure("100k, 0 samples: free recording, frames per second", 1000 / statistics.mean(gaps),
                    median_gap_ms=statistics.median(gaps), deviation_ms=statistics.pstdev(gaps),
                    gap_95_ms=gaps[len(gaps) * 95 // 100], longest_gap_ms=gaps[-1])

    def scenes(self):
        """Assemblies and scans."""
        Scenes(self, VTK).measure()

    def loading(self):
        """Files of each format."""
        Loading(self, VTK).measure()

    # The window

    def window_runs(self, *arguments):
        program = os.path.join(self.programs, "window_benchmark")
        return [json.loads(Run([program, *arguments]).output) for _ in range(self.rounds)]

    def window(self):
        """How soon the window answers the mouse whatever else happens, and how soon it is there."""
        runs = self.window_runs("answers", self.meshes["1m"], self.meshes["4m"])
        for event in runs[0]:
            worst = {part: max(run[event][part] for run in runs) for part in ("longest", "95 %", "median")}
            self.figure(f"1m: mouse to frame, {event}", worst.pop("longest"), 0.1, **worst)
        for scene in ([], [self.meshes["1m"]]):
            runs = self.window_runs("start", self.nubo, *scene)
            shown = {part: statistics.median(run[part] for run in runs) for part in runs[0]}
            self.figure(f"start with {'1m' if scene else 'nothing'} to first frame", shown.pop("window"), 1, **shown)
        runs = self.in_turn(ours=lambda: Run([self.nubo, "--list-commands"]),
                            rival=lambda: Run(["openscad", "--help"]))
        self.row("--list-commands / OpenSCAD --help", runs["ours"], runs["rival"])
        self.figure("--list-commands", statistics.median(run.seconds for run in runs["ours"]), 0.15)


def verdict(value, limit):
    if limit is None:
        return ""
    return f" <= {limit}" if value <= limit else f" >  {limit} (!)"


def ratio(figures, unit):
    return f"{figures['ratio_' + unit]:5.2f}{verdict(figures['ratio_' + unit], figures['limit_' + unit])}"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parts = ["stills", "still_parts", "growth", "looks", "videos", "pipeline", "scenes", "loading", "window"]
    parser.add_argument("build")
    parser.add_argument("output", help="folder for the figures and whatever is made")
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--only", choices=parts, action="append")
    arguments = parser.parse_args()
    bench = Bench(os.path.abspath(arguments.build), os.path.join(os.path.abspath(arguments.output), "bench"),
                  arguments.rounds)
    print(f"{'work':46} {'ours':>9} {'rival':>9}  {'ratio':14} {'ours':>9} {'rival':>9}  ratio of peak memory")
    for part in arguments.only or parts:
        getattr(bench, part)()
    figures = {"cores": os.cpu_count(), "rounds": arguments.rounds, "results": bench.results}
    name = os.path.join(arguments.output, "benchmarks.json")
    with open(name, "w", encoding="utf-8") as file:
        json.dump(figures, file, indent=1)
    print("All figures:", name)


if __name__ == "__main__":
    main()
