#!/usr/bin/python3
"""A GTK 3 window of plain colours. Each element named "swatch RRGGBB" is drawn in that colour alone.

Usage: gtk_swatches.py [--decorated]. With --decorated the window draws its own frame.
"""
import sys

import gi

gi.require_version("Gdk", "3.0")
gi.require_version("Gtk", "3.0")
from gi.repository import Gdk, GLib, Gtk  # noqa: E402

STYLE = """#{name}, #{name}:hover, #{name}:focus {{ background: #{color}; border: none; box-shadow: none;
    outline: none; min-width: 40px; min-height: 24px; }}"""
rules = []


def swatch(kind, color):
    element = kind()
    name = "swatch" + color
    element.set_name(name)
    element.get_accessible().set_name("swatch " + color)
    rules.append(STYLE.format(name=name, color=color))
    return element


def row(*colors):
    box = Gtk.Box(spacing=13)
    for color in colors:
        box.pack_start(swatch(Gtk.Button, color), False, False, 0)
    return box


def menu_bar():
    menu = Gtk.Menu()
    for color in ("ff8800", "0088ff", "88ff00"):
        menu.append(swatch(Gtk.MenuItem, color))
    item = Gtk.MenuItem(label="Swatches")
    item.set_submenu(menu)
    bar = Gtk.MenuBar()
    bar.append(item)
    return bar


def scrolled():
    inside = Gtk.Box(orientation=Gtk.Orientation.VERTICAL)
    for i in range(30):
        inside.pack_start(swatch(Gtk.Button, f"{i * 8:02x}80c0"), False, False, 2)
    pane = Gtk.ScrolledWindow()
    pane.add(inside)
    return pane


window = Gtk.Window(title="GTK swatches")
if "--decorated" in sys.argv:
    bar = Gtk.HeaderBar(show_close_button=True, title="GTK swatches")
    bar.pack_start(swatch(Gtk.Button, "aa0000"))
    window.set_titlebar(bar)
window.set_default_size(420, 300)
column = Gtk.Box(orientation=Gtk.Orientation.VERTICAL, spacing=9)
column.pack_start(menu_bar(), False, False, 0)
# Right of where the menu opens.
indented = Gtk.Box(orientation=Gtk.Orientation.VERTICAL, spacing=9, margin_start=220)
for colors in (("ff0000", "ff3333"), ("00ff00", "33ff33"), ("0000ff", "3333ff")):
    indented.pack_start(row(*colors), False, False, 0)
pane = scrolled()
indented.pack_start(pane, True, True, 0)
column.pack_start(indented, True, True, 0)
window.add(column)
provider = Gtk.CssProvider()
provider.load_from_data("\n".join(rules).encode())
Gtk.StyleContext.add_provider_for_screen(Gdk.Screen.get_default(), provider, Gtk.STYLE_PROVIDER_PRIORITY_USER)
window.connect("destroy", Gtk.main_quit)
window.show_all()
GLib.timeout_add(300, lambda: pane.get_vadjustment().set_value(100) or False)
Gtk.main()
