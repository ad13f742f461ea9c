#!/usr/bin/python3
"""A GTK application with one window: ID [shy | bus].

Its windows call themselves ID. shy: the window asks not to get the focus when it opens, and the startup id is ignored. bus: an
application of the session bus by that name, which the bus starts; the window's title tells the startup id's first word.
"""
import os
import sys

mode = sys.argv[2] if len(sys.argv) > 2 else ""
if mode == "shy":
    os.environ.pop("DESKTOP_STARTUP_ID", None)

import gi  # noqa: E402

gi.require_version("Gdk", "3.0")
gi.require_version("Gtk", "3.0")
from gi.repository import Gdk, Gio, GLib, Gtk  # noqa: E402

identifier = sys.argv[1]
GLib.set_prgname(identifier)
Gdk.set_program_class(identifier)


def on_activate(application):
    for window in application.get_windows():
        window.set_title("again")
        window.present()
        return
    window = Gtk.ApplicationWindow(application=application, title="from the bus")
    window.set_default_size(200, 100)
    window.show_all()


if mode == "bus":
    flags = Gio.ApplicationFlags.IS_SERVICE
    application = Gtk.Application(application_id=identifier, flags=flags)
    application.connect("activate", on_activate)
    application.run([])
else:
    window = Gtk.Window(title=identifier)
    window.set_default_size(200, 100)
    window.set_focus_on_map(mode != "shy")
    window.connect("destroy", Gtk.main_quit)
    window.show_all()
    Gtk.main()
