"""What packages and archive promise: built on one empty Debian, installed and run on another one without build tools."""
import re
import shutil

from .booted import Booted
from .reporting import MINUTE, Failed
from .readme import readme_line
from .root import CLONE, PERSON, Root
from .session import Session, prepare
from .updates import Publisher, UpdatedArchive
from .used import Used

# What a desktop has, beside the packages that are tried.
DESKTOP = ("systemd", "systemd-sysv", "libpam-systemd", "dbus-user-session", "xvfb", "openbox", "python3-xdg", "x11-utils",
           "curl", "fonts-dejavu-core", "xterm", "xz-utils", "xdg-utils", "desktop-file-utils")
INSTALLED = ("zelvo-agent", "zelvo-gateway")
STATE = "/var/lib/zelvo-gateway"
CONFIGURATION = "/etc/zelvo-gateway/zelvo-gateway.conf"


class PackageTrial:
    def __init__(self, folder, suite, log):
        self.folder = folder
        self.suite = suite
        self.log = log
        self.made = folder / "made"
        self.used = Root(folder, suite, log, "used", DESKTOP)
        self.exposure = ""
        self.given_archive = None

    def steps(self, packages, archive):
        """packages: a folder with packages of this suite, else they are built. archive: one to try in place of that beside them."""
        self.given_archive = archive
        if packages:
            shutil.copytree(packages, self.made)
        else:
            self.build()
        self.used.build()
        self.used.note("an empty root with a desktop and without build tools")
        self.lower_versions()
        self.install("older")
        self.listed = self.files_of_packages()
        self.used.note("the older packages are installed")
        with Booted(self.used) as system:
            prepare(system)
            self.try_service(system)
            used = Used(system)
            used.link()
            self.try_sessions(system, used)
            self.try_upgrade(system, used)
            self.try_removal(system)
            self.try_archive(system, used)
        return (f"packages run, link, upgrade and leave nothing; the archive runs, links and updates itself; exposure of the service: "
                f"{self.exposure}")

    # The packages

    def build(self):
        root = Root(self.folder, self.suite, self.log, "build")
        root.build()
        root.must(readme_line(), 10 * MINUTE, folder=f"/home/{PERSON}")
        root.clone()
        root.note("an empty root with a clone in it")
        root.must("make package </dev/null", 90 * MINUTE)
        root.note("make package, and lintian has no objection")
        root.must("make archive </dev/null", 60 * MINUTE)
        root.note("make archive")
        self.made.mkdir()
        for folder in ("package", "archive"):
            for path in (root.root / CLONE.lstrip("/") / "build" / folder).iterdir():
                shutil.copy2(path, self.made)
        root.assert_nothing_left("make package")

    def packages(self):
        """The two packages without their debug symbols."""
        found = [path for name in INSTALLED for path in self.made.glob(f"{name}_*.deb")]
        if len(found) != 2:
            raise Failed(f"the packages are {found}")
        return found

    def archive(self):
        found = [self.given_archive] if self.given_archive else list(self.made.glob("zelvo-agent-*.tar.xz"))
        if len(found) != 1:
            raise Failed(f"the archives are {found}")
        return found[0]

    def lower_versions(self):
        """Copies of the packages with version 0.0.1."""
        for folder in ("newer", "older"):
            (self.used.root / "srv" / folder).mkdir(parents=True)
        for path in self.packages():
            name = path.name.split("_")[0]
            shutil.copy2(path, self.used.root / f"srv/newer/{name}.deb")
            unpacked = self.folder / f"unpacked-{name}"
            self.used.host(["dpkg-deb", "-R", path, unpacked], 5 * MINUTE)
            control = unpacked / "DEBIAN/control"
            control.write_text(re.sub(r"^Version: .*$", "Version: 0.0.1", control.read_text(), flags=re.MULTILINE))
            self.used.host(["dpkg-deb", "-Znone", "--root-owner-group", "-b", unpacked, self.used.root / f"srv/older/{name}.deb"],
                           5 * MINUTE)

    def install(self, which):
        names = " ".join(f"/srv/{which}/{name}.deb" for name in INSTALLED)
        self.used.must(f"sudo apt-get update -q && sudo apt-get install -y --no-install-recommends {names}", 15 * MINUTE, "/")

    def files_of_packages(self):
        listed = "".join((self.used.root / f"var/lib/dpkg/info/{name}.list").read_text() for name in INSTALLED)
        return [path for path in listed.splitlines() if "zelvo" in path]

    # The gateway as a service

    def try_service(self, system):
        self.assert_service_runs(system)
        number = system.programs("/usr/bin/zelvo-gateway")
        system.answer("systemctl reload zelvo-gateway")
        if system.programs("/usr/bin/zelvo-gateway") != number:
            raise Failed("a reload has started another gateway")
        exposure = system.ran("systemd-analyze security --no-pager zelvo-gateway").stdout
        self.exposure = exposure.strip().splitlines()[-1].split(":", 1)[-1].strip() if exposure else "unknown"
        journal = system.answer("journalctl --no-pager -u zelvo-gateway")
        if "listen" not in journal.lower():
            raise Failed(f"the journal has nothing of the gateway: {journal}")
        self.used.note(f"the gateway runs as a service: {self.exposure}")

    def assert_service_runs(self, system):
        system.until("the gateway's unit is active", lambda: system.status("systemctl is-active --quiet zelvo-gateway") == 0)
        numbers = system.programs("/usr/bin/zelvo-gateway")
        if len(numbers) != 1:
            raise Failed(f"{len(numbers)} gateways run")
        user = system.answer(f"stat -c %U /proc/{numbers[0]}")
        if user != "zelvo-gateway":
            raise Failed(f"the gateway runs as {user}")
        mode = system.answer(f"stat -c '%U %a' {STATE}")
        if mode != "zelvo-gateway 700":
            raise Failed(f"the gateway's state is open: {mode}")

    # The agent in sessions

    def try_sessions(self, system, used):
        handler = system.answer(system.as_person("xdg-mime query default x-scheme-handler/zelvo"))
        if handler != "dev.zelvo.agent.desktop":
            raise Failed(f"links are opened by \"{handler}\"")
        with Session(system, "entries") as session:
            session.assert_one_agent()
            if session.unit_state() == "active":
                raise Failed("the unit runs in a session without its target")
            used.take_screenshot()
            session.assert_second_start_opens_a_window()
        self.used.note("in a session without graphical-session.target the autostart entry starts the agent, once; a screenshot")
        with Session(system, "target") as session:
            session.assert_one_agent()
            if session.unit_state() != "active":
                raise Failed("the unit does not run in a session with its target")
            used.take_screenshot()
            self.try_crash(system, session)
        self.used.note("in a session with it the unit starts the agent, once, and again after a crash")
        self.try_switching_off(system)
        self.try_own_copy(system)

    def try_crash(self, system, session):
        number = session.agents()[0]
        system.answer(f"kill -KILL {number}")
        system.until("the agent runs again", lambda: session.agents() not in ([], [number]))

    def try_switching_off(self, system):
        entry = f"/home/{PERSON}/.config/autostart/dev.zelvo.agent.desktop"
        for why, off, on in (("the unit is masked", "systemctl --user mask zelvo-agent", "systemctl --user unmask zelvo-agent"),
                             ("its entry is hidden", f"mkdir -p ~/.config/autostart; echo '[Desktop Entry]\nHidden=true' >{entry}",
                              f"rm {entry}")):
            system.answer(system.as_person(off))
            for kind in ("entries", "target"):
                with Session(system, kind) as session:
                    session.assert_no_agent(why)
            system.answer(system.as_person(on))
        self.used.note("switched off by the person, it starts in neither way")

    def try_own_copy(self, system):
        """A copy that the person has moved into their folder, with the entry that this writes, runs instead of the package's."""
        copy = f"/home/{PERSON}/.local/share/zelvo-agent/zelvo-agent"
        entry = f"/home/{PERSON}/.config/autostart/dev.zelvo.agent.desktop"
        system.answer(system.as_person(
            f"mkdir -p ~/.local/share/zelvo-agent; cp /usr/bin/zelvo-agent {copy}; cp /usr/share/zelvo-agent/Info.json ~/.local/share/"
            f"zelvo-agent; printf '[Desktop Entry]\nType=Application\nName=Zelvo\nTryExec={copy}\nExec=\"{copy}\"\n' >{entry}; "
            "systemctl --user daemon-reload"))
        for kind in ("entries", "target"):
            with Session(system, kind) as session:
                session.assert_one_agent(copy)
                if session.agents():
                    raise Failed(f"the packaged agent runs beside the person's copy in the session of kind {kind}")
        system.answer(system.as_person(f"rm -r ~/.local/share/zelvo-agent {entry}; systemctl --user daemon-reload"))
        self.used.note("a copy in the person's folder runs instead of the packaged agent, once")

    # Upgrade, removal, purge

    def try_upgrade(self, system, used):
        system.answer(f"echo '# Kept by the administrator.' >>{CONFIGURATION}")
        connections = used.connections()
        system.answer("apt-get install -y --no-install-recommends -o Dpkg::Options::=--force-confold "
                      "/srv/newer/zelvo-agent.deb /srv/newer/zelvo-gateway.deb", 10 * MINUTE, network=True)
        version = system.answer("dpkg-query -W -f '${Version}' zelvo-gateway")
        if version == "0.0.1":
            raise Failed("the upgrade has changed no version")
        self.assert_service_runs(system)
        if used.connections() != connections or "Kept by" not in system.answer(f"cat {CONFIGURATION}"):
            raise Failed("the upgrade has lost settings or state")
        with Session(system, "target") as session:
            session.assert_one_agent()
            used.take_screenshot()
        self.used.note(f"upgraded to {version}: configuration, state and link are kept")

    def try_removal(self, system):
        system.answer("apt-get remove -y zelvo-agent zelvo-gateway", 5 * MINUTE, network=True)
        if system.programs("/usr/bin/zelvo-gateway") or system.status(f"test -e {STATE}/gateway.sqlite"):
            raise Failed("a removed gateway must end, and its state must stay")
        system.answer("apt-get purge -y zelvo-agent zelvo-gateway", 5 * MINUTE, network=True)
        left = [path for path in [*self.listed, STATE] if system.status(f"test -e {path}") == 0]
        found = system.answer("find /etc /usr /var/lib -iname '*zelvo*' -not -path '/var/lib/apt/*' -not -path '/var/lib/dpkg/*'")
        if left or found:
            raise Failed(f"a purge has left {left} {found}")
        self.used.note("removed: the state stays; purged: nothing is left but the system user")

    # The archive, with the gateway of the packages

    def try_archive(self, system, used):
        """The archive runs where it is unpacked, and updates itself to the next one."""
        shutil.copy2(self.archive(), self.used.root / "srv/agent.tar.xz")
        system.answer("apt-get install -y --no-install-recommends /srv/newer/zelvo-gateway.deb", 10 * MINUTE, network=True)
        self.assert_service_runs(system)
        system.answer(system.as_person("mkdir ~/programs && tar -xJf /srv/agent.tar.xz -C ~/programs"))
        folder = f"/home/{PERSON}/programs/zelvo-agent"
        if system.answer(f"ls {folder}").split() != ["Info.json", "LICENSE", "zelvo-agent"]:
            raise Failed("the archive has other files than those that it is to have")
        missing = system.ran(f"ldd {folder}/zelvo-agent | grep 'not found'").stdout
        if missing:
            raise Failed(f"the archive's program lacks {missing}")
        used.address_archive(f"{folder}/Info.json")
        used.link()
        publisher = Publisher(system, self.folder)
        publisher.prepare(f"{folder}/Info.json")
        publisher.publish(self.used.root / "srv/agent.tar.xz")
        with Session(system, "entries"):
            UpdatedArchive(system, used, folder).run()
        self.used.note("the archive runs where it is unpacked, links, and updates itself when it quits")
