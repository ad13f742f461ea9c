#!/usr/bin/python3
"""A full-screen GTK 3 window of four colours: top left, top right, bottom left, bottom right.

Usage: gtk_quadrants.py TITLE RRGGBB RRGGBB RRGGBB RRGGBB
On SIGUSR1 the colours move on by one.
"""
import signal
import sys

import gi

gi.require_version("Gtk", "3.0")
from gi.repository import GLib, Gtk  # noqa: E402

title, *colors = sys.argv[1:]
style = Gtk.CssProvider()


def paint():
    style.load_from_data("".join(f"#part{number} {{ background: #{color}; }}"
                                 for number, color in enumerate(colors)).encode())


def move_on():
    colors.append(colors.pop(0))
    paint()
    return True


paint()
grid = Gtk.Grid(column_homogeneous=True, row_homogeneous=True)
for number in range(4):
    part = Gtk.Box(name=f"part{number}", expand=True)
    part.get_style_context().add_provider(style, Gtk.STYLE_PROVIDER_PRIORITY_USER)
    grid.attach(part, number % 2, number // 2, 1, 1)
window = Gtk.Window(title=title)
window.add(grid)
window.connect("destroy", Gtk.main_quit)
GLib.unix_signal_add(GLib.PRIORITY_DEFAULT, signal.SIGUSR1, move_on)
window.fullscreen()
window.show_all()
Gtk.main()
