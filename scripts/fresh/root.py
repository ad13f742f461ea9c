"""An empty Debian in a folder."""
import contextlib
import os
import pathlib
import shutil
import signal
import subprocess
import time

from .reporting import KEPT, MINUTE, ROOT, Failed, say
from .sources import apt_settings, apt_sources, host_files

PERSON = "person"
# The same path as outside: the compiler's cache then finds what was compiled there. /root is closed to the person.
CLONE = f"/home/{PERSON}/zelvo" if ROOT.is_relative_to("/root") else str(ROOT)


class Root:
    """One suite in the folder FOLDER/NAME. `packages` are there beside the essential ones and sudo."""

    def __init__(self, folder, suite, log, name="root", packages=()):
        self.folder = folder
        self.suite = suite
        self.log = log
        self.name = name
        self.packages = packages
        self.root = folder / name
        self.begin = time.monotonic()

    def note(self, text):
        say(f"  {self.suite}, {time.monotonic() - self.begin:4.0f} s: {text}")

    def build(self):
        """Makes the empty system, with a person who may become root, and mounts what a running system has."""
        sources, settings = apt_sources(self.suite), apt_settings()
        (self.folder / f"{self.name}.sources").write_text(sources)
        (self.folder / f"{self.name}.conf").write_text(settings)
        # A throw-away system: dpkg need not wait for the disk.
        self.host(["mmdebstrap", "--quiet", "--variant=minbase", "--mode=root", f"--include={','.join(['sudo', *self.packages])}",
                   "--dpkgopt=force-unsafe-io", f"--aptopt={self.folder / f'{self.name}.conf'}", self.suite, self.root,
                   self.folder / f"{self.name}.sources"], 15 * MINUTE)
        for path in [*host_files(sources, settings), pathlib.Path("/etc/resolv.conf"), pathlib.Path("/etc/hosts")]:
            inside = self.root / path.relative_to("/")
            inside.parent.mkdir(parents=True, exist_ok=True)
            inside.unlink(missing_ok=True)
            shutil.copy(path, inside)
        self.host(["chroot", self.root, "useradd", "--create-home", "--shell", "/bin/bash", PERSON], MINUTE)
        (self.root / "etc/sudoers.d/person").write_text(f"{PERSON} ALL=(ALL) NOPASSWD: ALL\n")
        self.mount()

    def mount(self):
        cache = KEPT / "packages" / self.suite
        cache.mkdir(parents=True, exist_ok=True)
        # The folder's own file system may forbid sudo, as that of /tmp often does.
        self.host(["mount", "--bind", self.root, self.root])
        self.host(["mount", "-o", "remount,bind,suid,dev,exec", self.root])
        self.host(["mount", "--bind", cache, self.root / "var/cache/apt/archives"])
        self.host(["mount", "-t", "proc", "proc", self.root / "proc"])
        self.host(["mount", "-t", "sysfs", "-o", "ro", "sysfs", self.root / "sys"])
        self.mount_devices(self.root / "dev")
        self.mount_compiler_cache()

    def mount_devices(self, folder):
        self.host(["mount", "-t", "tmpfs", "-o", "mode=755", "tmpfs", folder])
        for name in ("null", "zero", "full", "random", "urandom", "tty"):
            (folder / name).touch()
            self.host(["mount", "--bind", f"/dev/{name}", folder / name])
        for name, kind, options in (("pts", "devpts", "newinstance,ptmxmode=0666,mode=620,gid=5"),
                                    ("shm", "tmpfs", "mode=1777")):
            (folder / name).mkdir()
            self.host(["mount", "-t", kind, "-o", options, kind, folder / name])
        for name, place in (("ptmx", "pts/ptmx"), ("fd", "/proc/self/fd"), ("stdin", "/proc/self/fd/0"),
                            ("stdout", "/proc/self/fd/1"), ("stderr", "/proc/self/fd/2")):
            (folder / name).symlink_to(place)

    def mount_compiler_cache(self):
        """The person's cache of the compiler is kept, and shared with builds outside that use build/fresh/ccache."""
        cache = KEPT / "ccache"
        cache.mkdir(exist_ok=True)
        inside = self.root / f"home/{PERSON}/.cache/ccache"
        inside.mkdir(parents=True)
        self.host(["chroot", self.root, "chown", "-R", f"{PERSON}:{PERSON}", f"/home/{PERSON}/.cache"], MINUTE)
        self.host(["mount", "--bind", cache, inside])
        self.host(["chroot", self.root, "chown", "-R", f"{PERSON}:{PERSON}", f"/home/{PERSON}/.cache/ccache"], 5 * MINUTE)

    def clone(self):
        place = self.root / CLONE.lstrip("/")
        place.parent.mkdir(parents=True, exist_ok=True)
        # HEAD, not the working tree; without hard links, which would lead out of the root.
        self.host(["git", "clone", "--quiet", "--no-hardlinks", ROOT, place], 5 * MINUTE)
        wanted = subprocess.run(["git", "-C", ROOT, "rev-parse", "HEAD"], capture_output=True, text=True, check=True).stdout
        self.host(["git", "-C", place, "checkout", "--quiet", "--detach", wanted.strip()], MINUTE)
        self.host(["chroot", self.root, "chown", "-R", f"{PERSON}:{PERSON}", CLONE], MINUTE)

    # Commands

    def host(self, command, seconds=MINUTE):
        environment = {name: value for name, value in os.environ.items() if not name.startswith(("LC_", "LANG"))}
        done = subprocess.run([str(part) for part in command], stdout=self.log, stderr=self.log, stdin=subprocess.DEVNULL,
                              env=environment, timeout=seconds, check=False)
        if done.returncode:
            raise Failed(f"{command[0]} ended with {done.returncode}")

    def as_person(self, command, folder=CLONE):
        """The command prefix that runs a command as the user, in the root, with an empty environment."""
        return ["chroot", str(self.root), "setpriv", f"--reuid={PERSON}", f"--regid={PERSON}", "--init-groups", "--reset-env",
                "env", "-C", folder, *command]

    def start(self, command, folder=CLONE):
        # A shell ignores SIGINT in its background jobs, and their children inherit that.
        return subprocess.Popen(self.as_person(command, folder), stdin=subprocess.DEVNULL, stdout=self.log, stderr=self.log,
                                start_new_session=True, preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL))

    def must(self, line, seconds, folder=CLONE):
        """Runs a shell command; its output goes to the log."""
        process = self.start(["bash", "-c", line], folder)
        try:
            status = process.wait(seconds)
        except subprocess.TimeoutExpired as late:
            os.killpg(process.pid, signal.SIGKILL)
            raise Failed(f"`{line}` did not end in {seconds} s") from late
        if status:
            raise Failed(f"`{line}` ended with {status}")

    def answer(self, line, seconds=MINUTE):
        """The output of a shell command."""
        done = subprocess.run(self.as_person(["bash", "-c", line]), stdin=subprocess.DEVNULL, capture_output=True, text=True,
                              timeout=seconds, check=False)
        self.log.write(f"$ {line[:500]}\n{done.stdout[:2000]}{done.stderr}\n".encode())
        if done.returncode or done.stderr:
            raise Failed(f"`{line}` ended with {done.returncode}: {done.stderr}")
        return done.stdout

    def said(self):
        self.log.flush()
        return pathlib.Path(self.log.name).read_text(errors="replace")

    def assert_nothing_left(self, what):
        left = []
        for entry in pathlib.Path("/proc").iterdir():
            with contextlib.suppress(OSError):
                if entry.name.isdigit() and os.readlink(entry / "root") == str(self.root):
                    left.append((entry / "cmdline").read_bytes().replace(b"\0", b" ").decode(errors="replace"))
        if left:
            raise Failed(f"after `{what}` these processes are left: {left}")
