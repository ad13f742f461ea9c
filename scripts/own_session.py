"""The person's own Wayland session, for `make run`: what a trial uses of it, and what it takes away again at its end."""
import ast
import os
import pathlib
import shutil
import socket
import struct
import subprocess

EXTENSION = "zelvo@zelvo.dev"
KWIN_ENTRIES = "dev.zelvo.agent.kwin*.desktop"
SILENCE = 5  # seconds


def compositor():
    """The path of the compositor's socket; None if the session names none."""
    name = os.environ.get("WAYLAND_DISPLAY")
    if not name:
        return None
    return pathlib.Path(os.environ.get("XDG_RUNTIME_DIR") or "/", name)  # An absolute name replaces the folder.


def answers(path):
    """True if a compositor is behind the socket: it answers wl_display.sync."""
    try:
        with socket.socket(socket.AF_UNIX) as connection:
            connection.settimeout(SILENCE)
            connection.connect(str(path))
            display, sync, size, callback = 1, 0, 12, 2
            connection.sendall(struct.pack("=IHHI", display, sync, size, callback))
            return bool(connection.recv(8))
    except OSError:
        return False


def bus_address():
    """The address of the session bus; None if there is none."""
    if os.environ.get("DBUS_SESSION_BUS_ADDRESS"):
        return os.environ["DBUS_SESSION_BUS_ADDRESS"]
    path = pathlib.Path(os.environ.get("XDG_RUNTIME_DIR") or "/nonexistent", "bus")
    return f"unix:path={path}" if path.exists() else None


def data_home():
    """Where the session's desktop looks for what the person installs."""
    return pathlib.Path(os.environ.get("XDG_DATA_HOME") or os.path.expanduser("~/.local/share"))


def environment(runtime):
    """What a program in another runtime folder needs to reach the session; to be added to its environment."""
    variables = {"XDG_RUNTIME_DIR": str(runtime), "WAYLAND_DISPLAY": str(compositor()),
                 "DBUS_SESSION_BUS_ADDRESS": bus_address(), "ZELVO_SESSION_DATA_HOME": str(data_home())}
    real = os.environ.get("XDG_RUNTIME_DIR")
    if real:
        variables["PIPEWIRE_RUNTIME_DIR"] = os.environ.get("PIPEWIRE_RUNTIME_DIR") or real
        link_all(pathlib.Path(real), runtime)
    return variables


def link_all(real, runtime):
    """Links everything of the session's runtime folder but an installed Zelvo's socket and lock: applications that an agent
    opens look for sound and the like there."""
    for entry in real.iterdir():
        if not entry.name.startswith("dev.zelvo.agent"):
            (runtime / entry.name).symlink_to(entry)


def ask_bus(destination, path, method, *arguments):
    """What a method on the session bus answers; None if it fails."""
    asked = ["dbus-send", "--session", "--print-reply=literal", f"--reply-timeout={SILENCE * 1000}",
             f"--dest={destination}", path, method, *arguments]
    try:
        done = subprocess.run(asked, check=True, capture_output=True, text=True, timeout=2 * SILENCE,
                              env=dict(os.environ, DBUS_SESSION_BUS_ADDRESS=bus_address() or ""))
    except (OSError, subprocess.SubprocessError):
        return None
    return done.stdout.strip()


def has_shell():
    """True if the session is GNOME Shell's, which loads extensions."""
    answer = ask_bus("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus.NameHasOwner",
                     "string:org.gnome.Shell")
    return answer == "boolean true"


def read_line(path):
    try:
        return path.read_text(errors="replace").partition("\n")[0]
    except OSError:
        return None


class Traces:
    """What a trial puts into the session's folders, at a button of its welcome window. All of it names its program."""

    def __init__(self, program):
        self.program = str(program)
        self.extension = data_home() / "gnome-shell" / "extensions" / EXTENSION
        self.applications = data_home() / "applications"
        folders = (self.extension.parent, self.extension.parent.parent, self.applications)
        self.missing_folders = [folder for folder in folders if not folder.exists()]

    def has_extension(self):
        return read_line(self.extension / "program") == self.program

    def other_program(self):
        """The program that the installed extension answers, if that is another one."""
        recorded = read_line(self.extension / "program")
        return recorded if recorded != self.program else None

    def remove(self, is_session_ending):
        """Returns the names of what was removed. The extension survives the end of the session: the shell loads it only when
        the next one begins."""
        removed = []
        for entry in self.applications.glob(KWIN_ENTRIES):
            if f"\nExec={self.program}\n" in entry.read_text(errors="replace"):
                entry.unlink()
                removed.append(str(entry))
        if self.has_extension() and not is_session_ending:
            self.remove_extension()
            removed.append(str(self.extension))
        for folder in self.missing_folders:
            try:
                folder.rmdir()
            except OSError:
                pass  # Something else is in there, or it was never made.
        return removed

    def remove_extension(self):
        ask_bus("org.gnome.Shell", "/org/gnome/Shell", "org.gnome.Shell.Extensions.DisableExtension",
                f"string:{EXTENSION}")
        shutil.rmtree(self.extension)
        for key in ("enabled-extensions", "disabled-extensions"):
            forget_extension(key)


def forget_extension(key):
    """Takes the extension out of a list of GNOME's settings."""
    settings = ["gsettings", "get", "org.gnome.shell", key]
    try:
        text = subprocess.run(settings, check=True, capture_output=True, text=True, timeout=SILENCE).stdout
        names = ast.literal_eval(text.strip().removeprefix("@as "))
        if EXTENSION in names:
            settings[1:] = ["set", "org.gnome.shell", key, repr([name for name in names if name != EXTENSION])]
            subprocess.run(settings, check=True, capture_output=True, timeout=SILENCE)
    except (OSError, subprocess.SubprocessError, ValueError, SyntaxError):
        pass  # It names an extension that is not there, which GNOME ignores.
