"""Recordings and posters in pieces: on this machine, and on a cluster of two nodes on it.

    batch_test.py PROGRAM BATCH [--cluster]

PROGRAM is nubo and BATCH nubo-batch. With --cluster only what needs Slurm is tested; 77 says that it is not here."""
import json
import os
import re
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
QUICK = ["--look", "plain", "--samples", "0"]
CUBE = "mtllib paint.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\nf 1 3 2\nf 1 2 4\nf 2 3 4\nf 3 1 4\n"


class Recording(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="batch")
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        os.chdir(self.folder)
        with open("model.obj", "w", encoding="utf-8") as file:
            file.write(CUBE)
        with open("paint.mtl", "w", encoding="utf-8") as file:
            file.write("newmtl grey\n")

    def call(self, target, steps=STEPS, size=(64, 48), more=()):
        return [*self.settings(), *QUICK, "--turntable", str(steps), "model.obj", "grabvideo", "--filename", target,
                "--width", str(size[0]), "--height", str(size[1]), "--sync", "yes", *more]

    def settings(self):
        return ["--settings", f"{self.folder}/settings.ini"]

    def set_rate(self, rate):
        subprocess.run([PROGRAM, *self.settings(), "setvideosettings", "--fps", str(rate)], check=True)

    def start(self, *words, cwd=None):
        program = [] if "--resume" in words or "--status" in words else ["--program", PROGRAM]
        return subprocess.Popen([BATCH, *program, *words], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                                cwd=cwd)

    def batch(self, *words, status=0, **where):
        process = self.start(*words, **where)
        said, errors = process.communicate(timeout=400)
        self.assertEqual(process.returncode, status, said + errors)
        return said + errors

    def expect_whole(self, target, is_kept=False, **call):
        subprocess.run([PROGRAM, "--quiet", *self.call("whole.mkv", **call)], check=True, stdout=subprocess.DEVNULL)
        frames, expected = (subprocess.check_output(["ffmpeg", "-v", "error", "-i", file, "-f", "framemd5", "-"])
                            for file in (target, "whole.mkv"))
        self.assertEqual(frames, expected)
        self.assertEqual(os.path.exists(f"{target}.pieces"), is_kept)
        with open("settings.ini", encoding="utf-8") as file:
            self.assertNotIn(".pieces", file.read(), "what pieces remember is not the user's")

    def poster(self, target, width=2000):
        """Three rows of tiles of the built-in scene, or more."""
        return [*self.settings(), *QUICK, "grabposter", "--filename", target, "--width", str(width)]

    def expect_whole_poster(self, target, **call):
        """Tiles are copied, so that not a byte differs."""
        subprocess.run([PROGRAM, "--quiet", *self.poster("whole.dzi", **call)], check=True, stdout=subprocess.DEVNULL)
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

    def program(self, before):
        """One that does something before each piece that it makes."""
        with open("odd", "w", encoding="utf-8") as file:
            file.write(f"#!/bin/sh\ncase $* in *dry-run*) ;; *) {before};; esac\nexec {PROGRAM} \"$@\"\n")
        os.chmod("odd", 0o755)
        return "./odd"

    def kill_one(self, target):
        """Whether there was a call that made a piece, which is dead now."""
        found = self.making(target)
        if found:
            os.kill(found[0], signal.SIGKILL)
        return bool(found)

    def making(self, target):
        """Process identifiers of calls that make pieces at this moment."""
        found = subprocess.run(["pgrep", "-f", f"{self.folder}/{target}.pieces/making"], capture_output=True, text=True)
        return [int(word) for word in found.stdout.split()]


@unittest.skipIf(ON_CLUSTER, "another call tests that")
class OnThisMachine(Recording):
    def test_makes_what_one_call_makes(self):
        for each, target in ((1, "a.mkv"), (5, ".mkv"), (STEPS, "a.MKV")):
            with self.subTest(target=target):
                said = self.batch("--quiet", "--piece-steps", str(each), "--", *self.call(target))
                self.assertEqual(said, "")
                self.expect_whole(target)
        part = {"more": ["--steps", "4:12"]}
        self.batch("--pieces", "3", "--program", self.program("true"), "--", *self.call("part.mkv", **part))
        self.expect_whole("part.mkv", **part)

    def test_makes_the_poster_that_one_call_makes(self):
        said = self.batch("--piece-steps", "1", "--", *self.poster("a.dzi"))
        self.expect_whole_poster("a.dzi")
        self.assertFalse(os.path.exists("a.dzi.pieces"))
        files = (os.path.join(folder, name) for folder, _, names in os.walk("a_files") for name in names)
        tiles = sum(os.path.getsize(file) for file in files)
        self.assertIn(f"{tiles + os.path.getsize('a.dzi'):,} bytes", said)
        band = self.poster("a.dzi.band") + ["--band", "0:1"]
        self.assertIn("whole posters can be cut", self.batch("--", *band, status=2))

    def test_cuts_evenly_or_as_it_is_told(self):
        for words, steps, expected in ((["--pieces", "16"], 24, "16 pieces of 1-2 steps"),
                                       (["--piece-steps", "10"], 24, "3 pieces of 4-10 steps"),
                                       (["--pieces", "99"], 24, "24 pieces of 1 steps"),
                                       (["--processes", "2"], 24, "2 pieces of 12 steps"),
                                       (["--processes", "3"], 3600, "12 pieces of 300 steps")):
            with self.subTest(words=words):
                self.assertIn(expected, self.batch("--dry-run", *words, "--", *self.call("a.mkv", steps)))
        self.assertFalse(os.path.exists("a.mkv.pieces"))

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
        self.set_rate(7)  # a job goes on with the settings that it began with
        process = self.start("--resume", "a.mkv")
        self.wait_until(lambda: self.making("a.mkv"), "another piece")
        process.kill()
        process.communicate()
        self.wait_until(lambda: not self.making("a.mkv"), "the end of what nobody waits for")
        spoiled, sound, *_ = sorted(name for name in os.listdir("a.mkv.pieces") if name.endswith(".mkv"))
        with open(f"a.mkv.pieces/{spoiled}", "r+b") as file:
            file.truncate(1000)  # a record alone does not make a piece
        for record in ("", "[]", '{"files": 1}', '{"files": [{}]}'):
            with open("a.mkv.pieces/piece-00007.json", "w", encoding="utf-8") as file:
                file.write(record)
            self.assertIn("missing: piece 7", self.batch("--status", "a.mkv"))
        process = self.start("--keep", "--resume", f"{self.folder}/a.mkv.pieces", cwd="/")
        made = set()

        def is_ended():
            made.update(name for name in os.listdir("a.mkv.pieces") if name.startswith("making"))
            return process.poll() is not None

        self.wait_until(is_ended, "the rest")
        _, errors = process.communicate(timeout=400)
        self.assertEqual(process.returncode, 0, errors)
        making = sound.replace("piece", "making").replace(".mkv", "-")
        self.assertFalse([name for name in made if name.startswith(making)], "what is there was made again")
        self.set_rate(25)
        self.expect_whole("a.mkv", is_kept=True, **long)
        # What only the join notices is made again, too.
        os.remove("a.mkv.pieces/joined")
        with open(f"a.mkv.pieces/{sound}", "r+b") as file:
            file.write(bytes(1000))
        self.assertIn(f"{sound}: ", self.batch("--resume", "a.mkv", status=1))
        self.assertIn("7 of 8 pieces", self.batch("--status", "a.mkv"))
        self.batch("--resume", "a.mkv")
        self.expect_whole("a.mkv", is_kept=True, **long)

    def test_refuses_what_would_not_go_together(self):
        free = [word if word != "yes" else "no" for word in self.call("a.mkv")]
        os.makedirs("taken.mkv.pieces/of somebody")
        for words, status, reason in (
                (["--", *free], 2, "only recordings in step"),
                (["--", "grabvideo", "--sync", "yes"], 2, "--filename is missing"),
                (["--", *self.call("none/a.mkv")], 2, "none does not exist"),
                (["--", *self.call("-.mkv")], 2, "standard output cannot be made in pieces"),
                (["--", "-", *self.call("a.mkv")], 2, "what comes from standard input"),
                (["--", "--duration", "9", *self.call("a.mkv")], 2, "--duration ends a call before"),
                (["--program", "/bin/true", "--", *self.call("a.mkv")], 2, "nothing that says its steps"),
                (["--", "--view", "all", *self.call("a{view}.mkv")], 2, "makes several files"),
                (["--", "--dry-run", *self.call("a.mkv")], 2, "stands before the --"),
                (["--", "--report", "r.json", *self.call("a.mkv")], 2, "--report tells of one call"),
                (["--", *self.call("taken.mkv")], 1, "taken.mkv.pieces: is there, and is no job's"),
                (["--program", "/none/nubo", "--", *self.call("a.mkv")], 2, "/none/nubo: there is no such program"),
                (["--detach", "--", *self.call("a.mkv")], 2, "go with --slurm"),
                (["--pieces", "0", "--", *self.call("a.mkv")], 2, "'0' is no number from 1 on"),
                (["--pieces", "2", "--piece-steps", "2", "--", *self.call("a.mkv")], 2, "say the same"),
                (self.call("a.mkv"), 2, "what nubo is called with stands after --"),
                (["--resume", "a.mkv"], 1, "there is no job"),
                (["--pieces", "3", "--resume", "a.mkv"], 2, "--resume takes no --pieces"),
                ([], 2, "a call of nubo is needed")):
            with self.subTest(reason=reason):
                said = self.batch(*words, status=status)
                self.assertRegex(said, f"^nubo-batch: [^\n]*{re.escape(reason)}[^\n]*\n$")
                self.assertFalse(os.path.exists("a.mkv.pieces"))
        dying = ["--retries", "1", "--pieces", "3", "--program", self.program("echo no room left >&2; exit 1")]
        self.assertIn("could not be made: no room left, and 2 more pieces",
                      self.batch(*dying, "--", *self.call("a.mkv"), status=1))
        with open("model.obj", "a", encoding="utf-8") as file:
            file.write("# changed\n")
        self.assertIn("model.obj has changed", self.batch("--resume", "a.mkv", status=1))
        while_made = ["--retries", "0", "--pieces", "1", "--program", self.program("echo '#' >> paint.mtl")]
        self.assertIn("paint.mtl has changed", self.batch(*while_made, "--", *self.call("b.mkv"), status=1))
        self.assertIn("0 of 1 pieces", self.batch("--status", "b.mkv"))
        with open("b.mkv.pieces/job.json", "w", encoding="utf-8") as file:
            file.write("{")
        self.assertIn("tells of no job any more", self.batch("--resume", "b.mkv", status=1))
        fewer = f"exec {PROGRAM} $(echo $* | sed s/0:23/0:9/)"
        for target, does, reason in (("c.mkv", fewer, "could not be made: has 10 frames of 24"),
                                     ("d.mkv", "rm -rf d.mkv.pieces", "piece-00000.log: No such file")):
            odd = ["--retries", "1", "--pieces", "1", "--program", self.program(does)]
            self.assertIn(reason, self.batch(*odd, "--", *self.call(target), status=1))

    def test_knows_each_option_everywhere(self):
        guide = os.path.join(os.path.dirname(__file__), "..", "..", "docs", "user-guide.md")
        with open(guide, encoding="utf-8") as file:
            guide = file.read()
        for program in (BATCH, os.path.join(os.path.dirname(PROGRAM), "nubo-join")):
            said = {word: subprocess.check_output([program, word, *more], text=True)
                    for word, *more in (["--help"], ["--manual"], ["--complete", "--"])}
            options = set(re.findall(r"^  (?:-\w, )?(--[a-z-]+)", said["--help"], re.MULTILINE))
            self.assertGreater(len(options), 3)
            for option in options:
                with self.subTest(program=program, option=option):
                    self.assertRegex(said["--manual"].replace("\\-", "-"), f"\n.TP\n.fB{option}\\b(?!-)")
                    self.assertRegex(said["--complete"], f"(?m)^{option}\t")
                    self.assertRegex(guide, f"{option}\\b(?!-)")
        for words, expected in ((["--st"], "--status"), (["--status", "a"], "a b.mkv"), (["--program", ""], ":files"),
                                (["--slurm", "--", "--vi"], "--view"), (["--", "grabposter", "--tile", ""], "512")):
            with self.subTest(words=words):
                os.makedirs("a b.mkv.pieces", exist_ok=True)
                said = subprocess.check_output([BATCH, "--complete", *words], text=True)
                self.assertEqual([line.partition("\t")[0] for line in said.splitlines()], [expected])


@unittest.skipUnless(ON_CLUSTER, "another call tests that")
class OnACluster(Recording):
    @classmethod
    def setUpClass(cls):
        cls.place = tempfile.mkdtemp(prefix="slurm")
        cls.addClassCleanup(shutil.rmtree, cls.place, ignore_errors=True)
        cls.cluster = cluster.Cluster(cls.place).__enter__()
        cls.addClassCleanup(cls.cluster.__exit__)

    def set_node(self, node, state):
        subprocess.run(["scontrol", "update", f"NodeName={node}", f"State={state}", "Reason=test"], check=True)

    def test_goes_on_through_kills_and_a_drained_node(self):
        long = {"steps": 300, "size": (320, 240)}
        plan = self.batch("--slurm", "--dry-run", "--piece-steps", "1", "--", *self.call("a.mkv", **long))
        self.assertIn("100 pieces of 3 steps", plan, "no array is larger than the cluster allows")
        self.assertIn("--array=0-99", plan)
        process = self.start("--slurm", "--pieces", "6", "--", *self.call("a.mkv", **long))
        self.wait_until(lambda: self.kill_one("a.mkv"), "a piece")
        process.kill()  # what waits is not what works
        process.communicate()
        self.set_node("node2", "DRAIN")
        self.assertIn("still has it queued", self.batch("--resume", "a.mkv"))
        self.set_node("node2", "RESUME")
        self.expect_whole("a.mkv", **long)

    def make_though_a_node_fails(self, failing, target, words, reason, then=lambda: True):
        """One node has less than the other, and works alone until it has failed."""
        program = self.program(f'[ "$SLURMD_NODENAME" != node2 ] || {failing}')
        self.set_node("node1", "DRAIN")
        process = self.start("--slurm", "--keep", "--pieces", "6", "--retries", "3", "--program", program, "--", *words)
        self.wait_until(lambda: os.path.exists(f"{target}.pieces/failed-nodes"), "a failure")
        self.set_node("node1", "RESUME")
        self.wait_until(then, "what comes then")
        said, errors = process.communicate(timeout=400)
        self.assertEqual(process.returncode, 0, said + errors)
        with open(f"{target}.pieces/join.log", encoding="utf-8") as log:
            self.assertIn(reason, log.read())
        with open(f"{target}.pieces/failed-nodes", encoding="utf-8") as file:
            return set(file.read().split())

    def test_makes_a_poster_though_a_node_can_write_little_and_a_piece_dies(self):
        def kill_later():
            with open("a.dzi.pieces/slurm.json", encoding="utf-8") as file:
                return json.load(file)["round"] > 0 and self.kill_one("a.dzi")

        wide = {"width": 6000}
        nodes = self.make_though_a_node_fails("ulimit -f 200", "a.dzi", self.poster("a.dzi", **wide),
                                              "ended by signal 9", kill_later)
        self.assertEqual(nodes, {"node1", "node2"})
        self.expect_whole_poster("a.dzi", **wide)

    def test_records_though_a_nodes_disk_is_full(self):
        if not self.cluster.has_small_disk:
            self.skipTest("no file system can be mounted here, which would be a node's full disk")
        on_disk = {"size": (320, 240), "more": ["--use-memory-buffer", "no"]}
        nodes = self.make_though_a_node_fails(f"export TMPDIR={self.cluster.small_disk}", "a.mkv",
                                              self.call("a.mkv", **on_disk), "to temporary file")
        self.assertEqual(nodes, {"node2"})
        self.expect_whole("a.mkv", is_kept=True, **on_disk)

    def test_leaves_and_tells_why_it_failed(self):
        odd = "a b'c\"d%j \\x.mkv"  # what shells and Slurm read as something else
        self.batch("--slurm", "--detach", "--pieces", "2", "--", *self.call(odd))
        self.wait_until(lambda: os.path.exists(odd) and not os.path.exists(f"{odd}.pieces"), "the video")
        self.expect_whole(odd)
        dying = self.program("echo no room left >&2; exit 1")
        self.assertIn("no room left", self.batch("--slurm", "--retries", "1", "--pieces", "2", "--program", dying,
                                                 "--", *self.call("b.mkv"), status=1))
        self.assertIn("nvalid partition", self.batch("--slurm", "--sbatch=--partition=none", "--", *self.call("c.mkv"),
                                                     status=1))
        self.assertIn("queued nothing", self.batch("--slurm", "--sbatch=--help", "--", *self.call("c.mkv"), status=1))
        self.assertFalse(os.path.exists("c.mkv.pieces"))
        for option in ("odd", "--array=1"):
            said = self.batch("--slurm", f"--sbatch={option}", "--", *self.call("c.mkv"), status=2)
            self.assertIn(f"{option}: ", said)


if __name__ == "__main__":
    if ON_CLUSTER and cluster.missing():
        print(f"Slurm is not installed: {', '.join(cluster.missing())} missing")
        sys.exit(77)
    unittest.main(argv=sys.argv[:1])
