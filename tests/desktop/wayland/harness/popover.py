# A window with an open pop-up. popover.py TITLE
import sys

import gi

gi.require_version("Gtk", "4.0")
from gi.repository import GLib, Gtk


def show(application):
    window = Gtk.ApplicationWindow(application=application, title=sys.argv[1])
    window.set_default_size(400, 300)
    button = Gtk.Button(label="below")
    window.set_child(button)
    popover = Gtk.Popover()
    popover.set_autohide(False)
    popover.set_child(Gtk.Label(label="a pop-up"))
    popover.set_parent(button)
    window.present()
    GLib.timeout_add(200, lambda: popover.popup())


application = Gtk.Application(application_id="zt." + sys.argv[1])
application.connect("activate", show)
application.run()
