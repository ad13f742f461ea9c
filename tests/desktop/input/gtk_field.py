#!/usr/bin/python3
"""A window with one text field. Writes what the field holds to FILE, and what is selected to FILE.selection."""
import os
import sys

import gi

gi.require_version("Gtk", "3.0")
from gi.repository import GLib, Gtk  # noqa: E402

path = sys.argv[1]
waiting = 0


def write(name, text):
    with open(name + ".new", "w", encoding="utf-8", newline="") as file:
        file.write(text)
    os.rename(name + ".new", name)


def report(*_):
    """Reports once all events that are there have been handled."""
    global waiting
    if not waiting:
        waiting = GLib.idle_add(report_now, priority=GLib.PRIORITY_LOW)


def report_now():
    global waiting
    waiting = 0
    start, end = buffer.get_bounds()
    write(path, buffer.get_text(start, end, True))
    chosen = buffer.get_selection_bounds()
    write(path + ".selection", buffer.get_text(*chosen, True) if chosen else "")
    write(path + ".scroll", str(int(scroller.get_vadjustment().get_value())))


window = Gtk.Window(title="GTK field")
window.set_default_size(700, 400)
scroller = Gtk.ScrolledWindow()
view = Gtk.TextView()
view.set_accepts_tab(True)
buffer = view.get_buffer()
buffer.set_text(sys.argv[2] if len(sys.argv) > 2 else "")
buffer.connect("changed", report)
buffer.connect("mark-set", report)
scroller.get_vadjustment().connect("value-changed", report)
scroller.add(view)
window.add(scroller)
window.connect("destroy", Gtk.main_quit)
view.connect("focus-in-event", report)
window.show_all()
Gtk.main()
