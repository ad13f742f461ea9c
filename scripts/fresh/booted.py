"""An empty Debian that runs its own systemd, in namespaces and a control group that end with it."""
import os
import shlex
import subprocess
import time

from .reporting import MINUTE, Failed, LeftOut
from .root import PERSON

# $0 is the root, $1 where the number of systemd's process is written, $2 a control group.
# The number is that in this script's /proc, which is the one that nsenter needs.
BOOT = r"""
set -e
mount -t proc proc "$0/proc"
mount --bind "$0/proc/sys" "$0/proc/sys" && mount -o remount,bind,ro "$0/proc/sys"
mount -t tmpfs -o mode=755 tmpfs "$0/run"
mount -t tmpfs -o mode=1777 tmpfs "$0/tmp"
mount -t cgroup2 cgroup2 "$0/sys/fs/cgroup"
read -r number rest </proc/self/stat
echo "$number" >"$1"
exec env -i container=zelvo PATH=/usr/sbin:/usr/bin:/sbin:/bin chroot "$0" /lib/systemd/systemd --log-target=console --show-status=0
"""
ENTER = 'echo 0 >"$1/cgroup.procs"; shift; exec "$@"'
NAMESPACES = ["--mount", "--pid", "--ipc", "--uts", "--cgroup", "--net"]
RUNTIME = "/run/user/1000"


class Booted:
    """The running system of a Root. Its network has nothing but a loopback interface, so ports are free."""

    def __init__(self, root):
        self.root = root
        self.log = root.log
        self.groups = root.folder / "groups"
        self.group = self.groups / f"zelvo-trial-{os.getpid()}-{time.time_ns()}"
        self.number_file = root.folder / "systemd.pid"
        self.process = None
        self.number = None

    def __enter__(self):
        self.groups.mkdir(exist_ok=True)
        mounted = subprocess.run(["mount", "-t", "cgroup2", "none", self.groups], capture_output=True, check=False)
        if mounted.returncode:
            raise LeftOut("this machine permits no control groups")
        self.group.mkdir()
        self.number_file.unlink(missing_ok=True)
        command = ["unshare", *NAMESPACES, "--fork", "--kill-child", "sh", "-c", BOOT, self.root.root, self.number_file]
        self.process = subprocess.Popen(["sh", "-c", ENTER, "enter", self.group, *command], stdin=subprocess.DEVNULL,
                                        stdout=self.log, stderr=self.log)
        self.until("systemd runs", self.is_running)
        return self

    def __exit__(self, *exception):
        self.process.kill()  # The first process of the namespaces ends with it, and so does everything else.
        self.process.wait(MINUTE)
        self.until("everything in it has ended", lambda: "populated 0" in (self.group / "cgroup.events").read_text())
        for folder, _, _ in os.walk(self.group, topdown=False):
            os.rmdir(folder)
        self.root.host(["umount", self.groups])

    def is_running(self):
        if self.process.poll() is not None:
            raise Failed(f"systemd ended with {self.process.returncode}")
        self.number = self.number_file.read_text().strip() if self.number_file.exists() else ""
        # "degraded" is no failure: units that want to change the kernel's settings may not, in here.
        return bool(self.number) and self.ran("systemctl is-system-running --wait").stdout.strip() in ("running", "degraded")

    # Commands in it, as root

    def enter(self, line, network=False):
        spaces = ["-m", "-p", "-i", "-u"] + ["-n"] * (not network)
        return ["nsenter", "-t", self.number, *spaces, "chroot", str(self.root.root), "env", "-i", "HOME=/root", "LANG=C.UTF-8",
                "PATH=/usr/sbin:/usr/bin:/sbin:/bin", "sh", "-c", line]

    def ran(self, line, seconds=MINUTE, network=False):
        done = subprocess.run(self.enter(line, network), stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=seconds,
                              check=False)
        self.log.write(f"$ {line[:500]}\n{done.stdout[:3000]}{done.stderr[:3000]}\n".encode())
        self.log.flush()
        return done

    def status(self, line):
        return self.ran(line).returncode

    def answer(self, line, seconds=MINUTE, network=False):
        """The output of a shell command."""
        done = self.ran(line, seconds, network)
        if done.returncode:
            raise Failed(f"`{line}` ended with {done.returncode}: {done.stderr.strip()[-500:]}")
        return done.stdout.strip()

    def as_person(self, line):
        """A shell command of the person, with their bus."""
        return (f"runuser -u {PERSON} -- env HOME=/home/{PERSON} XDG_RUNTIME_DIR={RUNTIME} "
                f"DBUS_SESSION_BUS_ADDRESS=unix:path={RUNTIME}/bus sh -c {shlex.quote(line)}")

    def until(self, what, holds, seconds=30):
        """Waits until something holds, and returns it."""
        due = time.monotonic() + seconds
        while True:
            found = holds()
            if found:
                return found
            if time.monotonic() > due:
                raise Failed(f"{what}: not within {seconds} s")
            time.sleep(0.3)

    def programs(self, path):
        """The numbers of the processes that run a program."""
        # A process in other mounts has a path here that begins with those.
        found = self.answer(f"for p in /proc/[0-9]*; do case \"$(readlink $p/exe)\" in *{path}) echo ${{p#/proc/}} ;; esac; done")
        return found.split()
