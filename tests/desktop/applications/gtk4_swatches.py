#!/usr/bin/python3
"""A GTK 4 window of plain colours. Each element named "swatch RRGGBB" is drawn in that colour alone.

Usage: gtk4_swatches.py [--decorated]. With --decorated the window draws its own frame.
"""
import sys

import gi

gi.require_version("Gdk", "4.0")
gi.require_version("Gtk", "4.0")
from gi.repository import Gdk, Gio, GLib, Gtk  # noqa: E402

STYLE = """#{name}, #{name}:hover, #{name}:focus {{ background: #{color}; border: none; box-shadow: none;
    outline: none; min-width: 40px; min-height: 24px; }}"""
rules = []


def swatch(color):
    element = Gtk.Button(name="swatch" + color, halign=Gtk.Align.START)
    element.update_property([Gtk.AccessibleProperty.LABEL], ["swatch " + color])
    rules.append(STYLE.format(name="swatch" + color, color=color))
    return element


def column_of(elements, **properties):
    column = Gtk.Box(orientation=Gtk.Orientation.VERTICAL, **properties)
    for element in elements:
        column.append(element)
    return column


def row(*colors):
    box = Gtk.Box(spacing=13)
    for color in colors:
        box.append(swatch(color))
    return box


def start(application):
    window = Gtk.ApplicationWindow(application=application, title="GTK 4 swatches")
    window.set_default_size(420, 300)
    if "--decorated" in sys.argv:
        bar = Gtk.HeaderBar()
        bar.pack_start(swatch("aa0000"))
        window.set_titlebar(bar)
    popover = Gtk.Popover(child=column_of(map(swatch, ("ff8800", "0088ff", "88ff00"))))
    button = Gtk.MenuButton(label="Swatches", popover=popover, halign=Gtk.Align.START)
    rows = [row(*colors) for colors in (("ff0000", "ff3333"), ("00ff00", "33ff33"), ("0000ff", "3333ff"))]
    pane = Gtk.ScrolledWindow(vexpand=True, child=column_of(swatch(f"{i * 8:02x}80c0") for i in range(30)))
    # Right of where the popover opens.
    indented = column_of([*rows, pane], spacing=9, margin_start=220, vexpand=True)
    window.set_child(column_of([button, indented], spacing=9))
    provider = Gtk.CssProvider()
    provider.load_from_data("\n".join(rules).encode())
    Gtk.StyleContext.add_provider_for_display(Gdk.Display.get_default(), provider,
                                              Gtk.STYLE_PROVIDER_PRIORITY_USER)
    window.present()
    GLib.timeout_add(300, lambda: pane.get_vadjustment().set_value(100) or False)


application = Gtk.Application(flags=Gio.ApplicationFlags.NON_UNIQUE)
application.connect("activate", start)
application.run([])
