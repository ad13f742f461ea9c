"""Private Wayland desktops without a screen, for `make run DESKTOP=...`. Each function starts one in an environment that has
a home, a runtime folder and a session bus, and puts into the environment what programs on it need."""
import json
import os
import pathlib
import shutil
import subprocess

HERE = pathlib.Path(__file__).resolve().parent
NOBODY = 65534

# What a desktop needs: programs and the Debian packages that bring them.
NEEDS = {
    "sway": {"sway": "sway"},
    "kde": {"kwin_wayland": "kwin-wayland", "/usr/lib/x86_64-linux-gnu/libexec/xdg-desktop-portal-kde": "xdg-desktop-portal-kde",
            "/usr/libexec/xdg-desktop-portal": "xdg-desktop-portal", "pipewire": "pipewire",
            "wireplumber": "wireplumber"},
    "gnome": {"gnome-shell": "gnome-shell", "pipewire": "pipewire", "wireplumber": "wireplumber",
              "/usr/libexec/xdg-desktop-portal": "xdg-desktop-portal"},
}


def missing_packages(kind):
    """The packages that are not there; architecture folders are looked for by name."""
    return sorted({package for program, package in NEEDS[kind].items() if not find(program)})


def find(program):
    if not program.startswith("/"):
        return shutil.which(program)
    name = pathlib.Path(program).name
    for folder in (pathlib.Path(program).parent, pathlib.Path("/usr/libexec"), *pathlib.Path("/usr/lib").glob("*/libexec")):
        if (folder / name).exists():
            return str(folder / name)
    return None


class Desktop:
    """A desktop that is being started. start, wait: of the script that runs it; program: the agent's."""

    def __init__(self, start, wait, environment, runtime, program):
        self.program = program
        self.start_program, self.wait, self.environment = start, wait, environment
        self.runtime = pathlib.Path(runtime)
        self.home = pathlib.Path(environment["HOME"])
        environment.pop("DISPLAY", None)
        environment["XDG_SESSION_TYPE"] = "wayland"

    def start(self, name, command, **extra):
        return self.start_program(name, command, dict(self.environment, **extra))

    def wait_for_file(self, what, path):
        self.wait(what, path.exists)

    def has_owner(self, name):
        asked = ["dbus-send", "--session", "--print-reply=literal", "--dest=org.freedesktop.DBus", "/org/freedesktop/DBus",
                 "org.freedesktop.DBus.NameHasOwner", "string:" + name]
        done = subprocess.run(asked, env=self.environment, check=False, capture_output=True, text=True)
        return "true" in done.stdout

    def wait_for_name(self, name):
        self.wait(name, lambda: self.has_owner(name))

    def call(self, destination, path, method, *arguments):
        subprocess.run(["gdbus", "call", "--session", "--dest", destination, "--object-path", path, "--method", method,
                        *arguments], env=self.environment, check=False, capture_output=True)

    def start_portal(self):
        """The front end, after its backend: it offers only what it finds at its start."""
        self.start("portal", [find("/usr/libexec/xdg-desktop-portal")])
        self.wait_for_name("org.freedesktop.portal.Desktop")


def start_sway(desktop):
    ready = desktop.runtime / "ready"
    config = desktop.runtime / "sway.config"
    config.write_text("output HEADLESS-1 mode 1440x900\nxwayland disable\noutput * bg #3a5a7a solid_color\n"
                      f"exec sh -c 'echo \"$WAYLAND_DISPLAY\" > {desktop.runtime}/started && mv {desktop.runtime}/started {ready}'\n")
    desktop.environment.update(SWAYSOCK=str(desktop.runtime / "sway.sock"), XDG_CURRENT_DESKTOP="sway")
    command = ["sway", "-c", str(config)]
    if os.geteuid() == 0:  # It refuses to run as root.
        config.chmod(0o644)
        desktop.runtime.chmod(0o711)
        os.chown(desktop.runtime, NOBODY, NOBODY)
        command = ["setpriv", f"--reuid={NOBODY}", f"--regid={NOBODY}", "--clear-groups", *command]
    desktop.start("sway", command, WLR_BACKENDS="headless", WLR_RENDERER="pixman", WLR_LIBINPUT_NO_DEVICES="1")
    desktop.wait_for_file("sway", ready)
    desktop.environment["WAYLAND_DISPLAY"] = ready.read_text().strip()


def start_kde(desktop):
    program = desktop.runtime / "kwin_wayland"  # A file capability that a container may not grant keeps the original from starting.
    shutil.copy(shutil.which("kwin_wayland"), program)
    (desktop.home / ".local/share/applications").mkdir(parents=True, exist_ok=True)  # KWin follows only folders that it saw.
    desktop.environment.update(XDG_CURRENT_DESKTOP="KDE", LIBGL_ALWAYS_SOFTWARE="1", KWIN_COMPOSE="O2")
    desktop.start("kwin", [str(program), "--virtual", "--no-lockscreen", "--socket", "wayland-0", "--width", "1440",
                           "--height", "900"])
    desktop.wait_for_file("kwin_wayland", desktop.runtime / "wayland-0")
    desktop.environment["WAYLAND_DISPLAY"] = "wayland-0"
    desktop.wait_for_name("org.kde.KWin")
    start_pipewire(desktop)
    desktop.start("portal-kde", [find(next(iter(p for p in NEEDS["kde"] if p.endswith("portal-kde"))))])
    desktop.wait_for_name("org.freedesktop.impl.portal.desktop.kde")
    desktop.start_portal()


def write_extension(desktop):
    """The extension, as the agent's welcome window installs it: the shell reads it only when it starts."""
    version = int(subprocess.run(["gnome-shell", "--version"], check=True, capture_output=True, text=True).stdout.split()[-1].split(".")[0])
    sources = HERE.parent / "resources/shell-extension"
    folder = desktop.home / ".local/share/gnome-shell/extensions/zelvo@zelvo.dev"
    folder.mkdir(parents=True, exist_ok=True)
    imports = sources / ("imports-45.js" if version >= 45 else "imports-43.js")
    (folder / "extension.js").write_text(imports.read_text() + (sources / "service.js").read_text())
    (folder / "program").write_text(f"{desktop.program}\n")
    (folder / "metadata.json").write_text(json.dumps({"uuid": "zelvo@zelvo.dev", "name": "Zelvo", "description": "Zelvo",
                                                      "shell-version": [str(version)], "version": 1}))


def start_gnome(desktop):
    write_extension(desktop)
    desktop.environment.update(XDG_CURRENT_DESKTOP="GNOME", GSETTINGS_BACKEND="keyfile")
    settings = desktop.home / ".config/glib-2.0/settings"
    settings.mkdir(parents=True, exist_ok=True)
    (settings / "keyfile").write_text("[org/gnome/shell]\nenabled-extensions=['zelvo@zelvo.dev']\nwelcome-dialog-last-shown-version='999'\n"
                                      "[org/gnome/desktop/screensaver]\nlock-enabled=false\n"
                                      "[org/gnome/desktop/session]\nidle-delay=uint32 0\n")
    start_system_bus(desktop)
    start_pipewire(desktop)
    desktop.start("gnome-shell", ["gnome-shell", "--headless", "--wayland", "--wayland-display", "wayland-0", "--no-x11",
                                  "--virtual-monitor", "1440x900"])
    desktop.wait_for_file("gnome-shell", desktop.runtime / "wayland-0")
    desktop.environment["WAYLAND_DISPLAY"] = "wayland-0"
    desktop.wait_for_name("org.gnome.Shell")
    desktop.call("org.gnome.Shell", "/org/gnome/Shell", "org.freedesktop.DBus.Properties.Set", "org.gnome.Shell",
                 "OverviewActive", "<false>")
    start_granting_portal(desktop)


def start_pipewire(desktop):
    desktop.start("pipewire", ["pipewire"])
    desktop.wait_for_file("pipewire", desktop.runtime / "pipewire-0")
    desktop.start("wireplumber", ["wireplumber"])


def start_granting_portal(desktop):
    """A portal that says yes by itself: nobody is at this desktop to answer its dialog."""
    folder = desktop.runtime / "portals"
    folder.mkdir()
    interfaces = "org.freedesktop.impl.portal.RemoteDesktop;org.freedesktop.impl.portal.ScreenCast;"
    (folder / "zt.portal").write_text(f"[portal]\nDBusName=org.freedesktop.impl.portal.desktop.zt\nInterfaces={interfaces}\nUseIn=zt\n")
    (folder / "zt-portals.conf").write_text("[preferred]\ndefault=zt\n")
    chosen = dict(XDG_DESKTOP_PORTAL_DIR=str(folder), XDG_CURRENT_DESKTOP="zt")
    desktop.start("portal-backend", ["/usr/bin/python3", str(HERE / "granting_portal.py")], **chosen)
    desktop.wait_for_name("org.freedesktop.impl.portal.desktop.zt")
    desktop.start("portal", [find("/usr/libexec/xdg-desktop-portal")], **chosen)
    desktop.wait_for_name("org.freedesktop.portal.Desktop")


SYSTEM_BUS = """<busconfig>
  <type>custom</type>
  <listen>unix:path={socket}</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/>
  </policy>
</busconfig>
"""


def start_system_bus(desktop):
    """One with nobody on it: GNOME's shell does not start without, and the machine's own has nothing for this desktop."""
    socket = desktop.runtime / "system"
    configuration = desktop.runtime / "system.conf"
    configuration.write_text(SYSTEM_BUS.format(socket=socket))
    desktop.start("system-bus", ["dbus-daemon", "--nofork", "--nopidfile", f"--config-file={configuration}"])
    desktop.wait_for_file("the system bus", socket)
    desktop.environment["DBUS_SYSTEM_BUS_ADDRESS"] = f"unix:path={socket}"


STARTS = {"sway": start_sway, "kde": start_kde, "gnome": start_gnome}
