#!/usr/bin/python3
"""A GTK 3 program whose windows have one colour.
client.py NAME COLOUR [COUNT] [minimized | restless]
COUNT     its windows at the start
minimized minimises them
restless  opens, closes, minimises, raises and resizes windows many times a second"""
import random
import sys

import gi

gi.require_version("Gdk", "3.0")
gi.require_version("Gtk", "3.0")
from gi.repository import Gdk, GLib, Gtk  # noqa: E402

name, colour = sys.argv[1:3]
count = int(sys.argv[3]) if len(sys.argv) > 3 else 1
GLib.set_prgname(name)
style = Gtk.CssProvider()
style.load_from_data(
    f"window, menu, popover {{background: {colour}; color: {colour};}} decoration {{box-shadow: none;}}".encode())
Gtk.StyleContext.add_provider_for_screen(Gdk.Screen.get_default(), style, 900)
windows = []


def open_window():
    window = Gtk.Window(title=name)
    window.set_decorated(False)
    window.set_default_size(600, 400)
    window.add(Gtk.Label(label=" "))
    window.show_all()
    windows.append(window)


def act():
    chance = random.random()
    one = random.choice(windows)
    if chance < 0.3 and len(windows) < 6:
        open_window()
    elif chance < 0.5 and len(windows) > 1:
        windows.remove(one)
        one.destroy()
    elif chance < 0.7:
        one.iconify()
    elif chance < 0.9:
        one.present()
    else:
        random.choice([one.maximize, one.unmaximize])()
    return True


for _ in range(count):
    open_window()
if "minimized" in sys.argv:
    for each in windows:
        each.iconify()
if "restless" in sys.argv:
    GLib.timeout_add(40, act)
Gtk.main()
