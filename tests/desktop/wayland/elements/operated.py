#!/usr/bin/python3
"""A window with a field and three buttons, which prints what becomes of them. operated.py VERSION
VERSION  of GTK
"Swap" gives the buttons "Show" and "Send" each other's words."""
import sys

import gi

gi.require_version("Gtk", sys.argv[1] + ".0")
from gi.repository import GLib, Gtk  # noqa: E402

IS_NEW = sys.argv[1] == "4"


def say(words):
    print(words, flush=True)


def button(label):
    made = Gtk.Button(label=label)
    made.connect("clicked", lambda pressed: say("pressed " + pressed.get_label()))
    return made


def swap(_button):
    first, second = show.get_label(), send.get_label()
    show.set_label(second)
    send.set_label(first)


window = Gtk.Window(title="Operated")
window.set_default_size(400, 300)
field = Gtk.Entry()
field.connect("changed", lambda changed: say("text " + changed.get_text()))
show, send, swapping = button("Show"), button("Send"), button("Swap")
swapping.connect("clicked", swap)
column = Gtk.Box(orientation=Gtk.Orientation.VERTICAL)
if IS_NEW:
    field.update_property([Gtk.AccessibleProperty.LABEL], ["Name"])
    window.set_child(column)
    for widget in (field, show, send, swapping):
        column.append(widget)
    window.present()
else:
    field.get_accessible().set_name("Name")
    window.add(column)
    for widget in (field, show, send, swapping):
        column.pack_start(widget, False, False, 0)
    window.show_all()
GLib.MainLoop().run()
