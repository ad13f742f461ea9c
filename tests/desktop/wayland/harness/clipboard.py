# A GTK program at the clipboard. clipboard.py get|set TEXT|forms: prints what the clipboard holds whenever that
# changes, or owns it, with a text or with a text that is also rich and a file.
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


FORMS = {"text/plain;charset=utf-8": b"plain", "text/html": b"<b>rich</b>", "text/uri-list": b"file:///tmp/a\r\n"}


def own_forms(*_):
    # GTK 3 offers several forms to Python by GtkTargetList only, so the window owns the clipboard as a widget.
    Gtk.selection_owner_set(window, Gdk.SELECTION_CLIPBOARD, 0)


def give(_widget, selection, _info, _time):
    selection.set(selection.get_target(), 8, FORMS[selection.get_target().name()])


if sys.argv[1] == "forms":
    for name in FORMS:
        Gtk.selection_add_target(window, Gdk.SELECTION_CLIPBOARD, Gdk.Atom.intern(name, False), 0)
    window.connect("selection-get", give)

window.show_all()
if sys.argv[1] == "forms":
    window.connect("focus-in-event", own_forms)
elif sys.argv[1] == "get":
    GLib.timeout_add(100, show)
else:
    window.connect("focus-in-event", lambda *_: clipboard.set_text(sys.argv[2], -1))
Gtk.main()
