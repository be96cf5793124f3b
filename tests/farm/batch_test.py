"""Recordings and posters in pieces: on this machine, and on a cluster of two nodes on it.

    batch_test.py PROGRAM BATCH [--cluster]

PROGRAM is nubo and BATCH nubo-batch. With --cluster only what needs Slurm is tested; 77 says that it is not here."""
import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

import cluster

PROGRAM, BATCH, *REST = sys.argv[1:]
ON_CLUSTER = "--cluster" in REST
STEPS = 24
CUBE = "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\nf 1 3 2\nf 1 2 4\nf 2 3 4\nf 3 1 4\n"


class Recording(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="batch")
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        os.chdir(self.folder)
        with open("model.obj", "w", encoding="utf-8") as file:
            file.write(CUBE)

    def call(self, target, steps=STEPS, size=(64, 48)):
        return ["--settings", f"{self.folder}/settings.ini", "--turntable", str(steps), "model.obj", "grabvideo",
                "--filename", target, "--width", str(size[0]), "--height", str(size[1]), "--sync", "yes"]

    def start(self, *words):
        return subprocess.Popen([BATCH, "--program", PROGRAM, *words], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                text=True)

    def batch(self, *words, status=0):
        process = self.start(*words)
        said, errors = process.communicate(timeout=400)
        self.assertEqual(process.returncode, status, said + errors)
        return said + errors

    def expect_whole(self, target, **call):
        subprocess.run([PROGRAM, "--quiet", *self.call("whole.mkv", **call)], check=True, stdout=subprocess.DEVNULL)
        frames, expected = (subprocess.check_output(["ffmpeg", "-v", "error", "-i", file, "-f", "framemd5", "-"])
                            for file in (target, "whole.mkv"))
        self.assertEqual(frames, expected)
        self.assertFalse(os.path.exists(f"{target}.pieces"))

    def poster(self, target):
        """Three rows of tiles of the built-in scene."""
        return ["--settings", f"{self.folder}/settings.ini", "grabposter", "--filename", target, "--width", "2000"]

    def expect_whole_poster(self, target):
        """Tiles are copied, so that not a byte differs."""
        subprocess.run([PROGRAM, "--quiet", *self.poster("whole.dzi")], check=True, stdout=subprocess.DEVNULL)
        made = f"{os.path.splitext(target)[0]}_files"
        subprocess.run(["diff", "-r", "whole_files", made], check=True)
        self.assertTrue(os.path.exists(f"{made}/11/0_0.png") and os.path.exists(target.replace("dzi", "html")))

    def wait_until(self, condition, what):
        for _ in range(2400):
            if condition():
                return
            time.sleep(0.1)
        self.fail(f"{what} has not come about")

    def pieces_done(self, target):
        folder = f"{target}.pieces"
        return sum(name.endswith(".json") and name.startswith("piece") for name in os.listdir(folder)) \
            if os.path.isdir(folder) else 0

    def making(self, target):
        """Process identifiers of calls that make pieces at this moment."""
        found = subprocess.run(["pgrep", "-f", f"{self.folder}/{target}.pieces/making"], capture_output=True, text=True)
        return [int(word) for word in found.stdout.split()]


@unittest.skipIf(ON_CLUSTER, "another call tests that")
class OnThisMachine(Recording):
    def test_makes_what_one_call_makes(self):
        for each in (1, 5, STEPS):
            with self.subTest(each=each):
                self.batch("--piece-steps", str(each), "--", *self.call("a.mkv"))
                self.expect_whole("a.mkv")
        self.batch("--pieces", "3", "--", "--steps", "4:12", *self.call("part.mkv"))
        frames = subprocess.check_output(["ffprobe", "-v", "error", "-count_frames", "-show_entries",
                                          "stream=nb_read_frames", "-of", "csv=p=0", "part.mkv"], text=True)
        self.assertEqual(int(frames), 9)

    def test_makes_the_poster_that_one_call_makes(self):
        self.batch("--piece-steps", "1", "--", *self.poster("a.dzi"))
        self.expect_whole_poster("a.dzi")
        self.assertFalse(os.path.exists("a.dzi.pieces"))
        self.assertIn("whole posters can be cut", self.batch("--", *self.poster("a.dzi.band"), "--band", "0:1", status=1))

    def test_tries_again_what_dies_and_resumes_what_was_ended(self):
        long = {"steps": 400, "size": (320, 240)}
        process = self.start("--pieces", "8", "--", *self.call("a.mkv", **long))
        self.wait_until(lambda: len(self.making("a.mkv")) > 0, "a piece")
        self.assertIn("another nubo-batch is at work", self.batch("--", *self.call("a.mkv", **long), status=1))
        os.kill(self.making("a.mkv")[0], signal.SIGKILL)
        self.wait_until(lambda: self.pieces_done("a.mkv") >= 2, "two pieces")
        process.send_signal(signal.SIGINT)
        _, errors = process.communicate(timeout=60)
        self.assertEqual(process.returncode, 130, errors)
        self.assertIn("ended by signal 9; it is tried again", errors)
        self.assertEqual(self.making("a.mkv"), [])
        kept = self.pieces_done("a.mkv")
        self.assertLess(kept, 8)
        self.assertIn("--resume", self.batch("--", *self.call("a.mkv", **long), status=1))
        self.assertIn(f"{kept} of 8 pieces", self.batch("--status", "a.mkv"))
        spoiled, sound, *_ = sorted(name for name in os.listdir("a.mkv.pieces") if name.endswith(".mkv"))
        with open(f"a.mkv.pieces/{spoiled}", "r+b") as file:
            file.truncate(1000)  # a record alone does not make a piece
        process = self.start("--resume", "a.mkv")
        made = set()

        def is_ended():
            if os.path.isdir("a.mkv.pieces"):
                made.update(name for name in os.listdir("a.mkv.pieces") if name.startswith("making"))
            return process.poll() is not None

        self.wait_until(is_ended, "the rest")
        process.communicate(timeout=400)
        self.assertEqual(process.returncode, 0)
        self.assertNotIn(sound.replace("piece", "making").replace(".mkv", ""), made, "what is there was made again")
        self.expect_whole("a.mkv", **long)

    def test_refuses_what_would_not_go_together(self):
        free = [word if word != "yes" else "no" for word in self.call("a.mkv")]
        for words, reason in (
                (["--", *free], "only recordings in step"),
                (["--", "grabvideo", "--sync", "yes"], "--filename is missing"),
                (["--", *self.call("none/a.mkv")], "none does not exist"),
                (["--program", "/none/nubo", "--", *self.call("a.mkv")], "/none/nubo: there is no such program"),
                (["--detach", "--", *self.call("a.mkv")], "go with --slurm"),
                (["--resume", "a.mkv"], "there is no job"),
                ([], "a call of nubo is needed")):
            with self.subTest(reason=reason):
                self.assertIn(reason, self.batch(*words, status=1))
                self.assertFalse(os.path.exists("a.mkv.pieces"))
        shutil.copy(PROGRAM, "dying")
        with open("dying", "w", encoding="utf-8") as file:
            file.write(f"#!/bin/sh\ncase $* in *dry-run*) exec {PROGRAM} \"$@\";; esac\necho no room left >&2\nexit 1\n")
        self.assertIn("could not be made: no room left, and 2 more pieces",
                      self.batch("--retries", "1", "--pieces", "3", "--program", "./dying", "--", *self.call("a.mkv"),
                                 status=1))
        with open("model.obj", "a", encoding="utf-8") as file:
            file.write("# changed\n")
        self.assertIn("model.obj has changed", self.batch("--resume", "a.mkv", status=1))
        with open("dying", "w", encoding="utf-8") as file:  # now while a piece is made
            file.write(f"#!/bin/sh\ncase $* in *dry-run*) ;; *) echo '#' >> model.obj;; esac\nexec {PROGRAM} \"$@\"\n")
        self.assertIn("model.obj has changed", self.batch("--retries", "0", "--pieces", "1", "--program", "./dying", "--",
                                                          *self.call("b.mkv"), status=1))
        self.assertFalse(os.path.exists("b.mkv"))


@unittest.skipUnless(ON_CLUSTER, "another call tests that")
class OnACluster(Recording):
    @classmethod
    def setUpClass(cls):
        cls.place = tempfile.mkdtemp(prefix="slurm")
        cls.addClassCleanup(shutil.rmtree, cls.place, ignore_errors=True)
        cls.cluster = cls.enterClassContext(cluster.Cluster(cls.place)) if hasattr(cls, "enterClassContext") \
            else cluster.Cluster(cls.place).__enter__()
        cls.addClassCleanup(cls.cluster.__exit__)

    def test_goes_on_through_kills_and_a_drained_node(self):
        long = {"steps": 300, "size": (320, 240)}
        plan = self.batch("--slurm", "--dry-run", "--piece-steps", "1", "--", *self.call("a.mkv", **long))
        self.assertIn("100 pieces of 3 steps", plan, "no array is larger than the cluster allows")
        self.assertIn("--array=0-99", plan)
        process = self.start("--slurm", "--pieces", "6", "--", *self.call("a.mkv", **long))
        self.wait_until(lambda: len(self.making("a.mkv")) > 0, "a piece")
        os.kill(self.making("a.mkv")[0], signal.SIGKILL)
        process.kill()  # what waits is not what works
        process.communicate()
        subprocess.run(["scontrol", "update", "NodeName=node2", "State=DRAIN", "Reason=test"], check=True)
        self.assertIn("still has it queued", self.batch("--resume", "a.mkv"))
        subprocess.run(["scontrol", "update", "NodeName=node2", "State=RESUME"], check=True)
        self.expect_whole("a.mkv", **long)

    def test_makes_a_poster_though_a_node_is_full(self):
        # The narrow node's processes may write no large files; what fails there is made on the other.
        subprocess.run(["scontrol", "update", "NodeName=node1", "State=DRAIN", "Reason=test"], check=True)
        process = self.start("--slurm", "--keep", "--piece-steps", "1", "--", *self.poster("a.dzi"))
        self.wait_until(lambda: os.path.exists("a.dzi.pieces/failed-nodes"), "a failure")
        subprocess.run(["scontrol", "update", "NodeName=node1", "State=RESUME"], check=True)
        said, errors = process.communicate(timeout=400)
        self.assertEqual(process.returncode, 0, said + errors)
        with open("a.dzi.pieces/failed-nodes", encoding="utf-8") as file:
            self.assertEqual(set(file.read().split()), {"node2"})
        self.expect_whole_poster("a.dzi")

    def test_leaves_and_tells_why_it_failed(self):
        self.batch("--slurm", "--detach", "--pieces", "2", "--", *self.call("a.mkv"))
        self.wait_until(lambda: os.path.exists("a.mkv") and not os.path.exists("a.mkv.pieces"), "the video")
        self.expect_whole("a.mkv")
        with open("dying", "w", encoding="utf-8") as file:
            file.write(f"#!/bin/sh\ncase $* in *dry-run*) exec {PROGRAM} \"$@\";; esac\necho no room left >&2\nexit 1\n")
        os.chmod("dying", 0o755)
        self.assertIn("no room left", self.batch("--slurm", "--retries", "1", "--pieces", "2", "--program", "./dying",
                                                 "--", *self.call("b.mkv"), status=1))


if __name__ == "__main__":
    if ON_CLUSTER and cluster.missing():
        print(f"Slurm is not installed: {', '.join(cluster.missing())} missing")
        sys.exit(77)
    unittest.main(argv=sys.argv[:1])
