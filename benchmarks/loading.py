"""What reading models takes, beside VTK's readers and Open CASCADE alone: a part of run.py."""
import json
import os
import statistics
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
STEP = "/usr/share/opencascade/data/step/linkrods.step"  # of the package occt-misc
SMALL = os.path.join(HERE, "..", "tests", "data", "models", "box.obj")
# The mesh that stands for each format, and the limits of its first picture (ours / rival) and of memory (peak / scene).
FORMATS = {"stl": ("4m", None, 1.3), "ply": ("4m", 0.5, 1.3), "glb": ("4m", 0.5, 1.3), "obj": ("1m", None, None)}
STEP_SECONDS = 1.2
HELPER_SECONDS = 0.05


class Loading:
    """`runs` makes and compares the runs, `vtk` is how the rival is called."""

    def __init__(self, bench, vtk):
        self.bench, self.vtk = bench, vtk
        self.models = {suffix: self.model(suffix, mesh) for suffix, (mesh, _, _) in FORMATS.items()}

    def model(self, suffix, mesh):
        if suffix == "stl":
            return self.bench.meshes[mesh]
        made = subprocess.run([sys.executable, os.path.join(HERE, "make_models.py"), self.bench.work, mesh, suffix],
                              check=True, capture_output=True, text=True)
        return made.stdout.strip()

    def program(self, name):
        return os.path.join(self.bench.programs, name)

    def read(self, path, *options):
        """Seconds and MB of one reading."""
        return json.loads(self.bench.run([self.program("loading_benchmark"), path, *options]).output)

    def first_picture(self, suffix, mesh, limit):
        path, size = self.models[suffix], ["--width", "640"]
        runs = self.bench.in_turn(
            ours=lambda: self.bench.grab(path, "ours.png", "grabimage", *size, options=["--samples", "0"]),
            rival=lambda: self.bench.run([*self.vtk, "still", path, "--output", self.bench.path("vtk.png"), *size,
                                          "--samples", "0"]))
        self.bench.row(f"{mesh} {suffix}, file to first picture / VTK", runs["ours"], runs["rival"], (limit, None))

    def memory(self, suffix, mesh, limit):
        """The peak of both processes beside what the scene takes afterwards."""
        runs = [self.read(self.models[suffix], "--memory") for _ in range(self.bench.rounds)]
        peak, scene = (statistics.median(run[part] for run in runs) for part in ("peak", "scene"))
        self.bench.figure(f"{mesh} {suffix}: peak of loading / scene", peak / scene, limit, peak_MB=peak, scene_MB=scene)

    def cad(self):
        runs = self.bench.in_turn(ours=lambda: self.bench.run([self.program("loading_benchmark"), STEP]),
                                  rival=lambda: self.bench.run([self.program("rival_occt"), STEP]))
        self.bench.row("STEP, reading and triangles / Open CASCADE", runs["ours"], runs["rival"], (STEP_SECONDS, None))

    def small(self):
        seconds = statistics.median(self.read(SMALL)["seconds"] for _ in range(10 * self.bench.rounds))
        self.bench.figure("a small file, by the reading process: seconds", seconds, HELPER_SECONDS)

    def several(self):
        """Models of one call are read side by side."""
        path = self.models["obj"]
        runs = self.bench.in_turn(one=lambda: self.bench.run([self.bench.nubo, "--info", path]),
                                  four=lambda: self.bench.run([self.bench.nubo, "--info", *[path] * 4]))
        one, four = (statistics.median(run.seconds for run in runs[name]) for name in ("one", "four"))
        self.bench.figure("four models in a call / four calls", four / (4 * one), one_s=one, four_s=four)

    def measure(self):
        for suffix, (mesh, seconds, memory) in FORMATS.items():
            self.first_picture(suffix, mesh, seconds)
            self.memory(suffix, mesh, memory)
        self.cad()
        self.small()
        self.several()
