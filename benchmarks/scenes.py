"""What assemblies, a textured city and scans take, beside the rival and as they grow: a part of run.py."""
import json
import os
import statistics
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
SECONDS, MEMORY = 0.35, {2000: 0.4, 10000: 0.75}  # ours / rival; the larger picture itself has 225 MB
CITY_SECONDS = 0.4
PARTS_GROW, POINTS_GROW = 1.5, 3
SPEED = 3  # times the rival's rate
TRIANGLES = 224  # of a part
MOVING = 100
SAMPLES = (0, 4)


class Scenes:
    """`runs` makes and compares the runs, `vtk` is how the rival is called."""

    def __init__(self, bench, vtk):
        self.bench, self.vtk = bench, vtk

    def scene(self, name, *arguments):
        path = self.bench.path(name)
        subprocess.run([sys.executable, os.path.join(HERE, "make_scenes.py"), arguments[0], path, *map(str, arguments[1:])],
                       check=True)
        return path

    def still(self, scene, width, samples, *options):
        return self.bench.grab(scene, "ours.png", "grabimage", "--width", str(width),
                               options=["--samples", str(samples), *options])

    def compare(self, name, scene, widths, seconds, memory):
        rival = [*self.vtk, "still", scene, "--output", self.bench.path("vtk.png")]
        for width in widths:
            for samples in SAMPLES:
                runs = self.bench.in_turn(
                    ours=lambda: self.still(scene, width, samples),
                    rival=lambda: self.bench.run([*rival, "--width", str(width), "--samples", str(samples)]))
                self.bench.row(f"{name}, {width} px, {samples} samples / VTK", runs["ours"], runs["rival"],
                               (seconds, memory.get(width)))

    def video(self, scene, frames=100):
        for samples in SAMPLES:
            runs = self.bench.in_turn(
                ours=lambda: self.bench.grab(scene, "ours.mp4", "grabvideo", "--width", "1280", "--height", "720", "--sync",
                                             "1", options=["--steps", f"0:{frames - 1}", "--samples", str(samples)]),
                rival=lambda: self.bench.run([*self.vtk, "frames", scene, "--frames", str(frames), "--moving", str(MOVING),
                                              "--samples", str(samples)],
                                             pipe_into=self.bench.ffmpeg("-", "mp4", "rgba", "vflip,")))
            self.bench.row(f"10,000 parts, {MOVING} move, {frames} frames mp4, {samples} samples / VTK", runs["ours"],
                           runs["rival"], (1 / SPEED, None))

    def parts_growth(self):
        few, many = (self.scene(f"parts-{parts}.glb", "assembly", parts, 20000 * TRIANGLES // parts)
                     for parts in (100, 20000))
        runs = self.bench.in_turn(few=lambda: self.still(few, 2000, 0), many=lambda: self.still(many, 2000, 0))
        self.bench.row("20,000 parts / 100 of as many triangles", runs["many"], runs["few"], (PARTS_GROW, None))

    def seconds_after_loading(self, scene):
        report = self.bench.path("report.json")
        self.still(scene, 2000, 0, "--report", report)
        with open(report, encoding="utf-8") as file:
            seconds = json.load(file)["seconds"]
        return seconds["all"] - seconds["scene"]

    def points_growth(self):
        million, fifty = (self.scene(f"scan-{count}m.ply", "scan", count * 1000000) for count in (1, 50))
        runs = self.bench.in_turn(few=lambda: self.seconds_after_loading(million),
                                  many=lambda: self.seconds_after_loading(fifty))
        few, many = statistics.median(runs["few"]), statistics.median(runs["many"])
        self.bench.figure("after loading: 50 / 1 million points", many / few, POINTS_GROW, few_s=few, many_s=many)

    def measure(self):
        for parts in (10000, 20000):
            scene = self.scene(f"parts-{parts}.glb", "assembly", parts, TRIANGLES)
            self.compare(f"{parts:,} parts", scene, (2000, 10000), SECONDS, MEMORY)
        self.compare("10m points", self.scene("scan-10m.ply", "scan", 10000000), (2000, 10000), SECONDS, MEMORY)
        self.compare("city of 2,000 textures", self.scene("city.glb", "city"), (2000, 10000), CITY_SECONDS, {})
        self.video(self.scene("moving.glb", "assembly", 10000, TRIANGLES, "--moving", MOVING))
        self.parts_growth()
        self.points_growth()
