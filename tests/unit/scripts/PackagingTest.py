"""What packages are made of. Usage: PackagingTest.py REPOSITORY ZELVO-GATEWAY"""
import configparser
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(sys.argv.pop(1))
GATEWAY = pathlib.Path(sys.argv.pop(1))
DEBIAN = ROOT / "packaging/debian"


def run(command, **options):
    return subprocess.run(list(map(str, command)), capture_output=True, text=True, timeout=30, check=False, **options)


class SessionStart(unittest.TestCase):
    """On a machine whose systemd, bus and agent are scripts."""

    def setUp(self):
        holder = tempfile.TemporaryDirectory()
        self.addCleanup(holder.cleanup)
        self.folder = pathlib.Path(holder.name)
        for tool in ("sh", "grep"):
            os.symlink(shutil.which(tool), self.folder / tool)
        self.program("zelvo-agent", "echo started")
        self.systemd()
        self.running(False)

    def program(self, name, text):
        path = self.folder / name
        path.write_text(f"#!/bin/sh\n{text}\n")
        path.chmod(0o755)

    def systemd(self, enabled="enabled", target="inactive"):
        self.program("systemctl", f"case $2 in is-enabled) echo {enabled} ;; is-active) echo {target} ;; *) exit 9 ;; esac")

    def running(self, yes):
        self.program("busctl", f"echo b {'true' if yes else 'false'}")

    def own_entry(self, text):
        folder = self.folder / "home/.config/autostart"
        folder.mkdir(parents=True, exist_ok=True)
        (folder / "dev.zelvo.agent.desktop").write_text(text)

    def start(self, way):
        return run([ROOT / "packaging/autostart/session-start", way],
                   env={"PATH": str(self.folder), "HOME": str(self.folder / "home")})

    def ways(self):
        """Which of the two start the agent. In a session without the target nothing asks the unit."""
        entry = self.start("entry")
        self.assertEqual(entry.returncode, 0, entry.stderr)
        return (entry.stdout == "started\n", self.start("unit").returncode == 0)

    def test_the_unit_starts_it_where_the_target_is_reached(self):
        for state in ("active", "activating"):
            self.systemd(target=state)
            self.assertEqual(self.ways(), (False, True), state)

    def test_the_entry_starts_it_elsewhere(self):
        self.assertTrue(self.ways()[0])
        self.systemd(enabled="", target="")
        self.assertTrue(self.ways()[0], "without systemd")

    def test_nothing_starts_it_where_the_unit_is_switched_off(self):
        for state in ("masked", "masked-runtime", "disabled"):
            self.systemd(enabled=state)
            self.assertFalse(self.ways()[0], state)

    def test_nothing_starts_it_a_second_time(self):
        self.running(True)
        self.assertEqual(self.ways(), (False, False))

    def test_a_copy_in_the_persons_folder_with_its_own_entry_is_not_doubled_by_the_unit(self):
        self.own_entry('[Desktop Entry]\nTryExec=/home/a/zelvo-agent\nExec="/home/a/zelvo-agent"\n')
        self.assertNotEqual(self.start("unit").returncode, 0)

    def test_an_entry_that_the_person_switched_off_switches_the_unit_off(self):
        ours = (ROOT / "packaging/autostart/dev.zelvo.agent.desktop").read_text()
        for line in ("Hidden=true", "Hidden = True", "X-GNOME-Autostart-enabled=false"):
            self.own_entry(ours + line + "\n")
            self.assertNotEqual(self.start("unit").returncode, 0, line)
        self.own_entry(ours + "Hidden=false\n")
        self.assertEqual(self.start("unit").returncode, 0)

    def test_the_entry_is_left_to_the_unit_by_desktops_that_use_systemd(self):
        entry = configparser.RawConfigParser()
        entry.read(ROOT / "packaging/autostart/dev.zelvo.agent.desktop")
        self.assertEqual(entry["Desktop Entry"]["X-systemd-skip"], "true")
        self.assertEqual(entry["Desktop Entry"]["X-GNOME-HiddenUnderSystemd"], "true")


class Manual(unittest.TestCase):
    def test_has_every_command_and_flag(self):
        page = run([ROOT / "scripts/make-manual", GATEWAY])
        self.assertEqual(page.returncode, 0, page.stderr)
        text = page.stdout.replace("\\-", "-").replace("Fl -", "--").replace("Cm ", "zelvo-gateway ")
        given = run([GATEWAY, "--help"]).stdout
        flags = set(re.findall(r"(?<![\w-])--[a-z][a-z-]+", given))
        commands = set(re.findall(r"^zelvo-gateway \[?([a-z-]+(?: [a-z]+)?)", given, re.MULTILINE))
        self.assertGreater(len(flags), 20)
        self.assertGreater(len(commands), 4)
        self.assertEqual({flag for flag in flags if flag not in text}, set())
        self.assertEqual({name for name in commands if f"zelvo-gateway {name}" not in text}, set())


class Control(unittest.TestCase):
    def test_needs_what_the_build_needs(self):
        listed = re.search(r"^build=\((.*?)^\)", (ROOT / "scripts/install-dependencies").read_text(), re.MULTILINE | re.DOTALL)[1]
        wanted = {name for name in listed.split() if name.endswith("-dev") and "LLVM" not in name} - {"libgtest-dev", "libgmock-dev"}
        self.assertGreater(len(wanted), 20)
        needed = re.search(r"^Build-Depends:(.*?)^\S+:", (DEBIAN / "control").read_text(), re.MULTILINE | re.DOTALL)[1]
        self.assertEqual(wanted - set(re.findall(r"[a-z0-9.+-]+", needed)), set())

    def test_the_version_is_the_same_everywhere(self):
        version = re.search(r"^project\(Zelvo VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text(), re.MULTILINE)[1]
        self.assertIn(f'"CFBundleShortVersionString": "{version}"', (ROOT / "packaging/Info.json").read_text())

    def test_units_are_well_formed(self):
        for name in ("zelvo-gateway.service", "zelvo-agent.user.service"):
            unit = configparser.RawConfigParser(strict=False)
            unit.optionxform = str
            unit.read(DEBIAN / name)
            self.assertEqual(unit.sections(), ["Unit", "Service", "Install"])
        self.assertIn("--config /etc/zelvo-gateway/zelvo-gateway.conf", (DEBIAN / "zelvo-gateway.service").read_text())


unittest.main()
