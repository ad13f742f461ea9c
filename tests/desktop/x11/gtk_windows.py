#!/usr/bin/python3
"""Windows of a GTK application, all of them in one colour: NAME COLOUR [XID].

Without an XID: a window with a button that has a tooltip; SIGUSR1 opens a menu, SIGUSR2 a file chooser. With one: a file
chooser for that window of another process.
"""
import signal
import sys

import gi

gi.require_version("Gdk", "3.0")
gi.require_version("Gtk", "3.0")
gi.require_version("GdkX11", "3.0")
from gi.repository import Gdk, GdkX11, GLib, Gtk  # noqa: E402

name, colour = sys.argv[1:3]
GLib.set_prgname(name)
Gdk.set_program_class(name.capitalize())
style = Gtk.CssProvider()
style.load_from_data(
    f"* {{ background: {colour}; color: {colour}; border-color: {colour}; box-shadow: none; text-shadow: none;"
    f" -gtk-icon-shadow: none; outline-color: {colour}; caret-color: {colour}; -gtk-icon-effect: none; }}".encode()
)
Gtk.StyleContext.add_provider_for_screen(Gdk.Screen.get_default(), style, Gtk.STYLE_PROVIDER_PRIORITY_USER + 1)


def choose(parent=None, foreign=None):
    chooser = Gtk.FileChooserDialog(title=name + " chooser", transient_for=parent)
    chooser.add_button("Open", Gtk.ResponseType.OK)
    chooser.realize()
    if foreign:
        display = Gdk.Display.get_default()
        chooser.get_window().set_transient_for(GdkX11.X11Window.foreign_new_for_display(display, foreign))
    chooser.show_all()


if len(sys.argv) > 3:
    choose(foreign=int(sys.argv[3]))
else:
    window = Gtk.Window(title=name + " main")
    window.set_default_size(300, 200)
    button = Gtk.Button(label="Button", tooltip_text="Tooltip")
    window.add(button)
    menu = Gtk.Menu()
    for label in "one", "two", "three":
        menu.append(Gtk.MenuItem(label=label))
    menu.show_all()
    menu.attach_to_widget(button)

    def open_menu():
        menu.popup_at_widget(button, Gdk.Gravity.SOUTH_WEST, Gdk.Gravity.NORTH_WEST, None)
        return True

    def open_chooser():
        choose(window)
        return True

    GLib.unix_signal_add(GLib.PRIORITY_DEFAULT, signal.SIGUSR1, open_menu)
    GLib.unix_signal_add(GLib.PRIORITY_DEFAULT, signal.SIGUSR2, open_chooser)
    window.connect("destroy", Gtk.main_quit)
    window.show_all()
Gtk.main()
