"""A Slurm cluster of two nodes on this machine, for tests: everything in a folder of its own, nothing of the system's."""
import os
import shutil
import signal
import socket
import subprocess
import time

PROGRAMS = ("munged", "slurmctld", "slurmd", "sbatch", "squeue", "scontrol")


def missing():
    """What is not installed."""
    os.environ["PATH"] += ":/usr/sbin"
    return [name for name in PROGRAMS if not shutil.which(name)]


def free_ports(count):
    sockets = [socket.socket() for _ in range(count)]
    for one in sockets:
        one.bind(("127.0.0.1", 0))
    ports = [one.getsockname()[1] for one in sockets]
    for one in sockets:
        one.close()
    return ports


class Cluster:
    """In a `with`: until its end sbatch and the others find it."""

    NODES = ("node1", "node2")

    def __init__(self, folder):
        self._folder = folder
        self._processes = []
        self.small_disk = self._path("disk")
        self.has_small_disk = False

    def _path(self, name):
        return os.path.join(self._folder, name)

    def _start(self, *words):
        with open(self._path(f"{os.path.basename(words[0])}-{len(self._processes)}.log"), "w") as log:
            self._processes.append(subprocess.Popen(words, stdout=log, stderr=log, stdin=subprocess.DEVNULL,
                                                    start_new_session=True))

    def __enter__(self):
        self._mount()
        user = subprocess.check_output(["id", "-un"], text=True).strip()
        controller, *nodes = free_ports(3)
        for name in ("state", "munge", *(f"spool-{node}" for node in self.NODES)):
            os.makedirs(self._path(name))
        os.chmod(self._folder, 0o755)
        with open(os.open(self._path("munge/key"), os.O_CREAT | os.O_WRONLY, 0o600), "wb") as key:
            key.write(os.urandom(128))
        munge = self._path("munge/socket")
        lines = ["ClusterName=test", f"SlurmctldHost={socket.gethostname()}(127.0.0.1)", f"SlurmctldPort={controller}",
                 "AuthType=auth/munge", f"AuthInfo=socket={munge}", "CredType=cred/munge", f"SlurmUser={user}",
                 f"SlurmdUser={user}", f"StateSaveLocation={self._path('state')}", f"SlurmdSpoolDir={self._path('spool-%n')}",
                 f"SlurmctldPidFile={self._path('slurmctld.pid')}", f"SlurmdPidFile={self._path('slurmd-%n.pid')}",
                 "ProctrackType=proctrack/linuxproc", "TaskPlugin=task/none", "SelectType=select/cons_tres",
                 "SelectTypeParameters=CR_Core", "ReturnToService=2", "MpiDefault=none", "SwitchType=switch/none",
                 "SchedulerParameters=batch_sched_delay=0,sched_interval=2", "MaxArraySize=101", "KillWait=2",
                 "MinJobAge=300", "SlurmdTimeout=60", "MessageTimeout=60"]
        for node, port in zip(self.NODES, nodes):
            lines.append(f"NodeName={node} NodeHostname={socket.gethostname()} NodeAddr=127.0.0.1 Port={port} CPUs=1 "
                         "State=UNKNOWN")
        lines.append(f"PartitionName=all Nodes={','.join(self.NODES)} Default=YES State=UP MaxTime=60")
        with open(self._path("slurm.conf"), "w", encoding="utf-8") as file:
            file.write("\n".join(lines) + "\n")
        os.environ["SLURM_CONF"] = self._path("slurm.conf")
        self._start("munged", "--foreground", "--force", f"--key-file={self._path('munge/key')}", f"--socket={munge}",
                    f"--pid-file={self._path('munge/pid')}", f"--log-file={self._path('munge/log')}",
                    f"--seed-file={self._path('munge/seed')}")
        self._wait(lambda: os.path.exists(munge), "munged")
        self._start("slurmctld", "-D")
        for node in self.NODES:
            self._start("slurmd", "-D", "-N", node)
        self._wait(lambda: self.idle_nodes() == len(self.NODES), "the nodes")
        return self

    def _mount(self):
        """A tiny disk; only some may mount one."""
        os.makedirs(self.small_disk)
        self.has_small_disk = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=64k", "none", self.small_disk],
                                             capture_output=True).returncode == 0

    def idle_nodes(self):
        made = subprocess.run(["sinfo", "--noheader", "--Node", "--states=idle", "--format=%N"], capture_output=True,
                              text=True)
        return len(set(made.stdout.split()))

    def _wait(self, condition, what):
        for _ in range(600):
            if condition():
                return
            time.sleep(0.2)
        self.__exit__()
        raise RuntimeError(f"{what} did not start")

    def __exit__(self, *_):
        for process in reversed(self._processes):
            process.send_signal(signal.SIGTERM)
        for process in reversed(self._processes):
            try:
                process.wait(10)
            except subprocess.TimeoutExpired:
                process.kill()
        if self.has_small_disk:
            subprocess.run(["umount", "--lazy", self.small_disk], check=False)
