#!/usr/bin/python3
"""A GTK 3 window "parent" with a dialog "child" of it."""
import gi

gi.require_version("Gtk", "3.0")
from gi.repository import Gtk  # noqa: E402

window = Gtk.Window(title="parent")
window.set_default_size(300, 200)
window.show_all()
dialog = Gtk.Dialog(title="child", transient_for=window)
dialog.set_default_size(100, 100)
dialog.show_all()
Gtk.main()
