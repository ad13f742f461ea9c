# A GTK program at the clipboard. clipboard.py get|set TEXT: prints what the clipboard holds whenever that changes,
# or owns it.
import sys

import gi

gi.require_version("Gtk", "3.0")
gi.require_version("Gdk", "3.0")
from gi.repository import Gdk, GLib, Gtk

window = Gtk.Window(title="Clipboard")
clipboard = Gtk.Clipboard.get(Gdk.SELECTION_CLIPBOARD)


def show(*_):
    clipboard.request_text(lambda _, text: print("text:" + str(text), flush=True))
    return True


window.show_all()
if sys.argv[1] == "get":
    GLib.timeout_add(100, show)
else:
    window.connect("focus-in-event", lambda *_: clipboard.set_text(sys.argv[2], -1))
Gtk.main()
