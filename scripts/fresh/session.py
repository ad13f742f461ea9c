"""A graphical session of the person on a virtual display, of one of two kinds."""
import shlex

from .reporting import Failed
from .root import PERSON

AGENT = "/usr/bin/zelvo-agent"
DISPLAY = ":7"
# What a display manager and Xsession do before they start a desktop.
DESKTOP = f"""#!/bin/sh
Xvfb {DISPLAY} -screen 0 1280x800x24 -nolisten tcp -noreset &
export DISPLAY={DISPLAY}
until xwininfo -root >/dev/null 2>&1; do sleep 0.2; done
dbus-update-activation-environment --systemd DISPLAY
xterm -geometry 80x24+100+100 &
"""
KINDS = {
    # Starts autostart entries itself, and knows nothing of systemd.
    "entries": "exec openbox-session\n",
    # Like desktops whose session is a target: systemd starts what is wanted by it, and the autostart entries.
    "target": "openbox & systemctl --user start trial-session.target trial-autostart.target; sleep infinity\n",
}
TARGET = """[Unit]
BindsTo=graphical-session.target
Before=graphical-session.target
"""
AUTOSTART = """[Unit]
After=graphical-session.target
PartOf=graphical-session.target
Wants=xdg-desktop-autostart.target
"""
PAM = """auth required pam_permit.so
account required pam_permit.so
session required pam_systemd.so
"""


def prepare(system):
    """Writes what sessions need into a booted system."""
    for path, text in (("/etc/pam.d/desktop", PAM), ("/etc/systemd/user/trial-session.target", TARGET),
                       ("/etc/systemd/user/trial-autostart.target", AUTOSTART)):
        system.answer(f"printf %s {shlex.quote(text)} >{path}")
    system.answer(f"loginctl enable-linger {PERSON}")
    for kind, last in KINDS.items():
        system.answer(f"printf %s {shlex.quote(DESKTOP + last)} >/usr/local/bin/desktop-{kind}; chmod 755 /usr/local/bin/desktop-{kind}")


class Session:
    """Begins with the `with` statement and ends with it."""

    def __init__(self, system, kind):
        self.system = system
        self.kind = kind

    def __enter__(self):
        self.system.answer(f"systemd-run --quiet --unit=desktop --uid={PERSON} -p PAMName=desktop -p KillSignal=SIGTERM "
                           f"-E HOME=/home/{PERSON} -E XDG_SESSION_TYPE=x11 -E XDG_SESSION_CLASS=user "
                           f"/usr/local/bin/desktop-{self.kind}")
        self.system.until("the window manager runs", lambda: self.system.programs("/usr/bin/openbox"))
        return self

    def __exit__(self, *exception):
        self.system.ran(self.system.as_person("systemctl --user stop trial-session.target graphical-session.target"))
        for number in self.system.programs("/usr/bin/Xvfb"):  # A display manager ends the X server with the session.
            self.system.ran(f"kill {number}")
        self.system.ran("loginctl list-sessions --no-legend | while read -r id rest; do loginctl terminate-session $id; done; "
                        "systemctl stop desktop; systemctl reset-failed desktop")
        if not exception[0]:
            self.system.until("the agent ends with the session", lambda: not self.agents("/zelvo-agent"))

    def agents(self, program=AGENT):
        return self.system.programs(program)

    def unit_state(self):
        return self.system.ran(self.system.as_person("systemctl --user is-active zelvo-agent.service")).stdout.strip()

    def assert_one_agent(self, program=AGENT):
        """Exactly one runs, and nothing has opened its main window, which a second start does."""
        self.system.until("the agent runs", lambda: self.agents(program))
        # A second start follows within a second or two, or not at all.
        self.system.answer("sleep 4")
        if len(self.agents(program)) != 1:
            raise Failed(f"{len(self.agents(program))} agents run in the session of kind {self.kind}")
        if self.windows():
            raise Failed(f"a window of the agent is open: {self.windows()}")

    def windows(self):
        """The agent's windows, without those that have no class and that nobody sees."""
        tree = self.system.answer(f"DISPLAY={DISPLAY} xwininfo -root -tree")
        return [line.strip() for line in tree.splitlines() if '("zelvo-agent"' in line]

    def assert_second_start_opens_a_window(self):
        """What assert_one_agent() relies on."""
        self.system.answer(self.system.as_person(f"DISPLAY={DISPLAY} zelvo-agent"))
        self.system.until("a second start opens the main window", self.windows)

    def assert_no_agent(self, why):
        self.system.answer("sleep 4")
        if self.agents():
            raise Failed(f"an agent runs in the session of kind {self.kind}, although {why}")
