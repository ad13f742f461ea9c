#!/usr/bin/python3
"""A GTK 4 window with one text field. Writes what the field holds to FILE."""
import os
import sys

import gi

gi.require_version("Gtk", "4.0")
from gi.repository import GLib, Gtk  # noqa: E402

path = sys.argv[1]
waiting = 0


def report(*_):
    """Reports once all events that are there have been handled."""
    global waiting
    if not waiting:
        waiting = GLib.idle_add(report_now, priority=GLib.PRIORITY_LOW)


def report_now():
    global waiting
    waiting = 0
    with open(path + ".new", "w", encoding="utf-8", newline="") as file:
        file.write(view.get_buffer().get_text(*view.get_buffer().get_bounds(), True))
    os.rename(path + ".new", path)


window = Gtk.Window(title="GTK 4 field")
view = Gtk.TextView()
view.get_buffer().connect("changed", report)
view.connect("notify::has-focus", report)
window.set_child(view)
window.present()
view.grab_focus()
GLib.MainLoop().run()
